// The user's terminal: is there one, and asking a question on it.
// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "interrupt.h"

namespace wpk_send {

/// Whether what is read from standard input is typed on a terminal.
bool StandardInputIsTerminal();

/// Whether what is written to standard error is seen on a terminal.
bool StandardErrorIsTerminal();

enum class Echo { kShown, kHidden };

/// Asks for a line on the terminal, also while standard input and output lead to files.
/// @param give_up an event that ends the question.
/// @return the line; nothing when there is no terminal, when Ctrl-C is pressed, or when `give_up` is set.
std::optional<std::string> AskOnTerminal(const std::string& question, Echo echo, WaitHandle give_up);

/// Shows the hint, then reads lines until Ctrl-Z is pressed at the beginning of one.
/// @return all of them; nothing when Ctrl-C is pressed.
std::optional<std::string> ReadFromTerminal(const std::string& hint);

}  // namespace wpk_send
