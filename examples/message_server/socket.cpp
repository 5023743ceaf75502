// Socket: one TCP connection or listener, closed with its owner; every wait on it has an end.
// SPDX-License-Identifier: MIT
#include "socket.h"

#include <winsock2.h>

#include <algorithm>
#include <string>
#include <utility>

namespace message_server {
namespace {

constexpr std::size_t kPiece = std::size_t{64} * 1024;
constexpr std::chrono::milliseconds kLook{500};

std::string ErrorText(const char* call) {
    return std::string(call) + " failed: " + std::to_string(WSAGetLastError());
}

/// After a failed bind.
std::string BindTrouble(std::uint16_t port) {
    const int error = WSAGetLastError();
    const std::string place = "port " + std::to_string(port) + " of 127.0.0.1";
    if (error == WSAEADDRINUSE) return place + " is in use; choose another with --port";
    if (error == WSAEACCES) return place + " is reserved or not allowed; choose another with --port";
    return "bind to " + place + " failed: " + std::to_string(error);
}

enum class Direction { kInput, kRoom };

/// Waits until a transfer is worth a try; false when the time is up.
bool WaitFor(Direction direction, SOCKET socket, Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now()).count();
    timeval time{};
    if (left > 0) {
        time.tv_sec = static_cast<long>(left / 1000000);
        time.tv_usec = static_cast<long>(left % 1000000);
    }
    fd_set set{1, {socket}};
    const bool input = direction == Direction::kInput;
    const int ready = select(0, input ? &set : nullptr, input ? nullptr : &set, nullptr, &time);
    if (ready == SOCKET_ERROR) throw ConnectionLost(ErrorText("select"));
    return ready == 1;
}

/// Repeats a call that does not block until it has done something. The socket itself is asked again and again, for not
/// every system wakes whoever waits for a socket every time: Wine, when it is busy, forgets one now and then.
template <class Call>
std::size_t Repeat(Direction direction, SOCKET socket, Clock::time_point deadline, const char* name, Call call) {
    for (;;) {
        const int done = call();
        if (done != SOCKET_ERROR) return static_cast<std::size_t>(done);
        if (WSAGetLastError() != WSAEWOULDBLOCK) throw ConnectionLost(ErrorText(name));
        if (Clock::now() >= deadline) throw TimedOut(std::string("the client is too slow: ") + name);
        WaitFor(direction, socket, std::min(deadline, Clock::now() + kLook));
    }
}

void MakeNonBlocking(SOCKET socket) {
    u_long non_blocking = 1;
    if (ioctlsocket(socket, FIONBIO, &non_blocking) == SOCKET_ERROR) throw ConnectionLost(ErrorText("ioctlsocket"));
}

sockaddr_in LoopbackAddress(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

}  // namespace

SocketsInterface::SocketsInterface() {
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) {
        throw std::runtime_error("the sockets interface does not start; check the network settings of the system");
    }
}

SocketsInterface::~SocketsInterface() {
    WSACleanup();
}

Socket Socket::Listen(std::uint16_t port) {
    Socket listener(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    if (listener.handle_ == INVALID_SOCKET) throw std::runtime_error(ErrorText("socket"));
    const sockaddr_in address = LoopbackAddress(port);
    if (bind(listener.handle_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == SOCKET_ERROR) {
        throw std::runtime_error(BindTrouble(port));
    }
    if (listen(listener.handle_, SOMAXCONN) == SOCKET_ERROR) throw std::runtime_error(ErrorText("listen"));
    MakeNonBlocking(listener.handle_);
    return listener;
}

Socket::Socket(Socket&& other) noexcept : handle_(std::exchange(other.handle_, INVALID_SOCKET)) {}

Socket::~Socket() {
    if (handle_ != INVALID_SOCKET) closesocket(handle_);
}

std::uint16_t Socket::Port() const {
    sockaddr_in address{};
    int length = sizeof address;
    if (getsockname(handle_, reinterpret_cast<sockaddr*>(&address), &length) == SOCKET_ERROR) {
        throw std::runtime_error(ErrorText("getsockname"));
    }
    return ntohs(address.sin_port);
}

Socket Socket::Accept() {
    for (;;) {
        Socket client(accept(handle_, nullptr, nullptr));
        if (client.handle_ != INVALID_SOCKET) {
            MakeNonBlocking(client.handle_);
            return client;
        }
        if (WSAGetLastError() != WSAEWOULDBLOCK) throw ConnectionLost(ErrorText("accept"));
        WaitReadable(Clock::now() + kLook);
    }
}

bool Socket::WaitReadable(Clock::time_point deadline) const {
    return WaitFor(Direction::kInput, handle_, deadline);
}

std::size_t Socket::Receive(char* into, std::size_t size, Clock::time_point deadline) {
    const int piece = static_cast<int>(std::min(size, kPiece));
    return Repeat(Direction::kInput, handle_, deadline, "recv", [&] { return recv(handle_, into, piece, 0); });
}

void Socket::Send(std::string_view bytes, std::chrono::milliseconds stall, Clock::time_point deadline) {
    while (!bytes.empty()) {
        // A client that takes a little at a time never has to be waited for.
        if (Clock::now() >= deadline) throw TimedOut("the client takes its reply too slowly");
        const int piece = static_cast<int>(std::min(bytes.size(), kPiece));
        bytes.remove_prefix(Repeat(Direction::kRoom, handle_, std::min(Clock::now() + stall, deadline), "send",
                                   [&] { return send(handle_, bytes.data(), piece, 0); }));
    }
}

void Socket::EndSending() {
    if (shutdown(handle_, SD_SEND) == SOCKET_ERROR) throw ConnectionLost(ErrorText("shutdown"));
}

}  // namespace message_server
