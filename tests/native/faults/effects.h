// How a request may end when a call of the platform fails.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_NATIVE_FAULTS_EFFECTS_H
#define WPK_TESTS_NATIVE_FAULTS_EFFECTS_H

#include <string_view>

namespace wpk::host {

/// Whether a failure of the call explains that a request ends in another way than `undisturbed`.
bool MayEndAs(int end, std::string_view brokenCall, int undisturbed);

}  // namespace wpk::host

#endif  // WPK_TESTS_NATIVE_FAULTS_EFFECTS_H
