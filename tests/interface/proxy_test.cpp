// Requests through a proxy: who is called, what is asked, and which credentials are sent.
// SPDX-License-Identifier: MIT
#include "support/dll/peer.h"
#include "support/dll/process.h"
#include "support/dll/proxied.h"
#include "support/dll/request.h"
#include "support/dll/wire.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace wpk::harness {
namespace {

std::unique_ptr<Request> ToNowhere() {
    auto request = std::make_unique<Request>(static_cast<unsigned short>(8080));
    request->Server("server.invalid");
    return request;
}

std::string Expected(const std::string& authorization) {
    ExpectedRequest expected;
    expected.server = "server.invalid";
    expected.port = 8080;
    expected.viaProxy = true;
    expected.authorization = authorization;
    return expected.Bytes();
}

const std::string kAsk = RawReply("HTTP/1.0 407 Proxy Authentication Required", {"Content-Length: 5"}, "login");

/// Answers the first connections as told, all later ones with "ok".
Peer::Script AnswerInTurn(std::vector<std::string> replies) {
    return [replies = std::move(replies)](Connection& connection) {
        connection.ReadRequest();
        connection.Send(connection.Index() < replies.size() ? replies[connection.Index()] : Ok("ok"));
    };
}

/// The request that a proxy sees when the library has these credentials.
std::string SentWith(const char* user, const char* password) {
    Peer proxy(Answer(Ok("ok")));
    const Proxied proxied(proxy.Port(), user, password);
    const auto request = ToNowhere();
    RunAndExpectReply(proxied.library, *request, "ok");
    return proxy.WaitForRequest();
}

TEST(Proxy, WithoutCredentialsGetsNoAuthorisation) {
    EXPECT_EQ(SentWith(nullptr, nullptr), Expected(""));
    EXPECT_EQ(SentWith("", ""), Expected(""));
}

TEST(Proxy, WithCredentialsGetsThemAsBase64) {
    EXPECT_EQ(SentWith("u", "p"), Expected("dTpw"));
    EXPECT_EQ(SentWith("user", "pass"), Expected("dXNlcjpwYXNz"));
}

TEST(Proxy, WithOneOfTheTwoGetsAuthorisation) {
    EXPECT_EQ(SentWith("u", nullptr), Expected("dTo="));
    EXPECT_EQ(SentWith(nullptr, "p"), Expected("OnA="));
}

// 57 bytes fill one line of 76 characters; what is longer goes on in the next line of the header.
TEST(Proxy, PairOfMoreThan57BytesIsFolded) {
    const struct {
        size_t user;
        size_t password;
        size_t folds;
    } kTable[] = {{28, 27, 0}, {28, 28, 0}, {28, 29, 1}, {57, 56, 1}, {57, 57, 2}, {255, 255, 8}};
    for (const auto& row : kTable) {
        SCOPED_TRACE(row.user + 1 + row.password);
        const std::string user(row.user, 'u');
        const std::string password(row.password, 'p');
        const std::string value = Base64Folded(user + ":" + password);
        EXPECT_EQ(static_cast<size_t>(std::count(value.begin(), value.end(), '\n')), row.folds);
        EXPECT_EQ(SentWith(user.c_str(), password.c_str()), Expected(value));
    }
}

TEST(Proxy, IsUsedOnlyWhenTheSettingIsOne) {
    for (const WPK_INT64 behind_proxy : {0, 2, -1}) {
        Peer server(Answer(Ok("ok")));
        const Library library = Library::LoadFresh();
        WPK_INITSTRUCT settings = PermanentSettings(*new Inbox);
        settings.bBehindProxy = behind_proxy;
        settings.lpszProxyServer = "proxy.invalid";
        settings.lpszProxyUser = "u";
        settings.lpszProxyPassword = "p";
        ASSERT_EQ(library.Init(&settings), 1);
        Request request(server.Port());
        RunAndExpectReply(library, request, "ok");
        ExpectedRequest expected;
        expected.port = server.Port();
        EXPECT_EQ(server.WaitForRequest(), expected.Bytes());
    }
}

TEST(Proxy, WantedButNotNamedMakesEveryRequestUnusable) {
    for (const char* name : {static_cast<const char*>(nullptr), ""}) {
        Peer server(Answer(Ok("ok")));
        const Library library = Library::LoadFresh();
        WPK_INITSTRUCT settings = PermanentSettings(*new Inbox);
        settings.bBehindProxy = 1;
        settings.lpszProxyServer = name;
        ASSERT_EQ(library.Init(&settings), 1);
        Request request(server.Port());
        RunAndExpectFailure(library, request, WPK_ERROR_BAD_REQUEST);
        EXPECT_EQ(server.Connections(), 0u);
    }
}

TEST(Proxy, SettingsTextsAreCopied) {
    Peer proxy(Answer(Ok("ok")));
    const Library library = Library::LoadFresh();
    char host[] = "127.0.0.1";
    char user[] = "u";
    char password[] = "p";
    WPK_INITSTRUCT settings = PermanentSettings(*new Inbox);
    settings.bBehindProxy = 1;
    settings.lpszProxyServer = host;
    settings.nProxyPort = proxy.Port();
    settings.lpszProxyUser = user;
    settings.lpszProxyPassword = password;
    ASSERT_EQ(library.Init(&settings), 1);
    for (char* text : {host, user, password}) std::memset(text, 'x', std::strlen(text));
    settings = {};
    const auto request = ToNowhere();
    RunAndExpectReply(library, *request, "ok");
    EXPECT_EQ(proxy.WaitForRequest(), Expected("dTpw"));
}

TEST(ProxyCredentials, DeclinedByTheApplicationEndTheRequest) {
    Peer proxy(AnswerInTurn({kAsk}));
    const Proxied proxied(proxy.Port(), "old user", "old password");
    const auto request = ToNowhere();
    RunAndExpectFailure(proxied.library, *request, WPK_ERROR_PROXY_CREDENTIALS);
    const std::vector<Notification> all = request->inbox.All();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].reason, static_cast<unsigned int>(WPK_REASON_CREDENTIALS));
    EXPECT_EQ(all[0].user, "old user");
    EXPECT_EQ(all[0].password, "old password");
    EXPECT_EQ(all[0].retry, 0u);
    EXPECT_TRUE(all[0].restIsZero);
    EXPECT_EQ(proxy.Connections(), 1u);
}

