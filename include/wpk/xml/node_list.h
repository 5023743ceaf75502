/// @file
/// The lists of child nodes and attributes: an object of 16 bytes that holds a single entry in place.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_NODE_LIST_H
#define WPK_XML_NODE_LIST_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace AdvXMLParser {

class Attribute;

namespace detail {

struct NodeAccess;
class Teardown;

/// The memory of lists with more than one entry. ForgetFirst returns the entries after the first; ReportListChange
/// tells the memory of a parsed document that one of its lists may change.
///@{
void* AllocateEntries(std::size_t count);
void* ForgetFirst(void* entries) noexcept;
void FreeEntries(void* entries) noexcept;
void ReportListChange(const void* list, bool isOfAttributes) noexcept;
///@}

}  // namespace detail

/// An ordered, growable array of pointers to nodes, with the names of std::vector.
///
///     for (const Attribute* attribute : element.attributes) Use(attribute->name, attribute->GetText());
///     delete *list.begin();                // a node that is taken out is yours
///     list.erase(list.begin());
///
/// Ownership: the list owns no node. The container whose `children` or `attributes` it is owns the nodes and deletes
/// them in its destructor. A node that you remove with `erase`, `pop_back` or `clear` is yours from then on; a node
/// that you add belongs to the container.
///
/// Errors: a list has at most 1,073,741,823 entries; std::length_error above that, std::bad_alloc if memory runs out;
/// the list is then unchanged. Indexes and positions are not checked, except by `at`.
///
/// Threads: const calls on any number of threads at once, other calls one thread at a time. Reading a list of a parsed
/// document through const references also keeps the document cheap to delete.
template <class T>
class NodeList {
public:
    /// As in the standard containers. Iterators are pointers; every change of the list invalidates them.
    ///@{
    using value_type = T*;
    using iterator = T**;
    using const_iterator = T* const*;
    ///@}

    /// An empty list.
    NodeList() noexcept : one_(nullptr) {}
    /// The same entries. Both lists then hold the same nodes, but only one container may own them.
    NodeList(const NodeList& other) : NodeList() { CopyFrom(other); }
    /// Takes the entries and leaves the other list empty. May allocate and throw, because entries in the memory of a
    /// parsed document are copied out of it.
    NodeList(NodeList&& other)  // NOLINT(performance-noexcept-move-constructor): see above
        : NodeList() {
        MoveFrom(other);
    }
    ~NodeList() { Free(); }

    /// As construction. The previous entries are dropped without deleting their nodes.
    ///@{
    NodeList& operator=(const NodeList& other) {
        if (this == &other) return *this;
        NodeList copy(other);
        Swap(copy);
        return *this;
    }
    NodeList& operator=(NodeList&& other) {  // NOLINT(performance-noexcept-move-constructor): as above
        if (this == &other) return *this;
        NodeList taken;
        taken.MoveFrom(other);
        Swap(taken);
        return *this;
    }
    ///@}

    /// The number of entries; whether there are none.
    ///@{
    std::size_t size() const noexcept { return size_; }
    bool empty() const noexcept { return size_ == 0; }
    ///@}

    /// The entries in order. The non-const forms count as a change of the tree.
    ///@{
    iterator begin() noexcept {
        NoteChange();
        return Entries();
    }
    iterator end() noexcept { return begin() + size_; }
    const_iterator begin() const noexcept { return IsInPlace() ? &one_ : many_; }
    const_iterator end() const noexcept { return begin() + size_; }
    ///@}

    /// The entry at that index, which must be less than size(). The non-const form counts as a change of the tree.
    ///@{
    T*& operator[](std::size_t index) noexcept { return begin()[index]; }
    T* operator[](std::size_t index) const noexcept { return begin()[index]; }
    ///@}
    /// Like [], but throws std::out_of_range if there is no such entry.
    T* at(std::size_t index) const {
        if (index >= size_) throw std::out_of_range("NodeList::at");
        return begin()[index];
    }
    /// The first and the last entry. The list must not be empty.
    ///@{
    T* front() const noexcept { return *begin(); }
    T* back() const noexcept { return begin()[size_ - 1]; }
    ///@}

