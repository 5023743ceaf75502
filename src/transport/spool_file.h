// The temporary file that a large reply is received into.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_SPOOL_FILE_H
#define WPK_TRANSPORT_SPOOL_FILE_H

#include <cstdint>
#include <string_view>

#include "threadlib/handle.h"
#include "transport/connection.h"

namespace wpk::core {

/// A new file, mapped into memory over its whole length. It is deleted with this object; the system also deletes it if
/// the process ends before that. One thread at a time; nothing throws.
class SpoolFile {
public:
    /// Makes a file of `length` bytes (not 0) for the thread `threadId`. Its name is "%stmp%ld" of the directory, which
    /// ends in a separator or is empty for the current directory, and the id; if that cannot be created, the same with
    /// "_1", "_2", ... to "_1000" after it. It begins with `begun`. False when no file can be made, sized, written or
    /// mapped, or when `connection` is given up meanwhile; nothing is left then.
    bool Create(const char* directory, uint32_t threadId, uint32_t length, std::string_view begun,
                const Connection& connection);

    uint8_t* Data() const { return static_cast<uint8_t*>(view_.Get()); }

private:
    UniqueFile file_;
    UniqueHandle mapping_;
    UniqueView view_;
};

}  // namespace wpk::core

#endif