TEST(ProxyCredentials, ChangedWithoutTheRetryFlagAreNotTaken) {
    Peer proxy(AnswerInTurn({kAsk}));
    const Proxied proxied(proxy.Port(), "u", "p");
    const auto first = ToNowhere();
    first->inbox.inside = [](WPK_CALLBACKSTRUCT& record) {
        if (record.nReason == WPK_REASON_CREDENTIALS) FillField(record.body.credentials.szUser, "another");
    };
    RunAndExpectFailure(proxied.library, *first, WPK_ERROR_PROXY_CREDENTIALS);
    const auto second = ToNowhere();
    RunAndExpectReply(proxied.library, *second, "ok");
    EXPECT_EQ(proxy.WaitForRequest(1), Expected("dTpw"));
}

TEST(ProxyCredentials, ReplacedAreSentOnANewConnectionAndKeptForLaterRequests) {
    Peer proxy(AnswerInTurn({kAsk}));
    const Proxied proxied(proxy.Port(), nullptr, nullptr);
    const auto first = ToNowhere();
    AnswerCredentials(*first, "user", "pass");
    RunAndExpectReply(proxied.library, *first, "ok");
    const auto second = ToNowhere();
    RunAndExpectReply(proxied.library, *second, "ok");
    EXPECT_EQ(proxy.Requests(),
              (std::vector<std::string>{Expected(""), Expected("dXNlcjpwYXNz"), Expected("dXNlcjpwYXNz")}));
    EXPECT_EQ(proxy.Connections(), 3u);
}

