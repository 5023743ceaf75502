// The model's cursor: reads the input one byte at a time and counts lines and columns.
// SPDX-License-Identifier: MIT
#include "xml_model/cursor.h"

#include <algorithm>

namespace xml_model {
namespace {

bool IsLetter(Byte byte) {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

bool IsDigit(Byte byte) {
    return byte >= '0' && byte <= '9';
}

}  // namespace

bool IsWhitespace(Byte byte) {
    return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

bool IsNameStart(Byte byte) {
    return IsLetter(byte) || byte == '_' || byte == ':';
}

bool IsNameCharacter(Byte byte) {
    if (IsNameStart(byte) || IsDigit(byte) || byte == '-' || byte == '.' || byte == 0xB7) return true;
    return byte >= 0xC0 && byte != 0xD7 && byte != 0xF7;
}

bool IsAllowedInText(Byte byte) {
    return byte >= 0x20 || byte == '\t' || byte == '\n' || byte == '\r';
}

Byte Cursor::Read() {
    if (position_ >= input_.size()) {
        hasTouchedEnd_ = true;
        position_ = input_.size() + 1;
        return 0;
    }
    Byte byte = static_cast<Byte>(input_[position_++]);
    if (byte == '\r') {
        byte = '\n';
        hasTouchedEnd_ = hasTouchedEnd_ || position_ == input_.size();
        if (position_ < input_.size() && input_[position_] == '\n') ++position_;
    }
    previousColumn_ = column_;
    if (byte == '\n') {
        ++line_;
        column_ = 0;
    } else {
        ++column_;
    }
    return byte;
}

void Cursor::Unread() {
    if (position_ > input_.size()) return;
    if (position_ == 0) {
        line_ = column_ = previousColumn_ = 1;
        return;
    }
    --position_;
    // A lone CR counted as a line break when it was read, but only an LF is taken back here: reading the CR again
    // counts it again.
    if (input_[position_] == '\n') {
        if (position_ > 0 && input_[position_ - 1] == '\r') --position_;
        --line_;
    }
    column_ = previousColumn_;
}

void Cursor::Restore(const Place& place) {
    position_ = place.position;
    line_ = place.line;
    column_ = place.column;
}

bool Cursor::Match(std::string_view literal) {
    const Place before = Save();
    for (char character : literal) {
        if (Read() != static_cast<Byte>(character)) {
            Restore(before);
            return false;
        }
    }
    return true;
}

bool Cursor::Expect(char character) {
    if (Read() == static_cast<Byte>(character)) return true;
    Unread();
    return false;
}

bool Cursor::SkipWhitespace() {
    if (!IsWhitespace(Read())) {
        Unread();
        return false;
    }
    while (IsWhitespace(Read())) {
    }
    Unread();
    return true;
}

Byte Cursor::ReadQuote() {
    if (Expect('\'')) return '\'';
    if (Expect('"')) return '"';
    return 0;
}

std::string Cursor::ReadName() {
    const size_t start = position_;
    if (!IsNameStart(Read())) {
        Unread();
        return {};
    }
    while (IsNameCharacter(Read())) {
    }
    Unread();
    return Cut(start);
}

bool Cursor::SkipNameToken() {
    if (!IsNameCharacter(Read())) {
        Unread();
        return false;
    }
    while (IsNameCharacter(Read())) {
    }
    Unread();
    return true;
}

bool Cursor::MatchKeywordWithEquals(std::string_view keyword) {
    const Place before = Save();
    if (!SkipWhitespace() || !Match(keyword)) {
        Restore(before);
        return false;
    }
    if (!MatchEquals()) Fail(3);
    return true;
}

bool Cursor::MatchEquals() {
    const Place before = Save();
    SkipWhitespace();
    if (!Expect('=')) {
        Restore(before);
        return false;
    }
    SkipWhitespace();
    return true;
}

std::string Cursor::Cut(size_t from, size_t delimiter) const {
    // A read past the end leaves the cursor one byte behind it; that byte is not part of the input.
    const size_t to = std::min(position_, input_.size()) - delimiter;
    std::string text;
    for (size_t at = from; at < to; ++at) {
        if (input_[at] != '\r') {
            text += input_[at];
            continue;
        }
        text += '\n';
        if (at + 1 < to && input_[at + 1] == '\n') ++at;
    }
    return text;
}

}  // namespace xml_model
