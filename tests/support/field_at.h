// An object as it lies in memory, for tests of the order of its fields and virtual slots.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_FIELD_AT_H
#define WPK_TESTS_SUPPORT_FIELD_AT_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace wpk::test {

template <class Field>
Field FieldAt(const void* object, size_t offset) {
    Field field;
    std::memcpy(&field, static_cast<const char*>(object) + offset, sizeof field);
    return field;
}

/// Calls a virtual operation by its slot, with up to three arguments that are 0. By the rules of the compilers that
/// build the tests: the object begins with a pointer to a table of plain functions whose first argument is the object,
/// and of the two slots of a destructor the first one leaves the memory alone.
inline uint32_t CallSlot(void* object, size_t slot) {
    using Function = uint32_t (*)(void*, uintptr_t, uintptr_t, uintptr_t);
    void* const* const table = FieldAt<void* const*>(object, 0);
    return reinterpret_cast<Function>(table[slot])(object, 0, 0, 0);
}

}  // namespace wpk::test

#endif  // WPK_TESTS_SUPPORT_FIELD_AT_H
