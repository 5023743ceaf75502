// The user's terminal: is there one, and asking a question on it.
// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace wpk_send {

/// Whether what is written to standard error is seen on a terminal.
bool StandardErrorIsTerminal();

enum class Echo { kShown, kHidden };

/// Asks for a line on the terminal, also while standard input and output lead to files.
/// @return the line; nothing when there is no terminal, or when Ctrl-C is pressed.
std::optional<std::string> AskOnTerminal(const std::string& question, Echo echo);

}  // namespace wpk_send
