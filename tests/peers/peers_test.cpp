// The library with real servers and proxies, which run.sh has started. A scripted peer plays the message server behind
// them.
// SPDX-License-Identifier: MIT
#include "interface/rig/peer.h"
#include "interface/rig/process.h"
#include "interface/rig/proxied.h"
#include "interface/rig/wire.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace wpk::rig {
namespace {

// A port that run.sh has chosen.
unsigned short Port(const char* name) {
    const char* value = std::getenv(name);
    if (!value) Die(std::string("run.sh must set ") + name);
    return static_cast<unsigned short>(std::atoi(value));
}

// The message server behind the proxies: answers service "Echo", refuses every other as a message server does.
void ServeMessages(Connection& connection) {
    const std::string request = connection.ReadRequest();
    if (request.empty()) return;
    const bool echo = request.find("WPK_ServiceName\x04") != std::string::npos;
    connection.Send(echo ? Ok("echo of " + MessageOf(request))
                         : Reply("HTTP/1.0 500 Bad_Plugin_Name", {"Server: WPK/1.00", "Content-Length: 0"}));
}

class Peers : public testing::Test {
protected:
    // Small replies and spooled ones come through unchanged, and so do refusals, except where a proxy writes reason
    // texts of its own.
    void ExpectMessagesToPass(const Library& library, unsigned short port, int refusal = WPK_ERROR_NO_SERVICE) {
        Request small(port);
        RunAndExpectReply(library, small, "echo of hello");
        Request large(port, Pattern(1000000));
        large.inbox.DropProgress();
        RunAndExpectReply(library, large, "echo of " + large.message());
        Request unknown(port);
        unknown.Service("Another");
        RunAndExpectFailure(library, unknown, refusal);
        EXPECT_TRUE(FilesLike("", "tmp*").empty());
    }

    Peer server_{ServeMessages, 2, Port("WPK_TEST_BACKEND_PORT")};
};

// Both proxies know the user "user" with the password "pass" only.
void ExpectTheQuestionAndTheAnswer(unsigned short proxy, unsigned short server) {
    const Proxied proxied(proxy, nullptr, nullptr);
    Request declined(server);
    RunAndExpectFailure(proxied.library, declined, WPK_ERROR_PROXY_CREDENTIALS);
    EXPECT_EQ(declined.inbox.All().size(), 2u);
    Request answered(server);
    AnswerCredentials(answered, "user", "pass");
    RunAndExpectReply(proxied.library, answered, "echo of hello");
    Request next(server);
    RunAndExpectReply(proxied.library, next, "echo of hello");
    for (const Notification& one : next.inbox.All()) EXPECT_NE(one.reason, unsigned{WPK_REASON_CREDENTIALS});
}

TEST_F(Peers, Tinyproxy_CarriesMessages) {
    const Proxied proxied(Port("WPK_TEST_TINYPROXY_PORT"), nullptr, nullptr);
    ExpectMessagesToPass(proxied.library, server_.port());
}

TEST_F(Peers, TinyproxyWithPassword_AsksAndThenCarriesMessages) {
    ExpectTheQuestionAndTheAnswer(Port("WPK_TEST_TINYPROXY_PASSWORD_PORT"), server_.port());
    const Proxied proxied(Port("WPK_TEST_TINYPROXY_PASSWORD_PORT"), "user", "pass");
    ExpectMessagesToPass(proxied.library, server_.port());
}

TEST_F(Peers, SquidWithPassword_AsksAndThenCarriesMessages) {
    ExpectTheQuestionAndTheAnswer(Port("WPK_TEST_SQUID_PORT"), server_.port());
    const Proxied proxied(Port("WPK_TEST_SQUID_PORT"), "user", "pass");
    // Squid replaces the reason text of a status by the usual one of its number.
    ExpectMessagesToPass(proxied.library, server_.port(), WPK_ERROR_EXCHANGE);
}

// Tinyproxy answers them with status 401, which is no question for others.
TEST_F(Peers, WrongPassword_IsAskedForAgainBySquidOnly) {
    const Proxied squid(Port("WPK_TEST_SQUID_PORT"), "user", "wrong");
    Request corrected(server_.port());
    AnswerCredentials(corrected, "user", "pass");
    RunAndExpectReply(squid.library, corrected, "echo of hello");
    EXPECT_EQ(corrected.inbox.All()[0].password, "wrong");
    const Proxied tinyproxy(Port("WPK_TEST_TINYPROXY_PASSWORD_PORT"), "user", "wrong");
    Request refused(server_.port());
    RunAndExpectFailure(tinyproxy.library, refused, WPK_ERROR_EXCHANGE);
}

TEST_F(Peers, ProxyThatCannotReachTheServer_EndsTheRequest) {
    const unsigned short nobody = DeadPort();
    const Proxied tinyproxy(Port("WPK_TEST_TINYPROXY_PORT"), nullptr, nullptr);
    Request through_tinyproxy(nobody);
    RunAndExpectFailure(tinyproxy.library, through_tinyproxy, WPK_ERROR_EXCHANGE);
    const Proxied squid(Port("WPK_TEST_SQUID_PORT"), "user", "pass");
    Request through_squid(nobody);
    RunAndExpectFailure(squid.library, through_squid, WPK_ERROR_EXCHANGE);
}

TEST_F(Peers, NginxInFrontOfTheServer_PassesMessagesOn) {
    ExpectMessagesToPass(StartFresh(), Port("WPK_TEST_NGINX_FRONT_PORT"));
}

TEST_F(Peers, HaproxyInFrontOfTheServer_PassesMessagesOn) {
    ExpectMessagesToPass(StartFresh(), Port("WPK_TEST_HAPROXY_PORT"));
}

// An ordinary web server answers 200 to everything here: it is no message server, and is told apart by its name.
TEST_F(Peers, OrdinaryWebServer_IsNotTakenForAMessageServer) {
    Request request(Port("WPK_TEST_NGINX_PORT"));
    RunAndExpectFailure(StartFresh(), request, WPK_ERROR_BAD_VERSION);
}

}  // namespace
}  // namespace wpk::rig
