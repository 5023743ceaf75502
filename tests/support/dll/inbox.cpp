// What the callbacks brought: every notification with its thread and a copy of its contents.
// SPDX-License-Identifier: MIT
#include "support/dll/inbox.h"

#include <algorithm>
#include <cstddef>

namespace wpk::harness {
namespace {

bool ZeroFrom(const WPK_CALLBACKSTRUCT& record, size_t offset) {
    const char* bytes = reinterpret_cast<const char*>(&record);
    return std::all_of(bytes + offset, bytes + sizeof record, [](char byte) { return byte == 0; });
}

/// The field up to its terminator, or whole where it has none.
std::string FieldText(const char (&field)[WPK_CREDENTIAL_SIZE]) {
    return std::string(field, std::find(field, field + WPK_CREDENTIAL_SIZE, '\0'));
}

std::string CopyBytes(const void* data, unsigned int length) {
    if (!data) return {};
    return std::string(static_cast<const char*>(data), length);
}

void CopyFailure(const WPK_CALLBACKSTRUCT& record, Notification& copy) {
    copy.error = record.body.failure.nError;
    copy.restIsZero = ZeroFrom(record, offsetof(WPK_CALLBACKSTRUCT, body.failure.reserved));
}

void CopyProgress(const WPK_CALLBACKSTRUCT& record, Notification& copy) {
    copy.error = record.body.progress.nError;
    copy.word = record.body.progress.nWord;
    copy.data = record.body.progress.lpData;
    copy.received = record.body.progress.dwReceived;
    copy.total = record.body.progress.dwTotal;
    copy.bytes = CopyBytes(copy.data, copy.received);
    copy.restIsZero = ZeroFrom(record, offsetof(WPK_CALLBACKSTRUCT, body.progress.dwTotal) + sizeof(int));
}

void CopyReply(const WPK_CALLBACKSTRUCT& record, Notification& copy) {
    copy.error = record.body.reply.nError;
    copy.data = record.body.reply.lpData;
    copy.total = record.body.reply.dwDataLength;
    copy.bytes = CopyBytes(copy.data, copy.total);
    copy.restIsZero = ZeroFrom(record, offsetof(WPK_CALLBACKSTRUCT, body.reply.dwDataLength) + sizeof(int));
}

void CopyCredentials(const WPK_CALLBACKSTRUCT& record, Notification& copy) {
    copy.user = FieldText(record.body.credentials.szUser);
    copy.password = FieldText(record.body.credentials.szPassword);
    copy.retry = record.body.credentials.bRetry;
    const auto padded = [](const char(&field)[WPK_CREDENTIAL_SIZE]) {
        const char* end = field + WPK_CREDENTIAL_SIZE;
        return std::all_of(std::find(field, end, '\0'), end, [](char byte) { return byte == 0; });
    };
    copy.restIsZero = padded(record.body.credentials.szUser) && padded(record.body.credentials.szPassword);
}

Notification Copy(const WPK_CALLBACKSTRUCT& record) {
    Notification copy;
    copy.reason = record.nReason;
    copy.userData = record.lpUserData;
    copy.thread = GetCurrentThreadId();
    switch (record.nReason) {
        case WPK_REASON_FAILURE:
            CopyFailure(record, copy);
            break;
        case WPK_REASON_PROGRESS:
            CopyProgress(record, copy);
            break;
        case WPK_REASON_REPLY:
            CopyReply(record, copy);
            break;
        case WPK_REASON_CONNECTION:
            copy.connected = record.body.connection.dwConnected;
            copy.restIsZero = ZeroFrom(record, offsetof(WPK_CALLBACKSTRUCT, body.connection) + sizeof(int));
            break;
        case WPK_REASON_CREDENTIALS:
            CopyCredentials(record, copy);
            break;
        default:
            break;
    }
    return copy;
}

}  // namespace

Inbox::~Inbox() {
    if (thread_) CloseHandle(thread_);
}

void Inbox::Callback(WPK_CALLBACKSTRUCT* notification) {
    Inbox& inbox = *static_cast<Inbox*>(notification->lpUserData);
    inbox.Note(*notification);
    if (inbox.inside) inbox.inside(*notification);
}

void Inbox::Note(const WPK_CALLBACKSTRUCT& record) {
    HANDLE thread = nullptr;
    if (monitor_.Update([this] { return !thread_; })) {
        DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &thread, SYNCHRONIZE, FALSE, 0);
    }
    const bool keep = keepProgress_ || record.nReason != WPK_REASON_PROGRESS;
    Notification copy = keep ? Copy(record) : Notification();
    monitor_.Update([&] {
        if (record.nReason == WPK_REASON_PROGRESS) ++progressCount_;
        if (keep) notifications_.push_back(std::move(copy));
        if (!thread_) std::swap(thread_, thread);
    });
    if (thread) CloseHandle(thread);
}

unsigned int Inbox::ProgressCount() {
    return monitor_.Update([this] { return progressCount_; });
}

std::vector<Notification> Inbox::All() {
    return monitor_.Update([this] { return notifications_; });
}

size_t Inbox::Finals() {
    return monitor_.Update([this] {
        return static_cast<size_t>(std::count_if(notifications_.begin(), notifications_.end(),
                                                 [](const Notification& one) { return one.Final(); }));
    });
}

bool Inbox::WaitForFinal() {
    return monitor_.WaitUntil([this] {
        return std::any_of(notifications_.begin(), notifications_.end(),
                           [](const Notification& one) { return one.Final(); });
    });
}

bool Inbox::WaitForCount(size_t count) {
    return monitor_.WaitUntil([&] { return notifications_.size() >= count; });
}

bool Inbox::WaitForThreadEnd() {
    if (!monitor_.WaitUntil([this] { return thread_; })) return false;
    return WaitForSingleObject(thread_, kPatience) == WAIT_OBJECT_0;
}

}  // namespace wpk::harness
