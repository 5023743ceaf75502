// Status lines and headers: what they are taken for.
// SPDX-License-Identifier: MIT
#include "transport/reply_head.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "transport/line_assembler.h"
#include "unit/transport/allocation_fault.h"

namespace wpk::core {
namespace {

using namespace std::string_view_literals;

struct StatusCase {
    std::string_view line;
    int result;
    Outcome outcome;
};

void ExpectJudged(std::initializer_list<StatusCase> cases) {
    for (const StatusCase& one : cases) {
        Outcome outcome{99};
        EXPECT_EQ(JudgeStatusLine(one.line, outcome), one.result) << '"' << one.line << '"';
        EXPECT_EQ(outcome, one.outcome) << '"' << one.line << '"';
    }
}

TEST(StatusLine, EveryCodeHasItsOutcome) {
    ExpectJudged({
        {"HTTP/1.0 100 Continue", 1, kOutcomeKeepReading},
        {"HTTP/1.0 200 OK", 1, kOutcomeAccepted},
        {"HTTP/1.0 407 Proxy Authentication Required", 1, kOutcomeProxyAuthenticationRequired},
        {"HTTP/1.0 500 Bad_Plugin_Name", 1, kOutcomeUnknownService},
        {"HTTP/1.0 500 bad_plugin_name", 1, kOutcomeUnknownService},
        {"HTTP/1.0 500 Bad_Version", 1, kOutcomeWrongServer},
        {"HTTP/1.0 500 bad_version", 1, kOutcomeWrongServer},
        {"HTTP/1.0 500 Internal Server Error", 1, kOutcomeUnexpected},
        {"HTTP/1.0 500 Bad_Version 2", 1, kOutcomeUnexpected},
        {"HTTP/1.0 500 Bad_Versio", 1, kOutcomeUnexpected},
        {"HTTP/1.0 500 ", 1, kOutcomeUnexpected},
        {"HTTP/1.0 101 Switching Protocols", 1, kOutcomeUnexpected},
        {"HTTP/1.0 201 Created", 1, kOutcomeUnexpected},
        {"HTTP/1.0 302 Found", 1, kOutcomeUnexpected},
        {"HTTP/1.0 401 Unauthorized", 1, kOutcomeUnexpected},
        {"HTTP/1.0 404 Bad_Plugin_Name", 1, kOutcomeUnexpected},
        {"HTTP/1.0 503 Bad_Version", 1, kOutcomeUnexpected},
    });
}

TEST(StatusLine, OutcomesHaveTheirNumbers) {
    EXPECT_EQ(kOutcomeKeepReading, 0U);
    EXPECT_EQ(kOutcomeAccepted, 1U);
    EXPECT_EQ(kOutcomeProxyAuthenticationRequired, 2U);
    EXPECT_EQ(kOutcomeUnknownService, 3U);
    EXPECT_EQ(kOutcomeWrongServer, 4U);
    EXPECT_EQ(kOutcomeUnexpected, 5U);
}

TEST(StatusLine, FirstWordMustSortAfterHttp) {
    ExpectJudged({
        {"HTTP/1.0 200 OK", 1, kOutcomeAccepted},
        {"HTTP/1.1 200 OK", 1, kOutcomeAccepted},
        {"http/1.1 200 OK", 1, kOutcomeAccepted},
        {"HTTPS 200 OK", 1, kOutcomeAccepted},
        {"HTTP\t 200 OK", 1, kOutcomeAccepted},
        {"ICY 200 OK", 1, kOutcomeAccepted},
        {"i 200 OK", 1, kOutcomeAccepted},
        {"HTTP 200 OK", 0, kOutcomeUnexpected},
        {"http 200 OK", 0, kOutcomeUnexpected},
        {"HTT 200 OK", 0, kOutcomeUnexpected},
        {"HTT_ 200 OK", 0, kOutcomeUnexpected},
        {"GET 200 OK", 0, kOutcomeUnexpected},
        {" HTTP/1.0 200 OK", 0, kOutcomeUnexpected},
        {"\tHTTP/1.0 200 OK", 0, kOutcomeUnexpected},
    });
}

TEST(StatusLine, BlankMustFollowTheFirstWordAndTheCode) {
    ExpectJudged({
        {"HTTP/1.0 200 ", 1, kOutcomeAccepted},
        {"HTTP/1.0 100 ", 1, kOutcomeKeepReading},
        {"", 0, kOutcomeUnexpected},
        {" ", 0, kOutcomeUnexpected},
        {"HTTP/1.0", 0, kOutcomeUnexpected},
        {"HTTP/1.0 ", 0, kOutcomeUnexpected},
        {"HTTP/1.0\t200\tOK", 0, kOutcomeUnexpected},
    });
}

TEST(StatusLine, CodeWithoutReasonTextFailsEvenFor200) {
    ExpectJudged({
        {"HTTP/1.0 200", 0, kOutcomeUnexpected},
        {"HTTP/1.0 200\t", 0, kOutcomeUnexpected},
        {"HTTP/1.0 407", 0, kOutcomeUnexpected},
    });
}

TEST(StatusLine, SecondBlankBeforeTheCodeLeavesTheCodeEmpty) {
    ExpectJudged({{"HTTP/1.0  200 OK", 0, kOutcomeUnexpected}});
}

TEST(StatusLine, SpacesAndTabsAroundCodeAndReasonAreRemoved) {
    ExpectJudged({
        {"HTTP/1.0 \t200\t OK", 1, kOutcomeAccepted},
        {"HTTP/1.0 500 \t Bad_Version \t", 1, kOutcomeWrongServer},
        {"HTTP/1.0 500  Bad_Plugin_Name", 1, kOutcomeUnknownService},
    });
}

TEST(StatusLine, CodeIsReadAsADecimalIntegerAndIgnoresWhatFollows) {
    ExpectJudged({
        {"HTTP/1.0 0200 OK", 1, kOutcomeAccepted},
        {"HTTP/1.0 +200 OK", 1, kOutcomeAccepted},
        {"HTTP/1.0 200x OK", 1, kOutcomeAccepted},
        {"HTTP/1.0 200.5 OK", 1, kOutcomeAccepted},
        {"HTTP/1.0 \n200 OK", 1, kOutcomeAccepted},
        {"HTTP/1.0 -200 OK", 1, kOutcomeUnexpected},
        {"HTTP/1.0 2 OK", 1, kOutcomeUnexpected},
        {"HTTP/1.0 2000 OK", 1, kOutcomeUnexpected},
        {"HTTP/1.0 0xC8 OK", 0, kOutcomeUnexpected},
        {"HTTP/1.0 abc OK", 0, kOutcomeUnexpected},
        {"HTTP/1.0 0 OK", 0, kOutcomeUnexpected},
        {"HTTP/1.0 -0 OK", 0, kOutcomeUnexpected},
        {"HTTP/1.0 - OK", 0, kOutcomeUnexpected},
        {"HTTP/1.0 + OK", 0, kOutcomeUnexpected},
        {"HTTP/1.0 +-200 OK", 0, kOutcomeUnexpected},
    });
}

TEST(StatusLine, CodeThatOverflowsIsAnyOtherCode) {
    ExpectJudged({
        {"HTTP/1.0 4294967496 OK", 1, kOutcomeUnexpected},            // 2^32 + 200
        {"HTTP/1.0 18446744073709551816 OK", 1, kOutcomeUnexpected},  // 2^64 + 200
        {"HTTP/1.0 99999999999999999999999999999999999999 OK", 1, kOutcomeUnexpected},
        {"HTTP/1.0 00000000000000000000000000000000000000200 OK", 1, kOutcomeAccepted},
    });
}

TEST(StatusLine, ZeroByteEndsNothing) {
    ExpectJudged({{"HTTP/1.0 500 Bad_Version\0"sv, 1, kOutcomeUnexpected}});
}

struct LengthCase {
    std::string_view value;
    uint32_t length;
};

TEST(ReplyHeader, ContentLengthReadsAsASignedDecimalInteger) {
    const LengthCase cases[] = {
        {"0", 0},
        {"5", 5},
        {"007", 7},
        {"+12", 12},
        {" \t 12 \t", 12},
        {"\v12", 12},
        {"12 bytes", 12},
        {"12,13", 12},
        {"12.9", 12},
        {"0x10", 0},
        {"2147483647", 2147483647U},
        {"-5", 0xFFFFFFFBU},
        {"-2147483648", 0x80000000U},
    };
    for (const LengthCase& one : cases) {
        ReplyHead head;
        EXPECT_EQ(ReadHeader("Content-Length:" + std::string(one.value), head), 1);
        EXPECT_EQ(head.contentLength, one.length) << '"' << one.value << '"';
    }
}

TEST(ReplyHeader, ContentLengthsOf31BitsAndMoreAreReadUnsigned) {
    for (const LengthCase& one : {LengthCase{"2147483648", 0x80000000U}, LengthCase{"4294967294", 0xFFFFFFFEU}}) {
        ReplyHead head;
        EXPECT_EQ(ReadHeader("Content-Length: " + std::string(one.value), head), 1);
        EXPECT_EQ(head.contentLength, one.length);
    }
}

TEST(ReplyHeader, ContentLengthThatFitsNo32BitIntegerCountsAsMissing) {
    for (const std::string_view value : {"-1", "4294967295", "4294967296", "4294967301", "18446744073709551621",
                                         "-2147483649", "-4294967291", "99999999999999999999999999999999"}) {
        ReplyHead head;
        head.contentLength = 5;
        EXPECT_EQ(ReadHeader("Content-Length: " + std::string(value), head), 1);
        EXPECT_EQ(head.contentLength, kNoContentLength) << value;
    }
}

TEST(ReplyHeader, ContentLengthWithoutDigitsChangesNothing) {
    for (const std::string_view value : {"", " ", "abc", "-", "+", "- 5", "+-5", ".5", ":5"}) {
        ReplyHead head;
        EXPECT_EQ(ReadHeader("Content-Length:" + std::string(value), head), 1);
        EXPECT_EQ(head.contentLength, kNoContentLength) << value;
        head.contentLength = 7;
        EXPECT_EQ(ReadHeader("Content-Length:" + std::string(value), head), 1);
        EXPECT_EQ(head.contentLength, 7U) << value;
    }
}

TEST(ReplyHeader, NamesIgnoreCaseAndBlanksAround) {
    for (const std::string_view line : {"content-length: 5", "CONTENT-LENGTH:5", " \tContent-Length\t : 5"}) {
        ReplyHead head;
        EXPECT_EQ(ReadHeader(line, head), 1);
        EXPECT_EQ(head.contentLength, 5U) << line;
    }
    for (const std::string_view line : {"server: wpk/1.00", "SERVER:\twpk/1.00 \t", "Server : wpk/1.00"}) {
        ReplyHead head;
        EXPECT_EQ(ReadHeader(line, head), 1);
        EXPECT_EQ(head.server.View(), "wpk/1.00") << line;
    }
}

TEST(ReplyHeader, OtherHeadersAreIgnored) {
    for (const std::string_view line : {"Date: x", "Content-Lengths: 5", "Content Length: 5", "X-Server: a",
                                        "Servers: a", ": 5", ":", "Date:Server: a"}) {
        ReplyHead head;
        EXPECT_EQ(ReadHeader(line, head), 1) << line;
        EXPECT_EQ(head.contentLength, kNoContentLength) << line;
        EXPECT_EQ(head.server.View(), "") << line;
    }
}

TEST(ReplyHeader, LineIsSplitAtItsFirstColon) {
    ReplyHead head;
    EXPECT_EQ(ReadHeader("Server: a:b: c", head), 1);
    EXPECT_EQ(head.server.View(), "a:b: c");
}

TEST(ReplyHeader, LineWithoutAColonFailsAndChangesNothing) {
    for (const std::string_view line : {"", "Server", "Content-Length 5", " folded value"}) {
        ReplyHead head;
        head.outcome = kOutcomeAccepted;
        EXPECT_EQ(ReadHeader(line, head), 0) << line;
        EXPECT_EQ(head.outcome, kOutcomeAccepted);
        EXPECT_EQ(head.contentLength, kNoContentLength);
    }
}

TEST(ReplyHeader, LastOfRepeatedHeadersCounts) {
    ReplyHead head;
    ReadHeader("Content-Length: 1", head);
    ReadHeader("Content-Length: 2", head);
    ReadHeader("Server: a long name of some server", head);
    ReadHeader("Server: b", head);
    EXPECT_EQ(head.contentLength, 2U);
    EXPECT_EQ(head.server.View(), "b");
}

TEST(ReplyHeader, LackOfMemoryForTheServerTextFails) {
    ReplyHead head;
    const std::string line = "Server: " + std::string(200, 's');
    {
        const test::AllocationFault fault;
        EXPECT_EQ(ReadHeader(line, head), 0);
        EXPECT_EQ(fault.Fired(), 1);
    }
    EXPECT_EQ(head.server.View(), "");
}

TEST(ReplyHeadState, StartsUnexpectedWithoutLengthOrServer) {
    const ReplyHead head;
    EXPECT_EQ(head.outcome, kOutcomeUnexpected);
    EXPECT_EQ(head.contentLength, 0xFFFFFFFFU);
    EXPECT_EQ(head.server.View(), "");
}

struct HeadCase {
    Outcome outcome;
    uint32_t length;
    const char* server;
    int result;
    Outcome outcomeAfter;
};

TEST(JudgeHead, AcceptedReplyNeedsTheRightServerAndALength) {
    const HeadCase cases[] = {
        {kOutcomeAccepted, 0, "WPK/1.00", 1, kOutcomeAccepted},
        {kOutcomeAccepted, 5, "wpk/1.00", 1, kOutcomeAccepted},
        {kOutcomeAccepted, 5, "", 1, kOutcomeWrongServer},
        {kOutcomeAccepted, 5, "WPK/1.0", 1, kOutcomeWrongServer},
        {kOutcomeAccepted, 5, "WPK/1.001", 1, kOutcomeWrongServer},
        {kOutcomeAccepted, 5, "WPK/1.01", 1, kOutcomeWrongServer},
        {kOutcomeAccepted, kNoContentLength, "WPK/1.00", 0, kOutcomeUnexpected},
        {kOutcomeAccepted, kNoContentLength, "other", 0, kOutcomeUnexpected},
    };
    for (const HeadCase& one : cases) {
        ReplyHead head{one.outcome, one.length, CountedText(one.server)};
        EXPECT_EQ(JudgeHead(head), one.result) << one.server << ' ' << one.length;
        EXPECT_EQ(head.outcome, one.outcomeAfter) << one.server << ' ' << one.length;
    }
}

TEST(JudgeHead, OtherOutcomesStayWhateverTheHeadersSay) {
    for (const Outcome outcome :
         {kOutcomeProxyAuthenticationRequired, kOutcomeUnknownService, kOutcomeWrongServer, kOutcomeUnexpected}) {
        ReplyHead head{outcome, kNoContentLength, CountedText("other")};
        EXPECT_EQ(JudgeHead(head), 1);
        EXPECT_EQ(head.outcome, outcome);
    }
}

// Reads status lines as the exchange does: until the outcome is known, or a line fails.
int JudgeStatusLines(std::string_view bytes, Outcome& outcome) {
    LineAssembler line;
    do {
        line.Restart();
        bytes.remove_prefix(line.Consume(bytes));
        if (line.GetState() != LineAssembler::State::kComplete) return 0;
        if (JudgeStatusLine(line.Line(), outcome) == 0) return 0;
    } while (outcome == kOutcomeKeepReading);
    return 1;
}

TEST(InterimStatusLine, IsFollowedDirectlyByTheNextStatusLine) {
    Outcome outcome{99};
    EXPECT_EQ(JudgeStatusLines("HTTP/1.1 100 Continue\r\nHTTP/1.0 100 x\r\nHTTP/1.0 200 OK\r\n", outcome), 1);
    EXPECT_EQ(outcome, kOutcomeAccepted);
}

TEST(InterimStatusLine, FollowedByAnEmptyLineFailsTheHead) {
    Outcome outcome{99};
    EXPECT_EQ(JudgeStatusLines("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.0 200 OK\r\n", outcome), 0);
    EXPECT_EQ(outcome, kOutcomeUnexpected);
}

}  // namespace
}  // namespace wpk::core
