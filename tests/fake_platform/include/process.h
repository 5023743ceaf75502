// The C runtime's thread start, played by the fake platform for native builds.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_FAKE_PLATFORM_INCLUDE_PROCESS_H
#define WPK_TESTS_FAKE_PLATFORM_INCLUDE_PROCESS_H

#include <stdint.h>

uintptr_t _beginthreadex(void* security, unsigned stackSize, unsigned (*entry)(void*), void* argument, unsigned flags,
                         unsigned* id);
[[noreturn]] void _endthreadex(unsigned exitCode);

#endif  // WPK_TESTS_FAKE_PLATFORM_INCLUDE_PROCESS_H
