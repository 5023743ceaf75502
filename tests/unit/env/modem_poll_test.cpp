// One look at the machine's dial-up connections.
// SPDX-License-Identifier: MIT
#include "env/modem_poll.h"

#include <gtest/gtest.h>

#include "fake_modules.h"

namespace wpk::core {
namespace {

using test::FakeConnection;
using test::Scene;

constexpr DWORD kDialling = 5;

/// A look at that scene.
ModemPoll LookAt(const Scene& scene) {
    test::script::Play({scene});
    return ModemPoll({test::script::EnumConnections, test::script::GetConnectStatus});
}

TEST(ModemPollTest, NoConnectionIsEmptyAndInNoState) {
    const ModemPoll poll = LookAt(test::Nothing());
    EXPECT_TRUE(poll.Empty());
    EXPECT_FALSE(poll.AnyModemIs(kRasConnected));
    EXPECT_FALSE(poll.AnyModemIs(kRasDisconnected));
}

TEST(ModemPollTest, AFailedEnumerationIsEmptyWhateverItLeft) {
    Scene scene = test::ModemIn(kRasConnected);
    scene.enumerationResult = ERROR_ACCESS_DENIED;
    const ModemPoll poll = LookAt(scene);
    EXPECT_TRUE(poll.Empty());
    EXPECT_FALSE(poll.AnyModemIs(kRasConnected));
}

TEST(ModemPollTest, WithoutFunctionsItIsEmpty) {
    EXPECT_TRUE(ModemPoll(RemoteAccessFunctions()).Empty());
}

TEST(ModemPollTest, AModemIsInItsStateAndInNoOther) {
    struct {
        DWORD state;
        bool connected, disconnected;
    } const rows[] = {
        {kRasConnected, true, false}, {kRasDisconnected, false, true}, {kDialling, false, false}, {0, false, false}};
    for (const auto& row : rows) {
        const ModemPoll poll = LookAt(test::ModemIn(row.state));
        EXPECT_FALSE(poll.Empty());
        EXPECT_EQ(poll.AnyModemIs(kRasConnected), row.connected) << row.state;
        EXPECT_EQ(poll.AnyModemIs(kRasDisconnected), row.disconnected) << row.state;
    }
}

TEST(ModemPollTest, TheDeviceTypeIsComparedWholeIgnoringCase) {
    for (const char* type : {"modem", "MODEM", "Modem", "mOdEm"}) {
        EXPECT_TRUE(LookAt({{{type}}}).AnyModemIs(kRasConnected)) << type;
    }
    for (const char* type : {"vpn", "isdn", "", "mode", "modems", "PPPoE", "modem modem modem"}) {
        const ModemPoll poll = LookAt({{{type}}});
        EXPECT_FALSE(poll.AnyModemIs(kRasConnected)) << type;
        EXPECT_FALSE(poll.Empty()) << "it is a connection all the same";
    }
}

TEST(ModemPollTest, AnyOfSeveralConnectionsCounts) {
    const ModemPoll poll = LookAt({{{"vpn", kRasConnected}, {"modem", kDialling}, {"MODEM", kRasDisconnected}}});
    EXPECT_FALSE(poll.AnyModemIs(kRasConnected));
    EXPECT_TRUE(poll.AnyModemIs(kRasDisconnected));
}

TEST(ModemPollTest, AModemWhoseStateCannotBeReadIsSkipped) {
    const FakeConnection unreadable{"modem", kRasConnected, ERROR_INVALID_HANDLE};
    EXPECT_FALSE(LookAt({{unreadable}}).AnyModemIs(kRasConnected));
    EXPECT_TRUE(LookAt({{unreadable, {"modem", kRasConnected}}}).AnyModemIs(kRasConnected));
}

TEST(ModemPollTest, TenConnectionsAreSeenAndElevenAreAFailure) {
    Scene scene{std::vector<FakeConnection>(9, {"vpn", kRasConnected})};
    scene.connections.push_back({"modem", kRasConnected});
    EXPECT_TRUE(LookAt(scene).AnyModemIs(kRasConnected));
    scene.connections.push_back({"modem", kRasConnected});
    const ModemPoll poll = LookAt(scene);
    EXPECT_TRUE(poll.Empty());
    EXPECT_FALSE(poll.AnyModemIs(kRasConnected));
}

TEST(ModemPollTest, ACountBeyondTheBufferIsNotFollowed) {
    const ModemPoll poll({[](RasConnection*, DWORD*, DWORD* count) -> DWORD {
                              *count = 0xFFFFFFFF;
                              return ERROR_SUCCESS;
                          },
                          test::script::GetConnectStatus});
    EXPECT_FALSE(poll.Empty());
    EXPECT_FALSE(poll.AnyModemIs(kRasConnected));
}

}  // namespace
}  // namespace wpk::core
