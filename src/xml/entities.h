// The five entities that every document knows.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_ENTITIES_H
#define WPK_XML_ENTITIES_H

#include <string_view>

namespace AdvXMLParser {

/// The character that the entity stands for; zero when there is no entity of that name.
constexpr char PredefinedEntity(std::string_view name) noexcept {
    switch (name.size()) {
        case 2:
            return name[1] != 't' ? '\0' : name[0] == 'l' ? '<' : name[0] == 'g' ? '>' : '\0';
        case 3:
            return name[0] == 'a' && name[1] == 'm' && name[2] == 'p' ? '&' : '\0';
        case 4:
            if (name[0] == 'a' && name[1] == 'p' && name[2] == 'o' && name[3] == 's') return '\'';
            return name[0] == 'q' && name[1] == 'u' && name[2] == 'o' && name[3] == 't' ? '"' : '\0';
        default:
            return '\0';
    }
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
