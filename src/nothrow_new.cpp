// The allocation that reports its failure by a null pointer, without an exception on the way.
// SPDX-License-Identifier: MIT
//
// The run-time library's own forms call the throwing ones and catch what they throw. When memory has run out, the
// exception itself needs some, on a path that was never meant to be walked just then: the thread would not survive it.
// Only the library's own module is built with these; they pair with its operator delete, which frees.
#include <cstddef>
#include <cstdlib>
#include <new>

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size > 0 ? size : 1);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size > 0 ? size : 1);
}
