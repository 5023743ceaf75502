// The process's use of the sockets interface, which comes and goes with the network.
// SPDX-License-Identifier: MIT
//
// Cleaning the interface up closes every socket of the process while threads still use them, and the
// system may give the same value to the next socket, of another request, at once. So a clean-up waits for the sockets
// that are open: until the last one is closed, by the thread it belongs to, the interface stays as it is. What
// changes at once is that all of them count as lost, which their threads notice within the step of their waits.
//
// Requests do not start without the network, and one that has lost it closes its socket before the application is told.
// So a clean-up that has to wait does so for one such step, or until a callback returns that tells progress or a reply,
// or asks for credentials.
#ifndef WPK_TRANSPORT_SOCKETS_INTERFACE_H
#define WPK_TRANSPORT_SOCKETS_INTERFACE_H

#include <cstdint>

namespace wpk::core {

/// False when the system could not make the lock of the starts: nothing below keeps threads apart then.
bool HasSocketsLock();

/// Starts the interface, version 1.1. The system counts starts. From any thread.
bool StartSockets();

/// Takes one start back: now, or when the last open socket is closed. From any thread; does not wait.
void CleanUpSockets();

/// What everybody who opens a socket holds from before the opening until after the closing.
class SocketsGuard {
public:
    SocketsGuard() = default;
    SocketsGuard(const SocketsGuard&) = delete;
    SocketsGuard& operator=(const SocketsGuard&) = delete;
    ~SocketsGuard() { End(); }

    /// Waits for a clean-up that is at work, which is one call of the system.
    void Begin();
    void End();

    /// True from the moment on when the network goes until End; at once for a use that began with the network gone.
    bool Lost() const;

private:
    bool begun_ = false;
    uint32_t networkGeneration_ = 0;
};

}  // namespace wpk::core

#endif
