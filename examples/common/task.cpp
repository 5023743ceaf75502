// Task: work to be done on a separate thread.
// SPDX-License-Identifier: MIT
#include "task.h"

#include <process.h>
#include <windows.h>

namespace common {
namespace {

unsigned __stdcall RunTask(void* argument) {
    const std::unique_ptr<Task> task(static_cast<Task*>(argument));
    task->Run();
    return 0;
}

}  // namespace

bool StartTask(std::unique_ptr<Task> task) {
    // The system's thread, not std::thread: with mingw-w64's library, one that is detached while it is ending can have
    // its record given to two others.
    const auto thread = _beginthreadex(nullptr, 0, RunTask, task.get(), 0, nullptr);
    if (thread == 0) return false;
    // The thread's now, which may have deleted it already.
    static_cast<void>(task.release());
    CloseHandle(reinterpret_cast<HANDLE>(thread));
    return true;
}

}  // namespace common
