// Judges the head of a reply: status lines and headers.
// SPDX-License-Identifier: MIT
#include "transport/reply_head.h"

#include <cstddef>
#include <limits>
#include <optional>

#include "threadlib/ascii.h"
#include "transport/request_text.h"

namespace wpk::core {
namespace {

// Digits beyond this size change nothing any more: it is past every value told apart below, and far from overflow.
constexpr int64_t kHugeNumber = int64_t{1} << 40;

// The number at the start of `text`: white space, a sign, decimal digits. None without digits. Of a number beyond
// kHugeNumber only that fact and the sign can be relied on.
std::optional<int64_t> ParseDecimal(std::string_view text) noexcept {
    size_t at = text.find_first_not_of(" \t\n\v\f\r");
    if (at == std::string_view::npos) return std::nullopt;
    const bool negative = text[at] == '-';
    if (negative || text[at] == '+') ++at;

    const size_t firstDigit = at;
    int64_t number = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        if (number < kHugeNumber) number = number * 10 + (text[at] - '0');
    }
    if (at == firstDigit) return std::nullopt;
    return negative ? -number : number;
}

uint32_t LengthFrom(int64_t number) noexcept {
    const bool fits = number >= std::numeric_limits<int32_t>::min() && number <= std::numeric_limits<uint32_t>::max();
    return fits ? static_cast<uint32_t>(number) : kNoContentLength;
}

Outcome OutcomeOfServerError(std::string_view reason) noexcept {
    if (EqualsIgnoreCase(reason, "Bad_Plugin_Name")) return kOutcomeUnknownService;
    if (EqualsIgnoreCase(reason, "Bad_Version")) return kOutcomeWrongServer;
    return kOutcomeUnexpected;
}

Outcome OutcomeOf(int64_t code, std::string_view reason) noexcept {
    switch (code) {
        case 100:
            return kOutcomeKeepReading;
        case 200:
            return kOutcomeAccepted;
        case 407:
            return kOutcomeProxyAuthenticationRequired;
        case 500:
            return OutcomeOfServerError(reason);
        default:
            return kOutcomeUnexpected;
    }
}

}  // namespace

int JudgeStatusLine(std::string_view line, Outcome& outcome) noexcept {
    outcome = kOutcomeUnexpected;

    const size_t firstBlank = line.find(' ');
    if (firstBlank == std::string_view::npos) return 0;
    // Anything that sorts after "HTTP" may start the line: "HTTP/1.0" and "HTTP/1.1", but also "ICY".
    if (CompareIgnoreCase(line.substr(0, firstBlank), "HTTP") <= 0) return 0;

    const std::string_view rest = line.substr(firstBlank + 1);
    const size_t nextBlank = rest.find(' ');
    if (nextBlank == std::string_view::npos) return 0;
    const int64_t code = ParseDecimal(TrimBlanks(rest.substr(0, nextBlank))).value_or(0);
    if (code == 0) return 0;

    outcome = OutcomeOf(code, TrimBlanks(rest.substr(nextBlank + 1)));
    return 1;
}

int ReadHeader(std::string_view line, ReplyHead& head) noexcept {
    const size_t colon = line.find(':');
    if (colon == std::string_view::npos) return 0;
    const std::string_view name = TrimBlanks(line.substr(0, colon));
    const std::string_view value = TrimBlanks(line.substr(colon + 1));

    if (EqualsIgnoreCase(name, "Content-Length")) {
        if (const auto number = ParseDecimal(value)) head.contentLength = LengthFrom(*number);
    } else if (EqualsIgnoreCase(name, "Server")) {
        head.server = CountedText(value);
        return head.server.Length() == value.size();
    }
    return 1;
}

int JudgeHead(ReplyHead& head) noexcept {
    if (head.outcome != kOutcomeAccepted) return 1;
    if (!EqualsIgnoreCase(head.server.View(), kProductToken)) head.outcome = kOutcomeWrongServer;
    if (head.contentLength != kNoContentLength) return 1;
    head.outcome = kOutcomeUnexpected;
    return 0;
}

}  // namespace wpk::core
