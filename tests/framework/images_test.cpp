// What a dialog does when images are opened, closed and activated.

#include "tests/framework/stage.h"

static void SetNoise(NoiseBlock &block, int32_t amount, int32_t variation)
{
    block.amount = amount;
    block.variation = variation;
}

static std::pair<int, int> ShownNoise(HWND dialog)
{
    return {KPZ_GetSpinBoxIntValue(dialog, AMOUNT), KPZ_GetSpinBoxIntValue(dialog, VARIATION)};
}

//---- REFRESH_PREVIEW

TEST(RefreshingThePreview, ShowsTheCurrentBlock)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        LRESULT result = 0;
        const Messages messages = MessagesTo(PREVIEW_CONTROL, [&] { result = Send(dialog, REFRESH_PREVIEW); });
        EXPECT_EQ(messages, (Messages{{SHOW_PREVIEW, 0, HeaderOf(CurrentBlock(dialog))}}));
        EXPECT_EQ(result, 1);
    });
}

TEST(RefreshingThePreview, ShowsNothingWhileThePreviewIsOff)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        Tick(dialog, PREVIEW_CHECK, false);
        LRESULT result = 0;
        EXPECT_EQ(MessagesTo(PREVIEW_CONTROL, [&] { result = Send(dialog, REFRESH_PREVIEW); }), Messages{});
        EXPECT_EQ(result, 1);
    });
}

//---- ACTIVE_IMAGE_CHANGED

TEST(ActivatingAnImage, ShowsTheValuesOfItsBlock)
{
    Stage stage(3);
    InNoise(stage, [&](HWND dialog) {
        SetNoise(NoiseAt(dialog, 2), 70, 80);
        BlockAt(dialog, 2)->header.priority = 3;
        BlockAt(dialog, 2)->header.previewMode = SCOPE_ALL;
        const Messages messages = MessagesTo(PREVIEW_CONTROL, [&] { ActivateImage(stage.host, stage.images[2]); });
        EXPECT_EQ(StateOf(dialog)->currentSlot, 2);
        EXPECT_EQ(ShownNoise(dialog), std::pair(70, 80));
        EXPECT_EQ(KPZ_TrackbarGetPos(dialog, PRIORITY_TRACKBAR), 3);
        EXPECT_TRUE(KPZ_IsButtonChecked(dialog, SCOPE_ALL_RADIO));
        EXPECT_FALSE(KPZ_IsButtonChecked(dialog, SCOPE_IMAGE_RADIO));
        EXPECT_EQ(messages, (Messages{{SHOW_PREVIEW, 0, HeaderOf(BlockAt(dialog, 2))}}));
    });
}

// A spin box that is written tells so at once, while the other still shows the image before.
TEST(ActivatingAnImage, ChangesNoBlock)
{
    Stage stage(2);
    InNoise(stage, [&](HWND dialog) {
        Type(dialog, AMOUNT_EDIT, "20");
        Type(dialog, VARIATION_EDIT, "30");
        SetNoise(NoiseAt(dialog, 1), 70, 80);
        ActivateImage(stage.host, stage.images[1]);
        EXPECT_EQ(NoiseAt(dialog, 0).amount, 20);
        EXPECT_EQ(NoiseAt(dialog, 0).variation, 30);
        EXPECT_EQ(NoiseAt(dialog, 1).amount, 70);
        EXPECT_EQ(NoiseAt(dialog, 1).variation, 80);
    });
}

TEST(ActivatingAnImage, IsAnsweredWith1)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) { EXPECT_EQ(Send(dialog, ACTIVE_IMAGE_CHANGED), 1); });
}

TEST(ActivatingAnImage, WithoutABlockShowsTheCurrentBlockAnew)
{
    Stage stage(2);
    InNoise(stage, [&](HWND dialog) {
        ActivateImage(stage.host, stage.images[1]);
        SetNoise(NoiseAt(dialog, 1), 70, 80);
        ImageRecord stranger = *stage.images[1];
        stage.host.context.activeImage = &stranger;
        LRESULT result = 0;
        const Messages messages = MessagesTo(PREVIEW_CONTROL, [&] { result = Send(dialog, ACTIVE_IMAGE_CHANGED); });
        EXPECT_EQ(result, 1);
        EXPECT_EQ(StateOf(dialog)->currentSlot, 1);
        EXPECT_EQ(ShownNoise(dialog), std::pair(70, 80));
        EXPECT_EQ(messages, (Messages{{SHOW_PREVIEW, 0, HeaderOf(BlockAt(dialog, 1))}}));
        stage.host.context.activeImage = stage.images[1];
    });
}

