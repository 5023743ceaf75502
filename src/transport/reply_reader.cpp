// Reads a reply from a connection.
// SPDX-License-Identifier: MIT
#include "transport/reply_reader.h"

#include <algorithm>
#include <cstring>

namespace wpk {

namespace {
constexpr int kHeadTimeoutSeconds = 60;
}

bool ReplyReader::ReadLine() {
    line_.Restart();
    for (;;) {
        if (begin_ == end_ && !FillBuffer()) return false;
        // A cancelled request gets nothing more, not even what has come already.
        if (connection_.Cancelled()) return false;
        begin_ += static_cast<uint32_t>(line_.Consume({buffer_.data() + begin_, end_ - begin_}));
        if (line_.GetState() != LineAssembler::State::kNeedsMore) break;
    }
    return line_.GetState() == LineAssembler::State::kComplete;
}

uint32_t ReplyReader::ReadBody(void* buffer, uint32_t length) {
    if (begin_ == end_ || connection_.Cancelled()) return connection_.Receive(buffer, length, Connection::kNoTimeout);
    const uint32_t taken = std::min(length, end_ - begin_);
    std::memcpy(buffer, buffer_.data() + begin_, taken);
    begin_ += taken;
    return taken;
}

bool ReplyReader::FillBuffer() {
    begin_ = 0;
    end_ = connection_.Receive(buffer_.data(), static_cast<uint32_t>(buffer_.size()), kHeadTimeoutSeconds);
    return end_ > 0;
}

}  // namespace wpk
