// Reading the input character by character, with line and column: the steps.
// SPDX-License-Identifier: MIT
#include "xml/exact_cursor.h"

#include <algorithm>

#include <wpk/xml/exceptions.h>

namespace AdvXMLParser {

Byte ExactCursor::Read() noexcept {
    if (place_.position >= size_) {
        place_.position = size_ + 1;
        return 0;
    }
    Byte c = input_[place_.position++];
    if (c == '\r') {
        c = '\n';
        if (place_.position < size_ && input_[place_.position] == '\n') ++place_.position;
    }
    previousColumn_ = place_.column;
    if (c == '\n') {
        ++place_.line;
        place_.column = 0;
    } else {
        ++place_.column;
    }
    return c;
}

void ExactCursor::Unread() noexcept {
    if (place_.position > size_) return;
    if (place_.position == 0) {
        place_ = {0, 1, 1};
        previousColumn_ = 1;
        return;
    }
    --place_.position;
    if (input_[place_.position] == '\n') {
        if (place_.position != 0 && input_[place_.position - 1] == '\r') --place_.position;
        --place_.line;
    }
    place_.column = previousColumn_;
}

Byte ExactCursor::Peek() const noexcept {
    return place_.position < size_ ? input_[place_.position] : Byte{0};
}

bool ExactCursor::Match(std::string_view literal) noexcept {
    const Place before = place_;
    for (const char c : literal) {
        if (Read() == static_cast<Byte>(c)) continue;
        Restore(before);
        return false;
    }
    return true;
}

bool ExactCursor::Expect(char c) noexcept {
    if (Read() == static_cast<Byte>(c)) return true;
    Unread();
    return false;
}

bool ExactCursor::SkipWhitespace() noexcept {
    bool any = false;
    while (Is(Read(), kWhite)) any = true;
    Unread();
    return any;
}

Slice ExactCursor::Name() noexcept {
    return CharsOfName(kNameStart);
}

Slice ExactCursor::NameToken() noexcept {
    return CharsOfName(kNameChar);
}

Slice ExactCursor::CharsOfName(CharClass first) noexcept {
    const Place from = place_;
    if (!Is(Read(), first)) {
        Unread();
        return {};
    }
    while (Is(Read(), kNameChar)) {
    }
    Unread();
    return Cut(from, 0);
}

Byte ExactCursor::ReadPastText() noexcept {
    Byte c = Read();
    while (!Is(c, kTextStop)) c = Read();
    return c;
}

Byte ExactCursor::ReadPastValue(char quote) noexcept {
    for (;;) {
        const Byte c = Read();
        if (c == static_cast<Byte>(quote) || c == '<' || c == '&' || !Is(c, kAllowed)) return c;
    }
}

Slice ExactCursor::Cut(const Place& from, std::size_t less) const noexcept {
    const std::size_t end = std::min(place_.position, size_) - less;
    const Byte* const first = input_ + from.position;
    const Byte* const last = input_ + end;
    return {reinterpret_cast<const char*>(first), end - from.position, std::find(first, last, '\r') != last};
}

void ExactCursor::Fail(ParsingError code) const {
    throw ParsingException(code, place_.line, place_.column);
}

}  // namespace AdvXMLParser
