// The load itself: threads that send, one that cancels, one that sees every request to its end, one that ends servers.
// SPDX-License-Identifier: MIT
#include "soak/load.h"

namespace wpk::soak {
namespace {

constexpr uint64_t kSenders = 12;
constexpr size_t kMostInFlight = 160;
/// Between two sends of one thread, at most.
constexpr size_t kPauseMs = 50;
/// A cancel goes on after the call has returned. Its request is kept for so long, and with it the handle, which would
/// otherwise become another request's that the cancel might then hit.
constexpr ULONGLONG kKeepCancelledMs = 5000;
constexpr DWORD kLookForCancelsMs = 10;

}  // namespace

bool Load::RunRound(DWORD milliseconds) {
    const ULONGLONG end = GetTickCount64() + milliseconds;
    sending_ = cancelling_ = true;
    ++round_;
    std::vector<harness::Thread> senders;
    for (uint64_t i = 0; i < kSenders; ++i) {
        senders.emplace_back([this, i, end] {
            Random random(seed_, round_ * 100 + i);
            SendUntil(end, random);
        });
    }
    harness::Thread canceller([this] { CancelWhenDue(); });
    harness::Thread saboteur([this, end] {
        Random random(seed_, round_ * 100 + kSenders);
        EndServersUntil(end, random);
    });
    harness::Thread closer([this, &senders, &saboteur] {
        senders.clear();
        saboteur.Join();
        monitor_.Update([this] { sending_ = false; });
    });
    const bool allEnded = Collect();
    cancelsMonitor_.Update([this] { cancelling_ = false; });
    return allEnded;
}

void Load::SendUntil(ULONGLONG end, Random& random) {
    while (GetTickCount64() < end) {
        WaitForRoom();
        SendOne(random);
        if (random.OneIn(50)) ledger_.NoteRefused(library_.Send(nullptr) == 0);
        Sleep(static_cast<DWORD>(random.Below(kPauseMs)));
    }
}

void Load::WaitForRoom() {
    monitor_.WaitUntil([this] { return inFlight_.size() < kMostInFlight; });
}

void Load::SendOne(Random& random) {
    const JobPointer job = std::make_shared<Job>(
        traffic_.Next(random), library_, [this](Job& ended) { monitor_.Update([&] { ended_.push_back(&ended); }); });
    monitor_.Update([&] { inFlight_[job.get()] = job; });
    if (!job->Send()) {
        ledger_.NoteRefused(/*as_expected=*/false);
        monitor_.Update([&] { inFlight_.erase(job.get()); });
        return;
    }
    ledger_.NoteAccepted(*job);
    const CancelPlan& cancel = job->plan().cancel;
    if (cancel.when != CancelPlan::kAfter) return;
    if (cancel.milliseconds == 0) {
        job->Cancel();
    } else {
        cancelsMonitor_.Update([&] { cancels_.emplace(GetTickCount64() + cancel.milliseconds, job); });
    }
}

void Load::CancelWhenDue() {
    for (bool goOn = true; goOn;) {
        std::vector<JobPointer> due;
        goOn = cancelsMonitor_.Update([&] {
            const auto end = cancels_.upper_bound(GetTickCount64());
            for (auto one = cancels_.begin(); one != end; ++one) due.push_back(one->second.lock());
            cancels_.erase(cancels_.begin(), end);
            return cancelling_;
        });
        for (const JobPointer& job : due) {
            if (job) job->Cancel();
        }
        Sleep(kLookForCancelsMs);
    }
}

bool Load::Collect() {
    std::deque<std::pair<ULONGLONG, JobPointer>> kept;
    for (;;) {
        const ULONGLONG now = GetTickCount64();
        while (!kept.empty() && kept.front().first + kKeepCancelledMs < now) kept.pop_front();
        bool allOver = false;
        const JobPointer job = TakeEnded(allOver);
        if (allOver) return true;
        if (!job || !job->WaitForThreadEnd()) {
            NoteStuck();
            return false;
        }
        ledger_.NoteEnded(*job, job->Judge());
        if (job->plan().cancel.when != CancelPlan::kNever) kept.emplace_back(GetTickCount64(), job);
    }
}

/// Null when none has ended for a long time.
Load::JobPointer Load::TakeEnded(bool& allOver) {
    JobPointer job;
    monitor_.WaitUntil([&] {
        allOver = !sending_ && inFlight_.empty();
        return allOver || !ended_.empty();
    });
    if (allOver) return job;
    monitor_.Update([&] {
        if (ended_.empty()) return;
        const auto place = inFlight_.find(ended_.back());
        ended_.pop_back();
        job = place->second;
        inFlight_.erase(place);
    });
    return job;
}

void Load::NoteStuck() {
    monitor_.Update([this] {
        for (const auto& [address, job] : inFlight_) ledger_.NoteMismatch("no end: " + job->Describe());
    });
    ledger_.NoteMismatch("requests have not ended");
}

void Load::EndServersUntil(ULONGLONG end, Random& random) {
    for (;;) {
        Sleep(static_cast<DWORD>(random.Between(2000, 7000)));
        if (GetTickCount64() + kCalmBeforeEndMs >= end) return;
        dying_.Kill();
        Sleep(static_cast<DWORD>(random.Between(100, 1500)));
        dying_.Start();
    }
}

}  // namespace wpk::soak
