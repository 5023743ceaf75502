// What each byte may be part of.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_CHAR_CLASS_H
#define WPK_XML_CHAR_CLASS_H

#include <array>
#include <cstdint>
#include <string_view>

namespace AdvXMLParser::detail {

enum CharClass : std::uint16_t {
    /// Space, tab, line feed, carriage return.
    kWhite = 1,
    /// ASCII letter, '_' or ':'.
    kNameStart = 2,
    /// kNameStart, digit, '-', '.', or a Latin-1 letter: allowed in a name, but not as its first character.
    kNameChar = 4,
    /// Allowed in character data, comments and the like: no control characters but white space.
    kAllowed = 8,
    /// Ends a run of plain characters in content: '<', '&', ']', what is not allowed, and '\r', which becomes a '\n'.
    kTextStop = 16,
    /// The same for an attribute's value, in which either quote may be the end.
    kValueStop = 32,
    /// Escaped by the writer.
    kEscaped = 64,
    kDigit = 128,
    kHexDigit = 256,
    kVersionChar = 512,
    kLetter = 1024,
    kEncodingChar = 2048,
    kPublicId = 4096
};

namespace char_class_detail {

constexpr bool In(int c, std::string_view set) {
    return set.find(static_cast<char>(c)) != std::string_view::npos;
}

constexpr std::uint16_t Classify(int c) {
    const bool white = In(c, " \t\n\r");
    const bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    const bool digit = c >= '0' && c <= '9';
    const bool nameStart = letter || c == '_' || c == ':';
    const bool latin1 = c == 0xB7 || (c >= 0xC0 && c != 0xD7 && c != 0xF7);
    const bool nameChar = nameStart || digit || c == '-' || c == '.' || latin1;
    const bool allowed = white || c >= 0x20;

    int classes = 0;
    if (white) classes |= kWhite;
    if (nameStart) classes |= kNameStart;
    if (nameChar) classes |= kNameChar;
    if (allowed) classes |= kAllowed;
    if (!allowed || In(c, "<&]\r")) classes |= kTextStop;
    if (!allowed || In(c, "<&\"'\r")) classes |= kValueStop;
    if (c < 0x80 && In(c, "<>&'\"")) classes |= kEscaped;
    if (digit) classes |= kDigit;
    if (digit || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f')) classes |= kHexDigit;
    if (nameChar && c < 0x80) classes |= kVersionChar;
    if (letter) classes |= kLetter;
    if (letter || digit || In(c, "_-.")) classes |= kEncodingChar;
    if (letter || digit || In(c, " \r\n-'()+,./:=?;!*#@$_%")) classes |= kPublicId;
    return static_cast<std::uint16_t>(classes);
}

constexpr std::array<std::uint16_t, 256> MakeTable() {
    std::array<std::uint16_t, 256> table{};
    for (int c = 0; c < 256; ++c) table[static_cast<std::size_t>(c)] = c == 0 ? kTextStop | kValueStop : Classify(c);
    return table;
}

}  // namespace char_class_detail

inline constexpr std::array<std::uint16_t, 256> kCharClasses = char_class_detail::MakeTable();

inline bool Is(unsigned char c, CharClass charClass) noexcept {
    return (kCharClasses[c] & charClass) != 0;
}
inline bool IsWhite(char c) noexcept {
    return Is(static_cast<unsigned char>(c), kWhite);
}

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_CHAR_CLASS_H
