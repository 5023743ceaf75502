// Byte strings that outgrow their 16 bytes.
// SPDX-License-Identifier: MIT
#include <wpk/xml/byte_string.h>

#include <algorithm>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

#include "xml/node_access.h"

namespace AdvXMLParser {

using namespace detail;

namespace {

/// Bytes on the heap are preceded by how many there is room for, not counting the closing zero.
using Room = std::size_t;
constexpr std::size_t kLongest = std::numeric_limits<std::uint32_t>::max() - 1;

char* AllocateHeap(std::size_t room) {
    if (room > kLongest) throw std::length_error("ByteString");
    char* const block = static_cast<char*>(::operator new(sizeof(Room) + room + 1));
    std::memcpy(block, &room, sizeof(Room));
    return block + sizeof(Room);
}

std::size_t RoomOf(const char* data) noexcept {
    Room room = 0;
    std::memcpy(&room, data - sizeof(Room), sizeof(Room));
    return room;
}

void Copy(char* to, std::string_view from) noexcept {
    if (!from.empty()) std::memcpy(to, from.data(), from.size());
}

}  // namespace

void ByteString::SetFar(char* data, std::size_t size, std::uint8_t tag) noexcept {
    far_ = Far{data, static_cast<std::uint32_t>(size), {}, tag};
}

void ByteString::Construct(std::string_view bytes) {
    if (bytes.size() <= kNearSize) {
        Copy(near_, bytes);
        SetNear(bytes.size());
        return;
    }
    char* const data = AllocateHeap(bytes.size());
    Copy(data, bytes);
    data[bytes.size()] = '\0';
    SetFar(data, bytes.size(), kHeap);
}

// Not noexcept, as borrowed bytes have to be copied.
ByteString::ByteString(ByteString&& other)  // NOLINT(performance-noexcept-move-constructor)
    : ByteString() {
    *this = std::move(other);
}

ByteString& ByteString::operator=(ByteString&& other) {  // NOLINT(performance-noexcept-move-constructor)
    if (this == &other) return *this;
    if (!other.IsHeap()) {
        *this = other.View();
        other.clear();
        return *this;
    }
    clear();
    Swap(other);
    return *this;
}

ByteString& ByteString::operator=(std::string_view bytes) {
    // Through a copy, as the bytes may be part of this very string.
    ByteString copy(bytes);
    NoteChange();
    Swap(copy);
    return *this;
}

ByteString& ByteString::append(std::string_view bytes) {
    NoteChange();
    const std::size_t oldSize = size();
    const std::size_t newSize = oldSize + bytes.size();
    const std::size_t room = IsHeap() ? RoomOf(far_.data) : IsNear() ? kNearSize : 0;
    if (newSize <= room) {
        char* const end = (IsNear() ? near_ : far_.data) + oldSize;
        if (!bytes.empty()) std::memmove(end, bytes.data(), bytes.size());
        if (IsNear()) {
            SetNear(newSize);
        } else {
            far_.data[newSize] = '\0';
            far_.size = static_cast<std::uint32_t>(newSize);
        }
        return *this;
    }
    if (bytes.size() > kLongest - oldSize) throw std::length_error("ByteString");
    char* const data = AllocateHeap(std::min(std::max(newSize, 2 * oldSize), kLongest));
    Copy(data, View());
    Copy(data + oldSize, bytes);
    data[newSize] = '\0';
    if (IsHeap()) FreeHeap();
    SetFar(data, newSize, kHeap);
    return *this;
}

void ByteString::clear() noexcept {
    NoteChange();
    if (IsHeap()) FreeHeap();
    SetNear(0);
}

void ByteString::Swap(ByteString& other) noexcept {
    char bytes[sizeof(ByteString)];
    std::memcpy(bytes, near_, sizeof(bytes));
    std::memcpy(near_, other.near_, sizeof(bytes));
    std::memcpy(other.near_, bytes, sizeof(bytes));
}

void ByteString::ReportChange() noexcept {
    NodeAccess::ArenaOf(NodeAccess::NodeOf(*this)).NoteChange();
    near_[kNearSize] = static_cast<char>(Tag() & ~(kParsedName | kParsedValue));
}

void ByteString::FreeHeap() noexcept {
    ::operator delete(far_.data - sizeof(Room));
}

}  // namespace AdvXMLParser
