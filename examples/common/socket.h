// Socket: one TCP connection or listener, closed with its owner; every wait on it can be ended.
// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace common {

/// The peer has closed the connection, or a call on its socket has failed.
class ConnectionLost : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Keeps the sockets interface started while it lives.
class SocketsInterface {
public:
    /// @throws std::runtime_error where it cannot be started.
    SocketsInterface();
    ~SocketsInterface();
    SocketsInterface(const SocketsInterface&) = delete;
    SocketsInterface& operator=(const SocketsInterface&) = delete;
};

/// Asked before each look at a socket, several times a second: whether to go on waiting. It may throw instead.
using KeepWaiting = std::function<bool()>;

/// One thread may receive while another one sends.
class Socket {
public:
    /// A listener; port 0 lets the system choose one. @throws std::runtime_error if the address or the port is not
    /// available.
    static Socket Listen(const std::string& address, std::uint16_t port);
    /// @throws ConnectionLost with the reason.
    static Socket Connect(const std::string& host, std::uint16_t port);

    Socket(Socket&& other) noexcept;
    Socket& operator=(Socket&&) = delete;
    ~Socket();

    std::uint16_t Port() const;
    /// "127.0.0.1:8080": the other side.
    std::string Peer() const;

    /// Waits for a client that does not vanish while it is taken in; without end.
    Socket Accept();

    /// Waits until there is something to read, which the end of the connection is as well; false when the time is up.
    bool WaitReadable(std::chrono::milliseconds time) const;

    /// @return how many bytes have come, 1 to `size`; 0 when no more will, or when `keep_waiting` says no.
    std::size_t Receive(char* into, std::size_t size, const KeepWaiting& keep_waiting);
    /// Sends as much of the beginning as the system takes.
    /// @return how many bytes have been taken; 0 when `keep_waiting` says no.
    std::size_t SendSome(std::string_view bytes, const KeepWaiting& keep_waiting);
    /// Tells the peer that no more will come.
    void EndSending() noexcept;
    /// From now on closing it resets the connection.
    void MakeEndAReset() noexcept;

private:
    // The platform's SOCKET, spelt so that its headers stay out of this one.
    using Handle = std::uintptr_t;
    explicit Socket(Handle handle) : handle_(handle) {}
    Socket AcceptOne();

    Handle handle_;
};

}  // namespace common
