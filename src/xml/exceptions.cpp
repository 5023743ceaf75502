// What the exceptions say of themselves.
// SPDX-License-Identifier: MIT
#include <wpk/xml/exceptions.h>

namespace AdvXMLParser {

const char* Exception::what() const noexcept {
    return "XML error";
}

const char* InvalidRefException::what() const noexcept {
    return "reference to an unknown XML entity";
}

const char* ParsingException::what() const noexcept {
    return "malformed XML document";
}

}  // namespace AdvXMLParser
