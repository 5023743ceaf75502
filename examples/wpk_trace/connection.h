// One connection: passes both directions on, byte for byte, and shows what they say.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "common/socket.h"
#include "log.h"
#include "options.h"

namespace wpk_trace {

/// Carries the connection to its end. Does not throw: what goes wrong on a connection is shown and over with it.
void CarryConnection(common::Socket client, std::uint64_t number, const Options& options, Log& log) noexcept;

}  // namespace wpk_trace
