// Replies that do not come in time, in a time that runs faster.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/child_process.h"
#include "host/control.h"
#include "host/faults/stage.h"

namespace wpk::host {
namespace {

TEST(TimeOut, AHeadThatDoesNotComeForSixtySecondsFailsTheRequest) {
    const bool passed = RunInChild([] {
        auto& stage = Lasting<Stage>();
        ASSERT_EQ(InitLibrary(stage.settings), 1);
        SpeedUp(/*factor=*/1, /*select_factor=*/100);
        const uint64_t waits_before = Uses("select");
        Request& request = stage.Make("Silent");
        stage.SendAndAwait(request);
        EXPECT_EQ(request.Error(), WPK_ERROR_EXCHANGE);
        EXPECT_EQ(request.Finals(), 1);
        // Sixty seconds in waits of at most 200 ms.
        EXPECT_GE(Uses("select") - waits_before, 300u);
        EXPECT_EQ(Misuses(), std::vector<std::string>());
    });
    EXPECT_TRUE(passed);
}

}  // namespace
}  // namespace wpk::host
