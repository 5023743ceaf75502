// The start of the library and the way of a call, with the platform's calls watched or made to fail.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>

#include "host/child_process.h"
#include "host/control.h"
#include "host/scene.h"
#include "support/lib_thread.h"

namespace wpk::host {

using namespace core;
namespace {

/// What the child that ran last has found.
struct Found {
    uint64_t fired;
    int result;
};

/// Made before any child is.
Found& theFound = *static_cast<Found*>(SharedMemory(sizeof(Found)));

WPK_INITSTRUCT PermanentNetwork() {
    WPK_INITSTRUCT settings{};
    settings.nConnectionType = WPK_CONNECTION_PERMANENT;
    return settings;
}

void ExpectServed(const Server& server) {
    auto& request = Lasting<Request>(server.Port(), "Small");
    ASSERT_NE(request.Send(), 0u);
    ASSERT_TRUE(request.AwaitFinal());
    EXPECT_EQ(request.Reply(), "small");
    EXPECT_TRUE(AwaitThat([] { return CountLive().threads == 1; }));
}

/// Initialises with the nth use of a call failing, and again without a fault. The library works afterwards.
void InitialiseTwice(const char* call, uint64_t nth) {
    const WPK_INITSTRUCT settings = PermanentNetwork();
    const auto& server = Lasting<Server>();
    FailCall(call, nth);
    theFound.result = InitLibrary(settings);
    theFound.fired = FaultsFired();
    ClearFaults();
    if (theFound.result == 0) {
        EXPECT_TRUE(AwaitThat([] { return CountLive().threads == 0; }));
    }
    EXPECT_EQ(InitLibrary(settings), 1);
    ExpectServed(server);
}

TEST(Start, FailsWithWhateverItsDeskNeedsAndMayBeTriedAgain) {
    for (const char* call : {"CreateSemaphoreA", "_beginthreadex", "OpenThread", "ResumeThread"}) {
        uint64_t nth = 0;
        do {
            ++nth;
            SCOPED_TRACE(std::string(call) + ' ' + std::to_string(nth));
            ASSERT_TRUE(RunInChild([=] { InitialiseTwice(call, nth); }));
            EXPECT_EQ(theFound.result, theFound.fired > 0 ? 0 : 1);
        } while (theFound.fired > 0);
        EXPECT_GT(nth, 1u) << call << " is never used";
    }
}

TEST(Start, EitherFailsWithAnAllocationOrDoesWithoutIt) {
    uint64_t nth = 0;
    int refusals = 0;
    do {
        ++nth;
        SCOPED_TRACE(nth);
        ASSERT_TRUE(RunInChild([=] { InitialiseTwice("operator_new", nth); }));
        refusals += theFound.result == 0;
    } while (theFound.fired > 0);
    // All but the names of threads and the texts of the settings.
    EXPECT_GT(refusals, 8);
}

TEST(CallPath, ACallWhoseThreadCannotBeAttachedReturnsZeroAndTheNextOneIsServed) {
    EXPECT_TRUE(RunInChild([] {
        const WPK_INITSTRUCT settings = PermanentNetwork();
        ASSERT_EQ(WPK_Init(&settings), 1);
        const auto& server = Lasting<Server>();
        ExpectServed(server);
        const uint64_t threads = Uses("_beginthreadex");
        for (const char* call : {"CreateSemaphoreA", "operator_new"}) {
            auto& request = Lasting<Request>(server.Port(), "Small");
            FailCall(call, 1);
            EXPECT_EQ(request.Send(), 0u) << call;
            EXPECT_EQ(FaultsFired(call), 1u);
            FailCall(call, 1);
            EXPECT_EQ(CancelRequest(4), 0) << call;
            ClearFaults();
        }
        EXPECT_EQ(Uses("_beginthreadex"), threads) << "nothing was posted";
        ExpectServed(server);
    }));
}

TEST(CallPath, ACallIsAttachedSentAndDetachedInsideTheGate) {
    EXPECT_TRUE(RunInChild([] {
        const WPK_INITSTRUCT settings = PermanentNetwork();
        ASSERT_EQ(WPK_Init(&settings), 1);
        const auto& server = Lasting<Server>();
        const uint32_t self = GetCurrentThreadId();
        auto state = ThreadState::kEnded;
        // On the front desk, which has received the send and holds the registry's lock while it makes the worker.
        RunBefore("_beginthreadex", 1, [&] {
            const ThreadRecord* caller = ThreadLib::processRegistry.load()->Find(self);
            if (caller) state = caller->state;
        });
        ExpectServed(server);
        EXPECT_EQ(state, ThreadState::kReplyBlocked);
        EXPECT_EQ(test::StateOf(self), ThreadState::kEnded) << "no longer registered";
    }));
}

}  // namespace
}  // namespace wpk::host
