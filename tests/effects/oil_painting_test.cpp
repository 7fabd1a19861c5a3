// Oil Painting as a worker: cases worked out by hand, one for each thing its head comment says, and the plain version
// on every kind of picture. Its dialog is tried in tests/framework.

#include "effects/effects.h"
#include "tests/reference/reference.h"
#include "tests/support/comparison.h"
#include "tests/support/run_worker.h"

struct OilPaintingParameters {
    int32_t brushSize;
};

static Values Even(int width, int height, uint32_t value)
{
    return Values(size_t(height), std::vector<uint32_t>(size_t(width), value));
}

static Picture Painted(Picture picture, int brushSize)
{
    RunWorker(oilPainting, picture, OilPaintingParameters{brushSize});
    return picture;
}

static void ExpectThePlainVersion(Picture picture, int brushSize)
{
    SCOPED_TRACE(testing::Message() << "brush size " << brushSize);
    Picture expected = CopyOf(picture);
    const WorkerRun run = RunWorker(oilPainting, picture, OilPaintingParameters{brushSize});
    ReferenceOilPainting(expected, brushSize);
    ASSERT_TRUE(SameBytes(picture, expected));
    ASSERT_EQ(run.leakedBlocks, 0);
}

//---- Told cases

TEST(OilPainting, OneBitPictureIsLeftAlone)
{
    Picture picture = Bits({"0110100110010110", "1111000011110000"});
    const Picture before = CopyOf(picture);
    const WorkerRun run = RunWorker(oilPainting, picture, OilPaintingParameters{1});
    EXPECT_TRUE(SameBytes(picture, before));
    EXPECT_TRUE(run.progress.empty());
}

TEST(OilPainting, BrushOfOneCoversThePixelAndThoseLeftAndAbove)
{
    // The lower right pixel sees 8 twice; the upper right one sees 40 before 8.
    EXPECT_EQ(Painted(Grey({{40, 8}, {8, 120}}), 1), Grey({{40, 40}, {40, 8}}));
}

TEST(OilPainting, BrushOfOneKeepsTheTopLeftPixel)
{
    EXPECT_EQ(PixelOf(Painted(Grey({{7, 9}, {200, 9}}), 1), 0, 0), 7u);
    EXPECT_EQ(PixelOf(Painted(Rgb({{0x123456, 9}, {200, 9}}), 1), 0, 0), 0x123456u);
}

TEST(OilPainting, EvenPictureStays)
{
    for (int brushSize : {1, 2, 7, 50}) {
        EXPECT_EQ(Painted(Rgb(Even(30, 21, 0x4080FE)), brushSize), Rgb(Even(30, 21, 0x4080FE)));
        EXPECT_EQ(Painted(Grey(Even(30, 21, 255)), brushSize), Grey(Even(30, 21, 255)));
    }
}

TEST(OilPainting, OfEqualCountsTheOneReachedFirstWins)
{
    // Rows of the square are read from the top, each from the left.
    EXPECT_EQ(PixelOf(Painted(Grey({{20, 90}, {20, 90}}), 1), 1, 1), 20u);
    EXPECT_EQ(PixelOf(Painted(Grey({{20, 90}, {90, 20}}), 1), 1, 1), 90u);
}

TEST(OilPainting, FourValuesShareABucketAndItsLastSampleIsTaken)
{
    EXPECT_EQ(PixelOf(Painted(Grey({{100, 102}, {8, 60}}), 1), 1, 0), 102u);
    EXPECT_EQ(PixelOf(Painted(Grey({{100, 200}, {8, 60}}), 1), 1, 0), 100u);
    EXPECT_EQ(PixelOf(Painted(Grey({{103, 104}, {8, 60}}), 1), 1, 0), 103u);
}

TEST(OilPainting, SamplesAfterTheHighestCountWasReachedDoNotMatter)
{
    // 40 and 41 reach two before 80 and 81 do.
    EXPECT_EQ(PixelOf(Painted(Grey({{40, 41}, {80, 81}}), 1), 1, 1), 41u);
}

TEST(OilPainting, ChannelsAreChosenApart)
{
    // Red C8 and 0 take turns, green 0 comes twice first, blue 64 twice in a row: a colour that no pixel had.
    const Picture picture = Painted(Rgb({{0x0000C8, 0x640000}, {0x64C8C8, 0x00C800}}), 1);
    EXPECT_EQ(PixelOf(picture, 1, 1), 0x6400C8u);
}

TEST(OilPainting, PaletteCountsIndicesAndStays)
{
    const std::vector<uint32_t> colours = {0xFFFFFF, 0x000000, 0x0000FF, 0xFFFFFF, 0xFFFFFF};
    // 0 to 3 share a bucket whatever their colours, and 4 is in the next one although its colour is that of 0.
    EXPECT_EQ(Painted(Palette(colours, {{0, 4}, {4, 2}}), 1), Palette(colours, {{0, 0}, {0, 4}}));
    EXPECT_EQ(Painted(Palette(colours, {{0, 1}, {4, 2}}), 1), Palette(colours, {{0, 1}, {0, 2}}));
}

