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

/// Carries out a request on the calling thread and reports through its callback. Returns 1 when the reply was delivered
/// and 0 when a failure was. Throws what the callback throws, and nothing else; everything is released then, and
/// nothing more is delivered. `message` may be null, which is reported to the default callback; so may the other two,
/// without which the request fails.
///
/// A request that was cancelled or has lost the network has closed its socket before its callback is told. Any other
/// one stays open until its connection record goes.
uint32_t RunExchange(WPK_SENDSTRUCT* message, Connection* connection, const Semaphore* cancelSemaphore,
                     TransportState& state);

}  // namespace wpk::core

#endif
