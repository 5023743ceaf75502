// One attempt at a request.
// SPDX-License-Identifier: MIT
#include "transport/attempt.h"

#include <string_view>

#include "transport/reply_buffer.h"
#include "transport/reply_head.h"
#include "transport/reply_reader.h"
#include "transport/request_text.h"
#include "transport/tagged_data.h"
#include "transport/text_buffer.h"

namespace wpk::core {

namespace {

struct Request {
    TextBuffer requestLine;
    TextBuffer headers;
    TaggedData body;
};

bool AddText(TaggedData& body, std::string_view key, std::string_view value) {
    return body.Add(key, value.data(), static_cast<uint32_t>(value.size())) != 0;
}

bool BuildBody(const WPK_SENDSTRUCT& message, bool viaProxy, TaggedData& body) {
    const std::string_view service = message.lpszServiceName ? message.lpszServiceName : "";
    return AddText(body, "WPK_IsBehindProxy", viaProxy ? "YES" : "NO") && AddText(body, "WPK_ServiceName", service) &&
           body.Add("WPK_ServiceData", message.lpData, message.dwDataLength) && body.Join();
}

bool BuildRequest(const WPK_SENDSTRUCT& message, const Peer& peer, Request& request) {
    request.requestLine = BuildRequestLine(message.lpszServer, message.nPort);
    if (!request.requestLine.IsWhole() || !BuildBody(message, peer.viaProxy, request.body)) return false;
    request.headers = BuildHeaderBlock(request.body.TotalLength(), peer.viaProxy, peer.credentials.user.View(),
                                       peer.credentials.password.View());
    return request.headers.IsWhole();
}

bool SendText(Connection& connection, std::string_view text) {
    return connection.Send(text.data(), static_cast<uint32_t>(text.size()));
}

bool SendRequest(const Request& request, Connection& connection) {
    return SendText(connection, request.requestLine.View()) && SendText(connection, request.headers.View()) &&
           SendText(connection, "\r\n") && SendText(connection, request.body.Joined());
}

bool ReadStatus(ReplyReader& reader, ReplyHead& head) {
    do {
        head.outcome = kOutcomeUnexpected;
        if (!reader.ReadLine() || !JudgeStatusLine(reader.Line(), head.outcome)) return false;
    } while (head.outcome == kOutcomeKeepReading);
    return true;
}

bool ReadHeaders(ReplyReader& reader, ReplyHead& head) {
    for (;;) {
        if (!reader.ReadLine()) return false;
        if (reader.Line().empty()) return true;
        if (!ReadHeader(reader.Line(), head)) return false;
    }
}

/// Receives the body and delivers it if the reply is an accepted one; the body of a refusal is only read.
bool ReceiveBody(ReplyReader& reader, const ReplyHead& head, Connection& connection, const Notifier& notifier,
                 const CountedText& tempDirectory) {
    const bool accepted = head.outcome == kOutcomeAccepted;
    const uint32_t total = head.contentLength;
    const std::string_view begun = reader.TakeBegunBody(total);
    ReplyBuffer buffer;
    if (total > 0 && !buffer.Allocate(total, begun, tempDirectory.CStr(), connection)) return false;

    auto received = static_cast<uint32_t>(begun.size());
    if (received > 0 && connection.CloseIfGivenUp()) return false;
    if (received > 0 && accepted) notifier.Progress(buffer.Data(), received, total);
    while (received < total) {
        const uint32_t more = connection.Receive(buffer.Data() + received, total - received, Connection::kNoTimeout);
        if (more == 0) return false;
        received += more;
        if (accepted) notifier.Progress(buffer.Data(), received, total);
    }
    if (accepted) notifier.Reply(buffer.Data(), total);
    return accepted;
}

}  // namespace

bool RunAttempt(const WPK_SENDSTRUCT& message, const Peer& peer, Connection& connection, const Notifier& notifier,
                const CountedText& tempDirectory, Outcome& outcome) {
    {
        Request request;
        if (!BuildRequest(message, peer, request) || !SendRequest(request, connection)) return false;
    }
    ReplyReader reader(connection);
    ReplyHead head;
    const bool complete = ReadStatus(reader, head) && ReadHeaders(reader, head) && JudgeHead(head);
    outcome = head.outcome;
    if (!complete) return false;
    // A refusal that announces no body has none to wait for. Taken by the letter, its length would be 4 GiB.
    if (head.outcome != kOutcomeAccepted && head.contentLength == kNoContentLength) return false;
    return ReceiveBody(reader, head, connection, notifier, tempDirectory);
}

}  // namespace wpk::core
