// The explicit stacks with which trees are walked.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_SMALL_STACK_H
#define WPK_XML_SMALL_STACK_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

namespace AdvXMLParser::detail {

/// A stack of plain records whose first entries cost no allocation. It lives on the machine's stack itself, so N is
/// kept small: threads with 64 KiB of stack are to be served.
template <class T, std::size_t N>
class SmallStack {
    static_assert(std::is_trivially_copyable<T>::value, "entries are moved as bytes");

public:
    SmallStack() noexcept : entries_(near_), capacity_(N) {}
    SmallStack(const SmallStack&) = delete;
    SmallStack& operator=(const SmallStack&) = delete;

    bool empty() const noexcept { return size_ == 0; }
    std::size_t size() const noexcept { return size_; }
    T* data() noexcept { return entries_; }
    T& back() noexcept { return entries_[size_ - 1]; }
    void pop_back() noexcept { --size_; }
    /// Drops everything above the first `size` entries.
    void Shrink(std::size_t size) noexcept { size_ = size; }

    void push_back(const T& entry) { Extend() = entry; }
    /// A new entry on top, to be filled in field by field: a record that is put together elsewhere and copied from
    /// there would have to wait until its fields have reached the memory.
    T& Extend() {
        if (size_ == capacity_) Grow();
        return entries_[size_++];
    }

private:
    /// Whoever needs more than the first entries usually needs many more.
    static constexpr std::size_t kGrowth = 4;

    void Grow() {
        std::unique_ptr<T[]> grown(new T[capacity_ * kGrowth]);
        std::copy(entries_, entries_ + size_, grown.get());
        far_ = std::move(grown);
        entries_ = far_.get();
        capacity_ *= kGrowth;
    }

    T near_[N];
    std::unique_ptr<T[]> far_;
    T* entries_;
    std::size_t size_ = 0;
    std::size_t capacity_;
};

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_SMALL_STACK_H
