// The process's one instance of the library's state.
// SPDX-License-Identifier: MIT
#include "library/instance.h"

namespace wpk {

GlobalObject theGlobalObject;

}  // namespace wpk
