// The pretended machine, for the control interface.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_FAKE_PLATFORM_SRC_SYSTEM_H
#define WPK_TESTS_FAKE_PLATFORM_SRC_SYSTEM_H

#include <cstdint>
#include <string>
#include <string_view>

namespace wpk::host {

void ResetMachine();
void ResetRegistry();
int64_t LiveModules();
void ResetHosts();
int64_t LiveSockets();

std::string Lower(std::string_view text);

}  // namespace wpk::host

#endif  // WPK_TESTS_FAKE_PLATFORM_SRC_SYSTEM_H
