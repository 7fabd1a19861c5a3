// How a dialog opens and goes.

#include "tests/framework/stage.h"

typedef std::vector<std::string> Names;

//---- Opening

// What is asked of the host while a dialog opens, up to where its script begins.
static Calls CallsOfOpening(Stage &stage, int commandOffset, const Script &script)
{
    return CallsDuring([&] {
        InDialog(stage, commandOffset, [&](HWND dialog) {
            HostStopLog();
            script(dialog);
        });
    });
}

TEST(OpeningADialog, GoesThroughTheHostInThisOrder)
{
    Stage stage;
    const Names steps = {"KPZ_SetupDialogHotkeys", "KPZ_SetWindowPtrSystem", "InitializeFilter",
                         "KPZ_TrackbarSetRange",   "KPZ_SetSpinBoxRange",    "KPZ_SendDlgItemMsg",
                         "KPZ_TrackbarSetPos",     "KPZ_EnableDlgItem",      "KPZ_ShowWindow",
                         "KPZ_SetSpinBoxValue",    "AddToFloaters",          "CenterWindow"};
    const Calls calls = CallsOfOpening(stage, NOISE_COMMAND, [](HWND) {});
    EXPECT_EQ(NamesOf(Only(calls, steps)), steps);
}

TEST(OpeningADialog, GivesItTheHostsKeysAndAPlaceAmongTheFloatingWindows)
{
    Stage stage;
    const HostContext &host = stage.host.context;
    Calls expected;
    const Calls calls = CallsOfOpening(stage, NOISE_COMMAND, [&](HWND dialog) {
        expected = {Called("KPZ_SetupDialogHotkeys", dialog, host.resourceModule),
                    Called("AddToFloaters", dialog, host.floaters), Called("CenterWindow", dialog)};
    });
    EXPECT_EQ(Only(calls, {"KPZ_SetupDialogHotkeys", "AddToFloaters", "CenterWindow"}), expected);
}

TEST(OpeningADialog, SetsThePriorityRangeThenThoseOfTheSpinBoxes)
{
    Stage stage;
    Calls expected;
    const Calls calls = CallsOfOpening(stage, WAVE_COMMAND, [&](HWND dialog) {
        expected = {Called("KPZ_TrackbarSetRange", dialog, PRIORITY_TRACKBAR, 0, 4),
                    Called("KPZ_SetSpinBoxRange", dialog, AMPLITUDE, 1, 50),
                    Called("KPZ_SetSpinBoxRange", dialog, WAVELENGTH, 1, 1000),
                    Called("KPZ_SetSpinBoxRange", dialog, PHASE, 0, 360)};
    });
    EXPECT_EQ(Only(calls, {"KPZ_TrackbarSetRange", "KPZ_SetSpinBoxRange"}), expected);
}

TEST(OpeningADialog, LetsNoiseTake1To100PercentAnd1To255Levels)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        int32_t low, high;
        HostSpinRange(dialog, AMOUNT, &low, &high);
        EXPECT_EQ(std::pair(low, high), std::pair(1, 100));
        HostSpinRange(dialog, VARIATION, &low, &high);
        EXPECT_EQ(std::pair(low, high), std::pair(1, 255));
    });
}

TEST(OpeningADialog, ShowsThePreviewOfTheActiveImagesBlockOnce)
{
    Stage stage(3);
    ActivateImage(stage.host, stage.images[1]);
    LPARAM header = 0;
    const Script lookUp = [&](HWND dialog) { header = HeaderOf(BlockAt(dialog, 1)); };
    const Calls calls = CallsOfOpening(stage, NOISE_COMMAND, lookUp);
    EXPECT_EQ(MessagesTo(PREVIEW_CONTROL, calls), (Messages{{SHOW_PREVIEW, 0, header}}));
}

TEST(OpeningADialog, MakesItTheOpenEffect)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        EXPECT_EQ(stage.host.context.openEffectDialog, dialog);
        EXPECT_STREQ(stage.host.context.openEffectTitle, "Noise");
        EXPECT_EQ(MiscFloaterCount(stage.host.context.floaters), 1);
        EXPECT_EQ(MiscFloaterAt(stage.host.context.floaters, 0), dialog);
    });
}

TEST(OpeningADialog, LeavesItReadyWithThePreviewOn)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        const DialogState &state = *StateOf(dialog);
        EXPECT_EQ(state.dialog, dialog);
        EXPECT_EQ(state.host, &stage.host.context);
        EXPECT_EQ(state.previewOn, 1);
        EXPECT_EQ(state.updatingControls, 0);
        EXPECT_TRUE(KPZ_IsButtonChecked(dialog, PREVIEW_CHECK));
    });
}

