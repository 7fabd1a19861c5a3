// Undo and redo of everything an image holds, labels and states, how many steps are kept, and who may look at a step.

#include "tests/host/misc/stage.h"

#include <cstring>
#include <gtest/gtest.h>

// A picture with all that an undo step has to bring back.
static void Furnish(Stage &stage)
{
    KeepBase(stage);
    stage.image.base.mask = NewBytes(StrideFor(8, stage.image.width) * size_t(stage.image.height), 7);
    AddObject(stage, 1, 2, 3, 3, 40, 255, true);
    AddObject(stage, -2, 5, 6, 2, 41, 90, false);
    Select(stage, 1, 1, 5, 4);
    stage.image.maskEditing = 1;
    stage.image.objectOutline = {2, reinterpret_cast<POINT *>(NewBytes(2 * sizeof(POINT), 3))};
}

// Another size, type and palette, other planes, objects, selection and outline.
static void ChangeEverything(Stage &stage)
{
    ImageRecord &image = stage.image;
    MiscFreePicture(&image);
    image.width = 7;
    image.height = 9;
    image.bitsPerPixel = 8;
    image.colourType = PALETTE;
    image.paletteEntries = 3;
    image.red[2] = 200;
    image.pixels = NewBytes(StrideFor(8, 7) * 9, 60);
    image.maskBitsPerPixel = 1;
    image.mask = NewBytes(StrideFor(1, 7) * 9, 80);
    image.secondMask = NewBytes(StrideFor(1, 7) * 9, 90);
    image.nextObjectNumber = 12;
    AddObject(stage, 3, 3, 2, 2, 5, 1, true);
}

TEST(Undo, BringsBackEverythingAndRedoesIt)
{
    Stage stage(RGB, 11, 6, 8);
    Furnish(stage);
    const std::string before = BytesOf(stage.image);
    UndoUtility(&stage.image, 0, 0, 1, 0, "Objects");
    ChangeEverything(stage);
    const std::string after = BytesOf(stage.image);
    ASSERT_NE(after, before);
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(MiscUndo(&stage.image));
        EXPECT_EQ(BytesOf(stage.image), before);
        EXPECT_EQ(stage.image.secondMask, stage.image.mask);
        EXPECT_FALSE(MiscUndo(&stage.image));
        EXPECT_TRUE(MiscRedo(&stage.image));
        EXPECT_EQ(BytesOf(stage.image), after);
        EXPECT_NE(stage.image.secondMask, stage.image.mask);
        EXPECT_FALSE(MiscRedo(&stage.image));
    }
}

TEST(Undo, ObjectsComeBackWithTheirPixelsBehindTheirHeaders)
{
    Stage stage(GREY, 11, 6);
    Furnish(stage);
    UndoUtility(&stage.image, 1, 1, 0, 0, nullptr);
    MiscUndo(&stage.image);
    for (int32_t i = 0; i < stage.image.objectList.count; ++i) {
        const FloatingObject *object = stage.image.objectList.objects[i];
        EXPECT_EQ(object->pixels, reinterpret_cast<const uint8_t *>(object + 1));
    }
    EXPECT_EQ(stage.image.objectList.capacity, 1024);
}

TEST(Undo, StepsGoBackOneByOneAndANewStepEndsRedo)
{
    Stage stage(GREY, 4, 1);
    const int first = stage.image.pixels[0];
    for (int i = 0; i < 3; ++i) RunWorker(stage, AddAmount, SCOPE_IMAGE, 1);
    EXPECT_EQ(MiscUndoCount(&stage.image), 3);
    EXPECT_TRUE(MiscUndo(&stage.image));
    EXPECT_TRUE(MiscUndo(&stage.image));
    EXPECT_EQ(stage.image.pixels[0], first + 1);
    EXPECT_EQ(MiscRedoCount(&stage.image), 2);
    RunWorker(stage, AddAmount, SCOPE_IMAGE, 10);
    EXPECT_EQ(stage.image.pixels[0], first + 11);
    EXPECT_EQ(MiscRedoCount(&stage.image), 0);
    EXPECT_EQ(MiscUndoCount(&stage.image), 2);
    EXPECT_TRUE(MiscUndo(&stage.image));
    EXPECT_TRUE(MiscUndo(&stage.image));
    EXPECT_EQ(stage.image.pixels[0], first);
}

