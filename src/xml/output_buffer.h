// Where the writer puts its bytes before they go to the application's string.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_OUTPUT_BUFFER_H
#define WPK_XML_OUTPUT_BUFFER_H

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include <wpk/xml/byte_string.h>

namespace AdvXMLParser {

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

    void Put(char c) {
        if (top_ == bytes_ + kSize) Flush();
        *top_++ = c;
    }

    void Put(std::string_view bytes) {
        if (bytes.size() > Room()) return PutLong(bytes);
        std::memcpy(top_, bytes.data(), bytes.size());
        top_ += bytes.size();
    }

    void Put(const ByteString& bytes) {
        const std::size_t size = bytes.size();
        if (size > kBlock || Room() < kBlock) return Put(std::string_view(bytes));
        // A block can always be read: see ByteString.
        std::memcpy(top_, bytes.data(), kBlock);
        top_ += size;
    }

    /// At least `size` bytes to write to directly, a few dozen at most. Advance says how many were used.
    char* Reserve(std::size_t size) {
        if (Room() < size) Flush();
        return top_;
    }
    void Advance(char* newTop) noexcept { top_ = newTop; }

private:
    static constexpr std::size_t kSize = 4096;
    static constexpr std::size_t kBlock = sizeof(ByteString);

    std::size_t Room() const noexcept { return static_cast<std::size_t>(bytes_ + kSize - top_); }

    void PutLong(std::string_view bytes) {
        Flush();
        if (bytes.size() > kSize) {
            output_.append(bytes);
            return;
        }
        Put(bytes);
    }

    std::string& output_;
    char* top_;
    char bytes_[kSize];
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_OUTPUT_BUFFER_H
