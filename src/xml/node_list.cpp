// The memory of lists with more than one entry.
// SPDX-License-Identifier: MIT
#include <wpk/xml/node_list.h>

#include <new>

#include "xml/node_access.h"

namespace AdvXMLParser::detail {
namespace {

/// The entries are preceded by their distance from the beginning of their memory. It moves with them when the
/// first is forgotten, into that one's place.
using Distance = std::size_t;

void SetDistance(char* entries, Distance distance) noexcept {
    ::new (entries - sizeof(Distance)) Distance(distance);
}

Distance DistanceOf(const char* entries) noexcept {
    return *reinterpret_cast<const Distance*>(entries - sizeof(Distance));
}

}  // namespace

static_assert(sizeof(Distance) == sizeof(void*), "a distance takes the place of an entry");

void* AllocateEntries(std::size_t count) {
    char* const entries =
        static_cast<char*>(::operator new(sizeof(Distance) + count * sizeof(void*))) + sizeof(Distance);
    SetDistance(entries, sizeof(Distance));
    return entries;
}

void* ForgetFirst(void* entries) noexcept {
    char* const first = static_cast<char*>(entries);
    const Distance distance = DistanceOf(first);
    SetDistance(first + sizeof(void*), distance + sizeof(void*));
    return first + sizeof(void*);
}

void FreeEntries(void* entries) noexcept {
    char* const first = static_cast<char*>(entries);
    ::operator delete(first - DistanceOf(first));
}

void ReportListChange(const void* list, bool isOfAttributes) noexcept {
    NodeAccess::ArenaOf(NodeAccess::NodeOf(list, isOfAttributes)).NoteChange();
}

}  // namespace AdvXMLParser::detail
