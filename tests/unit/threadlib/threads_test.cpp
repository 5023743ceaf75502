// Threads of the thread layer: made, started, named, ended, attached and detached.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

#include "support/lib_thread.h"

namespace wpk {
namespace {

using test::AwaitState;
using test::LibThread;
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
    for (uint32_t id : {8u, 4096u, 0xFFFFFFF8u}) {
        for (uint32_t low = 1; low < 8; ++low)
            EXPECT_EQ(ThreadRegistry::BucketOf(id), ThreadRegistry::BucketOf(id + low));
    }
    EXPECT_EQ(ThreadRegistry::BucketOf(8), 0x9E3779B1u % 1999);
    EXPECT_EQ(ThreadRegistry::BucketOf(16), static_cast<uint32_t>(2 * 0x9E3779B1u) % 1999) << "the product wraps first";
}

TEST_F(Threads, InitRegistersTheCallingThreadAsRunning) {
    EXPECT_EQ(StateOf(GetCurrentThreadId()), ThreadState::kRunning);
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
    const Semaphore goOn(SemaphoreKind::kSignal);
    LibThread thread = LibThread::Started([&] { return uint32_t{goOn.Wait()}; });
    EXPECT_EQ(ThreadLib::Suspend(thread.Id()), 1u);
    EXPECT_EQ(StateOf(thread.Id()), ThreadState::kRunning) << "the state is not changed";
    EXPECT_EQ(thread.Resume(), 0u);
    EXPECT_EQ(ThreadLib::Terminate(thread.Id()), 1u);
}

TEST_F(Threads, SuspendAndTerminateOfUnknownThreadsReturnZero) {
    EXPECT_EQ(ThreadLib::Suspend(0xFFFFFFFC), 0u);
    EXPECT_EQ(ThreadLib::Terminate(0xFFFFFFFC), 0u);
}

TEST_F(Threads, ATerminatedThreadLeavesTheRegistry) {
    LibThread thread([] { return 0u; });
    EXPECT_EQ(ThreadLib::Terminate(thread.Id()), 1u);
    EXPECT_EQ(StateOf(thread.Id()), ThreadState::kEnded);
    EXPECT_EQ(ThreadLib::Terminate(thread.Id()), 0u);
}

TEST_F(Threads, AThreadCannotTerminateItselfAndTheLayerGoesOn) {
    EXPECT_EQ(ThreadLib::Terminate(GetCurrentThreadId()), 0u);
    EXPECT_EQ(StateOf(GetCurrentThreadId()), ThreadState::kRunning);
}

TEST_F(Threads, AttachTwiceReturnsOneThenZero) {
    uint32_t results[4] = {};
    UniqueHandle stranger(reinterpret_cast<HANDLE>(_beginthreadex(
        nullptr, 0,
        [](void* out) -> unsigned {
            auto* attached = static_cast<uint32_t*>(out);
            attached[0] = ThreadLib::Attach();
            attached[1] = ThreadLib::Attach();
            attached[2] = ThreadLib::Detach();
            attached[3] = ThreadLib::Detach();
            return 0;
        },
        results, 0, nullptr)));
    WaitForSingleObject(stranger.Get(), INFINITE);
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
    {
        ThreadRegistry* registry = ThreadLib::processRegistry;
        const ScopedLock lock(registry->Lock());
        EXPECT_STREQ(registry->Find(thread.Id())->name.CStr(), "first");
    }
    EXPECT_EQ(ThreadLib::SetName(thread.Id(), "second"), 1u);
    EXPECT_EQ(ThreadLib::SetName(thread.Id(), ""), 1u);
    EXPECT_EQ(ThreadLib::SetName(0xFFFFFFFC, "nobody"), 0u);
    thread.Resume();
}

TEST_F(Threads, AnEscapedExceptionEndsItsThreadAndNothingElse) {
    LibThread thread = LibThread::Started([]() -> uint32_t { throw std::runtime_error("escapes"); });
    thread.Join();
    EXPECT_EQ(StateOf(thread.Id()), ThreadState::kEnded);
    bool ran = false;
    LibThread next = LibThread::Started([&] { return uint32_t{ran = true}; });
    next.Join();
    EXPECT_TRUE(ran);
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
}  // namespace wpk
