// The pretended machine, for the control interface.
// SPDX-License-Identifier: MIT
#ifndef WPK_HOST_STANDIN_SYSTEM_H
#define WPK_HOST_STANDIN_SYSTEM_H

#include <cstdint>

namespace wpk::host {

void ResetMachine();
int64_t LiveModules();
void ResetHosts();
int64_t LiveSockets();

}  // namespace wpk::host

#endif  // WPK_HOST_STANDIN_SYSTEM_H
