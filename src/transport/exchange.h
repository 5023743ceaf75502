// The exchange of one request with its server, from the first check to the final callback.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_EXCHANGE_H
#define WPK_TRANSPORT_EXCHANGE_H

#include <cstdint>

#include "transport/notification.h"
#include "transport/pending_requests.h"
#include "transport/reply_head.h"
#include "transport/settings.h"
#include "wpk/wpk.h"

namespace wpk {

/// Carries out a request on the calling thread and reports through its callback. Returns 1 when the reply was delivered
/// and 0 when a failure was. Throws what the callback throws; everything is released then, and nothing more is
/// delivered. `message` may be null, which is reported to the default callback.
uint32_t RunExchange(WPK_SENDSTRUCT* message, PendingRequest& request, TransportState& state);

}  // namespace wpk

#endif
