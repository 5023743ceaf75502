// The binary semaphore, and the readers-writer lock that is made of two of them.
// SPDX-License-Identifier: MIT
#include "threadlib/semaphore.h"

#include <gtest/gtest.h>

#include "support/field_at.h"
#include "support/lib_thread.h"
#include "threadlib/readers_writer_lock.h"

namespace wpk {
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

/// A thread that enters one side of a lock, and leaves it when it is told to.
class Visitor {
public:
    enum class Side { kShared, kExclusive };

    Visitor(ReadersWriterLock& lock, Side side)
        : thread_([this, &lock, side] {
              arrived_.Signal();
              if (side == Side::kShared) {
                  const SharedScope scope(lock);
                  Stay();
              } else {
                  const ExclusiveScope scope(lock);
                  Stay();
              }
          }) {
        arrived_.Wait();
    }

    bool IsIn() { return in_.Wait(); }
    /// Nothing can tell that a thread will go on waiting: one that need not wait has ample time to enter.
    bool StaysOut() { return !in_.WaitFor(100); }
    void Leave() {
        leave_.Signal();
        thread_.Join();
    }

private:
    void Stay() {
        in_.Signal();
        leave_.Wait();
    }

    Semaphore arrived_{SemaphoreKind::kSignal}, in_{SemaphoreKind::kSignal}, leave_{SemaphoreKind::kSignal};
    test::OutsideThread thread_;
};

using Side = Visitor::Side;

TEST(ReadersWriterLockTest, ReadersAreInTogether) {
    ReadersWriterLock lock;
    Visitor first(lock, Side::kShared), second(lock, Side::kShared);
    EXPECT_TRUE(first.IsIn());
    EXPECT_TRUE(second.IsIn());
    first.Leave();
    second.Leave();
}

TEST(ReadersWriterLockTest, NoReaderGetsInBesideAWriter) {
    ReadersWriterLock lock;
    lock.EnterExclusive();
    // The second one, too, although the first one has then been counted.
    Visitor first(lock, Side::kShared), second(lock, Side::kShared);
    EXPECT_TRUE(first.StaysOut());
    EXPECT_TRUE(second.StaysOut());
    lock.LeaveExclusive();
    EXPECT_TRUE(first.IsIn());
    EXPECT_TRUE(second.IsIn());
    first.Leave();
    second.Leave();
}

TEST(ReadersWriterLockTest, NoWriterGetsInBesideAReaderNotEvenBesideTheLastOfSeveral) {
    ReadersWriterLock lock;
    Visitor first(lock, Side::kShared), second(lock, Side::kShared);
    EXPECT_TRUE(first.IsIn());
    EXPECT_TRUE(second.IsIn());
    Visitor writer(lock, Side::kExclusive);
    EXPECT_TRUE(writer.StaysOut());
    first.Leave();
    EXPECT_TRUE(writer.StaysOut());
    second.Leave();
    EXPECT_TRUE(writer.IsIn());
    writer.Leave();
}

TEST(ReadersWriterLockTest, NoWriterGetsInBesideAnother) {
    ReadersWriterLock lock;
    Visitor first(lock, Side::kExclusive);
    EXPECT_TRUE(first.IsIn());
    Visitor second(lock, Side::kExclusive);
    EXPECT_TRUE(second.StaysOut());
    first.Leave();
    EXPECT_TRUE(second.IsIn());
    second.Leave();
}

}  // namespace
}  // namespace wpk
