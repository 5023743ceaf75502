// Where the real servers and proxies listen that run.sh has started.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_REAL_PEERS_PORTS_H
#define WPK_TESTS_REAL_PEERS_PORTS_H

#include <string>

namespace wpk::harness {

/// The port of a name in run.sh.
unsigned short PortOf(const std::string& name);

}  // namespace wpk::harness

#endif  // WPK_TESTS_REAL_PEERS_PORTS_H
