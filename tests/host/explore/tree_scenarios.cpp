// Nodes of one parsed tree that are deleted by several threads.
// SPDX-License-Identifier: MIT
#include <wpk/xml.h>

#include <memory>
#include <string_view>
#include <vector>

#include "host/explore/scenarios.h"
#include "host/standin/scheduler.h"

namespace wpk::explore {

using host::AwaitThreads;
using host::StartThread;

namespace {}  // namespace

const Scenarios& TreeScenarios() {
    static const Scenarios& all = *new Scenarios{};
    return all;
}

}  // namespace wpk::explore
