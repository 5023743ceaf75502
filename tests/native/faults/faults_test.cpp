// Whole scenarios with every call made to fail, one use after the other, once and for good.
// SPDX-License-Identifier: MIT
//
// The calls are those of the platform and the library's own allocations. Each scenario first runs undisturbed, to count
// the uses of every call. Then it runs once for every use, in a process of its own, with that use failing. Whatever
// happens to the requests then: each one with a handle ends with exactly one final notification, nothing stays open, no
// handle is misused, and afterwards the library works.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "fake_platform/control.h"
#include "native/faults/effects.h"
#include "native/faults/scenarios.h"
#include "native/faults/tally.h"
#include "native/support/child_process.h"

namespace wpk::host {
namespace {

constexpr size_t kMostCalls = 100;
constexpr size_t kMostCases = 10000;

/// What the processes of one scenario tell each other.
struct Board {
    std::array<uint64_t, kMostCalls> uses;
    Live live;
    std::array<bool, kMostCases> fired;
};

Board& TheBoard() {
    static Board& board = *static_cast<Board*>(SharedMemory(sizeof(Board)));
    return board;
}

/// One use of one call that fails.
struct Case {
    std::string_view call;
    uint64_t nth;
    Times times;
    size_t number;
};

std::string Describe(const Case& which) {
    return std::string(which.call) + " failing at use " + std::to_string(which.nth) +
           (which.times == Times::kOnce ? " once" : " for good");
}

void Prepare(const Scenario& scenario, ScenarioFixture& fixture) {
    SpeedUp(kSpeed, kSelectSpeed);
    scenario.prepare(fixture);
    if (scenario.broken) FailCall(scenario.broken, 1);
}

/// What is broken already fails anyhow; and a thread that can neither run nor be terminated, nobody can get rid of.
bool CanFail(std::string_view call, const Scenario& scenario) {
    return !scenario.broken || (call != scenario.broken && call != "TerminateThread");
}

void RunUndisturbed(const Scenario& scenario) {
    auto& fixture = Lasting<ScenarioFixture>();
    Prepare(scenario, fixture);
    const std::vector<std::string_view> calls = FallibleCalls();
    std::array<uint64_t, kMostCalls> before{};
    for (size_t i = 0; i < calls.size(); ++i) before[i] = Uses(calls[i]);
    scenario.act(fixture);
    for (size_t i = 0; i < calls.size(); ++i) {
        const uint64_t used = CanFail(calls[i], scenario) ? Uses(calls[i]) - before[i] : 0;
        TheBoard().uses[i] = std::min(TheBoard().uses[i], used);
    }
    ClearFaults();
    EXPECT_EQ(fixture.AwaitEnds(ScenarioFixture::Rescue::kNone), scenario.ends);
    fixture.ExpectSound();
    TheBoard().live = CountLive();
}

void ExpectEnds(const Scenario& scenario, const std::vector<int>& ends, std::string_view brokenCall) {
    EXPECT_TRUE(
        std::equal(ends.begin(), ends.end(), scenario.ends.begin(), scenario.ends.end(),
                   [&](int end, int expected) { return end == expected || MayEndAs(end, brokenCall, expected); }))
        << testing::PrintToString(ends);
}

void RunWithFault(const Scenario& scenario, const Case& which) {
    SCOPED_TRACE(Describe(which));
    auto& fixture = Lasting<ScenarioFixture>();
    Prepare(scenario, fixture);
    FailCall(which.call, which.nth, which.times);
    scenario.act(fixture);
    const uint64_t fired = FaultsFired(which.call);
    ClearFaults();
    EXPECT_TRUE(fired <= 1 || which.times == Times::kForGood) << fired;
    TheBoard().fired[which.number] = fired > 0;
    const std::vector<int> ends = fixture.AwaitEnds(ScenarioFixture::Rescue::kCancel);
    if (fired > 0) {
        ExpectEnds(scenario, ends, which.call);
    } else {
        EXPECT_EQ(ends, scenario.ends);
    }
    fixture.ExpectSound();
    if (scenario.mayLackParts) {
        EXPECT_TRUE(CountLive().IsWithin(TheBoard().live)) << CountLive() << "\nnot within\n" << TheBoard().live;
    } else {
        EXPECT_EQ(CountLive(), TheBoard().live);
    }
}

/// How often a call is used varies a little with the timing. Only uses that came in each of several runs are made to
/// fail, and one that does not come then is waited for in further runs.
constexpr int kUndisturbedRuns = 3;
constexpr int kRunsUntilFired = 5;

/// A reply that arrives in fewer pieces than before, or a connect that does not have to wait any more, may keep a few
/// from coming at all; never the first use of a call.
constexpr size_t MostMissed(size_t cases) {
    return cases / 20;
}

/// The processes mostly wait.
constexpr size_t kAtOnce = 6;

/// Runs cases of a scenario, each until its fault has come.
class Campaign {
public:
    explicit Campaign(const Scenario& scenario) : scenario_(scenario) {}

