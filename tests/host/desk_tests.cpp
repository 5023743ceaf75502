// Services and the way of a call, with the platform's calls watched or made to fail.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "host/child_process.h"
#include "host/control.h"
#include "host/scene.h"
#include "service/mservice.h"
#include "service/service.h"
#include "support/lib_thread.h"

namespace wpk::host {
namespace {

using test::LibThread;

class WatchedService : public Service {
public:
    WatchedService() : Service("WatchedService") {}
    uint32_t DeskThread() const { return DeskId(); }
    uint32_t Stop() { return StopDesk(); }
};

/// Its workers never answer.
class WatchedMService : public MService {
public:
    WatchedMService() : MService("WatchedMService") {}
    uint32_t DeskThread() const { return DeskId(); }
    using MService::AddJob;

    Semaphore blocked{SemaphoreKind::kSignal};

private:
    uint32_t ProcessRequest(uint32_t, uint32_t, const uint64_t*) override {
        blocked.Signal();
        never_.Wait();
        return 0;
    }

    Semaphore never_{SemaphoreKind::kSignal};
};

class Desk : public test::ThreadLayer {
protected:
    void TearDown() override {
        ClearActions();
        ThreadLayer::TearDown();
        EXPECT_EQ(Misuses(), std::vector<std::string>());
    }

