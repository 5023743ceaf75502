// Where the window program's controls stand.
// SPDX-License-Identifier: MIT
#include "desktop/layout.h"

#include <gtest/gtest.h>

#include <tuple>

namespace desktop {
namespace {

constexpr int kTextHeight = 15;

Rectangle PlaceOf(const Layout& layout, ControlId id) {
    for (const Placement& placement : layout) {
        if (placement.id == id) return placement.place;
    }
    ADD_FAILURE() << "control " << id << " has no place";
    return {};
}

bool Overlap(const Rectangle& a, const Rectangle& b) {
    return a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height && b.y < a.y + a.height;
}

void ExpectTidy(const Layout& layout, Size inside) {
    for (const auto& [id, place] : layout) {
        EXPECT_GT(place.width, 0) << "control " << id;
        EXPECT_GT(place.height, 0) << "control " << id;
        EXPECT_GE(place.x, 0) << "control " << id;
        EXPECT_GE(place.y, 0) << "control " << id;
        EXPECT_LE(place.x + place.width, inside.width) << "control " << id;
        EXPECT_LE(place.y + place.height, inside.height) << "control " << id;
        for (const auto& [other, otherPlace] : layout) {
            // Text and tree of the reply share a place on purpose.
            if (other <= id || (id == kReplyText && other == kReplyTree)) continue;
            EXPECT_FALSE(Overlap(place, otherPlace)) << "controls " << id << " and " << other;
        }
    }
}

class DesktopLayout : public testing::TestWithParam<int> {};

TEST_P(DesktopLayout, UsualWindowHoldsAllControlsSideBySide) {
    const int dpi = GetParam();
    ExpectTidy(LayOut(UsualInside(dpi), dpi, Scaled(kTextHeight, dpi)), UsualInside(dpi));
}

TEST_P(DesktopLayout, SmallestWindowHoldsAllControlsSideBySide) {
    const int dpi = GetParam();
    ExpectTidy(LayOut(SmallestInside(dpi), dpi, Scaled(kTextHeight, dpi)), SmallestInside(dpi));
}

TEST_P(DesktopLayout, EverythingGrowsWithTheResolution) {
    const int dpi = GetParam();
    const Layout small = LayOut(UsualInside(96), 96, kTextHeight);
    const Layout large = LayOut(UsualInside(dpi), dpi, Scaled(kTextHeight, dpi));
    for (const auto& [id, place] : small) {
        const Rectangle grown = PlaceOf(large, id);
        // Each of the lengths that a place is made of is rounded by itself.
        EXPECT_NEAR(grown.x, place.x * dpi / 96, 6) << "control " << id;
        EXPECT_NEAR(grown.y, place.y * dpi / 96, 6) << "control " << id;
        EXPECT_NEAR(grown.width, place.width * dpi / 96, 6) << "control " << id;
        EXPECT_NEAR(grown.height, place.height * dpi / 96, 6) << "control " << id;
    }
}

INSTANTIATE_TEST_SUITE_P(Resolutions, DesktopLayout, testing::Values(96, 120, 144, 168, 192, 288));

TEST(DesktopLayoutSize, WidthGoesToFieldsAndHeightToMessageAndReply) {
    const Layout before = LayOut({520, 440}, 96, kTextHeight);
    const Layout after = LayOut({620, 530}, 96, kTextHeight);
    const auto growth = [&](ControlId id) {
        const Rectangle oldPlace = PlaceOf(before, id);
        const Rectangle newPlace = PlaceOf(after, id);
        return std::make_tuple(newPlace.width - oldPlace.width, newPlace.height - oldPlace.height);
    };
    EXPECT_EQ(growth(kServer), std::make_tuple(100, 0));
    EXPECT_EQ(growth(kPort), std::make_tuple(0, 0));
    EXPECT_EQ(growth(kMessage), std::make_tuple(100, 30));
    EXPECT_EQ(growth(kSend), std::make_tuple(0, 0));
    EXPECT_EQ(growth(kReplyTree), std::make_tuple(100, 60));
}

TEST(DesktopLayoutSize, WindowWithoutAnInsideHasNoNegativeSizes) {
    for (const auto& [id, place] : LayOut({0, 0}, 96, kTextHeight)) EXPECT_GE(place.height, 0) << "control " << id;
}

}  // namespace
}  // namespace desktop
