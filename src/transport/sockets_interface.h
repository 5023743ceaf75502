// The process's use of the sockets interface, which comes and goes with the network.
// SPDX-License-Identifier: MIT
//
// A clean-up closes every socket of the process while threads still use them, and the system may reuse their values at
// once for other requests. So a clean-up waits until the last open socket has been closed by its own thread; until then
// the interface is not changed. But all open sockets count as lost at once, which their threads notice within one step
// of their waits.
//
// Requests do not start without the network, and a request that has lost it closes its socket before its callback is
// called. So a clean-up waits for at most one such step, or until a callback for progress, a reply or credentials
// returns.
#ifndef WPK_TRANSPORT_SOCKETS_INTERFACE_H
#define WPK_TRANSPORT_SOCKETS_INTERFACE_H

#include <cstdint>

namespace wpk::core {

/// False if the system could not create the lock: the functions below are then not safe for threads.
bool HasSocketsLock();

/// Calls WSAStartup for version 1.1. The system counts these calls. Any thread.
bool StartSockets();

/// Calls WSACleanup once: now, or when the last open socket has been closed. Any thread; does not wait.
void CleanUpSockets();

/// What everybody who opens a socket holds from before the opening until after the closing.
class SocketsGuard {
public:
    SocketsGuard() = default;
    SocketsGuard(const SocketsGuard&) = delete;
    SocketsGuard& operator=(const SocketsGuard&) = delete;
    ~SocketsGuard() { End(); }

    /// Waits for a running clean-up, which is one call of the system.
    void Begin();
    void End();

    /// True once the network has gone, until End; at once for a use that began with the network gone.
    bool Lost() const;

private:
    bool begun_ = false;
    uint32_t networkGeneration_ = 0;
};

}  // namespace wpk::core

#endif
