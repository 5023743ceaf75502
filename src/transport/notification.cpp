// The notifications that a callback gets.
// SPDX-License-Identifier: MIT
#include "transport/notification.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace wpk {

// The layout is part of the binary interface: applications are built with other compilers.
#define WPK_CHECK_OFFSET(type, field, offset) static_assert(offsetof(type, field) == (offset), #type "::" #field)
static_assert(sizeof(WPK_INITSTRUCT) == 80);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, hInstance, 8);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, nConnectionType, 16);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, lpfnCallback, 24);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, lpUserData, 32);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, bBehindProxy, 40);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, lpszProxyServer, 48);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, nProxyPort, 56);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, lpszProxyUser, 64);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, lpszProxyPassword, 72);
static_assert(sizeof(WPK_CALLBACKSTRUCT) == 536);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, lpUserData, 8);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.failure.nError, 16);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.progress.nWord, 24);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.progress.lpData, 32);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.progress.dwReceived, 40);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.progress.dwTotal, 44);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.reply.lpData, 24);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.reply.dwDataLength, 32);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.connection.dwConnected, 16);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.credentials.szUser, 16);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.credentials.szPassword, 272);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.credentials.bRetry, 528);
#undef WPK_CHECK_OFFSET

namespace {

using CredentialField = char[WPK_CREDENTIAL_SIZE];

/// Cut to the field, always terminated: the rest of the field is zero.
void FillField(CredentialField& field, const CountedText& text) {
    std::memcpy(field, text.CStr(), std::min<size_t>(text.Length(), sizeof field - 1));
}

/// Up to the first zero byte; the application may have left none. False for want of memory.
bool ReadField(const CredentialField& field, CountedText& text) {
    const auto length = static_cast<size_t>(std::find(field, field + sizeof field, '\0') - field);
    text = CountedText({field, length});
    return text.Length() == length;
}

}  // namespace

void Notifier::Failure(int error) const {
    WPK_CALLBACKSTRUCT notification{};
    notification.nReason = WPK_REASON_FAILURE;
    notification.body.failure.nError = error;
    Deliver(notification);
}

void Notifier::Progress(const void* reply, uint32_t received, uint32_t total) const {
    WPK_CALLBACKSTRUCT notification{};
    notification.nReason = WPK_REASON_PROGRESS;
    notification.body.progress.nWord = 1;
    notification.body.progress.lpData = reply;
    notification.body.progress.dwReceived = received;
    notification.body.progress.dwTotal = total;
    Deliver(notification);
}

void Notifier::Reply(const void* reply, uint32_t length) const {
    WPK_CALLBACKSTRUCT notification{};
    notification.nReason = WPK_REASON_REPLY;
    notification.body.reply.lpData = reply;
    notification.body.reply.dwDataLength = length;
    Deliver(notification);
}

void Notifier::ConnectionState(uint32_t connected) const {
    WPK_CALLBACKSTRUCT notification{};
    notification.nReason = WPK_REASON_CONNECTION;
    notification.body.connection.dwConnected = connected;
    Deliver(notification);
}

Notifier::Answer Notifier::AskForCredentials(Credentials& credentials) const {
    WPK_CALLBACKSTRUCT notification{};
    notification.nReason = WPK_REASON_CREDENTIALS;
    FillField(notification.body.credentials.szUser, credentials.user);
    FillField(notification.body.credentials.szPassword, credentials.password);
    Deliver(notification);
    if (notification.body.credentials.bRetry == 0) return Answer::kDeclined;
    Credentials answer;
    if (!ReadField(notification.body.credentials.szUser, answer.user)) return Answer::kNoMemory;
    if (!ReadField(notification.body.credentials.szPassword, answer.password)) return Answer::kNoMemory;
    credentials = std::move(answer);
    return Answer::kSendAgain;
}

void Notifier::Deliver(WPK_CALLBACKSTRUCT& notification) const {
    if (!callback_) return;
    notification.lpUserData = userData_;
    callback_(&notification);
}

}  // namespace wpk
