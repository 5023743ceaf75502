// The binary semaphore.
// SPDX-License-Identifier: MIT
#include "threadlib/semaphore.h"

#include <gtest/gtest.h>

#include "support/field_at.h"

namespace wpk::core {
namespace {

using test::FieldAt;

TEST(SemaphoreTest, HoldsItsHandleAndItsCountsInOrder) {
    for (const auto kind : {SemaphoreKind::kLock, SemaphoreKind::kSignal}) {
        const Semaphore semaphore(kind);
        EXPECT_NE(FieldAt<HANDLE>(&semaphore, 0), nullptr);
        EXPECT_EQ(FieldAt<uint64_t>(&semaphore, 8), 0u);
        EXPECT_EQ(FieldAt<uint32_t>(&semaphore, 16), kind == SemaphoreKind::kLock ? 1u : 0u) << "the initial count";
        EXPECT_EQ(FieldAt<uint32_t>(&semaphore, 20), 1u) << "the maximum count";
        EXPECT_EQ(FieldAt<uint32_t>(&semaphore, 24), 0u);
    }
}

TEST(SemaphoreTest, ALockIsFreeAndASignalIsNotGivenAtCreation) {
    const Semaphore lock(SemaphoreKind::kLock);
    EXPECT_TRUE(lock.WaitFor(0));
    EXPECT_FALSE(lock.WaitFor(0));
    const Semaphore signal(SemaphoreKind::kSignal);
    EXPECT_FALSE(signal.WaitFor(0));
    EXPECT_TRUE(signal.Signal());
    EXPECT_TRUE(signal.Wait());
}

TEST(SemaphoreTest, TheCountNeverPassesOne) {
    const Semaphore signal(SemaphoreKind::kSignal);
    EXPECT_TRUE(signal.Signal());
    EXPECT_FALSE(signal.Signal());
    EXPECT_TRUE(signal.WaitFor(0));
    EXPECT_FALSE(signal.WaitFor(0));
}

TEST(SemaphoreTest, NothingWorksOnAClosedOne) {
    Semaphore lock(SemaphoreKind::kLock);
    lock.Close();
    EXPECT_FALSE(lock);
    EXPECT_FALSE(lock.Wait());
    EXPECT_FALSE(lock.Signal());
}

}  // namespace
}  // namespace wpk::core
