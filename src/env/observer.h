// Observers of a change in the machine's state, and what they observe.
// SPDX-License-Identifier: MIT
#ifndef WPK_ENV_OBSERVER_H
#define WPK_ENV_OBSERVER_H

#include <cstdint>

#include "threadlib/list.h"
#include "threadlib/semaphore.h"

namespace wpk::core {

class Observable;

/// Notified of changes on the thread that detects them, with the observable's lock held: Update must not attach to or
/// notify the same observable.
class Observer {
public:
    /// Called for each change. `arg` belongs to the caller and is valid only during the call. The result is ignored.
    virtual uint32_t Update(Observable* source, void* arg);

protected:
    Observer() = default;
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;
    ~Observer() = default;
};

/// Keeps a list of observers and notifies them all. Any thread may call it.
class Observable {
public:
    Observable() { lock_.Signal(); }
    Observable(const Observable&) = delete;
    Observable& operator=(const Observable&) = delete;
    ~Observable();

    /// False if the system could not create the list's lock: the functions below are then not safe for threads.
    bool HasLock() const { return static_cast<bool>(lock_); }

    /// Adds an observer, which is not owned and must outlive this object. If attached twice, it is notified twice. 1,
    /// or 0 for a null pointer or if memory runs out.
    uint32_t Attach(Observer* observer);

    /// Calls every observer's Update in the order of attachment. Returns 1.
    uint32_t Notify(void* arg);

private:
    struct Entry {
        Observer* observer;
        ListNode<Entry> inList{*this};
    };

    /// Head, tail and count.
    List<Entry> observers_;
    /// Made as a signal and signalled once: it starts free.
    Semaphore lock_{SemaphoreKind::kSignal};
};

}  // namespace wpk::core

#endif
