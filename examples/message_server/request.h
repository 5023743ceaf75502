// The bytes of a request: its head, and the tagged data of its body.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace message_server {

/// The version of the protocol, as client and server name it to each other.
inline constexpr std::string_view kProtocolVersion = "WPK/1.00";

/// What a request carries.
struct Message {
    bool behind_proxy = false;
    std::string service;
    std::string data;
};

/// The length of the head with the empty line that ends it, or nothing while that line has not come yet.
std::optional<std::size_t> FindHeadEnd(std::string_view bytes);

/// Checks the head (ended by its empty line) and returns the length of the body that follows.
/// @throws Refusal where the head is malformed, is not one of ours, or announces more than `max_body` bytes.
std::size_t ParseHead(std::string_view head, std::size_t max_body);

/// Splits the body into three entries, each a key and a value, each preceded by its 32-bit little-endian length.
/// @throws Refusal where an entry is cut off, missing, repeated, or not one of the three.
Message ParseBody(std::string_view body);

}  // namespace message_server
