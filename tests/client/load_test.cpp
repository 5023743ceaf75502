// Many requests from many threads, in every form, some of them cancelled.
// SPDX-License-Identifier: MIT
#include "client/fixture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <vector>

namespace wpk::client_test {
namespace {

constexpr int kThreads = 8;
constexpr int kRequestsEach = 25;

/// Answers each request with its own message.
void Echo(harness::Connection& connection) {
    connection.Send(harness::Ok(harness::MessageOf(connection.ReadRequest())));
}

/// Short ones stay in memory, long ones are spooled.
std::string MessageNumber(int number) {
    return std::to_string(number) + std::string(number % 5 == 0 ? 20000 : 20, 'x');
}

TEST(ClientLoad, TwoHundredRequestsFromEightThreadsEachGetItsOwnReply) {
    harness::Peer peer(Echo, kThreads);
    std::atomic<int> good{0};
    std::vector<harness::Thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            std::vector<std::future<Reply>> futures;
            std::vector<Request> requests;
            for (int i = 0; i < kRequestsEach; ++i) {
                const std::string body = MessageNumber(thread * kRequestsEach + i);
                if (i % 2 == 0) {
                    futures.push_back(TheClient().Send(To(peer.Port(), body)));
                    continue;
                }
                requests.push_back(TheClient().Send(To(peer.Port(), body), [&good, body](const Outcome& outcome) {
                    if (outcome && outcome.body() == body) ++good;
                }));
            }
            for (size_t i = 0; i < futures.size(); ++i) {
                if (futures[i].get().body == MessageNumber(thread * kRequestsEach + static_cast<int>(i) * 2)) ++good;
            }
            for (const Request& request : requests) request.Wait();
        });
    }
    threads.clear();
    EXPECT_EQ(good, kThreads * kRequestsEach);
}

TEST(ClientLoad, RequestsCancelledAtAnyMomentEachEndOnce) {
    harness::Peer peer(Echo, kThreads);
    std::atomic<int> replies{0};
    std::atomic<int> cancelled{0};
    std::atomic<int> others{0};
    std::vector<harness::Thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < kRequestsEach; ++i) {
                const ScopedRequest request =
                    TheClient().Send(To(peer.Port(), MessageNumber(i)), [&](const Outcome& outcome) {
                        if (outcome) return static_cast<void>(++replies);
                        ++(outcome.error() == Errc::kCancelled ? cancelled : others);
                    });
                if ((thread + i) % 3 == 0) request.Wait();
                if ((thread + i) % 3 == 1) Sleep(static_cast<DWORD>(i % 4));
            }
        });
    }
    threads.clear();
    EXPECT_EQ(replies + cancelled, kThreads * kRequestsEach);
    EXPECT_EQ(others, 0);
    EXPECT_GT(replies, 0);
    EXPECT_GT(cancelled, 0);
}

}  // namespace
}  // namespace wpk::client_test
