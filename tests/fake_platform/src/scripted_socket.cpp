// Sockets of a run under the scheduler. One thread of the run goes at a time, so nothing here needs a lock.
// SPDX-License-Identifier: MIT
#include "fake_platform/src/scripted_socket.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "fake_platform/src/scheduler.h"
#include "windows.h"
#include "winsock_types.h"

namespace wpk::host {
namespace {

SocketScript& TheScript() {
    static SocketScript& script = *new SocketScript;
    return script;
}

}  // namespace

void SetSocketScript(SocketScript script) {
    TheScript() = std::move(script);
}

int ScriptedSocket::Connect(uint32_t, uint16_t) {
    if (state_ == State::kConnected) return WSAEISCONN;
    if (state_ == State::kConnecting) return WSAEALREADY;
    state_ = State::kConnecting;
    HappenLater(weak_from_this(), [this] { state_ = TheScript() ? State::kConnected : State::kFailed; });
    if (!Blocking()) return WSAEWOULDBLOCK;
    AwaitScheduled(
        "connect", [this] { return Closed() || state_ != State::kConnecting; }, INFINITE);
    if (Closed()) return WSAEINTR;
    return state_ == State::kConnected ? 0 : WSAECONNREFUSED;
}

int ScriptedSocket::Send(const void* bytes, size_t length, int& done) {
    if (state_ != State::kConnected) return WSAENOTCONN;
    sent_.append(static_cast<const char*>(bytes), length);
    done = static_cast<int>(length);
    std::string answer = TheScript()(sent_);
    if (!answer.empty()) HappenLater(weak_from_this(), [this, answer = std::move(answer)] { arrived_ += answer; });
    return 0;
}

int ScriptedSocket::Receive(void* bytes, size_t length, int& done) {
    if (state_ != State::kConnected) return WSAENOTCONN;
    if (arrived_.empty() && !Blocking()) return WSAEWOULDBLOCK;
    if (arrived_.empty()) {
        AwaitScheduled(
            "recv", [this] { return Closed() || !arrived_.empty(); }, INFINITE);
    }
    if (Closed()) return WSAEINTR;
    const size_t taken = std::min(length, arrived_.size());
    std::memcpy(bytes, arrived_.data(), taken);
    arrived_.erase(0, taken);
    done = static_cast<int>(taken);
    return 0;
}

}  // namespace wpk::host
