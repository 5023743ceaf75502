// The explorer finds faults of the kind that it is there for, and repeats what it has found.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdio>

#include "native/explore/explorer.h"
#include "native/explore/planted_faults.h"

namespace wpk::explore {
namespace {

/// Ample: each is found, or all schedules are run, within one or two on a quiet machine.
constexpr double kSeconds = 60;

TEST(Explorer, FindsEachPlantedFaultSystematically) {
    for (const Scenario& scenario : PlantedFaults()) {
        const Findings found = Exploration::Systematic(scenario, /*most_preemptions=*/2, kSeconds).Await();
        EXPECT_NE(found.failure, "") << scenario.name;
        std::printf("%s: found by schedule %llu, %s\n", scenario.name,
                    static_cast<unsigned long long>(found.schedules) + 1, found.failure.c_str());
    }
}

TEST(Explorer, FindsEachPlantedFaultAtRandom) {
    for (const Scenario& scenario : PlantedFaults()) {
        const Findings found = Exploration::Random(scenario, /*seed=*/1, kSeconds).Await();
        EXPECT_NE(found.failure, "") << scenario.name;
    }
}

TEST(Explorer, FindsNothingWhereTheFaultsAreMended) {
    for (const Scenario& scenario : MendedFaults()) {
        const Findings found = Exploration::Systematic(scenario, /*most_preemptions=*/2, kSeconds).Await();
        EXPECT_EQ(found.failure, "") << scenario.name << ": " << found.schedule;
        EXPECT_EQ(found.exhausted, 2) << scenario.name;
    }
}

TEST(Explorer, RepeatsAScheduleFromItsText) {
    for (const Scenario& scenario : PlantedFaults()) {
        const Findings found = Exploration::Systematic(scenario, /*most_preemptions=*/2, kSeconds).Await();
        const Findings again = Exploration::Repeat(scenario, found.schedule).Await();
        EXPECT_EQ(again.failure, found.failure) << scenario.name;
        EXPECT_EQ(again.schedule, found.schedule) << scenario.name;
    }
}

}  // namespace
}  // namespace wpk::explore
