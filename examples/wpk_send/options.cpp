// Options: what the command line asks for.
// SPDX-License-Identifier: MIT
#include "options.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <map>
#include <sstream>
#include <string_view>

#include <wpk/wpk.h>

#include "outcome.h"

namespace wpk_send {
namespace {

const std::map<std::string, int> kConnectionTypes = {
    {"never", WPK_CONNECTION_NEVER},
    {"dial-up", WPK_CONNECTION_DIAL_UP},
    {"permanent", WPK_CONNECTION_PERMANENT},
    {"automatic", WPK_CONNECTION_AUTOMATIC},
};

/// Takes "HOST:PORT" apart, or "HOST" alone.
void SetProxy(Options& options, const std::string& proxy) {
    const std::size_t colon = proxy.find(':');
    options.proxy_host = proxy.substr(0, colon);
    if (options.proxy_host.empty()) throw CLI::ValidationError("--proxy", "no host in '" + proxy + "'");
    if (colon == std::string::npos) return;
    const std::string_view port = std::string_view(proxy).substr(colon + 1);
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), options.proxy_port);
    if (error != std::errc() || end != port.data() + port.size() || options.proxy_port == 0) {
        throw CLI::ValidationError("--proxy", "no port number in '" + proxy + "'");
    }
}

void DescribeMessage(CLI::App& app, Options& options) {
    app.add_option("SERVICE", options.service, "The service that is to handle the message");
    auto* message = app.add_option("MESSAGE", options.message, "The message; default: read from standard input");
    app.add_option("-i,--input", options.input_file, "Read the message from this file")
        ->check(CLI::ExistingFile)
        ->excludes(message);
    app.add_option("-o,--output", options.output_file, "Write the reply to this file instead of standard output");
    app.add_option("-f,--field", options.field,
                   "Take the reply as XML; write only the text of this element of its root");
    app.add_option("-s,--server", options.server, "Host name or IPv4 address of the server")->capture_default_str();
    app.add_option("-p,--port", options.port, "Its port")->check(CLI::Range(1, 65535))->capture_default_str();
    app.add_option("-t,--timeout", options.timeout_seconds, "Cancel the request after so many seconds")
        ->check(CLI::Range(1, 86400));
}

void DescribeProxy(CLI::App& app, Options& options) {
    auto* proxy = app.add_option_function<std::string>(
        "--proxy", [&options](const std::string& text) { SetProxy(options, text); },
        "Send through this HTTP proxy (HOST:PORT; default port 80)");
    app.add_option("--proxy-user", options.proxy_user, "User name for the proxy; asked for when it is needed")
        ->needs(proxy);
    app.add_option("--proxy-password", options.proxy_password, "Password for the proxy; asked for when it is needed")
        ->needs(proxy);
}

void DescribeOutput(CLI::App& app, Options& options) {
    auto* quiet = app.add_flag("-q,--quiet", options.quiet, "Write nothing to standard error, and ask nothing");
    app.add_flag("-v,--verbose", options.verbose, "Say when the request has been sent")->excludes(quiet);
    app.add_flag("--progress", options.progress, "Show progress also where standard error is no terminal")
        ->excludes(quiet);
}

void DescribeConnection(CLI::App& app, Options& options) {
    app.add_option(
           "--connection", options.connection_type,
           "How to judge whether there is a network: never, dial-up, permanent (default) or automatic, or 0 to 3")
        ->transform(CLI::CheckedTransformer(kConnectionTypes, CLI::ignore_case));
    app.add_flag("-w,--watch", options.watch, "Send nothing; show how the network comes and goes, until Ctrl-C");
}

void CheckTogether(const Options& options) {
    if (options.watch && !options.service.empty()) throw CLI::ExcludesError("--watch", "SERVICE");
    if (!options.watch && options.service.empty()) throw CLI::RequiredError("SERVICE");
}

}  // namespace

Options ParseOptions(int argc, const char* const* argv) {
    Options options;
    CLI::App app("Sends a message to a named service on a server and writes its reply.", "wpk_send");
    DescribeMessage(app, options);
    DescribeOutput(app, options);
    DescribeProxy(app, options);
    DescribeConnection(app, options);
    app.footer(ExitStatusHelp());
    try {
        app.parse(argc, argv);
        CheckTogether(options);
    } catch (const CLI::ParseError& error) {
        std::ostringstream text;
        const bool asked_for = app.exit(error, text, text) == 0;
        throw Usage(text.str(), asked_for);
    }
    return options;
}

}  // namespace wpk_send
