// Progress of a run: which reports reach the image's window.

#include "tests/host/misc/stage.h"

#include <gtest/gtest.h>

static std::vector<int> Told(Stage &stage)
{
    bool over = false;
    stage.onProgress = [&over](int tenths) { over = tenths == 10; };
    WaitUntil([&over] { return over; });
    return stage.progress;
}

TEST(Progress, TellsTheWindowTheFirstReportAndEveryNewTenth)
{
    Stage stage(GREY, 1, 1);
    InitiateProgress(stage.image.progress);
    for (const int tenths : {0, 0, 3, 3, 4, 10}) IncrementProgress(stage.image.window, stage.image.progress, tenths);
    EXPECT_EQ(Told(stage), (std::vector<int>{0, 3, 4, 10}));
}

TEST(Progress, AsksForTenthsBetweenNoneAndAll)
{
    Stage stage(GREY, 1, 1);
    InitiateProgress(stage.image.progress);
    IncrementProgress(stage.image.window, stage.image.progress, -4);
    IncrementProgress(stage.image.window, stage.image.progress, 40);
    EXPECT_EQ(Told(stage), (std::vector<int>{0, 10}));
}

TEST(Progress, ResetStartsASecondPass)
{
    Stage stage(GREY, 1, 1);
    InitiateProgress(stage.image.progress);
    IncrementProgress(stage.image.window, stage.image.progress, 8);
    EXPECT_EQ(MiscProgress(stage.image.progress), 8);
    ResetProgress(stage.image.window, stage.image.progress);
    EXPECT_EQ(MiscProgress(stage.image.progress), 0);
    IncrementProgress(stage.image.window, stage.image.progress, 10);
    EXPECT_EQ(Told(stage), (std::vector<int>{8, 0, 10}));
}

TEST(Progress, IsMinusOneWhenNothingRuns)
{
    Stage stage(GREY, 1, 1);
    EXPECT_EQ(MiscProgress(stage.image.progress), -1);
    InitiateProgress(stage.image.progress);
    EXPECT_EQ(MiscProgress(stage.image.progress), 0);
    FinishProgress(stage.image.progress);
    EXPECT_EQ(MiscProgress(stage.image.progress), -1);
}

TEST(Progress, NullRecordReportsNothing)
{
    Stage stage(GREY, 1, 1);
    InitiateProgress(nullptr);
    IncrementProgress(stage.image.window, nullptr, 5);
    ResetProgress(stage.image.window, nullptr);
    FinishProgress(nullptr);
    IncrementProgress(stage.image.window, stage.image.progress, 10);
    EXPECT_EQ(Told(stage), (std::vector<int>{10}));
    EXPECT_EQ(MiscProgress(nullptr), -1);
}
