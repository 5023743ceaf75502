// Where GCC's run-time library records which exceptions a thread has caught.
// SPDX-License-Identifier: MIT
//
// The run-time library itself records them in emulated thread-local storage, which is allocated at a thread's first
// exception. If that allocation fails the process ends: a callback that throws when memory has run out would cause
// that. Here they are in the thread-local storage of the module, which the system allocates with the thread.
#include <cstddef>

#if defined(__GLIBCXX__) && defined(__MINGW32__)

#include <cxxabi.h>

#include "threadlib/platform.h"

// From the compiler's start-up code: the start of the storage that each thread gets a copy of, and the module's index
// among the modules with such storage.
// NOLINTNEXTLINE(bugprone-reserved-identifier): its names
extern "C" char* _tls_start;
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" ULONG _tls_index;

namespace {

/// As defined by the C++ ABI: the exceptions that are caught and still in use, and the number of exceptions thrown but
/// not caught yet.
struct Exceptions {
    void* caught;
    unsigned int uncaught;
};

/// Each thread's object begins as a copy of this one.
__attribute__((section(".tls$exceptions"))) Exceptions original = {nullptr, 0};

abi::__cxa_eh_globals* OfThisThread() noexcept {
    // The thread's environment block, which gs points to, contains here the addresses of its copies, one per module.
    // The compiler has no construct for that.
    char* const* copies = nullptr;
    __asm__("movq %%gs:0x58, %0" : "=r"(copies));
    const std::ptrdiff_t offset = reinterpret_cast<char*>(&original) - reinterpret_cast<char*>(&_tls_start);
    return reinterpret_cast<abi::__cxa_eh_globals*>(copies[_tls_index] + offset);
}

}  // namespace

namespace __cxxabiv1 {

// These replace the run-time library's functions, which are then not linked.
extern "C" __cxa_eh_globals* __cxa_get_globals() noexcept {
    return OfThisThread();
}
extern "C" __cxa_eh_globals* __cxa_get_globals_fast() noexcept {
    return OfThisThread();
}

}  // namespace __cxxabiv1

#endif
