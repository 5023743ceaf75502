// The socket layer: one TCP connection of one request.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_CONNECTION_H
#define WPK_TRANSPORT_CONNECTION_H

#include <atomic>
#include <cstdint>

#include "threadlib/handle.h"
#include "transport/cancel_signal.h"
#include "transport/sockets_interface.h"

namespace wpk {

/// A connection and what is known of it. All operations belong to the thread that carries the request, but for Cancel,
/// which any thread may call: it only leaves a mark. From then on the socket counts as closed, and the carrying thread,
/// which looks at the mark whenever it waits, closes it. So no thread ever waits on a socket that another one has
/// closed, or uses a handle that the system has given to somebody else meanwhile. When the network goes, the socket
/// counts as closed in the same way.
class Connection {
public:
    /// Codes of the layer's own in LastError(), beside the system's.
    static constexpr int kHostNotFound = 1;
    static constexpr int kNotConnected = 2;
    static constexpr int kConnecting = 5;

    /// For Receive: waits until data comes, the connection ends or the request is cancelled.
    static constexpr int kNoTimeout = -1;

    /// Gives up what was open and makes a fresh socket. False when the system refuses.
    bool Open();

    /// Opens a socket and connects it within 30 seconds; `cancelSignal` ends the wait. `host` is a name or a dotted
    /// address.
    bool Connect(const char* host, uint32_t port, CancelSignal& cancelSignal);

    /// Sends all of it. True at once for no bytes.
    bool Send(const void* bytes, uint32_t length);

    /// Receives what is there, at most `length` bytes; waits for it up to `seconds`. 0: time-out, the peer has closed,
    /// error, not connected or cancelled.
    uint32_t Receive(void* buffer, uint32_t length, int seconds);

    /// From now on receives are tried before they wait. Pays where many pieces follow each other closely.
    void ReceiveEagerly();

    /// Returns the socket to the system.
    void Close();

    /// Marks the request as cancelled. From any thread.
    void Cancel() { cancelled_ = true; }
    bool Cancelled() const { return cancelled_; }

    int LastError() const { return lastError_; }

private:
    enum class Direction { kReadable, kWritable };

    bool Usable() const { return socket_ && !cancelled_ && !use_.Lost(); }
    bool SetBlocking(bool blocking);
    bool Resolve(const char* host, uint32_t port);
    bool StartConnect();
    bool WaitConnected(CancelSignal& cancelSignal);
    bool SendChunk(const char*& next, uint32_t& remaining);
    bool AwaitReady(Direction direction, int seconds);
    int Select(Direction direction, uint32_t milliseconds) const;
    bool FailWithSocketError();

    /// Outlives the socket.
    SocketsUse use_;
    UniqueSocket socket_;
    sockaddr_in address_{};
    bool connected_ = false;
    bool eager_ = false;
    /// Bytes that can be sent before the next wait for room.
    uint32_t sendCredit_ = 0;
    int lastError_ = 0;
    std::atomic<bool> cancelled_{false};
};

}  // namespace wpk

#endif
