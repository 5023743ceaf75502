// What the layer keeps, and for how long.
// SPDX-License-Identifier: MIT
#include "client/fixture.h"
#include "client/scripted_library.h"
#include "support/dll/process.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace wpk::client_test {
namespace {

bool IsCommitted(const void* address) {
    MEMORY_BASIC_INFORMATION memory = {};
    VirtualQuery(address, &memory, sizeof memory);
    return memory.State == MEM_COMMIT;
}

/// So large that the heap gives its memory back to the system at once.
constexpr size_t kLarge = 8u << 20;

TEST(MessageKept, MadeOfTemporariesArrivesWhole) {
    harness::Signal sent;
    std::string arrived;
    harness::Peer peer([&](harness::Connection& connection) {
        sent.Wait();  // until everything that the message was made of has gone
        arrived = connection.ReadRequest();
        connection.Send(harness::Ok("world"));
    });
    std::future<Reply> future;
    {
        std::string service = "a service whose name is too long for any short string";
        Message message(service, harness::Pattern(kLarge));
        message.server = std::wstring(L"127.0.0.1");
        message.port = peer.Port();
        future = TheClient().Send(std::move(message));
        service.assign(service.size(), '-');
    }
    sent.Set();
    EXPECT_EQ(future.get().body, "world");
    EXPECT_NE(arrived.find("a service whose name is too long for any short string"), std::string::npos);
    EXPECT_TRUE(harness::MessageOf(arrived) == harness::Pattern(kLarge));
}

// The library may look at a record until the final callback has returned, and nobody is told when that is.
TEST(MessageKept, AfterItsOutcomeStaysUntilItsThreadHasEnded) {
    ScriptedLibrary library;
    harness::Signal returned;
    harness::Signal goOn;
    const WPK_SENDSTRUCT* record = nullptr;
    const void* body = nullptr;
    std::unique_ptr<harness::Thread> thread;
    library.onSend = [&](WPK_SENDSTRUCT* message) {
        record = message;
        body = message->lpData;
        thread = std::make_unique<harness::Thread>([&, message] {
            TellReply(*message, "done");
            returned.Set();
            goOn.Wait();
        });
        return 8u;
    };
    const Client client(ToLoopback(), library.TheFunctions());
    Message large("Echo", std::string(kLarge, 'x'));
    large.server = "server.example";
    const Request request = client.Send(std::move(large), [](const Outcome&) {});
    ASSERT_TRUE(returned.Wait());

    // Everything that gives memory back, while the thread still runs.
    request.Wait();
    library.onSend = [](WPK_SENDSTRUCT* message) {
        harness::Thread([&] { TellReply(*message, "done"); }).Join();
        return 12u;
    };
    client.Send({"Echo", "other"}).get();
    ASSERT_TRUE(IsCommitted(body));
    EXPECT_STREQ(record->lpszServer, "server.example");
    EXPECT_STREQ(record->lpszServiceName, "Echo");
    EXPECT_EQ(record->dwDataLength, kLarge);
    EXPECT_EQ(std::memcmp(body, "xxxx", 4), 0);

    goOn.Set();
    thread->Join();
    client.Send({"Echo", "other"}).get();
    EXPECT_FALSE(IsCommitted(body));
}

/// Whether that is the id of a thread that has ended, so that no other thread can get it.
bool IsKeptId(DWORD id) {
    const HANDLE thread = OpenThread(SYNCHRONIZE, /*bInheritHandle=*/FALSE, id);
    if (!thread) return false;
    const bool ended = WaitForSingleObject(thread, 0) == WAIT_OBJECT_0;
    CloseHandle(thread);
    return ended;
}

// A cancel that the library has accepted may look its handle up when the request has ended.
TEST(MessageKept, OfACancelledRequestIsGivenBackWhileItsThreadsIdStaysTaken) {
    ScriptedLibrary library;
    const void* body = nullptr;
    DWORD id = 0;
    std::unique_ptr<harness::Thread> thread;
    library.onSend = [&](WPK_SENDSTRUCT* message) {
        body = message->lpData;
        thread = std::make_unique<harness::Thread>([&, message] {
            id = GetCurrentThreadId();
            if (library.WaitForCancel()) TellFailure(*message, WPK_ERROR_CANCELLED);
        });
        return 8u;
    };
    const Client client(ToLoopback(), library.TheFunctions());
    const Request request = client.Send({"Echo", std::string(kLarge, 'x')}, [](const Outcome&) {});
    request.Cancel();
    thread->Join();
    request.Wait();
    EXPECT_FALSE(IsCommitted(body));
    EXPECT_TRUE(IsKeptId(id));
}

TEST(MessageKept, OfARequestThatTheLibraryRefusedIsGivenBackAtOnce) {
    ScriptedLibrary library;
    const void* body = nullptr;
    library.onSend = [&](WPK_SENDSTRUCT* message) {
        body = message->lpData;
        return 0u;
    };
    const Client client(ToLoopback(), library.TheFunctions());
    EXPECT_EQ(CodeThrownBy([&] { client.Send({"Echo", std::string(kLarge, 'x')}).get(); }), Errc::kNotTaken);
    EXPECT_FALSE(IsCommitted(body));
}

TEST(MessageMoved, WithALargeBodyIsNotCopied) {
    ScriptedLibrary library;
    const void* sent = nullptr;
    library.onSend = [&](WPK_SENDSTRUCT* message) {
        sent = message->lpData;
        harness::Thread([&] { TellReply(*message, "done"); }).Join();
        return 8u;
    };
    const Client client(ToLoopback(), library.TheFunctions());
    Message message("Echo", std::string(kLarge, 'x'));
    const void* mine = message.body.data();
    client.Send(std::move(message)).get();
    EXPECT_EQ(sent, mine);
}

TEST(ClientLifetime, DestroyedWhileRequestsRunLetsThemEnd) {
    harness::Signal answer;
    harness::Peer peer(
        [&](harness::Connection& connection) {
            connection.ReadRequest();
            answer.Wait();
            connection.Send(harness::Ok("late"));
        },
        /*threads=*/2);
    std::future<Reply> future;
    Request request;
    Kept kept;
    {
        const Client client(ToLoopback(peer.Port()), FreshLibrary());
        future = client.Send({"Echo", "hello"});
        request = client.Send({"Echo", "hello"}, [&](const Outcome& outcome) { kept.body = outcome.body(); });
    }
    EXPECT_FALSE(request.Ended());
    answer.Set();
    request.Wait();
    EXPECT_EQ(future.get().body, "late");
    EXPECT_EQ(kept.body, "late");
}

TEST(ClientLifetime, DestroyedWhileARequestRunsLeavesItsHandleWorking) {
    SilentPeer peer;
    std::error_code code;
    Request request;
    {
        const Client client(ToLoopback(peer.Port()), FreshLibrary());
        request = client.Send({"Echo", "hello"}, [&](const Outcome& outcome) { code = outcome.error(); });
    }
    request.Cancel();
    request.Wait();
    EXPECT_EQ(code, Errc::kCancelled);
}

TEST(ClientLifetime, DestroyedInsideAnOutcomeIsNoTrouble) {
    harness::Peer peer(harness::Answer(harness::Ok("world")));
    auto client = std::make_unique<Client>(ToLoopback(peer.Port()), FreshLibrary());
    harness::Signal known;
    const Request request = client->Send({"Echo", "hello"}, [&](const Outcome&) {
        known.Wait();
        client.reset();
    });
    known.Set();
    request.Wait();
    EXPECT_FALSE(client);
}

/// In a process of its own, which has the library that it is linked with to itself.
WPK_SCENARIO(EndWithRequestsUnderWay) {
    static const harness::FullListener listener;
    static SilentPeer peer;
    static const Client client(ToLoopback(listener.Port()));
    static std::vector<std::future<Reply>> futures;
    for (int i = 0; i < 4; ++i) futures.push_back(client.Send({"Echo", "hello"}));
    static const ScopedRequest cancelledAtTheEnd = client.Send({"Echo", "hello"}, [](const Outcome&) {});
    client.Send(To(peer.Port()), [](const Outcome&) {});
    return peer.WaitForRequest() ? 0 : 1;
}

TEST(Process, WhichEndsWithRequestsUnderWayEndsAsItWants) {
    EXPECT_EQ(harness::Child("EndWithRequestsUnderWay", "none").Wait(), 0u);
}

TEST(FinalNotification, BeforeTheSendIsBackIsTheOutcome) {
    ScriptedLibrary library;
    library.onSend = [](WPK_SENDSTRUCT* message) {
        harness::Thread([&] { TellReply(*message, "quick"); }).Join();
        return 8u;
    };
    const Client client(ToLoopback(), library.TheFunctions());
    int count = 0;
    const Request request = client.Send({"Echo", "hello"}, [&](const Outcome& outcome) {
        EXPECT_EQ(outcome.body(), "quick");
        ++count;
    });
    EXPECT_TRUE(request.Ended());
    EXPECT_EQ(count, 1);
    EXPECT_EQ(client.Send({"Echo", "hello"}).get().body, "quick");
}

}  // namespace
}  // namespace wpk::client_test
