// Request: one message, from sending it to its outcome.
// SPDX-License-Identifier: MIT
#pragma once

#include <wpk/wpk.h>

#include <chrono>
#include <string>

#include "interrupt.h"
#include "options.h"
#include "progress.h"

namespace wpk_send {

/// Holds what is in use until the final callback has returned, so it must not be destroyed before. As nothing reports
/// that return (the callback can only report that it is about to return), the program keeps the object until it ends.
class Request {
public:
    /// @param options must outlive the request.
    Request(const Options& options, std::string message);
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    /// Sends the message and waits for the outcome; Ctrl-C and the time-out cancel it.
    /// @return the program's exit status. What the user should know has been written to standard error.
    int Run();

private:
    static void OnNotification(WPK_CALLBACKSTRUCT* notification);

    // On the library's thread, one at a time.
    void Take(WPK_CALLBACKSTRUCT& notification);
    void ShowProgress(unsigned received, unsigned total);
    void AskCredentials(WPK_CALLBACKSTRUCT& notification);
    void TakeReply(const void* data, unsigned length);
    void WriteReply(const void* data, unsigned length) const;

    void WaitAndCancel(unsigned handle);
    int Report() const;
    void Say(const std::string& text) const;
    /// With --verbose only.
    void Tell(const std::string& text) const;
    /// " after 12 ms", from the sending on.
    std::string SinceSent() const;

    const Options& options_;
    const std::string message_;
    WPK_SENDSTRUCT record_;
    Progress progress_;
    WaitHandle ended_;
    WaitHandle given_up_;
    std::chrono::steady_clock::time_point sent_at_;
    bool reply_has_begun_ = false;
    bool timed_out_ = false;
    // Written before ended_ is signalled, read after.
    int error_ = 0;
    int reply_status_ = 0;
    std::string reply_trouble_;
};

}  // namespace wpk_send
