// One request of the load: what is sent, what may come of it, and what has come.
// SPDX-License-Identifier: MIT
#include "soak/job.h"

#include <algorithm>

namespace wpk::soak {

Job::Job(Plan plan, const harness::Library& library, std::function<void(Job&)> ended)
    : plan_(std::move(plan)),
      library_(library),
      ended_(std::move(ended)),
      request_(plan_.port, std::move(plan_.message)) {
    request_.Service(plan_.service);
    if (plan_.withoutServerName) request_.Server("");
    request_.inbox.DropProgress();
    request_.inbox.inside = [this](WPK_CALLBACKSTRUCT& record) { Inside(record); };
}

bool Job::Send() {
    const bool accepted = request_.Send(library_) != 0;
    monitor_.Update([this] { sent_ = true; });
    return accepted;
}

void Job::Cancel() {
    monitor_.Update([this] {
        if (finalBegun_) return;
        if (cancelledAt_ == 0) cancelledAt_ = GetTickCount64();
        library_.Cancel(request_.Handle());
    });
}

void Job::CancelFromInside() {
    monitor_.Update([this] {
        if (cancelledAt_ == 0) cancelledAt_ = GetTickCount64();
    });
    library_.Cancel(GetCurrentThreadId());
}

void Job::Inside(const WPK_CALLBACKSTRUCT& record) {
    if (record.nReason == WPK_REASON_PROGRESS) CheckProgress(record);
    if (record.nReason == WPK_REASON_PROGRESS && plan_.cancel.when == CancelPlan::kInProgress) CancelFromInside();
    if (record.nReason != WPK_REASON_REPLY && record.nReason != WPK_REASON_FAILURE) return;

    // Too late by then: this must change nothing.
    if (plan_.cancel.when == CancelPlan::kInFinal) library_.Cancel(GetCurrentThreadId());
    const bool first = monitor_.Update([this] {
        endedAt_ = GetTickCount64();
        return !std::exchange(finalBegun_, true);
    });
    if (first) ended_(*this);
}

void Job::CheckProgress(const WPK_CALLBACKSTRUCT& record) {
    const auto& progress = record.body.progress;
    if (progress.nError != 0 || progress.nWord != 1 || !progress.lpData || progress.dwReceived <= received_ ||
        progress.dwReceived > progress.dwTotal) {
        progressWrong_ = true;
    }
    received_ = progress.dwReceived;
}

bool Job::WaitForThreadEnd() {
    // The request may be over before the send has returned.
    const bool returned = monitor_.WaitUntil([this] { return sent_; });
    if (!returned || !request_.inbox.WaitForThreadEnd()) return false;
    final_ = request_.Final();
    return true;
}

std::string Job::Judge() {
    std::string wrong = JudgeNotifications();
    if (wrong.empty()) wrong = final_.reason == WPK_REASON_REPLY ? JudgeReply() : JudgeFailure();
    return wrong;
}

std::string Job::JudgeNotifications() {
    const std::vector<harness::Notification> all = request_.inbox.All();
    if (request_.inbox.Finals() != 1) return std::to_string(request_.inbox.Finals()) + " final notifications";
    if (all.size() != 1) return "a notification that nobody asked for";
    if (final_.thread != request_.Handle()) return "a final notification on another thread than the handle's";
    if (final_.userData != &request_.inbox) return "a final notification with another context";
    if (!final_.restIsZero) return "a final notification with more than its reason fills";
    if (progressWrong_) return "a progress notification with wrong numbers";
    return {};
}

std::string Job::JudgeReply() const {
    if (!plan_.right) return "a reply where none could be";
    if (final_.error != 0) return "a reply with an error code";
    if ((!final_.data) != final_.bytes.empty()) return "a reply whose pointer does not fit its length";
    if (!plan_.right(request_.Message(), final_.bytes)) return "a reply with a wrong body";
    if (received_ != final_.bytes.size()) return "a reply that its progress did not reach";
    return {};
}

std::string Job::JudgeFailure() const {
    const int error = final_.error;
    if (error == WPK_ERROR_CANCELLED && Cancelled()) return {};
    if (std::find(plan_.errors.begin(), plan_.errors.end(), error) != plan_.errors.end()) return {};
    const bool lost = error == WPK_ERROR_CONNECT || error == WPK_ERROR_EXCHANGE;
    if (lost && plan_.server && plan_.server->TroubledSince(plan_.snapshot)) return {};
    return "a failure without a cause";
}

std::string Job::Describe() const {
    return std::string(plan_.kind) + ", " + std::to_string(MessageLength()) + " bytes, handle " +
           std::to_string(request_.Handle()) + ", reason " + std::to_string(final_.reason) + ", error " +
           std::to_string(final_.error) + ", " + std::to_string(final_.bytes.size()) + " bytes back after " +
           std::to_string(endedAt_ == 0 ? 0 : Took()) + " ms" + (Cancelled() ? ", cancelled" : "");
}

}  // namespace wpk::soak
