// The platform's headers, in the one order in which they work together.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_PLATFORM_H
#define WPK_THREADLIB_PLATFORM_H

// Without it, min and max would be macros.
#ifndef NOMINMAX
#define NOMINMAX
#endif

// Version 1.1 of the sockets interface. Its header must come before windows.h, which would include a part of it.
#include <winsock.h>

#include <windows.h>

#include <process.h>

#endif
