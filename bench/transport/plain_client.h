// The plain sockets program that the library is measured beside.
// SPDX-License-Identifier: MIT
#ifndef WPK_BENCH_TRANSPORT_PLAIN_CLIENT_H
#define WPK_BENCH_TRANSPORT_PLAIN_CLIENT_H

#include "request.h"

namespace bench {

/// Starts the sockets interface; ends the program when it cannot.
void InitialisePlain();

/// The same exchange on one new thread, as short as it can be written: a blocking connect, the same four sends, the
/// head read into a buffer, a reply above 10240 bytes received into a mapped file. No cancel, no time-outs, no locks.
void StartPlain(Request& request);

/// As StartPlain, but it waits with `select` before each send and each receive, as a client has to that can be ended
/// while its peer is silent.
void StartLooking(Request& request);

}  // namespace bench

#endif
