// The sockets interface, played from a script, with a clock that runs only while somebody waits.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_FUZZ_EXCHANGE_SCRIPTED_NETWORK_H
#define WPK_TESTS_FUZZ_EXCHANGE_SCRIPTED_NETWORK_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/exchange/script.h"

namespace wpk::fuzz {

/// Where a stream of bytes is in its events.
class EventCursor {
public:
    explicit EventCursor(const std::vector<Event>& events) : events_(&events) { Enter(0); }

    bool At(Event::Kind kind) const { return at_ < events_->size() && (*events_)[at_].kind == kind; }
    /// Bytes that may pass now.
    size_t Room() const;
    void Pass(size_t bytes);
    /// Lets the event go by.
    void Skip() { Enter(at_ + 1); }
    void SkipAll() { Enter(events_->size()); }
    /// Lets a pause pass, at most so much of it; what is left of `milliseconds`.
    uint32_t Wait(uint32_t milliseconds);

private:
    void Enter(size_t at);

    const std::vector<Event>* events_;
    size_t at_ = 0;
    uint32_t left_ = 0;
};

/// All connections of one request, which are made one after another on one thread. There is one network at a time: the
/// calls of the sockets interface find it. Uses that no socket would bear end the program: of a closed one, and a
/// blocking receive that would have to wait, in which no cancel could be seen.
class ScriptedNetwork {
public:
    /// `cancel` is what the application does when the script cancels its request.
    ScriptedNetwork(const Script& script, std::function<void()> cancel);
    ScriptedNetwork(const ScriptedNetwork&) = delete;
    ScriptedNetwork& operator=(const ScriptedNetwork&) = delete;
    ~ScriptedNetwork();

    static ScriptedNetwork& Current();
    static bool AnyOpen();
    /// Milliseconds that have been waited for.
    static uint64_t Clock();

    // As the calls of the interface; results below 0 are a WSA code with a minus.

    uintptr_t Open();
    int Connect(uintptr_t socket);
    void SetBlocking(uintptr_t socket, bool blocking);
    int SelectReadable(uintptr_t socket, uint32_t milliseconds);
    int SelectWritable(uintptr_t socket, uint32_t milliseconds);
    int Send(uintptr_t socket, std::string_view bytes);
    int Receive(uintptr_t socket, char* bytes, size_t length);
    void Close(uintptr_t socket);

    /// What has been sent on each connection that came about.
    const std::vector<std::string>& Requests() const { return requests_; }

private:
    void Use(uintptr_t socket) const;
    void Cancel();
    void Connected();
    bool AtEnd() const;
    int SelectConnected();
    /// Skips the pause that the cursor is in, if any: false when it goes on.
    static bool PassPauses(EventCursor& cursor, uint32_t& milliseconds);

    const Script& script_;
    const std::function<void()> cancel_;
    uintptr_t socket_ = 0;
    uintptr_t lastSocket_ = 0;
    bool blocking_ = true;
    bool connected_ = false;
    size_t connectsAt_ = 0;
    std::vector<std::string> requests_;
    std::string_view reply_;
    EventCursor receives_;
    EventCursor sends_;
    uint32_t openFor_ = 0;
};

}  // namespace wpk::fuzz

#endif  // WPK_TESTS_FUZZ_EXCHANGE_SCRIPTED_NETWORK_H
