// Options: the values from the command line.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace desktop {

/// The settings of the library and the initial contents of the fields. The example server's port and a message that
/// its service Lookup understands make a first try one key press.
struct Options {
    std::string server = "127.0.0.1";
    std::uint16_t port = 8080;
    std::string service = "Lookup";
    std::string message = "<request><name>iron</name></request>";
    int connection_type = 2;  ///< a WPK_CONNECTION_TYPE
    std::string proxy_host;   ///< empty: no proxy
    std::uint16_t proxy_port = 80;
};

/// @throws common::Usage
Options ParseOptions(int argc, const char* const* argv);

}  // namespace desktop
