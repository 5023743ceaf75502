// Runs a scenario again and again, each time with its threads in another order.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_NATIVE_EXPLORE_EXPLORER_H
#define WPK_TESTS_NATIVE_EXPLORE_EXPLORER_H

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>

namespace wpk::explore {

/// What a schedule runs: a few threads and what must hold whatever their order. It leaves the process as it was.
struct Scenario {
    const char* name;
    void (*run)();
};

/// Ends the schedule, and the exploration, unless the condition holds.
void Expect(bool condition, const char* what);

struct Findings {
    /// Empty when every schedule went well.
    std::string failure;
    /// The schedule that failed, as text: "41:1 60:2" has the second option taken at decision 41, the third one at 60,
    /// and the usual one everywhere else.
    std::string schedule;
    uint64_t schedules = 0;
    /// All schedules with at most so many pre-emptions have been run; -1: not even those without.
    int exhausted = -1;
    /// How many those are.
    uint64_t exhaustedSchedules = 0;
    double seconds = 0;
};

/// An exploration in a process of its own.
class Exploration {
public:
    /// All schedules without pre-emptions, then all with one, and so on up to `mostPreemptions`, as time allows.
    static Exploration Systematic(const Scenario& scenario, int mostPreemptions, double seconds);
    /// Random priorities, which change at a few random moments; until the time is over.
    static Exploration Random(const Scenario& scenario, uint64_t seed, double seconds);
    /// One schedule again.
    static Exploration Repeat(const Scenario& scenario, const std::string& schedule);

    Findings Await();

private:
    struct SharedCounters;
    class Recorder;
    class Systematically;
    class Randomly;
    class Again;

    static Exploration Start(const std::function<void(SharedCounters&)>& explore);
    static void WarmUp(const Scenario& scenario, SharedCounters& counters);
    static void RunOnce(const Scenario& scenario, Recorder& chooser);

    pid_t process_ = 0;
    SharedCounters* counters_ = nullptr;
};

}  // namespace wpk::explore

#endif  // WPK_TESTS_NATIVE_EXPLORE_EXPLORER_H
