// The library under measurement.
// SPDX-License-Identifier: MIT
#include "library_client.h"

#include <cstdio>
#include <cstdlib>

#include "in_flight.h"

namespace bench {

namespace {

void OnProgress(Request& request, unsigned received, unsigned total) {
    const double now = Now();
    if (request.firstLength == 0) {
        request.firstPiece = now;
        request.firstLength = received;
    }
    if (received == total) request.lastPiece = now;
}

void OnNotification(WPK_CALLBACKSTRUCT* notification) {
    auto& request = *static_cast<Request*>(notification->lpUserData);
    switch (notification->nReason) {
        case WPK_REASON_PROGRESS:
            OnProgress(request, notification->body.progress.dwReceived, notification->body.progress.dwTotal);
            break;
        case WPK_REASON_REPLY:
            Finish(request, notification->body.reply.dwDataLength == request.replyLength);
            break;
        default:
            Finish(request, false);
    }
}

}  // namespace

void InitialiseLibrary() {
    WPK_INITSTRUCT settings{};
    settings.nConnectionType = WPK_CONNECTION_PERMANENT;
    settings.lpfnCallback = OnNotification;
    if (WPK_Init(&settings)) return;
    std::fprintf(stderr, "the library cannot be initialised\n");
    std::exit(1);
}

void StartInLibrary(Request& request) {
    request.record.lpfnCallback = OnNotification;
    request.record.lpUserData = &request;
    if (WPK_Send(&request.record) == 0) Finish(request, false);
}

}  // namespace bench
