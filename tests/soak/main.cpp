// Loads the library for minutes or hours with all that can go wrong going wrong, and accounts for every request.
// SPDX-License-Identifier: MIT
#include "soak/ledger.h"
#include "soak/resource_usage.h"
#include "soak/load.h"
#include "soak/traffic.h"
#include "support/dll/heap_count.h"
#include "support/dll/process.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace wpk::soak {
namespace {

constexpr DWORD kWarmUpMs = 6000;
constexpr DWORD kShortestSeconds = 60;
/// Between two looks at the process without any request in flight.
constexpr DWORD kRoundMs = 4 * 60 * 1000;
/// What may be used at rest beyond the least seen before: the books of the test, and stacks that have grown deeper
/// once. What the heaps keep for later is not counted, since it grows with how much was in flight at once; nor are the
/// library's own blocks, which are counted exactly.
constexpr size_t kUsedRoomKb = 16 * 1024;

struct Options {
    DWORD seconds = 0;
    uint64_t seed = 0;
};

std::optional<uint64_t> Number(const char* text) {
    char* end = nullptr;
    const uint64_t number = std::strtoull(text, &end, 10);
    if (end == text || *end != '\0') return std::nullopt;
    return number;
}

std::optional<Options> ParseOptions(int argc, char** argv) {
    Options options;
    options.seed = GetTickCount64() ^ GetCurrentProcessId();
    for (int i = 1; i < argc; i += 2) {
        const auto number = i + 1 < argc ? Number(argv[i + 1]) : std::nullopt;
        if (!number) return std::nullopt;
        if (std::strcmp(argv[i], "--seconds") == 0) {
            options.seconds = static_cast<DWORD>(*number);
        } else if (std::strcmp(argv[i], "--seed") == 0) {
            options.seed = *number;
        } else {
            return std::nullopt;
        }
    }
    if (options.seconds < kShortestSeconds) return std::nullopt;
    return options;
}

/// The library under load, and the process around it.
class Soak {
public:
    explicit Soak(const Options& options)
        : options_(options),
          report_(harness::ProgramFolder() + "soak.txt"),
          library_(harness::Library::LoadFresh()),
          heap_(library_.module()),
          ledger_(report_),
          peers_(options.seed),
          traffic_(peers_, steady_, dying_),
          load_(library_, traffic_, dying_, ledger_, options.seed) {}

    int Run() {
        report_.Line("seed %llu, %lu seconds", static_cast<unsigned long long>(options_.seed), options_.seconds);
        const WPK_INITSTRUCT settings = harness::PermanentSettings(everybody_);
        if (library_.Init(&settings) != 1) harness::Die("WPK_Init failed");
        begin_ = GetTickCount64();
        {
            const harness::Thread watch([this] { Watch(); });
            knownThreads_ = harness::ThreadIds();
            if (!RunRounds()) GiveUp();
            over_.Set();
        }
        ledger_.Print(dying_.Ends());
        PrintTrend();
        return PrintVerdict();
    }

private:
    DWORD Elapsed() const { return static_cast<DWORD>(GetTickCount64() - begin_); }

    bool RunRounds() {
        if (!load_.RunRound(kWarmUpMs)) return false;
        // In its second life like in every later one.
        dying_.Kill();
        dying_.Start();
        ResourceUsage least = QuietLevel("after warm-up");
        const DWORD whole = std::max(options_.seconds * 1000, 2 * Elapsed());
        while (Elapsed() < whole) {
            const DWORD left = whole - Elapsed();
            // No round too short for anything to happen in it.
            if (!load_.RunRound(left < 2 * kRoundMs ? left : kRoundMs)) return false;
            const ResourceUsage now = QuietLevel("at rest");
            Compare(least, now);
            least = ResourceUsage::Least(least, now);
        }
        return true;
    }

    ResourceUsage QuietLevel(const char* when) {
        if (!peers_.WaitUntilIdle()) ledger_.NoteMismatch("a peer's connection does not end");
        if (!harness::WaitForOtherThreads(knownThreads_)) ledger_.NoteMismatch("a thread of the library does not end");
        const ResourceUsage usage = Measure();
        Print(usage, when);
        quiet_.emplace_back(Elapsed() / 60000.0, static_cast<double>(usage.UsedKb()));
        return usage;
    }

    /// One at a time: looking at the process takes a handle, which another look would count.
    ResourceUsage Measure() {
        return measuring_.Update([this] { return ResourceUsage::Now(heap_); });
    }

