// The five entities that every document knows, by name and by character.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_ENTITIES_H
#define WPK_XML_ENTITIES_H

#include <string_view>

namespace AdvXMLParser::detail {

// Both maps are code that the compiler has made of five entries: there is nothing to be filled at first use, so any
// thread may look things up at any time.

/// From the name of an entity to its character.
struct PredefinedEntities {
    /// Zero when there is no entity of that name.
    static constexpr char Find(std::string_view name) noexcept {
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
};

/// From a character to the name that the writer puts in its place.
struct EscapeNames {
    /// Empty when the character stands for itself.
    static constexpr std::string_view Find(char character) noexcept {
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
};

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_ENTITIES_H
