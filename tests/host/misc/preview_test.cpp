#include "tests/host/misc/stage.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

static constexpr int32_t NOISE_TEMPLATE = 4240;

static std::function<void(HWND)> act;

enum { ACT = WM_USER + 1 };

static INT_PTR KPZAPI DialogProcedure(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    switch (message) {
    case WM_INITDIALOG: KPZ_SendMsgNoWait(dialog, ACT, 0, 0); return 1;
    case ACT:
        act(dialog);
        KPZ_DismissDialog(dialog, 1);
        return 1;
    default: return KPZ_DefDlgProc(dialog, message, word, extra);
    }
}

// Opens a dialog with a preview control, acts on the control, and closes it.
static void InDialog(const std::function<void(HWND preview)> &script, BOOL shown = TRUE)
{
    HostShowDialogs(shown);
    act = [&script](HWND dialog) { script(KPZ_WindowFromID(dialog, PREVIEW_CONTROL)); };
    KPZ_RunDialogBox(KPZ_GetDesktopWindow(), DialogProcedure, KPZ_GetLoadedModuleHandle(HOST_RESOURCES), NOISE_TEMPLATE,
                     nullptr);
    HostShowDialogs(FALSE);
}

static void Prepare(Stage &stage, WorkerRoutine worker, int32_t amount = 0)
{
    stage.block.common.header.worker = worker;
    stage.block.amount = amount;
}

static void Show(HWND preview, Stage &stage)
{
    KPZ_SendMsgAndWait(preview, SHOW_PREVIEW, 0, reinterpret_cast<LPARAM>(&stage.block.common.header));
}

static void WaitForPreview(HWND preview)
{
    WaitUntil([=] { return !MiscPreviewAtWork(preview); });
}

// The shown picture's bytes; empty while nothing is shown.
static std::string Shown(HWND preview)
{
    PreviewPicture picture = {};
    if (!MiscShownPreview(preview, &picture)) return "";
    const std::string bytes(reinterpret_cast<char *>(picture.pixels),
                            StrideFor(picture.bitsPerPixel, picture.width) * size_t(picture.height));
    KPZ_FreeMem(picture.pixels);
    KPZ_FreeMem(picture.mask);
    return bytes;
}

TEST(Preview, ShowsWhatApplyWillDoAndLeavesTheImageAlone)
{
    for (const int32_t mode : {SCOPE_IMAGE, SCOPE_ALL, SCOPE_OBJECTS, SCOPE_NEW_OBJECT}) {
        Stage stage(RGB, 9, 7, 8);
        KeepBase(stage);
        AddObject(stage, 2, 2, 4, 3, 99, 200, true);
        if (mode != SCOPE_ALL) Select(stage, 1, 1, 6, 5);
        Prepare(stage, AddAmount, 3);
        stage.block.common.header.previewMode = mode;
        const std::string before = BytesOf(stage.image);
        std::string shown;
        InDialog([&](HWND preview) {
            EXPECT_EQ(Shown(preview), "");
            Show(preview, stage);
            WaitForPreview(preview);
            shown = Shown(preview);
        });
        EXPECT_EQ(BytesOf(stage.image), before) << "mode " << mode;
        RunWorker(stage, AddAmount, mode, 3);
        EXPECT_EQ(shown, PixelsOf(stage.image)) << "mode " << mode;
    }
}

TEST(Preview, GivesTheMaskPlaneToo)
{
    Stage stage(GREY, 9, 7, 8);
    Prepare(stage, AddAmount, 3);
    InDialog([&](HWND preview) {
        Show(preview, stage);
        WaitForPreview(preview);
        PreviewPicture picture = {};
        ASSERT_TRUE(MiscShownPreview(preview, &picture));
        EXPECT_EQ(picture.width, 9);
        EXPECT_EQ(picture.height, 7);
        EXPECT_EQ(picture.bitsPerPixel, 8);
        EXPECT_EQ(picture.colourType, GREY);
        EXPECT_EQ(picture.maskBitsPerPixel, 8);
        EXPECT_EQ(picture.mask[0], stage.image.mask[0] + 3);
        KPZ_FreeMem(picture.pixels);
        KPZ_FreeMem(picture.mask);
    });
}

