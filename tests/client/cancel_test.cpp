// Cancelling: explicitly, by destruction, from inside, too early and too late.
// SPDX-License-Identifier: MIT
#include "client/fixture.h"
#include "client/scripted_library.h"

#include <gtest/gtest.h>

#include <utility>

namespace wpk::client_test {
namespace {

/// A cancel is promised to be seen within 250 ms; the rest is what a machine under load may add.
constexpr ULONGLONG kCancelLimit = 250 + 500;

using Handles = std::vector<unsigned int>;

/// Notes the outcome of a request and says when it has come.
class Ending {
public:
    OutcomeFunction Function() {
        return [this](const Outcome& outcome) {
            code_ = outcome.error();
            told_.Set();
        };
    }
    bool Wait() { return told_.Wait(); }
    std::error_code code() const { return code_; }

private:
    std::error_code code_;
    harness::Signal told_;
};

TEST(RequestTest, CancelledEndsInTimeAndTellsSo) {
    SilentPeer peer;
    Ending ending;
    const Request request = TheClient().Send(To(peer.Port()), ending.Function());
    ASSERT_TRUE(peer.WaitForRequest());
    EXPECT_FALSE(request.Ended());
    const ULONGLONG begin = GetTickCount64();
    request.Cancel();
    request.Cancel();
    request.Wait();
    EXPECT_LE(GetTickCount64() - begin, kCancelLimit);
    EXPECT_TRUE(request.Ended());
    EXPECT_EQ(ending.code(), Errc::kCancelled);
}

TEST(RequestTest, CancelledAtOnceAfterTheSendEnds) {
    const harness::FullListener listener;
    for (int i = 0; i < 20; ++i) {
        Ending ending;
        const Request request = TheClient().Send(To(listener.Port()), ending.Function());
        request.Cancel();
        request.Wait();
        EXPECT_EQ(ending.code(), Errc::kCancelled);
    }
}

TEST(RequestTest, CopiedMeansTheSameRequest) {
    SilentPeer peer;
    Ending ending;
    const Request request = TheClient().Send(To(peer.Port()), ending.Function());
    const Request copy = request;  // NOLINT: the copy is what is tested
    copy.Cancel();
    request.Wait();
    EXPECT_TRUE(copy.Ended());
    EXPECT_EQ(ending.code(), Errc::kCancelled);
}

TEST(RequestTest, EmptyDoesNothing) {
    const Request none;
    none.Cancel();
    none.Wait();
    EXPECT_TRUE(none.Ended());
    EXPECT_FALSE(none.IsCallingThisThread());
}

TEST(RequestTest, WaitedForInItsOwnFunctionIsADeadlockThatIsRefused) {
    harness::Peer peer(harness::Answer(harness::Ok("world")));
    harness::Signal known;
    std::error_code refused;
    bool inside = false;
    Request request;
    request = TheClient().Send(To(peer.Port()), [&](const Outcome&) {
        known.Wait();
        inside = request.IsCallingThisThread();
        refused = CodeThrownBy([&] { request.Wait(); });
    });
    EXPECT_FALSE(request.IsCallingThisThread());
    known.Set();
    request.Wait();
    EXPECT_TRUE(inside);
    EXPECT_EQ(refused, std::errc::resource_deadlock_would_occur);
}

TEST(RequestTest, WaitedForInAnotherRequestsFunctionIsWaitedFor) {
    harness::Peer peer(harness::Answer(harness::Ok("world")), /*threads=*/2);
    const Request first = TheClient().Send(To(peer.Port()), [](const Outcome&) {});
    bool ended = false;
    const Request second = TheClient().Send(To(peer.Port()), [&](const Outcome&) {
        first.Wait();
        ended = first.Ended();
    });
    second.Wait();
    EXPECT_TRUE(ended);
}

TEST(Cancel, AfterTheEndDoesNotReachTheLibrary) {
    ScriptedLibrary library;
    library.onSend = [](WPK_SENDSTRUCT* message) {
        harness::Thread([&] { TellReply(*message, "done"); }).Join();
        return 8u;
    };
    const Client client(ToLoopback(), library.TheFunctions());
    const Request request = client.Send(To(80), [](const Outcome&) {});
    request.Wait();
    request.Cancel();
    EXPECT_EQ(library.Cancelled(), Handles());
}

TEST(Cancel, TwiceReachesTheLibraryOnce) {
    ScriptedLibrary library;
    library.onSend = [](WPK_SENDSTRUCT*) { return 8u; };
    const Client client(ToLoopback(), library.TheFunctions());
    const Request request = client.Send(To(80), [](const Outcome&) {});
    request.Cancel();
    request.Cancel();
    EXPECT_EQ(library.Cancelled(), Handles{8});
    harness::Thread([&] { TellFailure(*library.sent, WPK_ERROR_CANCELLED); }).Join();
    request.Wait();
}

TEST(Cancel, BeforeTheHandleIsKnownIsMadeUpFor) {
    ScriptedLibrary library;
    library.onSend = [&](WPK_SENDSTRUCT* message) {
        harness::Thread([&] { TellProgress(*message, "some", 10); }).Join();
        EXPECT_EQ(library.Cancelled(), Handles());
        return 8u;
    };
    const Client client(ToLoopback(), library.TheFunctions());
    Message message = To(80);
    message.on_progress = [](const Progress& progress) { progress.Cancel(); };
    const Request request = client.Send(std::move(message), [](const Outcome&) {});
    EXPECT_EQ(library.Cancelled(), Handles{8});
    harness::Thread([&] { TellFailure(*library.sent, WPK_ERROR_CANCELLED); }).Join();
    request.Wait();
}

TEST(Cancel, AndTheEndBothBeforeTheHandleIsKnownReachesNobody) {
    ScriptedLibrary library;
    library.onSend = [](WPK_SENDSTRUCT* message) {
        harness::Thread([&] {
            TellProgress(*message, "some", 4);
            TellReply(*message, "some");
        }).Join();
        return 8u;
    };
    const Client client(ToLoopback(), library.TheFunctions());
    Message message = To(80);
    message.on_progress = [](const Progress& progress) { progress.Cancel(); };
    EXPECT_EQ(client.Send(std::move(message)).get().body, "some");
    EXPECT_EQ(library.Cancelled(), Handles());
}

/// A library that sends one request, and ends it when a cancel has been accepted.
class CancelledRequest {
public:
    explicit CancelledRequest(int refusals) : client_(ToLoopback(), Prepared().TheFunctions()) {
        library_.RefuseCancels(refusals);
    }
    const Client& client() const { return client_; }
    ScriptedLibrary& library() { return library_; }

private:
    ScriptedLibrary& Prepared() {
        library_.onSend = [this](WPK_SENDSTRUCT* message) {
            thread_ = std::make_unique<harness::Thread>([this, message] {
                if (library_.WaitForCancel()) TellFailure(*message, WPK_ERROR_CANCELLED);
            });
            return 8u;
        };
        return library_;
    }

