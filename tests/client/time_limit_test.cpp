// Time limits: of a message and of the Client, reached and not reached.
// SPDX-License-Identifier: MIT
#include "client/fixture.h"
#include "client/scripted_library.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <utility>

namespace wpk::client_test {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;

/// Long enough for a request to be under way, short enough to wait for.
constexpr milliseconds kShort{100};
constexpr milliseconds kNever{0};
/// Reached at once.
constexpr milliseconds kOver{-1};

using Handles = std::vector<unsigned int>;

Message Within(milliseconds limit, unsigned short port) {
    Message message = To(port);
    message.time_limit = limit;
    return message;
}

Options ToLoopbackWithin(milliseconds limit, unsigned short port) {
    Options options = ToLoopback(port);
    options.time_limit = limit;
    return options;
}

TEST(TimeLimit, OfAMessageThatIsNotAnsweredEndsItsFutureAsTimedOut) {
    SilentPeer peer;
    const auto begin = std::chrono::steady_clock::now();
    const std::error_code code = CodeOf(TheClient().Send(Within(kShort, peer.Port())));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, kShort);
    EXPECT_EQ(code, Errc::kTimedOut);
    EXPECT_EQ(code, std::errc::timed_out);
    EXPECT_NE(code, std::errc::operation_canceled);
}

TEST(TimeLimit, OfAMessageThatIsNotAnsweredIsToldToItsFunctionOnce) {
    SilentPeer peer;
    const Kept kept = SendAndWait(TheClient(), Within(kShort, peer.Port()));
    EXPECT_EQ(kept.error, Errc::kTimedOut);
    EXPECT_EQ(kept.count, 1);
    EXPECT_NE(kept.thread, GetCurrentThreadId());
}

TEST(TimeLimit, WhileTheServerCannotBeReachedEndsTheRequest) {
    const harness::FullListener listener;
    EXPECT_EQ(CodeOf(TheClient().Send(Within(kShort, listener.Port()))), Errc::kTimedOut);
}

TEST(TimeLimit, InTheMiddleOfAReplyEndsTheRequest) {
    harness::Signal over;
    harness::Peer peer([&](harness::Connection& connection) {
        connection.ReadRequest();
        connection.Send(harness::OkHead(100) + "some");
        over.Wait();
    });
    EXPECT_EQ(CodeOf(TheClient().Send(Within(kShort, peer.Port()))), Errc::kTimedOut);
    over.Set();
}

TEST(TimeLimit, ThatIsNotReachedChangesNothing) {
    harness::Peer peer(harness::Answer(harness::Ok("world")));
    EXPECT_EQ(TheClient().Send(Within(hours(1), peer.Port())).get().body, "world");
}

TEST(TimeLimit, AsLongAsCanBeSaidIsNotReached) {
    harness::Peer peer(harness::Answer(harness::Ok("world")));
    EXPECT_EQ(TheClient().Send(Within((milliseconds::max)(), peer.Port())).get().body, "world");
}

TEST(TimeLimit, BelowZeroIsReachedAtOnce) {
    SilentPeer peer(/*threads=*/2);
    EXPECT_EQ(CodeOf(TheClient().Send(Within(kOver, peer.Port()))), Errc::kTimedOut);
    EXPECT_EQ(CodeOf(TheClient().Send(Within((milliseconds::min)(), peer.Port()))), Errc::kTimedOut);
}

TEST(TimeLimit, OfTheClientHoldsForMessagesThatHaveNone) {
    SilentPeer peer;
    const Client client(ToLoopbackWithin(kShort, peer.Port()), FreshLibrary());
    EXPECT_EQ(CodeOf(client.Send({"Echo", "hello"})), Errc::kTimedOut);
}

TEST(TimeLimit, OfAMessageGoesBeforeTheClients) {
    SilentPeer peer;
    const Client client(ToLoopbackWithin(hours(1), peer.Port()), FreshLibrary());
    EXPECT_EQ(CodeOf(client.Send(Within(kShort, peer.Port()))), Errc::kTimedOut);
}

TEST(TimeLimit, OfAMessageThatIsToHaveNoneTakesTheClientsAway) {
    harness::Signal answer;
    harness::Peer patient([&](harness::Connection& connection) {
        connection.ReadRequest();
        answer.Wait();
        connection.Send(harness::Ok("late"));
    });
    SilentPeer silent;
    const Client client(ToLoopbackWithin(kShort, silent.Port()), FreshLibrary());
    std::future<Reply> without = client.Send(Within(kNever, patient.Port()));
    // Sent later, over earlier: the Client's limit has passed for both.
    EXPECT_EQ(CodeOf(client.Send({"Echo", "hello"})), Errc::kTimedOut);
    answer.Set();
    EXPECT_EQ(without.get().body, "late");
}

