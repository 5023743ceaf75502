// Session: the library as the window sees it: one message at a time, all notifications through the mailbox.
// SPDX-License-Identifier: MIT
#pragma once

#include <wpk/wpk.h>

#include <memory>
#include <string>
#include <vector>

#include "mailbox.h"
#include "options.h"

namespace desktop {

/// The message to send. Server and service are in the ANSI code page, as in the library's records.
struct Message {
    std::string server;
    unsigned port;
    std::string service;
    std::string body;
};

/// Used by the window's thread only. There is one object, and it is never destroyed: the library has no shut-down, and
/// its threads may read the message until the process ends.
class Session {
public:
    /// Initialises the library. @throws std::runtime_error if that fails.
    Session(const Options& options, Mailbox& mailbox);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Call it only while no request is running. @return false if the library cannot take it; then there is no outcome.
    bool Send(Message message);

    /// Cancels the running request, if there is one; its outcome is still delivered.
    void Cancel();

    /// Call it when the outcome has been taken from the mailbox.
    void RequestHasEnded();

    bool IsRunning() const { return running_ != nullptr; }

    /// Call it before the window is destroyed: nothing comes through the mailbox any more, and a running request is
    /// cancelled.
    void Leave();

private:
    struct Request;
    struct RequestDeleter {
        void operator()(Request* request) const;
    };
    using RequestOwner = std::unique_ptr<Request, RequestDeleter>;

    static void OnDefaultNotification(WPK_CALLBACKSTRUCT* notification);
    static void OnNotification(WPK_CALLBACKSTRUCT* notification);
    void DeleteEndedRequests();

    Mailbox& mailbox_;
    RequestOwner running_;
    std::vector<RequestOwner> ended_;
};

}  // namespace desktop
