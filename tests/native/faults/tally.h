// Counts the failures that the tests of this program inject.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_NATIVE_FAULTS_TALLY_H
#define WPK_TESTS_NATIVE_FAULTS_TALLY_H

#include <cstddef>
#include <string>

namespace wpk::host {

/// Prints the number and adds it to the sum, which is printed at the end of the program.
void CountInjected(const std::string& where, size_t failures);

}  // namespace wpk::host

#endif  // WPK_TESTS_NATIVE_FAULTS_TALLY_H
