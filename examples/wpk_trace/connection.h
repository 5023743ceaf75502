// One connection: forwards both directions byte for byte and shows their content.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "common/socket.h"
#include "log.h"
#include "options.h"

namespace wpk_trace {

/// Serves the connection until it ends. Does not throw: errors are shown and end with the connection.
void CarryConnection(common::Socket client, std::uint64_t number, const Options& options, Log& log) noexcept;

}  // namespace wpk_trace
