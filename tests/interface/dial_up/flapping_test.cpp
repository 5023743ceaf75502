// A network that comes and goes all the time, with requests running across every change.
// SPDX-License-Identifier: MIT
#include "interface/dial_up/remote_access_scenes.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>

#include "support/dll/inbox.h"
#include "support/dll/peer.h"
#include "support/dll/process.h"
#include "support/dll/request.h"
#include "support/dll/wire.h"

namespace wpk::harness {
namespace {

constexpr unsigned int kChanges = 24;
constexpr int kSenders = 6;
constexpr size_t kBodyLength = 20000;  // long enough to be spooled
/// Announced by replies of which the rest never comes.
constexpr size_t kEndlessLength = 30000;

/// Every second connection is answered; the others get a part of a reply and then nothing more until they end.
void AnswerEverySecond(Connection& connection) {
    connection.ReadRequest();
    if (connection.Index() % 2 == 0) {
        connection.Send(Ok(Pattern(kBodyLength)));
        return;
    }
    connection.Send(OkHead(kEndlessLength) + Pattern(kBodyLength));
    connection.WaitForEnd();
}

/// What has happened in all, and the states told: each one holds the detection until the requests have seen it.
class Tally {
public:
    /// A request has got its part of a reply and waits for the rest.
    void NoteWaiting() {
        monitor_.Update([&] { ++waiting_; });
    }
    void NoteEnd(const Notification& final, bool waiting) {
        monitor_.Update([&] {
            ++ended_;
            if (final.reason == WPK_REASON_REPLY) {
                ++replies_;
                wrong_ += final.bytes != Pattern(kBodyLength);
                return;
            }
            broken_ += waiting;
            wrong_ += final.error != WPK_ERROR_NO_NETWORK && final.error != WPK_ERROR_EXCHANGE &&
                      final.error != WPK_ERROR_CONNECT;
        });
    }
    /// On the library's thread.
    void NoteState(unsigned int connected) {
        const unsigned int changes = monitor_.Update([&] { return ++changes_; });
        if (changes > kChanges) return;
        if (connected == 1) {
            const unsigned int waiting = monitor_.Update([&] { return waiting_; });
            monitor_.WaitUntil([&] { return waiting_ > waiting; });
        } else {
            const unsigned int ended = monitor_.Update([&] { return ended_; });
            monitor_.WaitUntil([&] { return ended_ > ended + 1; });
        }
    }
    bool WaitForAllChanges() {
        return monitor_.WaitUntil([&] { return changes_ > kChanges; });
    }

    /// After the end of all threads.
    unsigned int wrong() const { return wrong_; }
    unsigned int replies() const { return replies_; }
    unsigned int broken() const { return broken_; }

private:
    Monitor monitor_;
    unsigned int changes_ = 0, waiting_ = 0, ended_ = 0, replies_ = 0, broken_ = 0, wrong_ = 0;
};

Tally& TheTally() {
    static Tally& tally = *new Tally;
    return tally;
}

void OnState(WPK_CALLBACKSTRUCT* notification) {
    TheTally().NoteState(notification->body.connection.dwConnected);
}

/// One request after the other until `over`.
void KeepSending(const Library& library, unsigned short port, const std::atomic<bool>& over) {
    while (!over) {
        Request request(port);
        bool waiting = false;
        request.inbox.inside = [&](WPK_CALLBACKSTRUCT& record) {
            if (record.nReason != WPK_REASON_PROGRESS || record.body.progress.dwTotal != kEndlessLength) return;
            if (!waiting) TheTally().NoteWaiting();
            waiting = true;
        };
        if (!request.Run(library) || request.inbox.Finals() != 1) Die("a request has not ended once");
        TheTally().NoteEnd(request.Final(), waiting);
    }
}

bool SocketsStarted() {
    const SOCKET made = socket(AF_INET, SOCK_STREAM, 0);
    if (made == INVALID_SOCKET) return false;
    closesocket(made);
    return true;
}

/// The states told.
Inbox& States() {
    static Inbox& inbox = *new Inbox;
    return inbox;
}

/// Sockets of the application's own. The system gives the values of closed ones to the next ones.
class OwnSockets {
public:
    OwnSockets() {
        for (SOCKET& made : sockets_) made = socket(AF_INET, SOCK_STREAM, 0);
    }
    ~OwnSockets() {
        for (const SOCKET made : sockets_) closesocket(made);
    }
    OwnSockets(const OwnSockets&) = delete;
    OwnSockets& operator=(const OwnSockets&) = delete;