// The controls show the block's values, and exactly one scope is chosen.
TEST(OpeningADialog, ShowsTheDefaults)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(dialog, AMOUNT), 15);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(dialog, VARIATION), 10);
        EXPECT_EQ(KPZ_TrackbarGetPos(dialog, PRIORITY_TRACKBAR), 0);
        EXPECT_TRUE(KPZ_IsButtonChecked(dialog, SCOPE_IMAGE_RADIO));
        for (int other : {SCOPE_ALL_RADIO, SCOPE_OBJECTS_RADIO, SCOPE_NEW_OBJECT_RADIO})
            EXPECT_FALSE(KPZ_IsButtonChecked(dialog, other)) << other;
    });
}

TEST(OpeningADialog, LeavesEveryControlEnabledAndAbortHidden)
{
    Stage stage;
    HostShowDialogs(TRUE);
    InNoise(stage, [](HWND dialog) {
        for (HWND child : ChildrenOf(dialog)) EXPECT_TRUE(KPZ_IsWindowEnabled(child));
        EXPECT_FALSE(HostWindowShown(GetDlgItem(dialog, ABORT_BUTTON)));
        EXPECT_TRUE(HostWindowShown(GetDlgItem(dialog, APPLY_BUTTON)));
    });
    HostShowDialogs(FALSE);
}

//---- Blocks

static void ExpectBlocksInListOrder(Stage &stage, HWND dialog)
{
    const size_t count = stage.images.size();
    for (size_t i = 0; i < count; ++i) {
        ASSERT_NE(BlockAt(dialog, int(i)), nullptr) << i;
        EXPECT_EQ(BlockAt(dialog, int(i))->header.image, stage.images[i]) << i;
    }
    for (size_t i = count; i < MAX_SLOTS; ++i) EXPECT_EQ(BlockAt(dialog, int(i)), nullptr) << i;
}

TEST(OpeningADialog, MakesOneBlockForOneImage)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        ExpectBlocksInListOrder(stage, dialog);
        EXPECT_EQ(StateOf(dialog)->currentSlot, 0);
    });
}

TEST(OpeningADialog, MakesThreeBlocksAndTheActiveImagesIsCurrent)
{
    Stage stage(3);
    ActivateImage(stage.host, stage.images[2]);
    InNoise(stage, [&](HWND dialog) {
        ExpectBlocksInListOrder(stage, dialog);
        EXPECT_EQ(StateOf(dialog)->currentSlot, 2);
    });
}

static void OpenTinyPictures(Stage &stage, int count)
{
    for (int i = 0; i < count; ++i) Open(stage, AnyPicture(GREY, 1, 1));
}

TEST(OpeningADialog, MakesAsManyAs500Blocks)
{
    Stage stage(0);
    OpenTinyPictures(stage, 500);
    ActivateImage(stage.host, stage.images[499]);
    InNoise(stage, [&](HWND dialog) {
        ExpectBlocksInListOrder(stage, dialog);
        EXPECT_EQ(StateOf(dialog)->currentSlot, 499);
    });
}

TEST(OpeningADialog, TakesTheFirstSlotWhenTheActiveImageIsNotOnTheList)
{
    Stage stage(2);
    ImageRecord stranger = *stage.images[1];
    stage.host.context.activeImage = &stranger;
    InNoise(stage, [&](HWND dialog) {
        EXPECT_EQ(StateOf(dialog)->currentSlot, 0);
        stage.host.context.activeImage = stage.images[0];
    });
}

TEST(AFreshBlock, KnowsItsSizeImageDialogAndWorker)
{
    Stage stage(2);
    InNoise(stage, [&](HWND dialog) {
        const EffectBlock &block = *BlockAt(dialog, 1);
        EXPECT_EQ(block.view.blockSize, int32_t(sizeof(NoiseBlock)));
        EXPECT_EQ(block.header.owner, dialog);
        EXPECT_EQ(block.header.block, &block);
        EXPECT_NE(block.header.worker, nullptr);
        EXPECT_EQ(block.header.zero, 0);
        EXPECT_STREQ(block.header.title, "Noise");
        EXPECT_EQ(block.header.priority, 0);
        EXPECT_EQ(block.header.image, stage.images[1]);
        EXPECT_EQ(block.previewOn, &StateOf(dialog)->previewOn);
    });
}

