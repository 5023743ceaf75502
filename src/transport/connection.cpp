// The socket layer.
// SPDX-License-Identifier: MIT
#include "transport/connection.h"

#include <algorithm>

#include "threadlib/pointer_word.h"

namespace wpk::core {

namespace {

/// The connect wait: the sum of its steps, and the length of one step, after which a cancel is noticed.
constexpr uint32_t kConnectBudgetMs = 30000;
constexpr uint32_t kConnectStepMs = 250;

/// The longest wait between two checks of the cancel mark. Below the 250 ms in which a cancel must take effect.
constexpr uint32_t kLookMs = 200;

/// A socket that has room accepts at least this number of bytes without blocking; sends are split into pieces of this
/// size.
constexpr uint32_t kSendChunk = 4096;

/// The largest size that one receive asks for. Some systems visit every page of the buffer first, which takes longer
/// than the data itself for a mapped file of gigabytes. It is above what a socket buffers on a fast network (a few
/// MiB): a smaller limit would split full buffers and cost calls.
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
    // A program that the application starts meanwhile would keep the connection open for its own lifetime. If the
    // system refuses, the request continues nevertheless.
    SetHandleInformation(PointerFrom<void>(socket_.Get()), HANDLE_FLAG_INHERIT, /*dwFlags=*/0);
    socketSemaphore_.emplace(SemaphoreKind::kLock);
    return static_cast<bool>(*socketSemaphore_);
}

bool Connection::Connect(const char* host, uint32_t port, const Semaphore* cancelSemaphore) {
    // If the system refuses a socket, it is asked once more.
    if (!Open() && !Open()) return false;
    if (CloseIfGivenUp()) return false;
    if (!SetBlocking(false)) return FailWithSocketError();
    if (!Resolve(host, port) || CloseIfGivenUp()) return false;
    if (!StartConnect() || !WaitConnected(cancelSemaphore) || !IsConnected()) return false;
    if (!SetBlocking(true)) return FailWithSocketError();
    return true;
}

/// False if there is no such host: waiting cannot change that, so the connect fails at once.
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

/// False if the system refuses to try at all: waiting cannot change that, so the connect fails at once.
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

/// False if the wait was cut short; the socket is closed then.
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

/// Checks once more if necessary: the connection may have been established during the last step.
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

/// Waits in short steps, so that a cancel is seen while nothing else happens. A limited wait is measured against its
/// end time, not by counting steps: on a busy machine each step takes longer than requested.
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

/// The system's select for this one socket, for less than a second: 1 ready, 0 time-out, below 0 error.
int Connection::Select(Direction direction, uint32_t milliseconds) const {
    fd_set sockets;
    FD_ZERO(&sockets);
    sockets.fd_count = 1;
    sockets.fd_array[0] = socket_.Get();
    timeval limit{};
    limit.tv_usec = static_cast<long>(milliseconds) * 1000;
    fd_set* readable = direction == Direction::kReadable ? &sockets : nullptr;
    fd_set* writable = direction == Direction::kWritable ? &sockets : nullptr;
    return select(/*nfds=*/0, readable, writable, /*exceptfds=*/nullptr, &limit);
}

bool Connection::FailWithSocketError() {
    lastError_ = WSAGetLastError();
    return false;
}

}  // namespace wpk::core
