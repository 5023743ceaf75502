// A TCP socket that behaves as under Windows.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_FAKE_PLATFORM_SRC_SOCKET_H
#define WPK_TESTS_FAKE_PLATFORM_SRC_SOCKET_H

#include <mutex>

#include "fake_platform/src/waitable.h"

namespace wpk::host {

/// The WSA code of an errno.
int SocketErrorOf(int error);

class Socket : public Object {
public:
    Socket() : Object(Kind::kSocket) {}

    // All return 0 or a WSA code, but for the byte counts that go through `done`.

    virtual int Connect(uint32_t addressInNetworkOrder, uint16_t portInNetworkOrder) = 0;
    virtual int Send(const void* bytes, size_t length, int& done) = 0;
    virtual int Receive(void* bytes, size_t length, int& done) = 0;
    void SetBlocking(bool blocking) { blocking_.store(blocking, std::memory_order_relaxed); }

    /// What select finds, without waiting.
    virtual bool Readable() = 0;
    virtual bool Writable() = 0;
    virtual bool Failed() = 0;
    /// What to poll until that may have changed; -1 for nothing.
    virtual int PollDescriptor() = 0;

    /// Closed while calls are still in progress on it.
    bool Closed() const { return closed_.load(std::memory_order_relaxed); }
    /// A clean-up of the interface closes what others use; closing it by hand under another thread is a misuse.
    void Close(bool byHand);

    void Enter();
    void Leave();

protected:
    enum class State { kFresh, kConnecting, kConnected, kFailed };

    bool Blocking() const { return blocking_.load(std::memory_order_relaxed); }

    std::mutex mutex_;
    State state_ = State::kFresh;

private:
    Users users_;
    std::atomic<bool> blocking_{true};
    std::atomic<bool> closed_{false};
};

/// A socket over one of the system's own.
class TcpSocket : public Socket {
public:
    /// Takes the descriptor, which is non-blocking from here on whatever mode the socket pretends to be in.
    explicit TcpSocket(int descriptor) : descriptor_(descriptor) {}
    ~TcpSocket() override;

    int Connect(uint32_t addressInNetworkOrder, uint16_t portInNetworkOrder) override;
    int Send(const void* bytes, size_t length, int& done) override;
    int Receive(void* bytes, size_t length, int& done) override;
    bool Readable() override;
    bool Writable() override;
    bool Failed() override;
    int PollDescriptor() override;

private:
    /// Looks whether a connect that is under way has ended.
    State Settle();
    /// Waits in short steps until an event comes, the socket is closed or the thread has to stop; 0 or a WSA code.
    int Await(short events);

    const int descriptor_;
};

/// The time between two looks at what may end a wait, in milliseconds.
constexpr int kSocketStep = 20;

}  // namespace wpk::host

#endif  // WPK_TESTS_FAKE_PLATFORM_SRC_SOCKET_H
