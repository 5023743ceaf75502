// Judges the head of a reply: status lines and headers.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_REPLY_HEAD_H
#define WPK_TRANSPORT_REPLY_HEAD_H

#include <cstdint>
#include <string_view>

#include "threadlib/counted_text.h"

namespace wpk::core {

/// The result of judging a reply.
enum Outcome : uint32_t {
    kOutcomeKeepReading = 0,                  // an interim status line; another one follows
    kOutcomeAccepted = 1,                     // a reply to the message
    kOutcomeProxyAuthenticationRequired = 2,  // the proxy wants other credentials
    kOutcomeUnknownService = 3,               // the server has no such service
    kOutcomeWrongServer = 4,                  // not a server of this kind, or one of another version
    kOutcomeUnexpected = 5                    // malformed, or nothing this library knows
};

/// A Content-Length that the reply does not contain (or that cannot be used).
inline constexpr uint32_t kNoContentLength = 0xFFFFFFFF;

struct ReplyHead {
    Outcome outcome = kOutcomeUnexpected;
    uint32_t contentLength = kNoContentLength;
    CountedText server;
};

/// Reads a status line, for example "HTTP/1.0 200 OK", without its CR LF. Returns 1 and the corresponding outcome; 0
/// with kOutcomeUnexpected if it is not a status line. A blank must follow the code, even if there is no reason text.
int JudgeStatusLine(std::string_view line, Outcome& outcome) noexcept;

/// Reads a header line, without its CR LF, into `head`; of repeated headers the last one counts. Returns 0 if the line
/// has no colon or memory runs out.
///
/// A Content-Length is read as "%d" reads: leading white space, a sign, digits, and whatever follows is ignored.
/// Without digits the length is not changed. A negative number means the same 32 bits read as unsigned; a number that
/// fits neither kind of 32-bit integer means kNoContentLength.
int ReadHeader(std::string_view line, ReplyHead& head) noexcept;

/// The final judgement, after the whole head has been read. An accepted reply must come from a server of this kind,
/// otherwise it becomes kOutcomeWrongServer; and it must have a length, otherwise it becomes kOutcomeUnexpected and 0
/// is returned. Other outcomes are not changed.
int JudgeHead(ReplyHead& head) noexcept;

}  // namespace wpk::core

#endif
