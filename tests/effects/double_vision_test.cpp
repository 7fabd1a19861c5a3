// Double Vision as a worker: cases worked out by hand, one for each thing its head comment says, and the plain version
// on every kind of picture. Its dialog is tried in tests/framework.

#include "tests/effects/plain_version.h"

struct DoubleVisionParameters {
    int32_t distance, direction;
};

enum { ROWS = 5530, COLUMNS = 1200 };

//---- Told cases

TEST(DoubleVision, StripsShowTheStretchAroundThemAtHalfWidth)
{
    // h = 1, d = 2: pixel i takes i + i mod 2 - 1, so 2 and 3 take 1 and 3, 4 and 5 take 3 and 5.
    Picture picture = Grey({{10, 11, 12, 13, 14, 15, 16, 17}});
    RunWorker(doubleVision, picture, DoubleVisionParameters{2, ROWS});
    EXPECT_EQ(picture, Grey({{10, 11, 11, 13, 13, 15, 16, 17}}));
}

TEST(DoubleVision, DistancesOfOneToThreeAreAlike)
{
    for (int distance : {1, 3}) {
        Picture picture = Grey({{10, 11, 12, 13, 14, 15, 16, 17}});
        RunWorker(doubleVision, picture, DoubleVisionParameters{distance, ROWS});
        EXPECT_EQ(picture, Grey({{10, 11, 11, 13, 13, 15, 16, 17}}));
    }
}

TEST(DoubleVision, ALineTooShortForAStripStays)
{
    Picture picture = Grey({{1, 2, 3, 4}});
    RunWorker(doubleVision, picture, DoubleVisionParameters{2, ROWS});
    EXPECT_EQ(picture, Grey({{1, 2, 3, 4}}));
}

TEST(DoubleVision, TheShortestLineThatChangesHasOnePixelMoreThanTwoMargins)
{
    Picture five = Grey({{10, 11, 12, 13, 14}}), nine = Grey({{10, 11, 12, 13, 14, 15, 16, 17, 18}});
    RunWorker(doubleVision, five, DoubleVisionParameters{2, ROWS});
    RunWorker(doubleVision, nine, DoubleVisionParameters{5, ROWS});   // h = 2, d = 4: pixel 4 takes 2
    EXPECT_EQ(five, Grey({{10, 11, 11, 13, 14}}));
    EXPECT_EQ(nine, Grey({{10, 11, 12, 13, 12, 15, 16, 17, 18}}));
}

TEST(DoubleVision, ColumnsAreWorkedOnWithAnyOtherDirection)
{
    for (int direction : {int(COLUMNS), 0}) {
        Picture picture = Grey({{10}, {11}, {12}, {13}, {14}, {15}, {16}, {17}});
        RunWorker(doubleVision, picture, DoubleVisionParameters{2, direction});
        EXPECT_EQ(picture, Grey({{10}, {11}, {11}, {13}, {13}, {15}, {16}, {17}}));
    }
}

TEST(DoubleVision, OneBitPicturesFollowTheSameMapping)
{
    Picture picture = Bits({"00010111"});
    RunWorker(doubleVision, picture, DoubleVisionParameters{2, ROWS});
    EXPECT_EQ(picture, Bits({"00011111"}));
}

//---- Against the plain version

TEST(DoubleVision, EqualsThePlainVersionOnEveryKindOfPicture)
{
    std::vector<DoubleVisionParameters> many;
    for (int direction : {ROWS, COLUMNS})
        for (int distance : {1, 2, 5, 8, 20, 63, 300}) many.push_back({distance, direction});
    ExpectPlainVersion<DoubleVisionParameters>(doubleVision, many, 3200,
                                               [](Picture &picture, const DoubleVisionParameters &own) {
                                                   ReferenceDoubleVision(picture, own.distance, own.direction);
                                               });
}

//---- Progress and abort

TEST(DoubleVision, ReportsEveryRowOrColumn)
{
    for (int extent : {1, 2, 37, 60}) {
        Picture rows = EvenGrey(5, extent, 0), columns = EvenGrey(extent, 5, 0);
        EXPECT_EQ(RunWorker(doubleVision, rows, DoubleVisionParameters{20, ROWS}).progress, ProgressOfRows(extent));
        EXPECT_EQ(RunWorker(doubleVision, columns, DoubleVisionParameters{20, COLUMNS}).progress,
                  ProgressOfRows(extent));
    }
}

TEST(DoubleVision, AbortKeepsTheLinesDoneAndLeavesTheRest)
{
    for (int direction : {ROWS, COLUMNS}) {
        for (int32_t type : {ONE_BIT, GREY, RGB}) {
            const PictureCase kind = {type, 70, 61, 0, false, 9};
            const DoubleVisionParameters own = {6, direction};
            const Picture before = RandomPicture(kind);
            Picture whole = RandomPicture(kind);
            RunWorker(doubleVision, whole, own);
            for (int reached = 0; reached <= 60; ++reached) {
                Picture picture = RandomPicture(kind);
                const WorkerRun run = RunWorker(doubleVision, picture, own, {.abortAfter = reached});
                ASSERT_EQ(run.leakedBlocks, 0);
                for (int y = 0; y < 61; ++y) {
                    for (int x = 0; x < 70; ++x) {
                        const bool done = (direction == ROWS ? y : x) < reached;
                        ASSERT_EQ(PixelOf(picture, x, y), PixelOf(done ? whole : before, x, y))
                            << "pixel (" << x << ", " << y << ") after " << reached << " lines, type " << type;
                    }
                }
            }
        }
    }
}
