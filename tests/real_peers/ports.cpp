// Where the real servers and proxies listen that run.sh has started.
// SPDX-License-Identifier: MIT
#include "real_peers/ports.h"

#include "support/dll/process.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

namespace wpk::harness {

unsigned short PortOf(const std::string& name) {
    std::string variable = "WPK_TEST_" + name + "_PORT";
    std::transform(variable.begin(), variable.end(), variable.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    const char* value = std::getenv(variable.c_str());
    if (!value) Die("run.sh must set " + variable);
    return static_cast<unsigned short>(std::atoi(value));
}

}  // namespace wpk::harness
