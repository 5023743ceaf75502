// Where the body of a reply is received: in memory, or in a mapped file when it is large.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_REPLY_BUFFER_H
#define WPK_TRANSPORT_REPLY_BUFFER_H

#include <cstdint>
#include <memory>
#include <new>

#include "transport/spool_file.h"

namespace wpk {

/// Room for one reply, given back with this object. One thread at a time; nothing throws.
class ReplyBuffer {
public:
    /// The longest reply that stays in memory, in bytes.
    static constexpr uint32_t kMaximumInMemory = 10240;

    static constexpr bool IsLarge(uint32_t length) { return length > kMaximumInMemory; }

    /// Makes zero-filled room for `length` bytes, not 0. `directory` and `threadId` name the file of a large reply.
    bool Allocate(uint32_t length, const char* directory, uint32_t threadId) {
        if (IsLarge(length)) return file_.Create(directory, threadId, length);
        memory_.reset(new (std::nothrow) uint8_t[length]());
        return memory_ != nullptr;
    }

    /// Null as long as nothing is allocated.
    uint8_t* Data() const { return memory_ ? memory_.get() : file_.Data(); }

private:
    std::unique_ptr<uint8_t[]> memory_;
    SpoolFile file_;
};

}  // namespace wpk

#endif
