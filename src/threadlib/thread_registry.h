// The registry of all threads that the thread layer knows.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_THREAD_REGISTRY_H
#define WPK_THREADLIB_THREAD_REGISTRY_H

#include <array>

#include "threadlib/thread_record.h"

namespace wpk {

/// Thread records by thread id. One lock guards the registry and every record in it: whoever looks a record up is about
/// to look into it, so a lock of the table's own would only be taken in addition.
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
    /// Takes a guest out whose send is over, and wakes the thread. From then on the record is that thread's to free.
    void Release(ThreadRecord& sender);

private:
    Semaphore lock_{SemaphoreKind::kLock};
    uint32_t count_ = 0;
    std::array<List<ThreadRecord>, kBucketCount> buckets_;
};

}  // namespace wpk

#endif
