// Options: what the command line says.
// SPDX-License-Identifier: MIT
#include "options.h"

#include <wpk/wpk.h>

#include <CLI/CLI.hpp>

#include <map>

namespace desktop {
namespace {

const std::map<std::string, int>& ConnectionTypes() {
    static const std::map<std::string, int> types = {
        {"never", WPK_CONNECTION_NEVER},
        {"dial-up", WPK_CONNECTION_DIAL_UP},
        {"permanent", WPK_CONNECTION_PERMANENT},
        {"automatic", WPK_CONNECTION_AUTOMATIC},
    };
    return types;
}

}  // namespace

Options ParseOptions(int argc, const char* const* argv) {
    Options options;
    CLI::App app("Sends messages to services and shows their replies.");
    app.add_option("--server", options.server, "What the field Server begins with")->capture_default_str();
    app.add_option("--port", options.port, "What the field Port begins with")->capture_default_str();
    app.add_option("--service", options.service, "What the field Service begins with")->capture_default_str();
    app.add_option("--message", options.message, "What the field Message begins with");
    app.add_option("--connection", options.connection_type, "never, dial-up, permanent (usual) or automatic")
        ->transform(CLI::CheckedTransformer(ConnectionTypes()));
    app.add_option("--proxy", options.proxy_host, "The proxy's host; none: no proxy");
    app.add_option("--proxy-port", options.proxy_port, "The proxy's port")->capture_default_str();
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        throw Usage(app.help());
    } catch (const CLI::ParseError& error) {
        throw Usage(std::string(error.what()) + "\n\n" + app.help());
    }
    return options;
}

}  // namespace desktop
