/// @file
/// What the client layer needs of a compiler; without it, one line that says so instead of hundreds of errors.
// SPDX-License-Identifier: MIT
#ifndef WPK_CLIENT_DETAIL_REQUIREMENTS_H
#define WPK_CLIENT_DETAIL_REQUIREMENTS_H

// An included file that does not exist ends the compilation, which an #error alone does not.
#if defined(_MSVC_LANG) ? _MSVC_LANG < 201703L : __cplusplus < 201703L
#error "wpk/client.h needs C++17: compile with -std=c++17 or later (Visual C++: /std:c++17); wpk.h works without"
#include "what is missing stands in the line above"
#endif

// The tests define WPK_PLATFORM_STAND_IN, where other functions take the place of the system's.
#if !defined(_WIN64) && !defined(WPK_PLATFORM_STAND_IN)
#error "wpk/client.h is for 64-bit Windows, as wpk.dll is"
#include "what is missing stands in the line above"
#endif

#include <cstddef>  // brings the macros of the standard library along

#if defined(__GLIBCXX__) && !defined(_GLIBCXX_HAS_GTHREADS)
#error "wpk/client.h needs a standard library with threads: use the POSIX threads variant of mingw-w64 (g++-posix)"
#include "what is missing stands in the line above"
#endif

#endif  // WPK_CLIENT_DETAIL_REQUIREMENTS_H
