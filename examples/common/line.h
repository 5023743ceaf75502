// Lines for the user.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <mutex>
#include <string>

namespace common {

/// Writes the text as a whole: other threads' texts, to any file, come before or after it. On a terminal, some run-time
/// libraries write letter by letter.
inline void Write(std::FILE* to, const std::string& text) {
    static std::mutex one_at_a_time;
    const std::lock_guard<std::mutex> lock(one_at_a_time);
    std::fwrite(text.data(), 1, text.size(), to);
    std::fflush(to);
}

inline void WriteLine(std::FILE* to, const std::string& text) {
    Write(to, text + "\n");
}

}  // namespace common
