// Options: the values from the command line.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "message_view.h"

namespace wpk_trace {

/// The command line as a record; the field's comment names the option.
struct Options {
    std::uint16_t port = 0;             ///< --listen
    std::string address = "127.0.0.1";  ///< --address
    std::string target_host;            ///< --to
    std::uint16_t target_port = 80;     ///< --to
    Shown shown;                        ///< --body, --show-credentials
};

/// @throws common::Usage
Options ParseOptions(int argc, const char* const* argv);

}  // namespace wpk_trace
