// The registry of requests in flight.
// SPDX-License-Identifier: MIT
#include "transport/pending_requests.h"

#include <gtest/gtest.h>

#include <atomic>

#include "support/lib_thread.h"

namespace wpk::core {
namespace {

TEST(PendingRequestsTest, AnEntryExistsFromAddToRemove) {
    const auto pending = PendingRequests::Create();
    EXPECT_EQ(pending->Any(), 0u);
    ASSERT_TRUE(pending->Add(4));
    ASSERT_TRUE(pending->Add(8));
    EXPECT_EQ(pending->Any(), 1u);
    pending->Remove(4);
    EXPECT_EQ(pending->Any(), 1u);
    pending->Remove(8);
    EXPECT_EQ(pending->Any(), 0u);
}

TEST(PendingRequestsTest, ANewRequestIsNotCancelled) {
    const auto pending = PendingRequests::Create();
    const PendingRequest request = pending->Add(4);
    EXPECT_FALSE(request.connection->Cancelled());
    EXPECT_FALSE(request.cancel->semaphore.WaitFor(0));
    pending->Remove(4);
}

TEST(PendingRequestsTest, CancelMarksTheConnectionAndSignals) {
    const auto pending = PendingRequests::Create();
    const PendingRequest cancelled = pending->Add(4);
    const PendingRequest other = pending->Add(8);
    EXPECT_EQ(pending->Cancel(4), 1u);
    EXPECT_EQ(pending->Cancel(4), 1u) << "twice is as good as once";
    EXPECT_TRUE(cancelled.connection->Cancelled());
    EXPECT_TRUE(cancelled.cancel->semaphore.WaitFor(0));
    EXPECT_FALSE(other.connection->Cancelled());
    pending->Remove(4);
    pending->Remove(8);
}

TEST(PendingRequestsTest, CancelOfAnUnknownOrFinishedHandleChangesNothing) {
    const auto pending = PendingRequests::Create();
    EXPECT_EQ(pending->Cancel(4), 0u);
    pending->Add(4);
    pending->Remove(4);
    EXPECT_EQ(pending->Cancel(4), 0u);
    EXPECT_EQ(pending->Any(), 0u);
}

TEST(PendingRequestsTest, RemoveOfAnUnknownHandleChangesNothing) {
    const auto pending = PendingRequests::Create();
    pending->Add(4);
    pending->Remove(8);
    EXPECT_EQ(pending->Any(), 1u);
    pending->Remove(4);
}

TEST(PendingRequestsTest, DrainGivesTheHandlesAndLeavesTheRecordsToBeFreed) {
    const auto pending = PendingRequests::Create();
    pending->Add(4);
    pending->Add(8);
    const RecordTable::Rows drained = pending->Drain();
    ASSERT_EQ(drained.count, 2u);
    EXPECT_EQ(PendingRequests::HandleOf(drained.rows[0]), 4u);
    EXPECT_EQ(PendingRequests::HandleOf(drained.rows[1]), 8u);
    EXPECT_EQ(pending->Cancel(4), 0u);
    for (uint32_t i = 0; i < drained.count; ++i) PendingRequests::Free(drained.rows[i]);
}

TEST(PendingRequestsTest, ARowWithoutItsFieldsHasNoHandleAndNothingToFree) {
    EXPECT_EQ(PendingRequests::HandleOf(Record()), 0u);
    PendingRequests::Free(Record());
}

using PendingRequestsThreads = test::ThreadLayer;

TEST_F(PendingRequestsThreads, CancelsThatRaceWithTheEndNeverTouchFreedRecords) {
    const auto pending = PendingRequests::Create();
    std::atomic<bool> done{false};
    test::LibThread canceller = test::LibThread::Started([&] {
        while (!done) pending->Cancel(4);
        return 0u;
    });
    for (int i = 0; i < 300; ++i) {
        ASSERT_TRUE(pending->Add(4));
        pending->Remove(4);
    }
    done = true;
    canceller.Join();
    EXPECT_EQ(pending->Any(), 0u);
}

}  // namespace
}  // namespace wpk::core