static void KPZAPI ChangeAndStop(EffectBlock *block)
{
    AddAmount(block);
    EXPECT_EQ(MiscRedoCount(block->header.image), 0) << "a run is under way";
    SharedWrite(block->header.image->abortRequest, 1);
}

static void KPZAPI ChangeNothing(EffectBlock *) {}

// Three runs that add 1 each, two of them undone.
static int StageOfTwoUndone(Stage &stage)
{
    const int first = stage.image.pixels[0];
    for (int i = 0; i < 3; ++i) RunWorker(stage, AddAmount, SCOPE_IMAGE, 1);
    EXPECT_TRUE(MiscUndo(&stage.image));
    EXPECT_TRUE(MiscUndo(&stage.image));
    return first;
}

static void ExpectBothAgain(Stage &stage, int first)
{
    EXPECT_EQ(MiscUndoCount(&stage.image), 1);
    EXPECT_EQ(MiscRedoCount(&stage.image), 2);
    EXPECT_TRUE(MiscRedo(&stage.image));
    EXPECT_EQ(stage.image.pixels[0], first + 2);
    EXPECT_TRUE(MiscRedo(&stage.image));
    EXPECT_EQ(stage.image.pixels[0], first + 3);
    EXPECT_FALSE(MiscRedo(&stage.image));
    EXPECT_EQ(MiscUndoCount(&stage.image), 3);
}

TEST(Undo, AnAbortedRunLeavesWhatCouldBeDoneAgain)
{
    Stage stage(GREY, 4, 1);
    const int first = StageOfTwoUndone(stage);
    for (int i = 0; i < 2; ++i) {
        RunWorker(stage, ChangeAndStop, SCOPE_IMAGE, 50);
        EXPECT_EQ(stage.image.pixels[0], first + 1);
    }
    ExpectBothAgain(stage, first);
}

TEST(Undo, ADroppedRunLeavesWhatCouldBeDoneAgain)
{
    Stage stage(GREY, 4, 1);
    const int first = StageOfTwoUndone(stage);
    RunWorker(stage, ChangeNothing);
    EXPECT_EQ(MiscRedoCount(&stage.image), 0);
    EXPECT_TRUE(MiscDropUnchangedRun(&stage.image));
    ExpectBothAgain(stage, first);
}

TEST(Undo, ARunThatHasMadeSomethingEndsRedoForGood)
{
    Stage stage(GREY, 4, 1);
    const int first = StageOfTwoUndone(stage);
    RunWorker(stage, AddAmount, SCOPE_IMAGE, 10);
    EXPECT_FALSE(MiscDropUnchangedRun(&stage.image));
    RunWorker(stage, ChangeAndStop, SCOPE_IMAGE, 50);
    EXPECT_EQ(MiscRedoCount(&stage.image), 0);
    EXPECT_TRUE(MiscUndo(&stage.image));   // back where the two undone would follow
    EXPECT_EQ(MiscRedoCount(&stage.image), 1);
    ThreadAbortedUtility(&stage.image);
    EXPECT_EQ(MiscRedoCount(&stage.image), 1);
    EXPECT_TRUE(MiscRedo(&stage.image));
    EXPECT_EQ(stage.image.pixels[0], first + 11);
}

TEST(Undo, LabelIsThatOfTheStepToTakeBack)
{
    Stage stage(GREY, 4, 1);
    EXPECT_EQ(MiscUndoLabel(&stage.image), nullptr);
    UndoUtility(&stage.image, 0, 0, 0, 1, nullptr);
    EXPECT_STREQ(MiscUndoLabel(&stage.image), "");
    UndoUtility(&stage.image, 1, 1, 0, 0, "Mirror All");
    EXPECT_STREQ(MiscUndoLabel(&stage.image), "Mirror All");
    MiscUndo(&stage.image);
    EXPECT_STREQ(MiscUndoLabel(&stage.image), "");
}

