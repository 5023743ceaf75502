// What the explorer runs on the library's own sources.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_NATIVE_EXPLORE_SCENARIOS_H
#define WPK_TESTS_NATIVE_EXPLORE_SCENARIOS_H

#include <vector>

#include "native/explore/explorer.h"

namespace wpk::explore {

using Scenarios = std::vector<Scenario>;

const Scenarios& ThreadScenarios();
const Scenarios& LockScenarios();
const Scenarios& StartScenarios();
const Scenarios& RequestScenarios();
const Scenarios& NetworkScenarios();
const Scenarios& ClientScenarios();
const Scenarios& TreeScenarios();

Scenarios AllScenarios();

}  // namespace wpk::explore

#endif  // WPK_TESTS_NATIVE_EXPLORE_SCENARIOS_H
