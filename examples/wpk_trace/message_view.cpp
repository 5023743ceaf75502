// One direction of a connection in words, while it is forwarded: the head, then the body.
// SPDX-License-Identifier: MIT
#include "message_view.h"

#include <algorithm>
#include <limits>

#include "common/number.h"

namespace wpk_trace {
namespace {

using common::Bytes;
using common::EqualIgnoringCase;
using common::Number;
using common::Spelt;
using common::Trimmed;

constexpr char kMask[] = "(hidden; --show-credentials shows it)";

bool IsSecret(std::string_view name) {
    return EqualIgnoringCase(name, "Proxy-Authorization") || EqualIgnoringCase(name, "Authorization");
}

}  // namespace

std::vector<std::string> MessageView::Feed(std::string_view bytes) {
    std::vector<std::string> lines;
    length_ += bytes.size();
    while (!bytes.empty() && !is_body_) {
        TakeHeadByte(bytes[0], lines);
        bytes.remove_prefix(1);
    }
    if (!bytes.empty()) TakeBody(bytes, lines);
    return lines;
}

std::vector<std::string> MessageView::End() {
    std::vector<std::string> lines;
    if (!is_body_ && length_ > 0) {
        if (line_length_ > 0) EndLine(lines);
        if (!is_body_) lines.emplace_back("cut off in the head, after " + Bytes(length_));
    }
    if (is_body_ && !has_ended_) EndBody(lines);
    if (body_length_ > BodyLength()) lines.push_back(Bytes(body_length_ - BodyLength()) + " more than announced");
    return lines;
}

void MessageView::TakeHeadByte(char c, std::vector<std::string>& lines) {
    if (c == '\n') return EndLine(lines);
    ++line_length_;
    if (line_.size() < kLineShown) line_ += c;
}

void MessageView::EndLine(std::vector<std::string>& lines) {
    const bool is_whole = line_length_ == line_.size();
    if (is_whole && !line_.empty() && line_.back() == '\r') line_.pop_back();
    // An empty line before the first one ends no head.
    const bool is_end = line_.empty() && has_begun_;
    if (!has_begun_) is_reply_ = line_.compare(0, 5, "HTTP/") == 0;
    has_begun_ = has_begun_ || !line_.empty();
    if (is_end) {
        is_body_ = true;
        lines.emplace_back();
        if (is_tagged_) lines.emplace_back("tagged data:");
        if (BodyLength() == 0) EndBody(lines);
    } else {
        lines.push_back(InWords(line_) + (is_whole ? "" : "... (" + Bytes(line_length_) + ")"));
    }
    line_.clear();
    line_length_ = 0;
}

std::string MessageView::InWords(std::string_view line) {
    const bool goes_on = !line.empty() && (line[0] == ' ' || line[0] == '\t');
    const std::size_t colon = goes_on ? std::string_view::npos : line.find(':');
    if (colon != std::string_view::npos) {
        const std::string_view name = Trimmed(line.substr(0, colon));
        is_secret_ = IsSecret(name) && !shown_.credentials;
        NoteHeader(name, Trimmed(line.substr(colon + 1)));
        return is_secret_ ? Spelt(name) + ": " + kMask : Spelt(line);
    }
    // Long credentials continue in lines without a name.
    return is_secret_ ? kMask : Spelt(line);
}

void MessageView::NoteHeader(std::string_view name, std::string_view value) {
    if (EqualIgnoringCase(name, "Content-Length")) announced_ = Number(value);
    if (EqualIgnoringCase(name, "Content-Type")) is_tagged_ = EqualIgnoringCase(value, "application/tagged-data");
}

std::uint64_t MessageView::BodyLength() const {
    // A reply without a length goes on to the end of the connection. What follows a request without one is another
    // request, with credentials of its own.
    return announced_.value_or(is_reply_ ? std::numeric_limits<std::uint64_t>::max() : 0);
}

void MessageView::TakeBody(std::string_view bytes, std::vector<std::string>& lines) {
    const std::uint64_t missing = BodyLength() - std::min(BodyLength(), body_length_);
    const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(missing, bytes.size()));
    body_length_ += bytes.size();
    if (is_tagged_) {
        tagged_.Feed(bytes.substr(0, length), lines);
    } else {
        plain_.Add(bytes.substr(0, length));
    }
    if (body_length_ >= BodyLength() && !has_ended_) EndBody(lines);
}

void MessageView::EndBody(std::vector<std::string>& lines) {
    has_ended_ = true;
    if (is_tagged_) {
        tagged_.End(lines);
    } else {
        lines.push_back(plain_.InWords());
    }
    if (!announced_) {
        lines.emplace_back("no Content-Length was given");
    } else if (body_length_ < *announced_) {
        lines.push_back("cut off: " + Bytes(*announced_) + " were announced, " + std::to_string(body_length_) +
                        " came");
    }
}

}  // namespace wpk_trace
