// The rules for references, comments, CDATA sections and processing instructions, instantiated for both cursors.
// SPDX-License-Identifier: MIT
#include "xml/markup_rules.h"

#include "xml/entities.h"

namespace AdvXMLParser {
namespace {

constexpr std::uint32_t ValueOfDigit(Byte digit) noexcept {
    if (digit <= '9') return static_cast<std::uint32_t>(digit - '0');
    return static_cast<std::uint32_t>((digit | 0x20) - 'a' + 10);
}

/// Wraps silently when the number is too big.
template <class Cursor>
bool ReadNumber(Cursor& cursor, CharClass digits, std::uint32_t base, std::uint32_t& number) {
    bool any = false;
    number = 0;
    for (Byte c = cursor.Read(); Is(c, digits); c = cursor.Read()) {
        number = number * base + ValueOfDigit(c);
        any = true;
    }
    cursor.Unread();
    return any;
}

/// The cursor is behind "&#". Of the number only the low eight bits count.
template <class Cursor>
char ReadCharacterNumber(Cursor& cursor) {
    std::uint32_t number = 0;
    if (cursor.Expect('x')) {
        if (!ReadNumber(cursor, kHexDigit, 16, number)) cursor.Fail(kNoHexDigit);
    } else {
        if (!ReadNumber(cursor, kDigit, 10, number)) cursor.Fail(kNoDigit);
    }
    if (!cursor.Expect(';')) cursor.Fail(kBadReference);
    const Byte value = static_cast<Byte>(number & 0xFF);
    if (!Is(value, kAllowed)) cursor.Fail(kBadCharacter);
    return static_cast<char>(value);
}

bool IsXml(std::string_view target) noexcept {
    return target.size() == 3 && (target[0] | 0x20) == 'x' && (target[1] | 0x20) == 'm' && (target[2] | 0x20) == 'l';
}

template <class Cursor, std::size_t N>
void SkipPast(Cursor& cursor, const char (&end)[N]) {
    for (;;) {
        cursor.SkipTo(end[0]);
        if (cursor.Match(end)) return;
        if (!Is(cursor.Read(), kAllowed)) cursor.Fail(kBadCharacter);
    }
}

}  // namespace

template <class Cursor>
ReferenceParts ReadReference(Cursor& cursor) {
    if (cursor.Match("&#")) return {Slice{}, ReadCharacterNumber(cursor)};
    cursor.Expect('&');
    const Slice name = cursor.Name();
    if (!name || !cursor.Expect(';')) cursor.Fail(kBadReference);
    const char value = PredefinedEntities::Find(name);
    if (value == '\0') cursor.Fail(kUnknownEntity);
    return {name, value};
}

template <class Cursor>
bool ReadComment(Cursor& cursor, Slice& text) {
    if (!cursor.Match("<!--")) return false;
    const auto from = cursor.Position();
    SkipPast(cursor, "--");
    if (!cursor.Expect('>')) cursor.Fail(kBadComment);
    text = cursor.Cut(from, 3);
    return true;
}

template <class Cursor>
bool ReadCData(Cursor& cursor, Slice& text) {
    if (!cursor.Match("<![CDATA[")) return false;
    const auto from = cursor.Position();
    SkipPast(cursor, "]]>");
    text = cursor.Cut(from, 3);
    return true;
}

template <class Cursor>
bool ReadPi(Cursor& cursor, Slice& target, Slice& data) {
    if (!cursor.Match("<?")) return false;
    target = cursor.Name();
    if (!target) cursor.Fail(kNoTarget);
    if (IsXml(target)) cursor.Fail(kReservedTarget);
    cursor.SkipWhitespace();
    const auto from = cursor.Position();
    SkipPast(cursor, "?>");
    data = cursor.Cut(from, 2);
    return true;
}

template ReferenceParts ReadReference(FastCursor&);
template ReferenceParts ReadReference(ExactCursor&);
template bool ReadComment(FastCursor&, Slice&);
template bool ReadComment(ExactCursor&, Slice&);
template bool ReadCData(FastCursor&, Slice&);
template bool ReadCData(ExactCursor&, Slice&);
template bool ReadPi(FastCursor&, Slice&, Slice&);
template bool ReadPi(ExactCursor&, Slice&, Slice&);

}  // namespace AdvXMLParser
