// What the explorer runs on the library's own sources.
// SPDX-License-Identifier: MIT
#include "native/explore/scenarios.h"

namespace wpk::explore {

Scenarios AllScenarios() {
    Scenarios all;
    for (const Scenarios* some : {&ThreadScenarios(), &LockScenarios(), &StartScenarios(), &RequestScenarios(),
                                  &NetworkScenarios(), &ClientScenarios(), &TreeScenarios()}) {
        all.insert(all.end(), some->begin(), some->end());
    }
    return all;
}

}  // namespace wpk::explore
