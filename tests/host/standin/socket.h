// A TCP socket that behaves as under Windows.
// SPDX-License-Identifier: MIT
#ifndef WPK_HOST_STANDIN_SOCKET_H
#define WPK_HOST_STANDIN_SOCKET_H

#include <mutex>

#include "host/standin/waitable.h"

namespace wpk::host {

/// The WSA code of an errno.
int SocketErrorOf(int error);

class Socket : public Object {
public:
    /// Takes the descriptor, which is non-blocking from here on whatever mode the socket pretends to be in.
    explicit Socket(int descriptor) : Object(Kind::kSocket), descriptor_(descriptor) {}
    ~Socket() override;

    // All return 0 or a WSA code, but for the byte counts that go through `done`.

    int Connect(uint32_t address_in_network_order, uint16_t port_in_network_order);
    int Send(const void* bytes, size_t length, int& done);
    int Receive(void* bytes, size_t length, int& done);
    void SetBlocking(bool blocking) { blocking_.store(blocking, std::memory_order_relaxed); }

    // What select finds, without waiting.
    bool Readable();
    bool Writable();
    bool Failed();
    bool MayBecomeReady();

    int Descriptor() const { return descriptor_; }
    /// Closed while calls are still in progress on it.
    bool Closed() const { return closed_.load(std::memory_order_relaxed); }
    /// A clean-up of the interface closes what others use; closing it by hand under another thread is a misuse.
    void Close(bool by_hand);

    void Enter();
    void Leave();

private:
    enum class State { kFresh, kConnecting, kConnected, kFailed };

    /// Looks whether a connect that is under way has ended.
    State Settle();
    /// Waits in short steps until an event comes, the socket is closed or the thread has to stop; 0 or a WSA code.
    int Await(short events);

    const int descriptor_;
    std::mutex mutex_;
    State state_ = State::kFresh;
    Users users_;
    std::atomic<bool> blocking_{true};
    std::atomic<bool> closed_{false};
};

/// The time between two looks at what may end a wait, in milliseconds.
constexpr int kSocketStep = 20;

}  // namespace wpk::host

#endif  // WPK_HOST_STANDIN_SOCKET_H
