// The header a second time, behind <windows.h> with all its macros.
// SPDX-License-Identifier: MIT
#include <windows.h>
#include <wpk/client.h>

namespace wpk::client_test {

const std::error_category& CategoryThere();
Request EmptyRequestThere();

const std::error_category& CategoryThere() {
    return ErrorCategory();
}

Request EmptyRequestThere() {
    return {};
}

}  // namespace wpk::client_test
