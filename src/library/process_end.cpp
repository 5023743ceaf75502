// The end of the process, as the library sees it.
// SPDX-License-Identifier: MIT
#include "library/process_end.h"

#include "threadlib/platform.h"

namespace wpk::core {

namespace {

using ShutdownQuestion = BYTE WINAPI();

/// No header declares it and no import library of every tool chain has it; every Windows does. Null where it is
/// missing.
ShutdownQuestion* FindShutdownQuestion() {
    HMODULE ntdll = nullptr;
    if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, "ntdll.dll", &ntdll)) return nullptr;
    // Through a function type that compilers take for "any".
    return reinterpret_cast<ShutdownQuestion*>(
        reinterpret_cast<void (*)()>(GetProcAddress(ntdll, "RtlDllShutdownInProgress")));
}

/// Looked up when the library is loaded: at the end of the process it would be late for that.
ShutdownQuestion* const isShutdownInProgress = FindShutdownQuestion();

}  // namespace

bool IsProcessEnding() {
    return isShutdownInProgress && isShutdownInProgress() != 0;
}

}  // namespace wpk::core
