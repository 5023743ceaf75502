// Watching the network come and go.
// SPDX-License-Identifier: MIT
#include "watch.h"

#include <windows.h>

#include <array>
#include <cstdio>
#include <string>

#include "common/line.h"
#include "interrupt.h"
#include "outcome.h"

namespace wpk_send {

void OnConnectionState(WPK_CALLBACKSTRUCT* notification) {
    if (notification->nReason != WPK_REASON_CONNECTION) return;
    if (!static_cast<const Options*>(notification->lpUserData)->watch) return;
    SYSTEMTIME now;
    GetLocalTime(&now);
    std::array<char, 16> time;
    std::snprintf(time.data(), time.size(), "%02d:%02d:%02d ", now.wHour, now.wMinute, now.wSecond);
    const char* state = notification->body.connection.dwConnected != 0 ? "connected" : "not connected";
    common::WriteLine(stdout, std::string(time.data()) + state);
}

int Watch(const Options& options) {
    const DWORD time = options.timeout_seconds ? *options.timeout_seconds * 1000 : INFINITE;
    return WaitForSingleObject(InterruptEvent(), time) == WAIT_TIMEOUT ? kTimedOut : kReplied;
}

}  // namespace wpk_send
