// The socket layer.
// SPDX-License-Identifier: MIT
#include "transport/connection.h"

#include <algorithm>

#include "threadlib/pointer_word.h"

namespace wpk::core {

namespace {

/// The connect wait: its budget, and its step, in which a cancel is noticed.
constexpr uint32_t kConnectBudgetMs = 30000;
constexpr uint32_t kConnectStepMs = 250;

/// The longest wait between two looks at the cancel mark. Below the 250 ms in which a cancel is promised to be seen.
constexpr uint32_t kLookMs = 200;

/// A socket that has room takes at least so much without blocking; sends are cut into pieces of this size.
constexpr uint32_t kSendChunk = 4096;

/// The most that one receive asks for. Some systems look at every page of the buffer first, which for a mapped file of
/// gigabytes takes longer than the data itself. Above what a socket holds at a time on a fast network, a few MiB: a
/// smaller limit would cut full buffers up and cost calls.
constexpr uint32_t kReceivePiece = 4 * 1024 * 1024;

}  // namespace

bool Connection::Open() {
    Close();
    address_ = UnspecifiedAddress();
    use_.Begin();
    if (MakeSocket()) return true;
    FailWithSocketError();
    Close();
    return false;
}

bool Connection::MakeSocket() {
    socket_.Reset(socket(AF_INET, SOCK_STREAM, /*protocol=*/0));
    if (!socket_) return false;

    const BOOL inlineUrgentData = FALSE;
    if (setsockopt(socket_.Get(), SOL_SOCKET, SO_OOBINLINE, reinterpret_cast<const char*>(&inlineUrgentData),
                   sizeof inlineUrgentData) != 0) {
        return false;
    }
    // A program that the application starts meanwhile would keep the connection open for its own lifetime. Where the
    // system refuses, the request is carried all the same.
    SetHandleInformation(PointerFrom<void>(socket_.Get()), HANDLE_FLAG_INHERIT, /*dwFlags=*/0);
    socketSemaphore_.emplace(SemaphoreKind::kLock);
    return static_cast<bool>(*socketSemaphore_);
}

bool Connection::Connect(const char* host, uint32_t port, const Semaphore* cancelSemaphore) {
    // A socket that the system refuses is asked for once more.
    if (!Open() && !Open()) return false;
    if (CloseIfGivenUp()) return false;
    if (!SetBlocking(false)) return FailWithSocketError();
    if (!Resolve(host, port) || CloseIfGivenUp()) return false;
    if (!StartConnect() || !WaitConnected(cancelSemaphore) || !IsConnected()) return false;
    if (!SetBlocking(true)) return FailWithSocketError();
    return true;
}

/// False when there is no such host: there is nothing to connect or to wait for then, so it is told at once.
bool Connection::Resolve(const char* host, uint32_t port) {
    address_.sin_port = htons(static_cast<u_short>(port));
    address_.sin_addr.s_addr = inet_addr(host);
    if (address_.sin_addr.s_addr != INADDR_NONE) return true;

    const hostent* found = gethostbyname(host);
    if (!found || found->h_addrtype != AF_INET || !found->h_addr_list[0]) {
        lastError_ = kHostNotFound;
        return false;
    }
    std::copy_n(found->h_addr_list[0], sizeof address_.sin_addr, reinterpret_cast<char*>(&address_.sin_addr));
    return true;
}

/// False when the system refuses even to try: there is nothing to wait for then, so it is told at once.
bool Connection::StartConnect() {
    if (connect(socket_.Get(), reinterpret_cast<const sockaddr*>(&address_), sizeof address_) == 0) {
        connected_ = 1;
        return true;
    }
    FailWithSocketError();
    if (lastError_ != WSAEWOULDBLOCK) return false;
    lastError_ = kConnecting;
    return true;
}

/// False when the wait was cut short, with the socket closed.
bool Connection::WaitConnected(const Semaphore* cancelSemaphore) {
    uint32_t budget = kConnectBudgetMs;
    while (!connected_) {
        if (CloseIfGivenUp()) return false;
        if (LookWhetherConnected() || budget == 0) return true;
        if (!cancelSemaphore) {
            Sleep(kConnectStepMs);
        } else if (cancelSemaphore->WaitFor(kConnectStepMs)) {
            Cancel();
            Close();
            return false;
        }
        budget = budget <= kConnectStepMs ? 0 : budget - kConnectStepMs;
    }
    return true;
}

bool Connection::LookWhetherConnected() {
    const int ready = Select(Direction::kWritable, 0);
    if (ready == 1) connected_ = 1;
    if (ready < 0) FailWithSocketError();
    return ready > 0;
}

/// Looks once more if need be: the connection may have come about within the last step.
bool Connection::IsConnected() {
    if (CloseIfGivenUp()) return false;
    if (!connected_) LookWhetherConnected();
    return connected_ != 0;
}

/// Whether there is a connection that something can be sent or received on.
bool Connection::IsUsable() {
    if (!CloseIfGivenUp() && socket_ && connected_) return true;
    lastError_ = kNotConnected;
    return false;
}

bool Connection::Send(const void* bytes, uint32_t length) {
    if (length == 0) return true;
    if (!bytes || !IsUsable()) return false;
    const char* next = static_cast<const char*>(bytes);
    while (length > 0) {
        const uint32_t chunk = std::min(length, kSendChunk);
        if (!SendChunk(next, chunk)) return false;
        next += chunk;
        length -= chunk;
    }
    return true;
}

bool Connection::SendChunk(const char* next, uint32_t length) {
    while (length > 0) {
        if (!AwaitReady(Direction::kWritable, kNoTimeout)) return false;
        const int sent = send(socket_.Get(), next, static_cast<int>(length), /*flags=*/0);
        if (sent <= 0) return FailWithSocketError();
        next += sent;
        length -= static_cast<uint32_t>(sent);
    }
    return true;
}

uint32_t Connection::Receive(void* buffer, uint32_t length, int seconds) {
    if (!IsUsable() || !AwaitReady(Direction::kReadable, seconds)) return 0;
    const int wanted = static_cast<int>(std::min(length, kReceivePiece));
    const int received = recv(socket_.Get(), static_cast<char*>(buffer), wanted, /*flags=*/0);
    if (received >= 0) return static_cast<uint32_t>(received);
    FailWithSocketError();
    return 0;
}

void Connection::Close() {
    connected_ = 0;
    socket_.Reset();
    socketSemaphore_.reset();
    use_.End();
}

bool Connection::CloseIfGivenUp() {
    if (!GivenUp()) return false;
    Close();
    return true;
}

bool Connection::SetBlocking(bool blocking) {
    u_long nonBlocking = blocking ? 0 : 1;
    return ioctlsocket(socket_.Get(), static_cast<long>(FIONBIO), &nonBlocking) == 0;
}

/// Waits in short steps, so that a cancel is seen while nothing else happens. The steps of a limited wait are measured
/// against its end: on a busy machine each of them takes longer than it was asked to.
bool Connection::AwaitReady(Direction direction, int seconds) {
    const bool limited = seconds != kNoTimeout;
    const uint64_t end = limited ? GetTickCount64() + static_cast<uint64_t>(seconds) * 1000 : 0;
    for (uint32_t step = kLookMs;;) {
        const int ready = Select(direction, step);
        if (!IsUsable()) return false;
        if (ready > 0) return true;
        if (ready < 0) return FailWithSocketError();
        if (!limited) continue;
        const uint64_t now = GetTickCount64();
        if (now >= end) return false;
        step = static_cast<uint32_t>(std::min<uint64_t>(end - now, kLookMs));
    }
}

/// As the system's call for this one socket: 1 ready, 0 time-out, below 0 error.
int Connection::Select(Direction direction, uint32_t milliseconds) const {
    fd_set sockets;
    FD_ZERO(&sockets);
    sockets.fd_count = 1;
    sockets.fd_array[0] = socket_.Get();
    timeval limit{};
    limit.tv_sec = static_cast<long>(milliseconds / 1000);
    limit.tv_usec = static_cast<long>(milliseconds % 1000 * 1000);
    fd_set* readable = direction == Direction::kReadable ? &sockets : nullptr;
    fd_set* writable = direction == Direction::kWritable ? &sockets : nullptr;
    return select(/*nfds=*/0, readable, writable, /*exceptfds=*/nullptr, &limit);
}

bool Connection::FailWithSocketError() {
    lastError_ = WSAGetLastError();
    return false;
}

}  // namespace wpk::core
