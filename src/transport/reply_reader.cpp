// Reads a reply from a connection.
// SPDX-License-Identifier: MIT
#include "transport/reply_reader.h"

#include <algorithm>

namespace wpk::core {

namespace {
constexpr int kHeadTimeoutSeconds = 60;
}

bool ReplyReader::ReadLine() {
    line_.Restart();
    for (;;) {
        if (begin_ == end_ && !FillBuffer()) return false;
        // A request that is given up gets nothing more, not even what has come already.
        if (connection_.CloseIfGivenUp()) return false;
        begin_ += static_cast<uint32_t>(line_.Consume({buffer_.data() + begin_, end_ - begin_}));
        if (line_.GetState() != LineAssembler::State::kNeedsMore) break;
    }
    return line_.GetState() == LineAssembler::State::kComplete;
}

std::string_view ReplyReader::TakeBegunBody(uint32_t length) {
    const uint32_t taken = std::min(length, end_ - begin_);
    const std::string_view begun(buffer_.data() + begin_, taken);
    begin_ += taken;
    return begun;
}

bool ReplyReader::FillBuffer() {
    begin_ = 0;
    end_ = connection_.Receive(buffer_.data(), static_cast<uint32_t>(buffer_.size()), kHeadTimeoutSeconds);
    return end_ > 0;
}

}  // namespace wpk::core
