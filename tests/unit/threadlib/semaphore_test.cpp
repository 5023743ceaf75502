// The binary semaphore, and the readers-writer lock that is made of two of them.
// SPDX-License-Identifier: MIT
#include "threadlib/semaphore.h"

#include <gtest/gtest.h>

#include <atomic>

#include "support/field_at.h"
#include "support/lib_thread.h"
#include "threadlib/readers_writer_lock.h"

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

/// A thread that enters one side of a lock, and leaves it when it is told to. Nothing can tell that a thread will go on
/// waiting: that none enters too early is looked at when it does, and tried in every order by the native explorer.
class Visitor {
public:
    enum class Side { kShared, kExclusive };

    /// It is early when it enters while `held` is set.
    Visitor(ReadersWriterLock& lock, Side side, const std::atomic<bool>& held)
        : held_(held), thread_([this, &lock, side] {
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

    /// Waits until it is in.
    void AwaitIn() { in_.Wait(); }
    bool WasEarly() const { return early_; }
    void Leave() {
        leave_.Signal();
        thread_.Join();
    }

private:
    void Stay() {
        early_ = held_;
        in_.Signal();
        leave_.Wait();
    }

    const std::atomic<bool>& held_;
    bool early_ = false;
    Semaphore arrived_{SemaphoreKind::kSignal}, in_{SemaphoreKind::kSignal}, leave_{SemaphoreKind::kSignal};
    test::OutsideThread thread_;
};

using Side = Visitor::Side;

TEST(ReadersWriterLockTest, ReadersAreInTogether) {
    ReadersWriterLock lock;
    const std::atomic<bool> held{false};
    Visitor first(lock, Side::kShared, held), second(lock, Side::kShared, held);
    first.AwaitIn();
    second.AwaitIn();
    first.Leave();
    second.Leave();
}

TEST(ReadersWriterLockTest, NoReaderGetsInBesideAWriter) {
    ReadersWriterLock lock;
    lock.EnterExclusive();
    std::atomic<bool> held{true};
    // The second one, too, although the first one has then been counted.
    Visitor first(lock, Side::kShared, held), second(lock, Side::kShared, held);
    held = false;
    lock.LeaveExclusive();
    for (Visitor* reader : {&first, &second}) {
        reader->AwaitIn();
        EXPECT_FALSE(reader->WasEarly());
    }
    first.Leave();
    second.Leave();
}

TEST(ReadersWriterLockTest, NoWriterGetsInBesideAReaderNotEvenBesideTheLastOfSeveral) {
    ReadersWriterLock lock;
    std::atomic<bool> held{false};
    Visitor first(lock, Side::kShared, held), second(lock, Side::kShared, held);
    first.AwaitIn();
    second.AwaitIn();
    held = true;
    Visitor writer(lock, Side::kExclusive, held);
    first.Leave();
    held = false;
    second.Leave();
    writer.AwaitIn();
    EXPECT_FALSE(writer.WasEarly());
    writer.Leave();
}

TEST(ReadersWriterLockTest, NoWriterGetsInBesideAnother) {
    ReadersWriterLock lock;
    std::atomic<bool> held{false};
    Visitor first(lock, Side::kExclusive, held);
    first.AwaitIn();
    held = true;
    Visitor second(lock, Side::kExclusive, held);
    held = false;
    first.Leave();
    second.AwaitIn();
    EXPECT_FALSE(second.WasEarly());
    second.Leave();
}

}  // namespace
}  // namespace wpk::core
