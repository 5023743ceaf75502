// Where the writer puts its bytes before they go to the application's string.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_OUTPUT_BUFFER_H
#define WPK_XML_OUTPUT_BUFFER_H

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include <wpk/xml/byte_string.h>

namespace AdvXMLParser::detail {

/// Appends to a string through a buffer of its own, as a string checks, counts and terminates at every append. What is
/// in the buffer reaches the string with Flush, which has to be called at the end: a destructor could not report that
/// memory has run out. Lives on the machine's stack, hence the size.
class OutputBuffer {
public:
    explicit OutputBuffer(std::string& output) noexcept : output_(output), top_(bytes_) {}
    OutputBuffer(const OutputBuffer&) = delete;
    OutputBuffer& operator=(const OutputBuffer&) = delete;

    void Flush() {
        output_.append(bytes_, static_cast<std::size_t>(top_ - bytes_));
        top_ = bytes_;
    }

    /// At least `size` bytes to write to directly, kMostReserved at most. Advance says up to where they were used.
    char* Reserve(std::size_t size) {
        if (Room() < size) Flush();
        return top_;
    }
    void Advance(char* newTop) noexcept { top_ = newTop; }
    static constexpr std::size_t kMostReserved = 1024;

    void Put(char c) {
        char* const to = Reserve(1);
        *to = c;
        top_ = to + 1;
    }

    void Put(std::string_view bytes) {
        if (bytes.size() > kMostReserved) return PutLong(bytes);
        char* const to = Reserve(bytes.size());
        std::memcpy(to, bytes.data(), bytes.size());
        top_ = to + bytes.size();
    }

    void Put(const ByteString& bytes) {
        if (bytes.size() > kBlock) return Put(std::string_view(bytes));
        top_ = CopyShort(Reserve(kBlock), bytes);
    }

    /// A string between a few characters, the way tags and references are made.
    template <std::size_t N, std::size_t M>
    void Put(const char (&before)[N], const ByteString& bytes, const char (&after)[M]) {
        if (bytes.size() > kBlock) {
            Put(std::string_view(before, N - 1));
            Put(std::string_view(bytes));
            return Put(std::string_view(after, M - 1));
        }
        char* to = Reserve(N + kBlock + M);
        std::memcpy(to, before, N - 1);
        to = CopyShort(to + N - 1, bytes);
        std::memcpy(to, after, M - 1);
        top_ = to + M - 1;
    }

private:
    static constexpr std::size_t kBlock = sizeof(ByteString);

    /// Moves a block whatever the size is: so many bytes can be read from every ByteString.
    static char* CopyShort(char* to, const ByteString& bytes) noexcept {
        std::memcpy(to, bytes.data(), kBlock);
        return to + bytes.size();
    }

    static constexpr std::size_t kSize = 4096;

    std::size_t Room() const noexcept { return static_cast<std::size_t>(bytes_ + kSize - top_); }

    void PutLong(std::string_view bytes) {
        Flush();
        output_.append(bytes);
    }

    std::string& output_;
    char* top_;
    char bytes_[kSize];
};

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_OUTPUT_BUFFER_H
