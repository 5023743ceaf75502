// wpk_send: sends a message to a named service and writes its reply.
// SPDX-License-Identifier: MIT
#include <wpk/wpk.h>

#include <cstdio>
#include <exception>
#include <string>
#include <utility>

#include "files.h"
#include "interrupt.h"
#include "options.h"
#include "outcome.h"
#include "request.h"
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

int Run(const Options& options) {
    std::string message;
    if (!options.watch) message = options.message ? *options.message : ReadAll(options.input_file);
    // From here on Ctrl-C ends the program in order; while it still reads its message, at once.
    InterruptEvent();
    if (!Initialise(options)) {
        if (!options.quiet) std::fprintf(stderr, "%s\n", kNotInitialisedText);
        return kNotInitialised;
    }
    if (options.watch) return Watch(options);
    return (new Request(options, std::move(message)))->Run();  // Never deleted: see the class.
}

int RunOrExplain(const Options& options) try { return Run(options); } catch (const std::exception& error) {
    if (!options.quiet) std::fprintf(stderr, "wpk_send: %s\n", error.what());
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
    } catch (const Usage& usage) {
        std::fputs(usage.what(), usage.AskedFor() ? stdout : stderr);
        return usage.AskedFor() ? kReplied : kWrongUsage;
    }
}
