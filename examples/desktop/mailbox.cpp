// Mailbox: passes notifications from the library's threads to the window's thread, and the answer to a question back.
// SPDX-License-Identifier: MIT
#include "mailbox.h"

#include <utility>

namespace desktop {

void Mailbox::PutConnection(bool connected) {
    const std::lock_guard lock(mutex_);
    mail_.connected = connected;
    Knock();
}

void Mailbox::PutProgress(Progress progress) {
    const std::lock_guard lock(mutex_);
    mail_.progress = progress;
    Knock();
}

void Mailbox::PutOutcome(Outcome outcome) {
    const std::lock_guard lock(mutex_);
    mail_.outcome = std::move(outcome);
    Knock();
}

std::optional<Credentials> Mailbox::Ask(const std::string& refused_user) {
    std::unique_lock lock(mutex_);
    mail_.question = refused_user;
    question_ = Question::kAsked;
    Knock();
    answered_.wait(lock, [this] { return closed_ || question_ == Question::kAnswered; });
    question_ = Question::kNone;
    return std::exchange(answer_, std::nullopt);
}

void Mailbox::Knock() {
    if (closed_ || knocked_) return;
    // This fails only if the queue is full. The next entry tries again, and the window also checks at intervals.
    knocked_ = PostMessageW(window_, knock_, 0, 0) != FALSE;
}

Mail Mailbox::Take() {
    const std::lock_guard lock(mutex_);
    knocked_ = false;
    return std::exchange(mail_, Mail());
}

void Mailbox::Answer(std::optional<Credentials> credentials) {
    const std::lock_guard lock(mutex_);
    if (question_ != Question::kAsked) return;
    answer_ = std::move(credentials);
    question_ = Question::kAnswered;
    answered_.notify_all();
}

void Mailbox::Close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    answered_.notify_all();
}

}  // namespace desktop
