// The binary semaphore.
// SPDX-License-Identifier: MIT
#include "threadlib/semaphore.h"

namespace wpk {

namespace {
constexpr LONG kMaximumCount = 1;
}

Semaphore::Semaphore(SemaphoreKind kind)
    : handle_(CreateSemaphoreA(/*lpSemaphoreAttributes=*/nullptr, kind == SemaphoreKind::kLock ? 1 : 0, kMaximumCount,
                               /*lpName=*/nullptr)) {}

bool Semaphore::WaitFor(DWORD milliseconds) const {
    return handle_ && WaitForSingleObject(handle_.Get(), milliseconds) == WAIT_OBJECT_0;
}

bool Semaphore::Signal() const {
    return handle_ && ReleaseSemaphore(handle_.Get(), 1, /*lpPreviousCount=*/nullptr) != 0;
}

}  // namespace wpk
