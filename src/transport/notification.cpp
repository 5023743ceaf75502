// The notifications that a callback gets.
// SPDX-License-Identifier: MIT
#include "transport/notification.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "transport/text_buffer.h"

namespace wpk::core {

namespace {

using CredentialField = char[WPK_CREDENTIAL_SIZE];

/// Every byte is zero, whichever part of the body the reason fills: `{}` promises that of the first part alone.
void Begin(WPK_CALLBACKSTRUCT& notification, WPK_REASON reason) {
    std::memset(&notification, 0, sizeof notification);
    notification.nReason = reason;
}

/// A notification that holds credentials, which do not stay on the stack.
struct CredentialsNotification {
    CredentialsNotification() { Begin(record, WPK_REASON_CREDENTIALS); }
    CredentialsNotification(const CredentialsNotification&) = delete;
    CredentialsNotification& operator=(const CredentialsNotification&) = delete;
    ~CredentialsNotification() { Wipe(&record, sizeof record); }

    WPK_CALLBACKSTRUCT record;
};

/// Cut to the field, always terminated: the rest of the field is zero.
void FillField(CredentialField& field, std::string_view text) {
    std::copy_n(text.data(), std::min(text.size(), sizeof field - 1), field);
}

/// Up to the first zero byte; the application may have left none.
TextBuffer ReadField(const CredentialField& field) {
    const auto length = static_cast<size_t>(std::find(field, field + sizeof field, '\0') - field);
    return TextBuffer::CopyOf({field, length});
}

}  // namespace

void Notifier::Failure(int error) const {
    WPK_CALLBACKSTRUCT notification;
    Begin(notification, WPK_REASON_FAILURE);
    notification.body.failure.nError = error;
    Deliver(notification);
}

void Notifier::Progress(const void* reply, uint32_t received, uint32_t total) const {
    WPK_CALLBACKSTRUCT notification;
    Begin(notification, WPK_REASON_PROGRESS);
    notification.body.progress.nWord = 1;
    notification.body.progress.lpData = reply;
    notification.body.progress.dwReceived = received;
    notification.body.progress.dwTotal = total;
    Deliver(notification);
}

void Notifier::Reply(const void* reply, uint32_t length) const {
    WPK_CALLBACKSTRUCT notification;
    Begin(notification, WPK_REASON_REPLY);
    notification.body.reply.lpData = reply;
    notification.body.reply.dwDataLength = length;
    Deliver(notification);
}

void Notifier::ConnectionState(uint32_t connected) const {
    WPK_CALLBACKSTRUCT notification;
    Begin(notification, WPK_REASON_CONNECTION);
    notification.body.connection.dwConnected = connected;
    Deliver(notification);
}

Notifier::CredentialsReply Notifier::AskForCredentials(Credentials& credentials) const {
    CredentialsNotification notification;
    auto& shown = notification.record.body.credentials;
    FillField(shown.szUser, credentials.user.View());
    FillField(shown.szPassword, credentials.password.View());
    Deliver(notification.record);
    if (shown.bRetry == 0) return CredentialsReply::kDeclined;
    Credentials answer{ReadField(shown.szUser), ReadField(shown.szPassword)};
    if (!answer.user.IsWhole() || !answer.password.IsWhole()) return CredentialsReply::kNoMemory;
    credentials = std::move(answer);
    return CredentialsReply::kRetry;
}

void Notifier::Deliver(WPK_CALLBACKSTRUCT& notification) const {
    if (!callback_) return;
    notification.lpUserData = userData_;
    callback_(&notification);
}

}  // namespace wpk::core
