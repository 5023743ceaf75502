// Options: the values from the command line.
// SPDX-License-Identifier: MIT
#include "options.h"

#include "common/command_line.h"

namespace wpk_trace {
namespace {

void Describe(common::CommandLine& line, Options& options) {
    line.add_option("-l,--listen", options.port, "Port to listen on; 0: chosen by the system")
        ->type_name("PORT")
        ->transform(common::NumberBetween(0, 65535))
        ->required();
    line.add_option_function<std::string>(
            "-t,--to",
            [&options](const std::string& text) {
                const common::HostAndPort target = common::ParseHostAndPort("--to", text);
                options.target_host = target.host;
                options.target_port = target.port;
            },
            "The server or proxy to pass everything on to; without PORT: 80")
        ->type_name("HOST:PORT")
        ->required();
    line.add_option("--address", options.address,
                    "IPv4 address to listen on; 0.0.0.0: all of this machine's, so that others reach it too")
        ->type_name("ADDRESS")
        ->check(common::Ipv4Address())
        ->capture_default_str();
    line.add_option("--body", options.shown.body, "How much of each value and reply to show")
        ->type_name("BYTES")
        ->transform(common::NumberBetween(0, 1048576))
        ->capture_default_str();
    line.add_flag("--show-credentials", options.shown.credentials,
                  "Show the value of Proxy-Authorization, which holds the password");
    line.footer(
        "Send to the port it listens on in place of the server's, or name it as the proxy in place of the proxy.\n\n"
        "Exit status: 0 after --help and --version, 1 when it cannot listen (standard error says why), 2 when the\n"
        "command line is wrong. Otherwise it runs until Ctrl-C.");
}

}  // namespace

Options ParseOptions(int argc, const char* const* argv) {
    Options options;
    common::CommandLine line("Passes connections on to a server or proxy and shows in words what goes over them.",
                             "wpk_trace");
    Describe(line, options);
    line.Read(argc, argv);
    return options;
}

}  // namespace wpk_trace
