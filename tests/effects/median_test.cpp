// Median as a worker: cases worked out by hand, one for each thing its head comment says, and the plain version on
// every kind of picture. Its dialog is tried in tests/framework.

#include "effects/effects.h"
#include "tests/reference/reference.h"
#include "tests/support/comparison.h"
#include "tests/support/run_worker.h"

enum { MEDIAN = 1520, MAXIMUM = 1510, MINIMUM = 1470 };
constexpr int MODES[] = {MEDIAN, MAXIMUM, MINIMUM};

struct MedianParameters {
    int32_t radius, selectMode;
};

static Values Even(int width, int height, uint32_t value)
{
    return Values(size_t(height), std::vector<uint32_t>(size_t(width), value));
}

static Picture Worked(Picture picture, int radius, int mode)
{
    RunWorker(median, picture, MedianParameters{radius, mode});
    return picture;
}

static void ExpectThePlainVersion(Picture picture, int radius, int mode)
{
    SCOPED_TRACE(testing::Message() << "radius " << radius << " mode " << mode);
    Picture expected = CopyOf(picture);
    const WorkerRun run = RunWorker(median, picture, MedianParameters{radius, mode});
    ReferenceMedian(expected, radius, mode);
    ASSERT_TRUE(SameBytes(picture, expected));
    ASSERT_EQ(run.leakedBlocks, 0);
}

//---- Told cases

TEST(Median, OneBitPictureIsLeftAlone)
{
    Picture picture = Bits({"0110100110010110", "1111000011110000"});
    const Picture before = CopyOf(picture);
    const WorkerRun run = RunWorker(median, picture, MedianParameters{1, MAXIMUM});
    EXPECT_TRUE(SameBytes(picture, before));
    EXPECT_TRUE(run.progress.empty());
}

TEST(Median, RadiusOfOneTakesTheUpperMiddleOfThePixelAndThoseLeftAndAbove)
{
    EXPECT_EQ(Worked(Grey({{10, 40}, {30, 20}}), 1, MEDIAN), Grey({{10, 40}, {30, 30}}));
    EXPECT_EQ(Worked(Grey({{90, 10}, {70, 50}}), 1, MEDIAN), Grey({{90, 90}, {90, 70}}));
}

TEST(Median, RadiusOfOneKeepsTheTopLeftPixel)
{
    for (int mode : MODES) EXPECT_EQ(PixelOf(Worked(Grey({{7, 9}, {200, 1}}), 1, mode), 0, 0), 7u);
}

TEST(Median, RadiusIsCutToHalfTheSize)
{
    std::mt19937 generator(40);
    const Picture picture = RandomPicture(RGB, 40, 40, generator), wide = RandomPicture(GREY, 50, 8, generator);
    for (int mode : MODES) {
        EXPECT_EQ(Worked(CopyOf(picture), 30, mode), Worked(CopyOf(picture), 20, mode));
        EXPECT_EQ(Worked(CopyOf(wide), 30, mode), Worked(CopyOf(wide), 4, mode));
    }
}

TEST(Median, PictureOneColumnWideOrOneRowHighStays)
{
    for (int mode : MODES) {
        EXPECT_EQ(Worked(Grey({{9, 2, 5, 1}}), 3, mode), Grey({{9, 2, 5, 1}}));
        EXPECT_EQ(Worked(Rgb({{9}, {0x20000}, {5}}), 3, mode), Rgb({{9}, {0x20000}, {5}}));
    }
}

TEST(Median, MaximumSpreadsABrightPixelFurtherToTheRightAndDown)
{
    Values dark = Even(12, 12, 0x101010), spread = dark;
    dark[5][5] = 0xE0D0C0;
    for (size_t y = 3; y <= 8; ++y)
        for (size_t x = 3; x <= 8; ++x) spread[y][x] = 0xE0D0C0;
    EXPECT_EQ(Worked(Rgb(dark), 3, MAXIMUM), Rgb(spread));
}

TEST(Median, MinimumSpreadsADarkPixel)
{
    Values bright = Even(9, 7, 250), spread = bright;
    bright[3][4] = 6;
    for (size_t y = 2; y <= 4; ++y)
        for (size_t x = 3; x <= 5; ++x) spread[y][x] = 6;
    spread[2] = spread[0];   // one row and column up and left less: the square is not centred
    for (std::vector<uint32_t> &row : spread) row[3] = 250;
    EXPECT_EQ(Worked(Grey(bright), 1, MINIMUM), Grey(spread));
}

