// The memory of lists with more than one entry.
// SPDX-License-Identifier: MIT
#include <wpk/xml/node_list.h>

#include <new>

namespace AdvXMLParser {

void* AllocateEntries(std::size_t size) {
    return ::operator new(size);
}

void FreeEntries(void* entries) noexcept {
    ::operator delete(entries);
}

}  // namespace AdvXMLParser
