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
    SmallStack() noexcept : begin_(near_), end_(near_), limit_(near_ + N) {}
    SmallStack(const SmallStack&) = delete;
    SmallStack& operator=(const SmallStack&) = delete;

    bool empty() const noexcept { return end_ == begin_; }
    std::size_t size() const noexcept { return static_cast<std::size_t>(end_ - begin_); }
    T* data() noexcept { return begin_; }
    T& back() noexcept { return end_[-1]; }
    void pop_back() noexcept { --end_; }
    /// Drops everything above the first `size` entries.
    void Shrink(std::size_t size) noexcept { end_ = begin_ + size; }

    void push_back(const T& entry) { Extend() = entry; }
    /// A new entry on top, to be filled in field by field: a record that is put together elsewhere and copied from
    /// there would have to wait until its fields have reached the memory.
    T& Extend() {
        if (end_ == limit_) Grow();
        return *end_++;
    }

private:
    void Grow() {
        const std::size_t count = size();
        std::unique_ptr<T[]> grown(new T[count * 2]);
        std::copy(begin_, end_, grown.get());
        far_ = std::move(grown);
        begin_ = far_.get();
        end_ = begin_ + count;
        limit_ = end_ + count;
    }

    T near_[N];
    std::unique_ptr<T[]> far_;
    T* begin_;
    T* end_;
    T* limit_;
};

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_SMALL_STACK_H
