// Random Shear as a worker: cases worked out by hand, one for each thing its head comment says, and the plain version
// on every kind of picture. Its dialog is tried in tests/framework.

#include "tests/effects/plain_version.h"

struct RandomShearParameters {
    uint32_t fillColour;
};

static void RunPlain(Picture &picture, const RandomShearParameters &own)
{
    ReferenceRandomShear(picture, own.fillColour);
}

//---- Told cases

TEST(RandomShear, DrawsTheColumnsFirstAndThenOneStepPerRow)
{
    for (uint32_t seed = 1; seed < 10; ++seed) {
        const Picture source = RandomPicture({GREY, 7, 5, 0, false, seed});
        Picture picture = CopyOf(source);
        RunWorker(randomShear, picture, RandomShearParameters{0}, {.seed = seed});
        srand(seed);
        int column[7], walk = 0, rowWalk = 0;
        for (int &offset : column) offset = walk += rand() % 2 ? -1 : 1;
        for (int y = 0; y < 5; ++y) {
            rowWalk += rand() % 2 ? -1 : 1;
            for (int x = 0; x < 7; ++x) {
                const int sx = x + rowWalk, sy = y + column[x];
                const bool inside = sx >= 0 && sx < 7 && sy >= 0 && sy < 5;
                EXPECT_EQ(PixelOf(picture, x, y), inside ? PixelOf(source, sx, sy) : 0u) << "seed " << seed;
            }
        }
    }
}

TEST(RandomShear, TheMaskKeepsItsValueWhereNoSourceLands)
{
    Picture picture = WithMask(EvenGrey(9, 9, 9), Values(9, std::vector<uint32_t>(9, 77)));
    RunWorker(randomShear, picture, RandomShearParameters{0xFFFFFF}, {.seed = 2});
    for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 9; ++x) EXPECT_EQ(MaskPixelOf(picture, x, y), 77u);
}

TEST(RandomShear, TheMaskMovesWithThePixels)
{
    Values values(20, std::vector<uint32_t>(30));
    uint32_t next = 0;
    for (std::vector<uint32_t> &row : values)
        for (uint32_t &value : row) value = next++ % 255 + 1;
    Picture picture = WithMask(Grey(values), values);
    RunWorker(randomShear, picture, RandomShearParameters{0}, {.seed = 9});
    int uncovered = 0;
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 30; ++x) {
            const uint32_t pixel = PixelOf(picture, x, y);
            uncovered += pixel == 0;
            EXPECT_EQ(MaskPixelOf(picture, x, y), pixel ? pixel : values[size_t(y)][size_t(x)]);
        }
    }
    EXPECT_GT(uncovered, 0);
    EXPECT_LT(uncovered, 600);
}

TEST(RandomShear, IsTheSameForTheSameSeed)
{
    Picture first = RandomPicture({RGB, 64, 48, 8, true, 3}), second = CopyOf(first), other = CopyOf(first);
    RunWorker(randomShear, first, RandomShearParameters{0}, {.seed = 5});
    RunWorker(randomShear, second, RandomShearParameters{0}, {.seed = 5});
    RunWorker(randomShear, other, RandomShearParameters{0}, {.seed = 6});
    EXPECT_TRUE(SamePicture(first, second));
    EXPECT_FALSE(SamePicture(first, other));
}

//---- Against the plain version

TEST(RandomShear, EqualsThePlainVersionOnEveryKindOfPicture)
{
    const std::vector<RandomShearParameters> many = {{0}, {0xFFFFFF}, {0x3C78B4}, {0x0000FF}};
    ExpectPlainVersion<RandomShearParameters>(randomShear, many, 3600, RunPlain);
}

//---- Progress and abort

TEST(RandomShear, ReportsEveryRow)
{
    for (int height : {1, 2, 37}) {
        Picture picture = EvenGrey(4, height, 50);
        EXPECT_EQ(RunWorker(randomShear, picture, RandomShearParameters{0}).progress, ProgressOfRows(height));
    }
}

TEST(RandomShear, AbortLeavesTheFillColourBelowTheRowsDone)
{
    Picture picture = EvenGrey(30, 30, 200);
    RunWorker(randomShear, picture, RandomShearParameters{0}, {.abortAfter = 10});
    for (int x = 0; x < 30; ++x) EXPECT_EQ(PixelOf(picture, x, 10), 0u);
    ExpectAbortsAnywhere(randomShear, RandomShearParameters{0}, 20);
}
