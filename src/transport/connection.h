// The socket layer: one TCP connection of one request.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_CONNECTION_H
#define WPK_TRANSPORT_CONNECTION_H

#include <atomic>
#include <cstdint>
#include <optional>

#include "threadlib/handle.h"
#include "threadlib/semaphore.h"
#include "transport/sockets_interface.h"

namespace wpk::core {

/// The connection record of a request. Only the request's thread calls its operations, except Cancel, which any thread
/// may call and which only sets a mark. From then on the socket counts as closed, and the request's thread closes it at
/// its next check of the mark: before and after every wait, and before each step that uses the network. So no thread
/// ever waits on a socket that another one has closed, or uses a handle that the system has reused meanwhile. When the
/// network goes, the socket counts as closed in the same way.
class Connection {
public:
    Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() { Close(); }

    /// The layer's codes in LastError(), in addition to the system's.
    static constexpr int kHostNotFound = 1;
    static constexpr int kNotConnected = 2;
    static constexpr int kConnecting = 5;

    /// For Receive: waits until data comes, the connection ends or the request is cancelled.
    static constexpr int kNoTimeout = -1;

    /// Closes what was open and creates a new socket. False if the system refuses; nothing is open then.
    bool Open();

    /// Opens a socket and connects it within 30 seconds; `cancelSemaphore`, which may be null, ends the wait. `host` is
    /// a name or a dotted address.
    bool Connect(const char* host, uint32_t port, const Semaphore* cancelSemaphore);

    /// Sends all of it. True at once for no bytes.
    bool Send(const void* bytes, uint32_t length);

    /// Receives available bytes, at most `length`; waits for them up to `seconds`. 0: time-out, the peer has closed, an
    /// error, not connected or cancelled.
    uint32_t Receive(void* buffer, uint32_t length, int seconds);

    /// Returns the socket to the system.
    void Close();

    /// Marks the request as cancelled. From any thread.
    void Cancel() { cancelled_ = true; }
    bool Cancelled() const { return cancelled_; }

    /// Whether the socket counts as closed: the request was cancelled, or the network has gone.
    bool GivenUp() const { return cancelled_ || use_.Lost(); }
    /// Closes the socket if it counts as closed. True if it does.
    bool CloseIfGivenUp();

    int LastError() const { return lastError_; }

private:
    enum class Direction { kReadable, kWritable };

    static sockaddr_in UnspecifiedAddress() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        return address;
    }

    bool MakeSocket();
    bool SetBlocking(bool blocking);
    bool Resolve(const char* host, uint32_t port);
    bool StartConnect();
    bool WaitConnected(const Semaphore* cancelSemaphore);
    bool LookWhetherConnected();
    bool IsConnected();
    bool IsUsable();
    bool SendChunk(const char* next, uint32_t length);
    bool AwaitReady(Direction direction, int seconds);
    int Select(Direction direction, uint32_t milliseconds) const;
    bool FailWithSocketError();

    UniqueSocket socket_;
    sockaddr_in address_ = UnspecifiedAddress();
    uint32_t connected_ = 0;
    int lastError_ = 0;
    /// Created with the socket and closed with it. No step waits on it, and a cancel does not touch it: it would use a
    /// handle that the request's thread may be closing.
    std::optional<Semaphore> socketSemaphore_;

    std::atomic<bool> cancelled_{false};
    /// From before the socket is made until after it is closed.
    SocketsGuard use_;
};

}  // namespace wpk::core

#endif
