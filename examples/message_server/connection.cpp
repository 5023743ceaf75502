// One connection: reads a request, has it served, sends the reply.
// SPDX-License-Identifier: MIT
#include "connection.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "common/line.h"
#include "common/words.h"
#include "log_line.h"
#include "reply.h"
#include "request.h"
#include "services.h"

namespace message_server {
namespace {

using Clock = std::chrono::steady_clock;

// Limits in time and size for reading and discarding what a refused client is still sending: closing a socket with
// unread bytes resets the connection, and the refusal would be lost with it.
constexpr std::chrono::seconds kDrainTime{2};
constexpr std::size_t kDrainLength = std::size_t{64} * 1024 * 1024;
// Large enough for calls to be few, small enough for the stack of a thread.
constexpr std::size_t kReceivePiece = std::size_t{16} * 1024;
constexpr std::size_t kSendPiece = std::size_t{64} * 1024;

/// The client has let a time-out pass.
class TimedOut : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

common::KeepWaiting Until(Clock::time_point deadline, const char* trouble) {
    return [deadline, trouble] {
        if (Clock::now() >= deadline) throw TimedOut(trouble);
        return true;
    };
}

class Connection {
public:
    /// @param line takes what is to be logged.
    Connection(common::Socket client, const Limits& limits, LogLine& line)
        : client_(std::move(client)), limits_(limits), line_(line), deadline_(Clock::now() + limits.timeout) {}

    void Serve() {
        const std::optional<Answer> answer = TakeRequest();
        if (answer) SendAnswer(*answer);
    }

private:
    /// The answer to the request; nothing if it has been refused. Once an answer's head has been sent, no refusal can
    /// follow, so answers are not sent in here.
    std::optional<Answer> TakeRequest() {
        try {
            Message message = ReadMessage();
            line_.service = message.service;
            return RunService(std::move(message), [this](std::chrono::milliseconds time) { Wait(time); });
        } catch (const Refusal& refusal) {
            Refuse(refusal);
        } catch (const TimedOut&) {
            Refuse(Refusal(408, "Request_Timeout", "after " + common::Bytes(received_)));
        } catch (const std::bad_alloc&) {
            Refuse(Refusal(503, "Out_Of_Memory"));
        }
        return std::nullopt;
    }

    Message ReadMessage() {
        std::string bytes;
        auto head_length = FindHeadEnd(bytes);
        while (!head_length) {
            if (bytes.size() >= limits_.max_head) {
                throw Refusal(431, "Head_Too_Large", "--max-head is " + std::to_string(limits_.max_head));
            }
            ReceiveMore(bytes, limits_.max_head - bytes.size());
            head_length = FindHeadEnd(bytes);
        }
        const std::size_t body_length = ParseHead(bytes.substr(0, *head_length), limits_.max_request);
        bytes.erase(0, *head_length);
        // The body's memory is taken as it arrives, so an announced length alone costs nothing.
        while (bytes.size() < body_length) ReceiveMore(bytes, body_length - bytes.size());
        return ParseBody(std::string_view(bytes).substr(0, body_length));
    }

    void ReceiveMore(std::string& bytes, std::size_t at_most) {
        std::array<char, kReceivePiece> piece;
        const std::size_t received =
            client_.Receive(piece.data(), std::min(at_most, piece.size()), Until(deadline_, "the client is too slow"));
        if (received == 0) throw Refusal(400, "Request_Cut_Off", "after " + common::Bytes(received_));
        bytes.append(piece.data(), received);
        received_ += received;
    }

    void Wait(std::chrono::milliseconds time) {
        // After its request a client sends nothing, so what can be read now is the end of the connection. Its place is
        // freed for others.
        if (client_.WaitReadable(time)) throw common::ConnectionLost("the client has gone");
    }

    /// The time by which a client must have taken that number of bytes.
    Clock::time_point ReplyDeadline(std::uint64_t length) const {
        return Clock::now() + limits_.timeout + std::chrono::milliseconds(length * 1000 / limits_.slowest_rate);
    }

    /// The client has a time-out for taking each piece, and the whole has to be taken by the deadline.
    void Send(std::string_view bytes, Clock::time_point deadline) {
        while (!bytes.empty()) {
            const Clock::time_point stalled = std::min(Clock::now() + limits_.timeout, deadline);
            bytes.remove_prefix(client_.SendSome(bytes, Until(stalled, "the client takes its reply too slowly")));
        }
    }

    void SendAnswer(const Answer& answer) {
        Note(200, "OK", answer.Length());
        const Clock::time_point deadline = ReplyDeadline(answer.Length());
        Send(ReplyHead(answer.Length()), deadline);
        Send(answer.text, deadline);
        std::array<char, kSendPiece> piece;
        for (std::uint64_t sent = 0; sent < answer.alphabet_length;) {
            const auto length =
                static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), answer.alphabet_length - sent));
            FillWithAlphabet(sent, piece.data(), length);
            Send({piece.data(), length}, deadline);
            sent += length;
        }
    }

    void Refuse(const Refusal& refusal) {
        const std::string reply = RefusalReply(refusal);
        Note(refusal.Code(), refusal.what(), std::string_view(refusal.what()).size());
        line_.why = refusal.Why();
        Send(reply, ReplyDeadline(reply.size()));
        client_.EndSending();
        std::array<char, kReceivePiece> rest;
        const Clock::time_point deadline = Clock::now() + kDrainTime;
        for (std::size_t drained = 0; drained < kDrainLength;) {
            const std::size_t received =
                client_.Receive(rest.data(), rest.size(), [deadline] { return Clock::now() < deadline; });
            if (received == 0) return;
            drained += received;
        }
    }

    void Note(int status, const char* reason, std::uint64_t length) {
        line_.status = status;
        line_.reason = reason;
        line_.length = length;
    }

    common::Socket client_;
    const Limits& limits_;
    LogLine& line_;
    Clock::time_point deadline_;
    std::size_t received_ = 0;
};

void ServeAndNote(common::Socket client, const Limits& limits, LogLine& line) {
    line.peer = client.Peer();
    try {
        Connection(std::move(client), limits, line).Serve();
    } catch (const std::exception& error) {
        line.why += (line.why.empty() ? "" : "; ") + std::string("broken off: ") + error.what();
    }
}

std::string LocalTime() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d", now.wYear, now.wMonth, now.wDay, now.wHour,
                  now.wMinute, now.wSecond);
    return text.data();
}

}  // namespace

void ServeConnection(common::Socket client, const Limits& limits, bool log) noexcept {
    try {
        const Clock::time_point began = Clock::now();
        LogLine line;
        ServeAndNote(std::move(client), limits, line);
        if (!log) return;
        const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - began);
        common::WriteLine(stderr, Written(line, LocalTime(), taken));
    } catch (const std::exception&) {
        return;  // No memory for words.
    }
}

}  // namespace message_server