    ScriptedLibrary library_;
    Client client_;
    std::unique_ptr<harness::Thread> thread_;
};

TEST(Cancel, RefusedByTheLibraryMayBeTriedAgain) {
    CancelledRequest scene(/*refusals=*/1);
    const Request request = scene.client().Send(To(80), [](const Outcome&) {});
    request.Cancel();
    EXPECT_EQ(scene.library().Cancelled(), Handles());
    request.Cancel();
    EXPECT_EQ(scene.library().Cancelled(), Handles{8});
    request.Cancel();
    request.Wait();
    EXPECT_EQ(scene.library().Cancelled(), Handles{8});
}

TEST(Cancel, RefusedByTheLibraryIsTriedAgainByWhoeverWaits) {
    CancelledRequest scene(/*refusals=*/3);
    Ending ending;
    const Request request = scene.client().Send(To(80), ending.Function());
    request.Cancel();
    request.Wait();
    EXPECT_EQ(scene.library().Cancelled(), Handles{8});
    EXPECT_EQ(ending.code(), Errc::kCancelled);
}

TEST(Cancel, RefusedByTheLibraryDuringAWaitIsTriedAgainByTheWaitingThread) {
    CancelledRequest scene(/*refusals=*/3);
    const Request request = scene.client().Send(To(80), [](const Outcome&) {});
    harness::Thread waiting([&] { request.Wait(); });
    request.Cancel();
    waiting.Join();
    EXPECT_EQ(scene.library().Cancelled(), Handles{8});
}

TEST(Cancel, BeforeTheHandleIsKnownAndThenRefusedIsTriedAgain) {
    ScriptedLibrary library;
    library.onSend = [&](WPK_SENDSTRUCT* message) {
        harness::Thread([&] { TellProgress(*message, "some", 10); }).Join();
        return 8u;
    };
    const Client client(ToLoopback(), library.TheFunctions());
    library.RefuseCancels(1);
    Message message = To(80);
    message.on_progress = [](const Progress& progress) { progress.Cancel(); };
    const Request request = client.Send(std::move(message), [](const Outcome&) {});
    EXPECT_EQ(library.Cancelled(), Handles());
    harness::Thread([&] { TellProgress(*library.sent, "some more", 10); }).Join();
    EXPECT_EQ(library.Cancelled(), Handles{8});
    harness::Thread([&] { TellFailure(*library.sent, WPK_ERROR_CANCELLED); }).Join();
    request.Wait();
}

TEST(Cancel, AfterAThrowingProgressFunctionRefusedIsTriedAgainWithTheNextPiece) {
    ScriptedLibrary library;
    library.onSend = [](WPK_SENDSTRUCT*) { return 8u; };
    const Client client(ToLoopback(), library.TheFunctions());
    library.RefuseCancels(1);
    Message message = To(80);
    message.on_progress = [](const Progress&) { throw 1; };
    const Request request = client.Send(std::move(message), [](const Outcome&) {});
    harness::Thread([&] { TellProgress(*library.sent, "some", 10); }).Join();
    EXPECT_EQ(library.Cancelled(), Handles());
    harness::Thread([&] { TellProgress(*library.sent, "some more", 10); }).Join();
    EXPECT_EQ(library.Cancelled(), Handles{8});
    harness::Thread([&] { TellFailure(*library.sent, WPK_ERROR_CANCELLED); }).Join();
    request.Wait();
}

TEST(ScopedRequestTest, WhoseCancelIsRefusedTriesAgainUntilItHasEnded) {
    CancelledRequest scene(/*refusals=*/5);
    Ending ending;
    { const ScopedRequest request = scene.client().Send(To(80), ending.Function()); }
    EXPECT_EQ(scene.library().Cancelled(), Handles{8});
    EXPECT_EQ(ending.code(), Errc::kCancelled);
}

TEST(ScopedRequestTest, DestroyedCancelsAndWaits) {
    SilentPeer peer;
    Ending ending;
    const auto captured = std::make_shared<int>();
    {
        const ScopedRequest request = TheClient().Send(
            To(peer.Port()), [captured, tell = ending.Function()](const Outcome& outcome) { tell(outcome); });
        ASSERT_TRUE(peer.WaitForRequest());
        EXPECT_FALSE(request.Ended());
    }
    EXPECT_EQ(captured.use_count(), 1);
    EXPECT_EQ(ending.code(), Errc::kCancelled);
}

TEST(ScopedRequestTest, DestroyedAfterTheEndDoesNothing) {
    harness::Peer peer(harness::Answer(harness::Ok("world")));
    Ending ending;
    {
        const ScopedRequest request = TheClient().Send(To(peer.Port()), ending.Function());
        request.Wait();
    }
    EXPECT_FALSE(ending.code());
}

TEST(ScopedRequestTest, DetachedRunsOn) {
    harness::Signal answer;
    harness::Peer peer([&](harness::Connection& connection) {
        connection.ReadRequest();
        answer.Wait();
        connection.Send(harness::Ok("world"));
    });
    Ending ending;
    Request request;
    {
        ScopedRequest scoped = TheClient().Send(To(peer.Port()), ending.Function());
        request = scoped.Detach();
        EXPECT_TRUE(scoped.Ended());
    }
    answer.Set();
    request.Wait();
    EXPECT_FALSE(ending.code());
}

TEST(ScopedRequestTest, MovedTakesTheRequestAlong) {
    SilentPeer peer;
    Ending ending;
    ScopedRequest outer;
    {
        ScopedRequest inner = TheClient().Send(To(peer.Port()), ending.Function());
        outer = std::move(inner);
    }
    EXPECT_FALSE(outer.Ended());
    const ScopedRequest last(std::move(outer));
    last.Cancel();
    last.Wait();
    EXPECT_EQ(ending.code(), Errc::kCancelled);
}

TEST(ScopedRequestTest, AssignedToEndsWhatItHeld) {
    SilentPeer peer(/*threads=*/2);
    Ending first;
    Ending second;
    ScopedRequest request = TheClient().Send(To(peer.Port()), first.Function());
    request = TheClient().Send(To(peer.Port()), second.Function());
    EXPECT_EQ(first.code(), Errc::kCancelled);
    EXPECT_FALSE(request.Ended());
}

TEST(ScopedRequestTest, DestroyedInItsOwnFunctionDoesNotWaitForItself) {
    harness::Peer peer(harness::Answer(harness::Ok("world")));
    harness::Signal known;
    Ending ending;
    auto request = std::make_unique<ScopedRequest>();
    *request = TheClient().Send(To(peer.Port()), [&](const Outcome& outcome) {
        known.Wait();
        request.reset();
        ending.Function()(outcome);
    });
    known.Set();
    ASSERT_TRUE(ending.Wait());
    EXPECT_FALSE(ending.code());
}

}  // namespace
}  // namespace wpk::client_test
