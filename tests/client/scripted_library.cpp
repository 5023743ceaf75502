// A stand-in for the three functions of wpk.dll whose every step a test dictates.
// SPDX-License-Identifier: MIT
#include "client/scripted_library.h"

#include <cstring>

namespace wpk::client_test {
namespace {

WPK_CALLBACKSTRUCT Notification(const WPK_SENDSTRUCT& message, WPK_REASON reason) {
    WPK_CALLBACKSTRUCT notification = {};
    notification.nReason = reason;
    notification.lpUserData = message.lpUserData;
    return notification;
}

}  // namespace

ScriptedLibrary* ScriptedLibrary::current_ = nullptr;

ScriptedLibrary::ScriptedLibrary() {
    current_ = this;
}

ScriptedLibrary::~ScriptedLibrary() {
    current_ = nullptr;
}

Functions ScriptedLibrary::TheFunctions() const {
    return {&ScriptedLibrary::Init, &ScriptedLibrary::Send, &ScriptedLibrary::Cancel};
}

void ScriptedLibrary::RefuseCancels(int count) {
    monitor_.Update([&] { refusals_ = count; });
}

std::vector<unsigned int> ScriptedLibrary::Cancelled() {
    return monitor_.Update([this] { return cancelled_; });
}

bool ScriptedLibrary::WaitForCancel() {
    return monitor_.WaitUntil([this] { return !cancelled_.empty(); });
}

int ScriptedLibrary::Init(const WPK_INITSTRUCT* given) {
    current_->settings = *given;
    current_->initialised_ = current_->initAnswer == 1;
    return current_->initAnswer;
}

unsigned int ScriptedLibrary::Send(WPK_SENDSTRUCT* message) {
    current_->sent = message;
    return current_->onSend(message);
}

int ScriptedLibrary::Cancel(unsigned int handle) {
    if (!current_->initialised_) return 0;
    return current_->monitor_.Update([&] {
        if (current_->refusals_ > 0) {
            --current_->refusals_;
            return 0;
        }
        current_->cancelled_.push_back(handle);
        return 1;
    });
}

void TellFailure(const WPK_SENDSTRUCT& message, int error) {
    WPK_CALLBACKSTRUCT notification = Notification(message, WPK_REASON_FAILURE);
    notification.body.failure.nError = error;
    message.lpfnCallback(&notification);
}

void TellReply(const WPK_SENDSTRUCT& message, const char* text) {
    WPK_CALLBACKSTRUCT notification = Notification(message, WPK_REASON_REPLY);
    notification.body.reply.lpData = text;
    notification.body.reply.dwDataLength = static_cast<unsigned int>(std::strlen(text));
    message.lpfnCallback(&notification);
}

void TellProgress(const WPK_SENDSTRUCT& message, const char* text, unsigned int total) {
    WPK_CALLBACKSTRUCT notification = Notification(message, WPK_REASON_PROGRESS);
    notification.body.progress.nWord = 1;
    notification.body.progress.lpData = text;
    notification.body.progress.dwReceived = static_cast<unsigned int>(std::strlen(text));
    notification.body.progress.dwTotal = total;
    message.lpfnCallback(&notification);
}

}  // namespace wpk::client_test
