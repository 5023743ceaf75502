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

/// Room for one reply, given back with this object. One thread at a time; nothing throws.
class ReplyBuffer {
public:
    /// The longest reply that stays in memory, in bytes.
    static constexpr uint32_t kMaximumInMemory = 10240;

    /// Makes zero-filled room for `length` bytes, not 0, and puts `begun` at its start, what of the reply is there
    /// already. `directory` names the file of a large reply, together with the calling thread's id.
    bool Allocate(uint32_t length, std::string_view begun, const char* directory, const Connection& connection) {
        if (length > kMaximumInMemory) {
            return file_.Create(directory, GetCurrentThreadId(), length, begun, connection);
        }
        memory_.reset(new (std::nothrow) uint8_t[length]());
        if (!memory_) return false;
        std::copy(begun.begin(), begun.end(), memory_.get());
        return true;
    }

    /// Null as long as nothing is allocated.
    uint8_t* Data() const { return memory_ ? memory_.get() : file_.Data(); }

private:
    std::unique_ptr<uint8_t[]> memory_;
    SpoolFile file_;
};

}  // namespace wpk::core

#endif
