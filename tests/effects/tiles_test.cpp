// Tiles as a worker: cases worked out by hand, one for each thing its head comment says, and the plain version on every
// kind of picture. Its dialog is tried in tests/framework.

#include "tests/effects/plain_version.h"

struct TilesParameters {
    int32_t tileSize;
    uint32_t background;
    int32_t offset;
};

//---- Told cases

TEST(Tiles, DrawTheShiftInXAndThenInY)
{
    // Shifts of -1 or 0: four tiles of 2 x 2 start left of and above 6 - 2.
    for (uint32_t seed = 1; seed < 9; ++seed) {
        const Picture source = RandomPicture({GREY, 6, 6, 0, false, seed});
        Picture picture = CopyOf(source), expected = EvenGrey(6, 6, 0);
        RunWorker(tiles, picture, TilesParameters{2, 0, 1}, {.seed = seed});
        srand(seed);
        for (int tile = 0; tile < 4; ++tile) {
            const int dx = rand() % 2 - 1, dy = rand() % 2 - 1;
            for (int i = 0; i < 4; ++i) {
                const int x = tile % 2 * 2 + i % 2, y = tile / 2 * 2 + i / 2;
                if (x + dx < 0 || y + dy < 0) continue;
                expected.pixels[size_t((y + dy) * 8 + x + dx)] = uint8_t(PixelOf(source, x, y));
            }
        }
        EXPECT_TRUE(SamePicture(picture, expected)) << "seed " << seed;
    }
}

TEST(Tiles, AsLargeAsThePictureLeaveOnlyBackground)
{
    Picture picture = WithMask(Grey({{9, 9, 9}, {9, 9, 9}}), {{7, 7, 7}, {7, 7, 7}});
    RunWorker(tiles, picture, TilesParameters{2, 0xFFFFFF, 5});
    EXPECT_EQ(picture, WithMask(Grey({{255, 255, 255}, {255, 255, 255}}), {{0, 0, 0}, {0, 0, 0}}));
}

TEST(Tiles, OfASizeBelowOneAreOfOnePixel)
{
    Picture none = RandomPicture({RGB, 17, 13, 8, false, 1}), one = CopyOf(none);
    RunWorker(tiles, none, TilesParameters{0, 0, 3}, {.seed = 2});
    RunWorker(tiles, one, TilesParameters{1, 0, 3}, {.seed = 2});
    EXPECT_TRUE(SamePicture(none, one));
}

TEST(Tiles, AMidGreyBackgroundIsBlackOrWhiteInOneBitByItsBrightness)
{
    Picture black = Bits({"10"}), white = Bits({"01"});
    RunWorker(tiles, black, TilesParameters{5, 0x808080, 1});
    RunWorker(tiles, white, TilesParameters{5, 0x818181, 1});
    EXPECT_EQ(black, Bits({"00"}));
    EXPECT_EQ(white, Bits({"11"}));
}

TEST(Tiles, PalettesTakeTheNearestEntryAsBackground)
{
    Picture picture = Palette({0x000000, 0x0000FF, 0x00F000}, {{0, 0}});
    RunWorker(tiles, picture, TilesParameters{5, 0x00FF00, 1});
    EXPECT_EQ(picture, Palette({0x000000, 0x0000FF, 0x00F000}, {{2, 2}}));
}

//---- Against the plain version

TEST(Tiles, EqualThePlainVersionOnEveryKindOfPicture)
{
    const std::vector<TilesParameters> many = {{32, 0, 32},      {1, 0xFFFFFF, 1},  {2, 0x3C78B4, 5}, {3, 0x0000FF, 40},
                                               {7, 0xFF0000, 8}, {16, 0x818181, 3}, {5, 0, 1000}};
    ExpectPlainVersion<TilesParameters>(tiles, many, 3400, [](Picture &picture, const TilesParameters &own) {
        ReferenceTiles(picture, own.tileSize, own.background, own.offset);
    });
}

//---- Progress and abort

TEST(Tiles, ReportOncePerRowOfTiles)
{
    Picture picture = EvenGrey(30, 21, 0), one = EvenGrey(30, 6, 0), none = EvenGrey(30, 5, 0);
    EXPECT_EQ(RunWorker(tiles, picture, TilesParameters{5, 0, 1}).progress, (std::vector<int32_t>{0, 3, 6, 10}));
    EXPECT_EQ(RunWorker(tiles, one, TilesParameters{5, 0, 1}).progress, (std::vector<int32_t>{10}));
    EXPECT_TRUE(RunWorker(tiles, none, TilesParameters{5, 0, 1}).progress.empty());
}

TEST(Tiles, AbortLeavesTheTilesDoneOverTheBackground)
{
    Picture picture = EvenGrey(20, 20, 200);
    RunWorker(tiles, picture, TilesParameters{4, 0, 1}, {.abortAfter = 1});
    for (int x = 0; x < 20; ++x) EXPECT_EQ(PixelOf(picture, x, 10), 0u);
    EXPECT_EQ(PixelOf(picture, 2, 1), 200u);
    ExpectAbortsAnywhere(tiles, TilesParameters{4, 0, 7}, 5);
}
