// Watching the network come and go.
// SPDX-License-Identifier: MIT
#pragma once

#include <wpk/wpk.h>

#include "options.h"

namespace wpk_send {

/// The default callback: with --watch it writes each state of the network to standard output.
/// @param notification its context is the program's Options.
void OnConnectionState(WPK_CALLBACKSTRUCT* notification);

/// Waits for Ctrl-C, or for the time-out. @return the program's exit status.
int Watch(const Options& options);

}  // namespace wpk_send
