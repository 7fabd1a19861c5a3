// Runs, from Apply to their end.

#include "tests/framework/stage.h"
#include "tests/reference/reference.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <future>
#include <thread>

// What a run of Wave with these values makes of a picture.
static Picture Waved(const Picture &picture, int amplitude = 10)
{
    Picture result = CopyOf(picture);
    ReferenceWave(result, false, amplitude, 0, 20, 0, false);
    return result;
}

// A picture big enough for Wave to change it.
static Picture WavyPicture(int32_t colourType = RGB) { return AnyPicture(colourType, 50, 20); }

//---- Apply

TEST(Apply, StartsTheRunInThisOrder)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        ImageRecord *image = stage.images[0];
        CurrentBlock(dialog)->header.priority = 3;
        HoldNextRun(image);
        const Calls calls = CallsDuring([&] { Press(dialog, APPLY_BUTTON); });
        EXPECT_EQ(Only(calls, {"KPZ_EnableDlgItem", "KPZ_ShowWindow", "KPZ_CreateThread", "ChooseMenus",
                               "KPZ_SetThreadPriority"}),
                  (Calls{Called("KPZ_EnableDlgItem", dialog, 6900, 1), Called("KPZ_EnableDlgItem", dialog, 6930, 1),
                         Called("KPZ_EnableDlgItem", dialog, 750, 1), Called("KPZ_EnableDlgItem", dialog, 740, 1),
                         Called("KPZ_EnableDlgItem", dialog, 700, 1),
                         Called("KPZ_ShowWindow", GetDlgItem(dialog, ABORT_BUTTON), 1),
                         Called("KPZ_CreateThread", AddressOf(&FilterThread), 32768, HeaderOf(CurrentBlock(dialog))),
                         Called("ChooseMenus", &stage.host.context),
                         Called("KPZ_SetThreadPriority", SharedRead(image->effectThread), 3)}));
    });
}

TEST(Apply, HasTheMenusSeeTheRunUnderWay)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        ImageRecord *image = stage.images[0];
        HoldNextRun(image);
        int asked = 0;
        stage.atMenus = [&] {
            ++asked;
            EXPECT_EQ(SharedRead(image->runStarted), 1);
            EXPECT_TRUE(IsRunning(image));
            EXPECT_FALSE(IsEnabled(dialog, CLOSE_BUTTON));
        };
        EXPECT_EQ(SharedRead(image->runStarted), 0);
        Press(dialog, APPLY_BUTTON);
        EXPECT_EQ(asked, 1);
        stage.atMenus = nullptr;
    });
}

TEST(Apply, LeavesTheAbortRequestToTheRun)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        ImageRecord *image = stage.images[0];
        SharedWrite(image->abortRequest, 1);
        int32_t seen = 0;
        stage.atMenus = [&] { seen = SharedRead(image->abortRequest); };
        ApplyAndHold(dialog, image);
        stage.atMenus = nullptr;
        EXPECT_EQ(seen, 1);
        EXPECT_EQ(SharedRead(image->abortRequest), 0);
    });
}

TEST(Apply, OnARunningImageDoesNothing)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, stage.images[0]);
        LRESULT result = 0;
        EXPECT_EQ(CallsAfter(dialog, WM_COMMAND, APPLY_BUTTON, 0, result), Calls{});
        EXPECT_EQ(result, 1);
    });
}

//---- A scope chosen while a run is under way

TEST(Apply, AScopeChosenDuringARunIsTheNextRuns)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        ImageRecord *image = stage.images[0];
        ApplyAndHold(dialog, image);
        Command(dialog, SCOPE_NEW_OBJECT_RADIO);
        LetGo(image);
        WaitForRuns();
        EXPECT_EQ(image->objectList.count, 0);
        EXPECT_EQ(CurrentBlock(dialog)->header.previewMode, SCOPE_NEW_OBJECT);
        EXPECT_TRUE(KPZ_IsButtonChecked(dialog, SCOPE_NEW_OBJECT_RADIO));
        ApplyAndWait(dialog);
        EXPECT_EQ(image->objectList.count, 1);
    });
}