TEST(ActivatingAnImage, FindsTheFirstOfItsBlocks)
{
    Stage stage(3);
    InNoise(stage, [&](HWND dialog) {
        BlockAt(dialog, 1)->header.image = stage.images[2];
        ActivateImage(stage.host, stage.images[2]);
        EXPECT_EQ(StateOf(dialog)->currentSlot, 1);
        BlockAt(dialog, 1)->header.image = stage.images[1];
    });
}

//---- IMAGE_OPENED

TEST(OpeningAnImage, GivesItAFreshBlockInTheFirstFreeSlot)
{
    Stage stage(3);
    InNoise(stage, [&](HWND dialog) {
        Close(stage, stage.images[1]);
        ImageRecord *image = Open(stage, AnyPicture(GREY));
        ASSERT_NE(BlockAt(dialog, 1), nullptr);
        EXPECT_EQ(BlockAt(dialog, 1)->header.image, image);
        EXPECT_EQ(NoiseAt(dialog, 1).amount, 15);
        EXPECT_EQ(BlockAt(dialog, 3), nullptr);
    });
}

TEST(OpeningAnImage, KeepsTheCurrentSlotAndShowsItAnew)
{
    Stage stage(2);
    InNoise(stage, [&](HWND dialog) {
        const Messages messages = MessagesTo(PREVIEW_CONTROL, [&] { Open(stage, AnyPicture(RGB)); });
        EXPECT_EQ(StateOf(dialog)->currentSlot, 0);
        EXPECT_EQ(messages, (Messages{{SHOW_PREVIEW, 0, HeaderOf(BlockAt(dialog, 0))}}));
    });
}

TEST(OpeningAnImage, IsAnsweredWith1)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) { EXPECT_EQ(Send(dialog, IMAGE_OPENED, 0, stage.images[0]), 1); });
}

TEST(OpeningAnImageThatHasABlock, ReplacesItByAFreshOne)
{
    Stage stage(2);
    InNoise(stage, [&](HWND dialog) {
        SetNoise(NoiseAt(dialog, 0), 70, 80);
        const int32_t blocksBefore = HostAllocatedBlocks();
        Calls calls;
        const auto old = reinterpret_cast<intptr_t>(BlockAt(dialog, 0));
        calls = CallsDuring([&] { Send(dialog, IMAGE_OPENED, 0, stage.images[0]); });
        EXPECT_EQ(CountOf(calls, "InitializeFilter"), 1);
        EXPECT_EQ(Only(calls, {"KPZ_FreeMem"}), (Calls{Called("KPZ_FreeMem", old)}));
        EXPECT_EQ(HostAllocatedBlocks(), blocksBefore);
        EXPECT_EQ(BlockAt(dialog, 0)->header.image, stage.images[0]);
        EXPECT_EQ(ShownNoise(dialog), std::pair(15, 10));
        EXPECT_EQ(BlockAt(dialog, 2), nullptr);
    });
}

// The block moves to the first free slot, and the current slot stays behind, empty, until the host says what is active.
TEST(OpeningAnImageThatHasABlock, MayLeaveTheCurrentSlotEmptyUntilTheNextActivation)
{
    Stage stage(2);
    InNoise(stage, [&](HWND dialog) {
        ActivateImage(stage.host, stage.images[1]);
        ImageRecord *image = stage.images[1];
        Send(dialog, IMAGE_CLOSED, 0, stage.images[0]);
        Send(dialog, IMAGE_OPENED, 0, image);
        EXPECT_EQ(BlockAt(dialog, 0)->header.image, image);
        EXPECT_EQ(StateOf(dialog)->currentSlot, 1);
        EXPECT_EQ(BlockAt(dialog, 1), nullptr);
        Send(dialog, ACTIVE_IMAGE_CHANGED);
        EXPECT_EQ(StateOf(dialog)->currentSlot, 0);
    });
}

TEST(OpeningAnImage, GivesItNoBlockWhenAllSlotsAreTaken)
{
    Stage stage(0);
    for (int i = 0; i < MAX_SLOTS; ++i) Open(stage, AnyPicture(GREY, 1, 1));
    InNoise(stage, [&](HWND dialog) {
        ImageRecord oneMore = *stage.images[0];
        const int32_t blocksBefore = HostAllocatedBlocks();
        EXPECT_EQ(Send(dialog, IMAGE_OPENED, 0, &oneMore), 1);
        EXPECT_EQ(HostAllocatedBlocks(), blocksBefore);
        for (int slot = 0; slot < MAX_SLOTS; ++slot)
            EXPECT_EQ(BlockAt(dialog, slot)->header.image, stage.images[size_t(slot)]) << slot;
        EXPECT_TRUE(stage.boxes.empty());
    });
}

