/// @file
/// The lists of child nodes and attributes: 16 bytes, a single entry in place.
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

/// The memory of lists with more than one entry. ForgetFirst gives the entries after the first;
/// ReportListChange tells the memory of a parsed document that one of its lists may be about to change.
///@{
void* AllocateEntries(std::size_t count);
void* ForgetFirst(void* entries) noexcept;
void FreeEntries(void* entries) noexcept;
void ReportListChange(const void* list, bool isOfAttributes) noexcept;
///@}

}  // namespace detail

/// An ordered, growable array of pointers to nodes. The list itself owns no node: the container whose `children` or
/// `attributes` it is does, and deletes what the list holds when it dies. Whoever takes an entry out by `erase`,
/// `pop_back` or `clear` owns that node from then on; whoever puts one in gives it away.
///
/// Most entries: 1,073,741,823; std::length_error above, std::bad_alloc when memory runs out, and the list is then as
/// it was. Threads: const calls together, otherwise one thread at a time. Reading a list of a parsed document through
/// const references also keeps the document cheap to delete.
template <class T>
class NodeList {
public:
    /// As in the standard containers. Iterators are pointers; every change of the list makes them invalid.
    ///@{
    using value_type = T*;
    using iterator = T**;
    using const_iterator = T* const*;
    ///@}

    /// An empty list.
    NodeList() noexcept : one_(nullptr) {}
    /// The same entries: both lists then hold the same nodes, which only one container may go on to own.
    NodeList(const NodeList& other) : NodeList() { CopyFrom(other); }
    /// Takes the entries and leaves the other list empty. May allocate, as entries that live in the memory of a parsed
    /// document are copied out of it.
    NodeList(NodeList&& other)  // NOLINT(performance-noexcept-move-constructor): see above
        : NodeList() {
        MoveFrom(other);
    }
    ~NodeList() { Free(); }

    /// As construction; the entries that were there are forgotten, not deleted.
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

    /// How many entries there are, and whether there are none.
    ///@{
    std::size_t size() const noexcept { return size_; }
    bool empty() const noexcept { return size_ == 0; }
    ///@}

    /// The entries in order.
    ///@{
    iterator begin() noexcept {
        NoteChange();
        return Entries();
    }
    iterator end() noexcept { return begin() + size_; }
    const_iterator begin() const noexcept { return IsInPlace() ? &one_ : many_; }
    const_iterator end() const noexcept { return begin() + size_; }
    ///@}

    /// The entry of that index, which must be less than size().
    ///@{
    T*& operator[](std::size_t index) noexcept { return begin()[index]; }
    T* operator[](std::size_t index) const noexcept { return begin()[index]; }
    ///@}
    /// As [], but throws std::out_of_range when there is no such entry.
    T* at(std::size_t index) const {
        if (index >= size_) throw std::out_of_range("NodeList::at");
        return begin()[index];
    }
    /// The first and the last entry of a list that has any.
    ///@{
    T* front() const noexcept { return *begin(); }
    T* back() const noexcept { return begin()[size_ - 1]; }
    ///@}

    /// Adds an entry at the end.
    void push_back(T* node) {
        NoteChange();
        if (size_ == Capacity()) Reallocate(NextCapacity());
        Entries()[size_++] = node;
    }
    /// Takes the last entry out; the list must have one.
    void pop_back() noexcept {
        NoteChange();
        --size_;
    }
    /// Adds an entry before `position`; returns where it is now.
    iterator insert(const_iterator position, T* node) {
        const std::ptrdiff_t index = position - Entries();
        push_back(node);
        std::rotate(begin() + index, end() - 1, end());
        return begin() + index;
    }
    /// Takes out the entry at `position`, which must be one; returns where the next one is now. Costs a move of all
    /// that stands after it, but from either end nothing: a list may be emptied one by one.
    iterator erase(const_iterator position) noexcept {
        NoteChange();
        if (position == begin() && size_ > 1) return EraseFirst();
        T** const hole = begin() + (position - begin());
        std::copy(hole + 1, end(), hole);
        --size_;
        return hole;
    }
    /// Makes room for that many entries in all, so that adding them cannot fail.
    void reserve(std::size_t count) {
        NoteChange();
        if (count > Capacity()) Reallocate(count);
    }
    /// Empties the list and gives its memory back. Deletes no node.
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
        std::copy(begin(), end(), entries);
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

    void Swap(NodeList& other) noexcept {
        NoteChange();
        other.NoteChange();
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
