// Log: the program's output, whole lines of one connection at a time.
// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace wpk_trace {

/// Any thread.
class Log {
public:
    /// Writes the lines to standard output, each after the prefix, without other connections' lines between them.
    void Write(const std::string& prefix, const std::vector<std::string>& lines);

private:
    std::mutex mutex_;
};

}  // namespace wpk_trace
