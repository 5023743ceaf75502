// Allocation that reports failure by a null pointer, without using an exception.
// SPDX-License-Identifier: MIT
//
// The run-time library's forms call the throwing ones and catch the exception. When memory has run out, the exception
// itself needs memory, and the process may end. Only the library's own module is built with these; they match its
// operator delete, which calls free.
#include <cstddef>
#include <cstdlib>
#include <new>

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size > 0 ? size : 1);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size > 0 ? size : 1);
}
