// One connection: reads a request, has it served, sends the reply.
// SPDX-License-Identifier: MIT
#pragma once

#include "common/socket.h"
#include "limits.h"

namespace message_server {

/// Serves the one request that a connection carries. Does not throw: what goes wrong on a connection is over with it.
/// @param log whether to write a line on it to standard error.
void ServeConnection(common::Socket client, const Limits& limits, bool log) noexcept;

}  // namespace message_server