TEST(Undo, StepsAreListedWithTheNumbersOfWhatIsOnTheirSides)
{
    Stage stage(GREY, 3, 2);
    HistoryStep step;
    EXPECT_FALSE(MiscStepAt(&stage.image, 0, &step));
    std::vector<uint64_t> states = {MiscStateNumber(&stage.image)};
    for (const char *label : {"Wave", "Noise", "Crop"}) {
        UndoUtility(&stage.image, 1, 0, 0, 0, label);
        states.push_back(MiscStateNumber(&stage.image));
    }
    const std::string labels[] = {"Wave", "Noise", "Crop"};
    for (int undone = 0; undone <= 3; ++undone) {   // wherever one stands between them
        for (size_t i = 0; i < 3; ++i) {
            ASSERT_TRUE(MiscStepAt(&stage.image, int32_t(i), &step));
            EXPECT_EQ(step.label, labels[i]);
            EXPECT_EQ(step.before, states[i]) << undone;
            EXPECT_EQ(step.after, states[i + 1]) << undone;
        }
        EXPECT_FALSE(MiscStepAt(&stage.image, 3, &step));
        EXPECT_FALSE(MiscStepAt(&stage.image, -1, &step));
        EXPECT_EQ(MiscUndo(&stage.image), undone < 3);
    }
    UndoUtility(&stage.image, 1, 0, 0, 0, std::string(100, 'x').c_str());
    ASSERT_TRUE(MiscStepAt(&stage.image, 0, &step));
    EXPECT_EQ(step.label, std::string(79, 'x'));
    EXPECT_FALSE(MiscStepAt(&stage.image, 1, &step)) << "a new step ends redo";
}

static void KPZAPI SeeFirstPixel(void *seen, const ImageRecord *before)
{
    *static_cast<int *>(seen) = before->pixels[0];
}

TEST(Undo, WhatItWouldBringBackCanBeLookedAt)
{
    Stage stage(GREY, 4, 1);
    int seen = -1;
    EXPECT_FALSE(MiscLookAtLastStep(&stage.image, SeeFirstPixel, &seen));
    EXPECT_EQ(seen, -1);
    const int first = stage.image.pixels[0];
    RunWorker(stage, AddAmount, SCOPE_IMAGE, 1);
    RunWorker(stage, AddAmount, SCOPE_IMAGE, 1);
    EXPECT_TRUE(MiscLookAtLastStep(&stage.image, SeeFirstPixel, &seen));
    EXPECT_EQ(seen, first + 1);
    MiscUndo(&stage.image);
    EXPECT_TRUE(MiscLookAtLastStep(&stage.image, SeeFirstPixel, &seen));
    EXPECT_EQ(seen, first);
}

TEST(Undo, RedoHasTheLabelOfTheStepItBringsAgain)
{
    Stage stage(GREY, 3, 2);
    EXPECT_EQ(MiscRedoLabel(&stage.image), nullptr);
    UndoUtility(&stage.image, 1, 0, 0, 0, "Wave");
    UndoUtility(&stage.image, 1, 0, 0, 0, "Noise");
    MiscUndo(&stage.image);
    EXPECT_STREQ(MiscRedoLabel(&stage.image), "Noise");
    EXPECT_STREQ(MiscUndoLabel(&stage.image), "Wave");
}

TEST(Undo, AStatesNumberComesBackWithIt)
{
    Stage stage(GREY, 3, 2);
    const uint64_t first = MiscStateNumber(&stage.image);
    UndoUtility(&stage.image, 1, 0, 0, 0, "");
    const uint64_t second = MiscStateNumber(&stage.image);
    UndoUtility(&stage.image, 1, 0, 0, 0, "");
    const uint64_t third = MiscStateNumber(&stage.image);
    EXPECT_NE(first, second);
    EXPECT_NE(second, third);
    MiscUndo(&stage.image);
    EXPECT_EQ(MiscStateNumber(&stage.image), second);
    MiscUndo(&stage.image);
    EXPECT_EQ(MiscStateNumber(&stage.image), first);
    MiscRedo(&stage.image);
    EXPECT_EQ(MiscStateNumber(&stage.image), second);
    UndoUtility(&stage.image, 1, 0, 0, 0, "");
    EXPECT_NE(MiscStateNumber(&stage.image), third) << "another change than the one taken back";
    ThreadAbortedUtility(&stage.image);
    EXPECT_EQ(MiscStateNumber(&stage.image), second) << "an abort brings it back too";
}

