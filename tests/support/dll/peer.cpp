// A scripted peer: a listener on a loopback port chosen by the system, whose connections a script answers.
// SPDX-License-Identifier: MIT
#include "support/dll/peer.h"

#include "support/dll/process.h"
#include "support/dll/wire.h"

#include <algorithm>

namespace wpk::harness {
namespace {

sockaddr_in Loopback(unsigned short port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/// A bound socket; a port of 0 becomes the one that the system chose.
SOCKET BindToLoopback(unsigned short& port) {
    const SOCKET bound = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = Loopback(port);
    int size = sizeof address;
    if (bound == INVALID_SOCKET || bind(bound, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        getsockname(bound, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        Die("no port for a peer");
    }
    port = ntohs(address.sin_port);
    return bound;
}

/// Peers wait in short steps and ask the connection itself after each: Wine, when it is very busy, now and then forgets
/// to wake a thread that waits for a socket, most of all when the other side has reset the connection.
constexpr DWORD kStepMs = 200;
/// What is sent is sent: the other side's end is waited for out of courtesy.
constexpr DWORD kGoodbyeMs = 15000;

enum class Direction { kInput, kRoom };

/// Waits for one step. As select: 1 when it is worth a try.
int LookFor(Direction direction, SOCKET socket) {
    fd_set sockets;
    FD_ZERO(&sockets);
    FD_SET(socket, &sockets);
    timeval step = {/*tv_sec=*/0, /*tv_usec=*/kStepMs * 1000};
    const bool input = direction == Direction::kInput;
    return select(0, input ? &sockets : nullptr, input ? nullptr : &sockets, nullptr, &step);
}

/// Tries a call that does not block until it has done something; SOCKET_ERROR with the last error set when it fails or
/// the time is over.
template <class Call>
int Retry(Direction direction, SOCKET socket, DWORD patience, Call call) {
    for (DWORD waited = 0; waited < patience; waited += kStepMs) {
        const int count = call();
        if (count != SOCKET_ERROR || WSAGetLastError() != WSAEWOULDBLOCK) return count;
        if (LookFor(direction, socket) == SOCKET_ERROR) return SOCKET_ERROR;
    }
    WSASetLastError(WSAETIMEDOUT);
    return SOCKET_ERROR;
}

}  // namespace

Connection::Connection(Peer& peer, SOCKET socket, size_t index) : peer_(peer), socket_(socket), index_(index) {
    u_long nonBlocking = 1;
    ioctlsocket(socket_, static_cast<long>(FIONBIO), &nonBlocking);
    const int on = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
}

Connection::Connection(Connection&& other) noexcept
    : peer_(other.peer_), socket_(std::exchange(other.socket_, INVALID_SOCKET)), index_(other.index_) {}

Connection::~Connection() {
    if (socket_ == INVALID_SOCKET) return;
    shutdown(socket_, SD_SEND);
    WaitForEnd(kGoodbyeMs);
    Close();
}

std::string Connection::ReadRequest() {
    std::string request;
    char buffer[65536];
    while (request.size() < RequestLength(request)) {
        const size_t missing = std::min(sizeof buffer, RequestLength(request) - request.size());
        const int count = Receive(buffer, missing);
        if (count <= 0) return {};
        request.append(buffer, static_cast<size_t>(count));
    }
    peer_.NoteRequest(request);
    return request;
}

std::string Connection::ReadBytes(size_t count) {
    std::string bytes;
    while (bytes.size() < count) {
        char buffer[4096];
        const size_t missing = std::min(sizeof buffer, count - bytes.size());
        const int read = Receive(buffer, missing);
        if (read <= 0) break;
        bytes.append(buffer, static_cast<size_t>(read));
    }
    return bytes;
}

bool Connection::Send(std::string_view bytes) {
    while (!bytes.empty()) {
        const int piece = static_cast<int>(std::min<size_t>(bytes.size(), 1 << 20));
        const int sent =
            Retry(Direction::kRoom, socket_, kPatience, [&] { return send(socket_, bytes.data(), piece, 0); });
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
}

bool Connection::SendInPieces(std::string_view bytes, size_t piece) {
    for (; !bytes.empty(); bytes.remove_prefix(std::min(piece, bytes.size()))) {
        if (!Send(bytes.substr(0, piece))) return false;
    }
    return true;
}

bool Connection::WaitForEnd(DWORD patience) {
    char buffer[65536];
    int count = 0;
    while ((count = Receive(buffer, sizeof buffer, patience)) > 0) {
    }
    return count == 0 || WSAGetLastError() != WSAETIMEDOUT;
}

int Connection::Receive(char* buffer, size_t size, DWORD patience) {
    return Retry(Direction::kInput, socket_, patience,
                 [&] { return recv(socket_, buffer, static_cast<int>(size), 0); });
}

void Connection::Close() {
    closesocket(socket_);
    socket_ = INVALID_SOCKET;
}

void Connection::Reset() {
    const linger abort = {/*l_onoff=*/1, /*l_linger=*/0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&abort), sizeof abort);
    Close();
}

Peer::Peer(Script script, int threads, unsigned short port)
    : script_(std::move(script)), port_(port), listener_(BindToLoopback(port_)) {
    if (listen(listener_, SOMAXCONN) != 0) Die("a peer cannot listen");
    for (int i = 0; i < threads; ++i) threads_.emplace_back([this] { Serve(); });
}

Peer::~Peer() {
    monitor_.Update([this] { stopping_ = true; });
    threads_.clear();
    closesocket(listener_);
}

void Peer::Serve() {
    // What the system makes for each thread on its first wait is there before any test counts handles.
    LookFor(Direction::kInput, listener_);
    for (SOCKET accepted = Accept(); accepted != INVALID_SOCKET; accepted = Accept()) {
        const size_t index = monitor_.Update([this] { return connections_++; });
        {
            Connection connection(*this, accepted, index);
            script_(connection);
        }
        monitor_.Update([this] { ++ended_; });
    }
}

/// The next connection; none once the peer stops. One thread at a time waits for it.
SOCKET Peer::Accept() {
    return accepting_.Update([this] {
        while (!monitor_.Update([this] { return stopping_; })) {
            if (LookFor(Direction::kInput, listener_) != 1) continue;
            const SOCKET accepted = accept(listener_, nullptr, nullptr);
            // The caller may have gone again.
            if (accepted != INVALID_SOCKET) return accepted;
        }
        return INVALID_SOCKET;
    });
}

void Peer::NoteRequest(const std::string& request) {
    monitor_.Update([&] {
        if (keepRequests_) requests_.push_back(request);
    });
}

void Peer::KeepNoRequests() {
    monitor_.Update([this] { keepRequests_ = false; });
}

size_t Peer::Connections() {
    return monitor_.Update([this] { return connections_; });
}

bool Peer::WaitUntilIdle() {
    return monitor_.WaitUntil([this] { return ended_ == connections_; });
}

std::vector<std::string> Peer::Requests() {
    return monitor_.Update([this] { return requests_; });
}

std::string Peer::WaitForRequest(size_t number) {
    if (!monitor_.WaitUntil([&] { return requests_.size() > number; })) return {};
    return Requests()[number];
}

Peer::Script Answer(std::string bytes) {
    return [bytes = std::move(bytes)](Connection& connection) {
        connection.ReadRequest();
        connection.Send(bytes);
    };
}

Peer::Script AnswerByteByByte(std::string bytes) {
    return [bytes = std::move(bytes)](Connection& connection) {
        connection.ReadRequest();
        connection.SendInPieces(bytes, 1);
    };
}

FullListener::FullListener() : listener_(BindToLoopback(port_)) {
    if (listen(listener_, 1) != 0) Die("a full listener cannot listen");
    const sockaddr_in address = Loopback(port_);
    // Callers join the queue until one of them has to wait outside.
    for (bool queued = true; queued;) {
        const SOCKET caller = socket(AF_INET, SOCK_STREAM, 0);
        u_long on = 1;
        ioctlsocket(caller, FIONBIO, &on);
        connect(caller, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        waiting_.push_back(caller);
        fd_set connected;
        FD_ZERO(&connected);
        FD_SET(caller, &connected);
        timeval wait = {/*tv_sec=*/0, /*tv_usec=*/200 * 1000};
        queued = select(0, nullptr, &connected, nullptr, &wait) == 1;
    }
}

FullListener::~FullListener() {
    for (const SOCKET caller : waiting_) closesocket(caller);
    closesocket(listener_);
}

unsigned short DeadPort() {
    unsigned short port = 0;
    closesocket(BindToLoopback(port));
    return port;
}

}  // namespace wpk::harness
