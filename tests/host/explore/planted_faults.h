// Faults of the kind that the explorer is there to find: small copies of parts of the library with one thing wrong.
// SPDX-License-Identifier: MIT
#ifndef WPK_HOST_EXPLORE_PLANTED_FAULTS_H
#define WPK_HOST_EXPLORE_PLANTED_FAULTS_H

#include <vector>

#include "host/explore/explorer.h"

namespace wpk::explore {

/// Each with its fault in place.
const std::vector<Scenario>& PlantedFaults();

/// The same without.
const std::vector<Scenario>& MendedFaults();

}  // namespace wpk::explore

#endif  // WPK_HOST_EXPLORE_PLANTED_FAULTS_H