TEST(Preview, FollowsTheParameters)
{
    Stage stage(GREY, 9, 7);
    Prepare(stage, AddAmount, 3);
    InDialog([&](HWND preview) {
        Show(preview, stage);
        WaitForPreview(preview);
        stage.block.amount = 50;
        KPZ_SendMsgAndWait(preview, PREVIEW_CHANGED, 0, 0);
        WaitForPreview(preview);
        EXPECT_EQ(uint8_t(Shown(preview)[0]), stage.image.pixels[0] + 50);
    });
}

TEST(Preview, ShowsThePictureUnchangedWhenSwitchedOffWithoutWorkerOrWithAFixedSeed)
{
    Stage stage(GREY, 9, 7);
    const auto unchanged = [&stage](HWND preview) {
        Show(preview, stage);
        WaitForPreview(preview);
        return Shown(preview) == PixelsOf(stage.image);
    };
    InDialog([&](HWND preview) {
        Prepare(stage, AddAmount, 3);
        EXPECT_FALSE(unchanged(preview));
        stage.previewOn = 0;
        EXPECT_TRUE(unchanged(preview));
        stage.previewOn = 1;
        Prepare(stage, nullptr);
        EXPECT_TRUE(unchanged(preview));
        Prepare(stage, AddAmount, 3);
        EXPECT_FALSE(unchanged(preview));
        HostFixSeed(TRUE, 1);
        EXPECT_TRUE(unchanged(preview));
        HostFixSeed(FALSE, 0);
    });
}

TEST(Preview, DoesNothingInADialogThatIsNotShown)
{
    Stage stage(GREY, 9, 7);
    Prepare(stage, AddAmount, 3);
    InDialog(
        [&](HWND preview) {
            Show(preview, stage);
            KPZ_SendMsgAndWait(preview, PREVIEW_CHANGED, 0, 0);
            EXPECT_FALSE(MiscPreviewAtWork(preview));
            EXPECT_EQ(Shown(preview), "");
        },
        FALSE);
}

//---- At work

static std::atomic<int> begun, ended;

// Goes on until it is asked to stop; with an amount it adds that instead.
static void KPZAPI UntilAborted(EffectBlock *block)
{
    const ImageView view = block->view;
    if (reinterpret_cast<TestBlock *>(block)->amount) return AddAmount(block);
    ++begun;
    while (!SharedRead(*view.abortFlag)) std::this_thread::yield();
    view.pixels[0] = 0;
    ++ended;
}

static void KPZAPI ReportAndWait(EffectBlock *block)
{
    const ImageView view = block->view;
    IncrementProgress(view.progressWindow, view.progress, 0);
    while (!SharedRead(*view.abortFlag)) std::this_thread::yield();
}

// std::atomic's own waiting can miss its wake-up where the system has none for it.
static void WaitUntilBegun()
{
    while (begun == 0) std::this_thread::yield();
}

struct PreviewAtWork : testing::Test {
    PreviewAtWork() { begun = ended = 0; }
};

TEST_F(PreviewAtWork, ANewerRequestEndsTheOlderOne)
{
    Stage stage(GREY, 9, 7);
    Prepare(stage, UntilAborted);
    InDialog([&](HWND preview) {
        Show(preview, stage);
        WaitUntilBegun();
        EXPECT_TRUE(MiscPreviewAtWork(preview));
        stage.block.amount = 9;
        KPZ_SendMsgAndWait(preview, PREVIEW_CHANGED, 0, 0);
        WaitForPreview(preview);
        EXPECT_EQ(ended, 1);
        EXPECT_EQ(uint8_t(Shown(preview)[0]), stage.image.pixels[0] + 9);
    });
}

TEST_F(PreviewAtWork, ManyRequestsEndInTheLast)
{
    Stage stage(RGB, 64, 64);
    Prepare(stage, AddAmount);
    InDialog([&](HWND preview) {
        for (int32_t amount = 1; amount <= 100; ++amount) {
            stage.block.amount = amount;
            Show(preview, stage);
        }
        WaitForPreview(preview);
        EXPECT_EQ(uint8_t(Shown(preview)[0]), stage.image.pixels[0] + 100);
    });
}

