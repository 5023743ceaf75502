// The registry of all threads.
// SPDX-License-Identifier: MIT
#include "threadlib/thread_registry.h"

#include <memory>
#include <new>

namespace wpk::core {

ThreadRecord* ThreadRegistry::Find(uint32_t id) const {
    for (auto* node = buckets_[BucketOf(id)].Head(); node; node = node->Next()) {
        if (node->GetItem().id == id) return &node->GetItem();
    }
    return nullptr;
}

ThreadRecord* ThreadRegistry::Register(uint32_t id) {
    std::unique_ptr<ThreadRecord> thread(new (std::nothrow) ThreadRecord);
    if (!thread || !thread->wakeSignal) return nullptr;
    thread->id = id;
    thread->state = ThreadState::kRunning;
    Insert(*thread);
    return thread.release();
}

void ThreadRegistry::Insert(ThreadRecord& record) {
    buckets_[BucketOf(record.id)].Append(record.inBucket);
    ++count_;
}

void ThreadRegistry::Remove(ThreadRecord& record) {
    buckets_[BucketOf(record.id)].Remove(record.inBucket);
    --count_;
    record.state = ThreadState::kEnded;
    while (ThreadRecord* sender = record.sendQueue.Take()) EndSend(*sender);
    while (ThreadRecord* sender = record.replyList.Take()) EndSend(*sender);
}

void ThreadRegistry::EndSend(ThreadRecord& sender) {
    sender.state = ThreadState::kRunning;
    sender.partner = nullptr;
    sender.wakeSignal.Signal();
}

}  // namespace wpk::core
