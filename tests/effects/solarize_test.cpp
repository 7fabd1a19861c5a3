// Solarize as a worker: cases worked out by hand, one for each thing its head comment says, and the plain version on
// every kind of picture. Its dialog is tried in tests/framework.

#include "tests/effects/plain_version.h"

struct SolarizeParameters {
    int32_t threshold, mode;
};

enum { BELOW_DOWN = 1230, ABOVE_DOWN = 1240, BELOW_RIGHT = 1250, ABOVE_RIGHT = 1260, CONSTANT = 1270 };

//---- Told cases

TEST(Solarize, InvertsLevelsBelowAConstantThreshold)
{
    Picture picture = Grey({{0, 99, 100, 101, 255}});
    RunWorker(solarize, picture, SolarizeParameters{100, CONSTANT});
    EXPECT_EQ(picture, Grey({{255, 156, 100, 101, 255}}));
}

TEST(Solarize, ThresholdOfZeroChangesNothingAndOf255LeavesOnlyWhite)
{
    Picture none = Grey({{0, 128, 255}}), all = Grey({{0, 254, 255}});
    RunWorker(solarize, none, SolarizeParameters{0, CONSTANT});
    RunWorker(solarize, all, SolarizeParameters{255, CONSTANT});
    EXPECT_EQ(none, Grey({{0, 128, 255}}));
    EXPECT_EQ(all, Grey({{255, 1, 255}}));
}

TEST(Solarize, RampDownLeavesTheTopRowAndTakesTheWholeThresholdAtTheBottom)
{
    Picture picture = Grey({{0}, {49}, {99}, {100}, {100}});
    RunWorker(solarize, picture, SolarizeParameters{200, BELOW_DOWN});   // limits 0, 50, 100, 150, 200
    EXPECT_EQ(picture, Grey({{0}, {206}, {156}, {155}, {155}}));
}

TEST(Solarize, AboveTheRampDownInvertsAllOfTheTopRowButBlack)
{
    Picture picture = Grey({{0, 1, 255}, {100, 101, 50}, {200, 201, 255}});
    RunWorker(solarize, picture, SolarizeParameters{200, ABOVE_DOWN});
    EXPECT_EQ(picture, Grey({{0, 254, 0}, {100, 154, 50}, {200, 54, 0}}));
}

TEST(Solarize, RampsToTheRightFollowTheColumn)
{
    Picture below = Grey({{0, 49, 50, 200}}), above = Grey({{0, 51, 100, 255}});
    RunWorker(solarize, below, SolarizeParameters{150, BELOW_RIGHT});   // limits 0, 50, 100, 150
    RunWorker(solarize, above, SolarizeParameters{150, ABOVE_RIGHT});
    EXPECT_EQ(below, Grey({{0, 206, 205, 200}}));
    EXPECT_EQ(above, Grey({{0, 204, 100, 0}}));
}

TEST(Solarize, AnyOtherModeIsTheRampToTheRightBelow)
{
    Picture picture = Grey({{0, 49, 50, 200}});
    RunWorker(solarize, picture, SolarizeParameters{150, 7});
    EXPECT_EQ(picture, Grey({{0, 206, 205, 200}}));
}

TEST(Solarize, ColoursAreInvertedByTheirBrightness)
{
    // Pure red has level 87, pure blue 39, pure green 127; colours are 0x00BBGGRR.
    Picture picture = Rgb({{0x0000FF, 0xFF0000, 0x00FF00}});
    RunWorker(solarize, picture, SolarizeParameters{87, CONSTANT});
    EXPECT_EQ(picture, Rgb({{0x0000FF, 0x00FFFF, 0x00FF00}}));
    RunWorker(solarize, picture, SolarizeParameters{88, CONSTANT});
    EXPECT_EQ(PixelOf(picture, 0, 0), 0xFFFF00u);
    Picture blue = Rgb({{0xFF0000}});
    RunWorker(solarize, blue, SolarizeParameters{39, CONSTANT});
    EXPECT_EQ(blue, Rgb({{0xFF0000}}));
    RunWorker(solarize, blue, SolarizeParameters{40, CONSTANT});
    EXPECT_EQ(blue, Rgb({{0x00FFFF}}));
}

TEST(Solarize, ARampOverOneRowOrColumnIsZero)
{
    Picture column = Grey({{0}, {9}}), row = Grey({{0, 9}});
    RunWorker(solarize, column, SolarizeParameters{200, BELOW_RIGHT});
    RunWorker(solarize, row, SolarizeParameters{200, ABOVE_DOWN});
    EXPECT_EQ(column, Grey({{0}, {9}}));
    EXPECT_EQ(row, Grey({{0, 246}}));
}

TEST(Solarize, PaletteAndOneBitPicturesStay)
{
    Picture palette = Palette({0, 0xFFFFFF}, {{0, 1}}), bits = Bits({"01"});
    EXPECT_TRUE(RunWorker(solarize, palette, SolarizeParameters{255, CONSTANT}).progress.empty());
    EXPECT_TRUE(RunWorker(solarize, bits, SolarizeParameters{255, CONSTANT}).progress.empty());
    EXPECT_EQ(palette, Palette({0, 0xFFFFFF}, {{0, 1}}));
    EXPECT_EQ(bits, Bits({"01"}));
}

//---- Against the plain version

TEST(Solarize, EqualsThePlainVersionOnEveryKindOfPicture)
{
    std::vector<SolarizeParameters> many;
    for (int mode : {BELOW_DOWN, ABOVE_DOWN, BELOW_RIGHT, ABOVE_RIGHT, CONSTANT})
        for (int threshold : {0, 1, 128, 200, 255}) many.push_back({threshold, mode});
    ExpectPlainVersion<SolarizeParameters>(solarize, many, 3000, [](Picture &picture, const SolarizeParameters &own) {
        ReferenceSolarize(picture, own.threshold, own.mode);
    });
}

//---- Progress and abort

TEST(Solarize, ReportsEveryRowInTenths)
{
    for (int height : {1, 2, 37}) {
        Picture picture = EvenGrey(4, height, 50);
        EXPECT_EQ(RunWorker(solarize, picture, SolarizeParameters{128, CONSTANT}).progress, ProgressOfRows(height));
    }
}

TEST(Solarize, AbortKeepsTheRowsDone)
{
    Picture picture = EvenGrey(3, 6, 50);
    RunWorker(solarize, picture, SolarizeParameters{128, CONSTANT}, {.abortAfter = 2});
    EXPECT_EQ(picture,
              Grey({{205, 205, 205}, {205, 205, 205}, {50, 50, 50}, {50, 50, 50}, {50, 50, 50}, {50, 50, 50}}));
    ExpectAbortsAnywhere(solarize, SolarizeParameters{128, BELOW_RIGHT}, 20);
}
