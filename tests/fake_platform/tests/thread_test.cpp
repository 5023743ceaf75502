// The fake platform's threads: suspended at birth, suspended later, terminated, and with ids that come back.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <atomic>

#include "fake_platform/control.h"
#include "process.h"

namespace wpk::host {
namespace {

struct Gate {
    HANDLE reached = CreateSemaphoreA(nullptr, 0, 1, nullptr);
    HANDLE pass = CreateSemaphoreA(nullptr, 0, 1, nullptr);
    std::atomic<int> passed{0};

    ~Gate() {
        CloseHandle(reached);
        CloseHandle(pass);
    }
    static unsigned Pass(void* argument) {
        auto* gate = static_cast<Gate*>(argument);
        ReleaseSemaphore(gate->reached, 1, nullptr);
        WaitForSingleObject(gate->pass, INFINITE);
        ++gate->passed;
        return 7;
    }
};

HANDLE Begin(unsigned (*entry)(void*), void* argument, unsigned flags = 0, unsigned* id = nullptr) {
    return reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, entry, argument, flags, id));
}

class StandInThread : public testing::Test {
protected:
    void SetUp() override {
        Reset();
        before_ = CountLive();
    }
    void ExpectAllReleased() const {
        EXPECT_EQ(CountLive(), before_);
        EXPECT_EQ(Misuses(), std::vector<std::string>());
    }
    Live before_;
};

TEST_F(StandInThread, CreatedSuspendedRunsOnlyOnceItIsResumed) {
    {
        Gate gate;
        ReleaseSemaphore(gate.pass, 1, nullptr);
        unsigned id = 0;
        const HANDLE thread = Begin(Gate::Pass, &gate, CREATE_SUSPENDED, &id);
        EXPECT_NE(id, 0u);
        EXPECT_NE(id, GetCurrentThreadId());
        EXPECT_EQ(id % 4, 0u);
        EXPECT_EQ(WaitForSingleObject(thread, 30), WAIT_TIMEOUT);
        EXPECT_EQ(WaitForSingleObject(gate.reached, 0), WAIT_TIMEOUT);
        EXPECT_EQ(ResumeThread(thread), 1u);
        EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
        DWORD exitCode = 0;
        EXPECT_TRUE(GetExitCodeThread(thread, &exitCode));
        EXPECT_EQ(exitCode, 7u);
        CloseHandle(thread);
    }
    ExpectAllReleased();
}

TEST_F(StandInThread, SuspendedWhileItWaitsTakesNothingUntilItIsResumed) {
    {
        Gate gate;
        const HANDLE thread = Begin(Gate::Pass, &gate);
        WaitForSingleObject(gate.reached, INFINITE);
        EXPECT_EQ(SuspendThread(thread), 0u);
        ReleaseSemaphore(gate.pass, 1, nullptr);
        EXPECT_EQ(WaitForSingleObject(thread, 30), WAIT_TIMEOUT);
        // The signal is still there for somebody else.
        EXPECT_EQ(WaitForSingleObject(gate.pass, 0), WAIT_OBJECT_0);
        ReleaseSemaphore(gate.pass, 1, nullptr);
        EXPECT_EQ(ResumeThread(thread), 1u);
        EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
        EXPECT_EQ(gate.passed, 1);
        CloseHandle(thread);
    }
    ExpectAllReleased();
}

TEST_F(StandInThread, TerminatedWhileItWaitsEndsAtOnceAndTakesNothing) {
    {
        Gate gate;
        const HANDLE thread = Begin(Gate::Pass, &gate);
        WaitForSingleObject(gate.reached, INFINITE);
        EXPECT_TRUE(TerminateThread(thread, 3));
        EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
        DWORD exitCode = 0;
        GetExitCodeThread(thread, &exitCode);
        EXPECT_EQ(exitCode, 3u);
        EXPECT_EQ(SuspendThread(thread), 0xFFFFFFFFu);
        ReleaseSemaphore(gate.pass, 1, nullptr);
        EXPECT_EQ(WaitForSingleObject(gate.pass, 20), WAIT_OBJECT_0);
        EXPECT_EQ(gate.passed, 0);
        CloseHandle(thread);
    }
    ExpectAllReleased();
}

