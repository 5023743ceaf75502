// Real proxies that want to know who sends.
// SPDX-License-Identifier: MIT
#include "real_peers/ports.h"
#include "support/dll/proxied.h"
#include "support/dll/wire.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace wpk::harness {
namespace {

// All proxies know the user "user" with the password "pass" only.

std::vector<Notification> QuestionsOf(Request& request) {
    std::vector<Notification> questions;
    for (const Notification& one : request.inbox.All()) {
        if (one.reason == WPK_REASON_CREDENTIALS) questions.push_back(one);
    }
    return questions;
}

/// As an application with a dialog: each question gets the next of the user's tries, until the user gives up.
void AnswerInTurn(Request& request, const std::vector<std::string>& passwords) {
    request.inbox.inside = [passwords, asked = size_t{0}](WPK_CALLBACKSTRUCT& record) mutable {
        if (record.nReason != WPK_REASON_CREDENTIALS || asked == passwords.size()) return;
        FillField(record.body.credentials.szUser, "user");
        FillField(record.body.credentials.szPassword, passwords[asked++]);
        record.body.credentials.bRetry = 1;
    };
}

void ExpectTheQuestionAndTheAnswer(unsigned short proxy) {
    const Proxied proxied(proxy, nullptr, nullptr);
    Request declined(PortOf("server"));
    RunAndExpectFailure(proxied.library, declined, WPK_ERROR_PROXY_CREDENTIALS);
    const std::vector<Notification> questions = QuestionsOf(declined);
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(questions[0].user + ":" + questions[0].password, ":");

    Request answered(PortOf("server"));
    AnswerInTurn(answered, {"pass"});
    RunAndExpectReply(proxied.library, answered, "hello");
    EXPECT_EQ(QuestionsOf(answered).size(), 1u);

    for (int i = 0; i < 3; ++i) {
        Request next(PortOf("server"));
        RunAndExpectReply(proxied.library, next, "hello");
        EXPECT_TRUE(QuestionsOf(next).empty()) << "credentials that were right are kept";
    }
}

TEST(RealProxyCredentials, OfSquidAreAskedForOnceAndKept) {
    ExpectTheQuestionAndTheAnswer(PortOf("squid"));
}

TEST(RealProxyCredentials, OfTinyproxyAreAskedForOnceAndKept) {
    ExpectTheQuestionAndTheAnswer(PortOf("tinyproxy_password"));
}

TEST(RealProxyCredentials, ThatSquidDoesNotKnowAreAskedForUntilTheyAreRight) {
    const Proxied proxied(PortOf("squid"), "user", "wrong");
    Request request(PortOf("server"));
    AnswerInTurn(request, {"wrong again", "and again", "pass"});
    RunAndExpectReply(proxied.library, request, "hello");
    const std::vector<Notification> questions = QuestionsOf(request);
    ASSERT_EQ(questions.size(), 3u);
    EXPECT_EQ(questions[0].password, "wrong");
    EXPECT_EQ(questions[1].password, "wrong again");
    EXPECT_EQ(questions[2].password, "and again");
    Request next(PortOf("server"));
    RunAndExpectReply(proxied.library, next, "hello");
    EXPECT_TRUE(QuestionsOf(next).empty());
}

TEST(RealProxyCredentials, ThatTheUserGivesUpOnEndTheRequestAndTheLastOnesAreKept) {
    const Proxied proxied(PortOf("squid"), nullptr, nullptr);
    Request request(PortOf("server"));
    AnswerInTurn(request, {"wrong"});
    RunAndExpectFailure(proxied.library, request, WPK_ERROR_PROXY_CREDENTIALS);
    ASSERT_EQ(QuestionsOf(request).size(), 2u);
    Request next(PortOf("server"));
    RunAndExpectFailure(proxied.library, next, WPK_ERROR_PROXY_CREDENTIALS);
    ASSERT_EQ(QuestionsOf(next).size(), 1u);
    EXPECT_EQ(QuestionsOf(next)[0].password, "wrong");
}

/// The proxy refuses as soon as it has read the head, and closes the connection under the hands of a client that is
/// still sending: that is a failed send, and the question is lost. A smaller request finds out first what the proxy
/// wants.
void ExpectLargeRequestsOnlyWithCredentials(unsigned short proxy) {
    const Proxied proxied(proxy, nullptr, nullptr);
    const std::string large = Pattern(8 * 1024 * 1024);
    Request cutOff(PortOf("server"), large);
    AnswerInTurn(cutOff, {"pass"});
    RunAndExpectFailure(proxied.library, cutOff, WPK_ERROR_EXCHANGE);
    EXPECT_TRUE(QuestionsOf(cutOff).empty());

    Request small(PortOf("server"));
    AnswerInTurn(small, {"pass"});
    RunAndExpectReply(proxied.library, small, "hello");
    Request carried(PortOf("server"), large);
    carried.inbox.DropProgress();
    RunAndExpectReply(proxied.library, carried, large);
}

TEST(RealProxyCredentials, MissingForALargeRequestThroughSquidCutItOffBeforeTheQuestion) {
    ExpectLargeRequestsOnlyWithCredentials(PortOf("squid"));
}

TEST(RealProxyCredentials, MissingForALargeRequestThroughTinyproxyCutItOffBeforeTheQuestion) {
    ExpectLargeRequestsOnlyWithCredentials(PortOf("tinyproxy_password"));
}

// Tinyproxy answers credentials that it does not know with status 401: that is a server's question, not a proxy's.
TEST(RealProxyCredentials, ThatTinyproxyDoesNotKnowEndTheRequestWithoutAQuestion) {
    const Proxied proxied(PortOf("tinyproxy_password"), "user", "wrong");
    Request request(PortOf("server"));
    AnswerInTurn(request, {"pass"});
    RunAndExpectFailure(proxied.library, request, WPK_ERROR_EXCHANGE);
    EXPECT_TRUE(QuestionsOf(request).empty());
}

}  // namespace
}  // namespace wpk::harness
