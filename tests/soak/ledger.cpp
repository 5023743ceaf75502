// The books of a run: what was sent and what came of it, kind by kind, and everything that does not add up.
// SPDX-License-Identifier: MIT
#include "soak/ledger.h"

#include "support/dll/process.h"

#include <algorithm>
#include <utility>

namespace wpk::soak {
namespace {

/// Of one fault there may be thousands.
constexpr uint64_t kShownMismatches = 50;
/// A cancel is promised to be seen within 250 ms; the rest is what a machine under full load adds. Counted, not judged.
constexpr ULONGLONG kCancelPromise = 250 + 500;
/// Usually none is rescued: at most one of so many.
constexpr uint64_t kAcceptedForEachRescue = 500;

unsigned long long Number(uint64_t number) {
    return number;
}

std::string Listed(const std::map<int, uint64_t>& failures) {
    std::string text;
    for (auto one = failures.rbegin(); one != failures.rend(); ++one) {
        text += " " + std::to_string(one->first) + ":" + std::to_string(one->second);
    }
    return text.empty() ? " none" : text;
}

}  // namespace

Report::Report(const std::string& path) : file_(std::fopen(path.c_str(), "w")) {
    if (!file_) harness::Die("cannot write " + path);
}

Report::~Report() {
    std::fclose(file_);
}

void Report::Line(const char* format, ...) {
    char line[1000];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    monitor_.Update([&] {
        for (std::FILE* file : {stdout, file_}) {
            std::fprintf(file, "%s\n", line);
            std::fflush(file);
        }
    });
}

void Ledger::NoteAccepted(const Job& job) {
    monitor_.Update([&] {
        ++all_.accepted;
        ++kinds_[job.plan().kind].accepted;
        bytesOut_ += job.MessageLength();
    });
}

void Ledger::NoteRefused(bool asExpected) {
    monitor_.Update([this] { ++refused_; });
    if (!asExpected) NoteMismatch("a send was refused that is to be accepted, or the other way round");
}

void Ledger::NoteEnded(const Job& job, const std::string& wrong) {
    const harness::Notification& last = job.Final();
    monitor_.Update([&] {
        ++ended_;
        for (Counts* counts : {&all_, &kinds_[job.plan().kind]}) {
            counts->longest = std::max(counts->longest, job.Took());
            if (last.reason == WPK_REASON_REPLY) ++counts->replies;
            if (last.reason == WPK_REASON_FAILURE) ++counts->failures[last.error];
        }
        bytesBack_ += last.bytes.size();
        if (!job.Cancelled()) return;
        ++cancels_;
        if (last.error != WPK_ERROR_CANCELLED) {
            ++cancelsTooLate_;
            return;
        }
        if (job.plan().cancel.rescue) ++rescues_;
        longestCancel_ = std::max(longestCancel_, job.CancelTook());
        if (job.CancelTook() > kCancelPromise) ++lateCancels_;
    });
    if (!wrong.empty()) NoteMismatch(wrong + " (" + job.Describe() + ")");
}

void Ledger::NoteMismatch(const std::string& text) {
    const uint64_t count = monitor_.Update([this] { return ++mismatches_; });
    if (count <= kShownMismatches) report_.Line("MISMATCH: %s", text.c_str());
}

void Ledger::JudgeRescues() {
    const auto [rescues, accepted] = monitor_.Update([this] { return std::pair(rescues_, all_.accepted); });
    if (rescues * kAcceptedForEachRescue > accepted) {
        NoteMismatch(std::to_string(rescues) + " requests did not end by themselves");
    }
}

uint64_t Ledger::Accepted() {
    return monitor_.Update([this] { return all_.accepted; });
}

uint64_t Ledger::InFlight() {
    return monitor_.Update([this] { return all_.accepted - std::min(all_.accepted, ended_); });
}

uint64_t Ledger::Mismatches() {
    return monitor_.Update([this] { return mismatches_; });
}

void Ledger::Print(const std::string& kind, const Counts& counts) {
    report_.Line("%-16s %9llu %9llu %10llu %s", kind.c_str(), Number(counts.accepted), Number(counts.replies),
                 counts.longest, Listed(counts.failures).c_str());
}

void Ledger::Print(unsigned int serverEnds) {
    report_.Line("%-16s %9s %9s %10s  failures by code", "kind", "requests", "replies", "longest ms");
    for (const auto& [kind, counts] : kinds_) Print(kind, counts);
    Print("all", all_);
    report_.Line("refused sends: %llu; servers ended and started again: %u", Number(refused_), serverEnds);
    report_.Line(
        "cancels: %llu, of them too late to change anything: %llu, seen after more than %llu ms: %llu, "
        "longest: %llu ms",
        Number(cancels_), Number(cancelsTooLate_), kCancelPromise, Number(lateCancels_), longestCancel_);
    report_.Line("requests that only a cancel after a long time has ended: %llu", Number(rescues_));
    report_.Line("bytes of messages out: %llu, of replies back: %llu", Number(bytesOut_), Number(bytesBack_));
}

}  // namespace wpk::soak
