// LogLine: what the log says of a connection.
// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace message_server {

struct LogLine {
    std::string peer;          ///< "127.0.0.1:49712"
    std::string service;       ///< empty: the request was not read that far
    int status = 0;            ///< 0: nothing was sent
    std::string reason;        ///< the reason text that was sent with it
    std::uint64_t length = 0;  ///< bytes of the reply's body
    std::string why;           ///< of a refusal, or why the connection broke off; or empty
};

/// "2026-07-01 12:30:05 127.0.0.1:49712 Echo 200 OK, 5 bytes, 2 ms". A service's name comes from outside: nothing of it
/// but printable characters is shown as it is.
std::string Written(const LogLine& line, const std::string& time, std::chrono::milliseconds taken);

}  // namespace message_server