// Whenever it comes: the run that begins takes one or the other. For the thread sanitizer above all.
TEST(Apply, AScopeMayBeChosenWhileARunReadsIt)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        for (int run = 0; run < 20; ++run) {
            Press(dialog, APPLY_BUTTON);
            for (int i = 0; i < 50 && IsRunning(stage.images[0]); ++i) {
                Command(dialog, SCOPE_ALL_RADIO);
                Command(dialog, SCOPE_IMAGE_RADIO);
            }
            WaitForRuns();
            EXPECT_EQ(CurrentBlock(dialog)->header.previewMode, SCOPE_IMAGE);
        }
        EXPECT_EQ(MiscUndoCount(stage.images[0]), 20);
    });
}

//---- The scope of a run under way

TEST(DuringARun, AChosenScopeWaitsForTheNextRun)
{
    Stage stage(2);
    InNoise(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, stage.images[0]);
        EffectBlock *block = CurrentBlock(dialog);
        EXPECT_EQ(Command(dialog, SCOPE_OBJECTS_RADIO), 1);
        EXPECT_EQ(Command(dialog, SCOPE_ALL_RADIO), 1);
        EXPECT_EQ(SharedRead(block->header.previewMode), SCOPE_IMAGE);
        ActivateImage(stage.host, stage.images[1]);
        LetGo(stage.images[0]);
        WaitForRuns();
        EXPECT_EQ(CurrentBlock(dialog)->header.previewMode, SCOPE_IMAGE);
        ActivateImage(stage.host, stage.images[0]);
        EXPECT_EQ(block->header.previewMode, SCOPE_ALL);
        EXPECT_TRUE(KPZ_IsButtonChecked(dialog, SCOPE_ALL_RADIO));
    });
}

TEST(DuringARun, AChosenScopeIsShownWhenTheRunHasEnded)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, stage.images[0]);
        Command(dialog, SCOPE_ALL_RADIO);
        LetGo(stage.images[0]);
        WaitForRuns();
        EXPECT_EQ(CurrentBlock(dialog)->header.previewMode, SCOPE_ALL);
        EXPECT_TRUE(KPZ_IsButtonChecked(dialog, SCOPE_ALL_RADIO));
    });
}

//---- Controls during a run and after

static std::vector<int> EnabledOf(HWND dialog, const std::vector<int> &ids)
{
    std::vector<int> enabled;
    for (int id : ids)
        if (IsEnabled(dialog, id)) enabled.push_back(id);
    return enabled;
}

static int EnabledChildren(HWND dialog)
{
    int count = 0;
    for (HWND child : ChildrenOf(dialog)) count += KPZ_IsWindowEnabled(child) != 0;
    return count;
}

static const std::vector<int> USABLE_DURING_A_RUN = {ABORT_BUTTON, PRIORITY_TRACKBAR, 700, 740, 750};

TEST(DuringARun, OnlyAbortPriorityAndZoomCanBeUsed)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, stage.images[0]);
        EXPECT_EQ(EnabledOf(dialog, USABLE_DURING_A_RUN), USABLE_DURING_A_RUN);
        EXPECT_EQ(EnabledChildren(dialog), int(USABLE_DURING_A_RUN.size()));
    });
}

TEST(DuringARun, AbortIsShown)
{
    Stage stage;
    HostShowDialogs(TRUE);
    InNoise(stage, [&](HWND dialog) {
        EXPECT_FALSE(HostWindowShown(GetDlgItem(dialog, ABORT_BUTTON)));
        ApplyAndHold(dialog, stage.images[0]);
        EXPECT_TRUE(HostWindowShown(GetDlgItem(dialog, ABORT_BUTTON)));
        LetGo(stage.images[0]);
        WaitForRuns();
        EXPECT_FALSE(HostWindowShown(GetDlgItem(dialog, ABORT_BUTTON)));
    });
    HostShowDialogs(FALSE);
}

TEST(AfterARun, EveryControlCanBeUsedAgain)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        ApplyAndWait(dialog);
        EXPECT_EQ(EnabledChildren(dialog), int(ChildrenOf(dialog).size()));
        EXPECT_FALSE(IsRunning(stage.images[0]));
    });
}

TEST(DuringARun, ThePriorityReachesBlockAndThread)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, stage.images[0]);
        const ThreadHandle thread = SharedRead(stage.images[0]->effectThread);
        KPZ_TrackbarSetPos(dialog, PRIORITY_TRACKBAR, 4);
        const Calls calls = CallsDuring([&] { Command(dialog, PRIORITY_TRACKBAR); });
        EXPECT_EQ(Only(calls, {"KPZ_SetThreadPriority"}), (Calls{Called("KPZ_SetThreadPriority", thread, 4)}));
        EXPECT_EQ(SharedRead(CurrentBlock(dialog)->header.priority), 4);
    });
}

