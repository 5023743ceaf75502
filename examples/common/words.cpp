// Bytes from outside as words that can be shown on a terminal.
// SPDX-License-Identifier: MIT
#include "words.h"

#include <algorithm>

namespace common {
namespace {

char ToLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

void AppendSpelt(std::string& text, char c) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\r') {
        text += "\\r";
    } else if (c == '\n') {
        text += "\\n";
    } else if (c == '\t') {
        text += "\\t";
    } else if (byte < 0x20 || byte >= 0x7F) {
        text += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
    } else {
        text += c;
    }
}

}  // namespace

std::string Spelt(std::string_view bytes) {
    std::string text;
    for (const char c : bytes) AppendSpelt(text, c);
    return text;
}

std::string Bytes(std::uint64_t count) {
    return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char left, char right) { return ToLower(left) == ToLower(right); });
}

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

void Beginning::Add(std::string_view bytes) {
    length_ += bytes.size();
    kept_.append(bytes.substr(0, at_most_ - kept_.size()));
}

std::string Beginning::InWords() const {
    if (length_ == 0 || at_most_ == 0) return Bytes(length_);
    return Bytes(length_) + ": " + Spelt(kept_) + (kept_.size() < length_ ? "..." : "");
}

}  // namespace common
