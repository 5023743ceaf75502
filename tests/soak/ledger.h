// The books of a run: what was sent and what came of it, kind by kind, and everything that does not add up.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SOAK_LEDGER_H
#define WPK_TESTS_SOAK_LEDGER_H

#include "soak/job.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>

namespace wpk::soak {

/// Writes lines to standard output and to the report file. Any thread.
class Report {
public:
    explicit Report(const std::string& path);
    ~Report();
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;

    [[gnu::format(printf, 2, 3)]] void Line(const char* format, ...);

private:
    harness::Monitor monitor_;
    std::FILE* file_;
};

/// Any thread.
class Ledger {
public:
    explicit Ledger(Report& report) : report_(report) {}

    void NoteAccepted(const Job& job);
    void NoteRefused(bool asExpected);
    /// Of a request that has ended, with what Judge said of it.
    void NoteEnded(const Job& job, const std::string& wrong);
    void NoteMismatch(const std::string& text);

    uint64_t Accepted();
    uint64_t InFlight();
    uint64_t Mismatches();
    /// Whether more requests had to be rescued than Wine's weaknesses explain.
    void JudgeRescues();
    void Print(unsigned int serverEnds);

private:
    struct Counts {
        uint64_t accepted = 0;
        uint64_t replies = 0;
        std::map<int, uint64_t> failures;
        ULONGLONG longest = 0;
    };

    void Print(const std::string& kind, const Counts& counts);

    Report& report_;
    harness::Monitor monitor_;
    std::map<std::string, Counts> kinds_;
    Counts all_;
    uint64_t ended_ = 0;
    uint64_t refused_ = 0;
    uint64_t bytesOut_ = 0;
    uint64_t bytesBack_ = 0;
    uint64_t cancels_ = 0;
    uint64_t cancelsTooLate_ = 0;
    uint64_t lateCancels_ = 0;
    ULONGLONG longestCancel_ = 0;
    uint64_t rescues_ = 0;
    uint64_t mismatches_ = 0;
};

}  // namespace wpk::soak

#endif  // WPK_TESTS_SOAK_LEDGER_H
