// The socket values, and the starts of the interface without which none is open.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_FAKE_PLATFORM_SRC_SOCKET_TABLE_H
#define WPK_TESTS_FAKE_PLATFORM_SRC_SOCKET_TABLE_H

#include <memory>

#include "fake_platform/src/socket.h"
#include "winsock_types.h"

namespace wpk::host {

void StartInterface();
bool InterfaceStarted();
/// False when it has not been started. The last clean-up closes all sockets.
bool CleanUpInterface();

SOCKET OpenSocket(std::shared_ptr<Socket> socket);
/// False when the value is not in use.
bool CloseSocket(SOCKET socket);

/// Sets the last error.
int RefuseSocket(int error);

/// A socket for the length of one call; empty, with the last error set, when the call cannot go on.
class SocketUse {
public:
    SocketUse(const char* call, SOCKET socket);
    SocketUse(SocketUse&& other) noexcept : socket_(std::move(other.socket_)) {}
    ~SocketUse() {
        if (socket_) socket_->Leave();
    }

    explicit operator bool() const { return socket_ != nullptr; }
    Socket* operator->() const { return socket_.get(); }

private:
    std::shared_ptr<Socket> socket_;
};

/// As wpk_host_select, which the interface must have been started for.
int Select(wpk_host_fd_set* readable, wpk_host_fd_set* writable, wpk_host_fd_set* failed,
           const wpk_host_timeval* timeout);

}  // namespace wpk::host

#endif  // WPK_TESTS_FAKE_PLATFORM_SRC_SOCKET_TABLE_H
