// Runs under the scheduler: threads go one at a time, as they are chosen.
// SPDX-License-Identifier: MIT
#include "fake_platform/src/scheduler.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "fake_platform/control.h"
#include "fake_platform/src/scripted_socket.h"
#include "process.h"
#include "windows.h"
#include "winsock.h"

namespace wpk::host {
namespace {

/// Takes its choices from a list, and the usual one from there on.
class Listed : public Chooser {
public:
    explicit Listed(std::vector<size_t> choices = {}) : choices_(std::move(choices)) {}

    size_t Choose(const std::vector<Option>& options) override {
        offered.push_back(options);
        return offered.size() <= choices_.size() ? choices_[offered.size() - 1] : 0;
    }
    [[noreturn]] void Fail(const std::string& why) override {
        std::fprintf(stderr, "%s\n", why.c_str());
        std::_Exit(3);
    }

    std::vector<std::vector<Option>> offered;

private:
    const std::vector<size_t> choices_;
};

/// The order in which two threads come to their two places each.
std::string OrderOfTwo(std::vector<size_t> choices) {
    std::string order;
    Listed chooser(std::move(choices));
    RunScheduled(chooser, [&order] {
        for (const char name : {'a', 'b'}) {
            StartThread(std::string(1, name), [&order, name] {
                for (int i = 0; i < 2; ++i) {
                    order += name;
                    SchedulePoint();
                }
            });
        }
        AwaitThreads();
    });
    return order;
}

TEST(Scheduler, UsuallyAThreadGoesOnUntilItWaits) {
    EXPECT_EQ(OrderOfTwo({}), "aabb");
}

TEST(Scheduler, ThreadsGoAsTheyAreChosen) {
    EXPECT_EQ(OrderOfTwo({1}), "bbaa");
    EXPECT_EQ(OrderOfTwo({0, 1}), "abba");
    EXPECT_EQ(OrderOfTwo({0, 1, 1}), "abab");
}

TEST(Scheduler, OnlyAChoiceThatKeepsSomebodyWaitingPreempts) {
    Listed chooser;
    RunScheduled(chooser, [] {
        StartThread("other", [] {});
        SchedulePoint();
    });
    ASSERT_EQ(chooser.offered.size(), 1u);
    ASSERT_EQ(chooser.offered[0].size(), 2u);
    EXPECT_FALSE(chooser.offered[0][0].preempts);
    EXPECT_TRUE(chooser.offered[0][1].preempts);
}

TEST(Scheduler, AWaitIsOverWhenItsSemaphoreIsReleased) {
    Listed chooser;
    DWORD result = WAIT_FAILED;
    RunScheduled(chooser, [&result] {
        const HANDLE semaphore = CreateSemaphoreA(nullptr, 0, 1, nullptr);
        StartThread("waiter", [&] { result = WaitForSingleObject(semaphore, INFINITE); });
        StartThread("releaser", [&] { ReleaseSemaphore(semaphore, 1, nullptr); });
        AwaitThreads();
        CloseHandle(semaphore);
    });
    EXPECT_EQ(result, static_cast<DWORD>(WAIT_OBJECT_0));
    EXPECT_EQ(Misuses(), std::vector<std::string>());
}

TEST(Scheduler, TimePassesWhenNobodyCanGoOn) {
    Listed chooser;
    RunScheduled(chooser, [] {
        std::string order;
        StartThread("long", [&order] {
            Sleep(3600000);
            order += "long";
        });
        StartThread("short", [&order] {
            Sleep(1000);
            order += "short ";
        });
        AwaitThreads();
        EXPECT_EQ(order, "short long");
        EXPECT_EQ(GetTickCount64(), 3600000u);
    });
}

TEST(Scheduler, AnEarlyTimeOutIsAChoice) {
    // The waiter goes first, comes to its wait, and is late although the other one could go on.
    Listed chooser({1, 0, 1});
    DWORD result = WAIT_FAILED;
    RunScheduled(chooser, [&result] {
        const HANDLE semaphore = CreateSemaphoreA(nullptr, 0, 1, nullptr);
        StartThread("waiter", [&] { result = WaitForSingleObject(semaphore, 1000); });
        SchedulePoint();
        ReleaseSemaphore(semaphore, 1, nullptr);
        AwaitThreads();
        CloseHandle(semaphore);
    });
    EXPECT_EQ(result, static_cast<DWORD>(WAIT_TIMEOUT));
    ASSERT_GE(chooser.offered.size(), 3u);
    EXPECT_EQ(chooser.offered[2].back().kind, Option::Kind::kTimeOut);
    EXPECT_TRUE(chooser.offered[2].back().preempts);
}

using SchedulerDeathTest = testing::Test;

TEST(SchedulerDeathTest, ARunInWhichNobodyCanGoOnHasFailed) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            Listed chooser;
            RunScheduled(chooser, [] { WaitForSingleObject(CreateSemaphoreA(nullptr, 0, 1, nullptr), INFINITE); });
        },
        testing::ExitedWithCode(3), "nobody can go on: main waits in WaitForSingleObject");
}

