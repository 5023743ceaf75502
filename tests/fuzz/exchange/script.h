// One input of the exchange's fuzz target, read as a script: what the application asks for and what its peers do.
// SPDX-License-Identifier: MIT
//
// The first line has up to four words, each of any characters; those that mean nothing are skipped. Behind it stand the
// replies of the connections, one after another, with a line "====" between them; the last one serves for all
// connections that follow.
//
// | word     | characters                                                                                          |
// |----------|-----------------------------------------------------------------------------------------------------|
// | modes    | p: through a proxy; c: with credentials from the start; l: all credentials are longer than a field; |
// |          | a: the next question for credentials is answered; k: the peer does not close behind its reply;     |
// |          | fN: N more bytes behind every reply; mN: a message of N bytes; x: cancelled by the first callback   |
// |          | that tells progress; q: by the first question                                                       |
// | receives | 1 to 9, a to m: a piece of so many bytes, or of 16, 32, 64 ...; *: the piece before 100 times more; |
// |          | .: 400 ms pass; :: 30 seconds pass; x: the request is cancelled; y: it is while all that is left    |
// |          | arrives; 0: the peer closes; !: it resets                                                           |
// | sends    | the same for what is sent, but for y; 0 and !: the send fails                                       |
// | connects | i: connected at once; r: refused at once; .: not yet; !: fails; x: the request is cancelled         |
#ifndef WPK_TESTS_FUZZ_EXCHANGE_SCRIPT_H
#define WPK_TESTS_FUZZ_EXCHANGE_SCRIPT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace wpk::fuzz {

/// What befalls a stream of bytes. Behind the last event everything passes.
struct Event {
    enum class Kind { kPiece, kPause, kCancel, kLateCancel, kClose, kReset };
    Kind kind;
    /// Bytes of a piece, milliseconds of a pause.
    uint32_t amount = 0;
};

struct Login {
    std::string user;
    std::string password;
};

struct Script {
    explicit Script(std::string_view input);

    const std::string& ReplyOf(size_t connection) const;

    bool viaProxy = false;
    bool staysOpen = false;
    bool cancelsInProgress = false;
    bool cancelsInQuestion = false;
    Login login;
    /// What the questions for credentials are answered with, until they run out.
    std::vector<Login> answers;
    std::string message = "hello";
    std::vector<Event> receives;
    std::vector<Event> sends;
    std::string connects;

private:
    void ReadModes(std::string_view modes);
    void ReadReplies(std::string_view text, size_t filler);

    size_t filler_ = 0;
    std::vector<std::string> replies_;
};

/// Ends the program when a promise is broken.
void Require(bool holds, const char* promise);

}  // namespace wpk::fuzz

#endif  // WPK_TESTS_FUZZ_EXCHANGE_SCRIPT_H
