// The process's use of the sockets interface.
// SPDX-License-Identifier: MIT
#include "transport/sockets_interface.h"

#include <atomic>

#include "threadlib/platform.h"
#include "threadlib/semaphore.h"

namespace wpk::core {

namespace {

constexpr WORD kSocketsVersion = MAKEWORD(1, 1);

/// The system may count starts without a lock of its own: two threads at once would lose one.
const Semaphore startsLock{SemaphoreKind::kLock};

/// The generation of the network: even for one that is there, or was never watched; odd from its going until the next
/// one comes.
std::atomic<uint32_t> networkGeneration{0};

bool IsGone(uint32_t generation) {
    return (generation & 1) != 0;
}

void CountNetworkGone() {
    uint32_t now = networkGeneration;
    while (!networkGeneration.compare_exchange_weak(now, (now + 1) | 1)) continue;
}

void CountNetworkThere() {
    uint32_t now = networkGeneration;
    while (!networkGeneration.compare_exchange_weak(now, now + (now & 1))) continue;
}

/// Uses that have begun and not ended, clean-ups that wait for their end, and whether one is at work: in one word, so
/// that they change together.
constexpr uint64_t kOneUse = 1;
constexpr uint64_t kUses = 0x00000000FFFFFFFF;
constexpr uint64_t kOneCleanUp = uint64_t{1} << 32;
constexpr uint64_t kCleanUps = 0x7FFFFFFF00000000;
constexpr uint64_t kCleaning = uint64_t{1} << 63;
std::atomic<uint64_t> state{0};

/// Whether a clean-up has been asked for that no use keeps waiting.
bool IsCleanUpDue(uint64_t now) {
    return (now & kUses) == 0 && (now & kCleanUps) != 0;
}

/// Takes one waiting clean-up out, to be run now. False when there is none, or it has to wait on.
bool TakeCleanUp() {
    uint64_t now = state;
    do {
        if (!IsCleanUpDue(now)) return false;
    } while (!state.compare_exchange_weak(now, (now - kOneCleanUp) | kCleaning));
    return true;
}

/// A clean-up is at work only while its thread holds the lock, so whoever gets that has waited for it.
void RunCleanUps() {
    while (IsCleanUpDue(state)) {
        const ScopedLock counting(startsLock);
        if (!TakeCleanUp()) return;
        WSACleanup();
        state &= ~kCleaning;
    }
}

/// False while a clean-up is at work.
bool TakeUse() {
    uint64_t now = state;
    do {
        if ((now & kCleaning) != 0) return false;
    } while (!state.compare_exchange_weak(now, now + kOneUse));
    return true;
}

}  // namespace

bool HasSocketsLock() {
    return static_cast<bool>(startsLock);
}

bool StartSockets() {
    // First: requests run from now on, and fail for their own reasons where the interface does not start.
    CountNetworkThere();
    const ScopedLock counting(startsLock);
    WSADATA data;
    return WSAStartup(kSocketsVersion, &data) == 0;
}

void CleanUpSockets() {
    // In this order: a use that begins meanwhile has the old generation or that of a gone network, and is lost either
    // way.
    state += kOneCleanUp;
    CountNetworkGone();
    RunCleanUps();
}

void SocketsGuard::Begin() {
    End();
    for (;;) {
        // Read first: a network that goes from now on is noticed.
        networkGeneration_ = networkGeneration;
        if (TakeUse()) break;
        const ScopedLock untilCleanedUp(startsLock);
    }
    begun_ = true;
}

void SocketsGuard::End() {
    if (!begun_) return;
    begun_ = false;
    state -= kOneUse;
    RunCleanUps();
}

bool SocketsGuard::Lost() const {
    return begun_ && (IsGone(networkGeneration_) || networkGeneration_ != networkGeneration);
}

}  // namespace wpk::core
