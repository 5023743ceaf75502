// Services, with the platform's calls watched or made to fail.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/control.h"
#include "service/mservice.h"
#include "service/service.h"
#include "support/lib_thread.h"

namespace wpk::host {

using namespace core;
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
        const ThreadRecord* record = ThreadLib::processRegistry.load()->Find(client.Id());
        if (record) state = record->state;
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

}  // namespace
}  // namespace wpk::host
