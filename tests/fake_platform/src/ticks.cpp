// The tick counts. In a file of their own, so that a program with another clock can bring its own.
// SPDX-License-Identifier: MIT
#include "fake_platform/src/call.h"
#include "windows.h"

using wpk::host::Call;
using wpk::host::CallScope;

DWORD GetTickCount() {
    const CallScope call(Call::kGetTickCount);
    return static_cast<DWORD>(wpk::host::Ticks());
}

ULONGLONG GetTickCount64() {
    const CallScope call(Call::kGetTickCount64);
    return wpk::host::Ticks();
}
