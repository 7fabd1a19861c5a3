// Noise as a worker: cases worked out by hand, one for each thing its head comment says, and the plain version on every
// kind of picture. Its dialog is tried in tests/framework.

#include "effects/effects.h"
#include "framework/random.h"
#include "tests/reference/reference.h"
#include "tests/support/comparison.h"
#include "tests/support/run_worker.h"

#include <stdlib.h>

struct NoiseParameters {
    int32_t amount, variation;
};

constexpr NoiseParameters NOISE_PARAMETERS[] = {{15, 10}, {1, 1}, {1, 255}, {50, 128}, {99, 200}, {100, 1}, {100, 255}};

static Picture EvenGrey(int width, int height, uint32_t level)
{
    return Grey(Values(size_t(height), std::vector<uint32_t>(size_t(width), level)));
}

// How many numbers the worker has drawn since it seeded, found by the next ones; -1 when more than `limit`.
static int CountDraws(uint32_t seed, int limit)
{
    const int next[] = {DrawNumber(), DrawNumber(), DrawNumber(), DrawNumber()};
    srand(seed);
    std::vector<int> numbers;
    while (int(numbers.size()) < limit + 4) numbers.push_back(rand());
    for (int i = 0; i <= limit; ++i) {
        if (std::equal(next, next + 4, numbers.begin() + i)) return i;
    }
    return -1;
}

//---- Told cases

TEST(Noise, FirstDrawChoosesThePixelAndSecondIsItsChange)
{
    const uint32_t seed = 5;
    srand(seed);
    uint32_t expected[8];
    for (uint32_t &level : expected) {
        level = 100;
        if (rand() % 101 <= 40) level += uint32_t(rand() % 21 - 10);
    }
    Picture picture = EvenGrey(8, 1, 100);
    RunWorker(noise, picture, NoiseParameters{40, 10}, {.seed = seed});
    for (int x = 0; x < 8; ++x) EXPECT_EQ(PixelOf(picture, x, 0), expected[x]) << "pixel " << x;
}

TEST(Noise, RowsAreDrawnFromTheTop)
{
    Picture wide = EvenGrey(12, 1, 128), tall = EvenGrey(3, 4, 128);
    RunWorker(noise, wide, NoiseParameters{60, 100}, {.seed = 9});
    RunWorker(noise, tall, NoiseParameters{60, 100}, {.seed = 9});
    for (int i = 0; i < 12; ++i) EXPECT_EQ(PixelOf(tall, i % 3, i / 3), PixelOf(wide, i, 0)) << "pixel " << i;
}

TEST(Noise, PixelLeftAloneDrawsOnceAndChangedPixelTwice)
{
    const uint32_t seed = 21;
    srand(seed);
    int draws = 0;
    for (int pixel = 0; pixel < 35; ++pixel) {
        ++draws;
        if (rand() % 101 > 30) continue;
        ++draws;
        rand();
    }
    Picture picture = EvenGrey(7, 5, 128);
    RunWorker(noise, picture, NoiseParameters{30, 9}, {.seed = seed});
    EXPECT_EQ(CountDraws(seed, 70), draws);
}

TEST(Noise, AmountOfHundredDrawsAChangeForEveryPixel)
{
    Picture picture = EvenGrey(7, 5, 128);
    RunWorker(noise, picture, NoiseParameters{100, 9}, {.seed = 3});
    EXPECT_EQ(CountDraws(3, 70), 70);
}

TEST(Noise, AmountOfOneChangesAboutTwoPixelsInHundredAndOne)
{
    Picture picture = EvenGrey(404, 250, 128);
    RunWorker(noise, picture, NoiseParameters{1, 127}, {.seed = 4});
    int changed = 0;
    for (int y = 0; y < 250; ++y) {
        for (int x = 0; x < 404; ++x) changed += PixelOf(picture, x, y) != 128;
    }
    EXPECT_NEAR(changed, 2000, 250);
}

TEST(Noise, ChangesReachVariationBothWaysAndNoFurther)
{
    Picture picture = EvenGrey(100, 50, 128);
    RunWorker(noise, picture, NoiseParameters{100, 3}, {.seed = 8});
    int seen[7] = {};
    for (int y = 0; y < 50; ++y) {
        for (int x = 0; x < 100; ++x) {
            const int change = int(PixelOf(picture, x, y)) - 128;
            ASSERT_LE(abs(change), 3);
            ++seen[change + 3];
        }
    }
    for (int change = -3; change <= 3; ++change) EXPECT_NEAR(seen[change + 3], 5000 / 7, 150) << "change " << change;
}