//---- What a run leaves

TEST(ARun, ChangesThePictureAsItsWorkerDoes)
{
    for (int32_t type : {RGB, GREY, PALETTE, ONE_BIT}) {
        Stage stage(0);
        ImageRecord *image = Open(stage, WavyPicture(type));
        const Picture expected = Waved(PictureOf(image));
        InWave(stage, [](HWND dialog) { ApplyAndWait(dialog); });
        EXPECT_EQ(PictureOf(image), expected) << type;
        EXPECT_TRUE(stage.boxes.empty());
    }
}

TEST(ARun, CanBeUndoneUnderTheEffectsTitle)
{
    Stage stage;
    ImageRecord *image = stage.images[0];
    const Picture before = PictureOf(image);
    InNoise(stage, [](HWND dialog) {
        CurrentNoise(dialog).amount = 100;
        ApplyAndWait(dialog);
    });
    EXPECT_FALSE(PictureOf(image) == before);
    EXPECT_EQ(MiscUndoCount(image), 1);
    EXPECT_STREQ(MiscUndoLabel(image), "Noise");
    EXPECT_FALSE(MiscLastRunAborted(image));
    EXPECT_TRUE(MiscUndo(image));
    EXPECT_EQ(PictureOf(image), before);
}

TEST(ARun, TellsTheDialogOnceWhenItEnds)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        HoldNextRun(stage.images[0]);
        Press(dialog, APPLY_BUTTON);
        const Calls calls = CallsDuring([&] {
            LetGo(stage.images[0]);
            WaitForRuns();
        });
        EXPECT_EQ(CountOf(calls, "ChooseMenus"), 1);
        EXPECT_EQ(MessagesTo(PREVIEW_CONTROL, calls), (Messages{{SHOW_PREVIEW, 0, HeaderOf(CurrentBlock(dialog))}}));
    });
}

// The mask plane comes after the picture, long after the edit.
TEST(ARunOfWave, DoesNotSeeEditsOfItsBlock)
{
    Stage stage(0);
    std::mt19937 generator(7);
    Picture picture = WavyPicture();
    AddRandomMask(picture, 8, generator);
    const Picture expected = Waved(picture);
    ImageRecord *image = Open(stage, std::move(picture));
    InWave(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, image, 3);
        KPZ_SetSpinBoxValue(dialog, AMPLITUDE, 40);
        Command(dialog, COLUMNS);
        LetGo(image);
        WaitForRuns();
        EXPECT_EQ(CurrentWave(dialog).amplitude, 40);
        EXPECT_EQ(CurrentWave(dialog).orientation, COLUMNS);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(dialog, AMPLITUDE), 40);
    });
    EXPECT_EQ(PictureOf(image), expected);
}

static int LargestChange(const Picture &before, const Picture &after)
{
    int largest = 0;
    for (int32_t y = 0; y < before.height; ++y)
        for (int32_t x = 0; x < before.width; ++x)
            largest = std::max(largest, std::abs(int(PixelOf(before, x, y)) - int(PixelOf(after, x, y))));
    return largest;
}

TEST(ARunOfNoise, DoesNotSeeEditsOfItsBlock)
{
    Stage stage(0);
    ImageRecord *image = Open(stage, AnyPicture(GREY, 30, 30));
    const Picture before = PictureOf(image);
    InNoise(stage, [&](HWND dialog) {
        Type(dialog, AMOUNT_EDIT, "100");
        Type(dialog, VARIATION_EDIT, "1");
        ApplyAndHold(dialog, image, 3);
        KPZ_SetSpinBoxValue(dialog, VARIATION, 255);
        LetGo(image);
        WaitForRuns();
        EXPECT_EQ(CurrentNoise(dialog).variation, 255);
    });
    EXPECT_EQ(LargestChange(before, PictureOf(image)), 1);
}

TEST(ARun, TakesTheNextRunsValuesFromTheBlock)
{
    Stage stage(0);
    ImageRecord *image = Open(stage, WavyPicture());
    const Picture expected = Waved(Waved(PictureOf(image)), 40);
    InWave(stage, [](HWND dialog) {
        ApplyAndWait(dialog);
        Type(dialog, AMPLITUDE_EDIT, "40");
        ApplyAndWait(dialog);
    });
    EXPECT_EQ(PictureOf(image), expected);
    EXPECT_EQ(MiscUndoCount(image), 2);
}

