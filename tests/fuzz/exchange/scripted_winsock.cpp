// Windows Sockets 1.1 over the scripted network, and its clock, in the place of the fake platform's. The linker takes
// the stand-in's out of its library only where nobody else has these functions. SPDX-License-Identifier: MIT
#include <cstring>

#include "fake_platform/control.h"
#include "fake_platform/src/system.h"
#include "fuzz/exchange/scripted_network.h"
#include "winsock_types.h"

using wpk::fuzz::Require;
using wpk::fuzz::ScriptedNetwork;

namespace {

/// Turns a result below 0 into the call's failure.
int Result(int result) {
    if (result >= 0) return result;
    WSASetLastError(-result);
    return SOCKET_ERROR;
}

uint32_t Milliseconds(const wpk_host_timeval* timeout) {
    Require(timeout != nullptr, "no wait is without end");
    return static_cast<uint32_t>(timeout->tv_sec * 1000 + timeout->tv_usec / 1000);
}

}  // namespace

// What the fake platform's control interface asks of its sockets.
namespace wpk::host {

void ResetHosts() {}
void ShortenTransfers(int) {}
int64_t LiveSockets() {
    return ScriptedNetwork::AnyOpen() ? 1 : 0;
}

}  // namespace wpk::host

DWORD GetTickCount() {
    return static_cast<DWORD>(ScriptedNetwork::Clock());
}

ULONGLONG GetTickCount64() {
    return ScriptedNetwork::Clock();
}

int WSAStartup(WORD, LPWSADATA) {
    return 0;
}

int WSACleanup() {
    return 0;
}

int WSAGetLastError() {
    return static_cast<int>(GetLastError());
}

void WSASetLastError(int error) {
    SetLastError(static_cast<DWORD>(error));
}

SOCKET wpk_host_socket(int, int, int) {
    return ScriptedNetwork::Current().Open();
}

int wpk_host_setsockopt(SOCKET, int, int, const char*, int) {
    return 0;
}

BOOL SetHandleInformation(HANDLE, DWORD, DWORD) {
    return TRUE;
}

int ioctlsocket(SOCKET socket, long, unsigned long* argument) {
    ScriptedNetwork::Current().SetBlocking(socket, *argument == 0);
    return 0;
}

unsigned int wpk_host_inet_addr(const char*) {
    return 0x0100007f;
}

unsigned short wpk_host_htons(unsigned short value) {
    return static_cast<unsigned short>(value << 8 | value >> 8);
}

wpk_host_hostent* wpk_host_gethostbyname(const char*) {
    return nullptr;
}

int wpk_host_connect(SOCKET socket, const wpk_host_sockaddr*, int) {
    return Result(ScriptedNetwork::Current().Connect(socket));
}

int wpk_host_select(int, wpk_host_fd_set* readable, wpk_host_fd_set* writable, wpk_host_fd_set*,
                    const wpk_host_timeval* timeout) {
    ScriptedNetwork& network = ScriptedNetwork::Current();
    const uint32_t milliseconds = Milliseconds(timeout);
    return Result(readable ? network.SelectReadable(readable->fd_array[0], milliseconds)
                           : network.SelectWritable(writable->fd_array[0], milliseconds));
}

int wpk_host_send(SOCKET socket, const char* bytes, int length, int) {
    return Result(ScriptedNetwork::Current().Send(socket, {bytes, static_cast<size_t>(length)}));
}

int wpk_host_recv(SOCKET socket, char* bytes, int length, int) {
    return Result(ScriptedNetwork::Current().Receive(socket, bytes, static_cast<size_t>(length)));
}

int closesocket(SOCKET socket) {
    ScriptedNetwork::Current().Close(socket);
    return 0;
}
