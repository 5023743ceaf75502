// Limits: what every connection is held to.
// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace message_server {

struct Limits {
    /// The largest body of a request, in bytes.
    std::size_t max_request = std::size_t{16} * 1024 * 1024;
    /// The largest head of a request, in bytes. A client's has five short lines; a proxy adds some of its own.
    std::size_t max_head = std::size_t{16} * 1024;
    /// For the whole of a request to arrive, and for each step of taking the reply.
    std::chrono::milliseconds timeout{30000};
    /// Bytes a second. A client that takes every step in time and still keeps its place for ever is held to this.
    std::uint64_t slowest_rate = std::uint64_t{1024} * 1024;
};

}  // namespace message_server
