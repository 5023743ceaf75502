// Starts and clean-ups of the sockets interface while sockets are open.
// SPDX-License-Identifier: MIT
#include "transport/sockets_interface.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <vector>

#include "support/lib_thread.h"
#include "transport/connection.h"

namespace wpk::core {
namespace {

bool SocketsStarted() {
    return static_cast<bool>(UniqueSocket(socket(AF_INET, SOCK_STREAM, 0)));
}

class SocketsInterfaceTest : public test::ThreadLayer {
protected:
    SocketsInterfaceTest() {
        while (WSACleanup() == 0) continue;
    }
    ~SocketsInterfaceTest() override {
        while (WSACleanup() == 0) continue;
    }
};

TEST_F(SocketsInterfaceTest, StartsAreCounted) {
    EXPECT_FALSE(SocketsStarted());
    EXPECT_TRUE(StartSockets());
    EXPECT_TRUE(StartSockets());
    CleanUpSockets();
    EXPECT_TRUE(SocketsStarted());
    CleanUpSockets();
    EXPECT_FALSE(SocketsStarted());
}

TEST_F(SocketsInterfaceTest, ACleanUpThatNothingHasStartedDoesNoHarm) {
    CleanUpSockets();
    CleanUpSockets();
    EXPECT_TRUE(StartSockets());
    EXPECT_TRUE(SocketsStarted());
}

TEST_F(SocketsInterfaceTest, ACleanUpWaitsForTheLastSocketInUse) {
    StartSockets();
    SocketsGuard first, second;
    first.Begin();
    second.Begin();
    CleanUpSockets();
    EXPECT_TRUE(SocketsStarted());
    first.End();
    EXPECT_TRUE(SocketsStarted());
    second.End();
    EXPECT_FALSE(SocketsStarted());
}

TEST_F(SocketsInterfaceTest, EveryCleanUpThatWaitedIsMadeUpFor) {
    for (int i = 0; i < 4; ++i) StartSockets();
    {
        SocketsGuard use;
        use.Begin();
        CleanUpSockets();
        CleanUpSockets();
        CleanUpSockets();
    }
    EXPECT_TRUE(SocketsStarted());
    CleanUpSockets();
    EXPECT_FALSE(SocketsStarted());
}

TEST_F(SocketsInterfaceTest, WhatIsInUseIsLostAtOnceAndWhatBeginsLaterIsNot) {
    StartSockets();
    SocketsGuard before, after;
    before.Begin();
    EXPECT_FALSE(before.Lost());
    CleanUpSockets();
    EXPECT_TRUE(before.Lost());
    StartSockets();
    EXPECT_TRUE(before.Lost()) << "the next network is another one";
    after.Begin();
    EXPECT_FALSE(after.Lost());
    before.Begin();
    EXPECT_FALSE(before.Lost());
    CleanUpSockets();
    before.End();
    EXPECT_FALSE(before.Lost()) << "what is over cannot be lost";
    after.End();
}

TEST_F(SocketsInterfaceTest, WhatIsLostStaysLostHoweverOftenTheNetworkComesBack) {
    StartSockets();
    SocketsGuard uses[3];
    for (SocketsGuard& use : uses) {
        use.Begin();
        CleanUpSockets();
        StartSockets();
        for (const SocketsGuard* one = uses; one <= &use; ++one) EXPECT_TRUE(one->Lost());
    }
}

TEST_F(SocketsInterfaceTest, EndingTwiceOrWithoutABeginningDoesNothing) {
    StartSockets();
    SocketsGuard use, other;
    other.Begin();
    use.End();
    use.Begin();
    use.End();
    use.End();
    CleanUpSockets();
    EXPECT_TRUE(SocketsStarted()) << "the other one is still in use";
}

TEST_F(SocketsInterfaceTest, ThreadsThatOpenAndCloseNeverLoseAnOpenSocketToACleanUp) {
    std::atomic<bool> over{false};
    std::atomic<uint32_t> opened{0};
    std::vector<std::unique_ptr<test::LibThread>> users;
    for (int i = 0; i < 4; ++i) {
        users.push_back(std::make_unique<test::LibThread>([&] {
            while (!over) {
                SocketsGuard use;
                use.Begin();
                UniqueSocket mine(socket(AF_INET, SOCK_STREAM, 0));
                if (!mine) continue;
                ++opened;
                u_long one = 1;
                for (int call = 0; call < 20; ++call) {
                    EXPECT_EQ(ioctlsocket(mine.Get(), static_cast<long>(FIONBIO), &one), 0) << WSAGetLastError();
                }
            }
            return 0u;
        }));
    }
    for (auto& user : users) user->Resume();
    for (uint32_t i = 0; i < 300 || opened < 300; ++i) {
        EXPECT_TRUE(StartSockets());
        CleanUpSockets();
    }
    over = true;
    users.clear();
    EXPECT_FALSE(SocketsStarted()) << "each clean-up has taken one start back";
}

TEST_F(SocketsInterfaceTest, AConnectionCountsAsClosedWhenTheNetworkGoes) {
    StartSockets();
    Connection connection;
    ASSERT_TRUE(connection.Open());
    CleanUpSockets();
    EXPECT_TRUE(SocketsStarted()) << "the connection is still open";
    char byte = 0;
    EXPECT_FALSE(connection.Send(&byte, 1));
    EXPECT_FALSE(SocketsStarted()) << "closed at the first look, with which the clean-up's turn has come";
    EXPECT_EQ(connection.Receive(&byte, 1, Connection::kNoTimeout), 0u);
    EXPECT_FALSE(connection.Open());
    StartSockets();
    EXPECT_TRUE(connection.Open());
}

}  // namespace
}  // namespace wpk::core
