// The sockets interface, played from a script.
// SPDX-License-Identifier: MIT
#include "fuzz/exchange/scripted_network.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "winsock_types.h"

namespace wpk::fuzz {
namespace {

using Kind = Event::Kind;

/// When the application gives up a peer that neither sends nor closes. Longer than any time-out of the library.
constexpr uint32_t kPatienceMs = 100000;

ScriptedNetwork* current = nullptr;
uint64_t clockMs = 0;

}  // namespace

void EventCursor::Enter(size_t at) {
    at_ = at;
    left_ = at_ < events_->size() ? (*events_)[at_].amount : 0;
}

size_t EventCursor::Room() const {
    if (at_ >= events_->size()) return std::numeric_limits<size_t>::max();
    return At(Kind::kPiece) ? left_ : 0;
}

void EventCursor::Pass(size_t bytes) {
    if (at_ >= events_->size()) return;
    left_ -= static_cast<uint32_t>(bytes);
    if (left_ == 0) Skip();
}

uint32_t EventCursor::Wait(uint32_t milliseconds) {
    const uint32_t passed = std::min(left_, milliseconds);
    left_ -= passed;
    if (left_ == 0) Skip();
    return milliseconds - passed;
}

ScriptedNetwork::ScriptedNetwork(const Script& script, std::function<void()> cancel)
    : script_(script), cancel_(std::move(cancel)), receives_(script.receives), sends_(script.sends) {
    current = this;
}

ScriptedNetwork::~ScriptedNetwork() {
    current = nullptr;
}

uint64_t ScriptedNetwork::Clock() {
    return clockMs;
}

bool ScriptedNetwork::PassPauses(EventCursor& cursor, uint32_t& milliseconds) {
    while (cursor.At(Kind::kPause)) {
        const uint32_t left = cursor.Wait(milliseconds);
        clockMs += milliseconds - left;
        milliseconds = left;
        if (milliseconds == 0) return false;
    }
    return true;
}

ScriptedNetwork& ScriptedNetwork::Current() {
    Require(current != nullptr, "no socket is used outside of an exchange");
    return *current;
}

bool ScriptedNetwork::AnyOpen() {
    return current && current->socket_ != 0;
}

uintptr_t ScriptedNetwork::Open() {
    Require(socket_ == 0, "an attempt closes its socket before the next one opens another");
    blocking_ = true;
    connected_ = false;
    connectsAt_ = 0;
    return socket_ = ++lastSocket_;
}

void ScriptedNetwork::Close(uintptr_t socket) {
    Use(socket);
    socket_ = 0;
}

void ScriptedNetwork::Use(uintptr_t socket) const {
    Require(socket != 0 && socket == socket_, "no closed socket is used");
}

void ScriptedNetwork::SetBlocking(uintptr_t socket, bool blocking) {
    Use(socket);
    blocking_ = blocking;
}

void ScriptedNetwork::Connected() {
    connected_ = true;
    reply_ = script_.ReplyOf(requests_.size());
    requests_.emplace_back();
    receives_ = EventCursor(script_.receives);
    sends_ = EventCursor(script_.sends);
    openFor_ = 0;
}

void ScriptedNetwork::Cancel() {
    cancel_();
}

int ScriptedNetwork::Connect(uintptr_t socket) {
    Use(socket);
    Require(!blocking_, "a connect does not block");
    if (script_.connects.substr(0, 1) == "r") return -WSAECONNREFUSED;
    if (script_.connects.substr(0, 1) != "i") return -WSAEWOULDBLOCK;
    Connected();
    return 0;
}

/// Whether a connect under way has come to its end.
int ScriptedNetwork::SelectConnected() {
    if (connectsAt_ == script_.connects.size()) {
        Connected();
        return 1;
    }
    const char now = script_.connects[connectsAt_];
    if (now == '!') return -WSAECONNREFUSED;
    ++connectsAt_;
    if (now == 'x') Cancel();
    return 0;
}

bool ScriptedNetwork::AtEnd() const {
    return reply_.empty() && receives_.Room() > 0;
}

int ScriptedNetwork::SelectReadable(uintptr_t socket, uint32_t milliseconds) {
    Use(socket);
    if (!PassPauses(receives_, milliseconds)) return 0;
    if (receives_.At(Kind::kCancel) || (receives_.At(Kind::kLateCancel) && reply_.empty())) {
        receives_.Skip();
        Cancel();
        return 0;
    }
    if (!AtEnd() || !script_.staysOpen) return 1;
    clockMs += milliseconds;
    openFor_ += milliseconds;
    if (openFor_ >= kPatienceMs) Cancel();
    return 0;
}

int ScriptedNetwork::SelectWritable(uintptr_t socket, uint32_t milliseconds) {
    Use(socket);
    if (!connected_) return SelectConnected();
    if (!PassPauses(sends_, milliseconds)) return 0;
    if (!sends_.At(Kind::kCancel)) return 1;
    sends_.Skip();
    Cancel();
    return 0;
}

int ScriptedNetwork::Send(uintptr_t socket, std::string_view bytes) {
    Use(socket);
    Require(connected_ && !bytes.empty(), "something is sent, on a connection");
    for (; sends_.At(Kind::kPause) || sends_.At(Kind::kCancel); sends_.Skip()) {
        if (sends_.At(Kind::kCancel)) Cancel();
    }
    if (sends_.At(Kind::kReset)) return -WSAECONNRESET;
    if (sends_.At(Kind::kClose)) return 0;
    const size_t taken = std::min(bytes.size(), sends_.Room());
    requests_.back() += bytes.substr(0, taken);
    sends_.Pass(taken);
    return static_cast<int>(taken);
}

int ScriptedNetwork::Receive(uintptr_t socket, char* bytes, size_t length) {
    Use(socket);
    Require(connected_ && length > 0, "something is received, on a connection");
    if (receives_.At(Kind::kReset)) return -WSAECONNRESET;
    if (receives_.At(Kind::kClose)) return 0;
    if (receives_.At(Kind::kLateCancel) && !reply_.empty()) {
        Cancel();
        receives_.SkipAll();
    }
    const bool waits = receives_.Room() == 0 || (AtEnd() && script_.staysOpen);
    Require(!waits && blocking_, "a receive blocks, so there is something to receive");
    const size_t given = std::min({length, receives_.Room(), reply_.size()});
    if (given == 0) return 0;
    std::memcpy(bytes, reply_.data(), given);
    reply_.remove_prefix(given);
    receives_.Pass(given);
    return static_cast<int>(given);
}

}  // namespace wpk::fuzz
