// Melt as a worker: cases worked out by hand, one for each thing its head comment says, and the plain version on every
// kind of picture. Its dialog is tried in tests/framework.

#include "tests/effects/plain_version.h"

#include <algorithm>

struct MeltParameters {
    int32_t amount, direction;
};

enum { DOWN = 1230, UP = 1240, LEFT = 1250, RIGHT = 1260 };

static std::vector<uint32_t> RowOfLevels(const Picture &picture)
{
    std::vector<uint32_t> levels;
    for (int x = 0; x < picture.width; ++x) levels.push_back(PixelOf(picture, x, 0));
    return levels;
}

//---- Told cases

TEST(Melt, APixelSinksThroughNeighboursAsBrightAndStopsAtADarkerOne)
{
    // The only pixel to start from is the one in the middle. To the right stands a brighter one: they change places
    // in the first pass and the walk ends at the border. After that the pixel ahead is darker.
    Picture picture = Grey({{50, 20, 30}});
    RunWorker(melt, picture, MeltParameters{1, RIGHT});
    EXPECT_EQ(picture, Grey({{50, 30, 20}}));
    Picture blocked = Grey({{50, 31, 30}});
    RunWorker(melt, blocked, MeltParameters{1, RIGHT});
    EXPECT_EQ(blocked, Grey({{50, 31, 30}}));
}

TEST(Melt, EveryDirectionHasItsNeighbourAhead)
{
    Picture left = Grey({{30, 20, 10}}), up = Grey({{30}, {20}, {10}}), down = Grey({{10}, {20}, {30}});
    RunWorker(melt, left, MeltParameters{1, LEFT});
    RunWorker(melt, up, MeltParameters{1, UP});
    RunWorker(melt, down, MeltParameters{1, DOWN});
    EXPECT_EQ(left, Grey({{20, 30, 10}}));
    EXPECT_EQ(up, Grey({{20}, {30}, {10}}));
    EXPECT_EQ(down, Grey({{10}, {30}, {20}}));
}

TEST(Melt, MovesPixelsAndMakesNone)
{
    Picture picture = RandomPicture({GREY, 300, 1, 0, false, 8});
    std::vector<uint32_t> before = RowOfLevels(picture);
    RunWorker(melt, picture, MeltParameters{100, RIGHT}, {.seed = 4});
    std::vector<uint32_t> after = RowOfLevels(picture);
    EXPECT_NE(before, after);
    std::sort(before.begin(), before.end());
    std::sort(after.begin(), after.end());
    EXPECT_EQ(before, after);
}

TEST(Melt, AnEvenPictureLooksUnchanged)
{
    Picture picture = EvenGrey(30, 20, 90);
    RunWorker(melt, picture, MeltParameters{100, DOWN});
    EXPECT_EQ(picture, EvenGrey(30, 20, 90));
}

TEST(Melt, PalettePixelsCompareByTheirColours)
{
    // Index 0 is bright and index 2 dark: the middle one goes nowhere although its index is the lower.
    Picture picture = Palette({0xFFFFFF, 0x808080, 0x000000}, {{0, 1, 2}});
    RunWorker(melt, picture, MeltParameters{1, RIGHT});
    EXPECT_EQ(picture, Palette({0xFFFFFF, 0x808080, 0x000000}, {{0, 1, 2}}));
}

TEST(Melt, PixelsOfTheSameBrightnessChangePlaces)
{
    // Two entries look alike. One pass makes one walk, from the middle.
    Picture picture = Palette({0x404040, 0x404040, 0x000000}, {{2, 0, 1}});
    RunWorker(melt, picture, MeltParameters{1, RIGHT}, {.abortAfter = 1});
    EXPECT_EQ(picture, Palette({0x404040, 0x404040, 0x000000}, {{2, 1, 0}}));
}

TEST(Melt, AWalkStopsAtTheFirstDarkerPixelHoweverFarAndAtTheBorder)
{
    // One dark pixel after a long even stretch, at every distance; the only walk of a pass is drawn as the worker does.
    constexpr int WIDTH = 23;
    for (int direction : {LEFT, RIGHT}) {
        const int step = direction == RIGHT ? 1 : -1;
        for (int dark = 0; dark < WIDTH; ++dark) {
            Values row(1, std::vector<uint32_t>(WIDTH));
            for (int x = 0; x < WIDTH; ++x) row[0][size_t(x)] = x == dark ? 0u : 0x404040u + uint32_t(x == 11);
            Picture picture = Rgb(row);
            RunWorker(melt, picture, MeltParameters{1, direction}, {.seed = uint32_t(dark), .abortAfter = 1});
            srand(uint32_t(dark));
            int x = rand() % (WIDTH - 2) + 1;
            const auto isDark = [&](int at) { return row[0][size_t(at)] == 0; };
            for (; x > 0 && x < WIDTH - 1 && (isDark(x) || !isDark(x + step)); x += step)
                std::swap(row[0][size_t(x)], row[0][size_t(x + step)]);
            EXPECT_EQ(picture, Rgb(row)) << "direction " << direction << ", dark pixel " << dark;
        }
    }
}

