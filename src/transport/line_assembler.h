// Puts the lines of a reply head together from bytes as they arrive.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_LINE_ASSEMBLER_H
#define WPK_TRANSPORT_LINE_ASSEMBLER_H

#include <array>
#include <cstddef>
#include <string_view>

namespace wpk::core {

/// Takes the bytes of one line, in portions of any size, until the line is complete or can no longer become one. It
/// never takes a byte beyond the line's end, so what follows in the caller's buffer stays there for the next reader:
///
///     LineAssembler line;
///     unread.remove_prefix(line.Consume(unread));
///     if (line.GetState() == LineAssembler::State::kComplete) Use(line.Line()), line.Restart();
///
/// A line ends at its first CR, which must be followed by LF. One thread at a time; nothing throws.
class LineAssembler {
public:
    /// No more than this many bytes may come without a CR; a CR in this very place is in time.
    static constexpr size_t kBufferSize = 2048;

    enum class State {
        kNeedsMore,  // the line goes on
        kComplete,   // CR LF has come; Line() is the line
        kFailed      // a CR without its LF, or a line that is too long
    };

    /// Takes bytes from the front of `bytes` and returns how many; none once the state is kComplete or kFailed. All of
    /// them are taken while the state stays kNeedsMore.
    size_t Consume(std::string_view bytes) noexcept;

    State GetState() const noexcept { return state_; }

    /// The text before the CR; valid until Restart(). Empty unless the line is complete.
    std::string_view Line() const noexcept;

    /// Starts the next line.
    void Restart() noexcept;

private:
    size_t ConsumeText(std::string_view bytes) noexcept;

    State state_ = State::kNeedsMore;
    bool sawCarriageReturn_ = false;
    size_t length_ = 0;
    std::array<char, kBufferSize> buffer_;
};

}  // namespace wpk::core

#endif