TEST(Noise, ValuesAreClampedAndNeverWrap)
{
    Picture dark = EvenGrey(60, 60, 10), bright = EvenGrey(60, 60, 245);
    RunWorker(noise, dark, NoiseParameters{100, 255}, {.seed = 2});
    RunWorker(noise, bright, NoiseParameters{100, 255}, {.seed = 2});
    srand(2);
    for (int i = 0; i < 3600; ++i) {
        rand();
        const int change = rand() % 511 - 255;
        ASSERT_EQ(int(PixelOf(dark, i % 60, i / 60)), change < -10 ? 0 : std::min(10 + change, 255)) << "pixel " << i;
        ASSERT_EQ(int(PixelOf(bright, i % 60, i / 60)), change > 10 ? 255 : std::max(245 + change, 0)) << "pixel " << i;
    }
}

TEST(Noise, ColourPixelTakesTheSameChangeOnAllThreeBytes)
{
    Picture picture = Rgb(Values(20, std::vector<uint32_t>(20, 0x785A3C)));
    RunWorker(noise, picture, NoiseParameters{100, 50}, {.seed = 6});
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 20; ++x) {
            const uint32_t colour = PixelOf(picture, x, y);
            const int change = int(colour & 0xFF) - 0x3C;
            EXPECT_EQ(int(colour >> 8 & 0xFF) - 0x5A, change);
            EXPECT_EQ(int(colour >> 16) - 0x78, change);
        }
    }
}

TEST(Noise, OneBitPictureIsLeftAlone)
{
    Picture picture = Bits({"0110100110010110", "1111000011110000"});
    const Picture before = CopyOf(picture);
    const WorkerRun run = RunWorker(noise, picture, NoiseParameters{100, 255});
    EXPECT_TRUE(SameBytes(picture, before));
    EXPECT_TRUE(run.progress.empty());
}

TEST(Noise, PalettePictureIsLeftAlone)
{
    Picture picture = Palette({0x000000, 0xFFFFFF, 0x0000FF}, {{0, 1, 2, 1}, {2, 2, 0, 0}});
    const Picture before = CopyOf(picture);
    const WorkerRun run = RunWorker(noise, picture, NoiseParameters{100, 255});
    EXPECT_TRUE(SameBytes(picture, before));
    EXPECT_TRUE(run.progress.empty());
}

//---- Against the plain version

TEST(Noise, EqualsThePlainVersionOnEveryKindOfPicture)
{
    for (const PictureCase &kind : AllPictureCases(1000)) {
        for (const NoiseParameters &own : NOISE_PARAMETERS) {
            SCOPED_TRACE(testing::Message() << kind << ", amount " << own.amount << " variation " << own.variation);
            Picture picture = RandomPicture(kind), expected = RandomPicture(kind);
            RunWorker(noise, picture, own, {.maskInUse = kind.maskInUse, .seed = kind.seed});
            srand(kind.seed);
            ReferenceNoise(expected, own.amount, own.variation);
            ASSERT_TRUE(SameBytes(picture, expected));
        }
    }
}

TEST(Noise, EqualsThePlainVersionOnNaturalPicturesForManySeeds)
{
    for (uint32_t seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        std::mt19937 generator(seed);
        Picture picture = NaturalPicture(seed % 2 ? RGB : GREY, 90 + int(seed), 70, generator);
        Picture expected = CopyOf(picture);
        RunWorker(noise, picture, NoiseParameters{15, 40}, {.seed = seed});
        srand(seed);
        ReferenceNoise(expected, 15, 40);
        ASSERT_TRUE(SameBytes(picture, expected));
    }
}

//---- Progress and abort

TEST(Noise, ProgressIsReportedOncePerRowInTenths)
{
    for (int height : {1, 2, 3, 11, 37}) {
        Picture picture = EvenGrey(4, height, 50);
        const WorkerRun run = RunWorker(noise, picture, NoiseParameters{15, 10});
        EXPECT_EQ(run.progress, ProgressOfRows(height)) << height << " rows";
        EXPECT_EQ(run.strayReports, 0);
    }
}

TEST(Noise, AbortKeepsTheRowsDoneAndLeavesTheRest)
{
    for (int32_t type : {GREY, RGB}) {
        const PictureCase kind = {type, 33, 12, 8, true, 77};
        Picture all = RandomPicture(kind);
        const Picture before = RandomPicture(kind);
        RunWorker(noise, all, NoiseParameters{80, 90}, {.seed = 5});
        for (int rows = 0; rows <= 12; ++rows) {
            Picture picture = RandomPicture(kind);
            const WorkerRun run = RunWorker(noise, picture, NoiseParameters{80, 90}, {.seed = 5, .abortAfter = rows});
            EXPECT_EQ(int(run.progress.size()), rows);
            EXPECT_EQ(run.leakedBlocks, 0);
            for (int y = 0; y < 12; ++y) {
                for (int x = 0; x < 33; ++x) {
                    ASSERT_EQ(PixelOf(picture, x, y), PixelOf(y < rows ? all : before, x, y))
                        << "pixel (" << x << ", " << y << ") of a run aborted after " << rows << " rows";
                }
            }
        }
    }
}
