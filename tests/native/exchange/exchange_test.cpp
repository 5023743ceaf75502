// One exchange: its order, its ends, and what it leaves in memory.
// SPDX-License-Identifier: MIT
#include "transport/exchange.h"

#include <filesystem>
#include <memory>
#include <optional>

#include "native/exchange/carried.h"
#include "native/exchange/freed_memory.h"
#include "transport/notification.h"

namespace wpk::host {

using namespace core;
namespace {

TEST_F(ExchangeTest, OneFailedOpenIsMadeUpForByTheSecond) {
    const Server server;
    for (const char* call : {"socket", "setsockopt"}) {
        FailCall(call, 1);
        Carried request(state, server.Port(), "Small");
        EXPECT_EQ(request.Run(), 0) << call;
        EXPECT_EQ(FaultsFired(call), 1u);
        ClearFaults();
    }
    FailCall("socket", 1, Times::kForGood);
    Carried request(state, server.Port(), "Small");
    EXPECT_EQ(request.Run(), WPK_ERROR_CONNECT);
    EXPECT_EQ(FaultsFired("socket"), 2u) << "there is no third";
}

TEST_F(ExchangeTest, WithoutOneOfItsRecordsFailsAfterTheRequestIsCheckedAndBeforeTheNetworkIs) {
    const Semaphore cancel(SemaphoreKind::kSignal);
    Connection connection;
    state.connectionStatus = 0;
    {
        NativeRequest request(80, "Small");
        EXPECT_EQ(RunExchange(&request.message, nullptr, &cancel, state), 0u);
        EXPECT_EQ(request.Error(), WPK_ERROR_EXCHANGE);
    }
    {
        NativeRequest request(80, "Small");
        EXPECT_EQ(RunExchange(&request.message, &connection, nullptr, state), 0u);
        EXPECT_EQ(request.Error(), WPK_ERROR_EXCHANGE);
    }
    NativeRequest request(80, "Small");
    request.message.lpszServer = "";
    EXPECT_EQ(RunExchange(&request.message, nullptr, nullptr, state), 0u);
    EXPECT_EQ(request.Error(), WPK_ERROR_BAD_REQUEST);
}

TEST_F(ExchangeTest, LooksBeforeEverySendAndEveryReceive) {
    const Server server;
    for (const char* service : {"Small", "Large"}) {
        const uint64_t looks = Uses("select");
        const uint64_t transfers = Uses("send") + Uses("recv");
        Carried request(state, server.Port(), service);
        ASSERT_EQ(request.Run(), 0);
        // One more, at least, has found the connection.
        EXPECT_GT(Uses("select") - looks, Uses("send") + Uses("recv") - transfers) << service;
    }
}

TEST_F(ExchangeTest, TheSignalOfACancelStaysToBeSeen) {
    const Server server;
    Carried request(state, server.Port(), "Small");
    request.CancelBefore("send", 2);
    EXPECT_EQ(request.Run(), WPK_ERROR_CANCELLED);
    EXPECT_TRUE(request.Records().cancel->semaphore.WaitFor(0));
}

TEST_F(ExchangeTest, ASignalAloneEndsTheRequestAsCancelled) {
    const Server server;
    for (const char* call : {"connect", "recv"}) {
        Carried request(state, server.Port(), "Unknown");
        RunBefore(call, 1, [&] { request.Records().cancel->semaphore.Signal(); });
        EXPECT_EQ(request.Run(), WPK_ERROR_CANCELLED) << call;
    }
}

TEST_F(ExchangeTest, AHeaderWithoutAColonIsRefusedAfterAllThatIsNeededToo) {
    NativePeer server([](NativePeer::Connection& connection) {
        connection.ReadRequest();
        const std::string reply = host::ReplyBytes("ok");
        const size_t headersEnd = reply.find("\r\n\r\n");
        connection.Write(reply.substr(0, headersEnd) + "\r\nno colon" + reply.substr(headersEnd));
    });
    Carried request(state, server.Port(), "Small");
    EXPECT_EQ(request.Run(), WPK_ERROR_EXCHANGE);
}

TEST_F(ExchangeTest, TheHeadOfAReplyDecidesHowItsRequestEnds) {
    const struct {
        std::string head;
        int end;
    } replies[] = {
        {"HTTP/1.0 200 OK\r\nServer: WPK/2.0 (Win32)\r\nContent-Length: 0\r\n\r\n", WPK_ERROR_BAD_VERSION},
        {"HTTP/1.0 404 Not Found\r\nContent-Length: 0\r\n\r\n", WPK_ERROR_EXCHANGE},
    };
    for (const auto& reply : replies) {
        NativePeer server([&reply](NativePeer::Connection& connection) {
            connection.ReadRequest();
            connection.Write(reply.head);
        });
        Carried request(state, server.Port(), "Small");
        EXPECT_EQ(request.Run(), reply.end) << reply.head;
    }
}

TEST_F(ExchangeTest, AProxyThatIsGoneAfterItsQuestionIsNotTakenForConnected) {
    SpeedUp(5000);
    for (const int end : {WPK_ERROR_CONNECT, WPK_ERROR_CANCELLED}) {
        std::optional<NativePeer> proxy;
        proxy.emplace([](NativePeer::Connection& connection) {
            connection.ReadRequest();
            connection.Write(host::ReplyBytes("", "407 Who are you"));
        });
        UseProxy(proxy->Port());
        Carried request(state, 80, "Small");
        request.user = "u";
        request.onNotification = [&](const WPK_CALLBACKSTRUCT& notification) {
            if (notification.nReason != WPK_REASON_CREDENTIALS) return;
            proxy.reset();
            if (end == WPK_ERROR_CANCELLED) request.CancelBefore("select", 3);
        };
        EXPECT_EQ(request.Run(), end);
        EXPECT_EQ(request.Questions(), 1);
    }
}

TEST_F(ExchangeTest, ALinkInTheWayOfASpoolFileIsNotFollowed) {
    const Server server;
    const std::string link = "tmp" + std::to_string(GetCurrentThreadId());
    std::filesystem::create_symlink("nowhere", link);
    Carried request(state, server.Port(), "Large");
    request.onNotification = [&link](const WPK_CALLBACKSTRUCT& notification) {
        if (notification.nReason != WPK_REASON_REPLY) return;
        EXPECT_TRUE(std::filesystem::exists(link + "_1")) << "the next name is taken";
    };
    EXPECT_EQ(request.Run(), 0);
    EXPECT_FALSE(std::filesystem::exists("nowhere"));
    EXPECT_TRUE(std::filesystem::remove(link)) << "and the link left alone";
}

TEST_F(ExchangeTest, WhatIsReadAheadIsWrittenIntoTheFileBeforeItIsMapped) {
    const Server server;
    uint64_t writes = 0;
    RunBefore("CreateFileMappingA", 1, [&writes] { writes = Uses("WriteFile"); });
    Carried request(state, server.Port(), "Large");
    EXPECT_EQ(request.Run(), 0);
    EXPECT_EQ(request.Reply(), std::string(Server::kLargeSize, 'x'));
    EXPECT_EQ(writes, 1u);
    EXPECT_EQ(Uses("WriteFile"), 1u);
    EXPECT_EQ(Uses("SetFileTime"), 1u);

    FailCall("WriteFile", 1);
    Carried another(state, server.Port(), "Large");
    EXPECT_EQ(another.Run(), WPK_ERROR_EXCHANGE) << "a disk that is full";
}

TEST_F(ExchangeTest, EachRecordThatCannotBeMadeRefusesTheRegistrationAndLeavesNothing) {
    const auto pending = PendingRequests::Create();
    const Live before = CountLive();
    FailCall("CreateSemaphoreA", 1);
    EXPECT_FALSE(pending->Add(4));
    EXPECT_EQ(FaultsFired(), 1u);
    EXPECT_EQ(CountLive(), before);
    EXPECT_EQ(pending->Any(), 0u);

    uint64_t faults = 0;
    for (;; ++faults) {
        FailCall("operator_new", faults + 1);
        const CodeScope library(Code::kLibrary);
        if (pending->Add(4)) break;
        EXPECT_EQ(CountLive(), before);
        EXPECT_EQ(pending->Any(), 0u);
    }
    EXPECT_GE(faults, 3u) << "both records, and the row";
    ClearFaults();
    pending->Remove(4);
    EXPECT_EQ(CountLive(), before);
}

/// Both texts are longer than what a reply or a name could hold of them by chance.
constexpr char kUser[] = "a user of no other name";
constexpr char kPassword[] = "a password of no other name";
constexpr char kAnswer[] = "another one altogether";
/// A stretch of the base64 that holds the middle of the first pair.
constexpr char kEncoded[] = "YSB1c2VyIG9mIG5vIG90aGVyIG5hbWU6YSBwYXNzd29yZCBvZiBubyBvdGhl";

TEST_F(ExchangeTest, CredentialsAndWhatIsMadeOfThemAreWipedFromFreedMemory) {
    const NativePeer proxy(
        [](NativePeer::Connection& connection) {
            const bool known = connection.ReadRequest().find(kEncoded) == std::string::npos;
            connection.Write(known ? host::ReplyBytes("small") : host::ReplyBytes("", "407 Who are you"));
        },
        NativePeer::Serve::kAtOnce);
    UseProxy(proxy.Port(), kUser, kPassword);
    Carried request(state, 80, "Small");
    request.user = kAnswer;
    request.password = kAnswer;
    {
        const FreedMemory freed({kUser, kPassword, kAnswer, kEncoded});
        EXPECT_EQ(request.Run(), 0);
        state.settings.Forget();
        EXPECT_EQ(freed.Finds(), 0);
        // What the watch itself is worth.
        auto plain = std::make_unique<std::string>(1000, 'p');
        *plain += kPassword;
        plain.reset();
        EXPECT_EQ(freed.Finds(), 1);
    }
    EXPECT_EQ(request.Questions(), 1);
}

/// Bytes of a record that is no more. The sanitizer's word on that is known.
[[gnu::noinline, gnu::no_sanitize_address]] bool IsThere(const volatile char* at, const char* text) {
    for (; *text != '\0'; ++text, ++at) {
        if (*at != *text) return false;
    }
    return true;
}

TEST_F(ExchangeTest, TheRecordOfAQuestionIsWipedFromTheStackHoweverItsCallbackEnds) {
    static const char* shown;
    for (const bool throws : {false, true}) {
        static bool throwing;
        throwing = throws;
        const Notifier notifier(
            [](WPK_CALLBACKSTRUCT* notification) {
                shown = notification->body.credentials.szPassword;
                EXPECT_TRUE(IsThere(shown, kPassword));
                if (throwing) throw 1;
            },
            nullptr);
        Credentials credentials{TextBuffer::CopyOf(kUser), TextBuffer::CopyOf(kPassword)};
        bool thrown = false;
        try {
            notifier.AskForCredentials(credentials);
        } catch (int) {
            thrown = true;
        }
        EXPECT_FALSE(IsThere(shown, kPassword));
        EXPECT_EQ(thrown, throws);
    }
}

}  // namespace
}  // namespace wpk::host
