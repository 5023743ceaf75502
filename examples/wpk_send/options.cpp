// Options: the values from the command line.
// SPDX-License-Identifier: MIT
#include "options.h"

#include "common/command_line.h"
#include "outcome.h"

namespace wpk_send {
namespace {

void DescribeMessage(common::CommandLine& line, Options& options) {
    line.add_option("SERVICE", options.service, "The service that is to handle the message");
    auto* message = line.add_option("MESSAGE", options.message, "The message; without it: standard input");
    line.add_option("-i,--input", options.input_file, "Read the message from this file, in place of MESSAGE")
        ->type_name("FILE")
        ->check(CLI::ExistingFile.description(""))
        ->excludes(message);
    line.add_option("-o,--output", options.output_file, "Write the reply to this file, not to standard output")
        ->type_name("FILE");
    line.add_option("-f,--field", options.field,
                    "Take the reply as XML; write only the text of this element of its root")
        ->type_name("ELEMENT");
    line.add_option("-s,--server", options.server, "Host name or IPv4 address of the server")
        ->type_name("HOST")
        ->capture_default_str();
    line.add_option("-p,--port", options.port, "Its port")
        ->type_name("PORT")
        ->transform(common::NumberBetween(1, 65535))
        ->capture_default_str();
    line.add_option("-t,--timeout", options.timeout_seconds, "Cancel the request after this time")
        ->type_name("SECONDS")
        ->transform(common::NumberBetween(1, 86400));
}

void DescribeProxy(common::CommandLine& line, Options& options) {
    auto* proxy = line.add_option_function<std::string>(
        "--proxy",
        [&options](const std::string& text) {
            const common::HostAndPort address = common::ParseHostAndPort("--proxy", text);
            options.proxy_host = address.host;
            options.proxy_port = address.port;
        },
        "Send through this HTTP proxy; without PORT: 80");
    proxy->type_name("HOST:PORT");
    line.add_option("--proxy-user", options.proxy_user, "User name for the proxy; asked for when it is needed")
        ->type_name("NAME")
        ->needs(proxy);
    line.add_option("--proxy-password", options.proxy_password, "Password for the proxy; asked for when it is needed")
        ->type_name("PASSWORD")
        ->needs(proxy);
}

void DescribeOutput(common::CommandLine& line, Options& options) {
    auto* quiet = line.add_flag("-q,--quiet", options.quiet, "Write nothing to standard error, and ask nothing");
    line.add_flag("-v,--verbose", options.verbose, "Say what is sent where, when, and what comes back")
        ->excludes(quiet);
    line.add_flag("--progress", options.progress, "Show progress also where standard error is no terminal")
        ->excludes(quiet);
}

void DescribeConnection(common::CommandLine& line, Options& options) {
    line.add_option(
            "--connection", options.connection_type,
            "How to judge whether there is a network: never, dial-up, permanent (usual) or automatic, or 0 to 3")
        ->type_name("TYPE")
        ->transform(common::ConnectionType());
    line.add_flag("-w,--watch", options.watch, "Send nothing; show how the network comes and goes, until Ctrl-C");
}

void CheckTogether(const Options& options) {
    if (options.watch && !options.service.empty()) throw CLI::ExcludesError("--watch", "SERVICE");
    if (!options.watch && options.service.empty()) throw CLI::RequiredError("SERVICE");
}

}  // namespace

Options ParseOptions(int argc, const char* const* argv) {
    Options options;
    common::CommandLine line("Sends a message to a named service on a server and writes its reply.", "wpk_send");
    DescribeMessage(line, options);
    DescribeOutput(line, options);
    DescribeProxy(line, options);
    DescribeConnection(line, options);
    line.footer(ExitStatusHelp());
    line.Read(argc, argv, [&options] { CheckTogether(options); });
    return options;
}

}  // namespace wpk_send
