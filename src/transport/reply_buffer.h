// Where the body of a reply is received: in memory, or in a mapped file when it is large.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_REPLY_BUFFER_H
#define WPK_TRANSPORT_REPLY_BUFFER_H

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>
#include <string_view>

#include "transport/spool_file.h"

namespace wpk::core {

/// Memory for one reply, freed with this object. One thread at a time; nothing throws.
class ReplyBuffer {
public:
    /// The longest reply that stays in memory, in bytes.
    static constexpr uint32_t kMaximumInMemory = 10240;

    /// Allocates zero-filled memory for `length` bytes (not 0) and copies `begun`, the part of the reply that has
    /// already arrived, to its start. `directory` and the calling thread's id give the file name of a large reply.
    bool Allocate(uint32_t length, std::string_view begun, const char* directory, const Connection& connection) {
        if (length > kMaximumInMemory) {
            return file_.Create(directory, GetCurrentThreadId(), length, begun, connection);
        }
        memory_.reset(new (std::nothrow) uint8_t[length]());
        if (!memory_) return false;
        std::copy(begun.begin(), begun.end(), memory_.get());
        return true;
    }

    /// Null until memory is allocated.
    uint8_t* Data() const { return memory_ ? memory_.get() : file_.Data(); }

private:
    std::unique_ptr<uint8_t[]> memory_;
    SpoolFile file_;
};

}  // namespace wpk::core

#endif