    /// Against the least ever seen at rest: what the warm-up's last moment held may have been on its way out.
    void Compare(const ResourceUsage& least, const ResourceUsage& now) {
        CompareOne("threads", least.threads, now.threads);
        CompareOne("handles", least.handles, now.handles);
        CompareOne("mapped regions", least.mapped, now.mapped);
        CompareOne("blocks of the library's", static_cast<size_t>(least.libraryBlocks),
                   static_cast<size_t>(now.libraryBlocks));
        CompareOne("temporary files", 0, now.files);
        if (now.UsedKb() > least.UsedKb() + kUsedRoomKb) CompareOne("KB in use", least.UsedKb(), now.UsedKb());
    }

    void CompareOne(const char* what, size_t least, size_t now) {
        if (now <= least) return;
        ledger_.NoteMismatch(std::string(what) + ": " + std::to_string(least) + " at rest before, " +
                             std::to_string(now) + " now");
    }

    void Print(const ResourceUsage& usage, const char* when) {
        report_.Line(
            "%6lu s %8llu requests %4llu in flight %4llu threads %5llu handles %3llu mapped %7llu KB, "
            "%7llu spare %6ld blocks %s",
            Elapsed() / 1000, static_cast<unsigned long long>(ledger_.Accepted()),
            static_cast<unsigned long long>(ledger_.InFlight()), static_cast<unsigned long long>(usage.threads),
            static_cast<unsigned long long>(usage.handles), static_cast<unsigned long long>(usage.mapped),
            static_cast<unsigned long long>(usage.privateKb), static_cast<unsigned long long>(usage.spareKb),
            usage.libraryBlocks, when);
    }

    void Watch() {
        const DWORD step = options_.seconds < 300 ? 5000 : 30000;
        while (!over_.Wait(step)) {
            const ResourceUsage usage = Measure();
            Print(usage, "");
            samples_.emplace_back(Elapsed() / 60000.0, static_cast<double>(usage.UsedKb()));
        }
    }

    void PrintTrend() {
        report_.Line("growth of memory in use, second half: %+.1f KB a minute under load, %+.1f KB a minute at rest",
                     Slope(SecondHalf(samples_)), Slope(SecondHalf(quiet_)));
    }

    static std::vector<Point> SecondHalf(const std::vector<Point>& points) {
        // Two points at least, for a line.
        const size_t count = std::min(points.size(), std::max<size_t>(2, (points.size() + 1) / 2));
        return std::vector<Point>(points.end() - static_cast<std::ptrdiff_t>(count), points.end());
    }

    int PrintVerdict() {
        if (!everybody_.All().empty()) ledger_.NoteMismatch("the default callback was called");
        for (ServerProcess* server : {&steady_, &dying_}) {
            if (server->OwnEnd().empty()) continue;
            // In any case, for it explains many others, and only so many of them are shown.
            report_.Line("%s", server->OwnEnd().c_str());
            ledger_.NoteMismatch(server->OwnEnd());
        }
        ledger_.JudgeRescues();
        if (ledger_.InFlight() != 0) ledger_.NoteMismatch("requests without an end");
        const auto mismatches = static_cast<unsigned long long>(ledger_.Mismatches());
        // As GoogleTest says it, so that it is counted with the other tests.
        if (mismatches == 0) {
            report_.Line("[  PASSED  ] 1 test.");
            return 0;
        }
        report_.Line("[  FAILED  ] 1 test: %llu mismatches, named above; the seed was %llu.", mismatches,
                     static_cast<unsigned long long>(options_.seed));
        return 1;
    }

    /// Requests are still using what would be taken down now.
    [[noreturn]] void GiveUp() {
        ledger_.Print(dying_.Ends());
        PrintVerdict();
        TerminateProcess(GetCurrentProcess(), 1);
        std::abort();
    }

    Options options_;
    Report report_;
    harness::Inbox& everybody_ = *new harness::Inbox;  // as long as the process: the library may call it any time
    harness::Library library_;
    harness::HeapCount heap_;
    Ledger ledger_;
    Peers peers_;
    ServerProcess steady_;
    ServerProcess dying_;
    Traffic traffic_;
    Load load_;
    ULONGLONG begin_ = 0;
    std::set<DWORD> knownThreads_;
    harness::Signal over_;
    harness::Monitor measuring_;
    std::vector<Point> samples_;  // minutes, KB in use
    std::vector<Point> quiet_;    // the same, without any request in flight
};

}  // namespace
}  // namespace wpk::soak

int main(int argc, char** argv) {
    const auto options = wpk::soak::ParseOptions(argc, argv);
    if (!options) {
        std::fprintf(stderr, "usage: soak --seconds NUMBER [--seed NUMBER]    (60 seconds at least)\n");
        return 2;
    }
    wpk::harness::EnterScratchFolder(/*clean=*/true);
    WSADATA sockets;
    if (WSAStartup(MAKEWORD(2, 2), &sockets) != 0) wpk::harness::Die("no sockets");
    return wpk::soak::Soak(*options).Run();
}
