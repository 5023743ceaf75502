// Where GCC's run-time library notes which exceptions a thread has caught.
// SPDX-License-Identifier: MIT
//
// The run-time library itself notes it in emulated thread-local storage. That is allocated at a thread's first
// exception and brings the process down when it cannot be: a callback that throws when memory has run out would do
// that. Here it is in the thread-local storage of the module, which the system provides with the thread.
#include <cstddef>

#if defined(__GLIBCXX__) && defined(__MINGW32__)

#include <cxxabi.h>

#include "threadlib/platform.h"

// Of the compiler's start-up code: where the storage begins that each thread gets a copy of, and the module's number
// among those that have some.
// NOLINTNEXTLINE(bugprone-reserved-identifier): its names
extern "C" char* _tls_start;
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" ULONG _tls_index;

namespace {

/// As the C++ ABI lays it out: the exceptions that are caught and still in use, and how many have been thrown and not
/// caught yet.
struct Exceptions {
    void* caught;
    unsigned int uncaught;
};

/// Each thread's own begins as a copy of this one.
__attribute__((section(".tls$exceptions"))) Exceptions original = {nullptr, 0};

abi::__cxa_eh_globals* OfThisThread() noexcept {
    // A thread's environment, which gs points to, says here where its copies are, module by module. The compiler has no
    // words for that.
    char* const* copies = nullptr;
    __asm__("movq %%gs:0x58, %0" : "=r"(copies));
    const std::ptrdiff_t offset = reinterpret_cast<char*>(&original) - reinterpret_cast<char*>(&_tls_start);
    return reinterpret_cast<abi::__cxa_eh_globals*>(copies[_tls_index] + offset);
}

}  // namespace

namespace __cxxabiv1 {

// In place of the run-time library's, which are not linked then.
extern "C" __cxa_eh_globals* __cxa_get_globals() noexcept {
    return OfThisThread();
}
extern "C" __cxa_eh_globals* __cxa_get_globals_fast() noexcept {
    return OfThisThread();
}

}  // namespace __cxxabiv1

#endif
