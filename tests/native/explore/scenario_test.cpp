// Every order of the threads of every scenario that fits into the time.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <sstream>
#include <string>

#include "native/explore/explorer.h"
#include "native/explore/scenarios.h"
#include "support/sanitized.h"

namespace wpk::explore {

/// How the framework shows it.
static void PrintTo(const Scenario& scenario, std::ostream* out) {
    *out << scenario.name;
}

namespace {

/// For both ways of one scenario, which go side by side. All of them together are to take about a minute.
constexpr double kSeconds = support::kIsSanitized ? 0.75 : 1.5;
constexpr int kMostPreemptions = 3;

class Explored : public testing::TestWithParam<Scenario> {};

void ExpectNothing(const Scenario& scenario, const char* way, const Findings& found) {
    EXPECT_EQ(found.failure, "") << scenario.name << ", " << way << ", schedule \"" << found.schedule << "\"";
    EXPECT_GT(found.schedules, 0u) << scenario.name;
}

void PrintCounts(const Scenario& scenario, const Findings& all, const Findings& some) {
    std::ostringstream text;
    text << scenario.name << ": ";
    if (all.exhausted >= 0) {
        text << "all " << all.exhaustedSchedules << " schedules with at most " << all.exhausted << " pre-emptions; ";
    }
    text << all.schedules << " systematically, " << some.schedules << " at random";
    std::puts(text.str().c_str());
}

TEST_P(Explored, EndsAsItMust) {
    const Scenario& scenario = GetParam();
    Exploration systematic = Exploration::Systematic(scenario, kMostPreemptions, kSeconds);
    Exploration random = Exploration::Random(scenario, /*seed=*/1, kSeconds);
    const Findings all = systematic.Await();
    const Findings some = random.Await();
    PrintCounts(scenario, all, some);
    ExpectNothing(scenario, "systematically", all);
    ExpectNothing(scenario, "at random", some);
}

std::string NameOf(const testing::TestParamInfo<Scenario>& info) {
    std::string name;
    bool begins = true;
    for (const char* next = info.param.name; *next; ++next) {
        const bool isLetter = std::isalnum(static_cast<unsigned char>(*next)) != 0;
        if (isLetter) name += begins ? static_cast<char>(std::toupper(*next)) : *next;
        begins = !isLetter;
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(All, Explored, testing::ValuesIn(AllScenarios()), NameOf);

}  // namespace
}  // namespace wpk::explore
