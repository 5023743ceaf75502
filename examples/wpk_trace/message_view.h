// One direction of a connection in words, while it is forwarded: the head, then the body.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/words.h"
#include "tagged_view.h"

namespace wpk_trace {

/// How much is shown.
struct Shown {
    /// Bytes of each value and body.
    std::size_t body = 200;
    /// Passwords too.
    bool credentials = false;
};

/// Reads an HTTP message in pieces of any size and any content, and describes its content. Its memory is bounded for
/// any input.
class MessageView {
public:
    explicit MessageView(const Shown& shown) : shown_(shown), tagged_(shown.body), plain_(shown.body) {}

    /// The lines that the next piece completes.
    std::vector<std::string> Feed(std::string_view bytes);
    /// The lines that are due when no more comes.
    std::vector<std::string> End();

    /// All bytes so far.
    std::uint64_t Length() const { return length_; }

private:
    /// More of a line is not shown; no client or server of WPK's sends as much.
    static constexpr std::size_t kLineShown = 2048;

    void TakeHeadByte(char c, std::vector<std::string>& lines);
    void EndLine(std::vector<std::string>& lines);
    std::string InWords(std::string_view line);
    void NoteHeader(std::string_view name, std::string_view value);
    std::uint64_t BodyLength() const;
    void TakeBody(std::string_view bytes, std::vector<std::string>& lines);
    void EndBody(std::vector<std::string>& lines);

    Shown shown_;
    std::uint64_t length_ = 0;
    bool has_begun_ = false;
    bool is_reply_ = false;
    std::string line_;
    std::uint64_t line_length_ = 0;
    bool is_secret_ = false;
    bool is_tagged_ = false;
    bool is_body_ = false;
    bool has_ended_ = false;
    std::optional<std::uint64_t> announced_;
    std::uint64_t body_length_ = 0;
    TaggedView tagged_;
    common::Beginning plain_;
};

}  // namespace wpk_trace
