// Lines from bytes: ends, limits, portions.
// SPDX-License-Identifier: MIT
#include "transport/line_assembler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <random>
#include <string>
#include <string_view>

namespace wpk::core {

static void PrintTo(LineAssembler::State state, std::ostream* out) {
    *out << (state == LineAssembler::State::kComplete ? "complete"
             : state == LineAssembler::State::kFailed ? "failed"
                                                      : "needs more");
}

namespace {

using State = LineAssembler::State;

struct Result {
    State state;
    std::string line;
    size_t used;
};

Result ReadInPortionsOf(size_t portion, std::string_view bytes) {
    LineAssembler assembler;
    size_t used = 0;
    while (used < bytes.size() && assembler.GetState() == State::kNeedsMore) {
        used += assembler.Consume(bytes.substr(used, portion));
    }
    return {assembler.GetState(), std::string(assembler.Line()), used};
}

// The rule as it reads for a reader that takes one byte at a time: the model.
Result ReadByteByByte(std::string_view bytes) {
    std::string line;
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] == '\r') {
            if (i + 1 == bytes.size()) return {State::kNeedsMore, "", i + 1};
            if (bytes[i + 1] != '\n') return {State::kFailed, "", i + 2};
            return {State::kComplete, line, i + 2};
        }
        line += bytes[i];
        if (line.size() == 2048) return {State::kFailed, "", i + 1};
    }
    return {State::kNeedsMore, "", bytes.size()};
}

void ExpectSameAsByteByByte(std::string_view bytes) {
    const Result expected = ReadByteByByte(bytes);
    for (const size_t portion : {size_t{1}, size_t{2}, size_t{7}, size_t{2047}, size_t{2048}, bytes.size() + 1}) {
        const Result result = ReadInPortionsOf(portion, bytes);
        EXPECT_EQ(result.state, expected.state) << "portions of " << portion;
        EXPECT_EQ(result.line, expected.line) << "portions of " << portion;
        EXPECT_EQ(result.used, expected.used) << "portions of " << portion;
    }
}

TEST(LineAssembler, YieldsTheTextBeforeCrLfAndLeavesWhatFollows) {
    LineAssembler assembler;
    EXPECT_EQ(assembler.Consume("HTTP/1.0 200 OK\r\nServer: x\r\n"), 17U);
    EXPECT_EQ(assembler.GetState(), State::kComplete);
    EXPECT_EQ(assembler.Line(), "HTTP/1.0 200 OK");
}

TEST(LineAssembler, EmptyLineIsComplete) {
    const Result result = ReadInPortionsOf(1, "\r\nbody");
    EXPECT_EQ(result.state, State::kComplete);
    EXPECT_EQ(result.line, "");
    EXPECT_EQ(result.used, 2U);
}

TEST(LineAssembler, NoBytesChangeNothing) {
    LineAssembler assembler;
    EXPECT_EQ(assembler.Consume(""), 0U);
    EXPECT_EQ(assembler.GetState(), State::kNeedsMore);
}

TEST(LineAssembler, LineIsEmptyUntilItIsComplete) {
    LineAssembler assembler;
    assembler.Consume("abc\r");
    EXPECT_EQ(assembler.GetState(), State::kNeedsMore);
    EXPECT_EQ(assembler.Line(), "");
    EXPECT_EQ(assembler.Consume("\nx"), 1U);
    EXPECT_EQ(assembler.Line(), "abc");
}

TEST(LineAssembler, TakesNothingAfterTheEnd) {
    LineAssembler assembler;
    assembler.Consume("abc\r\n");
    EXPECT_EQ(assembler.Consume("more"), 0U);
    EXPECT_EQ(assembler.Line(), "abc");
}

