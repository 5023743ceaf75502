// The sample message server behind real proxies and behind real servers that pass requests on.
// SPDX-License-Identifier: MIT
#include "real_peers/ports.h"
#include "support/dll/process.h"
#include "support/dll/proxied.h"
#include "support/dll/wire.h"

#include <gtest/gtest.h>

#include <deque>

namespace wpk::harness {
namespace {

/// Beyond what any of them holds in memory, and what the server takes.
constexpr size_t kLarge = 8 * 1024 * 1024;

std::string Alphabet(size_t length) {
    std::string text(length, '\0');
    for (size_t i = 0; i < length; ++i) text[i] = static_cast<char>('a' + i % 26);
    return text;
}

void ExpectAnswer(const Library& library, unsigned short port, const std::string& service, const std::string& message,
                  const std::string& answer) {
    SCOPED_TRACE(service);
    Request request(port, message);
    request.Service(service);
    request.inbox.DropProgress();
    RunAndExpectReply(library, request, answer);
    EXPECT_EQ(request.inbox.ProgressCount() > 0, !answer.empty());
}

/// Replies in memory, on both sides of the spool limit and far beyond it; large requests; XML; a refusal.
void ExpectServices(const Library& library, unsigned short port, int refusal = WPK_ERROR_NO_SERVICE) {
    ExpectAnswer(library, port, "Echo", "", "");
    ExpectAnswer(library, port, "Reverse", "hello", "olleh");
    ExpectAnswer(library, port, "Generate", "10240", Alphabet(10240));
    ExpectAnswer(library, port, "Generate", "10241", Alphabet(10241));
    ExpectAnswer(library, port, "Generate", std::to_string(kLarge), Alphabet(kLarge));
    const std::string large = Pattern(kLarge);
    ExpectAnswer(library, port, "Echo", large, large);
    ExpectAnswer(library, port, "Sleep", "300", "Slept for 300 ms.\n");

    Request unknown(port);
    unknown.Service("Another");
    RunAndExpectFailure(library, unknown, refusal);
    EXPECT_TRUE(FilesLike("", "tmp*").empty());
}

void ExpectManyAtOnce(const Library& library, unsigned short port) {
    std::deque<Request> requests;
    for (size_t i = 0; i < 20; ++i) requests.emplace_back(port, Pattern(5000 + i * 1000)).inbox.DropProgress();
    for (Request& request : requests) ASSERT_NE(request.Send(library), 0u);
    for (Request& request : requests) {
        ASSERT_TRUE(request.WaitForEnd());
        ExpectReply(request, request.Message());
    }
}

TEST(SampleServer, ByItselfAnswersEveryService) {
    ExpectServices(StartFresh(), PortOf("server"));
}

TEST(SampleServer, BehindTinyproxyAnswersEveryService) {
    const Proxied proxied(PortOf("tinyproxy"), nullptr, nullptr);
    ExpectServices(proxied.library, PortOf("server"));
    ExpectManyAtOnce(proxied.library, PortOf("server"));
}

// Squid replaces the reason text of a status by the usual one of its number: the library cannot tell any more what was
// refused.
TEST(SampleServer, BehindSquidAnswersEveryServiceButRefusalsLoseTheirReason) {
    const Proxied proxied(PortOf("squid"), "user", "pass");
    ExpectServices(proxied.library, PortOf("server"), WPK_ERROR_EXCHANGE);
    ExpectManyAtOnce(proxied.library, PortOf("server"));
}

// It collects requests and replies, in files where they are large, before it passes them on.
TEST(SampleServer, BehindNginxThatBuffersAnswersEveryService) {
    const Library library = StartFresh();
    ExpectServices(library, PortOf("nginx_server"));
    ExpectManyAtOnce(library, PortOf("nginx_server"));
}

// It speaks HTTP/1.1 to the server here.
TEST(SampleServer, BehindNginxThatPassesOnAtOnceAnswersEveryService) {
    const Library library = StartFresh();
    ExpectServices(library, PortOf("nginx_unbuffered"));
    ExpectManyAtOnce(library, PortOf("nginx_unbuffered"));
}

TEST(SampleServer, BehindHaproxyAnswersEveryService) {
    const Library library = StartFresh();
    ExpectServices(library, PortOf("haproxy_server"));
    ExpectManyAtOnce(library, PortOf("haproxy_server"));
}

// Unless it is told to pass the server's on.
TEST(SampleServer, BehindNginxWithAServerTextOfItsOwnIsNotTakenForAMessageServer) {
    const Library library = StartFresh();
    Request request(PortOf("nginx_own_name"));
    RunAndExpectFailure(library, request, WPK_ERROR_BAD_VERSION);
    // A refusal is known by its reason text alone.
    Request refused(PortOf("nginx_own_name"));
    refused.Service("Another");
    RunAndExpectFailure(library, refused, WPK_ERROR_NO_SERVICE);
}

}  // namespace
}  // namespace wpk::harness
