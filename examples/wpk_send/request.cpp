// Request: one message, from sending it to its outcome.
// SPDX-License-Identifier: MIT
#include "request.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <exception>
#include <optional>
#include <stdexcept>
#include <utility>

#include "common/line.h"
#include "files.h"
#include "outcome.h"
#include "terminal.h"
#include "xml_field.h"

namespace wpk_send {
namespace {

Progress::Style ProgressStyle(const Options& options) {
    if (options.quiet) return Progress::Style::kNone;
    if (StandardErrorIsTerminal()) return Progress::Style::kBar;
    return options.progress ? Progress::Style::kLines : Progress::Style::kNone;
}

WaitHandle MakeEvent() {
    return CreateEventA(/*lpEventAttributes=*/nullptr, /*bManualReset=*/TRUE, /*bInitialState=*/FALSE,
                        /*lpName=*/nullptr);
}

std::string LibraryPath() {
    std::array<char, MAX_PATH> path;
    const DWORD length = GetModuleFileNameA(GetModuleHandleA("wpk.dll"), path.data(), MAX_PATH);
    return std::string(path.data(), length);
}

/// " to the service Echo of 127.0.0.1, port 80, through the proxy ...".
std::string Destination(const Options& options) {
    std::string text =
        " to the service " + options.service + " of " + options.server + ", port " + std::to_string(options.port);
    if (options.proxy_host.empty()) return text;
    return text + ", through the proxy " + options.proxy_host + ", port " + std::to_string(options.proxy_port);
}

/// Copies as much of the text as fits into the field, with a terminating zero.
void CopyText(const std::string& text, char (&field)[WPK_CREDENTIAL_SIZE]) {
    const std::size_t length = std::min<std::size_t>(text.size(), WPK_CREDENTIAL_SIZE - 1);
    std::memcpy(field, text.data(), length);
    field[length] = '\0';
}

}  // namespace

Request::Request(const Options& options, std::string message)
    : options_(options),
      message_(std::move(message)),
      progress_(ProgressStyle(options)),
      ended_(MakeEvent()),
      given_up_(MakeEvent()) {
    if (ended_ == nullptr || given_up_ == nullptr)
        throw std::runtime_error("the system is out of handles or memory; close some programs, then try again");
    record_.lpszServer = options_.server.c_str();
    record_.nPort = options_.port;
    record_.lpszServiceName = options_.service.c_str();
    record_.lpData = message_.data();
    record_.dwDataLength = static_cast<unsigned>(message_.size());
    record_.lpfnCallback = OnNotification;
    record_.lpUserData = this;
}

int Request::Run() {
    Tell("Library: " + LibraryPath() + ".");
    Tell("Sending " + SizeText(message_.size()) + Destination(options_) + ".");
    sent_at_ = std::chrono::steady_clock::now();
    const unsigned handle = WPK_Send(&record_);
    if (handle == 0) {
        Say(kNotSentText);
        return kNotSent;
    }
    Tell("Sent; waiting for the reply. The handle is " + std::to_string(handle) + ".");
    WaitAndCancel(handle);
    return Report();
}

void Request::WaitAndCancel(unsigned handle) {
    const HANDLE handles[] = {ended_, InterruptEvent()};
    const DWORD time = options_.timeout_seconds ? *options_.timeout_seconds * 1000 : INFINITE;
    const DWORD result = WaitForMultipleObjects(2, handles, /*bWaitAll=*/FALSE, time);
    if (result == WAIT_OBJECT_0) return;
    timed_out_ = result == WAIT_TIMEOUT;
    // A question on the terminal blocks the request, and a cancel does not reach it there.
    SetEvent(given_up_);
    // It is refused if there is no thread for it; there may be one a moment later.
    constexpr DWORD kNextTryMs = 50;
    while (WPK_Cancel(handle) == 0 && WaitForSingleObject(ended_, kNextTryMs) == WAIT_TIMEOUT) {
    }
    // The request still ends with its one final notification, which says how.
    WaitForSingleObject(ended_, INFINITE);
}

void Request::OnNotification(WPK_CALLBACKSTRUCT* notification) {
    Request& request = *static_cast<Request*>(notification->lpUserData);
    // No exception may escape a callback: no final notification would follow, and the waiting thread would wait
    // forever.
    try {
        request.Take(*notification);
    } catch (...) {
        // Progress that is not shown and a question that is not answered are no harm.
    }
    const bool final = notification->nReason == WPK_REASON_FAILURE || notification->nReason == WPK_REASON_REPLY;
    if (final) SetEvent(request.ended_);
}

void Request::Take(WPK_CALLBACKSTRUCT& notification) {
    const auto& body = notification.body;
    switch (notification.nReason) {
        case WPK_REASON_FAILURE:
            error_ = body.failure.nError;
            Tell("The request ends with WPK_ERROR " + std::to_string(error_) + SinceSent() + ".");
            return;
        case WPK_REASON_PROGRESS:
            return ShowProgress(body.progress.dwReceived, body.progress.dwTotal);
        case WPK_REASON_REPLY:
            Tell("The reply of " + SizeText(body.reply.dwDataLength) + " is there" + SinceSent() + ".");
            return TakeReply(body.reply.lpData, body.reply.dwDataLength);
        case WPK_REASON_CREDENTIALS:
            return AskCredentials(notification);
        default:
            return;
    }
}

void Request::ShowProgress(unsigned received, unsigned total) {
    if (!reply_has_begun_) Tell("A reply of " + SizeText(total) + " begins" + SinceSent() + ".");
    reply_has_begun_ = true;
    const std::string text = progress_.Update(received, total);
    if (!text.empty()) common::Write(stderr, text);
}

void Request::AskCredentials(WPK_CALLBACKSTRUCT& notification) {
    if (options_.quiet) return;
    auto& credentials = notification.body.credentials;
    const bool refused = credentials.szUser[0] != '\0';
    const std::string asked = "The proxy " + options_.proxy_host + (refused ? " refuses user " : " wants a user name");
    Say(asked + (refused ? credentials.szUser : "") + " and a password. Enter nothing to give up.");
    const std::optional<std::string> user = AskOnTerminal("User name: ", Echo::kShown, given_up_);
    if (!user || user->empty()) return;
    const std::optional<std::string> password = AskOnTerminal("Password: ", Echo::kHidden, given_up_);
    if (!password) return;
    CopyText(*user, credentials.szUser);
    CopyText(*password, credentials.szPassword);
    credentials.bRetry = 1;
}

void Request::TakeReply(const void* data, unsigned length) {
    // Until it is known better: without memory, not even what went wrong could be noted.
    reply_status_ = kFileTrouble;
    // The bytes are there only during this call.
    try {
        WriteReply(data, length);
        reply_status_ = kReplied;
    } catch (const NoField& error) {
        reply_status_ = kNoSuchField;
        reply_trouble_ = error.what();
    } catch (const std::exception& error) {
        reply_trouble_ = error.what();
    }
}

void Request::WriteReply(const void* data, unsigned length) const {
    if (options_.field.empty()) return WriteAll(options_.output_file, data, length);
    const std::string text = FieldText(data, length, options_.field) + "\n";
    WriteAll(options_.output_file, text.data(), text.size());
}

int Request::Report() const {
    if (error_ == 0) {
        if (!reply_trouble_.empty()) Say(reply_trouble_);
        return reply_status_;
    }
    // A question that Ctrl-C or the time-out has ended looks to the library like credentials that were declined.
    const int error = Interrupted() || timed_out_ ? WPK_ERROR_CANCELLED : error_;
    if (error == WPK_ERROR_CANCELLED && timed_out_) {
        Say("Timed out after " + std::to_string(*options_.timeout_seconds) +
            " s; request cancelled. Try a longer --timeout.");
        return kTimedOut;
    }
    Say(ErrorTextAndAdvice(error, " "));
    if (error == WPK_ERROR_PROXY_CREDENTIALS) {
        Say("They are given with --proxy-user and --proxy-password, or when they are asked for on a terminal.");
    }
    return ExitStatusOfError(error);
}

void Request::Say(const std::string& text) const {
    if (!options_.quiet) common::WriteLine(stderr, text);
}

void Request::Tell(const std::string& text) const {
    if (options_.verbose) common::WriteLine(stderr, text);
}

std::string Request::SinceSent() const {
    const auto time = std::chrono::steady_clock::now() - sent_at_;
    return " after " + std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(time).count()) + " ms";
}

}  // namespace wpk_send
