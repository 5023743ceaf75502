// Fuzz target: foreign bytes as a reply head, and as keys and values of tagged data.
// SPDX-License-Identifier: MIT
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "transport/line_assembler.h"
#include "transport/reply_head.h"
#include "transport/tagged_data.h"

namespace wpk {
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
    Require(whole.state.contentLength == pieces.state.contentLength && whole.state.server == pieces.state.server);
    if (whole.complete && whole.state.outcome == kOutcomeAccepted)
        Require(whole.state.contentLength != kNoContentLength);
}

uint32_t TakeLength(std::string_view& bytes) {
    Require(bytes.size() >= 4);
    uint32_t length = 0;
    for (size_t i = 4; i-- > 0;) length = length << 8 | static_cast<unsigned char>(bytes[i]);
    bytes.remove_prefix(4);
    return length;
}

std::string_view TakeText(std::string_view& bytes) {
    const uint32_t length = TakeLength(bytes);
    Require(bytes.size() >= length);
    const std::string_view text = bytes.substr(0, length);
    bytes.remove_prefix(length);
    return text;
}

// Keys and values cut from the input come out of the joined bytes again, as any reader of the format takes them apart.
void CheckTaggedData(std::string_view bytes, size_t portion) {
    TaggedData data(portion % 2 == 0 ? TaggedData::Keys::kCaseSensitive : TaggedData::Keys::kCaseInsensitive);
    std::vector<std::string_view> expected;
    while (!bytes.empty() && expected.size() < 64) {
        const std::string_view key = bytes.substr(0, portion % 5);
        bytes.remove_prefix(key.size());
        const std::string_view value = bytes.substr(0, portion);
        bytes.remove_prefix(value.size());
        if (data.Add(key, value.data(), static_cast<uint32_t>(value.size())) == 1) {
            expected.push_back(key);
            expected.push_back(value);
        }
        if (value.size() % 3 == 1) Require(data.Join() == 1);
    }
    Require(data.Join() == 1);
    std::string_view joined = data.Joined();
    Require(joined.size() == data.TotalLength() && data.Count() * 2 == expected.size());
    for (size_t i = 0; i < expected.size(); i += 2) {
        Require(data.Key(i / 2) == expected[i] && data.Value(i / 2) == expected[i + 1]);
        Require(TakeText(joined) == expected[i]);
        Require(TakeText(joined) == expected[i + 1]);
    }
    Require(joined.empty());
}

}  // namespace
}  // namespace wpk

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const size_t portion = size_t{data[0]} + 1;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    wpk::CheckHead(bytes, portion);
    wpk::CheckTaggedData(bytes, portion);
    return 0;
}
