// Zooming and moving a view: sizes, steps, what stays under the pointer. Drawing it is rendering_test.cpp's.

#include "host/misc/preview/view.h"

#include <gtest/gtest.h>

static bool operator==(const POINT &one, const POINT &other) { return one.x == other.x && one.y == other.y; }

TEST(View, APictureLargerThanItsWindowFitsReduced)
{
    EXPECT_DOUBLE_EQ(FittingScale({4000, 3000}, {1000, 600}), 0.2);
    EXPECT_DOUBLE_EQ(FittingScale({100, 50}, {1000, 600}), 1) << "a small one is not enlarged";
    EXPECT_DOUBLE_EQ(FittingScale({1000000, 10}, {1000, 600}), 0.001);
}

TEST(View, ZoomStepsGoThroughTheUsualScalesAndStopAtTheEnds)
{
    EXPECT_DOUBLE_EQ(NextScale(1, 1), 1.5);
    EXPECT_DOUBLE_EQ(NextScale(1, -1), 2.0 / 3);
    EXPECT_DOUBLE_EQ(NextScale(0.9, 1), 1) << "from between two of them to the next";
    EXPECT_DOUBLE_EQ(NextScale(0.9, -1), 2.0 / 3);
    EXPECT_DOUBLE_EQ(NextScale(MOST_SCALE, 1), MOST_SCALE);
    EXPECT_DOUBLE_EQ(NextScale(LEAST_SCALE, -1), LEAST_SCALE);
    EXPECT_DOUBLE_EQ(NextScale(1, 100), MOST_SCALE);
}

TEST(View, ASmallPictureStandsInTheMiddle)
{
    EXPECT_TRUE((OriginOf({1, 0, 0}, {100, 50}, {300, 250}) == POINT{100, 100}));
    EXPECT_TRUE((PixelAt({1, 0, 0}, {100, 50}, {300, 250}, {100, 100}) == POINT{0, 0}));
    EXPECT_TRUE((PixelAt({1, 0, 0}, {100, 50}, {300, 250}, {99, 99}) == POINT{-1, -1})) << "beside the picture";
}

TEST(View, ZoomingKeepsWhatIsUnderThePointer)
{
    const Extent picture = {4000, 3000}, window = {800, 600};
    View view = {1, 500, 400};
    const POINT pointer = {200, 100}, before = PixelAt(view, picture, window, pointer);
    for (const double scale : {2.0, 4.0, 0.5, 1.0}) {
        ZoomAbout(view, scale, pointer, picture, window);
        const POINT after = PixelAt(view, picture, window, pointer);
        EXPECT_NEAR(after.x, before.x, 2) << "at " << scale;
        EXPECT_NEAR(after.y, before.y, 2) << "at " << scale;
    }
}

TEST(View, ZoomingOutGoesAsFarAsAllIsSeen)
{
    const Extent large = {900000, 10}, window = {900, 600};
    View view;
    ZoomAbout(view, 0, {450, 300}, large, window);
    EXPECT_DOUBLE_EQ(view.scale, 0.001);
    EXPECT_EQ(ShownExtent(view, large).width, 900);
    ZoomAbout(view, 0, {0, 0}, {90, 10}, window);
    EXPECT_DOUBLE_EQ(view.scale, LEAST_SCALE) << "a small one goes on";
}

TEST(View, ScrollingStaysWithinThePicture)
{
    View view = {2, 5000, -3};
    ClampView(view, {400, 300}, {200, 100});
    EXPECT_EQ(view.left, 600);
    EXPECT_EQ(view.top, 0);
    view.left = 10;
    ClampView(view, {50, 300}, {200, 100});
    EXPECT_EQ(view.left, 0) << "all of it is seen";
}

TEST(View, CornersAndPixelsAgree)
{
    const Extent picture = {90, 70}, window = {64, 48};
    for (const double scale : {0.5, 1.0, 3.0, 8.0}) {
        View view = {scale, 11, 7};
        ClampView(view, picture, window);
        for (const POINT pixel : {POINT{0, 0}, POINT{20, 10}, POINT{88, 68}}) {
            const POINT corner = CornerOf(view, picture, window, pixel);
            EXPECT_TRUE(PixelAt(view, picture, window, corner) == pixel) << "at " << scale;
        }
    }
}

TEST(View, APixelIsBroughtIntoSightByTheLeastWay)
{
    const Extent picture = {100, 100}, window = {200, 200};
    View view = {8, 0, 0};
    ShowPixel(view, picture, window, {10, 50});
    EXPECT_EQ(view.left, 0) << "it was in sight";
    EXPECT_EQ(view.top, 51 * 8 - 200);
    ShowPixel(view, picture, window, {10, 0});
    EXPECT_EQ(view.top, 0);
}
