// One input of the exchange's fuzz target, read as a script.
// SPDX-License-Identifier: MIT
#include "fuzz/exchange/script.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "support/pattern.h"

namespace wpk::fuzz {
namespace {

constexpr size_t kMostFiller = 40000;
constexpr size_t kMostMessage = 20000;
constexpr size_t kMostAnswers = 4;
constexpr size_t kMostEvents = 2000;
constexpr int kRepetitions = 100;
constexpr std::string_view kNextReply = "\n====\n";

std::string_view TakeUntil(std::string_view& text, std::string_view end) {
    const size_t at = std::min(text.find(end), text.size());
    const std::string_view part = text.substr(0, at);
    text.remove_prefix(std::min(at + end.size(), text.size()));
    return part;
}

size_t TakeNumber(std::string_view& text, size_t most) {
    size_t number = 0;
    for (; !text.empty() && text[0] >= '0' && text[0] <= '9'; text.remove_prefix(1)) {
        number = std::min(most, number * 10 + static_cast<size_t>(text[0] - '0'));
    }
    return number;
}

std::vector<Event> ReadEvents(std::string_view text) {
    using Kind = Event::Kind;
    std::vector<Event> events;
    for (const char c : text) {
        if (events.size() > kMostEvents) break;
        if (c >= '1' && c <= '9') events.push_back({Kind::kPiece, static_cast<uint32_t>(c - '0')});
        if (c >= 'a' && c <= 'm') events.push_back({Kind::kPiece, 16U << (c - 'a')});
        if (c == '*' && !events.empty() && events.back().kind == Kind::kPiece) {
            events.insert(events.end(), kRepetitions, Event(events.back()));
        }
        if (c == '.') events.push_back({Kind::kPause, 400});
        if (c == ':') events.push_back({Kind::kPause, 30000});
        if (c == 'x') events.push_back({Kind::kCancel});
        if (c == 'y') events.push_back({Kind::kLateCancel});
        if (c == '0') events.push_back({Kind::kClose});
        if (c == '!') events.push_back({Kind::kReset});
    }
    return events;
}

}  // namespace

Script::Script(std::string_view input) {
    std::string_view words = TakeUntil(input, "\n");
    ReadModes(TakeUntil(words, " "));
    receives = ReadEvents(TakeUntil(words, " "));
    sends = ReadEvents(TakeUntil(words, " "));
    sends.erase(std::remove_if(sends.begin(), sends.end(),
                               [](const Event& event) { return event.kind == Event::Kind::kLateCancel; }),
                sends.end());
    connects = words;
    ReadReplies(input, filler_);
}

void Script::ReadModes(std::string_view modes) {
    const bool longTexts = modes.find('l') != std::string_view::npos;
    while (!modes.empty()) {
        const char mode = modes[0];
        modes.remove_prefix(1);
        if (mode == 'p') viaProxy = true;
        if (mode == 'k') staysOpen = true;
        if (mode == 'x') cancelsInProgress = true;
        if (mode == 'q') cancelsInQuestion = true;
        if (mode == 'f') filler_ = TakeNumber(modes, kMostFiller);
        if (mode == 'm') message = test::Pattern(TakeNumber(modes, kMostMessage));
        if (mode == 'c')
            login = longTexts ? Login{std::string(300, 'u'), std::string(300, 'p')} : Login{"user", "pass"};
        if (mode == 'a' && answers.size() < kMostAnswers) {
            const std::string number = std::to_string(answers.size());
            answers.push_back(longTexts ? Login{std::string(256, number[0]), std::string(256, 'q')}
                                        : Login{"user" + number, "answer"});
        }
    }
}

void Script::ReadReplies(std::string_view text, size_t filler) {
    do {
        replies_.push_back(std::string(TakeUntil(text, kNextReply)) + test::Pattern(filler));
    } while (!text.empty());
}

const std::string& Script::ReplyOf(size_t connection) const {
    return replies_[std::min(connection, replies_.size() - 1)];
}

void Require(bool holds, const char* promise) {
    if (holds) return;
    std::fprintf(stderr, "broken: %s\n", promise);
    std::abort();
}

}  // namespace wpk::fuzz
