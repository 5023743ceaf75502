// The copy of the initialisation record.
// SPDX-License-Identifier: MIT
#include "transport/settings.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "support/lib_thread.h"
#include "unit/transport/allocation_fault.h"

namespace wpk::core {
namespace {

Credentials CredentialsOf(std::string_view user, std::string_view password) {
    return {TextBuffer::CopyOf(user), TextBuffer::CopyOf(password)};
}

Credentials InForce(const Settings& settings) {
    Credentials copy;
    EXPECT_TRUE(settings.CopyProxyCredentials(copy));
    return copy;
}

constexpr int kTextsOfCredentials = 2;

TEST(SettingsTest, AreZeroAtFirstButForTheProxyPort) {
    const Settings settings;
    EXPECT_EQ(settings.ConnectionType(), 0);
    EXPECT_EQ(settings.DefaultCallback(), nullptr);
    EXPECT_FALSE(settings.BehindProxy());
    EXPECT_TRUE(settings.ProxyServer().Empty());
    EXPECT_EQ(settings.ProxyPort(), 80u);
}

TEST(SettingsTest, OnlyOneMeansBehindAProxy) {
    for (WPK_INT64 value : {WPK_INT64{0}, WPK_INT64{1}, WPK_INT64{2}, WPK_INT64{-1}, (WPK_INT64{1} << 32) + 1}) {
        WPK_INITSTRUCT record{};
        record.bBehindProxy = value;
        Settings settings;
        ASSERT_TRUE(settings.CopyFrom(record));
        EXPECT_EQ(settings.BehindProxy(), value == 1) << value;
    }
}

TEST(SettingsTest, ReplacedCredentialsServeLaterRequests) {
    WPK_INITSTRUCT record{};
    record.lpszProxyUser = "first";
    Settings settings;
    settings.CopyFrom(record);
    EXPECT_EQ(InForce(settings).user.View(), "first");
    EXPECT_TRUE(InForce(settings).password.Empty());
    EXPECT_TRUE(settings.ReplaceProxyCredentials(CredentialsOf("second", "secret")));
    EXPECT_EQ(InForce(settings).user.View(), "second");
    EXPECT_EQ(InForce(settings).password.View(), "secret");
}

TEST(SettingsTest, CredentialsForWhoseCopyThereIsNoMemoryAreNeitherPutInForceNorTaken) {
    Settings settings;
    ASSERT_TRUE(settings.ReplaceProxyCredentials(CredentialsOf("old", "secret")));
    const Credentials others = CredentialsOf("new", "other");
    Credentials copy = CredentialsOf("own", "");
    for (int successes = 0; successes < kTextsOfCredentials; ++successes) {
        {
            const test::AllocationFault fault(successes);
            EXPECT_FALSE(settings.ReplaceProxyCredentials(others));
        }
        EXPECT_EQ(InForce(settings).user.View(), "old");
        EXPECT_EQ(InForce(settings).password.View(), "secret");
        {
            const test::AllocationFault fault(successes);
            EXPECT_FALSE(settings.CopyProxyCredentials(copy));
        }
        EXPECT_EQ(copy.user.View(), "own");
    }
}

TEST(SettingsTest, OfAFailedStartKeepNoTextAndNeitherOfTheFirstTwoWords) {
    int instance = 0;
    WPK_INITSTRUCT record{};
    record.reserved = 7;
    record.hInstance = &instance;
    record.nConnectionType = WPK_CONNECTION_DIAL_UP;
    record.lpszProxyServer = "proxy.example";
    record.lpszProxyUser = "user";
    record.lpszProxyPassword = "secret";
    Settings settings;
    ASSERT_TRUE(settings.CopyFrom(record));
    EXPECT_EQ(settings.Reserved(), 7);
    EXPECT_EQ(settings.Instance(), &instance);
    EXPECT_EQ(settings.ProxyServer().View(), "proxy.example");
    settings.Forget();
    EXPECT_EQ(settings.Reserved(), 0);
    EXPECT_EQ(settings.Instance(), nullptr);
    EXPECT_TRUE(settings.ProxyServer().Empty());
    EXPECT_TRUE(InForce(settings).user.Empty());
    EXPECT_TRUE(InForce(settings).password.Empty());
    EXPECT_EQ(settings.ConnectionType(), WPK_CONNECTION_DIAL_UP) << "the rest of the copy stays";
}

TEST(SettingsTest, EveryTextThatThereIsNoMemoryForFailsTheCopy) {
    WPK_INITSTRUCT record{};
    record.lpszProxyServer = "proxy.example";
    record.lpszProxyUser = "user";
    record.lpszProxyPassword = "secret";
    for (int successes = 0; successes < 1 + kTextsOfCredentials; ++successes) {
        Settings settings;
        const test::AllocationFault fault(successes);
        EXPECT_FALSE(settings.CopyFrom(record)) << successes;
    }
}

using SettingsThreads = test::ThreadLayer;

TEST_F(SettingsThreads, CredentialsReplacedWhileOthersCopyThemAreNeverTorn) {
    Settings settings;
    auto replace = [&settings](char c) {
        for (int i = 0; i < 200; ++i) {
            const std::string text(static_cast<size_t>(i % 90 + 1), c);
            settings.ReplaceProxyCredentials(CredentialsOf(text, text));
        }
        return 0u;
    };
    {
        test::LibThread a = test::LibThread::Started([&] { return replace('a'); });
        test::LibThread b = test::LibThread::Started([&] { return replace('b'); });
        for (int i = 0; i < 200; ++i) {
            const Credentials copy = InForce(settings);
            EXPECT_EQ(copy.user.View(), copy.password.View());
        }
    }
    EXPECT_EQ(InForce(settings).user.View().size(), 199u % 90u + 1) << "the latest writer wins";
}

}  // namespace
}  // namespace wpk::core
