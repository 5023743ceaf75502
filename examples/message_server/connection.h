// One connection: reads a request, has it served, sends the reply.
// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "socket.h"

namespace message_server {

/// What every connection is held to.
struct Limits {
    /// The largest body of a request, in bytes.
    std::size_t max_request = std::size_t{16} * 1024 * 1024;
    /// For the whole of a request to arrive, and for each step of taking the reply.
    std::chrono::milliseconds timeout{30000};
    /// Bytes a second. A client that takes every step in time and still keeps its place for ever is held to this.
    std::uint64_t slowest_rate = std::uint64_t{1024} * 1024;
    /// Write a line on each request to standard error.
    bool log = false;
};

/// Serves the one request that a connection carries. Does not throw: what goes wrong on a connection is over with it.
void ServeConnection(Socket client, const Limits& limits) noexcept;

}  // namespace message_server