// The development host opens no more than there are slots; another host may.
TEST(OpeningTheDialog, GivesBlocksToTheFirst500ImagesAndShowsTheFirstForAnyBeyond)
{
    Stage stage(0);
    for (int i = 0; i < MAX_SLOTS; ++i) Open(stage, AnyPicture(GREY, 1, 1));
    ImageRecord oneMore = *stage.images[0];
    oneMore.next = nullptr;
    stage.images.back()->next = &oneMore;
    stage.host.context.activeImage = &oneMore;
    const Calls calls = CallsDuring([&] {
        InNoise(stage, [&](HWND dialog) {
            HostStopLog();
            EXPECT_EQ(StateOf(dialog)->currentSlot, 0);
            EXPECT_EQ(BlockAt(dialog, MAX_SLOTS - 1)->header.image, stage.images.back());
            stage.images.back()->next = nullptr;
            stage.host.context.activeImage = stage.images[0];
        });
    });
    EXPECT_EQ(CountOf(calls, "InitializeFilter"), MAX_SLOTS);
}

TEST(ClosingAndOpeningImages, WorksWithAllSlotsTakenBeforeAndAfter)
{
    Stage stage(0);
    for (int i = 0; i < MAX_SLOTS; ++i) Open(stage, AnyPicture(GREY, 1, 1));
    InNoise(stage, [&](HWND dialog) {
        for (int slot : {499, 250}) {
            Close(stage, stage.images[size_t(slot)]);
            EXPECT_EQ(BlockAt(dialog, slot), nullptr);
            ImageRecord *image = Open(stage, AnyPicture(GREY, 1, 1));
            ASSERT_NE(BlockAt(dialog, slot), nullptr);
            EXPECT_EQ(BlockAt(dialog, slot)->header.image, image);
        }
    });
}

//---- IMAGE_CLOSED

TEST(ClosingAnImage, FreesAllItsBlocksAndNoOther)
{
    Stage stage(4);
    InNoise(stage, [&](HWND dialog) {
        BlockAt(dialog, 3)->header.image = stage.images[1];
        const Calls expected = {Called("KPZ_FreeMem", BlockAt(dialog, 1)), Called("KPZ_FreeMem", BlockAt(dialog, 3))};
        LRESULT result = 0;
        const Calls calls = CallsDuring([&] { result = Send(dialog, IMAGE_CLOSED, 0, stage.images[1]); });
        EXPECT_EQ(result, 1);
        EXPECT_EQ(Only(calls, {"KPZ_FreeMem"}), expected);
        EXPECT_EQ(BlockAt(dialog, 1), nullptr);
        EXPECT_EQ(BlockAt(dialog, 3), nullptr);
        EXPECT_NE(BlockAt(dialog, 0), nullptr);
        EXPECT_NE(BlockAt(dialog, 2), nullptr);
        EXPECT_TRUE(IsOpen(dialog));
    });
}

TEST(ClosingTheActiveImage, LeadsTheDialogToTheNextOne)
{
    Stage stage(3);
    InNoise(stage, [&](HWND dialog) {
        ActivateImage(stage.host, stage.images[1]);
        SetNoise(NoiseAt(dialog, 2), 70, 80);
        Close(stage, stage.images[1]);
        EXPECT_EQ(StateOf(dialog)->currentSlot, 2);
        EXPECT_EQ(ShownNoise(dialog), std::pair(70, 80));
    });
}

TEST(ClosingTheLastImage, ClosesTheDialog)
{
    Stage stage(2);
    InNoise(stage, [&](HWND dialog) {
        Close(stage, stage.images[1]);
        EXPECT_TRUE(IsOpen(dialog));
        Close(stage, stage.images[0]);
        EXPECT_FALSE(IsOpen(dialog));
    });
    EXPECT_EQ(stage.host.context.openEffectDialog, nullptr);
}

// A thread that no run belongs to: to the dialog the image runs.
static const ThreadHandle SOME_THREAD = reinterpret_cast<ThreadHandle>(1);

TEST(ClosingTheLastImage, AsksNoLongerWhetherItRuns)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        ImageRecord *image = stage.images[0];
        SharedWrite(image->effectThread, SOME_THREAD);
        stage.host.context.firstImage = nullptr;
        LRESULT result = 0;
        const Calls calls = CallsDuring([&] { result = Send(dialog, IMAGE_CLOSED, 0, image); });
        EXPECT_EQ(result, 1);
        EXPECT_EQ(Only(calls, {"KPZ_DismissDialog"}), (Calls{Called("KPZ_DismissDialog", dialog, 1)}));
        EXPECT_FALSE(IsOpen(dialog));
        EXPECT_TRUE(stage.boxes.empty());
        SharedWrite(image->effectThread, nullptr);
        stage.host.context.firstImage = image;
    });
}

