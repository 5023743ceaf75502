// Usage: why a program does nothing of what it is for, and its exit status then.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <stdexcept>
#include <string>

namespace common {

/// The exit status of all programs for a command line that is wrong.
inline constexpr int kWrongUsage = 2;

/// The command line asks for nothing that could be done now: it is wrong, or asks for help. Its text is for the user.
class Usage : public std::runtime_error {
public:
    Usage(const std::string& text, bool asked_for) : std::runtime_error(text), asked_for_(asked_for) {}

    /// True when the user has asked for this text, so nothing is wrong.
    bool AskedFor() const { return asked_for_; }
    int ExitStatus() const { return asked_for_ ? 0 : kWrongUsage; }

private:
    bool asked_for_;
};

/// Writes the text where it belongs. @return the program's exit status.
inline int Explain(const Usage& usage) {
    std::fputs(usage.what(), usage.AskedFor() ? stdout : stderr);
    return usage.ExitStatus();
}

}  // namespace common