TEST(ProxyCredentials, AskedForAgainAndAgainShowTheOnesLastUsed) {
    Peer proxy(AnswerInTurn({kAsk, kAsk, kAsk}));
    const Proxied proxied(proxy.Port(), "user0", "pass0");
    const auto request = ToNowhere();
    int asked = 0;
    request->inbox.inside = [&](WPK_CALLBACKSTRUCT& record) {
        if (record.nReason != WPK_REASON_CREDENTIALS) return;
        ++asked;
        FillField(record.body.credentials.szUser, "user" + std::to_string(asked));
        FillField(record.body.credentials.szPassword, "pass" + std::to_string(asked));
        record.body.credentials.bRetry = 0x80000000;  // any value but 0
    };
    RunAndExpectReply(proxied.library, *request, "ok");
    EXPECT_EQ(asked, 3);
    const std::vector<Notification> all = request->inbox.All();
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(all[i].user, "user" + std::to_string(i));
        EXPECT_EQ(all[i].password, "pass" + std::to_string(i));
        EXPECT_EQ(CredentialsOf(proxy.Requests()[i]), "user" + std::to_string(i) + ":pass" + std::to_string(i));
    }
}

TEST(ProxyCredentials, LongerThanTheFieldsAreSentWholeAndShownCut) {
    const std::string user(300, 'u');
    const std::string password(1000, 'p');
    Peer proxy(AnswerInTurn({kAsk}));
    const Proxied proxied(proxy.Port(), user.c_str(), password.c_str());
    const auto request = ToNowhere();
    RunAndExpectFailure(proxied.library, *request, WPK_ERROR_PROXY_CREDENTIALS);
    EXPECT_EQ(proxy.WaitForRequest(), Expected(Base64Folded(user + ":" + password)));
    const Notification asked = request->inbox.All()[0];
    EXPECT_EQ(asked.user, user.substr(0, WPK_CREDENTIAL_SIZE - 1));
    EXPECT_EQ(asked.password, password.substr(0, WPK_CREDENTIAL_SIZE - 1));
}

TEST(ProxyCredentials, ReturnedWithoutATerminatorEndWithTheField) {
    Peer proxy(AnswerInTurn({kAsk}));
    const Proxied proxied(proxy.Port(), nullptr, nullptr);
    const auto request = ToNowhere();
    AnswerCredentials(*request, std::string(WPK_CREDENTIAL_SIZE, 'u'), std::string(WPK_CREDENTIAL_SIZE, 'p'));
    RunAndExpectReply(proxied.library, *request, "ok");
    const std::string sent = CredentialsOf(proxy.WaitForRequest(1));
    const size_t colon = sent.find(':');
    ASSERT_NE(colon, std::string::npos);
    for (const size_t length : {colon, sent.size() - colon - 1}) {
        EXPECT_GE(length, static_cast<size_t>(WPK_CREDENTIAL_SIZE) - 1);
        EXPECT_LE(length, static_cast<size_t>(WPK_CREDENTIAL_SIZE));
    }
    EXPECT_EQ(sent.find_first_not_of('u'), colon);
    EXPECT_EQ(sent.find_first_not_of('p', colon + 1), std::string::npos);
}

TEST(ProxyCredentials, WantedByTheServerItselfAreNotAskedFor) {
    Peer server(AnswerInTurn({kAsk}));
    const Library library = StartFresh();
    Request request(server.Port());
    RunAndExpectFailure(library, request, WPK_ERROR_PROXY_CREDENTIALS);
    EXPECT_EQ(request.inbox.All().size(), 1u);
}

TEST(ProxyCredentials, AskedForWithoutALengthAreAskedForAllTheSame) {
    Peer proxy(AnswerInTurn({"HTTP/1.0 407 Proxy Authentication Required\r\nProxy-Authenticate: Basic\r\n\r\n"}));
    const Proxied proxied(proxy.Port(), nullptr, nullptr);
    const auto request = ToNowhere();
    AnswerCredentials(*request, "u", "p");
    RunAndExpectReply(proxied.library, *request, "ok");
    EXPECT_EQ(proxy.WaitForRequest(1), Expected("dTpw"));
    EXPECT_TRUE(FilesLike("", "tmp*").empty());
}