    /// The name that a desk bears before it is resumed.
    template <class Service>
    static std::string FirstName(Service& service) {
        std::string name;
        RunBefore("OpenThread", 1, [&] { name = test::NameOf(service.DeskThread()); });
        EXPECT_EQ(service.Start(), 1u);
        service.Stop();
        return name;
    }
};

TEST_F(Desk, BearsTheNameOfItsFunctionUntilTheStartCommand) {
    WatchedService service;
    EXPECT_EQ(FirstName(service), "Service::FrontDeskFunc()");
    WatchedMService mservice;
    EXPECT_EQ(FirstName(mservice), "MService::FrontDeskFunc()");
}

TEST_F(Desk, AnswersNoClientBeforeTheLastWorkerHasEnded) {
    WatchedMService service;
    ASSERT_EQ(service.Start(), 1u);
    uint32_t answer = 99;
    LibThread client([&] { return answer = service.Post(200); });
    // What a worker leaves behind that throws after its answer; its client has a second one afterwards.
    Record leftBehind(4);
    leftBehind.SetUint32(0, 0xFFFFFFFC);
    leftBehind.SetUint32(1, client.Id());
    ASSERT_EQ(service.AddJob(leftBehind), 1u);
    client.Resume();
    service.blocked.Wait();
    auto state = ThreadState::kEnded;
    RunBefore("TerminateThread", 1, [&] {
        // The stop holds the registry's lock here.
        state = ThreadLib::processRegistry.load()->Find(client.Id())->state;
    });
    EXPECT_EQ(service.Stop(), 1u);
    client.Join();
    EXPECT_EQ(answer, 0u);
    EXPECT_EQ(state, ThreadState::kReplyBlocked) << "its second worker still reads its frame";
}

TEST_F(Desk, AReceiveThatCannotMakeItsReadySignalReturnsZeroBeforeItIsSeenToWait) {
    FailCall("CreateSemaphoreA", 1);
    Message request;
    EXPECT_EQ(ThreadLib::Receive(request), 0u);
    EXPECT_EQ(FaultsFired(), 1u);
    ClearFaults();
    const uint32_t self = GetCurrentThreadId();
    EXPECT_EQ(test::StateOf(self), ThreadState::kRunning);
    // A sender is not led to believe that it waits.
    LibThread sender = LibThread::Started([self] {
        Message message;
        return ThreadLib::Send(self, message);
    });
    test::AwaitState(sender.Id(), ThreadState::kSendBlocked);
    EXPECT_EQ(ThreadLib::Receive(request), sender.Id());
    EXPECT_EQ(ThreadLib::Reply(sender.Id(), request), 1u);
}

/// What the child that ran last has found.
struct Found {
    uint64_t fired;
    int result;
};

/// Made before any child is.
Found& theFound = *static_cast<Found*>(SharedMemory(sizeof(Found)));

WPK_INITSTRUCT PermanentNetwork() {
    WPK_INITSTRUCT settings{};
    settings.nConnectionType = WPK_CONNECTION_PERMANENT;
    return settings;
}

void ExpectServed(const Server& server) {
    auto& request = Lasting<Request>(server.Port(), "Small");
    ASSERT_NE(request.Send(), 0u);
    ASSERT_TRUE(request.AwaitFinal());
    EXPECT_EQ(request.Reply(), "small");
    EXPECT_TRUE(AwaitThat([] { return CountLive().threads == 1; }));
}

/// Initialises with the nth use of a call failing, and again without a fault. The library works afterwards.
void InitialiseTwice(const char* call, uint64_t nth) {
    const WPK_INITSTRUCT settings = PermanentNetwork();
    const auto& server = Lasting<Server>();
    FailCall(call, nth);
    theFound.result = InitLibrary(settings);
    theFound.fired = FaultsFired();
    ClearFaults();
    if (theFound.result == 0) {
        EXPECT_TRUE(AwaitThat([] { return CountLive().threads == 0; }));
    }
    EXPECT_EQ(InitLibrary(settings), 1);
    ExpectServed(server);
}

TEST(Start, FailsWithWhateverItsDeskNeedsAndMayBeTriedAgain) {
    for (const char* call : {"CreateSemaphoreA", "_beginthreadex", "OpenThread", "ResumeThread"}) {
        uint64_t nth = 0;
        do {
            ++nth;
            SCOPED_TRACE(std::string(call) + ' ' + std::to_string(nth));
            ASSERT_TRUE(RunInChild([=] { InitialiseTwice(call, nth); }));
            EXPECT_EQ(theFound.result, theFound.fired > 0 ? 0 : 1);
        } while (theFound.fired > 0);
        EXPECT_GT(nth, 1u) << call << " is never used";
    }
}

TEST(Start, EitherFailsWithAnAllocationOrDoesWithoutIt) {
    uint64_t nth = 0;
    int refusals = 0;
    do {
        ++nth;
        SCOPED_TRACE(nth);
        ASSERT_TRUE(RunInChild([=] { InitialiseTwice("operator_new", nth); }));
        refusals += theFound.result == 0;
    } while (theFound.fired > 0);
    // All but the names of threads and the texts of the settings.
    EXPECT_GT(refusals, 8);
}

TEST(CallPath, ACallWhoseThreadCannotBeAttachedReturnsZeroAndTheNextOneIsServed) {
    EXPECT_TRUE(RunInChild([] {
        const WPK_INITSTRUCT settings = PermanentNetwork();
        ASSERT_EQ(WPK_Init(&settings), 1);
        const auto& server = Lasting<Server>();
        ExpectServed(server);
        const uint64_t threads = Uses("_beginthreadex");
        for (const char* call : {"CreateSemaphoreA", "operator_new"}) {
            auto& request = Lasting<Request>(server.Port(), "Small");
            FailCall(call, 1);
            EXPECT_EQ(request.Send(), 0u) << call;
            EXPECT_EQ(FaultsFired(call), 1u);
            FailCall(call, 1);
            EXPECT_EQ(CancelRequest(4), 0) << call;
            ClearFaults();
        }
        EXPECT_EQ(Uses("_beginthreadex"), threads) << "nothing was posted";
        ExpectServed(server);
    }));
}

TEST(CallPath, ACallIsAttachedSentAndDetachedInsideTheGate) {
    EXPECT_TRUE(RunInChild([] {
        const WPK_INITSTRUCT settings = PermanentNetwork();
        ASSERT_EQ(WPK_Init(&settings), 1);
        const auto& server = Lasting<Server>();
        const uint32_t self = GetCurrentThreadId();
        auto state = ThreadState::kEnded;
        // On the front desk, which has received the send and holds the registry's lock while it makes the worker.
        RunBefore("_beginthreadex", 1, [&] {
            const ThreadRecord* caller = ThreadLib::processRegistry.load()->Find(self);
            if (caller) state = caller->state;
        });
        ExpectServed(server);
        EXPECT_EQ(state, ThreadState::kReplyBlocked);
        EXPECT_EQ(test::StateOf(self), ThreadState::kEnded) << "no longer registered";
    }));
}

}  // namespace
}  // namespace wpk::host