TEST_F(PreviewAtWork, ClosingTheDialogEndsTheWork)
{
    Stage stage(GREY, 9, 7);
    Prepare(stage, UntilAborted);
    HWND window = nullptr;
    InDialog([&](HWND preview) {
        window = preview;
        Show(preview, stage);
        WaitUntilBegun();
    });
    EXPECT_EQ(ended, 1);
    EXPECT_FALSE(MiscPreviewAtWork(window));
}

TEST_F(PreviewAtWork, EndsWithItsImage)
{
    InDialog([&](HWND preview) {
        {
            Stage stage(GREY, 9, 7);
            Prepare(stage, UntilAborted);
            Show(preview, stage);
            WaitUntilBegun();
            KPZ_SendMsgAndWait(preview, PREVIEW_CHANGED, 0, 0);   // another one in waiting
        }
        WaitForPreview(preview);
        KPZ_SendMsgAndWait(preview, PREVIEW_CHANGED, 0, 0);   // the block it knew has gone
        EXPECT_FALSE(MiscPreviewAtWork(preview));
        EXPECT_EQ(Shown(preview), "");
    });
}

TEST_F(PreviewAtWork, ARunningImagesBlockIsLeftAlone)
{
    Stage stage(GREY, 9, 7);
    Prepare(stage, AddAmount, 2);
    InDialog([&](HWND preview) {
        Show(preview, stage);
        WaitForPreview(preview);
        const std::string shown = Shown(preview);
        bool asked = false;
        stage.onProgress = [&](int) {   // the run thread owns view and planes now
            Show(preview, stage);
            KPZ_SendMsgAndWait(preview, PREVIEW_CHANGED, 0, 0);
            EXPECT_FALSE(MiscPreviewAtWork(preview));
            EXPECT_EQ(Shown(preview), shown);
            asked = true;
            SharedWrite(stage.image.abortRequest, 1);
        };
        RunWorker(stage, ReportAndWait);
        EXPECT_TRUE(asked);
        stage.onProgress = nullptr;
        Prepare(stage, AddAmount, 5);
        Show(preview, stage);
        WaitForPreview(preview);
        EXPECT_EQ(uint8_t(Shown(preview)[0]), stage.image.pixels[0] + 5);
    });
}

// The preview copies from an image that a run then works on: whichever comes first, nothing is torn.
TEST_F(PreviewAtWork, ARunRightAfterARequestFindsItsLock)
{
    Stage stage(RGB, 128, 128);
    Prepare(stage, AddAmount, 1);
    InDialog([&](HWND preview) {
        for (int i = 0; i < 20; ++i) {
            Show(preview, stage);
            RunWorker(stage, AddAmount, SCOPE_IMAGE, 1);
        }
        WaitForPreview(preview);
        Show(preview, stage);
        WaitForPreview(preview);
        EXPECT_EQ(uint8_t(Shown(preview)[0]), uint8_t(stage.image.pixels[0] + 1));
        EXPECT_EQ(MiscUndoCount(&stage.image), 20);
    });
}

TEST_F(PreviewAtWork, PaintsItsPictureReducedToFit)
{
    Stage stage(RGB, 500, 300);
    Prepare(stage, AddAmount, 1);
    InDialog([&](HWND preview) {
        Show(preview, stage);
        WaitForPreview(preview);
        HostStartLog();
        KPZ_SendMsgAndWait(preview, WM_PAINT, 0, 0);
        HostStopLog();
        const std::vector<std::string> calls = LoggedCalls(false);
        EXPECT_EQ(std::count(calls.begin(), calls.end(), "KPZ_BeginPaint"), 1);
        EXPECT_EQ(std::count(calls.begin(), calls.end(), "HostDrawPixels"), 1);
        EXPECT_EQ(calls.back(), "KPZ_EndPaint");
    });
}

TEST(Preview, IsLeftUndoneWhenMemoryIsShort)
{
    Stage stage(GREY, 2000, 1000);
    Prepare(stage, AddAmount, 3);
    InDialog([&](HWND preview) {
        HostRefuseMemory(1);
        Show(preview, stage);
        WaitForPreview(preview);
        EXPECT_EQ(Shown(preview), "");
        Show(preview, stage);
        WaitForPreview(preview);
        EXPECT_NE(Shown(preview), "");
    });
}
