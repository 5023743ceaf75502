// What the library goes through while calls of the platform fail.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_NATIVE_FAULTS_SCENARIOS_H
#define WPK_TESTS_NATIVE_FAULTS_SCENARIOS_H

#include <ostream>
#include <vector>

#include "native/faults/scenario_fixture.h"

namespace wpk::host {

/// So that the thirty seconds of a connect that never succeeds do not take that long.
constexpr uint32_t kSpeed = 50;
/// So that a request waits for its reply in the same number of steps on every machine.
constexpr uint32_t kSelectSpeed = 1;

struct Scenario {
    const char* name;
    /// Before the fault is armed.
    void (*prepare)(ScenarioFixture&);
    void (*act)(ScenarioFixture&);
    /// How its requests end when nothing fails, in the order of their making.
    std::vector<int> ends;
    /// Whether a fault may leave a part of the library out for good.
    bool mayLackParts = false;
    /// A call that fails once in any case, beside the one that is made to fail; null for none.
    const char* broken = nullptr;
};

inline void PrintTo(const Scenario& scenario, std::ostream* out) {
    *out << scenario.name;
}

std::vector<Scenario> StartScenarios();
std::vector<Scenario> RequestScenarios();
std::vector<Scenario> CancelScenarios();

/// Initialises with a permanent network.
void Initialise(ScenarioFixture& fixture);

}  // namespace wpk::host

#endif  // WPK_TESTS_NATIVE_FAULTS_SCENARIOS_H
