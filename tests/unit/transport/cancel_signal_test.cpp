// The signal that ends a request's wait for its connection.
// SPDX-License-Identifier: MIT
#include "transport/cancel_signal.h"

#include <gtest/gtest.h>

#include "support/lib_thread.h"

namespace wpk {
namespace {

TEST(CancelSignalTest, AWaitForASignalThatIsNotGivenTimesOut) {
    CancelSignal signal;
    EXPECT_FALSE(signal.WaitFor(0));
    EXPECT_FALSE(signal.WaitFor(1));
}

TEST(CancelSignalTest, ASignalGivenBeforeTheFirstWaitEndsIt) {
    CancelSignal signal;
    signal.Set();
    EXPECT_TRUE(signal.WaitFor(INFINITE));
}

TEST(CancelSignalTest, ASignalGivenBetweenWaitsEndsTheNextOne) {
    CancelSignal signal;
    EXPECT_FALSE(signal.WaitFor(0));
    signal.Set();
    EXPECT_TRUE(signal.WaitFor(INFINITE));
}

TEST(CancelSignalTest, TheSignalStaysGiven) {
    CancelSignal signal;
    signal.Set();
    signal.Set();
    EXPECT_TRUE(signal.WaitFor(INFINITE));
    EXPECT_TRUE(signal.WaitFor(INFINITE));
}

using CancelSignalThreads = test::ThreadLayer;

TEST_F(CancelSignalThreads, ASignalIsNeverMissedHoweverItMeetsTheFirstWait) {
    for (int i = 0; i < 200; ++i) {
        CancelSignal signal;
        test::LibThread canceller = test::LibThread::Started([&] {
            signal.Set();
            return 0u;
        });
        EXPECT_TRUE(signal.WaitFor(INFINITE));
        canceller.Join();
    }
}

}  // namespace
}  // namespace wpk