    bool AllOpen() const {
        for (const SOCKET made : sockets_) {
            int type = 0, size = sizeof type;
            if (getsockopt(made, SOL_SOCKET, SO_TYPE, reinterpret_cast<char*>(&type), &size) != 0) return false;
        }
        return true;
    }

private:
    SOCKET sockets_[40];
};

/// The network goes and comes back while a request is in its callback. The argument is the port.
WPK_SCENARIO(ReturnToAnotherNetwork) {
    while (WSACleanup() == 0) continue;
    const auto port = static_cast<unsigned short>(std::stoi(argument));
    const Library library = LoadFromElsewhere();
    WPK_INITSTRUCT settings = PermanentSettings(States());
    settings.nConnectionType = WPK_CONNECTION_DIAL_UP;
    Play({ModemIn(kConnected)});
    if (library.Init(&settings) != 1 || !States().WaitForCount(2)) return 1;

    Request old(port);
    Signal inside, leave;
    old.inbox.inside = [&](WPK_CALLBACKSTRUCT& record) {
        if (record.nReason != WPK_REASON_PROGRESS) return;
        inside.Set();
        leave.Wait();
    };
    if (old.Send(library) == 0 || !inside.Wait()) return 2;
    Play({Failing(), ModemIn(kConnected)});
    if (!States().WaitForCount(4)) return 3;

    const OwnSockets sockets;
    if (!sockets.AllOpen()) return 4;
    leave.Set();
    if (!old.WaitForEnd() || old.Final().error != WPK_ERROR_EXCHANGE) return 5;
    return sockets.AllOpen() ? 0 : 6;
}

/// Here nobody but the library starts the sockets interface: when it cleans up, every socket of the process goes. The
/// argument is the port.
WPK_SCENARIO(Flapping) {
    while (WSACleanup() == 0) continue;
    const auto port = static_cast<unsigned short>(std::stoi(argument));
    const Library library = LoadFromElsewhere();
    WPK_INITSTRUCT settings = {};
    settings.nConnectionType = WPK_CONNECTION_DIAL_UP;
    settings.lpfnCallback = &OnState;
    Play({ModemIn(kConnected), Nothing(), ModemIn(kConnected), Failing()}, /*loop=*/true);
    if (library.Init(&settings) != 1) return 1;

    std::atomic<bool> over{false};
    std::vector<Thread> senders;
    for (int i = 0; i < kSenders; ++i) senders.emplace_back([&] { KeepSending(library, port, over); });
    const bool changed = TheTally().WaitForAllChanges();
    over = true;
    // At the second one of these looks, the network that was up at the first one has been told to be gone.
    Play({Nothing()});
    if (!changed || !WaitForPolls(2)) return 2;
    senders.clear();
    const size_t files = FilesLike(ScratchFolder(), "tmp*").size();
    std::printf("%u replies, %u requests broken off, %u wrong, %u files left\n", TheTally().replies(),
                TheTally().broken(), TheTally().wrong(), static_cast<unsigned int>(files));
    std::fflush(stdout);
    if (TheTally().wrong() != 0 || files != 0) return 3;
    if (TheTally().replies() == 0 || TheTally().broken() < kChanges / 2) return 4;
    if (SocketsStarted()) return 5;

    // After all that, the next network is as good as the first one: of two requests, one is answered.
    Play({ModemIn(kConnected)});
    if (!WaitForPolls(2)) return 6;
    Request first(port), second(port);
    for (Request* request : {&first, &second}) {
        if (request->Send(library) == 0) return 7;
    }
    Play({Nothing()});
    if (!first.WaitForEnd() || !second.WaitForEnd()) return 8;
    const bool answered = first.Final().bytes == Pattern(kBodyLength) || second.Final().bytes == Pattern(kBodyLength);
    return answered ? 0 : 9;
}

TEST(FlappingNetwork, RequestsAcrossEveryChangeAllEndOnceAndTheNextNetworkWorks) {
    Peer peer(&AnswerEverySecond, kSenders + 2);
    EXPECT_EQ(Child("Flapping", std::to_string(peer.Port())).Wait(), 0u);
}

TEST(FlappingNetwork, RequestOfTheOldNetworkLeavesTheSocketsOfTheNewOneAlone) {
    Peer peer([](Connection& connection) {
        connection.ReadRequest();
        connection.Send(OkHead(kEndlessLength) + "some");
        connection.WaitForEnd();
    });
    EXPECT_EQ(Child("ReturnToAnotherNetwork", std::to_string(peer.Port())).Wait(), 0u);
}

}  // namespace
}  // namespace wpk::harness
