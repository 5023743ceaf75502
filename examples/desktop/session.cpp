// Session: the library as the window sees it: one message at a time, all notifications through the mailbox.
// SPDX-License-Identifier: MIT
#include "session.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <utility>

#include "wpk_send/outcome.h"

namespace desktop {

/// Everything that is in use until the final callback has returned.
struct Session::Request {
    Request(Message what, Mailbox& where) : message(std::move(what)), mailbox(where) {}
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;
    ~Request() {
        if (thread != nullptr) CloseHandle(thread);
    }

    /// Whether the library's thread, and therefore the final callback, has ended.
    bool IsOver() const { return thread != nullptr && WaitForSingleObject(thread, 0) == WAIT_OBJECT_0; }

    const Message message;
    Mailbox& mailbox;
    WPK_SENDSTRUCT record;
    unsigned handle = 0;
    /// Written in the final callback, before the outcome is put into the mailbox.
    HANDLE thread = nullptr;
};

void Session::RequestDeleter::operator()(Request* request) const {
    delete request;
}

namespace {

/// A handle to the calling thread, for others to wait on; null if the system refuses.
HANDLE ThisThread() {
    HANDLE thread = nullptr;
    DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &thread, SYNCHRONIZE,
                    /*bInheritHandle=*/FALSE, /*dwOptions=*/0);
    return thread;
}

/// Copies as much of the text as fits into the field, with a terminating zero.
void CopyText(const std::string& text, char (&field)[WPK_CREDENTIAL_SIZE]) {
    const std::size_t length = std::min<std::size_t>(text.size(), WPK_CREDENTIAL_SIZE - 1);
    std::memcpy(field, text.data(), length);
    field[length] = '\0';
}

/// The bytes are valid only during the callback, so they are read here.
Outcome ReplyOutcome(const void* data, unsigned length) {
    Outcome outcome;
    try {
        outcome.reply = ReadReply(data, length);
    } catch (...) {
        // No exception may escape a callback: no further notification would follow.
        outcome.no_memory = true;
    }
    return outcome;
}

Outcome FailureOutcome(int error) {
    Outcome outcome;
    outcome.error = error;
    return outcome;
}

/// The library's thread waits here for the user's answer; other requests continue.
void AskForCredentials(Mailbox& mailbox, WPK_CALLBACKSTRUCT& notification) try {
    auto& credentials = notification.body.credentials;
    const std::optional<Credentials> answer = mailbox.Ask(credentials.szUser);
    if (!answer) return;  // bRetry stays 0: the request ends.
    CopyText(answer->user, credentials.szUser);
    CopyText(answer->password, credentials.szPassword);
    credentials.bRetry = 1;
} catch (...) {
    // Without memory there is no answer either.
}

}  // namespace

Session::Session(const Options& options, Mailbox& mailbox) : mailbox_(mailbox) {
    WPK_INITSTRUCT settings = {};
    settings.nConnectionType = options.connection_type;
    settings.lpfnCallback = OnDefaultNotification;
    settings.lpUserData = &mailbox;
    settings.bBehindProxy = options.proxy_host.empty() ? 0 : 1;
    settings.lpszProxyServer = options.proxy_host.c_str();
    settings.nProxyPort = options.proxy_port;
    if (WPK_Init(&settings) == 0) throw std::runtime_error(wpk_send::kNotInitialisedText);
}

bool Session::Send(Message message) {
    DeleteEndedRequests();
    running_.reset(new Request(std::move(message), mailbox_));
    Request& request = *running_;
    request.record.lpszServer = request.message.server.c_str();
    request.record.nPort = request.message.port;
    request.record.lpszServiceName = request.message.service.c_str();
    request.record.lpData = request.message.body.data();
    request.record.dwDataLength = static_cast<unsigned>(request.message.body.size());
    request.record.lpfnCallback = OnNotification;
    request.record.lpUserData = &request;
    request.handle = WPK_Send(&request.record);
    if (request.handle == 0) running_.reset();
    return running_ != nullptr;
}

void Session::Cancel() {
    if (running_ != nullptr) WPK_Cancel(running_->handle);
}

void Session::RequestHasEnded() {
    // Its final callback has put the outcome into the mailbox, but may not have returned yet.
    ended_.push_back(std::move(running_));
}

void Session::DeleteEndedRequests() {
    ended_.erase(std::remove_if(ended_.begin(), ended_.end(), [](const RequestOwner& each) { return each->IsOver(); }),
                 ended_.end());
}

void Session::Leave() {
    mailbox_.Close();
    Cancel();
}

void Session::OnDefaultNotification(WPK_CALLBACKSTRUCT* notification) {
    if (notification->nReason != WPK_REASON_CONNECTION) return;
    static_cast<Mailbox*>(notification->lpUserData)->PutConnection(notification->body.connection.dwConnected != 0);
}

void Session::OnNotification(WPK_CALLBACKSTRUCT* notification) {
    Request& request = *static_cast<Request*>(notification->lpUserData);
    const auto& body = notification->body;
    switch (notification->nReason) {
        case WPK_REASON_PROGRESS:
            return request.mailbox.PutProgress({body.progress.dwReceived, body.progress.dwTotal});
        case WPK_REASON_CREDENTIALS:
            return AskForCredentials(request.mailbox, *notification);
        case WPK_REASON_FAILURE:
            request.thread = ThisThread();
            return request.mailbox.PutOutcome(FailureOutcome(body.failure.nError));
        case WPK_REASON_REPLY:
            request.thread = ThisThread();
            return request.mailbox.PutOutcome(ReplyOutcome(body.reply.lpData, body.reply.dwDataLength));
        default:
            return;
    }
}

}  // namespace desktop
