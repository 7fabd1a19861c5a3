// The seeds of images: what a run and its preview draw with, what undo and redo bring back, what has run tells.

#include "framework/random.h"
#include "tests/host/misc/stage.h"

#include <gtest/gtest.h>

static void KPZAPI DrawPixels(EffectBlock *block)
{
    KPZ_srand();
    for (int32_t i = 0; i < 8; ++i) block->view.pixels[i] = uint8_t(DrawNumber());
}

static void KPZAPI DrawAndAbort(EffectBlock *block)
{
    DrawPixels(block);
    SharedWrite(*block->view.abortFlag, 1);
}

static std::string PixelsOfSeed(uint32_t seed)
{
    Stage stage(GREY, 8, 1);
    MiscSetSeed(&stage.image, seed);
    RunWorker(stage, DrawPixels);
    return PixelsOf(stage.image);
}

TEST(Seeds, ARunDrawsWithTheImagesSeedAndTellsIt)
{
    Stage stage(GREY, 8, 1);
    const uint32_t seed = MiscSeed(&stage.image);
    uint32_t used = 0;
    EXPECT_EQ(MiscSeed(&stage.image), seed);
    EXPECT_FALSE(MiscUsedSeed(&stage.image, &used));
    RunWorker(stage, DrawPixels);
    EXPECT_TRUE(MiscUsedSeed(&stage.image, &used));
    EXPECT_EQ(used, seed);
    EXPECT_EQ(PixelsOf(stage.image), PixelsOfSeed(seed));
}

TEST(Seeds, TheDialogFindsTheNextSeedWhenItIsTold)
{
    Stage stage(GREY, 8, 1);
    const uint32_t seed = MiscSeed(&stage.image);
    uint32_t next = seed, used = 0;
    stage.onFinished = [&] {
        next = MiscSeed(&stage.image);
        MiscUsedSeed(&stage.image, &used);
    };
    RunWorker(stage, DrawPixels);
    EXPECT_NE(next, seed);
    EXPECT_EQ(used, seed);
    EXPECT_EQ(MiscSeed(&stage.image), next);
}

TEST(Seeds, EveryImageHasItsOwn)
{
    Stage one(GREY, 8, 1), other(GREY, 8, 1);
    EXPECT_NE(MiscSeed(&one.image), MiscSeed(&other.image));
    MiscSetSeed(&one.image, 1);
    MiscSetSeed(&other.image, 2);
    StartRun(one, DrawPixels);
    StartRun(other, DrawPixels);
    WaitForEnd(one);
    WaitForEnd(other);
    EXPECT_EQ(PixelsOf(one.image), PixelsOfSeed(1));
    EXPECT_EQ(PixelsOf(other.image), PixelsOfSeed(2));
}

TEST(Seeds, AnAbortedRunLeavesTheSeed)
{
    Stage stage(GREY, 8, 1);
    const uint32_t seed = MiscSeed(&stage.image);
    RunWorker(stage, DrawAndAbort);
    uint32_t used;
    EXPECT_EQ(MiscSeed(&stage.image), seed);
    EXPECT_FALSE(MiscUsedSeed(&stage.image, &used));
}

TEST(Seeds, ARunThatDrawsNothingTellsNoneAndDrawsTheNextSeedAllTheSame)
{
    Stage stage(GREY, 8, 1);
    const uint32_t seed = MiscSeed(&stage.image);
    RunWorker(stage, AddAmount);
    uint32_t used;
    EXPECT_FALSE(MiscUsedSeed(&stage.image, &used));
    EXPECT_NE(MiscSeed(&stage.image), seed);
}

TEST(Seeds, UndoAndRedoBringTheirSeedsBack)
{
    Stage stage(GREY, 8, 1);
    MiscSetSeed(&stage.image, 11);
    RunWorker(stage, DrawPixels);
    MiscSetSeed(&stage.image, 12);
    RunWorker(stage, DrawPixels);
    const uint32_t last = MiscSeed(&stage.image);
    uint32_t used = 0;

    MiscUndo(&stage.image);
    EXPECT_EQ(MiscSeed(&stage.image), 12u);
    EXPECT_TRUE(MiscUsedSeed(&stage.image, &used));
    EXPECT_EQ(used, 11u);
    MiscUndo(&stage.image);
    EXPECT_EQ(MiscSeed(&stage.image), 11u);
    EXPECT_FALSE(MiscUsedSeed(&stage.image, &used));

    MiscRedo(&stage.image);
    EXPECT_EQ(MiscSeed(&stage.image), 12u);
    EXPECT_TRUE(MiscUsedSeed(&stage.image, &used));
    EXPECT_EQ(used, 11u);
    MiscRedo(&stage.image);
    EXPECT_EQ(MiscSeed(&stage.image), last);
    EXPECT_TRUE(MiscUsedSeed(&stage.image, &used));
    EXPECT_EQ(used, 12u);
}

TEST(Seeds, UndoBringsBackTheRunsSeedWhateverWasSetSince)
{
    Stage stage(GREY, 8, 1);
    MiscSetSeed(&stage.image, 11);
    RunWorker(stage, DrawPixels);
    MiscUndo(&stage.image);
    MiscSetSeed(&stage.image, 99);
    MiscRedo(&stage.image);
    MiscUndo(&stage.image);
    EXPECT_EQ(MiscSeed(&stage.image), 11u);
}

TEST(Seeds, AnEditLeavesTheSeed)
{
    Stage stage(GREY, 8, 1);
    UndoUtility(&stage.image, 1, 1, 0, 0, "Edit");
    MiscSetSeed(&stage.image, 99);
    MiscUndo(&stage.image);
    EXPECT_EQ(MiscSeed(&stage.image), 99u);
}

TEST(Seeds, AFixedSeedIsInForceForAllAndIsTold)
{
    Stage stage(GREY, 8, 1);
    HostFixSeed(TRUE, 7);
    EXPECT_EQ(MiscSeed(&stage.image), 7u);
    RunWorker(stage, DrawPixels);
    EXPECT_EQ(MiscSeed(&stage.image), 7u);
    HostFixSeed(FALSE, 0);
    uint32_t used = 0;
    EXPECT_TRUE(MiscUsedSeed(&stage.image, &used));
    EXPECT_EQ(used, 7u);
    EXPECT_EQ(PixelsOf(stage.image), PixelsOfSeed(7));
}
