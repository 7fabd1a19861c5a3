#include "host/editor/beside.h"

#include <gtest/gtest.h>

static constexpr RECT SCREEN = {0, 0, 1280, 1024};

TEST(Beside, TheSideWithMoreRoomIsTaken)
{
    const RECT left = {50, 100, 600, 500};
    const Beside beside = PlaceBeside(left, SCREEN, {720, 720}, 360);
    EXPECT_EQ(beside.place.right, 1280);
    EXPECT_EQ(beside.place.left, 600);
    EXPECT_EQ(beside.other.x, 50) << "it stays";
    const RECT right = {700, 100, 1250, 500};
    EXPECT_EQ(PlaceBeside(right, SCREEN, {600, 720}, 360).place.left, 0);
    EXPECT_EQ(PlaceBeside(right, SCREEN, {600, 720}, 360).place.right, 600);
}

TEST(Beside, WhatStandsInTheMiddleGoesAside)
{
    const RECT middle = {350, 100, 930, 500};
    const Beside beside = PlaceBeside(middle, SCREEN, {720, 720}, 360);
    EXPECT_EQ(beside.other.x, 0);
    EXPECT_EQ(beside.other.y, 100);
    EXPECT_EQ(beside.place.left, 580);
    EXPECT_FALSE(Overlap(beside.place, {0, 100, 580, 500}));
}

TEST(Beside, NothingEverOverlaps)
{
    for (LONG left = -100; left < 1300; left += 37) {
        for (LONG width = 100; width < 1280; width += 111) {
            const RECT other = {left, 10, left + width, 400};
            const Beside beside = PlaceBeside(other, SCREEN, {720, 720}, 360);
            const RECT moved = {beside.other.x, 10, beside.other.x + width, 400};
            EXPECT_FALSE(Overlap(beside.place, moved)) << left << " " << width;
        }
    }
}
