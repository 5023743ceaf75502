// The whole library in a process that starts it anew for each schedule.
// SPDX-License-Identifier: MIT
#include "host/explore/library.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "env/global_object.h"
#include "host/control.h"
#include "host/explore/explorer.h"
#include "host/peer.h"
#include "host/standin/scheduler.h"
#include "host/standin/scripted_socket.h"
#include "library/call.h"
#include "library/start_up.h"
#include "transport/sockets_interface.h"

namespace wpk::explore {

using namespace core;

using host::Undisturbed;

Library::Library() {
    const Undisturbed start;
    global_ = std::make_unique<GlobalObject>();
    host::SetSocketScript(AnswerRequest);
}

Library::~Library() {
    AwaitQuiet();
    const Undisturbed stop;
    Stop();
    host::AwaitThreads();
}

int Library::Init(const WPK_INITSTRUCT& settings) {
    return Initialise(*global_, settings);
}

unsigned Library::Send(WPK_SENDSTRUCT& message) {
    return Call(*global_, kCommandSend, reinterpret_cast<uintptr_t>(&message));
}

int Library::Cancel(unsigned handle) {
    return static_cast<int>(Call(*global_, kCommandCancel, handle));
}

bool Library::IsInitialised() const {
    return global_->initialised == 1;
}

bool Library::DetectsModems() const {
    return global_->modemDetection.Started() != 0;
}

void Library::AwaitQuiet() {
    host::AwaitThreads(
        [this] { return (global_->netOutbound.Started() != 0 ? 1u : 0u) + (DetectsModems() ? 2u : 0u); });
}

/// What a process never does: it keeps the library to its end.
void Library::Stop() {
    if (global_->initialised == 0) return;
    Expect(ThreadLib::Attach() == 1, "the caller's thread is its own again");
    Expect(global_->netOutbound.Post(kCommandAnyPending) == 0, "no request is registered any more");
    if (DetectsModems()) {
        global_->modemDetection.Post(kCommandStop);
        // Its end counts as the network's.
        if (global_->transport.connectionStatus == 1) CleanUpSockets();
    } else {
        CleanUpSockets();
    }
    // Its last worker may not be through with its end.
    host::AwaitThreads(1);
    global_->netOutbound.Stop();
    ThreadLib::Detach();
    ThreadLib::Shutdown();
}

WPK_INITSTRUCT DirectSettings() {
    WPK_INITSTRUCT settings{};
    settings.nConnectionType = WPK_CONNECTION_PERMANENT;
    return settings;
}

WPK_INITSTRUCT ProxySettings() {
    WPK_INITSTRUCT settings = DirectSettings();
    settings.bBehindProxy = 1;
    settings.lpszProxyServer = "127.0.0.1";
    settings.nProxyPort = 8080;
    return settings;
}

RunningLibrary::RunningLibrary(const WPK_INITSTRUCT& settings) {
    const Undisturbed start;
    Expect(Init(settings) == 1, "the library is initialised");
}

std::string AnswerRequest(const std::string& received) {
    static constexpr std::string_view kLength = "Content-Length: ";
    const size_t head = received.find("\r\n\r\n");
    const size_t length = received.find(kLength);
    if (head == std::string::npos || length == std::string::npos) return {};
    if (received.size() < head + 4 + std::strtoul(received.c_str() + length + kLength.size(), nullptr, 10)) return {};

    const auto contains = [&received](const char* text) { return received.find(text) != std::string::npos; };
    if (contains("Small")) return host::Reply("small");
    if (!contains("Guarded")) return {};
    // The base64 form of u:right.
    return contains("Proxy-Authorization: Basic dTpyaWdodA==\r\n") ? host::Reply("small")
                                                                   : host::Reply("", "407 Who are you");
}

Request::Request(const char* service) {
    message.nPort = 80;
    message.lpszServer = "127.0.0.1";
    message.lpszServiceName = service;
    message.lpfnCallback = Notify;
    message.lpUserData = this;
    message.lpData = "hello";
    message.dwDataLength = 5;
}

unsigned Request::Send(Library& library) {
    const unsigned handle = library.Send(message);
    handle_ = handle;
    sent_ = true;
    return handle;
}

void Request::AwaitFinal() const {
    host::AwaitScheduled(
        "a final notification", [this] { return finals_ > 0; }, INFINITE);
}

int Request::Error() const {
    Expect(finals_ == (sent_ && handle_ == 0 ? 0 : 1), "one final notification each");
    return error_;
}

void Request::Notify(WPK_CALLBACKSTRUCT* notification) {
    static_cast<Request*>(notification->lpUserData)->Note(*notification);
}

void Request::Note(WPK_CALLBACKSTRUCT& notification) {
    Expect(finals_ == 0, "nothing is told after the final notification");
    if (on_notification) on_notification(notification);
    switch (notification.nReason) {
        case WPK_REASON_FAILURE:
            error_ = notification.body.failure.nError;
            ++finals_;
            break;
        case WPK_REASON_REPLY:
            Expect(std::string(static_cast<const char*>(notification.body.reply.lpData),
                               notification.body.reply.dwDataLength) == "small",
                   "the reply is the server's");
            ++finals_;
            break;
        case WPK_REASON_CREDENTIALS: {
            ++questions_;
            if (!password) break;
            auto& answer = notification.body.credentials;
            std::snprintf(answer.szUser, sizeof answer.szUser, "u");
            std::snprintf(answer.szPassword, sizeof answer.szPassword, "%s", password);
            answer.bRetry = 1;
            break;
        }
        default:
            break;
    }
}

}  // namespace wpk::explore
