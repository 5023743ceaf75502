// Observers of a change in the machine's state, and what they observe.
// SPDX-License-Identifier: MIT
#ifndef WPK_ENV_OBSERVER_H
#define WPK_ENV_OBSERVER_H

#include <cstdint>

#include "threadlib/list.h"
#include "threadlib/semaphore.h"

namespace wpk::core {

class Observable;

/// Told of changes on the thread that notices them, under the observable's lock: it must not attach to or notify the
/// same observable from there.
class Observer {
public:
    /// `arg` belongs to the caller and is valid only during the call. The result is ignored.
    virtual uint32_t Update(Observable* source, void* arg);

protected:
    Observer() = default;
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;
    ~Observer() = default;
};

/// Keeps a list of observers and tells them all. Any thread may call it.
class Observable {
public:
    Observable() { lock_.Signal(); }
    Observable(const Observable&) = delete;
    Observable& operator=(const Observable&) = delete;
    ~Observable();

    /// False when the system could not make the list's lock: nothing below keeps threads apart then.
    bool HasLock() const { return static_cast<bool>(lock_); }

    /// Adds an observer, which is not owned and must outlive this object; attached twice, it is told twice. 1, or 0 for
    /// a null pointer or if memory runs out.
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