TEST_F(StandInThread, TerminatedBeforeItRanNeverRuns) {
    {
        Gate gate;
        const HANDLE thread = Begin(Gate::Pass, &gate, CREATE_SUSPENDED);
        EXPECT_TRUE(TerminateThread(thread, 0));
        ResumeThread(thread);
        EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
        EXPECT_EQ(WaitForSingleObject(gate.reached, 30), WAIT_TIMEOUT);
        CloseHandle(thread);
    }
    ExpectAllReleased();
}

TEST_F(StandInThread, IdsComeBackWithTheLastHandleLowestFirst) {
    {
        Gate gate;
        unsigned first = 0;
        unsigned second = 0;
        const HANDLE one = Begin(Gate::Pass, &gate, 0, &first);
        WaitForSingleObject(gate.reached, INFINITE);
        const HANDLE two = Begin(Gate::Pass, &gate, 0, &second);
        WaitForSingleObject(gate.reached, INFINITE);
        EXPECT_LT(first, second);
        TerminateThread(one, 0);
        WaitForSingleObject(one, INFINITE);
        unsigned third = 0;
        const HANDLE three = Begin(Gate::Pass, &gate, 0, &third);
        EXPECT_GT(third, second) << "the first one's handle is still open";
        WaitForSingleObject(gate.reached, INFINITE);
        CloseHandle(one);
        unsigned fourth = 0;
        const HANDLE four = Begin(Gate::Pass, &gate, 0, &fourth);
        EXPECT_EQ(fourth, first);
        WaitForSingleObject(gate.reached, INFINITE);
        for (const HANDLE thread : {two, three, four}) TerminateThread(thread, 0);
        for (const HANDLE thread : {two, three, four}) {
            WaitForSingleObject(thread, INFINITE);
            CloseHandle(thread);
        }
    }
    ExpectAllReleased();
}

TEST_F(StandInThread, CanBeOpenedByIdWhileItRuns) {
    {
        Gate gate;
        unsigned id = 0;
        CloseHandle(Begin(Gate::Pass, &gate, 0, &id));
        const HANDLE thread = OpenThread(SYNCHRONIZE, FALSE, id);
        ASSERT_NE(thread, nullptr);
        EXPECT_EQ(GetThreadId(thread), id);
        ReleaseSemaphore(gate.pass, 1, nullptr);
        EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
        EXPECT_EQ(OpenThread(SYNCHRONIZE, FALSE, id), nullptr);
        CloseHandle(thread);
    }
    ExpectAllReleased();
}

unsigned EndEarly(void* argument) {
    *static_cast<int*>(argument) = 1;
    _endthreadex(9);
    *static_cast<int*>(argument) = 2;
    return 0;
}

TEST_F(StandInThread, MayEndItselfFromWithin) {
    int value = 0;
    const HANDLE thread = Begin(EndEarly, &value);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    DWORD exitCode = 0;
    GetExitCodeThread(thread, &exitCode);
    EXPECT_EQ(exitCode, 9u);
    EXPECT_EQ(value, 1);
    CloseHandle(thread);
    ExpectAllReleased();
}

TEST_F(StandInThread, RecordsTheCloseOfASemaphoreThatAThreadWaitsOn) {
    Gate gate;
    const HANDLE lonely = CreateSemaphoreA(nullptr, 0, 1, nullptr);
    const HANDLE thread = Begin(
        [](void* semaphore) -> unsigned {
            WaitForSingleObject(semaphore, INFINITE);
            return 0;
        },
        lonely);
    while (Uses("WaitForSingleObject") == 0) Sleep(1);
    // The call is counted before the thread waits; suspended, it has reached the wait or never will.
    while (WaitForSingleObject(thread, 20) != WAIT_TIMEOUT) continue;
    CloseHandle(lonely);
    EXPECT_EQ(Misuses().size(), 1u);
    TerminateThread(thread, 0);
    CloseHandle(thread);
}

}  // namespace
}  // namespace wpk::host
