// The library's start-up.
// SPDX-License-Identifier: MIT
#ifndef WPK_LIBRARY_START_UP_H
#define WPK_LIBRARY_START_UP_H

#include "env/global_object.h"
#include "wpk/wpk.h"

namespace wpk::core {

/// Initialises the library unless it is: 1; 0 on failure, with everything undone; always 0 where a lock of the library
/// could not be made when it was loaded. Excludes all calls of the interface meanwhile. From any thread, which is not
/// left registered.
int Initialise(GlobalObject& global, const WPK_INITSTRUCT& record);

}  // namespace wpk::core

#endif
