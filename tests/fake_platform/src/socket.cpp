// A TCP socket that behaves as under Windows.
// SPDX-License-Identifier: MIT
#include "fake_platform/src/socket.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "fake_platform/control.h"
#include "fake_platform/src/call.h"
#include "fake_platform/src/thread.h"
#include "winsock_types.h"

namespace wpk::host {
namespace {

std::atomic<bool> connectsAtOnce{false};

}  // namespace

void ConnectAtOnce(bool atOnce) {
    connectsAtOnce.store(atOnce);
}

int SocketErrorOf(int error) {
    switch (error) {
        case EAGAIN:
            return WSAEWOULDBLOCK;
        case EINPROGRESS:
            return WSAEWOULDBLOCK;
        case EALREADY:
            return WSAEALREADY;
        case EINTR:
            return WSAEINTR;
        case EINVAL:
            return WSAEINVAL;
        case EMFILE:
        case ENFILE:
            return WSAEMFILE;
        case EACCES:
            return WSAEACCES;
        case ECONNREFUSED:
            return WSAECONNREFUSED;
        case ECONNRESET:
            return WSAECONNRESET;
        case EPIPE:
        case ECONNABORTED:
            return WSAECONNABORTED;
        case EISCONN:
            return WSAEISCONN;
        case ENOTCONN:
            return WSAENOTCONN;
        case ETIMEDOUT:
            return WSAETIMEDOUT;
        case ENETUNREACH:
            return WSAENETUNREACH;
        case EHOSTUNREACH:
            return WSAEHOSTUNREACH;
        case EADDRNOTAVAIL:
            return WSAEADDRNOTAVAIL;
        default:
            return WSAENOBUFS;
    }
}

TcpSocket::~TcpSocket() {
    close(descriptor_);
}

int TcpSocket::Connect(uint32_t address, uint16_t port) {
    const State state = Settle();
    if (state == State::kConnected) return WSAEISCONN;
    if (state == State::kConnecting) return WSAEALREADY;
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = port;
    target.sin_addr.s_addr = address;
    const int result = connect(descriptor_, reinterpret_cast<const sockaddr*>(&target), sizeof target);
    const int error = result == 0 ? 0 : errno;
    {
        const std::lock_guard lock(mutex_);
        state_ = error == 0 || error == EINPROGRESS ? State::kConnecting : State::kFailed;
    }
    // Windows does not tell at once, not even of a port on its own machine that nobody listens on.
    if (!Blocking() && !connectsAtOnce.load()) return WSAEWOULDBLOCK;
    if (error != 0 && error != EINPROGRESS) return SocketErrorOf(error);
    if (const int waited = Await(POLLOUT)) return waited;
    return Settle() == State::kConnected ? 0 : WSAECONNREFUSED;
}

TcpSocket::State TcpSocket::Settle() {
    const std::lock_guard lock(mutex_);
    if (state_ != State::kConnecting) return state_;
    pollfd item{descriptor_, POLLOUT, 0};
    if (poll(&item, 1, 0) <= 0) return state_;
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(descriptor_, SOL_SOCKET, SO_ERROR, &error, &size);
    state_ = error == 0 ? State::kConnected : State::kFailed;
    return state_;
}

int TcpSocket::Await(short events) {
    WaitScope wait;
    for (;;) {
        if (Closed() || wait.Dead()) return WSAEINTR;
        if (wait.AskedToStop()) StopPoint();
        pollfd item{descriptor_, events, 0};
        if (poll(&item, 1, kSocketStep) > 0 && !wait.AskedToStop()) return wait.End() ? 0 : WSAEINTR;
    }
}

int TcpSocket::Send(const void* bytes, size_t length, int& done) {
    if (Settle() != State::kConnected) return WSAENOTCONN;
    const bool blocking = Blocking();
    // A blocking send returns when everything has been taken, not when something has.
    const auto* next = static_cast<const char*>(bytes);
    const char* end = next + length;
    while (next < end) {
        if (blocking) {
            if (const int waited = Await(POLLOUT)) return waited;
        }
        const ssize_t sent = send(descriptor_, next, static_cast<size_t>(end - next), MSG_NOSIGNAL);
        if (sent < 0 && errno == EAGAIN && blocking) continue;
        if (sent < 0) return SocketErrorOf(errno);
        next += sent;
        if (!blocking) break;
    }
    done = static_cast<int>(next - static_cast<const char*>(bytes));
    return 0;
}

int TcpSocket::Receive(void* bytes, size_t length, int& done) {
    if (Settle() != State::kConnected) return WSAENOTCONN;
    for (;;) {
        const bool blocking = Blocking();
        if (blocking) {
            if (const int waited = Await(POLLIN)) return waited;
        }
        const ssize_t received = recv(descriptor_, bytes, length, 0);
        if (received < 0 && errno == EAGAIN && blocking) continue;
        if (received < 0) return SocketErrorOf(errno);
        done = static_cast<int>(received);
        return 0;
    }
}

bool TcpSocket::Readable() {
    if (Settle() != State::kConnected) return false;
    pollfd item{descriptor_, POLLIN, 0};
    return poll(&item, 1, 0) > 0;
}

bool TcpSocket::Writable() {
    if (Settle() != State::kConnected) return false;
    pollfd item{descriptor_, POLLOUT, 0};
    return poll(&item, 1, 0) > 0;
}

bool TcpSocket::Failed() {
    return Settle() == State::kFailed;
}

int TcpSocket::PollDescriptor() {
    // For poll, a socket without a connection is always ready.
    const State state = Settle();
    return state == State::kConnecting || state == State::kConnected ? descriptor_ : -1;
}

void Socket::Close(bool byHand) {
    const std::lock_guard lock(mutex_);
    closed_.store(true, std::memory_order_relaxed);
    if (byHand && users_.AnyOther()) RecordMisuse("closesocket: another thread is in a call on the socket");
}

void Socket::Enter() {
    const std::lock_guard lock(mutex_);
    users_.Enter(Thread::Current());
}

void Socket::Leave() {
    const std::lock_guard lock(mutex_);
    users_.Leave(Thread::Current());
}

}  // namespace wpk::host
