// Replies that do not come in time, in a time that runs faster.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fake_platform/control.h"
#include "native/faults/scenario_fixture.h"
#include "native/support/child_process.h"
#include "windows.h"

namespace wpk::host {
namespace {

TEST(TimeOut, AHeadThatDoesNotComeForSixtySecondsFailsTheRequest) {
    const bool passed = RunInChild([] {
        auto& fixture = Lasting<ScenarioFixture>();
        ASSERT_EQ(InitLibrary(fixture.settings), 1);
        SpeedUp(100);
        const uint64_t begin = GetTickCount64();
        NativeRequest& request = fixture.Make("Silent");
        fixture.SendAndAwait(request);
        EXPECT_EQ(request.Error(), WPK_ERROR_EXCHANGE);
        EXPECT_EQ(request.Finals(), 1);
        EXPECT_GE(GetTickCount64() - begin, 60000u);
        EXPECT_EQ(Misuses(), std::vector<std::string>());
    });
    EXPECT_TRUE(passed);
}

}  // namespace
}  // namespace wpk::host
