// The console client's progress display.
// SPDX-License-Identifier: MIT
#include "wpk_send/progress.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>

namespace wpk_send {
namespace {

constexpr uint32_t kMiB = 1024 * 1024;

TEST(ProgressTest, WithoutStyleShowsNothing) {
    Progress progress(Progress::Style::kNone);
    EXPECT_EQ(progress.Update(kMiB, kMiB), "");
}

TEST(ProgressTest, OfASmallReplyShowsNothing) {
    Progress progress(Progress::Style::kBar);
    EXPECT_EQ(progress.Update(256 * 1024 - 1, 256 * 1024 - 1), "");
    EXPECT_NE(progress.Update(256 * 1024, 256 * 1024), "");
}

TEST(ProgressTest, BarGrowsFromEmptyToFullAndEndsTheLine) {
    Progress progress(Progress::Style::kBar);
    EXPECT_EQ(progress.Update(1, kMiB), "\r[........................................] 0 % (1 bytes of 1.0 MiB)   ");
    EXPECT_EQ(progress.Update(kMiB / 2, kMiB),
              "\r[####################....................] 50 % (512.0 KiB of 1.0 MiB)   ");
    EXPECT_EQ(progress.Update(kMiB, kMiB),
              "\r[########################################] 100 % (1.0 MiB of 1.0 MiB)   \n");
}

TEST(ProgressTest, BarIsDrawnOnlyWhenThePercentageChanges) {
    Progress progress(Progress::Style::kBar);
    int drawn = 0;
    for (uint32_t received = 1024; received <= 64 * kMiB; received += 1024) {
        drawn += progress.Update(received, 64 * kMiB).empty() ? 0 : 1;
    }
    EXPECT_EQ(drawn, 101);
}

TEST(ProgressTest, LinesComeInStepsOfTenPercent) {
    Progress progress(Progress::Style::kLines);
    std::string lines;
    for (uint32_t received = 1024; received <= kMiB; received += 1024) lines += progress.Update(received, kMiB);
    EXPECT_EQ(lines.substr(0, lines.find('\n')), "0 % (1.0 KiB of 1.0 MiB)");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 11);
    EXPECT_EQ(lines.substr(lines.rfind("100 %")), "100 % (1.0 MiB of 1.0 MiB)\n");
}

TEST(ProgressTest, OfTheLargestReplyDoesNotOverflow) {
    Progress progress(Progress::Style::kLines);
    EXPECT_EQ(progress.Update(0xFFFFFFFF, 0xFFFFFFFF), "100 % (4.0 GiB of 4.0 GiB)\n");
}

TEST(SizeText, UsesTheLargestFittingUnit) {
    EXPECT_EQ(SizeText(0), "0 bytes");
    EXPECT_EQ(SizeText(1023), "1023 bytes");
    EXPECT_EQ(SizeText(1024), "1.0 KiB");
    EXPECT_EQ(SizeText(1536), "1.5 KiB");
    EXPECT_EQ(SizeText(64 * kMiB), "64.0 MiB");
    EXPECT_EQ(SizeText(5000ULL * kMiB), "4.9 GiB");
    EXPECT_EQ(SizeText(5000ULL * 1024 * kMiB), "5000.0 GiB");
}

}  // namespace
}  // namespace wpk_send