static void KPZAPI TakePixels(void *context, const ImageRecord *before)
{
    *static_cast<std::string *>(context) = PixelsOf(*before);
}

static std::string seenDuringRun;

static void KPZAPI ChangeAndLook(EffectBlock *block)
{
    const ImageView &view = block->view;
    memset(view.pixels, 99, StrideFor(view.bitsPerPixel, view.width) * size_t(view.height));
    EXPECT_TRUE(MiscLookBeforeRun(block->header.image, TakePixels, &seenDuringRun));
}

TEST(Undo, ARunningImageShowsWhatItsRunBeganWith)
{
    Stage stage(GREY, 5, 4);
    const std::string before = PixelsOf(stage.image);
    EXPECT_FALSE(MiscLookBeforeRun(&stage.image, TakePixels, &seenDuringRun)) << "nothing runs";
    UndoUtility(&stage.image, 1, 0, 0, 0, "not the run's");
    RunWorker(stage, ChangeAndLook);
    EXPECT_EQ(seenDuringRun, before);
    EXPECT_NE(PixelsOf(stage.image), before);
    EXPECT_FALSE(MiscLookBeforeRun(&stage.image, TakePixels, &seenDuringRun)) << "it has ended";
}

TEST(Undo, OldestStepsAreDropped)
{
    Stage stage(GREY, 4, 1);
    const int first = stage.image.pixels[0];
    MiscKeepUndoSteps(2);
    for (int i = 0; i < 4; ++i) RunWorker(stage, AddAmount, SCOPE_IMAGE, 1);
    EXPECT_EQ(MiscUndoCount(&stage.image), 2);
    while (MiscUndo(&stage.image)) {}
    EXPECT_EQ(stage.image.pixels[0], first + 2);
    MiscKeepUndoSteps(20);
}

TEST(Undo, ARunThatComesToNothingLeavesTheOldestStepToo)
{
    Stage stage(GREY, 4, 1);
    const int first = stage.image.pixels[0];
    MiscKeepUndoSteps(2);
    for (int i = 0; i < 2; ++i) RunWorker(stage, AddAmount, SCOPE_IMAGE, 1);
    RunWorker(stage, ChangeAndStop, SCOPE_IMAGE, 50);
    EXPECT_EQ(MiscUndoCount(&stage.image), 2) << "aborted";
    RunWorker(stage, ChangeNothing);
    EXPECT_EQ(MiscUndoCount(&stage.image), 2) << "no more than are kept";
    EXPECT_TRUE(MiscDropUnchangedRun(&stage.image));
    EXPECT_EQ(MiscUndoCount(&stage.image), 2) << "and dropped";
    RunWorker(stage, AddAmount, SCOPE_IMAGE, 1);
    EXPECT_FALSE(MiscDropUnchangedRun(&stage.image));
    EXPECT_EQ(MiscUndoCount(&stage.image), 2) << "a run that has made something is one of them";
    while (MiscUndo(&stage.image)) {}
    EXPECT_EQ(stage.image.pixels[0], first + 1);
    while (MiscRedo(&stage.image)) {}
    EXPECT_EQ(stage.image.pixels[0], first + 3);
    MiscKeepUndoSteps(20);
}

static void KPZAPI ChangeAndAbort(EffectBlock *block)
{
    const ImageView &view = block->view;
    memset(view.pixels, 99, StrideFor(view.bitsPerPixel, view.width) * size_t(view.height));
    EXPECT_FALSE(MiscLookBeforeRun(block->header.image, TakePixels, &seenDuringRun)) << "there is nothing to see";
    SharedWrite(block->header.image->abortRequest, 1);
}

