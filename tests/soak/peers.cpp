// The scripted peers of the load: each request to the actor says what is to be done to it, the others do one thing.
// SPDX-License-Identifier: MIT
#include "soak/peers.h"

#include "soak/random.h"
#include "support/dll/wire.h"

#include "wpk/wpk.h"

#include <cstdlib>

namespace wpk::soak {
namespace {

constexpr int kActors = 24;
constexpr int kOthers = 8;
/// Whoever gets no answer here is cancelled, and has closed the connection, long before.
constexpr DWORD kCancelMs = 15000;

void SendSlowly(harness::Connection& connection, const std::string& reply, size_t pieces) {
    const size_t piece = reply.size() / pieces + 1;
    for (size_t at = 0; at < reply.size(); at += piece) {
        if (!connection.Send(std::string_view(reply).substr(at, piece))) return;
        Sleep(static_cast<DWORD>(1 + at % 20));
    }
}

void Perform(harness::Connection& connection) {
    const std::string message = harness::MessageOf(connection.ReadRequest());
    // Cancelled before it was here in whole.
    if (message.empty()) return;
    const Action action = Action::In(message);
    switch (action.what) {
        case Action::kReply:
            connection.Send(action.Reply());
            break;
        case Action::kSlowly:
            SendSlowly(connection, action.Reply(), action.place);
            break;
        case Action::kCut:
            connection.Send(action.Reply().substr(0, action.place));
            connection.Close();
            break;
        case Action::kReset:
            connection.Send(action.Reply().substr(0, action.place));
            connection.Reset();
            break;
        case Action::kStall:
            connection.Send(action.Reply().substr(0, action.place));
            connection.WaitForEnd(kCancelMs);
            break;
        case Action::kWrongHead:
            connection.Send(kWrongHeads[action.place].bytes);
            break;
    }
}

size_t TakeNumber(const char*& text) {
    char* end = nullptr;
    const size_t number = std::strtoul(text, &end, 10);
    text = end;
    return number;
}

}  // namespace

const WrongHead kWrongHeads[] = {
    {"HTTP/1.0 200 OK\r\nServer: WPK/1.01\r\nContent-Length: 2\r\n\r\nhi", WPK_ERROR_BAD_VERSION},
    {"HTTP/1.0 200 OK\r\nContent-Length: 2\r\n\r\nhi", WPK_ERROR_BAD_VERSION},
    {"HTTP/1.0 200 OK\r\nServer: WPK/1.00\r\n\r\nhi", WPK_ERROR_EXCHANGE},
    {"HTTP/1.0 200 OK\r\nServer: WPK/1.00\r\nContent-Length: 3\r\n\r\nhi", WPK_ERROR_EXCHANGE},
    {"HTTP/1.0 200 OK\r\nServer: WPK/1.00\r\nContent-Length: 2\r\nno colon\r\n\r\nhi", WPK_ERROR_EXCHANGE},
    {"HTTP/1.0 404 Not_Found\r\nServer: WPK/1.00\r\nContent-Length: 2\r\n\r\nhi", WPK_ERROR_EXCHANGE},
    {"HTTP/1.0 407 Proxy_Authentication_Required\r\nContent-Length: 2\r\n\r\nhi", WPK_ERROR_PROXY_CREDENTIALS},
    {"HTTP/1.0 500 Bad_Version\r\nContent-Length: 0\r\n\r\n", WPK_ERROR_BAD_VERSION},
    {"HTTP/1.0 500 Bad_Plugin_Name\r\nContent-Length: 20000\r\n\r\nhi", WPK_ERROR_NO_SERVICE},
    {"HTTP/1.0 500 Something_Else\r\n\r\n", WPK_ERROR_EXCHANGE},
    {"HTTP/1.0\r\n\r\n", WPK_ERROR_EXCHANGE},
    {"220 mail.example ready\r\n", WPK_ERROR_EXCHANGE},
    {"\r\n\r\n", WPK_ERROR_EXCHANGE},
    {"no line end at all", WPK_ERROR_EXCHANGE},
    {"HTTP/1.0 100 Continue\r\nHTTP/1.0 200 OK\r\nServer: wpk/1.00\r\nContent-Length: 2\r\n\r\nhi", 0},
};
const size_t kWrongHeadCount = sizeof kWrongHeads / sizeof *kWrongHeads;

std::string Action::Text() const {
    std::string text;
    for (const size_t number : {static_cast<size_t>(what), bodyLength, bodyOffset, place}) {
        text += std::to_string(number) + " ";
    }
    return text;
}

Action Action::In(const std::string& message) {
    const char* text = message.c_str();
    Action action;
    action.what = static_cast<What>(TakeNumber(text));
    action.bodyLength = TakeNumber(text);
    action.bodyOffset = TakeNumber(text);
    action.place = TakeNumber(text);
    return action;
}

std::string Action::Reply() const {
    std::string reply = harness::OkHead(bodyLength);
    return reply.append(Stretch(bodyOffset, bodyLength));
}

Peers::Peers(uint64_t seed)
    : seed_(seed),
      actor_(Perform, kActors),
      lateActor_(
          [this](harness::Connection& connection) {
              Sleep(static_cast<DWORD>(NextChoice(300)));
              Perform(connection);
          },
          kOthers),
      cutter_([this](harness::Connection& connection) { CutEarly(connection); }, kOthers),
      deaf_(
          [this](harness::Connection& connection) {
              connection.ReadBytes(4);
              Sleep(static_cast<DWORD>(NextChoice(500)));
              connection.WaitForEnd(kCancelMs);
          },
          kOthers) {
    for (harness::Peer* peer : {&actor_, &lateActor_, &cutter_, &deaf_}) peer->KeepNoRequests();
}

bool Peers::WaitUntilIdle() {
    for (harness::Peer* peer : {&actor_, &lateActor_, &cutter_, &deaf_}) {
        if (!peer->WaitUntilIdle()) return false;
    }
    return true;
}

/// Of any of the peers' threads.
size_t Peers::NextChoice(size_t limit) {
    return Random(seed_, ++choices_).Below(limit);
}

void Peers::CutEarly(harness::Connection& connection) {
    const size_t place = NextChoice(4);
    // Every request is longer than that.
    if (place == 1 || place == 2) connection.ReadBytes(1 + NextChoice(200));
    if (place == 2) Sleep(static_cast<DWORD>(NextChoice(50)));
    if (place == 3) connection.ReadRequest();
    if (NextChoice(2) == 0) {
        connection.Close();
    } else {
        connection.Reset();
    }
}

}  // namespace wpk::soak
