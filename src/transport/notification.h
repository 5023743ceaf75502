// The notifications that a callback gets.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_NOTIFICATION_H
#define WPK_TRANSPORT_NOTIFICATION_H

#include <cstdint>

#include "threadlib/counted_text.h"
#include "transport/settings.h"
#include "wpk/wpk.h"

namespace wpk::core {

/// A callback with its context. Without a callback, nothing is delivered. What the callback throws passes through.
class Notifier {
public:
    Notifier(WPK_CALLBACK callback, void* userData) : callback_(callback), userData_(userData) {}

    void Failure(int error) const;
    void Progress(const void* reply, uint32_t received, uint32_t total) const;
    void Reply(const void* reply, uint32_t length) const;
    void ConnectionState(uint32_t connected) const;

    enum class CredentialsReply { kDeclined, kRetry, kNoMemory };

    /// Shows the credentials and asks for others, which replace them when the application wants the request sent again.
    /// Without the memory for its answer, they stay as they are.
    CredentialsReply AskForCredentials(Credentials& credentials) const;

private:
    void Deliver(WPK_CALLBACKSTRUCT& notification) const;

    WPK_CALLBACK callback_;
    void* userData_;
};

}  // namespace wpk::core

#endif
