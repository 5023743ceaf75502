// Options: the values from the command line.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace wpk_send {

/// The command line as a record; the field's comment names the option.
struct Options {
    std::string server = "127.0.0.1";         ///< --server
    std::uint16_t port = 80;                  ///< --port
    std::string service;                      ///< SERVICE
    std::optional<std::string> message;       ///< MESSAGE
    std::string input_file;                   ///< --input; empty: standard input, unless there is a MESSAGE
    std::string output_file;                  ///< --output; empty: standard output
    std::string field;                        ///< --field; empty: the whole reply
    bool quiet = false;                       ///< --quiet
    bool verbose = false;                     ///< --verbose
    bool progress = false;                    ///< --progress
    bool watch = false;                       ///< --watch
    std::optional<unsigned> timeout_seconds;  ///< --timeout
    int connection_type = 2;                  ///< --connection, a WPK_CONNECTION_TYPE
    std::string proxy_host;                   ///< --proxy; empty: no proxy
    std::uint16_t proxy_port = 80;            ///< --proxy
    std::string proxy_user;                   ///< --proxy-user
    std::string proxy_password;               ///< --proxy-password
};

/// @throws common::Usage
Options ParseOptions(int argc, const char* const* argv);

}  // namespace wpk_send
