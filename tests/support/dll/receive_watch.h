// Tells how many bytes of replies a library has taken from the network, so that a peer can wait for that.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_DLL_RECEIVE_WATCH_H
#define WPK_TESTS_SUPPORT_DLL_RECEIVE_WATCH_H

#include "support/dll/import_patch.h"

namespace wpk::harness {

/// One at a time, while no request of the library is in flight. Sees every recv of that library.
class ReceiveWatch {
public:
    explicit ReceiveWatch(HMODULE library);
    ~ReceiveWatch();
    ReceiveWatch(const ReceiveWatch&) = delete;
    ReceiveWatch& operator=(const ReceiveWatch&) = delete;

    /// Forgets what was counted.
    void Restart();
    /// Waits until that many bytes have been taken since the last Restart.
    bool WaitForBytes(size_t count);
    size_t Bytes();
    /// The calls that took any bytes.
    size_t Calls();

private:
    static int WSAAPI Receive(SOCKET socket, char* buffer, int length, int flags);

    Monitor monitor_;
    size_t bytes_ = 0;
    size_t calls_ = 0;
    ImportPatch patch_;
};

}  // namespace wpk::harness

#endif  // WPK_TESTS_SUPPORT_DLL_RECEIVE_WATCH_H
