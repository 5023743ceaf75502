// The notifications that a callback gets, and the record that a send is asked for with.
// SPDX-License-Identifier: MIT
#include "transport/notification.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "unit/transport/allocation_fault.h"

namespace wpk::core {
namespace {

Credentials CredentialsOf(std::string_view user, std::string_view password) {
    return {TextBuffer::CopyOf(user), TextBuffer::CopyOf(password)};
}

constexpr int kTextsOfCredentials = 2;

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

TEST(SendStructTest, BuiltOverForeignBytesIsZeroButForThePort) {
    alignas(WPK_SENDSTRUCT) unsigned char memory[sizeof(WPK_SENDSTRUCT)];
    std::memset(memory, 0xAA, sizeof memory);
    const WPK_SENDSTRUCT& message = *new (memory) WPK_SENDSTRUCT;
    EXPECT_EQ(message.reserved, 0u);
    EXPECT_EQ(message.nPort, 80u);
    EXPECT_EQ(message.lpszServer, nullptr);
    EXPECT_EQ(message.lpszServiceName, nullptr);
    EXPECT_EQ(message.lpfnCallback, nullptr);
    EXPECT_EQ(message.lpUserData, nullptr);
    EXPECT_EQ(message.lpData, nullptr);
    EXPECT_EQ(message.dwDataLength, 0u);
    message.~WPK_SENDSTRUCT();
}

/// Leaves foreign bytes where the next call's variables are going to be.
[[gnu::noinline]] void DirtyStack() {
    volatile unsigned char bytes[4096];
    for (volatile unsigned char& byte : bytes) byte = 0xAA;
}

TEST(NotifierTest, AFailureCarriesItsCodeAndNothingElse) {
    onNotification = [](WPK_CALLBACKSTRUCT& n) {
        EXPECT_EQ(n.nReason, 0u);
        EXPECT_EQ(n.body.failure.nError, -7);
        EXPECT_TRUE(ZeroFrom(n, 20));
    };
    DirtyStack();
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
    DirtyStack();
    kNotifier.Progress(&context, 5, 0xFFFFFFFE);
}

TEST(NotifierTest, AReplyCarriesTheBufferAndItsLength) {
    onNotification = [](WPK_CALLBACKSTRUCT& n) {
        EXPECT_EQ(n.nReason, 2u);
        EXPECT_EQ(n.body.reply.nError, 0);
        EXPECT_EQ(n.body.reply.lpData, &context);
        EXPECT_EQ(n.body.reply.dwDataLength, 5u);
        EXPECT_TRUE(ZeroFrom(n, 36));
    };
    DirtyStack();
    kNotifier.Reply(&context, 5);
}

TEST(NotifierTest, AConnectionStateCarriesTheStateAlone) {
    onNotification = [](WPK_CALLBACKSTRUCT& n) {
        EXPECT_EQ(n.nReason, 3u);
        EXPECT_EQ(n.body.connection.dwConnected, 1u);
        EXPECT_TRUE(ZeroFrom(n, 20));
    };
    DirtyStack();
    kNotifier.ConnectionState(1);
}

TEST(NotifierTest, ANotifierWithoutCallbackDeliversNothing) {
    Credentials credentials = CredentialsOf("u", "p");
    const Notifier silent(nullptr, nullptr);
    silent.Failure(-1);
    silent.ConnectionState(1);
    EXPECT_EQ(silent.AskForCredentials(credentials), Notifier::CredentialsReply::kDeclined);
}

TEST(NotifierTest, CredentialsAreShownInAZeroFilledRecordAndLeftAloneWhenDeclined) {
    onNotification = [](WPK_CALLBACKSTRUCT& n) {
        EXPECT_EQ(n.nReason, 4u);
        EXPECT_STREQ(n.body.credentials.szUser, "u");
        EXPECT_STREQ(n.body.credentials.szPassword, "p");
        EXPECT_TRUE(ZeroFrom(n, 273)) << "the password of one character, and all after it";
        std::strcpy(n.body.credentials.szUser, "ignored");
    };
    Credentials credentials = CredentialsOf("u", "p");
    DirtyStack();
    EXPECT_EQ(kNotifier.AskForCredentials(credentials), Notifier::CredentialsReply::kDeclined);
    EXPECT_EQ(credentials.user.View(), "u");
}

TEST(NotifierTest, CredentialsLongerThanTheFieldsAreCutAndTerminated) {
    onNotification = [](WPK_CALLBACKSTRUCT& n) {
        EXPECT_EQ(std::string(n.body.credentials.szUser), std::string(255, 'u'));
        EXPECT_EQ(std::string(n.body.credentials.szPassword), std::string(255, 'p'));
    };
    Credentials credentials = CredentialsOf(std::string(256, 'u'), std::string(5000, 'p'));
    DirtyStack();
    kNotifier.AskForCredentials(credentials);
}

TEST(NotifierTest, ReturnedTextsAreTakenUpToTheirFirstZeroOrTheFieldsEnd) {
    onNotification = [](WPK_CALLBACKSTRUCT& n) {
        std::memcpy(n.body.credentials.szUser, "new\0rest", 8);
        std::memset(n.body.credentials.szPassword, 'x', sizeof n.body.credentials.szPassword);
        n.body.credentials.bRetry = 0x80000000;
    };
    Credentials credentials = CredentialsOf("u", "p");
    EXPECT_EQ(kNotifier.AskForCredentials(credentials), Notifier::CredentialsReply::kRetry);
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
        EXPECT_EQ(kNotifier.AskForCredentials(credentials), Notifier::CredentialsReply::kNoMemory);
    }
    EXPECT_EQ(credentials.user.View(), "u");
    EXPECT_EQ(credentials.password.View(), "p");
}

}  // namespace
}  // namespace wpk::core
