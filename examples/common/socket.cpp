// Socket: one TCP connection or listener, closed with its owner; every wait on it can be ended.
// SPDX-License-Identifier: MIT
#include "socket.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <thread>
#include <utility>

namespace common {
namespace {

constexpr std::size_t kPiece = std::size_t{64} * 1024;
// The interval at which a wait checks whether it is over. The socket is checked again as well: not every system always
// wakes a thread that waits for a socket; a busy Wine sometimes does not.
constexpr std::chrono::milliseconds kLook{250};
// The system may briefly lack a resource; the next accept must not follow at once then.
constexpr std::chrono::milliseconds kShortage{10};

std::string ErrorText(const char* call) {
    const int error = WSAGetLastError();
    if (error == WSAECONNRESET || error == WSAECONNABORTED) return "the connection was reset";
    if (error == WSAECONNREFUSED) return "the connection was refused: nothing listens there";
    if (error == WSAETIMEDOUT) return "there was no answer";
    return std::string(call) + " failed: " + std::to_string(error);
}

/// After a failed bind.
std::string BindTrouble(const std::string& address, std::uint16_t port) {
    const int error = WSAGetLastError();
    const std::string place = "port " + std::to_string(port) + " of " + address;
    if (error == WSAEADDRINUSE) return place + " is in use; choose another one";
    if (error == WSAEACCES) return place + " is reserved or not allowed; choose another one";
    if (error == WSAEADDRNOTAVAIL) return address + " is no address of this machine; choose another one";
    return "bind to " + place + " failed: " + std::to_string(error);
}

enum class Direction { kInput, kRoom };

/// Waits until a transfer is worth a try; false when the time is up.
bool WaitFor(Direction direction, SOCKET socket, std::chrono::milliseconds time) {
    const auto microseconds = std::chrono::microseconds(time).count();
    timeval most = {static_cast<long>(microseconds / 1000000), static_cast<long>(microseconds % 1000000)};
    fd_set set{1, {socket}};
    const bool input = direction == Direction::kInput;
    const int ready = select(0, input ? &set : nullptr, input ? nullptr : &set, nullptr, &most);
    if (ready == SOCKET_ERROR) throw ConnectionLost(ErrorText("select"));
    return ready == 1;
}

void MakeNonBlocking(SOCKET socket) {
    u_long non_blocking = 1;
    if (ioctlsocket(socket, FIONBIO, &non_blocking) == SOCKET_ERROR) throw ConnectionLost(ErrorText("ioctlsocket"));
}

/// Repeats a call that does not block until it has done something; 0 when the wait is given up before.
template <class Call>
std::size_t Repeat(Direction direction, SOCKET socket, const KeepWaiting& keep_waiting, const char* name, Call call) {
    while (keep_waiting()) {
        const int done = call();
        if (done != SOCKET_ERROR) return static_cast<std::size_t>(done);
        if (WSAGetLastError() != WSAEWOULDBLOCK) throw ConnectionLost(ErrorText(name));
        WaitFor(direction, socket, kLook);
    }
    return 0;
}

std::string InWords(const sockaddr_in& address) {
    char text[INET_ADDRSTRLEN] = "?";
    inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
    return std::string(text) + ":" + std::to_string(ntohs(address.sin_port));
}

struct AddressList {
    explicit AddressList(const std::string& host) {
        addrinfo wanted{};
        wanted.ai_family = AF_INET;
        wanted.ai_socktype = SOCK_STREAM;
        if (getaddrinfo(host.c_str(), nullptr, &wanted, &first) != 0 || !first) {
            throw ConnectionLost("no host of that name is known");
        }
    }
    AddressList(const AddressList&) = delete;
    AddressList& operator=(const AddressList&) = delete;
    ~AddressList() { freeaddrinfo(first); }

    addrinfo* first = nullptr;
};

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

Socket Socket::Listen(const std::string& address, std::uint16_t port) {
    Socket listener(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    if (listener.handle_ == INVALID_SOCKET) throw std::runtime_error(ErrorText("socket"));
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(port);
    if (inet_pton(AF_INET, address.c_str(), &place.sin_addr) != 1) {
        throw std::runtime_error(address + " is no IPv4 address");
    }
    if (bind(listener.handle_, reinterpret_cast<const sockaddr*>(&place), sizeof place) == SOCKET_ERROR) {
        throw std::runtime_error(BindTrouble(address, port));
    }
    if (listen(listener.handle_, SOMAXCONN) == SOCKET_ERROR) throw std::runtime_error(ErrorText("listen"));
    MakeNonBlocking(listener.handle_);
    return listener;
}

Socket Socket::Connect(const std::string& host, std::uint16_t port) {
    const AddressList addresses(host);
    for (const addrinfo* next = addresses.first;; next = next->ai_next) {
        Socket socket(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
        if (socket.handle_ == INVALID_SOCKET) throw ConnectionLost(ErrorText("socket"));
        sockaddr_in address = *reinterpret_cast<const sockaddr_in*>(next->ai_addr);
        address.sin_port = htons(port);
        if (connect(socket.handle_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
            MakeNonBlocking(socket.handle_);
            return socket;
        }
        if (!next->ai_next) throw ConnectionLost(ErrorText("connect"));
    }
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

std::string Socket::Peer() const {
    sockaddr_in address{};
    int length = sizeof address;
    if (getpeername(handle_, reinterpret_cast<sockaddr*>(&address), &length) == SOCKET_ERROR) return "somebody";
    return InWords(address);
}

Socket Socket::Accept() {
    for (;;) {
        try {
            return AcceptOne();
        } catch (const ConnectionLost&) {
            std::this_thread::sleep_for(kShortage);
        }
    }
}

Socket Socket::AcceptOne() {
    for (;;) {
        Socket client(accept(handle_, nullptr, nullptr));
        if (client.handle_ != INVALID_SOCKET) {
            MakeNonBlocking(client.handle_);
            return client;
        }
        if (WSAGetLastError() != WSAEWOULDBLOCK) throw ConnectionLost(ErrorText("accept"));
        WaitReadable(kLook);
    }
}

bool Socket::WaitReadable(std::chrono::milliseconds time) const {
    return WaitFor(Direction::kInput, handle_, time);
}

std::size_t Socket::Receive(char* into, std::size_t size, const KeepWaiting& keep_waiting) {
    const int piece = static_cast<int>(std::min(size, kPiece));
    return Repeat(Direction::kInput, handle_, keep_waiting, "recv", [&] { return recv(handle_, into, piece, 0); });
}

std::size_t Socket::SendSome(std::string_view bytes, const KeepWaiting& keep_waiting) {
    const int piece = static_cast<int>(std::min(bytes.size(), kPiece));
    return Repeat(Direction::kRoom, handle_, keep_waiting, "send",
                  [&] { return send(handle_, bytes.data(), piece, 0); });
}

void Socket::EndSending() noexcept {
    shutdown(handle_, SD_SEND);
}

void Socket::MakeEndAReset() noexcept {
    const linger at_once{1, 0};
    setsockopt(handle_, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&at_once), sizeof at_once);
}

}  // namespace common
