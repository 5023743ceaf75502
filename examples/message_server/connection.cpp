// One connection: reads a request, has it served, sends the reply.
// SPDX-License-Identifier: MIT
#include "connection.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "reply.h"
#include "request.h"
#include "services.h"

namespace message_server {
namespace {

// What a refused client may still be sending is read for so long and up to so much, and thrown away: a socket that is
// closed over unread bytes resets the connection, and the refusal would be lost with it.
constexpr std::chrono::seconds kDrainTime{2};
constexpr std::size_t kDrainLength = std::size_t{64} * 1024 * 1024;
// Large enough for calls to be few, small enough for the stack of a thread.
constexpr std::size_t kReceivePiece = std::size_t{16} * 1024;
constexpr std::size_t kSendPiece = std::size_t{64} * 1024;

class Connection {
public:
    Connection(Socket client, const Limits& limits)
        : client_(std::move(client)), limits_(limits), deadline_(Clock::now() + limits.timeout) {}

    void Serve() {
        const std::optional<Answer> answer = TakeRequest();
        if (answer) SendAnswer(*answer);
    }

private:
    /// The answer to the request; nothing when it has been refused. Once an answer's head is on its way, no refusal can
    /// follow it any more, so answers are sent outside of this.
    std::optional<Answer> TakeRequest() {
        try {
            Message message = ReadMessage();
            const std::string service = message.service;
            Answer answer = RunService(std::move(message), [this](std::chrono::milliseconds time) { Wait(time); });
            Log(200, service.c_str(), answer.Length());
            return answer;
        } catch (const Refusal& refusal) {
            Refuse(refusal);
        } catch (const TimedOut&) {
            Refuse(Refusal(408, "Request_Timeout"));
        } catch (const std::bad_alloc&) {
            Refuse(Refusal(503, "Out_Of_Memory"));
        }
        return std::nullopt;
    }

    Message ReadMessage() {
        std::string bytes;
        auto head_length = FindHeadEnd(bytes);
        while (!head_length) {
            if (bytes.size() >= kMaxHeadLength) throw Refusal(431, "Head_Too_Large");
            ReceiveMore(bytes, kMaxHeadLength - bytes.size());
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
        const std::size_t received = client_.Receive(piece.data(), std::min(at_most, piece.size()), deadline_);
        if (received == 0) throw Refusal(400, "Request_Cut_Off");
        bytes.append(piece.data(), received);
    }

    void Wait(std::chrono::milliseconds time) {
        // After its request a client sends nothing: what can be read now is the end of the connection. Its place is
        // worth more to others than to it.
        if (client_.WaitReadable(Clock::now() + time)) throw ConnectionLost("the client has gone");
    }

    /// By when a client has to have taken so many bytes.
    Clock::time_point ReplyDeadline(std::uint64_t length) const {
        return Clock::now() + limits_.timeout + std::chrono::milliseconds(length * 1000 / limits_.slowest_rate);
    }

    void SendAnswer(const Answer& answer) {
        const Clock::time_point deadline = ReplyDeadline(answer.Length());
        client_.Send(ReplyHead(answer.Length()), limits_.timeout, deadline);
        client_.Send(answer.text, limits_.timeout, deadline);
        std::array<char, kSendPiece> piece;
        for (std::uint64_t sent = 0; sent < answer.alphabet_length;) {
            const auto length =
                static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), answer.alphabet_length - sent));
            FillWithAlphabet(sent, piece.data(), length);
            client_.Send({piece.data(), length}, limits_.timeout, deadline);
            sent += length;
        }
    }

    void Refuse(const Refusal& refusal) {
        const std::string reply = RefusalReply(refusal);
        Log(refusal.Code(), refusal.what(), reply.size());
        client_.Send(reply, limits_.timeout, ReplyDeadline(reply.size()));
        client_.EndSending();
        std::array<char, kReceivePiece> rest;
        const Clock::time_point deadline = Clock::now() + kDrainTime;
        for (std::size_t drained = 0; drained < kDrainLength;) {
            const std::size_t received = client_.Receive(rest.data(), rest.size(), deadline);
            if (received == 0) return;
            drained += received;
        }
    }

    void Log(int code, const char* text, std::uint64_t length) const {
        if (limits_.log)
            std::fprintf(stderr, "%d %s, %llu bytes\n", code, text, static_cast<unsigned long long>(length));
    }

    Socket client_;
    const Limits& limits_;
    Clock::time_point deadline_;
};

}  // namespace

void ServeConnection(Socket client, const Limits& limits) noexcept {
    try {
        Connection(std::move(client), limits).Serve();
    } catch (const std::exception& error) {
        if (limits.log) std::fprintf(stderr, "connection ended: %s\n", error.what());
    }
}

}  // namespace message_server
