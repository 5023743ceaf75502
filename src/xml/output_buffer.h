// Where the writer puts its bytes before they go to the application's string.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_OUTPUT_BUFFER_H
#define WPK_XML_OUTPUT_BUFFER_H

#include <cstddef>
#include <string>
#include <string_view>

#include "xml/block.h"

namespace AdvXMLParser {

/// Appends to a string through a buffer of its own, as a string checks, counts and terminates at every append. How far
/// the buffer is filled is known to its user alone, who keeps that place in a register and passes it on from piece to
/// piece. What is in the buffer reaches the string with Flush, which has to be called at the end: a destructor could
/// not report that memory has run out. Lives on the machine's stack, hence the size.
class OutputBuffer {
public:
    /// How many bytes may be written, and written beyond what counts, after one call of MakeRoom.
    static constexpr std::size_t kRoom = 512;

    explicit OutputBuffer(std::string& output) noexcept : output_(output) {}
    OutputBuffer(const OutputBuffer&) = delete;
    OutputBuffer& operator=(const OutputBuffer&) = delete;

    /// Where the first byte goes, with room after it.
    char* Begin() noexcept { return bytes_; }

    /// Everything up to `to` goes to the string. The result is where the next byte goes, with room after it.
    char* Flush(char* to);

    /// Sees to it that there is room. The result is where the next byte goes.
    WPK_XML_INLINE char* MakeRoom(char* to) { return to <= bytes_ + (kSize - kRoom) ? to : Flush(to); }

    /// Puts bytes, however many, and makes room after them.
    char* Put(char* to, std::string_view bytes);

private:
    static constexpr std::size_t kSize = 4096;

    std::string& output_;
    char bytes_[kSize];
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_OUTPUT_BUFFER_H
