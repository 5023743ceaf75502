// Storms of calls from many threads, for ThreadSanitizer above all.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "host/child_process.h"
#include "host/control.h"
#include "host/scene.h"
#include "transport/connection.h"
#include "transport/sockets_interface.h"

namespace wpk::host {

using namespace core;
namespace {

WPK_INITSTRUCT PermanentNetwork() {
    WPK_INITSTRUCT settings{};
    settings.nConnectionType = WPK_CONNECTION_PERMANENT;
    settings.lpfnCallback = [](WPK_CALLBACKSTRUCT*) {};
    return settings;
}

/// Until only the threads are left that are there for good, the front desk at least: then no thread uses a request any
/// more.
void AwaitQuiet(int64_t lasting_threads = 1) {
    ASSERT_TRUE(AwaitThat([=] { return CountLive().threads == lasting_threads; })) << CountLive();
}

void ExpectNothingLeft(int64_t lasting_threads = 1) {
    AwaitQuiet(lasting_threads);
    EXPECT_EQ(CountLive().sockets, 0);
    EXPECT_EQ(CountLive().files, 0);
    EXPECT_EQ(CountLive().views, 0);
    EXPECT_EQ(Misuses(), std::vector<std::string>());
}

template <class Work>
void RunOnThreads(int count, Work work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back([&work, i] { work(i); });
    for (std::thread& thread : threads) thread.join();
}

// A test whose body runs in a process of its own.
#define RACE_IN_CHILD(name)                   \
    void name();                              \
    TEST(Races, name) {                       \
        const bool passed = RunInChild(name); \
        EXPECT_TRUE(passed);                  \
    }                                         \
    void name()

using Requests = std::vector<std::unique_ptr<Request>>;

constexpr int kSenders = 6;
constexpr int kRounds = 30;

void Storm(const Server& server, int sender, Requests& requests) {
    std::minstd_rand random(static_cast<unsigned>(sender) + 1);
    const char* const services[] = {"Small", "Large", "Silent", "Unknown"};
    for (int round = 0; round < kRounds; ++round) {
        const std::string service = services[random() % 4];
        requests.push_back(std::make_unique<Request>(server.Port(), service));
        Request& request = *requests.back();
        ASSERT_NE(request.Send(), 0u);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
        if (service == "Silent" || random() % 2 == 0) {
            EXPECT_EQ(WPK_Cancel(request.Handle()), 1);
        }
        ASSERT_TRUE(request.AwaitFinal()) << service;
    }
}

/// A cancel that comes after the end of its request may find another one under the same handle.
bool IsExpectedEnd(Request& request) {
    switch (request.Error()) {
        case 0:
            return request.Reply() == "small" || request.Reply() == std::string(Server::kLargeSize, 'x');
        case WPK_ERROR_CANCELLED:
        case WPK_ERROR_NO_SERVICE:
            return true;
        default:
            return false;
    }
}

RACE_IN_CHILD(RequestsCancelledAtRandomMomentsEndExactlyOnce) {
    const WPK_INITSTRUCT settings = PermanentNetwork();
    ASSERT_EQ(WPK_Init(&settings), 1);
    const auto& server = Lasting<Server>();
    auto& requests = Lasting<std::vector<Requests>>(kSenders);
    RunOnThreads(kSenders, [&](int i) { Storm(server, i, requests[static_cast<size_t>(i)]); });
    ExpectNothingLeft();
    for (Requests& own : requests) {
        EXPECT_EQ(own.size(), static_cast<size_t>(kRounds));
        for (auto& request : own) {
            EXPECT_EQ(request->Finals(), 1);
            EXPECT_TRUE(IsExpectedEnd(*request)) << request->Error();
        }
    }
}

RACE_IN_CHILD(CancelsOfOneRequestByManyThreadsEndItOnce) {
    const WPK_INITSTRUCT settings = PermanentNetwork();
    ASSERT_EQ(WPK_Init(&settings), 1);
    const auto& server = Lasting<Server>();
    for (int round = 0; round < 15; ++round) {
        auto& request = Lasting<Request>(server.Port(), "Silent");
        ASSERT_NE(request.Send(), 0u);
        RunOnThreads(4, [&request](int) { EXPECT_EQ(WPK_Cancel(request.Handle()), 1); });
        ASSERT_TRUE(request.AwaitFinal());
        AwaitQuiet();
        EXPECT_EQ(request.Finals(), 1);
        EXPECT_EQ(request.Error(), WPK_ERROR_CANCELLED);
    }
    ExpectNothingLeft();
}

RACE_IN_CHILD(CancelRightBeforeAnyCallOfTheExchangeEndsTheRequestOnce) {
    const WPK_INITSTRUCT settings = PermanentNetwork();
    ASSERT_EQ(WPK_Init(&settings), 1);
    const auto& server = Lasting<Server>();
    for (const char* call : {"socket", "connect", "select", "ioctlsocket", "send", "recv", "CreateFileA",
                             "MapViewOfFile", "UnmapViewOfFile", "closesocket"}) {
        auto& request = Lasting<Request>(server.Port(), "Large");
        auto& handle = Lasting<std::atomic<unsigned>>(0u);
        auto& cancelled = Lasting<std::atomic<bool>>(false);
        RunBefore(call, 1, [&handle, &cancelled] {
            EXPECT_TRUE(AwaitThat([&handle] { return handle != 0; }));
            EXPECT_EQ(WPK_Cancel(handle), 1);
            cancelled = true;
        });
        handle = request.Send();
        ASSERT_TRUE(request.AwaitFinal()) << call;
        AwaitQuiet();
        ClearActions();
        EXPECT_TRUE(cancelled) << call << " was not used";
        EXPECT_EQ(request.Finals(), 1) << call;
        EXPECT_TRUE(IsExpectedEnd(request)) << call << ": " << request.Error();
    }
    ExpectNothingLeft();
}

RACE_IN_CHILD(InitialisedByManyThreadsAtOnceStartsOnce) {
    const WPK_INITSTRUCT settings = PermanentNetwork();
    const auto& server = Lasting<Server>();
    std::atomic<int> ready{0};
    auto& requests = Lasting<Requests>();
    for (int i = 0; i < 8; ++i) requests.push_back(std::make_unique<Request>(server.Port(), "Small"));
    RunOnThreads(8, [&](int i) {
        ++ready;
        while (ready < 8) std::this_thread::yield();
        // Half of them send while the others initialise, and are refused or served.
        EXPECT_TRUE(i % 2 != 0 || WPK_Init(&settings) == 1);
        Request& request = *requests[static_cast<size_t>(i)];
        EXPECT_TRUE(request.Send() == 0 || request.AwaitFinal());
        EXPECT_TRUE(i % 2 != 0 || (request.Handle() != 0 && request.Error() == 0));
    });
    ExpectNothingLeft();
    EXPECT_EQ(SocketStarts(), 1);
    for (auto& request : requests) EXPECT_EQ(request->Finals(), request->Handle() != 0 ? 1 : 0);
}

/// The texts of a request's proxy credentials, from a folded base64 header; empty without one.
std::string CredentialsOf(const std::string& request) {
    static const std::string kHeader = "Proxy-Authorization: Basic ";
    static const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    size_t at = request.find(kHeader);
    if (at == std::string::npos) return "";
    std::string text;
    unsigned bits = 0;
    int count = 0;
    for (at += kHeader.size(); request.compare(at, 4, "\r\n\r\n") != 0 && at < request.size(); ++at) {
        const size_t digit = kAlphabet.find(request[at]);
        if (digit == std::string::npos) continue;
        bits = bits << 6 | static_cast<unsigned>(digit);
        count += 6;
        if (count < 8) continue;
        count -= 8;
        text += static_cast<char>(bits >> count & 0xFF);
    }
    return text;
}

bool AreWhole(const std::string& credentials) {
    return credentials.size() == 401 && credentials[200] == ':' &&
           credentials == std::string(200, credentials[0]) + ':' + std::string(200, credentials[0]);
}

RACE_IN_CHILD(ProxyCredentialsReplacedWhileOthersCopyThemAreNeverTorn) {
    auto& torn = Lasting<std::atomic<int>>(0);
    auto& connections = Lasting<std::atomic<int>>(0);
    const auto& proxy = Lasting<Peer>(
        [&torn, &connections](Peer::Connection& connection) {
            const std::string credentials = CredentialsOf(connection.ReadRequest());
            if (!AreWhole(credentials)) ++torn;
            // Every other connection is asked for new ones.
            const bool known = ++connections % 2 == 0;
            connection.Write(known ? Reply("small") : Reply("", "407 Who are you"));
        },
        Peer::Serve::kAtOnce);
    const std::string initial(200, 'z');
    WPK_INITSTRUCT settings = PermanentNetwork();
    settings.bBehindProxy = 1;
    settings.lpszProxyServer = "127.0.0.1";
    settings.nProxyPort = proxy.Port();
    settings.lpszProxyUser = initial.c_str();
    settings.lpszProxyPassword = initial.c_str();
    ASSERT_EQ(WPK_Init(&settings), 1);
    auto& requests = Lasting<std::vector<Requests>>(kSenders);
    RunOnThreads(kSenders, [&](int i) {
        for (int round = 0; round < kRounds; ++round) {
            auto& own = requests[static_cast<size_t>(i)];
            own.push_back(std::make_unique<Request>(proxy.Port(), "Any"));
            own.back()->user.assign(200, static_cast<char>('a' + i));
            own.back()->password = own.back()->user;
            ASSERT_NE(own.back()->Send(), 0u);
            ASSERT_TRUE(own.back()->AwaitFinal());
            EXPECT_EQ(own.back()->Reply(), "small");
        }
    });
    ExpectNothingLeft();
    EXPECT_EQ(torn, 0);
    EXPECT_GT(connections, kSenders * kRounds);
}

RACE_IN_CHILD(CallbacksThatThrowAmongOthersStopOnlyTheirOwnRequests) {
    const WPK_INITSTRUCT settings = PermanentNetwork();
    ASSERT_EQ(WPK_Init(&settings), 1);
    const auto& server = Lasting<Server>();
    auto& requests = Lasting<std::vector<Requests>>(kSenders);
    RunOnThreads(kSenders, [&](int i) {
        for (int round = 0; round < kRounds; ++round) {
            auto& own = requests[static_cast<size_t>(i)];
            own.push_back(std::make_unique<Request>(server.Port(), "Small"));
            Request& request = *own.back();
            if (round % 3 == 0) {
                request.on_notification = [](const WPK_CALLBACKSTRUCT&) { throw 1; };
            }
            ASSERT_NE(request.Send(), 0u);
            ASSERT_TRUE(request.on_notification || request.AwaitFinal());
        }
    });
    ExpectNothingLeft();
    for (Requests& own : requests) {
        for (auto& request : own) EXPECT_EQ(request->Finals(), request->on_notification ? 0 : 1);
    }
    EXPECT_EQ(EventLog().size(), static_cast<size_t>(kSenders * kRounds / 3));
}

RACE_IN_CHILD(CallbacksMaySendAndCancelFurtherRequests) {
    const WPK_INITSTRUCT settings = PermanentNetwork();
    ASSERT_EQ(WPK_Init(&settings), 1);
    const auto& server = Lasting<Server>();
    auto& first = Lasting<Requests>();
    auto& second = Lasting<Requests>();
    for (int i = 0; i < kRounds; ++i) {
        first.push_back(std::make_unique<Request>(server.Port(), "Small"));
        second.push_back(std::make_unique<Request>(server.Port(), i % 2 == 0 ? "Small" : "Silent"));
        first.back()->on_notification = [next = second.back().get()](const WPK_CALLBACKSTRUCT& notification) {
            if (notification.nReason != WPK_REASON_REPLY) return;
            EXPECT_NE(next->Send(), 0u);
            EXPECT_EQ(WPK_Cancel(next->Handle()), 1);
        };
    }
    RunOnThreads(kSenders, [&](int i) {
        for (size_t n = static_cast<size_t>(i); n < first.size(); n += kSenders) ASSERT_NE(first[n]->Send(), 0u);
    });
    for (auto& request : first) ASSERT_TRUE(request->AwaitFinal());
    // A late cancel may have found one of the first requests, which then sends nothing.
    int sent = 0;
    for (auto& request : second) {
        if (request->Handle() == 0) continue;
        ++sent;
        ASSERT_TRUE(request->AwaitFinal());
    }
    EXPECT_GT(sent, kRounds / 2);
    ExpectNothingLeft();
    for (auto& request : second) EXPECT_EQ(request->Finals(), request->Handle() != 0 ? 1 : 0);
}

RACE_IN_CHILD(SocketOpenedWhileACleanUpIsAtWorkWaitsForItsEnd) {
    // The network has come back before the clean-up of the one before.
    ASSERT_TRUE(StartSockets());
    ASSERT_TRUE(StartSockets());
    std::atomic<bool> over{false};
    bool opened = false;
    std::thread other;
    RunBefore("WSACleanup", 1, [&] {
        const uint64_t waits = Uses("WaitForSingleObject");
        other = std::thread([&] {
            Connection connection;
            opened = connection.Open();
            over = true;
        });
        EXPECT_TRUE(AwaitThat([&] { return over || Uses("WaitForSingleObject") > waits; }));
        EXPECT_FALSE(over);
    });
    CleanUpSockets();
    ASSERT_TRUE(other.joinable());
    other.join();
    EXPECT_TRUE(opened);
    EXPECT_EQ(SocketStarts(), 1);
}

/// Connections that the default callback has been told of: comes and goes.
struct Told {
    std::atomic<int> comes{0};
    std::atomic<int> goes{0};

