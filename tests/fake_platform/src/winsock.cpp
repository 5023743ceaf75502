// Windows Sockets 1.1: the calls.
// SPDX-License-Identifier: MIT
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>

#include "fake_platform/control.h"
#include "fake_platform/src/call.h"
#include "fake_platform/src/scheduler.h"
#include "fake_platform/src/scripted_socket.h"
#include "fake_platform/src/socket_table.h"
#include "fake_platform/src/system.h"

namespace wpk::host {
namespace {

std::atomic<int> mostAtATime{0};

size_t Shorten(int length) {
    const int most = mostAtATime.load(std::memory_order_relaxed);
    return static_cast<size_t>(most > 0 ? std::min(most, length) : length);
}

}  // namespace

void ShortenTransfers(int most) {
    mostAtATime.store(most);
}

int64_t LiveSockets() {
    return LiveHandles(Kind::kSocket);
}

}  // namespace wpk::host

using namespace wpk::host;

int WSAStartup(WORD version, LPWSADATA data) {
    const CallScope call(Call::kWSAStartup);
    if (call.Fails()) return static_cast<int>(call.Error());
    // The version whose calls are played here.
    if (version != MAKEWORD(1, 1)) return WSAVERNOTSUPPORTED;
    *data = {};
    data->wVersion = version;
    data->wHighVersion = MAKEWORD(2, 2);
    StartInterface();
    return 0;
}

int WSACleanup() {
    const CallScope call(Call::kWSACleanup);
    if (!CleanUpInterface()) return RefuseSocket(WSANOTINITIALISED);
    return call.Fails() ? RefuseSocket(static_cast<int>(call.Error())) : 0;
}

int WSAGetLastError() {
    return static_cast<int>(GetLastError());
}

void WSASetLastError(int error) {
    SetLastError(static_cast<DWORD>(error));
}

SOCKET wpk_host_socket(int family, int type, int protocol) {
    const CallScope call(Call::ksocket);
    if (call.Fails()) return INVALID_SOCKET;
    if (!InterfaceStarted()) return static_cast<SOCKET>(RefuseSocket(WSANOTINITIALISED));
    if (family != 2 || type != 1 || (protocol != 0 && protocol != 6)) {
        return static_cast<SOCKET>(RefuseSocket(WSAEAFNOSUPPORT));
    }
    if (IsScheduled()) return OpenSocket(std::make_shared<ScriptedSocket>());
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_TCP);
    if (descriptor < 0) return static_cast<SOCKET>(RefuseSocket(SocketErrorOf(errno)));
    return OpenSocket(std::make_shared<TcpSocket>(descriptor));
}

int wpk_host_setsockopt(SOCKET socket, int level, int option, const char* value, int length) {
    const CallScope call(Call::ksetsockopt);
    if (call.Fails()) return SOCKET_ERROR;
    const SocketUse use("setsockopt", socket);
    if (!use) return SOCKET_ERROR;
    if (!value || length < 4) return RefuseSocket(WSAEFAULT);
    // What the library sets is the only option there is, with the only value.
    int on = 1;
    std::memcpy(&on, value, sizeof on);
    return level == 0xffff && option == 0x0100 && on == 0 ? 0 : RefuseSocket(WSAENOPROTOOPT);
}

/// Only for sockets: no other handle of the library's begins its life inheritable. Here no program inherits any.
BOOL SetHandleInformation(HANDLE object, DWORD mask, DWORD) {
    const CallScope call(Call::kSetHandleInformation);
    if (call.Fails()) return FALSE;
    const SocketUse use("SetHandleInformation", reinterpret_cast<SOCKET>(object));
    if (!use || (mask & ~HANDLE_FLAG_INHERIT) != 0) {
        SetLastError(use ? ERROR_INVALID_PARAMETER : ERROR_INVALID_HANDLE);
        return FALSE;
    }
    return TRUE;
}

int ioctlsocket(SOCKET socket, long command, unsigned long* argument) {
    const CallScope call(Call::kioctlsocket);
    if (call.Fails()) return SOCKET_ERROR;
    const SocketUse use("ioctlsocket", socket);
    if (!use) return SOCKET_ERROR;
    if (static_cast<unsigned>(command) != 0x8004667eu) return RefuseSocket(WSAEINVAL);
    use->SetBlocking(*argument == 0);
    return 0;
}

int wpk_host_connect(SOCKET socket, const wpk_host_sockaddr* address, int length) {
    const CallScope call(Call::kconnect);
    if (call.Fails()) return SOCKET_ERROR;
    const SocketUse use("connect", socket);
    if (!use) return SOCKET_ERROR;
    wpk_host_sockaddr_in target{};
    if (length < static_cast<int>(sizeof target)) return RefuseSocket(WSAEFAULT);
    std::memcpy(&target, address, sizeof target);
    if (target.sin_family != 2) return RefuseSocket(WSAEAFNOSUPPORT);
    const int error = use->Connect(target.sin_addr.S_un.S_addr, target.sin_port);
    return error == 0 ? 0 : RefuseSocket(error);
}

int wpk_host_select(int, wpk_host_fd_set* readable, wpk_host_fd_set* writable, wpk_host_fd_set* failed,
                    const wpk_host_timeval* timeout) {
    const CallScope call(Call::kselect);
    if (call.Fails()) return SOCKET_ERROR;
    return InterfaceStarted() ? Select(readable, writable, failed, timeout) : RefuseSocket(WSANOTINITIALISED);
}

int wpk_host_send(SOCKET socket, const char* bytes, int length, int) {
    const CallScope call(Call::ksend);
    if (call.Fails()) return SOCKET_ERROR;
    const SocketUse use("send", socket);
    if (!use) return SOCKET_ERROR;
    int done = 0;
    const int error = use->Send(bytes, Shorten(length), done);
    return error == 0 ? done : RefuseSocket(error);
}

int wpk_host_recv(SOCKET socket, char* bytes, int length, int) {
    const CallScope call(Call::krecv);
    if (call.Fails()) return SOCKET_ERROR;
    const SocketUse use("recv", socket);
    if (!use) return SOCKET_ERROR;
    int done = 0;
    const int error = use->Receive(bytes, Shorten(length), done);
    return error == 0 ? done : RefuseSocket(error);
}

int closesocket(SOCKET socket) {
    const CallScope call(Call::kclosesocket);
    if (!InterfaceStarted()) return RefuseSocket(WSANOTINITIALISED);
    if (!CloseSocket(socket)) {
        if (socket != INVALID_SOCKET) RecordMisuse("closesocket: no open socket");
        return RefuseSocket(WSAENOTSOCK);
    }
    return call.Fails() ? RefuseSocket(static_cast<int>(call.Error())) : 0;
}

int __WSAFDIsSet(SOCKET socket, wpk_host_fd_set* set) {
    return std::find(set->fd_array, set->fd_array + set->fd_count, socket) != set->fd_array + set->fd_count;
}

void wpk_host_fd_add(SOCKET socket, wpk_host_fd_set* set) {
    if (__WSAFDIsSet(socket, set) || set->fd_count == 64) return;
    set->fd_array[set->fd_count++] = socket;
}

void wpk_host_fd_remove(SOCKET socket, wpk_host_fd_set* set) {
    SOCKET* end = set->fd_array + set->fd_count;
    set->fd_count = static_cast<unsigned>(std::remove(set->fd_array, end, socket) - set->fd_array);
}
