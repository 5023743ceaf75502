// The samples of docs/testing_your_code.md: they compile as they stand there, without the library, and hold.
// SPDX-License-Identifier: MIT
#include <wpk/client.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

namespace {

#include "testing_your_code/label.inc"
#include "testing_your_code/price_tag.inc"
#include "testing_your_code/fake_library.inc"

TEST(TestingYourCode, OutcomesAreMadeByHand){
#include "testing_your_code/outcomes.inc"
}

TEST(TestingYourCode, ReplyComesFromTheFakeLibrary){
#include "testing_your_code/reply.inc"
}

TEST(TestingYourCode, TimeLimitIsReached) {
#include "testing_your_code/time_limit.inc"
}

}  // namespace
