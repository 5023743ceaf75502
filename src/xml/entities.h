// The five entities that every document knows.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_ENTITIES_H
#define WPK_XML_ENTITIES_H

#include <string_view>

namespace AdvXMLParser {

/// The character that the entity stands for; zero when there is no entity of that name.
constexpr char PredefinedEntity(std::string_view name) noexcept {
    if (name == "lt") return '<';
    if (name == "gt") return '>';
    if (name == "amp") return '&';
    if (name == "apos") return '\'';
    if (name == "quot") return '"';
    return '\0';
}

/// The name of the entity that stands for the character; empty when there is none.
constexpr std::string_view EscapeName(char character) noexcept {
    switch (character) {
        case '<':
            return "lt";
        case '>':
            return "gt";
        case '&':
            return "amp";
        case '\'':
            return "apos";
        case '"':
            return "quot";
        default:
            return {};
    }
}

}  // namespace AdvXMLParser

#endif  // WPK_XML_ENTITIES_H