unsigned NoteThatItRuns(void* hasRun) {
    *static_cast<bool*>(hasRun) = true;
    return 7;
}

TEST(Scheduler, AThreadThatIsTerminatedBeforeItsResumeNeverRuns) {
    const Live before = CountLive();
    bool hasRun = false;
    DWORD code = 0;
    Listed chooser;
    RunScheduled(chooser, [&] {
        const auto thread =
            reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, NoteThatItRuns, &hasRun, CREATE_SUSPENDED, nullptr));
        EXPECT_TRUE(TerminateThread(thread, 9));
        EXPECT_EQ(WaitForSingleObject(thread, INFINITE), static_cast<DWORD>(WAIT_OBJECT_0));
        EXPECT_TRUE(GetExitCodeThread(thread, &code));
        CloseHandle(thread);
    });
    EXPECT_FALSE(hasRun);
    EXPECT_EQ(code, 9u);
    EXPECT_EQ(CountLive(), before);
}

TEST(Scheduler, AThreadRunsOnceItIsResumed) {
    bool hasRun = false;
    DWORD code = 0;
    Listed chooser;
    RunScheduled(chooser, [&] {
        const auto thread =
            reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, NoteThatItRuns, &hasRun, CREATE_SUSPENDED, nullptr));
        SchedulePoint();
        EXPECT_FALSE(hasRun);
        EXPECT_EQ(ResumeThread(thread), 1u);
        EXPECT_EQ(WaitForSingleObject(thread, INFINITE), static_cast<DWORD>(WAIT_OBJECT_0));
        EXPECT_TRUE(GetExitCodeThread(thread, &code));
        CloseHandle(thread);
    });
    EXPECT_TRUE(hasRun);
    EXPECT_EQ(code, 7u);
}

TEST(Scheduler, AConnectionAndItsAnswerArriveByChoice) {
    Listed chooser;
    RunScheduled(chooser, [] {
        SetSocketScript([](const std::string& received) { return received == "question" ? "answer" : ""; });
        WSADATA data;
        ASSERT_EQ(WSAStartup(MAKEWORD(1, 1), &data), 0);
        const SOCKET one = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in target{};
        target.sin_family = AF_INET;
        ASSERT_EQ(connect(one, reinterpret_cast<const sockaddr*>(&target), sizeof target), 0);
        ASSERT_EQ(send(one, "quest", 5, 0), 5);
        ASSERT_EQ(send(one, "ion", 3, 0), 3);
        char buffer[16];
        EXPECT_EQ(recv(one, buffer, sizeof buffer, 0), 6);
        EXPECT_EQ(std::string(buffer, 6), "answer");
        closesocket(one);
        WSACleanup();
        SetSocketScript(nullptr);
    });
}

}  // namespace
}  // namespace wpk::host
