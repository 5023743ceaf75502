// The readers-writer lock.
// SPDX-License-Identifier: MIT
#include "threadlib/readers_writer_lock.h"

#include <gtest/gtest.h>

#include <atomic>

#include "support/lib_thread.h"

namespace wpk::core {
namespace {

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