TEST(LineAssembler, RestartReadsTheNextLine) {
    LineAssembler assembler;
    std::string_view bytes = "one\r\ntwo\r\n\r\nbody";
    for (const std::string_view expected : {"one", "two", ""}) {
        bytes.remove_prefix(assembler.Consume(bytes));
        ASSERT_EQ(assembler.GetState(), State::kComplete);
        EXPECT_EQ(assembler.Line(), expected);
        assembler.Restart();
    }
    EXPECT_EQ(bytes, "body");
}

TEST(LineAssembler, RestartForgetsAFailure) {
    LineAssembler assembler;
    assembler.Consume("a\rb");
    ASSERT_EQ(assembler.GetState(), State::kFailed);
    assembler.Restart();
    assembler.Consume("ok\r\n");
    EXPECT_EQ(assembler.Line(), "ok");
}

TEST(LineAssembler, CarriageReturnWithoutLineFeedFails) {
    for (const std::string_view bytes : {"a\rb", "a\r\r\n", "\r ", "a\r\n\r"}) {
        const bool complete = bytes == "a\r\n\r";
        EXPECT_EQ(ReadInPortionsOf(1, bytes).state, complete ? State::kComplete : State::kFailed) << bytes;
        ExpectSameAsByteByByte(bytes);
    }
}

TEST(LineAssembler, LineFeedAloneIsPartOfTheLine) {
    EXPECT_EQ(ReadInPortionsOf(3, "a\nb\r\n").line, "a\nb");
}

TEST(LineAssembler, ZeroBytesArePartOfTheLine) {
    EXPECT_EQ(ReadInPortionsOf(2, std::string_view("a\0b\r\n", 5)).line, std::string("a\0b", 3));
}

TEST(LineAssembler, Line2047CharactersLongIsReadWithItsEndAsTheLastByteThatFits) {
    const std::string text(2047, 'x');
    const Result result = ReadInPortionsOf(4096, text + "\r\nnext");
    EXPECT_EQ(result.state, State::kComplete);
    EXPECT_EQ(result.line, text);
    EXPECT_EQ(result.used, 2049U);
    ExpectSameAsByteByByte(text + "\r\nnext");
}

TEST(LineAssembler, Line2048CharactersLongFailsAtItsLastCharacter) {
    const Result result = ReadInPortionsOf(4096, std::string(2048, 'x') + "\r\n");
    EXPECT_EQ(result.state, State::kFailed);
    EXPECT_EQ(result.used, 2048U);
    ExpectSameAsByteByByte(std::string(2048, 'x') + "\r\n");
}

TEST(LineAssembler, Line2047CharactersLongWithoutAnEndNeedsMore) {
    EXPECT_EQ(ReadInPortionsOf(4096, std::string(2047, 'x')).state, State::kNeedsMore);
    EXPECT_EQ(ReadInPortionsOf(4096, std::string(5000, 'x')).used, 2048U);
}

TEST(LineAssembler, EveryShortInputReadsAsByteByByte) {
    constexpr std::string_view kBytes = "a\r\n";
    for (int number = 0; number < 3 * 3 * 3 * 3 * 3 * 3; ++number) {
        std::string bytes;
        for (int rest = number, i = 0; i < 6; ++i, rest /= 3) bytes += kBytes[static_cast<size_t>(rest % 3)];
        ExpectSameAsByteByByte(bytes);
    }
}

TEST(LineAssembler, RandomInputsReadAsByteByByteInRandomPortions) {
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        std::string bytes(random() % 2100, 'x');
        if (!bytes.empty() && random() % 4 != 0) bytes[random() % bytes.size()] = '\r';
        bytes += random() % 2 == 0 ? "\r\n" : "\n\r\n";
        const Result expected = ReadByteByByte(bytes);
        const Result result = ReadInPortionsOf(1 + random() % 600, bytes);
        ASSERT_EQ(result.state, expected.state);
        ASSERT_EQ(result.line, expected.line);
        ASSERT_EQ(result.used, expected.used);
    }
}

}  // namespace
}  // namespace wpk::core