// The run may be over before its thread's handle is stored.
TEST(ARunOfOnePixel, LosesNoHandle)
{
    Stage stage(0);
    ImageRecord *image = Open(stage, AnyPicture(RGB, 1, 1));
    InNoise(stage, [&](HWND dialog) {
        int underWay = 0;
        stage.atMenus = [&] { underWay += IsRunning(image); };
        for (int i = 1; i <= 100; ++i) {
            ApplyAndWait(dialog);
            ASSERT_EQ(underWay, i);
            ASSERT_FALSE(IsRunning(image));
            ASSERT_TRUE(IsEnabled(dialog, APPLY_BUTTON));
        }
        stage.atMenus = nullptr;
    });
}

TEST(ARunOfAnRgbPicture, BringsTheCopyForAnEightBitDisplayUpToDate)
{
    HostSetDisplayDepth(8);
    Stage stage(0);
    ImageRecord *image = Open(stage, WavyPicture());
    const std::vector<uint8_t> copyBefore(image->displayCopy, image->displayCopy + RowStride(8, 50) * 20);
    InWave(stage, [](HWND dialog) { ApplyAndWait(dialog); });

    uint8_t *expected = nullptr;
    Update8BitVersion(image->pixels, &expected, 50, 20, image->red, image->green, image->blue, 0);
    const std::vector<uint8_t> copy(image->displayCopy, image->displayCopy + RowStride(8, 50) * 20);
    EXPECT_NE(copy, copyBefore);
    EXPECT_EQ(copy, std::vector<uint8_t>(expected, expected + copy.size()));
    KPZ_FreeMem(expected);
    HostSetDisplayDepth(24);
}

//---- Noise's warning

static const char WRONG_TYPE[] =
    "This function works only on RGB (24 bit) or Grayscale images.  Try changing Color Type.";

TEST(NoiseOnPaletteAndOneBitPictures, WarnsAndRunsAllTheSame)
{
    for (int32_t type : {PALETTE, ONE_BIT}) {
        Stage stage(1);
        ImageRecord *image = Open(stage, AnyPicture(type));
        const Picture before = PictureOf(image);
        InNoise(stage, [&](HWND dialog) {
            ActivateImage(stage.host, image);
            bool ranAtBox = true;
            stage.atBox = [&] { ranAtBox = IsRunning(image) || !IsEnabled(dialog, APPLY_BUTTON); };
            const Calls calls = CallsDuring([&] { ApplyAndWait(dialog); });
            EXPECT_FALSE(ranAtBox);
            EXPECT_EQ(CountOf(calls, "KPZ_CreateThread"), 1);
            ASSERT_EQ(stage.boxes.size(), 1u);
            EXPECT_EQ(stage.boxes[0].owner, dialog);
            EXPECT_EQ(stage.boxes[0].text, WRONG_TYPE);
            EXPECT_EQ(stage.boxes[0].title, "Velmorant: Function Error");
            EXPECT_EQ(stage.boxes[0].style, 0x10);
        });
        EXPECT_EQ(PictureOf(image), before);
        EXPECT_EQ(MiscUndoCount(image), 1);
    }
}

// The warning comes before the question whether the image runs. An image that is not a picture for Noise is held by
// its lock, since the worker reports nothing.
TEST(NoiseOnPaletteAndOneBitPictures, WarnsAlsoWhileTheImageRuns)
{
    Stage stage(1);
    ImageRecord *image = Open(stage, AnyPicture(PALETTE));
    InNoise(stage, [&](HWND dialog) {
        ActivateImage(stage.host, image);
        ASSERT_TRUE(KPZ_GetMutexSem(image->imageLock, 0));
        Press(dialog, APPLY_BUTTON);
        const Calls calls = CallsDuring([&] { Command(dialog, APPLY_BUTTON); });
        KPZ_ReleaseMutexSem(image->imageLock);
        EXPECT_EQ(stage.boxes.size(), 2u);
        EXPECT_EQ(CountOf(calls, "KPZ_CreateThread"), 0);
    });
}

