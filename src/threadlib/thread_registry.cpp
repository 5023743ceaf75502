// The registry of all threads.
// SPDX-License-Identifier: MIT
#include "threadlib/thread_registry.h"

namespace wpk {

namespace {

void WakeAll(List<ThreadRecord>& waiting) {
    while (ThreadRecord* thread = waiting.Take()) {
        thread->state = ThreadState::kRunning;
        thread->partner = nullptr;
        thread->wakeSignal->Signal();
    }
}

}  // namespace

ThreadRecord* ThreadRegistry::Find(uint32_t id) const {
    for (auto* node = buckets_[BucketOf(id)].Head(); node; node = node->Next()) {
        if (node->GetItem().id == id) return &node->GetItem();
    }
    return nullptr;
}

void ThreadRegistry::Remove(ThreadRecord& record) {
    buckets_[BucketOf(record.id)].Remove(record.inBucket);
    record.state = ThreadState::kEnded;
    WakeAll(record.sendQueue);
    WakeAll(record.replyList);
}

}  // namespace wpk
