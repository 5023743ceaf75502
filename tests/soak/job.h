// One request of the load: what is sent, what may come of it, and what has come.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SOAK_JOB_H
#define WPK_TESTS_SOAK_JOB_H

#include "soak/server_process.h"
#include "support/dll/request.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace wpk::soak {

/// When the application takes the request back.
struct CancelPlan {
    enum When { kNever, kAfter, kInProgress, kInFinal };
    When when = kNever;
    DWORD milliseconds = 0;  // kAfter: from the return of the send on
    bool rescue = false;     // of a request that should have ended before
};

struct Plan {
    const char* kind = "";
    unsigned short port = 0;
    std::string service = "Echo";
    std::string message;
    /// Whether this body is the reply to that message. Empty: no reply may come.
    std::function<bool(const std::string& message, const std::string& body)> right;
    /// The failures that may come without a cancel.
    std::vector<int> errors;
    CancelPlan cancel;
    /// Spoils the record so that the library finds it unusable.
    bool withoutServerName = false;
    /// The server that carries it, if it is one that dies; then the snapshot of it from before the request.
    ServerProcess* server = nullptr;
    ServerProcess::Snapshot snapshot = {};
};

class Job {
public:
    /// `ended` is called once on the request's thread, at the end of its final callback.
    Job(Plan plan, const harness::Library& library, std::function<void(Job&)> ended);

    /// False when the library refuses.
    bool Send();
    /// Cancels, unless the final callback has begun already: until that has returned, the handle is this request's.
    void Cancel();

    /// Waits until nothing can come any more.
    bool WaitForThreadEnd();
    /// What is wrong with the outcome; empty when nothing is. After the end.
    std::string Judge();

    const Plan& plan() const { return plan_; }
    size_t MessageLength() const { return request_.Message().size(); }
    bool Cancelled() const { return cancelledAt_ != 0; }
    /// The final notification; after the end.
    const harness::Notification& Final() const { return final_; }
    /// How long the request went on after it had been cancelled.
    ULONGLONG CancelTook() const { return endedAt_ - cancelledAt_; }
    /// From before the send to the final notification.
    ULONGLONG Took() const { return endedAt_ - madeAt_; }
    std::string Describe() const;

private:
    void Inside(const WPK_CALLBACKSTRUCT& record);
    void CheckProgress(const WPK_CALLBACKSTRUCT& record);
    void CancelFromInside();
    std::string JudgeNotifications();
    std::string JudgeReply() const;
    std::string JudgeFailure() const;

    Plan plan_;
    const harness::Library& library_;
    std::function<void(Job&)> ended_;
    harness::Request request_;
    harness::Notification final_;
    ULONGLONG madeAt_ = GetTickCount64();

    harness::Monitor monitor_;  // of what follows
    bool sent_ = false;
    bool finalBegun_ = false;
    ULONGLONG cancelledAt_ = 0;
    ULONGLONG endedAt_ = 0;
    unsigned int received_ = 0;
    bool progressWrong_ = false;
};

}  // namespace wpk::soak

#endif  // WPK_TESTS_SOAK_JOB_H