TEST(ProxyCredentials, AskedForWithALargePageBringNoProgressAndNoFile) {
    Peer proxy(AnswerInTurn({RawReply("HTTP/1.0 407 Login", {"Content-Length: 50000"}, Pattern(50000))}));
    const Proxied proxied(proxy.Port(), nullptr, nullptr);
    const auto request = ToNowhere();
    RunAndExpectFailure(proxied.library, *request, WPK_ERROR_PROXY_CREDENTIALS);
    EXPECT_EQ(request->inbox.All().size(), 2u);
    EXPECT_TRUE(FilesLike("", "tmp*").empty());
}

// The callback waits until the cancel has been carried out, then asks for another round: none may come. The final one
// waits until the proxy has seen the end of the connection.
TEST(ProxyCredentials, CancelledWhileTheApplicationIsAskedEndTheRequestAndCloseItsConnectionFirst) {
    for (const unsigned int retry : {0u, 1u}) {
        SCOPED_TRACE(retry);
        Signal closed;
        bool closedFirst = false;
        Peer proxy([&](Connection& connection) {
            connection.ReadRequest();
            connection.Send(kAsk);
            if (connection.WaitForEnd()) closed.Set();
        });
        const Proxied proxied(proxy.Port(), nullptr, nullptr);
        const auto request = ToNowhere();
        request->inbox.inside = [&](WPK_CALLBACKSTRUCT& record) {
            if (record.nReason == WPK_REASON_FAILURE) closedFirst = closed.Wait();
            if (record.nReason != WPK_REASON_CREDENTIALS) return;
            const std::set<DWORD> before = ThreadIds();
            proxied.library.Cancel(GetCurrentThreadId());
            WaitForOtherThreads(before);
            record.body.credentials.bRetry = retry;
        };
        RunAndExpectFailure(proxied.library, *request, WPK_ERROR_CANCELLED);
        EXPECT_TRUE(closedFirst);
        EXPECT_EQ(proxy.Connections(), 1u);
    }
}

TEST(ProxyCredentials, QuestionToAThrowingCallbackEndsOnlyThatRequest) {
    Peer proxy(AnswerInTurn({kAsk}));
    const Proxied proxied(proxy.Port(), nullptr, nullptr);
    const auto request = ToNowhere();
    request->inbox.inside = [](WPK_CALLBACKSTRUCT&) { throw 1; };
    ASSERT_NE(request->Send(proxied.library), 0u);
    ASSERT_TRUE(request->inbox.WaitForThreadEnd());
    EXPECT_EQ(request->inbox.All().size(), 1u);
    const auto next = ToNowhere();
    RunAndExpectReply(proxied.library, *next, "ok");
}

// Many requests replace the credentials while many others read them: no text is ever a mixture of two.
TEST(ProxyCredentials, ReplacedByManyAtOnceAreNeverTorn) {
    Peer proxy(
        [](Connection& connection) {
            const std::string request = connection.ReadRequest();
            // Asks every other time.
            connection.Send(connection.Index() % 2 == 0 ? kAsk : Ok("ok"));
        },
        8);
    const Proxied proxied(proxy.Port(), "0000000000", "0000000000");
    std::vector<Thread> senders;
    std::vector<std::unique_ptr<Request>> requests(100);
    for (size_t sender = 0; sender < 4; ++sender) {
        senders.emplace_back([&, sender] {
            for (size_t i = sender; i < requests.size(); i += 4) {
                requests[i] = ToNowhere();
                const std::string text(10 + i, static_cast<char>('A' + i % 26));
                AnswerCredentials(*requests[i], text, text);
                requests[i]->Run(proxied.library);
            }
        });
    }
    senders.clear();
    for (const auto& request : requests) ExpectReply(*request, "ok");
    for (const std::string& request : proxy.Requests()) {
        const std::string pair = CredentialsOf(request);
        const std::string user = pair.substr(0, pair.find(':'));
        EXPECT_GE(user.size(), 10u);
        EXPECT_EQ(pair, user + ":" + user);
        EXPECT_EQ(user.find_first_not_of(user[0]), std::string::npos) << pair;
    }
}

}  // namespace
}  // namespace wpk::harness