// While the box is up a person may close what it is about.
TEST(NoiseOnPaletteAndOneBitPictures, RunsNothingWhenTheImageWasClosedBehindTheWarning)
{
    Stage stage(1);
    ImageRecord *image = Open(stage, AnyPicture(PALETTE));
    InNoise(stage, [&](HWND dialog) {
        ActivateImage(stage.host, image);
        stage.atBox = [&] { Close(stage, image); };
        const Calls calls = CallsDuring([&] { ApplyAndWait(dialog); });
        EXPECT_EQ(stage.boxes.size(), 1u);
        EXPECT_EQ(CountOf(calls, "KPZ_CreateThread"), 0);
        EXPECT_TRUE(IsOpen(dialog));
        EXPECT_TRUE(IsEnabled(dialog, APPLY_BUTTON));
    });
}

TEST(NoiseOnPaletteAndOneBitPictures, RunsNothingWhenTheDialogHasGoneBehindTheWarning)
{
    Stage stage(0);
    ImageRecord *image = Open(stage, AnyPicture(PALETTE));
    InNoise(stage, [&](HWND dialog) {
        stage.atBox = [&] { KPZ_DismissDialog(dialog, 1); };
        const Calls calls = CallsDuring([&] { ApplyAndWait(dialog); });
        EXPECT_EQ(stage.boxes.size(), 1u);
        EXPECT_EQ(CountOf(calls, "KPZ_CreateThread"), 0);
        EXPECT_FALSE(IsOpen(dialog));
    });
    EXPECT_EQ(MiscUndoCount(image), 0);
}

TEST(NoiseOnRgbAndGreyPictures, WarnsOfNothing)
{
    for (int32_t type : {RGB, GREY}) {
        Stage stage(0);
        Open(stage, AnyPicture(type));
        InNoise(stage, [](HWND dialog) { ApplyAndWait(dialog); });
        EXPECT_TRUE(stage.boxes.empty()) << type;
    }
}

//---- Closing while something runs

static const char STILL_RUNNING[] =
    "The Noise function is running on some images, abort those images or wait for them to finish";

TEST(ClosingWhileOneOfTwoImagesRuns, IsRefusedWithOneBox)
{
    Stage stage(2);
    InNoise(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, stage.images[0]);
        ActivateImage(stage.host, stage.images[1]);
        Press(dialog, CLOSE_BUTTON);
        EXPECT_TRUE(IsOpen(dialog));
        ASSERT_EQ(stage.boxes.size(), 1u);
        EXPECT_EQ(stage.boxes[0].owner, dialog);
        EXPECT_EQ(stage.boxes[0].text, STILL_RUNNING);
        EXPECT_EQ(stage.boxes[0].title, "Noise Error");
        EXPECT_EQ(stage.boxes[0].style, 0x10);
        EXPECT_TRUE(IsRunning(stage.images[0]));
        EXPECT_EQ(SharedRead(stage.images[0]->abortRequest), 0);
    });
}

TEST(ClosingWhileTwoOfThreeImagesRun, IsRefusedWithOneBox)
{
    Stage stage(3);
    InNoise(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, stage.images[0]);
        ActivateImage(stage.host, stage.images[1]);
        ApplyAndHold(dialog, stage.images[1]);
        ActivateImage(stage.host, stage.images[2]);
        Press(dialog, CLOSE_BUTTON);
        EXPECT_TRUE(IsOpen(dialog));
        EXPECT_EQ(stage.boxes.size(), 1u);
    });
}

TEST(ClosingWhileAnImageRuns, NamesTheEffect)
{
    Stage stage(0);
    Open(stage, WavyPicture());
    Open(stage, WavyPicture());
    InWave(stage, [&](HWND dialog) {
        ActivateImage(stage.host, stage.images[1]);
        ApplyAndHold(dialog, stage.images[1]);
        ActivateImage(stage.host, stage.images[0]);
        Press(dialog, CLOSE_BUTTON);
        ASSERT_EQ(stage.boxes.size(), 1u);
        EXPECT_EQ(stage.boxes[0].text,
                  "The Wave function is running on some images, abort those images or wait for them to finish");
        EXPECT_EQ(stage.boxes[0].title, "Wave Error");
    });
}

TEST(ClosingWhileTheActiveImageRuns, IsIgnoredSinceTheButtonIsGreyed)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, stage.images[0]);
        Send(dialog, WM_CLOSE);
        HandlePosted();
        EXPECT_TRUE(IsOpen(dialog));
        EXPECT_TRUE(stage.boxes.empty());
    });
}

