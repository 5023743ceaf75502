// Faults of the kind that the explorer is there to find: small copies of parts of the library with one thing wrong.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_NATIVE_EXPLORE_PLANTED_FAULTS_H
#define WPK_TESTS_NATIVE_EXPLORE_PLANTED_FAULTS_H

#include <vector>

#include "native/explore/explorer.h"

namespace wpk::explore {

/// Each with its fault in place.
const std::vector<Scenario>& PlantedFaults();

/// The same without.
const std::vector<Scenario>& MendedFaults();

}  // namespace wpk::explore

#endif  // WPK_TESTS_NATIVE_EXPLORE_PLANTED_FAULTS_H