TEST(TimeLimit, OfManyRequestsAreKeptEachForItself) {
    SilentPeer peer(/*threads=*/3);
    Request longRequest;
    std::future<Reply> last = TheClient().Send(Within(hours(1), peer.Port()), longRequest);
    std::future<Reply> second = TheClient().Send(Within(3 * kShort, peer.Port()));
    EXPECT_EQ(CodeOf(TheClient().Send(Within(kShort, peer.Port()))), Errc::kTimedOut);
    EXPECT_EQ(CodeOf(std::move(second)), Errc::kTimedOut);
    EXPECT_FALSE(longRequest.Ended());
    longRequest.Cancel();
    EXPECT_EQ(CodeOf(std::move(last)), Errc::kCancelled);
}

/// A Client over a scripted library, which takes every send under the handle 8.
class ScriptedTimeLimit : public testing::Test {
protected:
    ScriptedTimeLimit() {
        library_.onSend = [](WPK_SENDSTRUCT*) { return 8u; };
    }

    /// Ends the request, from another thread as the library does.
    void FailWith(int error) {
        harness::Thread([&] { TellFailure(*library_.sent, error); }).Join();
    }

    ScriptedLibrary library_;
    const Client client_{ToLoopback(), library_.TheFunctions()};
};

TEST_F(ScriptedTimeLimit, OfARequestThatWasCancelledBeforeIsNotWhatIsTold) {
    library_.RefuseCancels(1);  // so that it is repeated, and seen, when the time is up
    Request request;
    std::future<Reply> future = client_.Send(Within(milliseconds(1000), 80), request);
    request.Cancel();
    EXPECT_EQ(library_.Cancelled(), Handles());
    ASSERT_TRUE(library_.WaitForCancel());
    FailWith(WPK_ERROR_CANCELLED);
    EXPECT_EQ(CodeOf(std::move(future)), Errc::kCancelled);
    EXPECT_EQ(library_.Cancelled(), Handles{8});
}

TEST_F(ScriptedTimeLimit, ThatWasReachedStaysWhatIsToldAfterACancel) {
    Request request;
    std::future<Reply> future = client_.Send(Within(kOver, 80), request);
    ASSERT_TRUE(library_.WaitForCancel());
    request.Cancel();
    FailWith(WPK_ERROR_CANCELLED);
    EXPECT_EQ(CodeOf(std::move(future)), Errc::kTimedOut);
    EXPECT_EQ(library_.Cancelled(), Handles{8});
}

TEST_F(ScriptedTimeLimit, ReachedWhileTheReplyIsOnItsWayLosesToIt) {
    std::future<Reply> future = client_.Send(Within(kOver, 80));
    ASSERT_TRUE(library_.WaitForCancel());
    harness::Thread([&] { TellReply(*library_.sent, "world"); }).Join();
    EXPECT_EQ(future.get().body, "world");
}

TEST_F(ScriptedTimeLimit, ReachedWhileAFailureIsOnItsWayLosesToIt) {
    std::future<Reply> future = client_.Send(Within(kOver, 80));
    ASSERT_TRUE(library_.WaitForCancel());
    FailWith(WPK_ERROR_NO_SERVICE);
    EXPECT_EQ(CodeOf(std::move(future)), Errc::kNoService);
}

TEST_F(ScriptedTimeLimit, ReachedBeforeTheHandleIsKnownIsMadeUpFor) {
    library_.onSend = [&](WPK_SENDSTRUCT*) {
        // As long as another Client takes to keep a longer limit.
        SilentPeer peer;
        CodeOf(TheClient().Send(Within(kShort, peer.Port())));
        EXPECT_EQ(library_.Cancelled(), Handles());
        return 8u;
    };
    std::future<Reply> future = client_.Send(Within(kOver, 80));
    ASSERT_TRUE(library_.WaitForCancel());
    FailWith(WPK_ERROR_CANCELLED);
    EXPECT_EQ(CodeOf(std::move(future)), Errc::kTimedOut);
}

TEST_F(ScriptedTimeLimit, WhoseCancelIsRefusedIsTriedAgainThoughNobodyWaits) {
    library_.RefuseCancels(3);
    std::future<Reply> future = client_.Send(Within(kOver, 80));
    ASSERT_TRUE(library_.WaitForCancel());
    EXPECT_EQ(library_.Cancelled(), Handles{8});
    FailWith(WPK_ERROR_CANCELLED);
    EXPECT_EQ(CodeOf(std::move(future)), Errc::kTimedOut);
}