TEST(ClosingAfterTheRuns, IsAllowedAgain)
{
    Stage stage(2);
    InNoise(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, stage.images[0]);
        ActivateImage(stage.host, stage.images[1]);
        LetGo(stage.images[0]);
        WaitForRuns();
        Press(dialog, CLOSE_BUTTON);
        EXPECT_FALSE(IsOpen(dialog));
        EXPECT_TRUE(stage.boxes.empty());
    });
}

//---- Several images

static std::vector<Picture> WavedPictures(const Stage &stage)
{
    std::vector<Picture> pictures;
    for (const ImageRecord *image : stage.images) pictures.push_back(Waved(PictureOf(image)));
    return pictures;
}

static void ExpectPictures(const Stage &stage, const std::vector<Picture> &expected)
{
    for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(PictureOf(stage.images[i]), expected[i]) << i;
}

TEST(SeveralImages, RunAtTheSameTime)
{
    Stage stage(0);
    for (int32_t type : {RGB, GREY, PALETTE, ONE_BIT}) Open(stage, WavyPicture(type));
    const std::vector<Picture> expected = WavedPictures(stage);
    InWave(stage, [&](HWND dialog) {
        for (ImageRecord *image : stage.images) {
            ActivateImage(stage.host, image);
            ApplyAndHold(dialog, image, 5);
        }
        for (ImageRecord *image : stage.images) EXPECT_TRUE(IsRunning(image));
        for (ImageRecord *image : stage.images) LetGo(image);
        WaitForRuns();
    });
    ExpectPictures(stage, expected);
}

TEST(SwitchingWhileAnImageRuns, ShowsEachImageAsItIs)
{
    Stage stage(2);
    InNoise(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, stage.images[0]);
        ActivateImage(stage.host, stage.images[1]);
        EXPECT_EQ(EnabledChildren(dialog), int(ChildrenOf(dialog).size()));
        ActivateImage(stage.host, stage.images[0]);
        EXPECT_EQ(EnabledChildren(dialog), int(USABLE_DURING_A_RUN.size()));
    });
}

// The end of another image's run says nothing about the active one.
TEST(TheEndOfAnotherImagesRun, LeavesTheControlsToTheActiveOne)
{
    Stage stage(2);
    InNoise(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, stage.images[0]);
        ActivateImage(stage.host, stage.images[1]);
        ApplyAndHold(dialog, stage.images[1]);
        LetGo(stage.images[0]);
        WaitForRun(stage.images[0]);
        EXPECT_FALSE(IsRunning(stage.images[0]));
        EXPECT_EQ(EnabledChildren(dialog), int(USABLE_DURING_A_RUN.size()));
    });
}

TEST(OpeningAnImageWhileAnotherRuns, GivesItABlockThatCanRun)
{
    Stage stage(0);
    Open(stage, WavyPicture());
    std::vector<Picture> expected = WavedPictures(stage);
    InWave(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, stage.images[0], 2);
        Open(stage, WavyPicture(GREY));
        EXPECT_EQ(EnabledChildren(dialog), int(USABLE_DURING_A_RUN.size()));
        expected.push_back(Waved(PictureOf(stage.images[1])));
        ActivateImage(stage.host, stage.images[1]);
        HoldNextRun(stage.images[1], -1);
        Press(dialog, APPLY_BUTTON);
        WaitForRun(stage.images[1]);
        EXPECT_TRUE(IsRunning(stage.images[0]));
        LetGo(stage.images[0]);
        WaitForRuns();
    });
    ExpectPictures(stage, expected);
}

TEST(ClosingAnImageWhileAnotherRuns, LeavesTheRunAlone)
{
    Stage stage(0);
    for (int i = 0; i < 3; ++i) Open(stage, WavyPicture());
    const std::vector<Picture> expected = WavedPictures(stage);
    InWave(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, stage.images[0], 2);
        Close(stage, stage.images[2]);
        Close(stage, stage.images[1]);
        EXPECT_EQ(BlockAt(dialog, 1), nullptr);
        EXPECT_TRUE(IsRunning(stage.images[0]));
        LetGo(stage.images[0]);
        WaitForRuns();
    });
    EXPECT_EQ(PictureOf(stage.images[0]), expected[0]);
}

