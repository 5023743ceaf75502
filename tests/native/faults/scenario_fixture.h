// A process in which a scenario runs.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_NATIVE_FAULTS_SCENARIO_FIXTURE_H
#define WPK_TESTS_NATIVE_FAULTS_SCENARIO_FIXTURE_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "native/support/requests.h"
#include "threadlib/counted_text.h"

namespace wpk::host {

/// How a request ends that got no handle; the others end with an error code or, when replied to, 0.
constexpr int kRefused = 1;

/// One a process: the library can be initialised only once in each.
class ScenarioFixture {
public:
    ScenarioFixture();
    ScenarioFixture(const ScenarioFixture&) = delete;
    ScenarioFixture& operator=(const ScenarioFixture&) = delete;

    /// A request that answers questions for credentials well, yet to be sent.
    NativeRequest& Make(const char* service, std::string data = "hello");
    NativeRequest& Send(const char* service);
    void SendAndAwait(const char* service);
    void SendAndAwait(NativeRequest& request);

    /// Until only the threads are left that are there for good.
    void AwaitQuiet() const;
    /// The same, but after a fault the request's thread may be left, waiting for a reply: its cancel has failed.
    void AwaitQuietOrWaiting(NativeRequest& request) const;

    enum class Rescue { kNone, kCancel };
    /// How the requests have ended, in the order of their making; those that go on can be cancelled first.
    std::vector<int> AwaitEnds(Rescue rescue);

    /// With the faults over: the library can be initialised and carries a request, each request has ended once, none is
    /// registered any more, nor is a thread that has ended, and nothing was misused.
    void ExpectSound();

    WPK_INITSTRUCT settings{};
    Server server;
    /// Connections told to the default callback.
    std::atomic<int> comes{0};
    std::atomic<int> goes{0};

private:
    bool DetectsModem() const;
    int64_t LastingThreads() const;
    void ExpectNothingRegistered() const;
    void DialAgain();

    std::vector<std::unique_ptr<NativeRequest>> requests_;
    const core::CountedText tempDirectory_{"./"};
};

}  // namespace wpk::host

#endif  // WPK_TESTS_NATIVE_FAULTS_SCENARIO_FIXTURE_H