TEST(Undo, WhereNoStepIsKeptARunCostsNoCopyAndItsAbortThePicture)
{
    Stage stage(GREY, 4, 1);
    const int first = stage.image.pixels[0];
    MiscKeepUndoSteps(0);
    for (int i = 0; i < 3; ++i) RunWorker(stage, AddAmount, SCOPE_IMAGE, 1);
    EXPECT_EQ(stage.image.pixels[0], first + 3);
    EXPECT_EQ(MiscUndoCount(&stage.image), 0);
    EXPECT_FALSE(MiscUndo(&stage.image));
    EXPECT_EQ(stage.image.pixels[0], first + 3);
    RunWorker(stage, ChangeAndAbort);
    EXPECT_TRUE(MiscLastRunAborted(&stage.image));
    EXPECT_EQ(stage.image.pixels, nullptr);
    EXPECT_EQ(stage.image.width, 0);
    MiscKeepUndoSteps(20);
}

TEST(Undo, NothingHappensWithoutAStepOrWhileTheImageRuns)
{
    Stage stage(GREY, 4, 1);
    EXPECT_FALSE(MiscUndo(&stage.image));
    EXPECT_FALSE(MiscRedo(&stage.image));
    UndoUtility(&stage.image, 1, 1, 0, 0, nullptr);
    SharedWrite(stage.image.effectThread, &stage);
    EXPECT_FALSE(MiscUndo(&stage.image));
    SharedWrite(stage.image.effectThread, nullptr);
    EXPECT_TRUE(MiscUndo(&stage.image));
}

TEST(Undo, AbortDropsItsStepAndOnlyThat)
{
    Stage stage(GREY, 4, 1);
    RunWorker(stage, AddAmount, SCOPE_IMAGE, 1);
    const std::string before = BytesOf(stage.image);
    UndoUtility(&stage.image, 1, 1, 0, 0, "Shear All");
    ChangeEverything(stage);
    ThreadAbortedUtility(&stage.image);
    EXPECT_EQ(BytesOf(stage.image), before);
    EXPECT_EQ(MiscUndoCount(&stage.image), 1);
    EXPECT_EQ(MiscRedoCount(&stage.image), 0);
    EXPECT_TRUE(MiscLastRunAborted(&stage.image));
    UndoUtility(&stage.image, 1, 1, 0, 0, nullptr);
    EXPECT_FALSE(MiscLastRunAborted(&stage.image));
}

TEST(Undo, AbortBeforeARunsOwnStepTakesNothingBack)
{
    Stage stage(GREY, 4, 1);
    RunWorker(stage, AddAmount, SCOPE_IMAGE, 1);
    const std::string before = BytesOf(stage.image);
    ThreadAbortedUtility(&stage.image);
    EXPECT_EQ(BytesOf(stage.image), before);
    EXPECT_EQ(MiscUndoCount(&stage.image), 1);
    EXPECT_TRUE(MiscLastRunAborted(&stage.image));
}

TEST(Undo, GoesWithItsImageAndLeavesNoMemoryBehind)
{
    const int32_t blocks = HostAllocatedBlocks();
    {
        Stage stage(RGB, 11, 6, 8);
        Furnish(stage);
        UndoUtility(&stage.image, 1, 1, 0, 0, nullptr);
        ChangeEverything(stage);
        UndoUtility(&stage.image, 1, 1, 0, 0, nullptr);
        MiscUndo(&stage.image);
    }
    EXPECT_EQ(HostAllocatedBlocks(), blocks);
}

TEST(Undo, RemakesTheDisplayCopy)
{
    HostSetDisplayDepth(8);
    Stage stage(RGB, 4, 2);
    memset(stage.image.pixels, 255, StrideFor(24, 4) * 2);
    RunWorker(stage, AddAmount, SCOPE_IMAGE, 1);   // white becomes black
    ASSERT_NE(stage.image.displayCopy, nullptr);
    EXPECT_EQ(stage.image.displayCopy[0], 0);
    MiscUndo(&stage.image);
    EXPECT_EQ(stage.image.displayCopy[0], 215);
    HostSetDisplayDepth(24);
}

//---- When memory is short

