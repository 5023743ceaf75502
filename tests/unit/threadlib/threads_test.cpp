// Threads of the thread layer: made, started, named, ended, attached and detached.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/allocation_fault.h"
#include "support/lib_thread.h"

namespace wpk::core {
namespace {

using test::AwaitState;
using test::LibThread;
using test::StandingThread;
using test::StateOf;

class Threads : public test::ThreadLayer {};

TEST(ThreadsBeforeInit, EveryOperationFails) {
    Message message;
    EXPECT_EQ(ThreadLib::Create([](void*) -> uint32_t { return 0; }, nullptr), 0u);
    EXPECT_EQ(ThreadLib::Resume(4), 0u);
    EXPECT_EQ(ThreadLib::Suspend(4), 0u);
    EXPECT_EQ(ThreadLib::Terminate(4), 0u);
    EXPECT_EQ(ThreadLib::SetName(4, "name"), 0u);
    EXPECT_EQ(ThreadLib::Attach(), 0u);
    EXPECT_EQ(ThreadLib::Detach(), 0u);
    EXPECT_EQ(ThreadLib::Send(4, message), 0u);
    EXPECT_EQ(ThreadLib::Receive(message), 0u);
    EXPECT_EQ(ThreadLib::Reply(4, message), 0u);
}

TEST(ThreadRegistryBuckets, IdsThatDifferOnlyInTheirThreeLowestBitsShareABucket) {
    const auto registry = std::make_unique<ThreadRegistry>();
    for (uint32_t id : {8u, 4096u, 0xFFFFFFF8u}) {
        for (uint32_t low = 1; low < 8; ++low) EXPECT_EQ(registry->BucketOf(id), registry->BucketOf(id + low));
    }
    EXPECT_EQ(registry->BucketOf(8), 0x9E3779B1u % 1999);
    EXPECT_EQ(registry->BucketOf(16), static_cast<uint32_t>(2 * 0x9E3779B1u) % 1999) << "the product wraps first";
}

TEST(ThreadRecordLayout, HasItsFieldsInOrder) {
    const ThreadRecord record;
    const void* const fields[] = {&record.handle,    &record.id,       &record.state,      &record.name,
                                  &record.entry,     &record.argument, &record.wakeSignal, &record.sendQueue,
                                  &record.replyList, &record.message,  &record.partner};
    EXPECT_EQ(fields[0], &record);
    EXPECT_TRUE(std::is_sorted(std::begin(fields), std::end(fields), std::less<>()));
    EXPECT_EQ(record.name, nullptr);
    EXPECT_TRUE(record.wakeSignal) << "there from the beginning";
}

TEST_F(Threads, InitRegistersTheCallingThreadAsRunning) {
    EXPECT_EQ(StateOf(GetCurrentThreadId()), ThreadState::kRunning);
}

TEST_F(Threads, ACreatedThreadHasItsFieldsAndItsWakeSignalAndNoName) {
    const auto entry = [](void*) -> uint32_t { return 0; };
    int argument = 0;
    const uint32_t id = ThreadLib::Create(entry, &argument);
    test::WithRecord(id, [&](const ThreadRecord* thread) {
        ASSERT_NE(thread, nullptr);
        EXPECT_TRUE(thread->handle);
        EXPECT_EQ(thread->id, id);
        EXPECT_EQ(thread->state, ThreadState::kCreated);
        EXPECT_EQ(thread->name, nullptr);
        EXPECT_EQ(thread->entry, static_cast<ThreadEntry>(entry));
        EXPECT_EQ(thread->argument, &argument);
        EXPECT_TRUE(thread->wakeSignal);
        EXPECT_EQ(thread->sendQueue.Count(), 0u);
        EXPECT_EQ(thread->replyList.Count(), 0u);
        EXPECT_EQ(thread->message, nullptr);
        EXPECT_EQ(thread->partner, nullptr);
    });
    EXPECT_EQ(ThreadLib::Terminate(id), 1u);
}

TEST_F(Threads, TheExitCodeIsTheEntrysResult) {
    LibThread thread([] { return 77u; });
    const test::ExitWatch watch(thread.Id());
    thread.Resume();
    EXPECT_EQ(watch.ExitCode(), 77u);
}

TEST_F(Threads, InitAfterShutdownStartsAfresh) {
    ThreadLib::Detach();
    EXPECT_EQ(ThreadLib::Shutdown(), 1u);
    EXPECT_EQ(ThreadLib::Init(), GetCurrentThreadId());
}

TEST_F(Threads, CreatedThreadRunsNothingUntilItIsResumed) {
    std::atomic<bool> ran{false};
    LibThread thread([&] {
        ran = true;
        return 0u;
    });
    ASSERT_NE(thread.Id(), 0u);
    EXPECT_EQ(StateOf(thread.Id()), ThreadState::kCreated);
    EXPECT_FALSE(ran);
    EXPECT_EQ(thread.Resume(), 1u);
    thread.Join();
    EXPECT_TRUE(ran);
    EXPECT_EQ(StateOf(thread.Id()), ThreadState::kEnded);
}

TEST_F(Threads, ResumeOfARunningThreadReturnsZero) {
    const Semaphore goOn(SemaphoreKind::kSignal);
    LibThread thread = LibThread::Started([&] { return uint32_t{goOn.Wait()}; });
    EXPECT_EQ(thread.Resume(), 0u);
    goOn.Signal();
}

TEST_F(Threads, ResumeOfAnUnknownThreadReturnsZero) {
    EXPECT_EQ(ThreadLib::Resume(0), 0u);
    EXPECT_EQ(ThreadLib::Resume(0xFFFFFFFC), 0u);
}

TEST_F(Threads, ASuspendedThreadIsNotResumedAgain) {
    const StandingThread thread;
    EXPECT_EQ(ThreadLib::Suspend(thread.Id()), 1u);
    EXPECT_EQ(StateOf(thread.Id()), ThreadState::kRunning) << "the state is not changed";
    EXPECT_EQ(thread.Resume(), 0u);
    EXPECT_EQ(ThreadLib::Terminate(thread.Id()), 1u);
}

TEST_F(Threads, SuspendAndTerminateOfUnknownThreadsReturnZero) {
    EXPECT_EQ(ThreadLib::Suspend(0xFFFFFFFC), 0u);
    EXPECT_EQ(ThreadLib::Terminate(0xFFFFFFFC), 0u);
}

TEST_F(Threads, ATerminatedThreadHasEndedAndLeavesTheRegistry) {
    const StandingThread standing;
    const LibThread neverResumed([] { return 0u; });
    for (const uint32_t id : {standing.Id(), neverResumed.Id()}) {
        const UniqueHandle end = ThreadLib::OpenForWait(id);
        EXPECT_EQ(ThreadLib::Terminate(id), 1u);
        EXPECT_EQ(WaitForSingleObject(end.Get(), 0), WAIT_OBJECT_0) << "not only from some time on";
        EXPECT_EQ(StateOf(id), ThreadState::kEnded);
        EXPECT_EQ(ThreadLib::Terminate(id), 0u);
    }
}

TEST_F(Threads, AThreadCannotTerminateItselfAndTheLayerGoesOn) {
    EXPECT_EQ(ThreadLib::Terminate(GetCurrentThreadId()), 0u);
    EXPECT_EQ(StateOf(GetCurrentThreadId()), ThreadState::kRunning);
}

TEST_F(Threads, AttachTwiceReturnsOneThenZero) {
    uint32_t results[4] = {};
    test::OutsideThread stranger([&results] {
        results[0] = ThreadLib::Attach();
        results[1] = ThreadLib::Attach();
        results[2] = ThreadLib::Detach();
        results[3] = ThreadLib::Detach();
    });
    stranger.Join();
    EXPECT_EQ(results[0], 1u);
    EXPECT_EQ(results[1], 0u);
    EXPECT_EQ(results[2], 1u) << "detached";
    EXPECT_EQ(results[3], 0u) << "no longer registered";
}

TEST_F(Threads, AThreadOfTheLayerIsRegisteredAlready) {
    uint32_t attached = 1;
    LibThread thread = LibThread::Started([&] { return attached = ThreadLib::Attach(); });
    thread.Join();
    EXPECT_EQ(attached, 0u);
}

TEST_F(Threads, SetNameKeepsACopyAndReplacesTheOldOne) {
    LibThread thread([] { return 0u; });
    char name[] = "first";
    EXPECT_EQ(ThreadLib::SetName(thread.Id(), name), 1u);
    name[0] = 'X';
    EXPECT_EQ(test::NameOf(thread.Id()), "first");
    EXPECT_EQ(ThreadLib::SetName(thread.Id(), "second"), 1u);
    EXPECT_EQ(test::NameOf(thread.Id()), "second");
    EXPECT_EQ(ThreadLib::SetName(thread.Id(), ""), 1u);
    EXPECT_EQ(ThreadLib::SetName(0xFFFFFFFC, "nobody"), 0u);
    thread.Resume();
}

TEST_F(Threads, SetNameWithoutMemoryFailsAndLeavesNoName) {
    LibThread thread([] { return 0u; });
    ASSERT_EQ(ThreadLib::SetName(thread.Id(), "first"), 1u);
    {
        const test::AllocationFault fault;
        EXPECT_EQ(ThreadLib::SetName(thread.Id(), "second"), 0u);
    }
    EXPECT_EQ(test::NameOf(thread.Id()), "");
    thread.Resume();
}

TEST_F(Threads, AnEscapedExceptionEndsItsThreadAndNothingElse) {
    LibThread thread([]() -> uint32_t { throw std::runtime_error("escapes"); });
    const test::ExitWatch watch(thread.Id());
    thread.Resume();
    EXPECT_EQ(watch.ExitCode(), 0u);
    thread.Join();
    EXPECT_EQ(StateOf(thread.Id()), ThreadState::kEnded);
    bool ran = false;
    LibThread next = LibThread::Started([&] { return uint32_t{ran = true}; });
    next.Join();
    EXPECT_TRUE(ran);
}

TEST_F(Threads, AThreadWithAVeryLongNameMayEndByAnException) {
    LibThread thread([]() -> uint32_t { throw std::runtime_error("escapes"); });
    EXPECT_EQ(ThreadLib::SetName(thread.Id(), std::string(5000, 'n').c_str()), 1u);
    const test::ExitWatch watch(thread.Id());
    thread.Resume();
    EXPECT_EQ(watch.ExitCode(), 0u);
}

TEST_F(Threads, ManyThreadsComeAndGoWithoutTrace) {
    std::atomic<uint32_t> ran{0};
    for (int round = 0; round < 20; ++round) {
        std::vector<std::unique_ptr<LibThread>> threads;
        for (int i = 0; i < 10; ++i) threads.push_back(std::make_unique<LibThread>([&] { return ++ran; }));
        for (auto& thread : threads) EXPECT_EQ(thread->Resume(), 1u);
        for (auto& thread : threads) thread->Join();
        for (auto& thread : threads) EXPECT_EQ(StateOf(thread->Id()), ThreadState::kEnded);
    }
    EXPECT_EQ(ran, 200u);
}

}  // namespace
}  // namespace wpk::core
