// Counting, failing and observing the fake platform's calls.
// SPDX-License-Identifier: MIT
#include "fake_platform/src/call.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <utility>

#include "fake_platform/control.h"
#include "fake_platform/src/scheduler.h"
#include "fake_platform/src/thread.h"

namespace wpk::host {
namespace {

/// Relaxed counters throughout: they must not order the calls of different threads.
struct Site {
    const char* name;
    uint32_t usualError;
    std::atomic<uint64_t> uses{0};
    /// The use that fails; 0 for none.
    std::atomic<uint64_t> firstFailing{0};
    std::atomic<bool> forGood{false};
    std::atomic<uint32_t> error{0};
    std::atomic<uint32_t> actions{0};
    std::atomic<uint64_t> fired{0};
};

std::array sites{
#define WPK_HOST_CALL(name, error) Site{#name, error},
    WPK_HOST_CALLS(WPK_HOST_CALL)
#undef WPK_HOST_CALL
};

std::atomic<uint32_t> speed{1};
std::atomic<uint32_t> selectSpeed{1};

/// What only tests and failures touch. Never destroyed: static objects of the library end after it.
struct Rare {
    std::mutex mutex;
    std::map<std::pair<Site*, uint64_t>, std::function<void()>> actions;
    std::vector<std::string> misuses;
};

Rare& TheRare() {
    static Rare& rare = *new Rare;
    return rare;
}

Site& SiteOf(std::string_view call) {
    for (Site& site : sites) {
        if (site.name == call) return site;
    }
    std::fprintf(stderr, "the fake platform has no call %.*s\n", static_cast<int>(call.size()), call.data());
    std::abort();
}

void RunActions(Site& site, uint64_t use) {
    std::function<void()> action;
    {
        Rare& rare = TheRare();
        const std::lock_guard lock(rare.mutex);
        const auto found = rare.actions.find({&site, use});
        if (found == rare.actions.end()) return;
        action = std::move(found->second);
        rare.actions.erase(found);
        site.actions.fetch_sub(1, std::memory_order_relaxed);
    }
    action();
}

/// Counts a use of the call; the error with which it is to fail, or 0.
uint32_t CountUse(Call call) {
    Site& site = sites[static_cast<size_t>(call)];
    const uint64_t use = site.uses.fetch_add(1, std::memory_order_relaxed) + 1;
    if (site.actions.load(std::memory_order_relaxed) != 0) RunActions(site, use);

    const uint64_t first = site.firstFailing.load(std::memory_order_relaxed);
    if (first == 0 || use < first) return 0;
    if (use > first && !site.forGood.load(std::memory_order_relaxed)) return 0;
    const uint32_t error = site.error.load(std::memory_order_relaxed);
    site.fired.fetch_add(1, std::memory_order_relaxed);
    SetLastError(error);
    return error;
}

std::atomic<uint32_t> longestWait{0};

void NoteWait(double milliseconds) {
    const auto asked = static_cast<uint32_t>(milliseconds);
    if (asked == INFINITE) return;
    uint32_t longest = longestWait.load(std::memory_order_relaxed);
    while (asked > longest && !longestWait.compare_exchange_weak(longest, asked, std::memory_order_relaxed)) continue;
}

thread_local Code runningCode = Code::kTest;

/// Whether another thread may come first: where it takes something from others, or acts on what they may have changed.
/// A release gives, and what comes before it is kept from the others or is a point of its own.
bool ConcernsOthers(Call call) {
    switch (call) {
        case Call::kWaitForSingleObject:
        case Call::kResumeThread:
        case Call::kSuspendThread:
        case Call::kTerminateThread:
        case Call::kWSAStartup:
        case Call::kWSACleanup:
        case Call::ksocket:
        case Call::kgethostbyname:
        case Call::kconnect:
        case Call::kselect:
        case Call::ksend:
        case Call::krecv:
        case Call::kclosesocket:
        case Call::kLoadLibraryA:
        case Call::kFreeLibrary:
            return true;
        default:
            return false;
    }
}

bool LetsOthersGoOn(Call call) {
    return call == Call::kReleaseSemaphore || call == Call::kResumeThread || call == Call::kWSACleanup;
}

}  // namespace

CodeScope::CodeScope(Code code) : before_(runningCode) {
    runningCode = code;
}

CodeScope::~CodeScope() {
    runningCode = before_;
}

void SetRunningCode(Code code) {
    runningCode = code;
}

bool RunsLibraryCode() {
    return runningCode == Code::kLibrary;
}

bool AllocationFails() {
    return RunsLibraryCode() && CountUse(Call::koperator_new) != 0;
}

CallScope::CallScope(Call call) : call_(call) {
    StopPoint();
    if (ConcernsOthers(call)) SchedulePoint();
    error_ = CountUse(call);
}

CallScope::~CallScope() {
    StopPoint();
    // What follows a release is no longer kept from the others.
    if (LetsOthersGoOn(call_)) SchedulePoint();
}

void RecordMisuse(std::string text) {
    Rare& rare = TheRare();
    const std::lock_guard lock(rare.mutex);
    rare.misuses.push_back(std::move(text));
}

double RealMilliseconds(double milliseconds) {
    NoteWait(milliseconds);
    return milliseconds / speed.load(std::memory_order_relaxed);
}

double RealSelectMilliseconds(double milliseconds) {
    NoteWait(milliseconds);
    return milliseconds / selectSpeed.load(std::memory_order_relaxed);
}

uint64_t Ticks() {
    if (IsScheduled()) return ScheduledTime();
    using namespace std::chrono;
    const auto now = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    return static_cast<uint64_t>(now) * selectSpeed.load(std::memory_order_relaxed);
}

void ResetCalls() {
    ClearFaults();
    SpeedUp(1);
    longestWait.store(0);
    ClearActions();
    Rare& rare = TheRare();
    const std::lock_guard lock(rare.mutex);
    rare.misuses.clear();
    for (Site& site : sites) site.uses.store(0);
}

void FailCall(std::string_view call, uint64_t nth, Times times, uint32_t error) {
    Site& site = SiteOf(call);
    site.error.store(error ? error : site.usualError ? site.usualError : ERROR_GEN_FAILURE);
    site.forGood.store(times == Times::kForGood);
    site.firstFailing.store(site.uses.load() + nth);
}

void ClearFaults() {
    for (Site& site : sites) {
        site.firstFailing.store(0);
        site.fired.store(0);
    }
}

uint64_t FaultsFired() {
    uint64_t fired = 0;
    for (const Site& site : sites) fired += site.fired.load();
    return fired;
}

uint64_t FaultsFired(std::string_view call) {
    return SiteOf(call).fired.load();
}

void RunBefore(std::string_view call, uint64_t nth, std::function<void()> action) {
    Site& site = SiteOf(call);
    Rare& rare = TheRare();
    const std::lock_guard lock(rare.mutex);
    rare.actions[{&site, site.uses.load() + nth}] = std::move(action);
    site.actions.fetch_add(1);
}

void ClearActions() {
    Rare& rare = TheRare();
    const std::lock_guard lock(rare.mutex);
    rare.actions.clear();
    for (Site& site : sites) site.actions.store(0);
}

uint64_t Uses(std::string_view call) {
    return SiteOf(call).uses.load();
}

std::vector<std::string_view> FallibleCalls() {
    std::vector<std::string_view> names;
    for (const Site& site : sites) {
        if (site.usualError != 0) names.emplace_back(site.name);
    }
    return names;
}

std::vector<std::string> Misuses() {
    Rare& rare = TheRare();
    const std::lock_guard lock(rare.mutex);
    return rare.misuses;
}

uint32_t LongestWait() {
    return longestWait.load();
}

void SpeedUp(uint32_t factor) {
    SpeedUp(factor, factor);
}

void SpeedUp(uint32_t factor, uint32_t selectFactor) {
    speed.store(factor);
    selectSpeed.store(selectFactor);
}

}  // namespace wpk::host
