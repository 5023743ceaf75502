// The socket layer.
// SPDX-License-Identifier: MIT
#include "transport/connection.h"

#include <algorithm>

namespace wpk {

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
    address_ = {};
    address_.sin_family = AF_INET;
    use_.Begin();
    socket_.Reset(socket(AF_INET, SOCK_STREAM, /*protocol=*/0));
    if (!socket_) return FailWithSocketError();

    const BOOL inlineUrgentData = FALSE;
    if (setsockopt(socket_.Get(), SOL_SOCKET, SO_OOBINLINE, reinterpret_cast<const char*>(&inlineUrgentData),
                   sizeof inlineUrgentData) != 0) {
        FailWithSocketError();
        Close();
        return false;
    }
    // A program that the application starts meanwhile would keep the connection open for its own lifetime. Where the
    // system refuses, the request is carried all the same.
    SetHandleInformation(reinterpret_cast<HANDLE>(socket_.Get()), HANDLE_FLAG_INHERIT, /*dwFlags=*/0);
    return true;
}

bool Connection::Connect(const char* host, uint32_t port, CancelSignal& cancelSignal) {
    if (!Open() && !Open()) return false;
    if (!SetBlocking(false)) return FailWithSocketError();
    if (!Resolve(host, port) || !StartConnect() || !WaitConnected(cancelSignal)) return false;
    if (!SetBlocking(true)) return FailWithSocketError();
    return true;
}

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

/// False when the system refuses even to try.
bool Connection::StartConnect() {
    if (connect(socket_.Get(), reinterpret_cast<const sockaddr*>(&address_), sizeof address_) == 0) {
        connected_ = true;
        return true;
    }
    FailWithSocketError();
    if (lastError_ != WSAEWOULDBLOCK) return false;
    lastError_ = kConnecting;
    return true;
}

bool Connection::WaitConnected(CancelSignal& cancelSignal) {
    uint32_t budget = kConnectBudgetMs;
    while (Usable() && !connected_) {
        const int ready = Select(Direction::kWritable, 0);
        if (ready == 1) {
            connected_ = true;
            sendCredit_ = kSendChunk;
            break;
        }
        if (ready < 0) FailWithSocketError();
        if (budget == 0) break;
        if (cancelSignal.WaitFor(kConnectStepMs)) {
            Close();
            return false;
        }
        budget = budget <= kConnectStepMs ? 0 : budget - kConnectStepMs;
    }
    return Usable() && connected_;
}

bool Connection::Send(const void* bytes, uint32_t length) {
    if (length == 0) return true;
    if (!bytes) return false;
    const char* next = static_cast<const char*>(bytes);
    while (length > 0) {
        if (!SendChunk(next, length)) return false;
    }
    return true;
}

bool Connection::SendChunk(const char*& next, uint32_t& remaining) {
    if (!connected_ || !Usable()) {
        lastError_ = kNotConnected;
        return false;
    }
    // Room for a whole piece has been found once; as long as that lasts, asking again would only cost a call.
    const uint32_t piece = std::min(remaining, kSendChunk);
    if (sendCredit_ < piece) {
        if (!AwaitReady(Direction::kWritable, kNoTimeout)) return false;
        sendCredit_ = kSendChunk;
    }
    const int sent = send(socket_.Get(), next, static_cast<int>(piece), /*flags=*/0);
    if (sent <= 0) return FailWithSocketError();
    sendCredit_ -= piece;
    next += sent;
    remaining -= static_cast<uint32_t>(sent);
    return true;
}

uint32_t Connection::Receive(void* buffer, uint32_t length, int seconds) {
    if (!connected_ || !Usable()) {
        lastError_ = kNotConnected;
        return 0;
    }
    const int wanted = static_cast<int>(std::min(length, kReceivePiece));
    bool ready = eager_;
    for (;;) {
        if (!ready && !AwaitReady(Direction::kReadable, seconds)) return 0;
        const int received = recv(socket_.Get(), static_cast<char*>(buffer), wanted, /*flags=*/0);
        if (received >= 0) return static_cast<uint32_t>(received);
        FailWithSocketError();
        if (lastError_ != WSAEWOULDBLOCK) return 0;
        ready = false;
    }
}

void Connection::ReceiveEagerly() {
    eager_ = SetBlocking(false);
}

void Connection::Close() {
    connected_ = false;
    eager_ = false;
    sendCredit_ = 0;
    socket_.Reset();
    use_.End();
}

bool Connection::SetBlocking(bool blocking) {
    u_long nonBlocking = blocking ? 0 : 1;
    return ioctlsocket(socket_.Get(), static_cast<long>(FIONBIO), &nonBlocking) == 0;
}

/// Waits in short steps, so that a cancel is seen while nothing else happens.
bool Connection::AwaitReady(Direction direction, int seconds) {
    uint32_t remaining = static_cast<uint32_t>(seconds) * 1000;
    for (;;) {
        const uint32_t step = seconds == kNoTimeout ? kLookMs : std::min(remaining, kLookMs);
        const int ready = Select(direction, step);
        if (!Usable()) {
            lastError_ = kNotConnected;
            return false;
        }
        if (ready > 0) return true;
        if (ready < 0) return FailWithSocketError();
        if (seconds == kNoTimeout) continue;
        remaining -= step;
        if (remaining == 0) return false;
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

}  // namespace wpk
