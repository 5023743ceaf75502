// Bytes for messages and replies.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_PATTERN_H
#define WPK_TESTS_SUPPORT_PATTERN_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace wpk::test {

/// Bytes that tell their place: no stretch of them looks like its neighbour.
inline std::string Pattern(size_t length) {
    std::string bytes(length, '\0');
    uint32_t state = 1;
    for (char& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

}  // namespace wpk::test

#endif  // WPK_TESTS_SUPPORT_PATTERN_H
