// Lets a native compiler read wpk/client.h, whose system functions platform_bridge.cpp stands in for. Include it first.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_NATIVE_SUPPORT_NATIVE_PLATFORM_H
#define WPK_TESTS_NATIVE_SUPPORT_NATIVE_PLATFORM_H

#define WPK_PLATFORM_STAND_IN
// What a native compiler does not know.
#define __declspec(attribute)
#define __stdcall

#endif  // WPK_TESTS_NATIVE_SUPPORT_NATIVE_PLATFORM_H