    void Run(const Case& which, int runs = kRunsUntilFired) {
        const auto judge = [this, which, runs](bool passed) {
            EXPECT_TRUE(passed) << Describe(which);
            if (!passed || TheBoard().fired[which.number]) return;
            if (runs > 1) {
                Run(which, runs - 1);
                return;
            }
            std::printf("%s never came\n", Describe(which).c_str());
            EXPECT_NE(which.nth, 1u) << "a call that may be used a single time must not be missed";
            ++missed_;
        };
        children_.Start([this, which] { RunWithFault(scenario_, which); }, judge);
    }

    /// How many faults never came.
    size_t AwaitMissed() {
        children_.AwaitAll();
        return missed_;
    }

private:
    const Scenario& scenario_;
    size_t missed_ = 0;
    Children children_{kAtOnce};
};

/// Faults that last lead to the same places, only more often: no news for ThreadSanitizer, which is slow.
#if defined(__SANITIZE_THREAD__)
constexpr Times kTimes[] = {Times::kOnce};
#else
constexpr Times kTimes[] = {Times::kOnce, Times::kForGood};
#endif

std::vector<Case> CasesOf(const std::array<uint64_t, kMostCalls>& uses) {
    std::vector<Case> cases;
    const std::vector<std::string_view> calls = FallibleCalls();
    for (size_t i = 0; i < calls.size(); ++i) {
        for (uint64_t nth = 1; nth <= uses[i]; ++nth) {
            for (const Times times : kTimes) cases.push_back({calls[i], nth, times, cases.size()});
        }
    }
    return cases;
}

class Faults : public testing::TestWithParam<Scenario> {};

TEST_P(Faults, LeaveNothingOpenAndTheLibraryWorking) {
    const Scenario& scenario = GetParam();
    TheBoard().uses.fill(UINT64_MAX);
    TheBoard().fired.fill(false);
    for (int run = 0; run < kUndisturbedRuns; ++run) {
        ASSERT_TRUE(RunInChild([&] { RunUndisturbed(scenario); }));
    }
    const std::vector<Case> cases = CasesOf(TheBoard().uses);
    ASSERT_GT(cases.size(), 0u);
    ASSERT_LE(cases.size(), kMostCases);
    Campaign campaign(scenario);
    for (const Case& which : cases) campaign.Run(which);
    const size_t missed = campaign.AwaitMissed();
    EXPECT_LE(missed, MostMissed(cases.size()));
    CountInjected(scenario.name, cases.size() - missed);
}

std::vector<Scenario> AllScenarios() {
    std::vector<Scenario> all = StartScenarios();
    for (const auto& more : {RequestScenarios(), CancelScenarios()}) all.insert(all.end(), more.begin(), more.end());
    return all;
}

INSTANTIATE_TEST_SUITE_P(Of, Faults, testing::ValuesIn(AllScenarios()),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace wpk::host
