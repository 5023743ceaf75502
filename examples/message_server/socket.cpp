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

std::string ErrorText(const char* call) {
    return std::string(call) + " failed: " + std::to_string(WSAGetLastError());
}

timeval TimeUntil(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now()).count();
    timeval time{};
    if (left <= 0) return time;
    time.tv_sec = static_cast<long>(left / 1000000);
    time.tv_usec = static_cast<long>(left % 1000000);
    return time;
}

sockaddr_in LoopbackAddress(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

bool WaitWritable(SOCKET socket, Clock::time_point deadline) {
    fd_set set{1, {socket}};
    timeval time = TimeUntil(deadline);
    const int ready = select(0, nullptr, &set, nullptr, &time);
    if (ready == SOCKET_ERROR) throw ConnectionLost(ErrorText("select"));
    return ready == 1;
}

}  // namespace

SocketsInterface::SocketsInterface() {
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) throw std::runtime_error("the sockets interface does not start");
}

SocketsInterface::~SocketsInterface() {
    WSACleanup();
}

Socket Socket::Listen(std::uint16_t port) {
    Socket listener(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    if (listener.handle_ == INVALID_SOCKET) throw std::runtime_error(ErrorText("socket"));
    const sockaddr_in address = LoopbackAddress(port);
    if (bind(listener.handle_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == SOCKET_ERROR) {
        throw std::runtime_error(ErrorText("bind"));
    }
    if (listen(listener.handle_, SOMAXCONN) == SOCKET_ERROR) throw std::runtime_error(ErrorText("listen"));
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
    Socket client(accept(handle_, nullptr, nullptr));
    if (client.handle_ == INVALID_SOCKET) throw ConnectionLost(ErrorText("accept"));
    u_long non_blocking = 1;
    if (ioctlsocket(client.handle_, FIONBIO, &non_blocking) == SOCKET_ERROR) {
        throw ConnectionLost(ErrorText("ioctlsocket"));
    }
    return client;
}

bool Socket::WaitReadable(Clock::time_point deadline) const {
    fd_set set{1, {handle_}};
    timeval time = TimeUntil(deadline);
    const int ready = select(0, &set, nullptr, nullptr, &time);
    if (ready == SOCKET_ERROR) throw ConnectionLost(ErrorText("select"));
    return ready == 1;
}

std::size_t Socket::Receive(char* into, std::size_t size, Clock::time_point deadline) {
    if (!WaitReadable(deadline)) throw TimedOut("the client sends too slowly");
    const int received = recv(handle_, into, static_cast<int>(std::min(size, kPiece)), 0);
    if (received == SOCKET_ERROR) throw ConnectionLost(ErrorText("recv"));
    return static_cast<std::size_t>(received);
}

void Socket::Send(std::string_view bytes, std::chrono::milliseconds stall) {
    while (!bytes.empty()) {
        if (!WaitWritable(handle_, Clock::now() + stall)) throw TimedOut("the client takes no more of the reply");
        const int sent = send(handle_, bytes.data(), static_cast<int>(std::min(bytes.size(), kPiece)), 0);
        // Another part of the system may have taken the buffer space between the two calls: then wait again.
        if (sent == SOCKET_ERROR && WSAGetLastError() == WSAEWOULDBLOCK) continue;
        if (sent == SOCKET_ERROR) throw ConnectionLost(ErrorText("send"));
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

void Socket::EndSending() {
    if (shutdown(handle_, SD_SEND) == SOCKET_ERROR) throw ConnectionLost(ErrorText("shutdown"));
}

}  // namespace message_server
