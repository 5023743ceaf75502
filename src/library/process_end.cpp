// The end of the process, as the library sees it.
// SPDX-License-Identifier: MIT
#include "library/process_end.h"

#include "threadlib/platform.h"

namespace wpk::core {

namespace {

using ShutdownQuestion = BYTE WINAPI();

/// Every Windows has it, but no header declares it and not every toolchain's import library contains it. Null if it is
/// missing.
ShutdownQuestion* FindShutdownQuestion() {
    HMODULE ntdll = nullptr;
    if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, "ntdll.dll", &ntdll)) return nullptr;
    // Through void(), which compilers accept as an intermediate type.
    return reinterpret_cast<ShutdownQuestion*>(
        reinterpret_cast<void (*)()>(GetProcAddress(ntdll, "RtlDllShutdownInProgress")));
}

/// Looked up when the library is loaded: at the end of the process it would be too late.
ShutdownQuestion* const isShutdownInProgress = FindShutdownQuestion();

}  // namespace

bool IsProcessEnding() {
    return isShutdownInProgress && isShutdownInProgress() != 0;
}

}  // namespace wpk::core
