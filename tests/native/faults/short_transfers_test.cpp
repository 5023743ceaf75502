// Requests whose sends and receives move a few bytes at a time.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>

#include "fake_platform/control.h"
#include "native/faults/scenario_fixture.h"
#include "native/support/child_process.h"

namespace wpk::host {
namespace {

/// The most bytes of one transfer.
class ShortTransfers : public testing::TestWithParam<int> {};

uint64_t FewestTransfers(const std::string& bytes) {
    const auto most = static_cast<size_t>(ShortTransfers::GetParam());
    return (bytes.size() + most - 1) / most;
}

void ExpectReply(ScenarioFixture& fixture, const char* service, const std::string& reply,
                 const std::string& data = "hello") {
    const uint64_t sendsBefore = Uses("send");
    const uint64_t receivesBefore = Uses("recv");
    NativeRequest& request = fixture.Make(service, data);
    fixture.SendAndAwait(request);
    EXPECT_EQ(request.Error(), 0) << service;
    EXPECT_EQ(request.Reply(), reply) << service;
    EXPECT_EQ(request.Finals(), 1) << service;
    EXPECT_GE(Uses("send") - sendsBefore, FewestTransfers(data)) << service;
    EXPECT_GE(Uses("recv") - receivesBefore, FewestTransfers(reply)) << service;
}

std::string Entry(const std::string& key, const std::string& value) {
    const auto length = [](const std::string& text) {
        std::string bytes;
        for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(text.size() >> shift & 0xFF);
        return bytes;
    };
    return length(key) + key + length(value) + value;
}

std::string Body(const std::string& service, const std::string& data) {
    return Entry("WPK_IsBehindProxy", "NO") + Entry("WPK_ServiceName", service) + Entry("WPK_ServiceData", data);
}

TEST_P(ShortTransfers, CarryRequestsAndRepliesWhole) {
    const bool passed = RunInChild([] {
        auto& fixture = Lasting<ScenarioFixture>();
        ASSERT_EQ(InitLibrary(fixture.settings), 1);
        ShortenTransfers(GetParam());
        const std::string moreThanAPiece(5000, 'd');
        ExpectReply(fixture, "Small", "small");
        ExpectReply(fixture, "Large", std::string(Server::kLargeSize, 'x'));
        ExpectReply(fixture, "Echo", Body("Echo", moreThanAPiece), moreThanAPiece);
        NativeRequest& refused = fixture.Make("Unknown");
        fixture.SendAndAwait(refused);
        EXPECT_EQ(refused.Error(), WPK_ERROR_NO_SERVICE);
        EXPECT_EQ(Misuses(), std::vector<std::string>());
    });
    EXPECT_TRUE(passed);
}

TEST_P(ShortTransfers, CarryAProxysQuestion) {
    const bool passed = RunInChild([] {
        auto& fixture = Lasting<ScenarioFixture>();
        fixture.settings.bBehindProxy = 1;
        fixture.settings.lpszProxyServer = "127.0.0.1";
        fixture.settings.nProxyPort = fixture.server.Port();
        ASSERT_EQ(InitLibrary(fixture.settings), 1);
        ShortenTransfers(GetParam());
        ExpectReply(fixture, "Guarded", "small");
    });
    EXPECT_TRUE(passed);
}

INSTANTIATE_TEST_SUITE_P(Of, ShortTransfers, testing::Values(1, 2, 3, 7, 64, 1000, 4095),
                         [](const auto& tested) { return std::to_string(tested.param) + "Bytes"; });

}  // namespace
}  // namespace wpk::host