    /// Adds an entry at the end, in amortised constant time. Unlike NodeContainer::AppendChild it accepts any pointer
    /// and does not touch `pendingText`.
    void push_back(T* node) {
        NoteChange();
        if (size_ == Capacity()) Reallocate(NextCapacity());
        Entries()[size_++] = node;
    }
    /// Removes the last entry without deleting the node. The list must not be empty.
    void pop_back() noexcept {
        NoteChange();
        --size_;
    }
    /// Adds an entry before `position` and returns its position. The entries after it are moved.
    iterator insert(const_iterator position, T* node) {
        const std::ptrdiff_t index = position - Entries();
        push_back(node);
        std::rotate(begin() + index, end() - 1, end());
        return begin() + index;
    }
    /// Removes the entry at `position`, which must not be end(), without deleting the node; returns the position of the
    /// next one. The entries after it are moved, except when the first one is removed: a list may be emptied one by one
    /// from either end.
    iterator erase(const_iterator position) noexcept {
        NoteChange();
        T** const first = Entries();
        if (position == first && size_ > 1) return EraseFirst();
        T** const hole = first + (position - first);
        std::copy(hole + 1, first + size_, hole);
        --size_;
        return hole;
    }
    /// Makes room for `count` entries in total, so that adding up to that number cannot fail.
    void reserve(std::size_t count) {
        NoteChange();
        if (count > Capacity()) Reallocate(count);
    }
    /// Empties the list and frees its memory. Deletes no node.
    void clear() noexcept {
        NoteChange();
        Free();
        one_ = nullptr;
        size_ = 0;
        capacity_ = 0;
    }

private:
    friend struct detail::NodeAccess;
    friend class detail::Teardown;

    /// Enough for what 2 GiB of text can hold.
    static constexpr std::uint32_t kMostEntries = 0x3FFFFFFFU;
    /// Capacity 0 means one entry in place. Two bits go with it: one for an array in the memory of a parsed document,
    /// one for a list of a parsed node that nobody can have changed yet.
    static constexpr std::uint32_t kBorrowed = 0x80000000U;
    static constexpr std::uint32_t kParsed = 0x40000000U;

    bool IsInPlace() const noexcept { return (capacity_ & kMostEntries) == 0; }
    bool IsHeap() const noexcept { return !IsInPlace() && (capacity_ & kBorrowed) == 0; }
    std::size_t Capacity() const noexcept { return IsInPlace() ? 1 : capacity_ & kMostEntries; }
    T** Entries() noexcept { return IsInPlace() ? &one_ : many_; }

    /// To be called before each change, and before anybody gets the means to make one.
    void NoteChange() noexcept {
        if ((capacity_ & kParsed) == 0) return;
        detail::ReportListChange(this, std::is_same<T, Attribute>::value);
        capacity_ &= ~kParsed;
    }
    std::size_t NextCapacity() const {
        if (size_ == kMostEntries) throw std::length_error("NodeList");
        return std::min<std::size_t>(std::max<std::size_t>(4, std::size_t{size_} * 2), kMostEntries);
    }

    /// Moves the beginning and not the entries. There must be more than one, so that there is an array.
    iterator EraseFirst() noexcept {
        many_ = IsHeap() ? static_cast<T**>(detail::ForgetFirst(many_)) : many_ + 1;
        --size_;
        --capacity_;
        return many_;
    }

    void Reallocate(std::size_t capacity) {
        if (capacity > kMostEntries) throw std::length_error("NodeList");
        T** const entries = static_cast<T**>(detail::AllocateEntries(capacity));
        std::copy_n(Entries(), size_, entries);
        Free();
        many_ = entries;
        capacity_ = static_cast<std::uint32_t>(capacity);
    }

    void CopyFrom(const NodeList& other) {
        reserve(other.size());
        std::copy(other.begin(), other.end(), begin());
        size_ = other.size_;
    }

    void MoveFrom(NodeList& other) {
        if (other.IsHeap()) {
            Swap(other);
            return;
        }
        CopyFrom(other);
        other.clear();
    }

    /// The other list is a temporary one, or on the heap: as the parser made it, only this one can be.
    void Swap(NodeList& other) noexcept {
        NoteChange();
        std::swap(many_, other.many_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
    }

    void Free() noexcept {
        if (IsHeap()) detail::FreeEntries(many_);
    }

    union {
        T* one_;
        T** many_;
    };
    std::uint32_t size_ = 0;
    std::uint32_t capacity_ = 0;
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_NODE_LIST_H
