// The registry of all threads that the thread layer knows.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_THREAD_REGISTRY_H
#define WPK_THREADLIB_THREAD_REGISTRY_H

#include <array>

#include "threadlib/thread_record.h"

namespace wpk::core {

/// Thread records by thread id. One lock guards the registry and every record in it. The table has no second lock of
/// its own: a thread could be suspended or ended while it holds that one, and every later look-up would wait for ever.
/// The one lock is never lost this way, as whoever suspends or ends a thread holds it.
class ThreadRegistry {
public:
    static constexpr uint32_t kBucketCount = 1999;

    /// Ids come in steps of four or eight, so their lowest bits carry nothing.
    static constexpr uint32_t BucketOf(uint32_t id) { return ((id >> 3) * 0x9E3779B1u) % kBucketCount; }

    /// The lock; false when the system could not make it.
    const Semaphore& Lock() const { return lock_; }

    // All below: with the lock held.

    ThreadRecord* Find(uint32_t id) const;
    uint32_t Count() const { return count_; }
    /// Registers a running thread that the layer did not make; null when the system lacks something. The caller owns
    /// it.
    ThreadRecord* Register(uint32_t id);
    void Insert(ThreadRecord& record);
    /// Takes the record out and wakes everyone who waits for its thread; their sends return as if answered.
    void Remove(ThreadRecord& record);
    /// Ends a send: wakes the sender.
    static void EndSend(ThreadRecord& sender);

private:
    std::array<List<ThreadRecord>, kBucketCount> buckets_;
    uint32_t count_ = 0;
    Semaphore lock_{SemaphoreKind::kLock};
};

}  // namespace wpk::core

#endif
