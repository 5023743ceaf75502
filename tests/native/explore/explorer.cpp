// Runs a scenario again and again, each time with its threads in another order.
// SPDX-License-Identifier: MIT
#include "native/explore/explorer.h"

#include <linux/membarrier.h>
#include <malloc.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <sstream>
#include <vector>

#include "fake_platform/control.h"
#include "fake_platform/src/scheduler.h"
#include "fake_platform/src/scripted_socket.h"
#include "native/explore/allocations.h"
#include "native/support/child_process.h"

namespace wpk::explore {

using host::Option;

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// For what would hang in spite of the scheduler.
constexpr unsigned kGraceSeconds = 60;

/// Runs before the first one that counts: some objects are made at their first use and stay.
constexpr int kWarmUps = 2;

/// The kernel frees the stacks of ended threads at a moment of its choice, which hardly comes while all processors are
/// busy: the threads of all schedules would take hundreds of megabytes a second, until memory runs out. This call waits
/// for that moment. It may be missing; then nothing else is lost.
void FreeStacksOfEndedThreads() {
    syscall(SYS_membarrier, MEMBARRIER_CMD_GLOBAL, 0, 0);
}

constexpr uint64_t kSchedulesBetweenFrees = 200;

}  // namespace

void Expect(bool condition, const char* what) {
    if (!condition) host::FailRun(what);
}

/// What parent and child share. The choices of the current run stand there, so that they survive a crash.
struct Exploration::SharedCounters {
    static constexpr size_t kMostChoices = 100000;

    uint64_t schedules;
    int exhausted;
    uint64_t exhaustedSchedules;
    double seconds;
    char failure[1024];
    size_t choices;
    uint8_t chosen[kMostChoices];

    void CountSchedule() {
        if (++schedules % kSchedulesBetweenFrees == 0) FreeStacksOfEndedThreads();
    }

    std::string Schedule() const {
        std::string text;
        for (size_t i = 0; i < choices; ++i) {
            if (chosen[i] == 0) continue;
            if (!text.empty()) text += ' ';
            text += std::to_string(i) + ':' + std::to_string(chosen[i]);
        }
        return text;
    }
};

/// Notes every choice in the counters.
class Exploration::Recorder : public host::Chooser {
public:
    explicit Recorder(SharedCounters& counters) : counters_(counters) {}

    void Begin() { counters_.choices = 0; }

    size_t Choose(const std::vector<Option>& options) final {
        if (counters_.choices == SharedCounters::kMostChoices) Fail("the run has too many choices");
        const size_t chosen = Decide(counters_.choices, options);
        counters_.chosen[counters_.choices++] = static_cast<uint8_t>(chosen);
        return chosen;
    }

    [[noreturn]] void Fail(const std::string& why) final {
        std::snprintf(counters_.failure, sizeof counters_.failure, "%s", why.c_str());
        std::fflush(stdout);
        std::_Exit(1);
    }

protected:
    virtual size_t Decide(size_t number, const std::vector<Option>& options) = 0;

private:
    SharedCounters& counters_;
};

/// Depth first: the last choice that has another option left takes it, and the rest of the run is as usual.
class Exploration::Systematically : public Recorder {
public:
    Systematically(SharedCounters& counters, int bound) : Recorder(counters), bound_(bound) {
        path_.reserve(SharedCounters::kMostChoices);
    }

    /// False when there is no schedule left within the bound.
    bool Next() {
        for (; !path_.empty(); path_.pop_back()) {
            Choice& last = path_.back();
            for (size_t option = last.chosen + 1; option < last.options; ++option) {
                if (last.spent + last.Costs(option) > bound_) continue;
                last.chosen = option;
                return true;
            }
        }
        return false;
    }

protected:
    size_t Decide(size_t number, const std::vector<Option>& options) override {
        if (number == path_.size()) Append(options);
        const Choice& choice = path_[number];
        if (choice.options != options.size()) Fail("the same choices have not led to the same run");
        return choice.chosen;
    }

private:
    struct Choice {
        size_t options;
        size_t chosen;
        /// Pre-emptions before this choice.
        int spent;
        uint64_t preempting;

        int Costs(size_t option) const { return static_cast<int>(preempting >> option & 1); }
    };

