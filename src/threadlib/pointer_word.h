// Pointers that travel as integers.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_POINTER_WORD_H
#define WPK_THREADLIB_POINTER_WORD_H

#include <cstdint>

namespace wpk::core {

/// The pointer that such an integer stands for: the arguments of a post, the data of a message, the fields of a record
/// and some of the platform's handles are integers on the way and pointers at both ends.
template <class T>
T* PointerFrom(uint64_t word) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): it was a pointer before
    return reinterpret_cast<T*>(static_cast<uintptr_t>(word));
}

/// The integer as which a pointer travels.
inline uint64_t WordOf(const void* pointer) {
    return reinterpret_cast<uintptr_t>(pointer);
}

}  // namespace wpk::core

#endif
