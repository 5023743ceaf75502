// Options: what the command line asks for.
// SPDX-License-Identifier: MIT
#include "options.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <sstream>
#include <string_view>

namespace wpk_trace {
namespace {

/// Takes "HOST:PORT" apart, or "HOST" alone.
void SetTarget(Options& options, const std::string& target) {
    const std::size_t colon = target.find(':');
    options.target_host = target.substr(0, colon);
    if (options.target_host.empty()) throw CLI::ValidationError("--to", "no host in '" + target + "'");
    if (colon == std::string::npos) return;
    const std::string_view port = std::string_view(target).substr(colon + 1);
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), options.target_port);
    if (error != std::errc() || end != port.data() + port.size() || options.target_port == 0) {
        throw CLI::ValidationError("--to", "no port number from 1 to 65535 in '" + target + "'");
    }
}

void DescribeOptions(CLI::App& app, Options& options) {
    app.add_option("-l,--listen", options.port, "Port to listen on; 0: chosen by the system")
        ->check(CLI::Range(0, 65535))
        ->required();
    app.add_option_function<std::string>(
           "-t,--to", [&options](const std::string& text) { SetTarget(options, text); },
           "The server or proxy to pass everything on to (HOST:PORT; default port 80)")
        ->required();
    app.add_option("--address", options.address,
                   "IPv4 address to listen on; 0.0.0.0: all of this machine's, so that others reach it too")
        ->check(CLI::ValidIPV4)
        ->capture_default_str();
    app.add_option("--body", options.shown.body, "How many bytes of each value and reply to show")
        ->check(CLI::Range(0, 1048576))
        ->capture_default_str();
    app.add_flag("--show-credentials", options.shown.credentials,
                 "Show the value of Proxy-Authorization, which holds the password");
    app.footer(
        "Send to the port it listens on in place of the server's, or name it as the proxy in place of the proxy.\n\n"
        "Exit status: 0 after --help, 1 when it cannot listen (standard error says why), 2 when the command line is\n"
        "wrong. Otherwise it runs until Ctrl-C.");
}

}  // namespace

bool IsOpenToOthers(const std::string& address) {
    return address.compare(0, 4, "127.") != 0;
}

Options ParseOptions(int argc, const char* const* argv) {
    Options options;
    CLI::App app("Passes connections on to a server or proxy and shows in words what goes over them.", "wpk_trace");
    DescribeOptions(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        std::ostringstream text;
        const bool asked_for = app.exit(error, text, text) == 0;
        throw Usage(text.str(), asked_for);
    }
    return options;
}

}  // namespace wpk_trace
