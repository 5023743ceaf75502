// The binary semaphore.
// SPDX-License-Identifier: MIT
#include "threadlib/semaphore.h"

namespace wpk::core {

Semaphore::Semaphore(SemaphoreKind kind) : initialCount_(kind == SemaphoreKind::kLock ? 1 : 0) {
    handle_.Reset(CreateSemaphoreA(/*lpSemaphoreAttributes=*/nullptr, static_cast<LONG>(initialCount_),
                                   static_cast<LONG>(maximumCount_), /*lpName=*/nullptr));
}

bool Semaphore::WaitFor(DWORD milliseconds) const {
    return handle_ && WaitForSingleObject(handle_.Get(), milliseconds) == WAIT_OBJECT_0;
}

bool Semaphore::Signal() const {
    return handle_ && ReleaseSemaphore(handle_.Get(), 1, /*lpPreviousCount=*/nullptr) != 0;
}

}  // namespace wpk::core
