// Reads a reply from a connection: lines of its head, then its body.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_REPLY_READER_H
#define WPK_TRANSPORT_REPLY_READER_H

#include <array>
#include <cstdint>
#include <string_view>

#include "transport/connection.h"
#include "transport/line_assembler.h"

namespace wpk::core {

/// Behaves as a reader that receives the head byte by byte, each with a time-out of its own, but receives ahead: one
/// call to the system brings as much as there is, and the body then begins with what came with the head. Lives as long
/// as one reply.
class ReplyReader {
public:
    explicit ReplyReader(Connection& connection) : connection_(connection) {}
    ReplyReader(const ReplyReader&) = delete;
    ReplyReader& operator=(const ReplyReader&) = delete;

    /// Reads the next line, without its end. False when a byte of it does not come within 60 seconds, the connection
    /// fails, the request is cancelled or the line is malformed.
    bool ReadLine();

    /// The line; valid until the next ReadLine.
    std::string_view Line() const { return line_.Line(); }

    /// What has been received of the body already, at most `length` bytes; valid as long as this reader.
    std::string_view TakeBegunBody(uint32_t length);

private:
    bool FillBuffer();

    Connection& connection_;
    LineAssembler line_;
    uint32_t begin_ = 0;
    uint32_t end_ = 0;
    /// Takes a whole reply that stays in memory, head and all, in one go.
    std::array<char, 16384> buffer_;
};

}  // namespace wpk::core

#endif