TEST_F(ScriptedTimeLimit, OfARequestThatTheLibraryDoesNotTakeIsGone) {
    library_.onSend = [](WPK_SENDSTRUCT*) { return 0u; };
    EXPECT_EQ(CodeThrownBy([&] { CodeOf(client_.Send(Within(kOver, 80))); }), Errc::kNotTaken);
    EXPECT_EQ(library_.Cancelled(), Handles());
}

TEST_F(ScriptedTimeLimit, OfAProgressFunctionThatThrowsIsNotWhatIsTold) {
    Message message = Within(hours(1), 80);
    message.on_progress = [](const Progress&) { throw 1; };
    std::error_code code;
    const Request request = client_.Send(std::move(message), [&](const Outcome& outcome) { code = outcome.error(); });
    harness::Thread([&] {
        TellProgress(*library_.sent, "some", 10);
        TellFailure(*library_.sent, WPK_ERROR_CANCELLED);
    }).Join();
    request.Wait();
    EXPECT_EQ(code, Errc::kFunctionThrew);
}

// The memory of the message is in use until the request has ended.
TEST_F(ScriptedTimeLimit, ThatWasReachedLeavesTheMessageUntilItsRequestHasEnded) {
    Request request;
    std::future<Reply> future = client_.Send(Within(kOver, 80), request);
    ASSERT_TRUE(library_.WaitForCancel());
    EXPECT_FALSE(request.Ended());
    EXPECT_EQ(future.wait_for(milliseconds::zero()), std::future_status::timeout);
    EXPECT_STREQ(library_.sent->lpszServiceName, "Echo");
    EXPECT_EQ(std::string(static_cast<const char*>(library_.sent->lpData), library_.sent->dwDataLength), "hello");
    FailWith(WPK_ERROR_CANCELLED);
    EXPECT_EQ(CodeOf(std::move(future)), Errc::kTimedOut);
}

TEST(TimeLimit, OfRequestsWhoseClientHasGoneIsKept) {
    SilentPeer peer(/*threads=*/2);
    std::future<Reply> future;
    Kept kept;
    Request request;
    {
        const Client client(ToLoopbackWithin(3 * kShort, peer.Port()), FreshLibrary());
        future = client.Send({"Echo", "hello"});
        request = client.Send({"Echo", "hello"}, [&](const Outcome& outcome) { kept.error = outcome.error(); });
    }
    EXPECT_EQ(CodeOf(std::move(future)), Errc::kTimedOut);
    request.Wait();
    EXPECT_EQ(kept.error, Errc::kTimedOut);
}

TEST(TimeLimit, OfAScopedRequestThatGoesFirstIsGoneWithIt) {
    SilentPeer peer;
    std::error_code code;
    {
        const ScopedRequest request =
            TheClient().Send(Within(hours(1), peer.Port()), [&](const Outcome& outcome) { code = outcome.error(); });
        ASSERT_TRUE(peer.WaitForRequest());
    }
    EXPECT_EQ(code, Errc::kCancelled);
}

/// A library whose cancels tell which thread they come from.
class KeeperWatch {
public:
    explicit KeeperWatch(const ScriptedLibrary& library) {
        real_ = library.TheFunctions();
        keeper_ = nullptr;
    }
    KeeperWatch(const KeeperWatch&) = delete;
    KeeperWatch& operator=(const KeeperWatch&) = delete;
    ~KeeperWatch() { CloseHandle(keeper_); }

    static Functions TheFunctions() { return {real_.init, real_.send, &KeeperWatch::Cancel}; }
    bool HasEnded() const { return WaitForSingleObject(keeper_, 0) == WAIT_OBJECT_0; }

private:
    static int Cancel(unsigned int handle) {
        if (handle == 8) keeper_ = OpenThread(SYNCHRONIZE, /*bInheritHandle=*/FALSE, GetCurrentThreadId());
        return real_.cancel(handle);
    }

    static Functions real_;
    static HANDLE keeper_;
};

Functions KeeperWatch::real_;
HANDLE KeeperWatch::keeper_ = nullptr;

TEST(TimeLimit, WhenTheClientAndItsLastRequestHaveGoneLeavesNoThread) {
    ScriptedLibrary library;
    library.onSend = [](WPK_SENDSTRUCT*) { return 8u; };
    const KeeperWatch keeper(library);
    auto client = std::make_unique<Client>(ToLoopback(), KeeperWatch::TheFunctions());
    std::future<Reply> future = client->Send(Within(kOver, 80));
    ASSERT_TRUE(library.WaitForCancel());
    client.reset();
    EXPECT_FALSE(keeper.HasEnded());
    harness::Thread([&] { TellFailure(*library.sent, WPK_ERROR_CANCELLED); }).Join();
    EXPECT_TRUE(keeper.HasEnded());
    EXPECT_EQ(CodeOf(std::move(future)), Errc::kTimedOut);
}

}  // namespace
}  // namespace wpk::client_test
