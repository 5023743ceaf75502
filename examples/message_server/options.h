// Options: the values from the command line.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "limits.h"

namespace message_server {

/// The command line as a record; the field's comment names the option.
struct Options {
    std::uint16_t port = 80;            ///< --port
    std::string address = "127.0.0.1";  ///< --listen
    unsigned connections = 128;         ///< --connections
    bool log = false;                   ///< --log
    Limits limits;                      ///< --max-request, --max-head, --timeout, --slowest
};

/// @throws common::Usage
Options ParseOptions(int argc, const char* const* argv);

}  // namespace message_server
