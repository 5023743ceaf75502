// One request under measurement.
// SPDX-License-Identifier: MIT
#ifndef WPK_BENCH_TRANSPORT_REQUEST_H
#define WPK_BENCH_TRANSPORT_REQUEST_H

#include <cstdint>
#include <string>

#include "wpk/wpk.h"

namespace bench {

class InFlight;

/// What is asked and, once it is over, when things happened. The clients take it as their order and fill in the
/// times, in microseconds.
struct Request {
    WPK_SENDSTRUCT record;
    uint32_t replyLength = 0;

    double started = 0;
    /// When the first and the last piece of the reply's body had been received, and how long the first one was.
    double firstPiece = 0;
    double lastPiece = 0;
    uint32_t firstLength = 0;
    double ended = 0;
    bool delivered = false;

    InFlight* window = nullptr;
};

/// Starts the request and returns; it ends on a thread of its own.
using Starter = void (*)(Request& request);

}  // namespace bench

#endif