    void Append(const std::vector<Option>& options) {
        if (options.size() > 64) Fail("a choice has too many options");
        Choice choice{options.size(), 0, 0, 0};
        if (!path_.empty()) choice.spent = path_.back().spent + path_.back().Costs(path_.back().chosen);
        for (size_t i = 0; i < options.size(); ++i) choice.preempting |= uint64_t{options[i].preempts} << i;
        path_.push_back(choice);
    }

    const int bound_;
    std::vector<Choice> path_;
};

/// Who has the highest priority goes. At a few random moments, the one that is about to go becomes the last of all, or
/// time passes. Finds what needs few such moments with a probability that does not depend on the length of the run.
class Exploration::Randomly : public Recorder {
public:
    /// Nothing is allocated during a run, whose allocations are counted.
    Randomly(SharedCounters& counters, uint64_t seed) : Recorder(counters), random_(seed) {
        priorities_.reserve(kMostNumbers);
        changes_.reserve(kMostChanges);
    }

    void Next(size_t lengthOfLast) {
        priorities_.clear();
        changes_.clear();
        const size_t count = random_() % (kMostChanges + 1);
        for (size_t i = 0; i < count; ++i) changes_.push_back(random_() % (lengthOfLast + 1));
    }

protected:
    size_t Decide(size_t number, const std::vector<Option>& options) override {
        size_t best = Highest(options);
        if (std::find(changes_.begin(), changes_.end(), number) == changes_.end()) return best;
        if (options.back().kind == Option::Kind::kTimeOut && random_() % 4 == 0) return options.size() - 1;
        priorities_[options[best].number] = --lowest_;
        return Highest(options);
    }

private:
    static constexpr uint64_t kPriorities = 1 << 20;
    static constexpr size_t kMostNumbers = 4096;
    static constexpr size_t kMostChanges = 4;

    size_t Highest(const std::vector<Option>& options) {
        size_t best = 0;
        for (size_t i = 0; i < options.size(); ++i) {
            if (options[i].kind == Option::Kind::kTimeOut) break;
            if (Priority(options[i]) > Priority(options[best])) best = i;
        }
        return best;
    }
    int64_t Priority(const Option& option) {
        if (option.number >= kMostNumbers) Fail("the run has too many threads and events");
        while (priorities_.size() <= option.number) {
            priorities_.push_back(static_cast<int64_t>(random_() % kPriorities));
        }
        return priorities_[option.number];
    }

    std::mt19937_64 random_;
    std::vector<int64_t> priorities_;
    std::vector<size_t> changes_;
    int64_t lowest_ = 0;
};

class Exploration::Again : public Recorder {
public:
    Again(SharedCounters& counters, const std::string& schedule) : Recorder(counters) {
        std::istringstream text(schedule);
        size_t number = 0;
        size_t chosen = 0;
        for (char colon = 0; text >> number >> colon >> chosen;) chosen_[number] = chosen;
    }

protected:
    size_t Decide(size_t number, const std::vector<Option>& options) override {
        const auto found = chosen_.find(number);
        const size_t chosen = found == chosen_.end() ? 0 : found->second;
        if (chosen >= options.size()) Fail("the schedule is not one of this scenario");
        return chosen;
    }

private:
    std::map<size_t, size_t> chosen_;
};

namespace {

/// What a schedule must leave as it has found it.
struct State {
    host::Live live = host::CountLive();
    int64_t socketStarts = host::SocketStarts();
    int64_t allocations = CountAllocations();

    std::string Difference() const {
        const State now;
        std::ostringstream text;
        if (!(now.live == live)) text << "left open: " << now.live << " after " << live;
        if (now.socketStarts != socketStarts) {
            text << "starts of the sockets interface: " << now.socketStarts << " after " << socketStarts;
        }
        if (now.allocations != allocations) text << now.allocations - allocations << " allocations have not been freed";
        return text.str();
    }
};

/// The threads of a run hand each other their turns, which is fastest on one processor.
void StayOnOneProcessor(int number) {
    cpu_set_t allowed;
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) return;
    number %= CPU_COUNT(&allowed);
    for (int processor = 0; processor < CPU_SETSIZE; ++processor) {
        if (!CPU_ISSET(processor, &allowed) || number-- > 0) continue;
        CPU_ZERO(&allowed);
        CPU_SET(processor, &allowed);
        sched_setaffinity(0, sizeof allowed, &allowed);
        return;
    }
}

