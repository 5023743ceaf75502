// Socket: one TCP connection or listener, closed with its owner; every wait on it has an end.
// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace message_server {

using Clock = std::chrono::steady_clock;

/// The client has gone, or a call on its socket has failed.
class ConnectionLost : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The client has let a time-out pass.
class TimedOut : public std::runtime_error {
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

/// One thread at a time.
class Socket {
public:
    /// A listener on this port of 127.0.0.1; 0 lets the system choose one.
    /// @throws std::runtime_error where the port is taken.
    static Socket Listen(std::uint16_t port);

    Socket(Socket&& other) noexcept;
    Socket& operator=(Socket&&) = delete;
    ~Socket();

    std::uint16_t Port() const;

    /// Waits for a client, without end.
    Socket Accept();

    /// Waits until there is something to read, which the end of the connection is as well; false when the time is up.
    bool WaitReadable(Clock::time_point deadline) const;

    /// @return how many bytes have come, 1 to `size`; 0 when the client sends no more.
    std::size_t Receive(char* into, std::size_t size, Clock::time_point deadline);

    /// Sends all of it. The client has `stall` for taking each piece, and the whole has to be taken by the deadline.
    void Send(std::string_view bytes, std::chrono::milliseconds stall, Clock::time_point deadline);

    /// Tells the client that no more will come.
    void EndSending();

private:
    // The platform's SOCKET, spelt so that its headers stay out of this one.
    using Handle = std::uintptr_t;
    explicit Socket(Handle handle) : handle_(handle) {}

    Handle handle_;
};

}  // namespace message_server
