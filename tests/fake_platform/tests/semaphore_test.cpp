// The fake platform's semaphores and handles.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "fake_platform/control.h"

namespace wpk::host {
namespace {

class StandInSemaphore : public testing::Test {
protected:
    void SetUp() override { Reset(); }
};

TEST_F(StandInSemaphore, IsTakenOncePerCount) {
    const HANDLE semaphore = CreateSemaphoreA(nullptr, 1, 1, nullptr);
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_TIMEOUT);
    EXPECT_TRUE(ReleaseSemaphore(semaphore, 1, nullptr));
    EXPECT_EQ(WaitForSingleObject(semaphore, INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(CloseHandle(semaphore));
    EXPECT_TRUE(Misuses().empty());
}

TEST_F(StandInSemaphore, RefusesToPassItsMaximum) {
    const HANDLE semaphore = CreateSemaphoreA(nullptr, 1, 1, nullptr);
    EXPECT_FALSE(ReleaseSemaphore(semaphore, 1, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_TOO_MANY_POSTS));
    CloseHandle(semaphore);
}

TEST_F(StandInSemaphore, TimesOutAfterTheTimeGiven) {
    const HANDLE semaphore = CreateSemaphoreA(nullptr, 0, 1, nullptr);
    const ULONGLONG start = GetTickCount64();
    EXPECT_EQ(WaitForSingleObject(semaphore, 50), WAIT_TIMEOUT);
    EXPECT_GE(GetTickCount64() - start, 49u);
    CloseHandle(semaphore);
}

TEST_F(StandInSemaphore, TimesOutEarlierWhenTimeIsSpedUp) {
    SpeedUp(1000);
    const HANDLE semaphore = CreateSemaphoreA(nullptr, 0, 1, nullptr);
    const ULONGLONG start = GetTickCount64();
    EXPECT_EQ(WaitForSingleObject(semaphore, 30000), WAIT_TIMEOUT);
    EXPECT_GE(GetTickCount64() - start, 29000u);
    CloseHandle(semaphore);
}

TEST_F(StandInSemaphore, LastsUntilItsLastHandleIsClosed) {
    const Live before = CountLive();
    const HANDLE first = CreateSemaphoreA(nullptr, 1, 1, nullptr);
    HANDLE second = nullptr;
    ASSERT_TRUE(
        DuplicateHandle(GetCurrentProcess(), first, GetCurrentProcess(), &second, 0, FALSE, DUPLICATE_SAME_ACCESS));
    EXPECT_EQ(CountLive().handles, before.handles + 2);
    CloseHandle(first);
    EXPECT_EQ(WaitForSingleObject(second, 0), WAIT_OBJECT_0);
    CloseHandle(second);
    EXPECT_EQ(CountLive(), before);
    EXPECT_TRUE(Misuses().empty());
}

TEST_F(StandInSemaphore, RecordsTheUseOfAClosedHandleAsMisuse) {
    const HANDLE semaphore = CreateSemaphoreA(nullptr, 1, 1, nullptr);
    CloseHandle(semaphore);
    const HANDLE other = CreateSemaphoreA(nullptr, 1, 1, nullptr);
    EXPECT_NE(semaphore, other);
    EXPECT_FALSE(CloseHandle(semaphore));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_FAILED);
    EXPECT_EQ(Misuses().size(), 2u);
    CloseHandle(other);
}

TEST_F(StandInSemaphore, CannotBeUsedAsAnotherKindOfHandle) {
    const HANDLE semaphore = CreateSemaphoreA(nullptr, 1, 1, nullptr);
    EXPECT_FALSE(SetEndOfFile(semaphore));
    EXPECT_EQ(ResumeThread(semaphore), 0xFFFFFFFFu);
    EXPECT_EQ(Misuses().size(), 2u);
    CloseHandle(semaphore);
}

TEST_F(StandInSemaphore, FailsAtTheUseThatWasNamedAndOnlyThen) {
    FailCall("CreateSemaphoreA", 2);
    const HANDLE first = CreateSemaphoreA(nullptr, 1, 1, nullptr);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(FaultsFired(), 0u);
    EXPECT_EQ(CreateSemaphoreA(nullptr, 1, 1, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
    EXPECT_EQ(FaultsFired(), 1u);
    const HANDLE third = CreateSemaphoreA(nullptr, 1, 1, nullptr);
    EXPECT_NE(third, nullptr);
    CloseHandle(first);
    CloseHandle(third);
}

TEST_F(StandInSemaphore, FailsForGoodUntilFaultsAreCleared) {
    FailCall("CreateSemaphoreA", 1, Times::kForGood, ERROR_NO_SYSTEM_RESOURCES);
    EXPECT_EQ(CreateSemaphoreA(nullptr, 1, 1, nullptr), nullptr);
    EXPECT_EQ(CreateSemaphoreA(nullptr, 1, 1, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_SYSTEM_RESOURCES));
    EXPECT_EQ(FaultsFired(), 2u);
    ClearFaults();
    CloseHandle(CreateSemaphoreA(nullptr, 1, 1, nullptr));
    EXPECT_EQ(Uses("CreateSemaphoreA"), 3u);
    EXPECT_TRUE(Misuses().empty());
}

TEST_F(StandInSemaphore, RunsAnActionBeforeTheUseThatWasNamed) {
    const HANDLE semaphore = CreateSemaphoreA(nullptr, 0, 1, nullptr);
    RunBefore("WaitForSingleObject", 1, [semaphore] { ReleaseSemaphore(semaphore, 1, nullptr); });
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_TIMEOUT);
    CloseHandle(semaphore);
}

}  // namespace
}  // namespace wpk::host