TEST(AFreshBlock, HoldsTheEffectsDefaults)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        EXPECT_EQ(CurrentNoise(dialog).amount, 15);
        EXPECT_EQ(CurrentNoise(dialog).variation, 10);
    });
    InWave(stage, [](HWND dialog) {
        const WaveBlock &block = CurrentWave(dialog);
        EXPECT_EQ(block.common.view.blockSize, int32_t(sizeof(WaveBlock)));
        EXPECT_STREQ(block.common.header.title, "Wave");
        EXPECT_EQ(block.amplitude, 10);
        EXPECT_EQ(block.background, 0u);
        EXPECT_EQ(block.wavelength, 20);
        EXPECT_EQ(block.phase, 0);
        EXPECT_EQ(block.orientation, ROWS);
    });
}

// Selected objects are what an effect is meant for when there are any.
TEST(AFreshBlock, KeepsTheScopeThatTheHostGivesIt)
{
    Stage stage(2);
    FloatingObject object = {};
    object.selected = 1;
    FloatingObject *objects[] = {&object};
    stage.images[1]->objectList = {objects, 1, 1};
    InNoise(stage, [](HWND dialog) {
        EXPECT_EQ(BlockAt(dialog, 0)->header.previewMode, SCOPE_IMAGE);
        EXPECT_EQ(BlockAt(dialog, 1)->header.previewMode, SCOPE_OBJECTS);
    });
    stage.images[1]->objectList = {};
}

TEST(AFreshBlock, IsHandedToTheHostToFillItsPart)
{
    Stage stage(2);
    Calls expected;
    const Calls calls = CallsOfOpening(stage, NOISE_COMMAND, [&](HWND dialog) {
        for (int slot : {0, 1})
            expected.push_back(Called("InitializeFilter", HeaderOf(BlockAt(dialog, slot)), stage.images[size_t(slot)]));
    });
    EXPECT_EQ(Only(calls, {"InitializeFilter"}), expected);
}

//---- Going

TEST(AClosedDialog, HasTakenLeaveOfTheHostInThisOrder)
{
    Stage stage;
    HWND dialog = nullptr;
    Calls calls;
    InNoise(stage, [&](HWND opened) {
        dialog = opened;
        calls = CallsDuring([&] { Press(dialog, CLOSE_BUTTON); });
    });
    EXPECT_EQ(
        Only(calls, {"KPZ_DismissDialog", "KPZ_RemoveDialogHotkeys", "RemoveFromFloaters", "KPZ_SetWindowPtrSystem"}),
        (Calls{Called("KPZ_DismissDialog", dialog, 1), Called("KPZ_RemoveDialogHotkeys", dialog),
               Called("RemoveFromFloaters", dialog, stage.host.context.floaters),
               Called("KPZ_SetWindowPtrSystem", dialog, 0)}));
}

TEST(AClosedDialog, IsNoLongerTheOpenEffect)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        Press(dialog, CLOSE_BUTTON);
        EXPECT_EQ(stage.host.context.openEffectDialog, nullptr);
        EXPECT_EQ(stage.host.context.openEffectTitle[0], 0);
        EXPECT_EQ(MiscFloaterCount(stage.host.context.floaters), 0);
    });
}

TEST(AClosedDialog, HasFreedItsBlocksAndThenItsState)
{
    Stage stage(2);
    const int32_t blocksBefore = HostAllocatedBlocks();
    Calls calls, expected;
    InNoise(stage, [&](HWND dialog) {
        DialogState *state = StateOf(dialog);
        expected = {Called("KPZ_FreeMem", state->slots[0]), Called("KPZ_FreeMem", state->slots[1]),
                    Called("KPZ_FreeMem", state)};
        calls = CallsDuring([&] { Press(dialog, CLOSE_BUTTON); });
    });
    calls = Only(calls, {"KPZ_FreeMem"});
    std::erase(calls, Called("KPZ_FreeMem", nullptr));
    EXPECT_EQ(calls, expected);
    EXPECT_EQ(HostAllocatedBlocks(), blocksBefore);
}

// The close box of the window and the Close button are one.
TEST(TheCloseBox, PostsTheCloseCommand)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        LRESULT result = 0;
        const Calls calls = CallsDuring([&] { result = Send(dialog, WM_CLOSE); });
        EXPECT_EQ(result, 1);
        EXPECT_EQ(Only(calls, {"KPZ_SendMsgNoWait", "KPZ_DismissDialog"}),
                  (Calls{Called("KPZ_SendMsgNoWait", dialog, WM_COMMAND, CLOSE_BUTTON, 0)}));
        EXPECT_TRUE(IsOpen(dialog));
        HandlePosted();
        EXPECT_FALSE(IsOpen(dialog));
    });
}