    static void Note(WPK_CALLBACKSTRUCT* notification) {
        auto* told = static_cast<Told*>(notification->lpUserData);
        ++(notification->body.connection.dwConnected ? told->comes : told->goes);
    }
};

RACE_IN_CHILD(ModemThatComesAndGoesUnderRequestsEndsEachOfThemOnce) {
    // The modem is looked at every ten milliseconds.
    SpeedUp(500, 1);
    modem::Install();
    auto& told = Lasting<Told>();
    WPK_INITSTRUCT settings{};
    settings.nConnectionType = WPK_CONNECTION_DIAL_UP;
    settings.lpfnCallback = Told::Note;
    settings.lpUserData = &told;
    ASSERT_EQ(WPK_Init(&settings), 1);
    const auto& server = Lasting<Server>();
    auto& requests = Lasting<std::vector<Requests>>(kSenders);
    std::atomic<int> senders{kSenders};
    RunOnThreads(kSenders + 1, [&](int i) {
        if (i < kSenders) {
            Storm(server, i, requests[static_cast<size_t>(i)]);
            --senders;
            return;
        }
        for (int round = 1; senders > 0; ++round) {
            modem::Dial();
            ASSERT_TRUE(AwaitThat([&] { return told.comes == round; }));
            modem::HangUp();
            ASSERT_TRUE(AwaitThat([&] { return told.goes == round + 1; }));
        }
    });
    // The front desks of both services, and the Peeker.
    ExpectNothingLeft(3);
    EXPECT_GT(told.comes, 1);
    for (Requests& own : requests) {
        for (auto& request : own) EXPECT_EQ(request->Finals(), 1);
    }
}

}  // namespace
}  // namespace wpk::host
