// Runs a piece of work with as little stack as the library promises to need.
// SPDX-License-Identifier: MIT
#include "support/small_stack.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <pthread.h>
#endif

namespace wpk::test {
namespace {

constexpr size_t kStackSize = size_t{64} * 1024;

#ifdef _WIN32

DWORD WINAPI Run(void* work) {
    (*static_cast<const std::function<void()>*>(work))();
    return 0;
}

#else

void* Run(void* work) {
    (*static_cast<const std::function<void()>*>(work))();
    return nullptr;
}

#endif

}  // namespace

#ifdef _WIN32

bool RunOnSmallStack(const std::function<void()>& work) {
    const HANDLE thread = CreateThread(nullptr, kStackSize, Run, const_cast<std::function<void()>*>(&work),
                                       STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    if (!thread) return false;
    const bool hasEnded = WaitForSingleObject(thread, INFINITE) == WAIT_OBJECT_0;
    CloseHandle(thread);
    return hasEnded;
}

#else

bool RunOnSmallStack(const std::function<void()>& work) {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return false;
    pthread_t thread;
    const bool isRunning = pthread_attr_setstacksize(&attributes, kStackSize) == 0 &&
                           pthread_create(&thread, &attributes, Run, const_cast<std::function<void()>*>(&work)) == 0;
    pthread_attr_destroy(&attributes);
    return isRunning && pthread_join(thread, nullptr) == 0;
}

#endif

}  // namespace wpk::test