TEST(Melt, PicturesWithoutAPixelToStartFromStay)
{
    Picture narrow = Grey({{1, 2}, {3, 4}, {5, 6}}), low = Grey({{1, 2, 3}, {4, 5, 6}});
    EXPECT_TRUE(RunWorker(melt, narrow, MeltParameters{100, RIGHT}).progress.empty());
    EXPECT_TRUE(RunWorker(melt, low, MeltParameters{100, DOWN}).progress.empty());
    EXPECT_EQ(narrow, Grey({{1, 2}, {3, 4}, {5, 6}}));
    EXPECT_EQ(low, Grey({{1, 2, 3}, {4, 5, 6}}));
}

TEST(Melt, OneBitPicturesStay)
{
    Picture picture = RandomPicture({ONE_BIT, 33, 20, 1, false, 8});
    const Picture before = CopyOf(picture);
    EXPECT_TRUE(RunWorker(melt, picture, MeltParameters{100, RIGHT}).progress.empty());
    EXPECT_TRUE(SameBytes(picture, before));
}

//---- Against the plain version

TEST(Melt, EqualsThePlainVersionOnEveryKindOfPicture)
{
    std::vector<MeltParameters> many;
    for (int direction : {DOWN, UP, LEFT, RIGHT})
        for (int amount : {1, 35, 100}) many.push_back({amount, direction});
    ExpectPlainVersion<MeltParameters>(melt, many, 3700, [](Picture &picture, const MeltParameters &own) {
        ReferenceMelt(picture, own.amount, own.direction);
    });
}

// Where neighbours are alike and where they rise slowly walks are long.
static void ExpectThePlainVersionOnSmoothPictures()
{
    for (int direction : {DOWN, UP, LEFT, RIGHT}) {
        for (int type : {GREY, PALETTE, RGB}) {
            std::mt19937 generator(3701);
            for (const Picture &source :
                 {FewValuesPicture(type, 61, 40, generator), NaturalPicture(type, 150, 90, generator),
                  NaturalPicture(type, 7, 300, generator)}) {
                Picture picture = CopyOf(source), expected = CopyOf(source);
                RunWorker(melt, picture, MeltParameters{100, direction}, {.seed = 8});
                srand(8);
                ReferenceMelt(expected, 100, direction);
                EXPECT_TRUE(SamePicture(picture, expected)) << "type " << type << ", direction " << direction;
            }
        }
    }
}

TEST(Melt, EqualsThePlainVersionOnSmoothPictures) { ExpectThePlainVersionOnSmoothPictures(); }

TEST(Melt, EqualsThePlainVersionOnAnOlderProcessor)
{
    const OlderProcessor older;
    ExpectThePlainVersionOnSmoothPictures();
}

//---- Progress and abort

TEST(Melt, ReportsAHundredPassesFromZeroToNine)
{
    Picture picture = EvenGrey(9, 9, 0);
    std::vector<int32_t> expected;
    for (int pass = 0; pass < 100; ++pass) expected.push_back(pass / 10);
    EXPECT_EQ(RunWorker(melt, picture, MeltParameters{50, RIGHT}).progress, expected);
}

TEST(Melt, AbortKeepsThePassesDone)
{
    Picture picture = RandomPicture({RGB, 33, 20, 0, false, 8});
    const Picture before = CopyOf(picture);
    RunWorker(melt, picture, MeltParameters{100, RIGHT}, {.abortAfter = 3});
    EXPECT_FALSE(SamePicture(picture, before));
    ExpectAbortsAnywhere(melt, MeltParameters{100, DOWN}, 20);
}

// Walks this long have the worker ask in the middle of a pass. The flag is set with the first report.
TEST(Melt, AnAbortWithinAPassTakesThatPassBack)
{
    for (int direction : {DOWN, UP, LEFT, RIGHT}) {
        const bool alongRow = direction == LEFT || direction == RIGHT,
                   forward = direction == DOWN || direction == RIGHT;
        for (bool colours : {false, true}) {
            const int width = alongRow ? 2000 : 300, height = alongRow ? 300 : 2000;
            const auto level = [&](int x, int y) {
                const int along = alongRow ? x : y;
                return uint32_t((forward ? along : 1999 - along) * 255 / 1999);
            };
            Values values(static_cast<size_t>(height), std::vector<uint32_t>(static_cast<size_t>(width)));
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) values[size_t(y)][size_t(x)] = level(x, y) * (colours ? 0x10101 : 1);
            Picture picture = colours ? Rgb(values) : Grey(values);
            const Picture before = CopyOf(picture);
            const WorkerRun run = RunWorker(melt, picture, MeltParameters{100, direction}, {.abortAfter = 1});
            EXPECT_EQ(run.progress.size(), 1u);
            EXPECT_EQ(run.leakedBlocks, 0);
            EXPECT_TRUE(SameBytes(picture, before)) << direction;
        }
    }
}
