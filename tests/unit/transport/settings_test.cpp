// The copy of the initialisation record, and the notifications.
// SPDX-License-Identifier: MIT
#include "transport/settings.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/lib_thread.h"
#include "transport/notification.h"
#include "unit/transport/allocation_fault.h"

namespace wpk {
namespace {

Credentials CredentialsOf(std::string_view user, std::string_view password) {
    return {CountedText(user), CountedText(password)};
}

Credentials InForce(const Settings& settings) {
    Credentials copy;
    EXPECT_TRUE(settings.CopyProxyCredentials(copy));
    return copy;
}

constexpr int kTextsOfCredentials = 2;

TEST(SendStructTest, IsBuiltWithEveryFieldZeroButThePort) {
    const WPK_SENDSTRUCT message;
    EXPECT_EQ(message.reserved, 0u);
    EXPECT_EQ(message.nPort, 80u);
    EXPECT_EQ(message.lpszServer, nullptr);
    EXPECT_EQ(message.lpszServiceName, nullptr);
    EXPECT_EQ(message.lpfnCallback, nullptr);
    EXPECT_EQ(message.lpUserData, nullptr);
    EXPECT_EQ(message.lpData, nullptr);
    EXPECT_EQ(message.dwDataLength, 0u);
}

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
    EXPECT_EQ(InForce(settings).user.Length(), 199u % 90u + 1) << "the latest writer wins";
}

/// Runs inside the callback.
void (*onNotification)(WPK_CALLBACKSTRUCT&);
int context = 0;

void Callback(WPK_CALLBACKSTRUCT* notification) {
    EXPECT_EQ(notification->lpUserData, &context);
    onNotification(*notification);
}

const Notifier kNotifier(Callback, &context);

/// All bytes of the record behind `from` are zero.
bool ZeroFrom(const WPK_CALLBACKSTRUCT& notification, size_t from) {
    const auto* bytes = reinterpret_cast<const char*>(&notification);
    for (size_t i = from; i < sizeof notification; ++i) {
        if (bytes[i] != 0) return false;
    }
    return true;
}

TEST(NotifierTest, AFailureCarriesItsCodeAndNothingElse) {
    onNotification = [](WPK_CALLBACKSTRUCT& n) {
        EXPECT_EQ(n.nReason, 0u);
        EXPECT_EQ(n.body.failure.nError, -7);
        EXPECT_TRUE(ZeroFrom(n, 20));
    };
    kNotifier.Failure(-7);
}

TEST(NotifierTest, ProgressCarriesTheWordOneTheBufferAndBothCounts) {
    onNotification = [](WPK_CALLBACKSTRUCT& n) {
        EXPECT_EQ(n.nReason, 1u);
        EXPECT_EQ(n.body.progress.nError, 0);
        EXPECT_EQ(n.body.progress.nWord, 1);
        EXPECT_EQ(n.body.progress.lpData, &context);
        EXPECT_EQ(n.body.progress.dwReceived, 5u);
        EXPECT_EQ(n.body.progress.dwTotal, 0xFFFFFFFEu);
        EXPECT_TRUE(ZeroFrom(n, 48));
    };
    kNotifier.Progress(&context, 5, 0xFFFFFFFE);
}

TEST(NotifierTest, ANotifierWithoutCallbackDeliversNothing) {
    Credentials credentials = CredentialsOf("u", "p");
    const Notifier silent(nullptr, nullptr);
    silent.Failure(-1);
    silent.ConnectionState(1);
    EXPECT_EQ(silent.AskForCredentials(credentials), Notifier::Answer::kDeclined);
}

TEST(NotifierTest, CredentialsAreShownInAZeroFilledRecordAndLeftAloneWhenDeclined) {
    onNotification = [](WPK_CALLBACKSTRUCT& n) {
        EXPECT_EQ(n.nReason, 4u);
        EXPECT_STREQ(n.body.credentials.szUser, "u");
        EXPECT_STREQ(n.body.credentials.szPassword, "p");
        EXPECT_EQ(n.body.credentials.bRetry, 0u);
        std::strcpy(n.body.credentials.szUser, "ignored");
    };
    Credentials credentials = CredentialsOf("u", "p");
    EXPECT_EQ(kNotifier.AskForCredentials(credentials), Notifier::Answer::kDeclined);
    EXPECT_EQ(credentials.user.View(), "u");
}

TEST(NotifierTest, CredentialsLongerThanTheFieldsAreCutAndTerminated) {
    onNotification = [](WPK_CALLBACKSTRUCT& n) {
        EXPECT_EQ(std::string(n.body.credentials.szUser), std::string(255, 'u'));
        EXPECT_EQ(std::string(n.body.credentials.szPassword), std::string(255, 'p'));
    };
    Credentials credentials = CredentialsOf(std::string(256, 'u'), std::string(5000, 'p'));
    kNotifier.AskForCredentials(credentials);
}

TEST(NotifierTest, ReturnedTextsAreTakenUpToTheirFirstZeroOrTheFieldsEnd) {
    onNotification = [](WPK_CALLBACKSTRUCT& n) {
        std::memcpy(n.body.credentials.szUser, "new\0rest", 8);
        std::memset(n.body.credentials.szPassword, 'x', sizeof n.body.credentials.szPassword);
        n.body.credentials.bRetry = 0x80000000;
    };
    Credentials credentials = CredentialsOf("u", "p");
    EXPECT_EQ(kNotifier.AskForCredentials(credentials), Notifier::Answer::kSendAgain);
    EXPECT_EQ(credentials.user.View(), "new");
    EXPECT_EQ(credentials.password.View(), std::string(256, 'x'));
}

TEST(NotifierTest, AnAnswerThatThereIsNoMemoryForLeavesTheCredentialsAsTheyAre) {
    onNotification = [](WPK_CALLBACKSTRUCT& n) {
        std::strcpy(n.body.credentials.szUser, "new");
        std::strcpy(n.body.credentials.szPassword, "other");
        n.body.credentials.bRetry = 1;
    };
    Credentials credentials = CredentialsOf("u", "p");
    for (int successes = 0; successes < kTextsOfCredentials; ++successes) {
        const test::AllocationFault fault(successes);
        EXPECT_EQ(kNotifier.AskForCredentials(credentials), Notifier::Answer::kNoMemory);
    }
    EXPECT_EQ(credentials.user.View(), "u");
    EXPECT_EQ(credentials.password.View(), "p");
}

}  // namespace
}  // namespace wpk
