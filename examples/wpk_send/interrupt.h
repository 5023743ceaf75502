// Interrupt: Ctrl-C as an event to wait for.
// SPDX-License-Identifier: MIT
#pragma once

namespace wpk_send {

/// A kernel object of the platform (HANDLE), spelt so that its headers stay out of this one.
using WaitHandle = void*;

/// From its first use on, the first Ctrl-C signals the returned event for good; a second one ends the program at once.
/// Any thread. The event lives until the program ends.
/// @throws std::runtime_error where the system refuses.
WaitHandle InterruptEvent();

/// Whether Ctrl-C has been pressed.
bool Interrupted();

}  // namespace wpk_send
