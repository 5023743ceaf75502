// Comparison and trimming of text: ASCII only, whatever the process's locale.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_ASCII_H
#define WPK_THREADLIB_ASCII_H

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace wpk::core {

/// Protocol names must compare alike on every machine, so the C library's locale-dependent functions stay out of it.
constexpr unsigned char ToLowerAscii(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 'A' && byte <= 'Z' ? static_cast<unsigned char>(byte + ('a' - 'A')) : byte;
}

/// Negative, zero or positive, as `a` sorts before, with or after `b` when both are in lower case. Bytes are unsigned.
constexpr int CompareIgnoreCase(std::string_view a, std::string_view b) {
    const size_t common = std::min(a.size(), b.size());
    for (size_t i = 0; i < common; ++i) {
        const int difference = ToLowerAscii(a[i]) - ToLowerAscii(b[i]);
        if (difference != 0) return difference;
    }
    if (a.size() == b.size()) return 0;
    return a.size() < b.size() ? -1 : 1;
}

constexpr bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && CompareIgnoreCase(a, b) == 0;
}

/// Without the spaces and tabs at both ends; no other character counts as blank.
constexpr std::string_view TrimBlanks(std::string_view text) {
    constexpr std::string_view kBlanks = " \t";
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace wpk::core

#endif
