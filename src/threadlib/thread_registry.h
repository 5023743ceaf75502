// The registry of all threads that the thread layer knows.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_THREAD_REGISTRY_H
#define WPK_THREADLIB_THREAD_REGISTRY_H

#include <array>

#include "threadlib/thread_record.h"

namespace wpk::core {

/// Thread records by thread id. One lock guards the registry and every record in it. A thread must hold it to suspend
/// or terminate another one, so no thread can be stopped while it holds it itself. A second lock for the registry could
/// be lost that way, or would guard nothing that this one does not guard already.
class ThreadRegistry {
public:
    static constexpr uint32_t kBucketCount = 1999;

    /// Ids come in steps of four or eight, so their lowest bits carry nothing.
    uint32_t BucketOf(uint32_t id) const { return ((id >> 3) * 0x9E3779B1u) % bucketCount_; }

    /// The lock; false if the system could not create it.
    const Semaphore& Lock() const { return lock_; }

    // All below: with the lock held.

    ThreadRecord* Find(uint32_t id) const;
    uint32_t Count() const { return count_; }
    /// Registers a running thread that the layer did not create; null if the system lacks a resource. The caller owns
    /// the record.
    ThreadRecord* Register(uint32_t id);
    void Insert(ThreadRecord& record);
    /// Removes the record and wakes all threads that wait for its thread; their sends return as if answered.
    void Remove(ThreadRecord& record);
    /// Ends a send: wakes the sender.
    static void EndSend(ThreadRecord& sender);

private:
    const uint32_t bucketCount_ = kBucketCount;
    std::array<List<ThreadRecord>, kBucketCount> buckets_;
    uint32_t count_ = 0;
    Semaphore lock_{SemaphoreKind::kLock};
};

}  // namespace wpk::core

#endif
