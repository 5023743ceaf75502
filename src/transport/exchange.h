// The exchange of one request with its server, from the first check to the final callback.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_EXCHANGE_H
#define WPK_TRANSPORT_EXCHANGE_H

#include <cstdint>

#include "threadlib/semaphore.h"
#include "transport/connection.h"
#include "transport/state.h"
#include "wpk/wpk.h"

namespace wpk::core {

/// Carries out a request on the calling thread and reports to its callback. Returns 1 if the reply was delivered and 0
/// if a failure was. Throws what the callback throws, and nothing else; everything is released then, and nothing more
/// is delivered. `message` may be null, which is reported to the default callback. The other two may be null as well;
/// the request then fails.
///
/// If a request was cancelled or has lost the network, its socket is closed before its callback is called. Any other
/// socket stays open until the connection record is destroyed.
uint32_t RunExchange(WPK_SENDSTRUCT* message, Connection* connection, const Semaphore* cancelSemaphore,
                     TransportState& state);

}  // namespace wpk::core

#endif