// The host ends an image's run before it lets the image go, so no block is freed under a worker.
TEST(ClosingARunningImage, EndsItsRunFirst)
{
    Stage stage(2);
    InNoise(stage, [&](HWND dialog) {
        ImageRecord *image = stage.images[0];
        ApplyAndHold(dialog, image, 2);
        ActivateImage(stage.host, stage.images[1]);
        SharedWrite(image->abortRequest, 1);
        LetGo(image);
        Close(stage, image);
        EXPECT_EQ(BlockAt(dialog, 0), nullptr);
        EXPECT_EQ(StateOf(dialog)->currentSlot, 1);
        EXPECT_TRUE(IsOpen(dialog));
        ApplyAndWait(dialog);
        EXPECT_TRUE(IsEnabled(dialog, APPLY_BUTTON));
    });
}

TEST(ClosingTheLastImageWhileItRuns, EndsItsRunAndTheDialog)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, stage.images[0], 2);
        LetGo(stage.images[0]);
        Close(stage, stage.images[0]);
        EXPECT_FALSE(IsOpen(dialog));
        EXPECT_TRUE(stage.boxes.empty());
    });
}

//---- Abort

static void ExpectAsBefore(const ImageRecord *image, const Picture &before, int32_t undoCount, int report)
{
    EXPECT_TRUE(SameBytes(PictureOf(image), before)) << report;
    EXPECT_EQ(MiscUndoCount(image), undoCount) << report;
    EXPECT_TRUE(MiscLastRunAborted(image)) << report;
    EXPECT_FALSE(IsRunning(image)) << report;
}

// Aborts runs of the active image one after another, each at its next progress report, and one beyond the last.
static void AbortAtEveryReport(HWND dialog, ImageRecord *image, int reports)
{
    const Picture before = PictureOf(image);
    const int32_t undoCount = MiscUndoCount(image), blocks = HostAllocatedBlocks();
    for (int report = 0; report < reports; ++report) {
        AbortNextRun(image, report);
        ApplyAndWait(dialog);
        EXPECT_EQ(ReportsOf(image), report + 1);
        ExpectAsBefore(image, before, undoCount, report);
        EXPECT_EQ(HostAllocatedBlocks(), blocks) << report;
        EXPECT_TRUE(IsEnabled(dialog, APPLY_BUTTON)) << report;
    }
}

TEST(AnAbort, OfNoiseAtAnyRowLeavesTheImageAsBefore)
{
    for (int32_t type : {RGB, GREY}) {
        Stage stage(0);
        ImageRecord *image = Open(stage, AnyPicture(type, 16, 12));
        InNoise(stage, [&](HWND dialog) {
            CurrentNoise(dialog).amount = 100;
            AbortAtEveryReport(dialog, image, 12);
        });
    }
}

TEST(AnAbort, OfWaveAtAnyRowOfPictureOrMaskLeavesTheImageAsBefore)
{
    std::mt19937 generator(7);
    for (int32_t type : {RGB, GREY, PALETTE, ONE_BIT}) {
        Stage stage(0);
        Picture picture = AnyPicture(type, 40, 12);
        AddRandomMask(picture, type == RGB || type == GREY ? 8 : 1, generator);
        ImageRecord *image = Open(stage, std::move(picture));
        InWave(stage, [&](HWND dialog) { AbortAtEveryReport(dialog, image, 2 * 12); });
    }
}

TEST(AnAbort, OfWaveAtAnyColumnLeavesTheImageAsBefore)
{
    Stage stage(0);
    ImageRecord *image = Open(stage, AnyPicture(RGB, 20, 40));
    InWave(stage, [&](HWND dialog) {
        Choose(dialog, COLUMNS);
        AbortAtEveryReport(dialog, image, 20);
    });
}

TEST(AnAbort, KeepsTheStepsOfEarlierRuns)
{
    Stage stage(0);
    ImageRecord *image = Open(stage, WavyPicture());
    const Picture before = PictureOf(image), once = Waved(before);
    InWave(stage, [&](HWND dialog) {
        ApplyAndWait(dialog);
        AbortNextRun(image, 4);
        ApplyAndWait(dialog);
    });
    ExpectAsBefore(image, once, 1, 4);
    EXPECT_TRUE(MiscUndo(image));
    EXPECT_EQ(PictureOf(image), before);
}

