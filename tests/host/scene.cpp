// What tests of the whole library are made of: requests that note what happens to them, and the server they go to.
// SPDX-License-Identifier: MIT
#include "host/scene.h"

#include <chrono>
#include <cstdio>
#include <thread>
#include <utility>

#include "env/remote_access.h"
#include "host/control.h"
#include "ras.h"

// What the DLL exports beside its interface.
extern "C" DWORD WINAPI WRAPPER_RasEnumConnections(wpk::core::RasConnection* connections, DWORD* bufferSize,
                                                   DWORD* count);
extern "C" DWORD WINAPI WRAPPER_RasGetConnectStatus(void* connection, wpk::core::RasConnectionStatus* status);

namespace wpk::host {

namespace {

constexpr std::chrono::seconds kAmple{20};

}  // namespace

int InitLibrary(const WPK_INITSTRUCT& settings) {
    const CodeScope library(Code::kLibrary);
    return WPK_Init(&settings);
}

int CancelRequest(unsigned handle) {
    const CodeScope library(Code::kLibrary);
    return WPK_Cancel(handle);
}

Request::Request(uint16_t port, std::string service, std::string data)
    : service_(std::move(service)), data_(std::move(data)) {
    message.nPort = port;
    message.lpszServer = server_.c_str();
    message.lpszServiceName = service_.c_str();
    message.lpfnCallback = Notify;
    message.lpUserData = this;
    message.lpData = data_.data();
    message.dwDataLength = static_cast<unsigned>(data_.size());
}

unsigned Request::Send() {
    const CodeScope library(Code::kLibrary);
    handle_ = WPK_Send(&message);
    return handle_;
}

bool Request::AwaitFinal() {
    std::unique_lock lock(mutex_);
    return ended_.wait_for(lock, kAmple, [this] { return finals_ > 0; });
}

int Request::Error() {
    const std::lock_guard lock(mutex_);
    return error_;
}

std::string Request::Reply() {
    const std::lock_guard lock(mutex_);
    return reply_;
}

void Request::Notify(WPK_CALLBACKSTRUCT* notification) {
    const CodeScope test(Code::kTest);
    static_cast<Request*>(notification->lpUserData)->Note(*notification);
}

void Request::Note(WPK_CALLBACKSTRUCT& notification) {
    if (on_notification) on_notification(notification);
    const std::lock_guard lock(mutex_);
    switch (notification.nReason) {
        case WPK_REASON_FAILURE:
            error_ = notification.body.failure.nError;
            ++finals_;
            break;
        case WPK_REASON_PROGRESS:
            ++progresses_;
            break;
        case WPK_REASON_REPLY:
            reply_.assign(static_cast<const char*>(notification.body.reply.lpData),
                          notification.body.reply.dwDataLength);
            ++finals_;
            break;
        case WPK_REASON_CREDENTIALS: {
            ++questions_;
            if (user.empty()) break;
            auto& answer = notification.body.credentials;
            std::snprintf(answer.szUser, sizeof answer.szUser, "%s", user.c_str());
            std::snprintf(answer.szPassword, sizeof answer.szPassword, "%s", password.c_str());
            answer.bRetry = 1;
            break;
        }
        default:
            break;
    }
    ended_.notify_all();
}

Server::Server() : peer_([this](Peer::Connection& connection) { Serve(connection); }, Peer::Serve::kAtOnce) {}

void Server::Serve(Peer::Connection& connection) {
    const std::string request = connection.ReadRequest();
    const auto asks_for = [&request](const char* service) { return request.find(service) != std::string::npos; };
    if (asks_for("Small")) {
        connection.Write(host::Reply("small"));
    } else if (asks_for("Large")) {
        connection.Write(host::Reply(std::string(kLargeSize, 'x')));
    } else if (asks_for("Silent")) {
        ++silent_;
        connection.AwaitClose();
    } else if (asks_for("Half")) {
        const std::string whole = host::Reply(std::string(kLargeSize, 'x'));
        connection.Write(whole.substr(0, whole.size() - kLargeSize / 2));
        connection.AwaitClose();
    } else if (asks_for("Echo")) {
        connection.Write(host::Reply(request.substr(request.find("\r\n\r\n") + 4)));
    } else if (asks_for("Unknown")) {
        connection.Write(host::Reply("", "500 Bad_Plugin_Name"));
    } else if (asks_for("Guarded")) {
        // The base64 form of u:right.
        const bool known = asks_for("Proxy-Authorization: Basic dTpyaWdodA==\r\n");
        connection.Write(known ? host::Reply("small") : host::Reply("", "407 Who are you"));
    }
}

namespace modem {

namespace {

std::atomic<bool> connected{false};
std::atomic<int> looks{0};

DWORD EnumConnections(RASCONNA* connections, DWORD* size, DWORD* count) {
    ++looks;
    *count = connected ? 1 : 0;
    if (*size < sizeof(RASCONNA)) return ERROR_INSUFFICIENT_BUFFER;
    std::snprintf(connections->szDeviceType, sizeof connections->szDeviceType, "Modem");
    return ERROR_SUCCESS;
}

DWORD GetConnectStatus(HRASCONN, RASCONNSTATUSA* status) {
    status->rasconnstate = connected ? RASCS_Connected : RASCS_Disconnected;
    return ERROR_SUCCESS;
}

template <class Function>
FARPROC ToProcedure(Function* function) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(function));
}

}  // namespace

void Install() {
    AddModule("rasapi32.dll", {{"RasEnumConnectionsA", ToProcedure(EnumConnections)},
                               {"RasGetConnectStatusA", ToProcedure(GetConnectStatus)}});
    AddModule("wpk.dll", {{"WRAPPER_RasEnumConnections", ToProcedure(WRAPPER_RasEnumConnections)},
                          {"WRAPPER_RasGetConnectStatus", ToProcedure(WRAPPER_RasGetConnectStatus)}});
}

void Dial() {
    connected = true;
}

void HangUp() {
    connected = false;
}

int Looks() {
    return looks;
}

}  // namespace modem

bool AwaitThat(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + kAmple;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace wpk::host
