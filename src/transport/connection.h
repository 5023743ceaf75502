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

/// The connection record of a request. All operations belong to the thread that carries the request, but for Cancel,
/// which any thread may call: it only leaves a mark. From then on the socket counts as closed, and the carrying thread
/// closes it at its next look at the mark: before and after every wait, and before each step that touches the network.
/// So no thread ever waits on a socket that another one has closed, or uses a handle that the system has given to
/// somebody else meanwhile. When the network goes, the socket counts as closed in the same way.
class Connection {
public:
    Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() { Close(); }

    /// Codes of the layer's own in LastError(), beside the system's.
    static constexpr int kHostNotFound = 1;
    static constexpr int kNotConnected = 2;
    static constexpr int kConnecting = 5;

    /// For Receive: waits until data comes, the connection ends or the request is cancelled.
    static constexpr int kNoTimeout = -1;

    /// Gives up what was open and makes a fresh socket. False when the system refuses; nothing is open then.
    bool Open();

    /// Opens a socket and connects it within 30 seconds; `cancelSemaphore`, which may be null, ends the wait. `host` is
    /// a name or a dotted address.
    bool Connect(const char* host, uint32_t port, const Semaphore* cancelSemaphore);

    /// Sends all of it. True at once for no bytes.
    bool Send(const void* bytes, uint32_t length);

    /// Receives what is there, at most `length` bytes; waits for it up to `seconds`. 0: time-out, the peer has closed,
    /// error, not connected or cancelled.
    uint32_t Receive(void* buffer, uint32_t length, int seconds);

    /// Returns the socket to the system.
    void Close();

    /// Marks the request as cancelled. From any thread.
    void Cancel() { cancelled_ = true; }
    bool Cancelled() const { return cancelled_; }

    /// Whether the socket counts as closed: the request was cancelled, or the network has gone.
    bool GivenUp() const { return cancelled_ || use_.Lost(); }
    /// Closes the socket if it counts as closed. True when it does.
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
    /// Made with the socket and closed with it. No step waits on it, and a cancel leaves it alone: it would wait on a
    /// handle that the carrying thread may be closing.
    std::optional<Semaphore> socketSemaphore_;

    std::atomic<bool> cancelled_{false};
    /// From before the socket is made until after it is closed.
    SocketsGuard use_;
};

}  // namespace wpk::core

#endif
