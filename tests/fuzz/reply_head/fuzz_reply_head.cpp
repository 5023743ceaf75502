// Fuzz target: foreign bytes as a reply head.
// SPDX-License-Identifier: MIT
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "transport/line_assembler.h"
#include "transport/reply_head.h"

namespace wpk::core {
namespace {

using State = LineAssembler::State;

void Require(bool condition) {
    if (!condition) std::abort();
}

struct Head {
    bool complete = false;
    size_t used = 0;
    ReplyHead state;
};

// Reads a whole head as the exchange does, from portions of `portion` bytes.
class HeadReader {
public:
    HeadReader(std::string_view bytes, size_t portion) : bytes_(bytes), portion_(portion) {}

    Head Read() {
        head_.complete = ReadStatusLines() && ReadHeaders() && JudgeHead(head_.state) != 0;
        return head_;
    }

private:
    bool ReadLine() {
        line_.Restart();
        while (line_.GetState() == State::kNeedsMore && head_.used < bytes_.size()) {
            const std::string_view portion = bytes_.substr(head_.used, portion_);
            const size_t used = line_.Consume(portion);
            Require(used > 0 && used <= portion.size());
            head_.used += used;
        }
        const bool complete = line_.GetState() == State::kComplete;
        if (complete) {
            Require(line_.Line().size() < LineAssembler::kBufferSize);
            Require(line_.Line().find('\r') == std::string_view::npos);
        }
        return complete;
    }

    bool ReadStatusLines() {
        do {
            if (!ReadLine()) return false;
            const int judged = JudgeStatusLine(line_.Line(), head_.state.outcome);
            Require(head_.state.outcome <= kOutcomeUnexpected);
            Require(judged == 1 || head_.state.outcome == kOutcomeUnexpected);
            if (judged == 0) return false;
        } while (head_.state.outcome == kOutcomeKeepReading);
        return true;
    }

    bool ReadHeaders() {
        while (ReadLine()) {
            if (line_.Line().empty()) return true;
            if (ReadHeader(line_.Line(), head_.state) == 0) return false;
        }
        return false;
    }

    std::string_view bytes_;
    size_t portion_;
    LineAssembler line_;
    Head head_;
};

// How the bytes are cut into portions must not matter.
void CheckHead(std::string_view bytes, size_t portion) {
    const Head whole = HeadReader(bytes, bytes.size() + 1).Read();
    const Head pieces = HeadReader(bytes, portion).Read();
    Require(whole.complete == pieces.complete && whole.used == pieces.used);
    Require(whole.state.outcome == pieces.state.outcome);
    Require(whole.state.contentLength == pieces.state.contentLength &&
            whole.state.server.View() == pieces.state.server.View());
    if (whole.complete && whole.state.outcome == kOutcomeAccepted)
        Require(whole.state.contentLength != kNoContentLength);
}

}  // namespace
}  // namespace wpk::core

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const size_t portion = size_t{data[0]} + 1;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    wpk::core::CheckHead(bytes, portion);
    return 0;
}
