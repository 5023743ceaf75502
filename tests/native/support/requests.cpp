// What tests of the whole library are made of: requests that note what happens to them, and the server they go to.
// SPDX-License-Identifier: MIT
#include "native/support/requests.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <utility>

#include "env/remote_access.h"
#include "fake_platform/control.h"
#include "ras.h"

/// What the DLL exports beside its interface.
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

NativeRequest::NativeRequest(uint16_t port, std::string service, std::string data)
    : service_(std::move(service)), data_(std::move(data)) {
    message.nPort = port;
    message.lpszServer = server_.c_str();
    message.lpszServiceName = service_.c_str();
    message.lpfnCallback = Notify;
    message.lpUserData = this;
    message.lpData = data_.data();
    message.dwDataLength = static_cast<unsigned>(data_.size());
}

unsigned NativeRequest::Send() {
    const CodeScope library(Code::kLibrary);
    handle_ = WPK_Send(&message);
    return handle_;
}

bool NativeRequest::AwaitFinal() {
    std::unique_lock lock(mutex_);
    return ended_.wait_for(lock, kAmple, [this] { return finals_ > 0; });
}

int NativeRequest::Error() {
    const std::lock_guard lock(mutex_);
    return error_;
}

std::string NativeRequest::Reply() {
    const std::lock_guard lock(mutex_);
    return reply_;
}

void NativeRequest::Notify(WPK_CALLBACKSTRUCT* notification) {
    const CodeScope test(Code::kTest);
    static_cast<NativeRequest*>(notification->lpUserData)->Note(*notification);
}

void NativeRequest::Note(WPK_CALLBACKSTRUCT& notification) {
    if (onNotification) onNotification(notification);
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

Server::Server()
    : peer_([this](NativePeer::Connection& connection) { Serve(connection); }, NativePeer::Serve::kAtOnce) {}

void Server::Serve(NativePeer::Connection& connection) {
    const std::string request = connection.ReadRequest();
    const auto asksFor = [&request](const char* service) { return request.find(service) != std::string::npos; };
    if (asksFor("Small")) {
        connection.Write(host::ReplyBytes("small"));
    } else if (asksFor("Large")) {
        connection.Write(host::ReplyBytes(std::string(kLargeSize, 'x')));
    } else if (asksFor("Silent")) {
        ++silent_;
        connection.AwaitClose();
    } else if (asksFor("Half")) {
        const std::string whole = host::ReplyBytes(std::string(kLargeSize, 'x'));
        connection.Write(whole.substr(0, whole.size() - kLargeSize / 2));
        connection.AwaitClose();
    } else if (asksFor("Echo")) {
        connection.Write(host::ReplyBytes(request.substr(request.find("\r\n\r\n") + 4)));
    } else if (asksFor("Unknown")) {
        connection.Write(host::ReplyBytes("", "500 Bad_Plugin_Name"));
    } else if (asksFor("Guarded")) {
        // The base64 form of u:right.
        const bool known = asksFor("Proxy-Authorization: Basic dTpyaWdodA==\r\n");
        connection.Write(known ? host::ReplyBytes("small") : host::ReplyBytes("", "407 Who are you"));
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

void AwaitThreadsLeft(int64_t lastingThreads) {
    ASSERT_TRUE(AwaitThat([=] { return CountLive().threads == lastingThreads; })) << CountLive();
}

void ExpectNothingOpen() {
    EXPECT_EQ(CountLive().sockets, 0);
    EXPECT_EQ(CountLive().files, 0);
    EXPECT_EQ(CountLive().views, 0);
    EXPECT_EQ(Misuses(), std::vector<std::string>());
}

}  // namespace wpk::host
