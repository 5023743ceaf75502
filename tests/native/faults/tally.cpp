// Counts the failures that the tests of this program inject.
// SPDX-License-Identifier: MIT
#include "native/faults/tally.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace wpk::host {
namespace {

size_t sum = 0;

class PrintSum : public testing::Environment {
    void TearDown() override { std::printf("%zu failures injected in all\n", sum); }
};

const testing::Environment* const registered = testing::AddGlobalTestEnvironment(new PrintSum);

}  // namespace

void CountInjected(const std::string& where, size_t failures) {
    std::printf("%s: %zu failures injected\n", where.c_str(), failures);
    testing::Test::RecordProperty("failures_injected", std::to_string(failures));
    sum += failures;
}

}  // namespace wpk::host
