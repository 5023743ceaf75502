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

void SendSlowly(rig::Connection& connection, const std::string& reply, size_t pieces) {
    const size_t piece = reply.size() / pieces + 1;
    for (size_t at = 0; at < reply.size(); at += piece) {
        if (!connection.Send(std::string_view(reply).substr(at, piece))) return;
        Sleep(static_cast<DWORD>(1 + at % 20));
    }
}

void Perform(rig::Connection& connection) {
    const std::string message = rig::MessageOf(connection.ReadRequest());
    // Cancelled before it was here in whole.
    if (message.empty()) return;
    const Act act = Act::In(message);
    switch (act.what) {
        case Act::kReply:
            connection.Send(act.Reply());
            break;
        case Act::kSlowly:
            SendSlowly(connection, act.Reply(), act.place);
            break;
        case Act::kCut:
            connection.Send(act.Reply().substr(0, act.place));
            connection.Close();
            break;
        case Act::kReset:
            connection.Send(act.Reply().substr(0, act.place));
            connection.Reset();
            break;
        case Act::kStall:
            connection.Send(act.Reply().substr(0, act.place));
            connection.WaitForEnd(kCancelMs);
            break;
        case Act::kWrongHead:
            connection.Send(kWrongHeads[act.place].bytes);
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

std::string Act::Text() const {
    std::string text;
    for (const size_t number : {static_cast<size_t>(what), bodyLength, bodyOffset, place}) {
        text += std::to_string(number) + " ";
    }
    return text;
}

Act Act::In(const std::string& message) {
    const char* text = message.c_str();
    Act act;
    act.what = static_cast<What>(TakeNumber(text));
    act.bodyLength = TakeNumber(text);
    act.bodyOffset = TakeNumber(text);
    act.place = TakeNumber(text);
    return act;
}

std::string Act::Reply() const {
    std::string reply = rig::OkHead(bodyLength);
    return reply.append(Stretch(bodyOffset, bodyLength));
}

Peers::Peers(uint64_t seed)
    : seed_(seed),
      actor_(Perform, kActors),
      lateActor_(
          [this](rig::Connection& connection) {
              Sleep(static_cast<DWORD>(NextChoice(300)));
              Perform(connection);
          },
          kOthers),
      cutter_([this](rig::Connection& connection) { CutEarly(connection); }, kOthers),
      deaf_(
          [this](rig::Connection& connection) {
              connection.ReadBytes(4);
              Sleep(static_cast<DWORD>(NextChoice(500)));
              connection.WaitForEnd(kCancelMs);
          },
          kOthers) {
    for (rig::Peer* peer : {&actor_, &lateActor_, &cutter_, &deaf_}) peer->KeepNoRequests();
}

bool Peers::WaitUntilIdle() {
    for (rig::Peer* peer : {&actor_, &lateActor_, &cutter_, &deaf_}) {
        if (!peer->WaitUntilIdle()) return false;
    }
    return true;
}

/// Of any of the peers' threads.
size_t Peers::NextChoice(size_t limit) {
    return Random(seed_, ++choices_).Below(limit);
}

void Peers::CutEarly(rig::Connection& connection) {
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
