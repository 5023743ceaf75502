// Every failure as an error code with a text of its own.
// SPDX-License-Identifier: MIT
#include "client/fixture.h"
#include "client/scripted_library.h"

#include <gtest/gtest.h>

#include <set>

namespace wpk::client_test {
namespace {

using harness::Answer;
using harness::Peer;
using harness::RawReply;

constexpr WPK_ERROR kCoded[] = {WPK_ERROR_BAD_REQUEST, WPK_ERROR_NO_NETWORK,       WPK_ERROR_CONNECT,
                                WPK_ERROR_CANCELLED,   WPK_ERROR_BAD_VERSION,      WPK_ERROR_NO_SERVICE,
                                WPK_ERROR_EXCHANGE,    WPK_ERROR_PROXY_CREDENTIALS};

/// The code with which a request ends that gets this answer; the same in both forms.
std::error_code CodeAfter(const std::string& answer) {
    Peer peer(Answer(answer));
    const Kept kept = SendAndWait(TheClient(), To(peer.Port()));
    EXPECT_EQ(CodeOf(TheClient().Send(To(peer.Port()))), kept.error);
    EXPECT_EQ(kept.body, "");
    EXPECT_EQ(kept.count, 1);
    return kept.error;
}

TEST(ErrorCode, OfEveryFailureOfTheLibraryReachesFutureAndFunction) {
    for (const WPK_ERROR coded : kCoded) {
        ScriptedLibrary library;
        library.onSend = [&](WPK_SENDSTRUCT* message) {
            harness::Thread([&] { TellFailure(*message, coded); }).Join();
            return 8u;
        };
        const Client client(ToLoopback(), library.TheFunctions());
        const std::error_code expected = static_cast<Errc>(coded);
        EXPECT_EQ(expected.value(), coded);
        EXPECT_EQ(CodeOf(client.Send(To(80))), expected);
        EXPECT_EQ(SendAndWait(client, To(80)).error, expected);
    }
}

TEST(ErrorCode, EveryOneHasATextOfItsOwn) {
    std::set<std::string> texts;
    for (int value = -8; value <= 11; ++value) {
        if (value == 0) continue;
        const std::string text = std::error_code(value, ErrorCategory()).message();
        EXPECT_EQ(text.find("unknown"), std::string::npos) << value;
        EXPECT_TRUE(texts.insert(text).second) << text;
    }
    EXPECT_EQ(std::error_code(-9, ErrorCategory()).message(), "unknown error -9");
    EXPECT_EQ(std::error_code(12, ErrorCategory()).message(), "unknown error 12");
    EXPECT_STREQ(ErrorCategory().name(), "wpk");
}

TEST(ErrorCode, WithACounterpartInTheStandardLibraryEqualsIt) {
    EXPECT_EQ(make_error_code(Errc::kNoNetwork), std::errc::network_unreachable);
    EXPECT_EQ(make_error_code(Errc::kConnect), std::errc::host_unreachable);
    EXPECT_EQ(make_error_code(Errc::kCancelled), std::errc::operation_canceled);
    EXPECT_EQ(make_error_code(Errc::kProxyCredentials), std::errc::permission_denied);
    EXPECT_EQ(make_error_code(Errc::kTimedOut), std::errc::timed_out);
    EXPECT_NE(make_error_code(Errc::kExchange), std::errc::operation_canceled);
    EXPECT_NE(make_error_code(Errc::kCancelled), std::errc::timed_out);
}

TEST(RequestFailure, WithoutANetworkEndsSo) {
    Options options = ToLoopback();
    options.connection = Connection::kNever;
    const Client client(std::move(options), FreshLibrary());
    EXPECT_EQ(CodeOf(client.Send({"Echo", "hello"})), Errc::kNoNetwork);
}

TEST(RequestFailure, ToAPortWithoutListenerEndsSo) {
    EXPECT_EQ(CodeOf(TheClient().Send(To(harness::DeadPort()))), Errc::kConnect);
}

TEST(RequestFailure, ToAServerOfAnotherVersionEndsSo) {
    EXPECT_EQ(CodeAfter(RawReply("HTTP/1.0 500 Bad_Version", {"Server: WPK/1.00", "Content-Length: 0"})),
              Errc::kBadVersion);
}

TEST(RequestFailure, ForAServiceThatTheServerLacksEndsSo) {
    EXPECT_EQ(CodeAfter(RawReply("HTTP/1.0 500 Bad_Plugin_Name", {"Server: WPK/1.00", "Content-Length: 0"})),
              Errc::kNoService);
}

TEST(RequestFailure, ToAServerThatSaysNonsenseEndsSo) {
    EXPECT_EQ(CodeAfter("nonsense\r\n\r\n"), Errc::kExchange);
}

TEST(SendRefused, ThatTheLibraryDoesNotTakeThrowsAndCallsNothing) {
    ScriptedLibrary library;
    library.onSend = [](WPK_SENDSTRUCT*) { return 0u; };
    const Client client(ToLoopback(), library.TheFunctions());
    const auto captured = std::make_shared<int>();
    EXPECT_EQ(CodeThrownBy([&] { client.Send(To(80), [captured](const Outcome&) { FAIL() << "nothing was sent"; }); }),
              Errc::kNotTaken);
    EXPECT_EQ(captured.use_count(), 1);
    EXPECT_EQ(CodeThrownBy([&] { client.Send(To(80)).get(); }), Errc::kNotTaken);
}

}  // namespace
}  // namespace wpk::client_test