//---- An empty current slot

// Between an image's closing and the word of what is active now, the current slot may be empty.
static void InNoiseWithoutABlock(Stage &stage, const Script &script)
{
    InNoise(stage, [&](HWND dialog) {
        Send(dialog, IMAGE_CLOSED, 0, stage.images[0]);
        ASSERT_EQ(CurrentBlock(dialog), nullptr);
        script(dialog);
    });
}

TEST(AnEmptyCurrentSlot, IgnoresCommandsThatNeedABlock)
{
    Stage stage(2);
    InNoiseWithoutABlock(stage, [](HWND dialog) {
        for (int id : {PREVIEW_CHECK, PRIORITY_TRACKBAR, APPLY_BUTTON, ABORT_BUTTON, SCOPE_IMAGE_RADIO, SCOPE_ALL_RADIO,
                       SCOPE_OBJECTS_RADIO, SCOPE_NEW_OBJECT_RADIO}) {
            LRESULT result = 0;
            EXPECT_EQ(CallsAfter(dialog, WM_COMMAND, WPARAM(id), 0, result), Calls{}) << id;
            EXPECT_EQ(result, 1) << id;
        }
    });
}

TEST(AnEmptyCurrentSlot, IgnoresItsOwnControls)
{
    Stage stage(2);
    InNoiseWithoutABlock(stage, [](HWND dialog) {
        const Calls calls = CallsDuring([&] { EXPECT_EQ(Command(dialog, AMOUNT_EDIT, EN_CHANGE), 1); });
        EXPECT_EQ(MessagesTo(PREVIEW_CONTROL, calls), Messages{});
        EXPECT_EQ(Command(dialog, VARIATION, SPIN_CHANGED), 1);
    });
}

TEST(AnEmptyCurrentSlot, HandsCommandsThatAreNoneOfTheDialogsToTheDefaultProcedure)
{
    Stage stage(2);
    InNoiseWithoutABlock(stage, [](HWND dialog) {
        for (int id : {2, 36, 41, 960, 2630, 9999}) {
            LRESULT result = 0;
            EXPECT_EQ(CallsAfter(dialog, WM_COMMAND, WPARAM(id), 0, result),
                      (Calls{Called("KPZ_DefDlgProc", dialog, WM_COMMAND, id, 0)}))
                << id;
        }
    });
}

TEST(AnEmptyCurrentSlot, LeavesFiltersItsListAndItsFileButtons)
{
    Stage stage(2);
    InDialog(stage, FILTERS_COMMAND, [&](HWND dialog) {
        Send(dialog, IMAGE_CLOSED, 0, stage.images[0]);
        for (int id : {960, 2630, 2640, 4020, 4068, 5150}) {
            LRESULT result = 0;
            EXPECT_EQ(CallsAfter(dialog, WM_COMMAND, WPARAM(id), 0, result), Calls{}) << id;
            EXPECT_EQ(result, 1) << id;
        }
    });
}

TEST(AnEmptyCurrentSlot, IgnoresMessagesThatNeedABlock)
{
    Stage stage(2);
    InNoiseWithoutABlock(stage, [](HWND dialog) {
        EXPECT_EQ(MessagesTo(PREVIEW_CONTROL, [&] { EXPECT_EQ(Send(dialog, REFRESH_PREVIEW), 1); }), Messages{});
        Calls calls = CallsDuring([&] { EXPECT_EQ(Send(dialog, RUN_FINISHED), 1); });
        EXPECT_EQ(MessagesTo(PREVIEW_CONTROL, calls), Messages{});
        EXPECT_EQ(CountOf(calls, "ChooseMenus"), 1);
    });
}

TEST(AnEmptyCurrentSlot, StillLetsThePersonReadHelpAndClose)
{
    Stage stage(2);
    InNoiseWithoutABlock(stage, [&](HWND dialog) {
        EXPECT_EQ(Command(dialog, HELP_BUTTON), 1);
        EXPECT_EQ(stage.helpPages, std::vector<int32_t>{77});
        EXPECT_EQ(Command(dialog, CLOSE_BUTTON), 1);
        EXPECT_FALSE(IsOpen(dialog));
    });
}

TEST(AnEmptyCurrentSlot, IsLeftWithTheNextActivation)
{
    Stage stage(2);
    InNoiseWithoutABlock(stage, [&](HWND dialog) {
        ActivateImage(stage.host, stage.images[1]);
        EXPECT_EQ(StateOf(dialog)->currentSlot, 1);
        EXPECT_NE(CurrentBlock(dialog), nullptr);
    });
}