void RunBody(const Scenario& scenario) {
    const host::CodeScope library(host::Code::kLibrary);
    scenario.run();
}

void CleanUp() {
    host::SetSocketScript(nullptr);
    host::Reset();
}

}  // namespace

void Exploration::RunOnce(const Scenario& scenario, Recorder& chooser) {
    const State before;
    chooser.Begin();
    host::RunScheduled(chooser, [&] { RunBody(scenario); });
    for (const std::string& misuse : host::Misuses()) chooser.Fail("misuse: " + misuse);
    CleanUp();
    const std::string difference = before.Difference();
    if (!difference.empty()) chooser.Fail(difference);
}

void Exploration::WarmUp(const Scenario& scenario, SharedCounters& counters) {
    Again usual(counters, "");
    for (int i = 0; i < kWarmUps; ++i) {
        usual.Begin();
        host::RunScheduled(usual, [&] { RunBody(scenario); });
        CleanUp();
    }
}

Exploration Exploration::Start(const std::function<void(SharedCounters&)>& explore) {
    Exploration exploration;
    exploration.counters_ = static_cast<SharedCounters*>(host::SharedMemory(sizeof(SharedCounters)));
    exploration.counters_->exhausted = -1;
    std::fflush(stdout);
    static int started = 0;
    ++started;
    exploration.process_ = fork();
    if (exploration.process_ < 0) std::abort();
    if (exploration.process_ != 0) return exploration;

    StayOnOneProcessor(started);
    // The tables of each schedule are large, and would come from the system and go back there every time.
    mallopt(M_MMAP_THRESHOLD, 64 << 20);
    mallopt(M_TRIM_THRESHOLD, 256 << 20);
    const Clock::time_point start = Clock::now();
    explore(*exploration.counters_);
    exploration.counters_->seconds = SecondsSince(start);
    std::_Exit(0);
}

Findings Exploration::Await() {
    int status = 0;
    if (waitpid(process_, &status, 0) != process_) std::abort();
    Findings findings;
    findings.schedules = counters_->schedules;
    findings.exhausted = counters_->exhausted;
    findings.exhaustedSchedules = counters_->exhaustedSchedules;
    findings.seconds = counters_->seconds;
    if (status != 0) {
        findings.schedule = counters_->Schedule();
        findings.failure = counters_->failure;
        if (findings.failure.empty()) findings.failure = "the process has ended with status " + std::to_string(status);
    }
    munmap(counters_, sizeof(SharedCounters));
    return findings;
}

Exploration Exploration::Repeat(const Scenario& scenario, const std::string& schedule) {
    return Start([&](SharedCounters& counters) {
        alarm(kGraceSeconds);
        WarmUp(scenario, counters);
        Again chooser(counters, schedule);
        RunOnce(scenario, chooser);
        counters.CountSchedule();
    });
}

Exploration Exploration::Systematic(const Scenario& scenario, int mostPreemptions, double seconds) {
    return Start([&](SharedCounters& counters) {
        alarm(static_cast<unsigned>(seconds) + kGraceSeconds);
        const Clock::time_point start = Clock::now();
        WarmUp(scenario, counters);
        for (int bound = 0; bound <= mostPreemptions; ++bound) {
            Systematically chooser(counters, bound);
            const uint64_t before = counters.schedules;
            do {
                if (counters.schedules > 0 && SecondsSince(start) > seconds) return;
                RunOnce(scenario, chooser);
                counters.CountSchedule();
            } while (chooser.Next());
            counters.exhausted = bound;
            counters.exhaustedSchedules = counters.schedules - before;
        }
    });
}

Exploration Exploration::Random(const Scenario& scenario, uint64_t seed, double seconds) {
    return Start([&](SharedCounters& counters) {
        alarm(static_cast<unsigned>(seconds) + kGraceSeconds);
        const Clock::time_point start = Clock::now();
        WarmUp(scenario, counters);
        Randomly chooser(counters, seed);
        do {
            chooser.Next(counters.choices);
            RunOnce(scenario, chooser);
            counters.CountSchedule();
        } while (SecondsSince(start) <= seconds);
    });
}

}  // namespace wpk::explore
