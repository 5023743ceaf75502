// Ends well when the library builds a document.
#include <string>
#include <wpk/xml.h>

int main() {
    AdvXMLParser::Document document("order");
    std::string text;
    AdvXMLParser::WriteContext context;
    context.output = &text;
    document.Write(context);
    return text.find("<order") == std::string::npos;
}
