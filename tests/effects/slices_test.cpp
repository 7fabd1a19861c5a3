// Slices as a worker: cases worked out by hand, one for each thing its head comment says, and the plain version on
// every kind of picture. Its dialog is tried in tests/framework.

#include "tests/effects/plain_version.h"

#include <map>

struct SlicesParameters {
    uint32_t background;
    int32_t maxShift, minWidth, maxWidth;
};

static void RunPlain(Picture &picture, const SlicesParameters &own)
{
    ReferenceSlices(picture, own.background, own.maxShift, own.minWidth, own.maxWidth);
}

//---- Told cases

TEST(Slices, PixelsComeFromTheRightAndFromBelow)
{
    // One row: its band's shift is drawn after those of all columns, and a column that is shifted has no source.
    for (uint32_t seed = 1; seed < 12; ++seed) {
        Picture picture = Grey({{1, 2, 3, 4, 5, 6, 7, 8}});
        RunWorker(slices, picture, SlicesParameters{0, 1, 1, 1}, {.seed = seed});
        srand(seed);
        int shifts[9], countdown = 0, shift = 0;
        for (int i = 0; i < 9; ++i) {
            if (i == 8) countdown = 0;   // the rows begin anew
            if (countdown == 0) {
                shift = rand() % 2;
                countdown = rand() % 2 + 1;
            } else {
                --countdown;
            }
            shifts[i] = shift;
        }
        for (int x = 0; x < 8; ++x) {
            const int from = x + shifts[8];
            EXPECT_EQ(PixelOf(picture, x, 0), shifts[x] || from > 7 ? 0u : uint32_t(from + 1)) << "seed " << seed;
        }
    }
}

TEST(Slices, WhatNoShiftReachesIsNeverUncovered)
{
    Picture picture = EvenGrey(300, 200, 200);
    RunWorker(slices, picture, SlicesParameters{0, 100, 8, 40}, {.seed = 4});
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 200; ++x) ASSERT_EQ(PixelOf(picture, x, y), 200u);
}

// The widths of the bands of columns, told from how far up each is uncovered. Two neighbours with the same shift count
// as one, which happens once in a thousand. The last, which is cut off, is left out.
static std::vector<int> BandWidths(int minWidth, int maxWidth)
{
    constexpr int WIDTH = 3000, HEIGHT = 1001, LARGEST = 1000, COVERED = WIDTH - LARGEST;
    Picture picture = EvenGrey(WIDTH, HEIGHT, 200);
    RunWorker(slices, picture, SlicesParameters{0, LARGEST, minWidth, maxWidth}, {.seed = 6});
    std::vector<int> widths;
    for (int x = 0, shift = -1; x < COVERED; ++x) {
        int uncovered = 0;
        while (uncovered < HEIGHT && PixelOf(picture, x, HEIGHT - 1 - uncovered) == 0) ++uncovered;
        if (uncovered != shift) widths.push_back(0);
        ++widths.back();
        shift = uncovered;
    }
    widths.pop_back();
    return widths;
}

TEST(Slices, BandsAreFromOneMoreThanTheLeastToTheGreatestWidth)
{
    std::map<int, int> counts;
    for (int width : BandWidths(3, 9)) ++counts[width];
    for (int width = 4; width <= 9; ++width) EXPECT_GT(counts[width], 10) << width;
    for (int width = 0; width < 4; ++width) EXPECT_EQ(counts[width], 0) << width;
    EXPECT_LE(counts.size() - 4, 6u + 4u);   // hardly any from two bands that look like one
}

TEST(Slices, WidthsTooCloseGiveBandsOfTwoWidths)
{
    int others = 0;
    for (const auto &[minWidth, maxWidth] : {std::pair(5, 2), std::pair(5, 5), std::pair(5, 6)})
        for (int width : BandWidths(minWidth, maxWidth)) others += width != 6 && width != 7;
    EXPECT_LE(others, 6);   // two bands that look like one
}

TEST(Slices, TheMaskMovesAlongOverZero)
{
    Picture picture = WithMask(EvenGrey(40, 40, 9), Values(40, std::vector<uint32_t>(40, 77)));
    RunWorker(slices, picture, SlicesParameters{0xFFFFFF, 20, 3, 9}, {.seed = 2});
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 40; ++x) ASSERT_EQ(MaskPixelOf(picture, x, y), PixelOf(picture, x, y) == 9 ? 77u : 0u);
}

TEST(Slices, OneBitBackgroundIsWhiteFromABrightnessOf129)
{
    // Shifts of at most 1000 on a single pixel: it is uncovered but for one draw in a million.
    Picture black = Bits({"1"}), white = Bits({"0"});
    RunWorker(slices, black, SlicesParameters{0x808080, 1000, 1, 1}, {.seed = 3});
    RunWorker(slices, white, SlicesParameters{0x818181, 1000, 1, 1}, {.seed = 3});
    EXPECT_EQ(black, Bits({"0"}));
    EXPECT_EQ(white, Bits({"1"}));
}

//---- Against the plain version

TEST(Slices, EqualThePlainVersionOnEveryKindOfPicture)
{
    const std::vector<SlicesParameters> many = {
        {0, 32, 8, 40}, {0xFFFFFF, 1, 1, 1}, {0x3C78B4, 5, 2, 6}, {0x0000FF, 1000, 1, 1000}, {0x818181, 9, 30, 3}};
    ExpectPlainVersion<SlicesParameters>(slices, many, 3500, RunPlain);
}

//---- Progress and abort

TEST(Slices, ReportEveryRow)
{
    for (int height : {1, 2, 37}) {
        Picture picture = EvenGrey(4, height, 50);
        EXPECT_EQ(RunWorker(slices, picture, SlicesParameters{0, 3, 1, 4}).progress, ProgressOfRows(height));
    }
}

TEST(Slices, AbortLeavesBackgroundBelowTheRowsDone)
{
    Picture picture = EvenGrey(30, 30, 200);
    RunWorker(slices, picture, SlicesParameters{0, 1, 8, 40}, {.abortAfter = 10});
    for (int x = 0; x < 30; ++x) EXPECT_EQ(PixelOf(picture, x, 10), 0u);
    EXPECT_EQ(PixelOf(picture, 3, 9), 200u);
    ExpectAbortsAnywhere(slices, SlicesParameters{0, 5, 2, 6}, 20);
}
