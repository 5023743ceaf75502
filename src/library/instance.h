// The process's one instance of the library's state.
// SPDX-License-Identifier: MIT
#ifndef WPK_LIBRARY_INSTANCE_H
#define WPK_LIBRARY_INSTANCE_H

#include "env/global_object.h"

namespace wpk::core {

/// Constructed when the library is loaded; destroyed only if it is unloaded without having been initialised.
extern GlobalObject& theGlobalObject;

}  // namespace wpk::core

#endif
