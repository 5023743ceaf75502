// Sockets of a run under the scheduler: what lies at the other end is a script, and the arrival of everything a choice.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_FAKE_PLATFORM_SRC_SCRIPTED_SOCKET_H
#define WPK_TESTS_FAKE_PLATFORM_SRC_SCRIPTED_SOCKET_H

#include <functional>
#include <memory>
#include <string>

#include "fake_platform/src/socket.h"

namespace wpk::host {

/// Told of all bytes that a connection has got so far, each time when there are more; returns what it answers to them.
using SocketScript = std::function<std::string(const std::string& received)>;

/// What listens on all ports; null: nobody does. For the runs that follow.
void SetSocketScript(SocketScript script);

class ScriptedSocket : public Socket, public std::enable_shared_from_this<ScriptedSocket> {
public:
    int Connect(uint32_t addressInNetworkOrder, uint16_t portInNetworkOrder) override;
    int Send(const void* bytes, size_t length, int& done) override;
    int Receive(void* bytes, size_t length, int& done) override;
    bool Readable() override { return state_ == State::kConnected && !arrived_.empty(); }
    bool Writable() override { return state_ == State::kConnected; }
    bool Failed() override { return state_ == State::kFailed; }
    int PollDescriptor() override { return -1; }

private:
    std::string sent_;
    std::string arrived_;
};

}  // namespace wpk::host

#endif  // WPK_TESTS_FAKE_PLATFORM_SRC_SCRIPTED_SOCKET_H