TEST(OilPainting, BrushIsCutToHalfTheSize)
{
    std::mt19937 generator(20);
    const Picture picture = NaturalPicture(RGB, 64, 20, generator), narrow = NaturalPicture(GREY, 9, 40, generator);
    EXPECT_EQ(Painted(CopyOf(picture), 50), Painted(CopyOf(picture), 10));
    EXPECT_EQ(Painted(CopyOf(narrow), 50), Painted(CopyOf(narrow), 4));
}

TEST(OilPainting, PictureOneColumnWideOrOneRowHighStays)
{
    EXPECT_EQ(Painted(Grey({{9, 2, 5, 1}}), 3), Grey({{9, 2, 5, 1}}));
    EXPECT_EQ(Painted(Rgb({{9}, {0x20000}, {5}}), 3), Rgb({{9}, {0x20000}, {5}}));
}

TEST(OilPainting, MaskIsLeftAlone)
{
    std::mt19937 generator(3);
    for (int bits : {8, 1}) {
        Picture picture = RandomPicture(RGB, 21, 17, generator);
        AddRandomMask(picture, bits, generator);
        const Picture before = CopyOf(picture);
        RunWorker(oilPainting, picture, OilPaintingParameters{2}, {.maskInUse = true});
        for (int y = 0; y < 17; ++y)
            for (int x = 0; x < 21; ++x) ASSERT_EQ(MaskPixelOf(picture, x, y), MaskPixelOf(before, x, y));
    }
}

//---- Against the plain version

TEST(OilPainting, EqualsThePlainVersionOnEveryKindOfPicture)
{
    for (const PictureCase &kind : AllPictureCases(3000)) {
        SCOPED_TRACE(testing::Message() << kind);
        for (int brushSize : {1, 2, 5}) ExpectThePlainVersion(RandomPicture(kind), brushSize);
    }
}

TEST(OilPainting, EqualsThePlainVersionAtEverySize)
{
    for (int brushSize = 1; brushSize <= 50; ++brushSize) {
        std::mt19937 generator{uint32_t(brushSize)};
        const int type = brushSize % 3 == 0 ? PALETTE : brushSize % 3 == 1 ? RGB : GREY;
        const int side = brushSize < 15 ? 2 * brushSize + 4 : 24;
        ExpectThePlainVersion(RandomPicture(type, side + 1, side, generator), brushSize);
        ExpectThePlainVersion(NaturalPicture(RGB, 19, 23, generator), brushSize);
        ExpectThePlainVersion(FewValuesPicture(type, 22, 27, generator), brushSize);
    }
}

TEST(OilPainting, EqualsThePlainVersionUnderTheLargestBrush)
{
    std::mt19937 generator(51);
    ExpectThePlainVersion(NaturalPicture(GREY, 101, 100, generator), 50);
}

TEST(OilPainting, EqualsThePlainVersionOnPicturesOfManyRows)
{
    for (int brushSize : {1, 3, 6}) {
        std::mt19937 generator{uint32_t(brushSize)};
        ExpectThePlainVersion(RandomPicture(GREY, 13, 800, generator), brushSize);
        ExpectThePlainVersion(NaturalPicture(RGB, 12, 530, generator), brushSize);
    }
}

//---- Progress and abort

TEST(OilPainting, ProgressIsReportedOncePerRowInTenths)
{
    for (int height : {1, 2, 3, 11, 37}) {
        Picture picture = Grey(Even(8, height, 50));
        const WorkerRun run = RunWorker(oilPainting, picture, OilPaintingParameters{3});
        EXPECT_EQ(run.progress, ProgressOfRows(height)) << height << " rows";
        EXPECT_EQ(run.strayReports, 0);
    }
}

TEST(OilPainting, AbortKeepsTheRowsDoneAndLeavesTheRest)
{
    for (int32_t type : {GREY, RGB}) {
        const PictureCase kind = {type, 33, 12, 8, true, 79};
        const Picture before = RandomPicture(kind), all = Painted(RandomPicture(kind), 3);
        for (int rows = 0; rows <= 12; ++rows) {
            Picture picture = RandomPicture(kind);
            const WorkerRun run = RunWorker(oilPainting, picture, OilPaintingParameters{3}, {.abortAfter = rows});
            EXPECT_EQ(int(run.progress.size()), rows);
            EXPECT_EQ(run.leakedBlocks, 0);
            for (int y = 0; y < 12; ++y)
                for (int x = 0; x < 33; ++x)
                    ASSERT_EQ(PixelOf(picture, x, y), PixelOf(y < rows ? all : before, x, y))
                        << "pixel (" << x << ", " << y << ") of a run aborted after " << rows << " rows";
        }
    }
}
