// A module that calls back when the process is taken down, as the destructor of a static object in a DLL would run.
// SPDX-License-Identifier: MIT
#include <windows.h>

namespace {
void (*callAtTheEnd)() = nullptr;
}

extern "C" __declspec(dllexport) void LateCaller_Set(void (*call)()) {
    callAtTheEnd = call;
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_DETACH && callAtTheEnd) callAtTheEnd();
    return TRUE;
}
