// Limits: the limits of every connection.
// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace message_server {

struct Limits {
    /// The largest body of a request, in bytes.
    std::size_t max_request = std::size_t{16} * 1024 * 1024;
    /// The largest head of a request, in bytes. A client's has five short lines; a proxy may add more.
    std::size_t max_head = std::size_t{16} * 1024;
    /// For the whole of a request to arrive, and for each step of taking the reply.
    std::chrono::milliseconds timeout{30000};
    /// The lowest speed in bytes per second: a limit for clients that take every step in time but never finish.
    std::uint64_t slowest_rate = std::uint64_t{1024} * 1024;
};

}  // namespace message_server