TEST(AnAbort, ComesFromTheButtonWhileTheImageRuns)
{
    Stage stage(2);
    ImageRecord *image = stage.images[0];
    const Picture before = PictureOf(image);
    InNoise(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, image, 2);
        Press(dialog, ABORT_BUTTON);
        LetGo(image);
        WaitForRuns();
        EXPECT_EQ(ReportsOf(image), 3);
        ExpectAsBefore(image, before, 0, 2);
    });
}

// What is aborted is the active image's run.
TEST(AnAbort, LeavesOtherRunsAlone)
{
    Stage stage(0);
    for (int i = 0; i < 2; ++i) Open(stage, WavyPicture());
    std::vector<Picture> expected = WavedPictures(stage);
    expected[1] = PictureOf(stage.images[1]);
    InWave(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, stage.images[0], 2);
        ActivateImage(stage.host, stage.images[1]);
        ApplyAndHold(dialog, stage.images[1], 2);
        Press(dialog, ABORT_BUTTON);
        for (ImageRecord *image : stage.images) LetGo(image);
        WaitForRuns();
    });
    ExpectPictures(stage, expected);
    EXPECT_FALSE(MiscLastRunAborted(stage.images[0]));
    EXPECT_TRUE(MiscLastRunAborted(stage.images[1]));
}

// Menus follow the active image, whatever its run is doing, its restoring included.
TEST(AnAbort, LetsTheMenusBeEvaluatedAtAnyTime)
{
    Stage stage;
    ImageRecord *image = stage.images[0];
    InNoise(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, image, 2);
        Press(dialog, ABORT_BUTTON);
        LetGo(image);
        while (IsRunning(image)) ChooseMenus(&stage.host.context);
        WaitForRuns();
    });
    EXPECT_TRUE(MiscLastRunAborted(image));
}

TEST(AnAbort, IsForgottenByTheNextRun)
{
    Stage stage(0);
    ImageRecord *image = Open(stage, WavyPicture());
    const Picture expected = Waved(PictureOf(image));
    InWave(stage, [&](HWND dialog) {
        AbortNextRun(image, 0);
        ApplyAndWait(dialog);
        HoldNextRun(image, -1);
        ApplyAndWait(dialog);
    });
    EXPECT_EQ(PictureOf(image), expected);
    EXPECT_FALSE(MiscLastRunAborted(image));
}

//---- Locks

// Another thread holds a lock for as long as this lives.
struct HeldLock {
    std::promise<void> taken, release;
    std::thread holder;

    explicit HeldLock(SemaphoreHandle lock)
    {
        holder = std::thread([this, lock] {
            KPZ_GetMutexSem(lock, 0);
            taken.set_value();
            release.get_future().wait();
            KPZ_ReleaseMutexSem(lock);
        });
        taken.get_future().wait();
    }
    ~HeldLock()
    {
        release.set_value();
        holder.join();
    }
};

TEST(ARunWithoutTheImageLock, EndsAfterFiveSecondsAndChangesNothing)
{
    Stage stage(0);
    ImageRecord *image = Open(stage, WavyPicture());
    const Picture before = PictureOf(image);
    const HeldLock lock(image->imageLock);
    InWave(stage, [&](HWND dialog) {
        const auto start = std::chrono::steady_clock::now();
        const Calls calls = CallsDuring([&] { ApplyAndWait(dialog); });
        const std::chrono::duration<double> waited = std::chrono::steady_clock::now() - start;
        EXPECT_GE(waited.count(), 4.9);
        EXPECT_EQ(CountOf(calls, "ChooseMenus"), 2);   // at its start and at its end
        EXPECT_FALSE(IsRunning(image));
        EXPECT_EQ(EnabledChildren(dialog), int(ChildrenOf(dialog).size()));
    });
    EXPECT_TRUE(SameBytes(PictureOf(image), before));
    EXPECT_EQ(MiscUndoCount(image), 0);
    EXPECT_FALSE(MiscLastRunAborted(image));
}

TEST(ARun, WaitsForTheImageLock)
{
    Stage stage(0);
    ImageRecord *image = Open(stage, WavyPicture());
    const Picture expected = Waved(PictureOf(image));
    InWave(stage, [&](HWND dialog) {
        {
            const HeldLock lock(image->imageLock);
            HoldNextRun(image, -1);
            Press(dialog, APPLY_BUTTON);
            EXPECT_TRUE(IsRunning(image));
            EXPECT_EQ(ReportsOf(image), 0);
        }
        WaitForRuns();
    });
    EXPECT_EQ(PictureOf(image), expected);
}
