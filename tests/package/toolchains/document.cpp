// Reports the error of a document, and prints another one as it was parsed.
#include <wpk/xml_helpers.h>

#include <cstdio>
#include <string_view>

using namespace AdvXMLParser;

int main() {
    try {
        Parser().Parse("<a></b>", 7);
    } catch (const ParsingException& fault) {
        std::printf("%u ", fault.code);
    }
    constexpr std::string_view order = "<order><item price=\"3\"/></order>";
    std::puts(wpk::xml::ToString(*wpk::xml::Parse(order)->root, WRITE_VERBATIM).c_str());
}
