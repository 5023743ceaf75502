// Looks for texts in memory that is being freed.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_NATIVE_EXCHANGE_FREED_MEMORY_H
#define WPK_TESTS_NATIVE_EXCHANGE_FREED_MEMORY_H

#include <initializer_list>
#include <string_view>

namespace wpk::host {

/// While it lives, counts the blocks that the calling thread frees with one of the texts in them. One at a time.
class FreedMemory {
public:
    explicit FreedMemory(std::initializer_list<std::string_view> texts);
    FreedMemory(const FreedMemory&) = delete;
    FreedMemory& operator=(const FreedMemory&) = delete;
    ~FreedMemory();

    int Finds() const;
};

}  // namespace wpk::host

#endif  // WPK_TESTS_NATIVE_EXCHANGE_FREED_MEMORY_H
