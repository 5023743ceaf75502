// The C++ layer: a request in several hands.
// SPDX-License-Identifier: MIT
#include "native/explore/client_locks.h"

#include "native/support/native_platform.h"

#include <wpk/client.h>

#undef mutex
#undef condition_variable
#undef steady_clock
#undef thread

#include "fake_platform/src/scheduler.h"
#include "native/explore/library.h"
#include "native/explore/scenarios.h"

namespace wpk::explore {

using client::Outcome;
using client::ScopedRequest;
using host::StartThread;

namespace {

/// The library of the schedule that runs.
Library* current = nullptr;

unsigned PassSend(WPK_SENDSTRUCT* message) {
    return current->Send(*message);
}

/// The question whether the library has been initialised by somebody else comes with no request's handle.
int PassCancel(unsigned handle) {
    return handle == 0xFFFFFFFF ? 0 : current->Cancel(handle);
}

/// A process has one for good, so all schedules share it.
const Client& TheClient() {
    static const Client& client = *[] {
        Options options;
        options.server = "127.0.0.1";
        return new Client(std::move(options), {[](const WPK_INITSTRUCT*) { return 1; }, PassSend, PassCancel});
    }();
    return client;
}

/// A library under the Client.
class ClientFixture {
public:
    ClientFixture() {
        current = &library_;
        TheClient();
    }
    ClientFixture(const ClientFixture&) = delete;
    ClientFixture& operator=(const ClientFixture&) = delete;
    ~ClientFixture() {
        library_.AwaitIdle();
        // Until the layer no longer expects a late cancel.
        host::AwaitScheduled(
            "the end of late cancels", [] { return false; }, 10000);
        client::detail::RetiredSends::All().Collect();
    }

    static client::Request Send(const char* service, client::OutcomeFunction onOutcome) {
        return TheClient().Send({service, "hello"}, std::move(onOutcome));
    }

private:
    RunningLibrary library_;
};

struct Outcomes {
    int count = 0;
    std::error_code last;

    client::OutcomeFunction Counter() {
        return [this](const Outcome& outcome) {
            ++count;
            last = outcome.error();
        };
    }
    bool HasEnded() const { return count == 1 && (!last || last == client::Errc::kCancelled); }
};

void CancelAndWaitFromTwoThreads() {
    Outcomes outcomes;
    const ClientFixture fixture;
    client::Request request = ClientFixture::Send("Silent", outcomes.Counter());
    StartThread("canceller", [request] { request.Cancel(); });
    StartThread("waiter", [&outcomes, request] {
        request.Wait();
        Expect(outcomes.count == 1, "a wait is over when the outcome has been told");
    });
    request.Wait();
    Expect(request.Ended(), "a request has ended when a wait for it is over");
    Expect(outcomes.last == client::Errc::kCancelled, "a cancelled request ends as cancelled");
}

void ACancelAgainstTheOutcome() {
    Outcomes outcomes;
    const ClientFixture fixture;
    client::Request request = ClientFixture::Send("Small", outcomes.Counter());
    StartThread("canceller", [request] { request.Cancel(); });
    request.Wait();
    Expect(outcomes.HasEnded(), "a request has one outcome");
}

void AScopedRequestDestroyedByAnotherThread() {
    const ClientFixture fixture;
    // On the heap, and gone with the handle.
    auto outcomes = std::make_unique<Outcomes>();
    ScopedRequest request = ClientFixture::Send("Silent", outcomes->Counter());
    StartThread("owner", [outcomes = outcomes.get(), &request] {
        { const ScopedRequest own = std::move(request); }
        Expect(outcomes->HasEnded(), "when the handle has gone, the outcome has been told");
        outcomes->count = 100;
    });
    host::AwaitThreads(1);
    Expect(outcomes->count == 100, "nothing is told after that");
}

/// A request with a time limit, for which the Client that has sent it has gone: who ends last ends its time keeping.
client::Request SendWithin(std::chrono::milliseconds limit, const char* service, client::OutcomeFunction onOutcome) {
    auto shared = std::make_shared<client::detail::Shared>();
    shared->functions = {nullptr, PassSend, PassCancel};
    shared->server = "127.0.0.1";
    shared->port = 80;
    shared->time_limit = limit;
    return client::Request(
        client::detail::Exchange::Start(std::move(shared), {service, "hello"}, std::move(onOutcome)));
}

void ATimeLimitThatIsReached() {
    Outcomes outcomes;
    const ClientFixture fixture;
    SendWithin(std::chrono::seconds(1), "Silent", outcomes.Counter()).Wait();
    Expect(outcomes.last == client::Errc::kTimedOut, "a request whose time is up ends as timed out");
}

void ATimeLimitAgainstTheOutcome() {
    Outcomes outcomes;
    const ClientFixture fixture;
    SendWithin(std::chrono::milliseconds(-1), "Small", outcomes.Counter()).Wait();
    Expect(outcomes.count == 1, "a request has one outcome");
    Expect(!outcomes.last || outcomes.last == client::Errc::kTimedOut, "the reply comes, or the time is up");
}

void ATimeLimitAfterACancel() {
    Outcomes outcomes;
    const ClientFixture fixture;
    const uint64_t begin = host::ScheduledTime();
    const client::Request request = SendWithin(std::chrono::seconds(1), "Silent", outcomes.Counter());
    request.Cancel();
    const bool inTime = host::ScheduledTime() < begin + 1000;
    request.Wait();
    Expect(!inTime || outcomes.last == client::Errc::kCancelled, "a request cancelled in time ends as cancelled");
    Expect(outcomes.count == 1, "a request has one outcome");
}

void ATimeLimitAgainstACancel() {
    Outcomes outcomes;
    const ClientFixture fixture;
    const client::Request request = SendWithin(std::chrono::milliseconds(-1), "Silent", outcomes.Counter());
    StartThread("canceller", [request] { request.Cancel(); });
    request.Wait();
    Expect(outcomes.count == 1, "a request has one outcome");
    Expect(outcomes.last == client::Errc::kCancelled || outcomes.last == client::Errc::kTimedOut,
           "whoever comes first decides what is told");
}

}  // namespace

const Scenarios& ClientScenarios() {
    static const Scenarios& all = *new Scenarios{
        {"client: cancelled by one thread, waited for by two", CancelAndWaitFromTwoThreads},
        {"client: a cancel against the outcome", ACancelAgainstTheOutcome},
        {"client: a scoped request destroyed by another thread", AScopedRequestDestroyedByAnotherThread},
        {"client: a time limit that is reached", ATimeLimitThatIsReached},
        {"client: a time limit against the outcome", ATimeLimitAgainstTheOutcome},
        {"client: a time limit after a cancel", ATimeLimitAfterACancel},
        {"client: a time limit against a cancel", ATimeLimitAgainstACancel},
    };
    return all;
}

}  // namespace wpk::explore
