// Judges the head of a reply: status lines and headers.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_REPLY_HEAD_H
#define WPK_TRANSPORT_REPLY_HEAD_H

#include <cstdint>
#include <string_view>

#include "threadlib/counted_text.h"

namespace wpk::core {

/// What a reply amounts to.
enum Outcome : uint32_t {
    kOutcomeKeepReading = 0,                  // an interim status line; another one follows
    kOutcomeAccepted = 1,                     // a reply to the message
    kOutcomeProxyAuthenticationRequired = 2,  // the proxy wants other credentials
    kOutcomeUnknownService = 3,               // the server has no such service
    kOutcomeWrongServer = 4,                  // not a server of this kind, or one of another version
    kOutcomeUnexpected = 5                    // malformed, or nothing this library knows
};

/// Stands for a Content-Length that the reply does not give (or that cannot be used).
inline constexpr uint32_t kNoContentLength = 0xFFFFFFFF;

struct ReplyHead {
    Outcome outcome = kOutcomeUnexpected;
    uint32_t contentLength = kNoContentLength;
    CountedText server;
};

/// Reads a status line, for example "HTTP/1.0 200 OK", without its CR LF. Returns 1 and the outcome that belongs to it;
/// 0 with kOutcomeUnexpected when it is no status line. A blank must follow the code, even if no reason text does.
int JudgeStatusLine(std::string_view line, Outcome& outcome) noexcept;

/// Reads a header line, without its CR LF, into `head`; of repeated headers the last one counts. Returns 0 when the
/// line has no colon or memory runs out.
///
/// A Content-Length is read as "%d" reads: leading white space, a sign, digits, and whatever follows is ignored.
/// Without digits the length stays as it was. A negative number stands for the same 32 bits read as unsigned, and one
/// that fits neither kind of 32-bit integer for kNoContentLength.
int ReadHeader(std::string_view line, ReplyHead& head) noexcept;

/// The last word, once the head has been read to its end: an accepted reply must come from a server of this kind, else
/// it turns into kOutcomeWrongServer; and it must give its length, else it turns into kOutcomeUnexpected and 0 is
/// returned. Other outcomes stay.
int JudgeHead(ReplyHead& head) noexcept;

}  // namespace wpk::core

#endif
