// Where the writer puts its bytes before they go to the application's string.
// SPDX-License-Identifier: MIT
#include "xml/output_buffer.h"

#include <cstring>

namespace AdvXMLParser {

char* OutputBuffer::Flush(char* to) {
    output_.append(bytes_, static_cast<std::size_t>(to - bytes_));
    return bytes_;
}

char* OutputBuffer::Put(char* to, std::string_view bytes) {
    if (bytes.size() > kRoom) {
        to = Flush(to);
        output_.append(bytes);
        return to;
    }
    to = MakeRoom(to);
    if (!bytes.empty()) std::memcpy(to, bytes.data(), bytes.size());
    return MakeRoom(to + bytes.size());
}

}  // namespace AdvXMLParser
