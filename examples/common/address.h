// Addresses that a server may listen on.
// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace common {

/// Whether others than this machine's own programs reach the IPv4 address.
inline bool IsOpenToOthers(const std::string& address) {
    return address.compare(0, 4, "127.") != 0;
}

}  // namespace common
