// The signal that ends a request's wait for its connection.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_CANCEL_SIGNAL_H
#define WPK_TRANSPORT_CANCEL_SIGNAL_H

#include <atomic>
#include <optional>

#include "threadlib/semaphore.h"

namespace wpk {

/// A signal that stays given. Its semaphore is made by the first wait: most requests are connected before they would
/// have to wait, and never need it.
class CancelSignal {
public:
    /// Gives the signal. From any thread.
    void Set() {
        set_ = true;
        if (made_) semaphore_->Signal();
    }

    /// Waits at most so many milliseconds; true when the signal is given. For one thread alone.
    bool WaitFor(DWORD milliseconds) {
        if (!made_) {
            semaphore_.emplace(SemaphoreKind::kSignal);
            made_ = true;
        }
        // Set looks at the semaphore after it has left its mark, this at the mark after it has made the semaphore: one
        // of the two sees what the other has done.
        if (set_) return true;
        if (*semaphore_) return semaphore_->WaitFor(milliseconds);
        Sleep(milliseconds);
        return set_;
    }

private:
    std::optional<Semaphore> semaphore_;
    std::atomic<bool> made_{false};
    std::atomic<bool> set_{false};
};

}  // namespace wpk

#endif
