// The process's one instance of the library's state.
// SPDX-License-Identifier: MIT
#ifndef WPK_LIBRARY_INSTANCE_H
#define WPK_LIBRARY_INSTANCE_H

#include "env/global_object.h"

namespace wpk::core {

/// Built when the library is loaded; destroyed when it is unloaded without having been initialised, and never else.
extern GlobalObject& theGlobalObject;

}  // namespace wpk::core

#endif
