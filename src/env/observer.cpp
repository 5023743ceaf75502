// Observers and what they observe.
// SPDX-License-Identifier: MIT
#include "env/observer.h"

#include <new>

namespace wpk::core {

uint32_t Observer::Update(Observable* /*source*/, void* /*arg*/) {
    return 1;
}

Observable::~Observable() {
    while (Entry* entry = observers_.Take()) delete entry;
}

uint32_t Observable::Attach(Observer* observer) {
    if (!observer) return 0;
    auto* entry = new (std::nothrow) Entry{observer};
    if (!entry) return 0;
    const ScopedLock lock(lock_);
    observers_.Append(entry->inList);
    return 1;
}

uint32_t Observable::Notify(void* arg) {
    const ScopedLock lock(lock_);
    for (auto* node = observers_.Head(); node; node = node->Next()) node->GetItem().observer->Update(this, arg);
    return 1;
}

}  // namespace wpk::core
