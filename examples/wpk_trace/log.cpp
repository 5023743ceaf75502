// Log: the program's output, whole lines of one connection at a time.
// SPDX-License-Identifier: MIT
#include "log.h"

#include <cstdio>

namespace wpk_trace {

void Log::Write(const std::string& prefix, const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line.empty() ? prefix + "\n" : prefix + " " + line + "\n";
    const std::lock_guard<std::mutex> lock(mutex_);
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

}  // namespace wpk_trace