// A request that is refused until `steps` steps have been given up. It is larger than any block that was kept.
static void AskWhenShort(int32_t steps)
{
    static uint32_t size = 30 << 20;
    size += size / 2;
    HostRefuseMemory(1 + steps);
    uint8_t *block;
    KPZ_AllocMem(&block, size, 0);
    KPZ_FreeMem(block);
}

TEST(Undo, TheOldestStepsOfAllImagesGoWhenMemoryIsShort)
{
    Stage one(GREY, 4, 1), other(GREY, 4, 1);
    for (Stage *stage : {&one, &one, &other, &one, &other}) RunWorker(*stage, AddAmount, SCOPE_IMAGE, 1);
    MiscUndo(&other.image);
    AskWhenShort(1);
    EXPECT_EQ(MiscUndoCount(&one.image), 2);
    EXPECT_EQ(MiscUndoCount(&other.image), 1);
    AskWhenShort(2);
    EXPECT_EQ(MiscUndoCount(&one.image), 1);
    EXPECT_EQ(MiscUndoCount(&other.image), 0);
    EXPECT_EQ(MiscRedoCount(&other.image), 1);
    const std::string before = PixelsOf(one.image);
    EXPECT_TRUE(MiscUndo(&one.image));
    EXPECT_NE(PixelsOf(one.image), before) << "what is left works";
}

static Stage *newer;

static void KPZAPI AskDuringRun(EffectBlock *)
{
    UndoUtility(&newer->image, 1, 0, 0, 0, "newer than the run's own");
    AskWhenShort(1);
}

TEST(Undo, ARunKeepsTheStepThatItsAbortNeeds)
{
    Stage other(GREY, 4, 1), running(GREY, 4, 1);
    newer = &other;
    RunWorker(running, AskDuringRun);
    EXPECT_EQ(MiscUndoCount(&other.image), 0);
    EXPECT_EQ(MiscUndoCount(&running.image), 1);
}

static void KPZAPI AskAndStop(EffectBlock *block)
{
    AskWhenShort(1);
    SharedWrite(block->header.image->abortRequest, 1);
}

TEST(Undo, WhatOnlyAnAbortWouldBringBackGoesFirstWhenMemoryIsShort)
{
    Stage other(GREY, 4, 1), running(GREY, 4, 1);
    RunWorker(other, AddAmount, SCOPE_IMAGE, 1);
    const int first = StageOfTwoUndone(running);
    RunWorker(running, AskAndStop);
    EXPECT_EQ(MiscUndoCount(&other.image), 1) << "older, but still to be undone";
    EXPECT_EQ(MiscUndoCount(&running.image), 1);
    EXPECT_EQ(MiscRedoCount(&running.image), 1);
    EXPECT_TRUE(MiscRedo(&running.image));
    EXPECT_EQ(running.image.pixels[0], first + 2) << "the nearer of the two is left";

    MiscKeepUndoSteps(2);
    RunWorker(running, AskAndStop);
    EXPECT_EQ(MiscUndoCount(&other.image), 1);
    EXPECT_EQ(MiscUndoCount(&running.image), 1) << "the one that was too many with the run's";
    MiscKeepUndoSteps(20);
}

static void KPZAPI AskDuringLook(void *, const ImageRecord *) { AskWhenShort(1); }

// Steps stay where they are while somebody looks at one: rather the program ends than that they are given up.
TEST(UndoDeathTest, NoStepIsGivenUpWhileOneIsLookedAt)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Stage other(GREY, 4, 1), running(GREY, 4, 1);
    UndoUtility(&other.image, 1, 0, 0, 0, "older");
    SharedWrite(running.image.effectThread, &running);
    UndoUtility(&running.image, 1, 0, 0, 0, "the run's own");
    EXPECT_EXIT(MiscLookBeforeRun(&running.image, AskDuringLook, nullptr), testing::ExitedWithCode(1), "out of memory");
    std::string seen;
    EXPECT_TRUE(MiscLookBeforeRun(&running.image, TakePixels, &seen));
    AskWhenShort(1);
    EXPECT_EQ(MiscUndoCount(&other.image), 0) << "nobody looks any more";
    EXPECT_EQ(MiscUndoCount(&running.image), 1);
    SharedWrite(running.image.effectThread, nullptr);
}
