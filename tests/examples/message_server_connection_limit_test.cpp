// The server's places: taken, given back, and never lost.
// SPDX-License-Identifier: MIT
#include "message_server/connection_limit.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <new>
#include <optional>
#include <utility>

namespace {

bool memoryIsOut = false;

}  // namespace

// Out of line, for the compiler would see malloc and delete, or new and free, and take them for a mistake.
#define WPK_OUT_OF_LINE __attribute__((noinline))

WPK_OUT_OF_LINE void* operator new(size_t size) {
    void* memory = memoryIsOut ? nullptr : std::malloc(size > 0 ? size : 1);
    if (!memory) throw std::bad_alloc();
    return memory;
}

WPK_OUT_OF_LINE void operator delete(void* memory) noexcept {
    std::free(memory);
}

WPK_OUT_OF_LINE void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}

namespace message_server {
namespace {

TEST(ConnectionLimitTest, TakePlaceNeedsNoMemory) {
    ConnectionLimit limit(1);
    memoryIsOut = true;
    for (int i = 0; i < 3; ++i) limit.TakePlace();
    memoryIsOut = false;
}

TEST(ConnectionLimitTest, TakePlaceAllTakenWaitsUntilOneIsGivenBack) {
    ConnectionLimit limit(2);
    std::optional<ConnectionLimit::Place> first(limit.TakePlace());
    const ConnectionLimit::Place second = limit.TakePlace();
    std::promise<void> taken;
    std::future<void> third = std::async(std::launch::async, [&] {
        const ConnectionLimit::Place place = limit.TakePlace();
        taken.set_value();
    });
    std::future<void> hasTaken = taken.get_future();
    EXPECT_EQ(hasTaken.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    first.reset();
    hasTaken.wait();
    third.wait();
}

TEST(ConnectionLimitTest, PlaceThatWasMovedIsGivenBackOnce) {
    ConnectionLimit limit(1);
    {
        ConnectionLimit::Place place = limit.TakePlace();
        const ConnectionLimit::Place moved(std::move(place));
    }
    const ConnectionLimit::Place again = limit.TakePlace();
    std::promise<void> taken;
    std::future<void> second = std::async(std::launch::async, [&] { limit.TakePlace(), taken.set_value(); });
    EXPECT_EQ(taken.get_future().wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    // Whoever waits is let go.
    const ConnectionLimit::Place givenBack(limit);
}

}  // namespace
}  // namespace message_server
