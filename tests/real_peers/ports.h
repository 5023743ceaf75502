// Where the real servers and proxies listen that run.sh has started.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_REAL_PEERS_PORTS_H
#define WPK_TESTS_REAL_PEERS_PORTS_H

#include <string>

namespace wpk::rig {

/// The port of a name in run.sh.
unsigned short PortOf(const std::string& name);

}  // namespace wpk::rig

#endif  // WPK_TESTS_REAL_PEERS_PORTS_H
