// wpk_send: sends a message to a named service and writes its reply.
// SPDX-License-Identifier: MIT
#include <wpk/wpk.h>

#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <utility>

#include "common/line.h"
#include "common/usage.h"
#include "files.h"
#include "interrupt.h"
#include "options.h"
#include "outcome.h"
#include "request.h"
#include "terminal.h"
#include "watch.h"

namespace wpk_send {
namespace {

bool Initialise(const Options& options) {
    WPK_INITSTRUCT settings = {};
    settings.nConnectionType = options.connection_type;
    settings.lpfnCallback = OnConnectionState;
    settings.lpUserData = const_cast<Options*>(&options);
    settings.bBehindProxy = options.proxy_host.empty() ? 0 : 1;
    settings.lpszProxyServer = options.proxy_host.c_str();
    settings.nProxyPort = options.proxy_port;
    settings.lpszProxyUser = options.proxy_user.c_str();
    settings.lpszProxyPassword = options.proxy_password.c_str();
    return WPK_Init(&settings) != 0;
}

/// No value if Ctrl-C was pressed while it was typed.
std::optional<std::string> TakeMessage(const Options& options) {
    if (options.watch) return std::string();
    if (options.message) return options.message;
    if (!options.input_file.empty() || !StandardInputIsTerminal()) return ReadAll(options.input_file);
    return ReadFromTerminal(options.quiet ? "" : "Type the message; Ctrl-Z at the beginning of a line ends it.\r\n");
}

int Run(const Options& options) {
    std::optional<std::string> message = TakeMessage(options);
    if (!message) return ExitStatusOfError(WPK_ERROR_CANCELLED);
    // From here on Ctrl-C ends the program in order; while it still reads its message from a file, at once.
    InterruptEvent();
    // Before the library can report anything.
    if (options.watch && !options.quiet) common::WriteLine(stderr, "Watching the network; Ctrl-C ends it.");
    if (!Initialise(options)) {
        if (!options.quiet) common::WriteLine(stderr, kNotInitialisedText);
        return kNotInitialised;
    }
    if (options.watch) return Watch(options);
    return (new Request(options, std::move(*message)))->Run();  // Never deleted: see the class.
}

int RunOrExplain(const Options& options) try { return Run(options); } catch (const std::exception& error) {
    if (!options.quiet) common::WriteLine(stderr, std::string("wpk_send: ") + error.what());
    return kFileTrouble;
}

}  // namespace
}  // namespace wpk_send

int main(int argc, char** argv) {
    using namespace wpk_send;
    try {
        // The library's threads use the options until the program ends, so they are never destroyed.
        static const Options& options = *new Options(ParseOptions(argc, argv));
        return RunOrExplain(options);
    } catch (const common::Usage& usage) {
        return common::Explain(usage);
    }
}
