// Lines for the user.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <string>

namespace common {

/// Writes the text and a line end in one piece: what other threads write meanwhile does not come between its letters.
inline void WriteLine(std::FILE* to, const std::string& text) {
    const std::string line = text + "\n";
    std::fwrite(line.data(), 1, line.size(), to);
    std::fflush(to);
}

}  // namespace common
