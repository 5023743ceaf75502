// The samples of docs/guide.md: they compile as they stand there, and do what the page says.
// SPDX-License-Identifier: MIT
#include "support/dll/peer.h"
#include "support/dll/platform.h"
#include "support/dll/wire.h"

#include "wpk/wpk.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace wpk::harness {
namespace {

#include "guide/one_request.inc"

void IgnoreNotification(WPK_CALLBACKSTRUCT*) {}

class GuidePage : public testing::Test {
protected:
    static void SetUpTestSuite() {
        WPK_INITSTRUCT settings = {};
        settings.nConnectionType = WPK_CONNECTION_PERMANENT;
        settings.lpfnCallback = IgnoreNotification;
        ASSERT_EQ(WPK_Init(&settings), 1);
    }
};

TEST_F(GuidePage, OneRequestBringsTheReply) {
    Peer peer([](Connection& connection) { connection.Send(Ok(MessageOf(connection.ReadRequest()))); });
    Question question;
    EXPECT_TRUE(Ask(question, "127.0.0.1", peer.Port(), "hello"));
    EXPECT_EQ(question.reply, "hello");
}

TEST_F(GuidePage, OneRequestBringsTheFailure) {
    Peer peer([](Connection& connection) {
        connection.ReadRequest();
        connection.Send(RawReply("HTTP/1.0 500 Bad_Plugin_Name", {"Content-Length: 0"}));
    });
    Question question;
    EXPECT_FALSE(Ask(question, "127.0.0.1", peer.Port(), "hello"));
    EXPECT_EQ(question.error, WPK_ERROR_NO_SERVICE);
}

TEST_F(GuidePage, TimeLimitEndsTheRequest) {
    Signal over;
    Peer peer([&](Connection& connection) {
        connection.ReadRequest();
        over.Wait();
    });
    Question question;
    question.message.lpszServer = "127.0.0.1";
    question.message.nPort = peer.Port();
    question.message.lpfnCallback = OnNotification;
    question.message.lpUserData = &question;
    const unsigned handle = WPK_Send(&question.message);
    ASSERT_NE(handle, 0u);
#include "guide/time_limit.inc"
    EXPECT_EQ(question.error, WPK_ERROR_CANCELLED);
    over.Set();
}

/// Somebody who knows the password.
struct Person {
    static bool AskUser(char* user, char* password) {
        std::strcpy(user, "user");
        std::strcpy(password, "password");
        return true;
    }
};

TEST(GuidePageNotifications, CredentialsAreAnswered) {
    WPK_CALLBACKSTRUCT record = {};
    record.nReason = WPK_REASON_CREDENTIALS;
    WPK_CALLBACKSTRUCT* notification = &record;
    const Person question;
    switch (notification->nReason) {
#include "guide/credentials.inc"
    }
    EXPECT_EQ(record.body.credentials.bRetry, 1u);
    EXPECT_STREQ(record.body.credentials.szPassword, "password");
}

#include "guide/window.inc"

TEST(GuidePageNotifications, WindowGetsTheReplyAsItsOwn) {
    // One that needs no display.
    const HWND window = CreateWindowA("STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    ASSERT_NE(window, nullptr);
    WPK_CALLBACKSTRUCT record = {};
    record.lpUserData = window;
    record.body.reply.lpData = "hello";
    record.body.reply.dwDataLength = 5;
    OnReply(&record);
    MSG message = {};
    ASSERT_TRUE(PeekMessageA(&message, window, WM_APP, WM_APP, PM_REMOVE));
    const std::unique_ptr<std::string> text(reinterpret_cast<std::string*>(message.lParam));
    EXPECT_EQ(*text, "hello");
    DestroyWindow(window);
}

}  // namespace
}  // namespace wpk::harness