TEST(Median, EdgeSquaresCountOnlyThePixelsInside)
{
    // Of 9, 1, 5 and 7 at the top-left corner, a quarter of the square, the upper middle one is 7.
    const Picture picture = Worked(Grey({{9, 1, 0, 0}, {5, 7, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}), 2, MEDIAN);
    EXPECT_EQ(PixelOf(picture, 0, 0), 7u);
}

TEST(Median, PixelIsTakenWholeByTheSumOfItsSquaredChannels)
{
    // 200 squared is more than three times 110 squared, though less light in all.
    const Values colours = {{0x6E6E6E, 0x0000C8}, {0x000001, 0x000002}};
    EXPECT_EQ(PixelOf(Worked(Rgb(colours), 1, MAXIMUM), 1, 1), 0x0000C8u);
    EXPECT_EQ(PixelOf(Worked(Rgb(colours), 1, MEDIAN), 1, 1), 0x6E6E6Eu);
    EXPECT_EQ(PixelOf(Worked(Rgb(colours), 1, MINIMUM), 1, 1), 0x000001u);
}

TEST(Median, EqualKeysKeepTheirReadingOrder)
{
    // Four colours of one key: the first, the third of four, the last.
    const Values colours = {{0x0000FF, 0x00FF00}, {0xFF0000, 0x0000FF}};
    EXPECT_EQ(PixelOf(Worked(Rgb(colours), 1, MINIMUM), 1, 1), 0x0000FFu);
    EXPECT_EQ(PixelOf(Worked(Rgb(colours), 1, MEDIAN), 1, 1), 0xFF0000u);
    const Values others = {{0x0000FF, 0x0000FF}, {0x00FF00, 0xFF0000}};
    EXPECT_EQ(PixelOf(Worked(Rgb(others), 1, MAXIMUM), 1, 1), 0xFF0000u);
    EXPECT_EQ(PixelOf(Worked(Rgb(others), 1, MEDIAN), 1, 1), 0x00FF00u);
}

TEST(Median, PaletteIsOrderedByItsColoursAndStays)
{
    // Index 0 is the brightest and 2 the darkest; 1 and 3 are alike.
    const std::vector<uint32_t> colours = {0xFFFFFF, 0x808080, 0x000000, 0x808080};
    EXPECT_EQ(Worked(Palette(colours, {{3, 2}, {1, 0}}), 1, MAXIMUM), Palette(colours, {{3, 3}, {1, 0}}));
    EXPECT_EQ(Worked(Palette(colours, {{3, 2}, {1, 0}}), 1, MINIMUM), Palette(colours, {{3, 2}, {3, 2}}));
    EXPECT_EQ(Worked(Palette(colours, {{3, 2}, {1, 0}}), 1, MEDIAN), Palette(colours, {{3, 3}, {1, 1}}));
}

TEST(Median, PaletteResultHoldsOnlyIndicesOfTheSquare)
{
    std::vector<uint32_t> colours(256, 0x404040);
    Values indices = Even(12, 12, 7);
    indices[0][0] = 200;
    for (int mode : MODES) {
        const Picture picture = Worked(Palette(colours, indices), 3, mode);
        for (int y = 0; y < 12; ++y)
            for (int x = 0; x < 12; ++x)
                EXPECT_TRUE(PixelOf(picture, x, y) == 7 || (x < 4 && y < 4 && PixelOf(picture, x, y) == 200));
    }
}

TEST(Median, MaskIsLeftAlone)
{
    std::mt19937 generator(3);
    for (int bits : {8, 1}) {
        Picture picture = RandomPicture(RGB, 21, 17, generator);
        AddRandomMask(picture, bits, generator);
        const Picture before = CopyOf(picture);
        RunWorker(median, picture, MedianParameters{2, MEDIAN}, {.maskInUse = true});
        for (int y = 0; y < 17; ++y)
            for (int x = 0; x < 21; ++x) ASSERT_EQ(MaskPixelOf(picture, x, y), MaskPixelOf(before, x, y));
    }
}

//---- Against the plain version

TEST(Median, EqualsThePlainVersionOnEveryKindOfPicture)
{
    for (const PictureCase &kind : AllPictureCases(2000)) {
        SCOPED_TRACE(testing::Message() << kind);
        for (int mode : MODES)
            for (int radius : {1, 2, 5}) ExpectThePlainVersion(RandomPicture(kind), radius, mode);
    }
}

TEST(Median, EqualsThePlainVersionAtEveryRadius)
{
    for (int radius = 1; radius <= 30; ++radius) {
        std::mt19937 generator{uint32_t(radius)};
        const int type = radius % 3 == 0 ? PALETTE : radius % 3 == 1 ? RGB : GREY;
        const int side = radius < 12 ? 2 * radius + 3 : 20;
        for (int mode : MODES) {
            ExpectThePlainVersion(RandomPicture(type, side + 2, side, generator), radius, mode);
            ExpectThePlainVersion(NaturalPicture(RGB, 17, 15, generator), radius, mode);
            ExpectThePlainVersion(FewValuesPicture(type, 14, 19, generator), radius, mode);
        }
    }
}

TEST(Median, EqualsThePlainVersionOnAnOlderProcessor)
{
    const OlderProcessor older;
    for (const PictureCase &kind : AllPictureCases(2010)) {
        SCOPED_TRACE(testing::Message() << kind);
        for (int mode : MODES) ExpectThePlainVersion(RandomPicture(kind), 3, mode);
    }
}

TEST(Median, EqualsThePlainVersionAtTheLargestRadius)
{
    std::mt19937 generator(30);
    for (int mode : MODES) ExpectThePlainVersion(NaturalPicture(RGB, 61, 60, generator), 30, mode);
}

TEST(Median, EqualsThePlainVersionAcrossTilesAndBands)
{
    const struct {
        int radius, width, height;
    } CASES[] = {{2, 50, 35}, {4, 37, 33}, {5, 69, 67}, {13, 66, 130}};
    for (const auto &own : CASES) {
        std::mt19937 generator(uint32_t(own.width));
        ExpectThePlainVersion(NaturalPicture(RGB, own.width, own.height, generator), own.radius, MEDIAN);
        ExpectThePlainVersion(FewValuesPicture(GREY, own.width, own.height, generator), own.radius, MEDIAN);
    }
}

// Extremes are worked out along rows in segments of 1024 columns.
TEST(Median, EqualsThePlainVersionInWidePictures)
{
    for (const int width : {1023, 1024, 1025, 2051}) {
        for (const int radius : {1, 2, 5}) {
            std::mt19937 generator(uint32_t(width + radius));
            for (const int mode : {MAXIMUM, MINIMUM}) {
                ExpectThePlainVersion(RandomPicture(RGB, width, 11, generator), radius, mode);
                ExpectThePlainVersion(FewValuesPicture(GREY, width, 11, generator), radius, mode);
            }
        }
    }
}

TEST(Median, EqualsThePlainVersionWhereEveryKeyIsTied)
{
    // All colours are permutations of one another.
    constexpr uint32_t COLOURS[] = {0x102030, 0x103020, 0x201030, 0x203010, 0x301020, 0x302010};
    std::mt19937 generator(6);
    Values colours = Even(27, 31, 0);
    for (std::vector<uint32_t> &row : colours)
        for (uint32_t &colour : row) colour = COLOURS[generator() % 6];
    for (int mode : MODES)
        for (int radius : {1, 2, 3, 6, 13}) ExpectThePlainVersion(Rgb(colours), radius, mode);
}

//---- Progress and abort

TEST(Median, ProgressIsReportedOncePerRowInTenths)
{
    for (int mode : MODES) {
        for (int height : {1, 2, 3, 11, 37}) {
            Picture picture = Grey(Even(8, height, 50));
            const WorkerRun run = RunWorker(median, picture, MedianParameters{3, mode});
            EXPECT_EQ(run.progress, ProgressOfRows(height)) << height << " rows";
            EXPECT_EQ(run.strayReports, 0);
        }
    }
}

static void ExpectRowsDone(int rows, int radius, int mode)
{
    const PictureCase kind = {RGB, 23, 20, 8, true, 78};
    const Picture before = RandomPicture(kind);
    const Picture all = Worked(RandomPicture(kind), radius, mode);
    Picture picture = RandomPicture(kind);
    const WorkerRun run = RunWorker(median, picture, MedianParameters{radius, mode}, {.abortAfter = rows});
    EXPECT_EQ(int(run.progress.size()), rows);
    EXPECT_EQ(run.leakedBlocks, 0);
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 23; ++x)
            ASSERT_EQ(PixelOf(picture, x, y), PixelOf(y < rows ? all : before, x, y))
                << "pixel (" << x << ", " << y << ") of a run aborted after " << rows << " rows";
}

TEST(Median, AbortKeepsTheRowsDoneAndLeavesTheRest)
{
    for (int rows = 0; rows <= 20; ++rows)
        for (int mode : MODES)
            for (int radius : {1, 3, 30}) ExpectRowsDone(rows, radius, mode);
}
