// One attempt at a request: sent on a fresh connection, its reply read, judged and delivered.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_ATTEMPT_H
#define WPK_TRANSPORT_ATTEMPT_H

#include <cstdint>

#include "transport/connection.h"
#include "transport/notification.h"
#include "transport/reply_head.h"
#include "transport/settings.h"
#include "wpk/wpk.h"

namespace wpk::core {

/// Whom a request is sent to: its server, or the proxy.
struct Peer {
    const char* host = nullptr;
    uint32_t port = 0;
    Credentials credentials;
    bool viaProxy = false;
};

/// Runs one attempt on a connected connection. True when the reply was delivered; else `outcome` says what
/// the reply amounted to. Throws what the callback throws.
bool RunAttempt(const WPK_SENDSTRUCT& message, const Peer& peer, Connection& connection, const Notifier& notifier,
                const CountedText& tempDirectory, Outcome& outcome);

}  // namespace wpk::core

#endif
