// Options: the values from the command line.
// SPDX-License-Identifier: MIT
#include "options.h"

#include "common/command_line.h"

namespace desktop {

Options ParseOptions(int argc, const char* const* argv) {
    Options options;
    common::CommandLine line("Sends messages to services and shows their replies.", "desktop");
    line.add_option("--server", options.server, "What the field Server begins with")
        ->type_name("HOST")
        ->capture_default_str();
    line.add_option("--port", options.port, "What the field Port begins with")
        ->type_name("PORT")
        ->transform(common::NumberBetween(1, 65535))
        ->capture_default_str();
    line.add_option("--service", options.service, "What the field Service begins with")
        ->type_name("SERVICE")
        ->capture_default_str();
    line.add_option("--message", options.message, "What the field Message begins with")->type_name("MESSAGE");
    line.add_option("--connection", options.connection_type,
                    "never, dial-up, permanent (usual) or automatic, or 0 to 3")
        ->type_name("TYPE")
        ->transform(common::ConnectionType());
    line.add_option_function<std::string>(
            "--proxy",
            [&options](const std::string& text) {
                const common::HostAndPort address = common::ParseHostAndPort("--proxy", text);
                options.proxy_host = address.host;
                options.proxy_port = address.port;
            },
            "Send through this HTTP proxy; without PORT: 80")
        ->type_name("HOST:PORT");
    line.footer(
        "Exit status: 0 after --help and --version and at the end, 1 when it cannot start, 2 when the command\n"
        "line is wrong.");
    line.Read(argc, argv);
    return options;
}

}  // namespace desktop
