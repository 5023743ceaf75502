// Options: the values from the command line.
// SPDX-License-Identifier: MIT
#include "options.h"

#include "common/command_line.h"

namespace message_server {
namespace {

constexpr std::uint64_t kLargestNumber = 0xFFFFFFFF;
constexpr unsigned kKib = 1024;

/// What the command line counts in other units than the server.
struct Entered {
    unsigned timeout_seconds;
    unsigned slowest_kib;
};

void Describe(common::CommandLine& line, Options& options, Entered& entered) {
    line.add_option("-p,--port", options.port, "Port to listen on; 0: chosen by the system")
        ->type_name("PORT")
        ->transform(common::NumberBetween(0, 65535))
        ->capture_default_str();
    line.add_option("--listen", options.address,
                    "IPv4 address to listen on; 0.0.0.0: all of this machine's, so that others reach it too")
        ->type_name("ADDRESS")
        ->check(common::Ipv4Address())
        ->capture_default_str();
    line.add_option("--max-request", options.limits.max_request, "Largest body of a request")
        ->type_name("BYTES")
        ->transform(common::NumberBetween(0, kLargestNumber))
        ->capture_default_str();
    line.add_option("--max-head", options.limits.max_head, "Largest head of a request")
        ->type_name("BYTES")
        ->transform(common::NumberBetween(1, kLargestNumber))
        ->capture_default_str();
    line.add_option("--connections", options.connections, "How many are served at once; others wait")
        ->type_name("NUMBER")
        ->transform(common::NumberBetween(1, 1024))
        ->capture_default_str();
    line.add_option("--timeout", entered.timeout_seconds, "How long a slow client is waited for")
        ->type_name("SECONDS")
        ->transform(common::NumberBetween(1, 3600))
        ->capture_default_str();
    line.add_option("--slowest", entered.slowest_kib, "KiB a second that a client has to take of its reply on average")
        ->type_name("KIB")
        ->transform(common::NumberBetween(1, 1048576))
        ->capture_default_str();
    line.add_flag("--log", options.log, "Write a line on each connection to standard error");
    line.footer(
        "Services: Echo, Reverse, Generate (a number of bytes), Sleep (a number of milliseconds),\n"
        "Lookup (XML: <request><name>iron</name></request>).\n\n"
        "Exit status: 0 after --help and --version, 1 when it cannot serve (standard error says why), 2 when the\n"
        "command line is wrong. Otherwise it serves until Ctrl-C.");
}

}  // namespace

Options ParseOptions(int argc, const char* const* argv) {
    Options options;
    Limits& limits = options.limits;
    Entered entered = {static_cast<unsigned>(std::chrono::duration_cast<std::chrono::seconds>(limits.timeout).count()),
                       static_cast<unsigned>(limits.slowest_rate / kKib)};
    common::CommandLine line("Serves messages, until Ctrl-C.", "message_server");
    Describe(line, options, entered);
    line.Read(argc, argv);
    limits.timeout = std::chrono::seconds(entered.timeout_seconds);
    limits.slowest_rate = std::uint64_t{kKib} * entered.slowest_kib;
    return options;
}

}  // namespace message_server
