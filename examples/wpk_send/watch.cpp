// Watching the network come and go.
// SPDX-License-Identifier: MIT
#include "watch.h"

#include <windows.h>

#include <cstdio>

#include "interrupt.h"
#include "outcome.h"

namespace wpk_send {

void OnConnectionState(WPK_CALLBACKSTRUCT* notification) {
    if (notification->nReason != WPK_REASON_CONNECTION) return;
    if (!static_cast<const Options*>(notification->lpUserData)->watch) return;
    SYSTEMTIME now;
    GetLocalTime(&now);
    const char* state = notification->body.connection.dwConnected != 0 ? "connected" : "not connected";
    std::printf("%02d:%02d:%02d %s\n", now.wHour, now.wMinute, now.wSecond, state);
    std::fflush(stdout);
}

int Watch(const Options& options) {
    if (!options.quiet) {
        std::fprintf(stderr, "Watching the network; Ctrl-C ends it.\n");
        std::fflush(stderr);
    }
    const DWORD time = options.timeout_seconds ? *options.timeout_seconds * 1000 : INFINITE;
    return WaitForSingleObject(InterruptEvent(), time) == WAIT_TIMEOUT ? kTimedOut : kReplied;
}

}  // namespace wpk_send
