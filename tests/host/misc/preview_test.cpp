// The preview control: what it shows, when it works, how it is zoomed, moved and ended, without windows. The arithmetic
// of views and drawing has tests of its own.

#include "framework/random.h"
#include "host/misc/preview/rendering.h"
#include "tests/host/misc/stage.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>

static constexpr int32_t NOISE_TEMPLATE = 4240, WAVE_TEMPLATE = 4610;

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

static HWND dialogOpen;

// Opens a dialog with a preview control, acts on the control, and closes it.
static void InDialog(const std::function<void(HWND preview)> &script, BOOL shown = TRUE,
                     int32_t dialogTemplate = NOISE_TEMPLATE)
{
    FloaterList *floaters = MiscCreateFloaters(nullptr);   // as every program has that opens dialogs
    HostShowDialogs(shown);
    act = [&script](HWND dialog) {
        dialogOpen = dialog;
        script(KPZ_WindowFromID(dialog, PREVIEW_CONTROL));
    };
    KPZ_RunDialogBox(KPZ_GetDesktopWindow(), DialogProcedure, KPZ_GetLoadedModuleHandle(HOST_RESOURCES), dialogTemplate,
                     nullptr);
    HostShowDialogs(FALSE);
    MiscDestroyFloaters(floaters);
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

static std::atomic<bool> mayEnd;
static std::atomic<int> coarseRuns, exactRuns;

// What another thread does without a message to this one.
static void LookUntil(const std::function<bool()> &done)
{
    while (!done()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// Takes as long as a test wants it to, but not on a smaller picture.
static void KPZAPI AddSlowly(EffectBlock *block)
{
    const bool exact = block->view.width == 2000;
    ++(exact ? exactRuns : coarseRuns);
    if (exact) std::this_thread::sleep_for(std::chrono::milliseconds(100));
    if (exact) LookUntil([] { return mayEnd.load(); });
    AddAmount(block);
}

TEST(Preview, WhereTheExactOneTakesLongACoarseOneComesFirst)
{
    Stage stage(GREY, 2000, 1600);
    Prepare(stage, AddSlowly, 3);
    mayEnd = true;
    coarseRuns = exactRuns = 0;
    InDialog(
        [&](HWND preview) {
            stage.block.common.header.owner = dialogOpen;
            Show(preview, stage);
            WaitForPreview(preview);
            EXPECT_EQ(coarseRuns, 0) << "nobody knows yet how long it takes";
            EXPECT_EQ(exactRuns, 1);
            mayEnd = false;
            stage.block.amount = 50;
            KPZ_SendMsgAndWait(preview, PREVIEW_CHANGED, 0, 0);
            LookUntil([] { return exactRuns == 2; });
            EXPECT_EQ(coarseRuns, 1);
            const std::string coarse = Shown(preview);
            EXPECT_EQ(uint8_t(coarse[0]), uint8_t(stage.image.pixels[StrideFor(8, 2000) + 1] + 50));
            EXPECT_EQ(coarse.size(), StrideFor(8, 2000) * 1600) << "as large as the exact one";
            mayEnd = true;
            WaitForPreview(preview);
            EXPECT_EQ(uint8_t(Shown(preview)[0]), uint8_t(stage.image.pixels[0] + 50));
            stage.block.common.header.previewMode = SCOPE_OBJECTS;
            KPZ_SendMsgAndWait(preview, PREVIEW_CHANGED, 0, 0);
            WaitForPreview(preview);
            EXPECT_EQ(coarseRuns, 1) << "objects are worked on apart";
        },
        TRUE, WAVE_TEMPLATE);
}

TEST(Preview, ShowsThePictureUnchangedWhenSwitchedOffOrWithoutWorker)
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
    });
}

static void KPZAPI DrawPixels(EffectBlock *block)
{
    KPZ_srand();
    for (int32_t i = 0; i < 9; ++i) block->view.pixels[i] = uint8_t(DrawNumber());
}

static void ExpectPreviewAndRunAlike()
{
    Stage stage(GREY, 9, 7);
    Prepare(stage, DrawPixels);
    std::string first, second;
    InDialog([&](HWND preview) {
        Show(preview, stage);
        WaitForPreview(preview);
        first = Shown(preview);
        KPZ_SendMsgAndWait(preview, PREVIEW_CHANGED, 0, 0);
        WaitForPreview(preview);
        second = Shown(preview);
    });
    EXPECT_EQ(first, second);
    RunWorker(stage, DrawPixels);
    EXPECT_EQ(PixelsOf(stage.image), first);
}

TEST(Preview, DrawsTheRandomNumbersThatApplyWillDraw) { ExpectPreviewAndRunAlike(); }

TEST(Preview, DrawsThoseOfAFixedSeed)
{
    HostFixSeed(TRUE, 1);
    ExpectPreviewAndRunAlike();
    HostFixSeed(FALSE, 0);
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

// Changes one pixel and reports for as long as it is let.
static void KPZAPI ReportUntilAborted(EffectBlock *block)
{
    const ImageView view = block->view;
    view.pixels[0] = 200;
    ++begun;
    while (!SharedRead(*view.abortFlag)) IncrementProgress(view.progressWindow, view.progress, 1);
}

TEST_F(PreviewAtWork, ShowsWorkThatTakesLongAsFarAsItHasCome)
{
    Stage stage(GREY, 9, 7);
    Prepare(stage, ReportUntilAborted);
    InDialog([&](HWND preview) {
        Show(preview, stage);
        WaitUntil([=] { return !Shown(preview).empty(); });
        EXPECT_TRUE(MiscPreviewAtWork(preview));
        EXPECT_EQ(uint8_t(Shown(preview)[0]), 200);
    });
    EXPECT_NE(stage.image.pixels[0], 200);
}

TEST_F(PreviewAtWork, WorkOnASelectedAreaIsShownWhenItIsDone)
{
    Stage stage(GREY, 9, 7);
    Select(stage, 1, 1, 6, 5);
    Prepare(stage, ReportUntilAborted);
    InDialog([&](HWND preview) {
        Show(preview, stage);
        WaitUntilBegun();
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        EXPECT_EQ(Shown(preview), "");
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

// The image's lock is taken first by who will run, and the preview waits for it.
TEST_F(PreviewAtWork, ARequestIsDroppedWhenARunBeginsWhileItWaits)
{
    Stage stage(GREY, 9, 7);
    Prepare(stage, AddAmount, 3);
    InDialog([&](HWND preview) {
        ASSERT_TRUE(KPZ_GetMutexSem(stage.image.imageLock, 0));
        Show(preview, stage);
        std::this_thread::sleep_for(std::chrono::milliseconds(120));   // two looks at whether it still counts
        EXPECT_TRUE(MiscPreviewAtWork(preview));
        SharedWrite(stage.image.effectThread, &stage);
        for (int i = 0; i < 1000 && MiscPreviewAtWork(preview); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_FALSE(MiscPreviewAtWork(preview)) << "it goes on waiting though a run has the image";
        SharedWrite(stage.image.effectThread, nullptr);
        KPZ_ReleaseMutexSem(stage.image.imageLock);
        WaitForPreview(preview);
        EXPECT_EQ(Shown(preview), "");
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
        HostRefuseMemory(2);   // with what is kept, and without it
        Show(preview, stage);
        WaitForPreview(preview);
        EXPECT_EQ(Shown(preview), "");
        Show(preview, stage);
        WaitForPreview(preview);
        EXPECT_NE(Shown(preview), "");
    });
}

//---- Looking at a part of it

// What the control draws: where, and which words.
struct Drawn {
    RECT area = {};
    std::vector<uint32_t> words;
    bool operator==(const Drawn &other) const
    {
        return memcmp(&area, &other.area, sizeof area) == 0 && words == other.words;
    }
};

static Drawn drawnLast;

static void KPZAPI KeepDrawn(void *, const char *call, const intptr_t *arguments, int32_t, const char *)
{
    if (strcmp(call, "HostDrawPixels") != 0) return;
    drawnLast.area = {LONG(arguments[0]), LONG(arguments[1]), LONG(arguments[2]), LONG(arguments[3])};
    const auto *words = reinterpret_cast<const uint32_t *>(arguments[4]);
    const LONG width = drawnLast.area.right - drawnLast.area.left, height = drawnLast.area.bottom - drawnLast.area.top;
    drawnLast.words.assign(words, words + size_t(width) * size_t(height));
}

// Observing begins and ends while no control has a thread.
struct PreviewView : testing::Test {
    PreviewView() { HostObserveCalls(KeepDrawn, nullptr); }
    ~PreviewView() override { HostObserveCalls(nullptr, nullptr); }
};

static Drawn DrawnBy(HWND preview)
{
    drawnLast = {};
    KPZ_SendMsgAndWait(preview, WM_PAINT, 0, 0);
    return drawnLast;
}

static uint32_t WordAt(const Drawn &drawn, LONG x, LONG y)
{
    const LONG width = drawn.area.right - drawn.area.left;
    return drawn.words[size_t((y - drawn.area.top) * width + x - drawn.area.left)];
}

static Extent InsideOf(HWND window)
{
    RECT area;
    KPZ_GetWindowRect(window, &area);
    return {area.right, area.bottom};
}

static Drawn Expected(HWND preview, const ImageRecord &image, const View &view)
{
    const Extent window = InsideOf(preview), picture = {image.width, image.height};
    const POINT corner = OriginOf(view, picture, window);
    const Extent shown = ShownExtent(view, picture);
    const LONG right = corner.x + shown.width, bottom = corner.y + shown.height;
    const Drawn drawn = {{std::max(corner.x, LONG(0)), std::max(corner.y, LONG(0)), std::min(right, LONG(window.width)),
                          std::min(bottom, LONG(window.height))},
                         {}};
    Drawn expected = drawn;
    expected.words.resize(size_t(drawn.area.right - drawn.area.left) * size_t(drawn.area.bottom - drawn.area.top));
    Render({&image, view, window, 0, false}, drawn.area, expected.words.data());
    return expected;
}

static View FittedView(HWND preview, const ImageRecord &image)
{
    return {FittingScale({image.width, image.height}, InsideOf(preview)), 0, 0};
}

static void PressZoom(int32_t button) { KPZ_SendMsgAndWait(dialogOpen, WM_COMMAND, MAKEWPARAM(button, BN_CLICKED), 0); }

static void Mouse(HWND preview, UINT message, LONG x, LONG y)
{
    KPZ_SendMsgAndWait(preview, message, 0, LPARAM(MAKEWPARAM(x, y)));
}

// By the wheel's notches; the system tells where on the screen.
static void TurnWheel(HWND preview, int notches, LONG x, LONG y)
{
    POINT corner = {0, 0};
    HostFromScreen(preview, &corner);
    KPZ_SendMsgAndWait(preview, WM_MOUSEWHEEL, MAKEWPARAM(0, notches * 120),
                       LPARAM(MAKEWPARAM(x - corner.x, y - corner.y)));
}

// A picture whose pixels tell where they are, as long as they are not averaged.
struct Map : Stage {
    Map(int32_t width, int32_t height) : Stage(RGB, width, height)
    {
        for (int32_t y = 0; y < height; ++y) {
            uint8_t *pixel = image.pixels + size_t(StrideFor(24, width)) * size_t(y);
            for (int32_t x = 0; x < width; ++x, pixel += 3) {
                pixel[0] = uint8_t(x);
                pixel[1] = uint8_t(y);
                pixel[2] = uint8_t(x >> 8 | y >> 8 << 4);
            }
        }
        Prepare(*this, AddAmount, 0);
    }
};

static POINT PlaceOnMap(uint32_t word)
{
    return {LONG((word & 255) | (word >> 16 & 15) << 8), LONG((word >> 8 & 255) | (word >> 20) << 8)};
}

static POINT MapAt(HWND preview, LONG x, LONG y) { return PlaceOnMap(WordAt(DrawnBy(preview), x, y)); }

static void InDialogWith(Stage &stage, const std::function<void(HWND preview, Extent window)> &script)
{
    InDialog([&](HWND preview) {
        Show(preview, stage);
        WaitForPreview(preview);
        script(preview, InsideOf(preview));
    });
}

TEST_F(PreviewView, BeginsWithAllOfThePicture)
{
    for (const int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        for (const Extent size : {Extent{1, 1}, Extent{1, 900}, Extent{900, 1}, Extent{9, 7}, Extent{210, 211},
                                  Extent{333, 222}, Extent{20000, 40}}) {
            Stage stage(type, size.width, size.height);
            Prepare(stage, AddAmount, 0);
            InDialogWith(stage, [&](HWND preview, Extent window) {
                const Drawn drawn = DrawnBy(preview);
                EXPECT_EQ(drawn, Expected(preview, stage.image, FittedView(preview, stage.image)))
                    << size.width << " x " << size.height << ", type " << type;
                EXPECT_LE(drawn.area.right - drawn.area.left, window.width);
                EXPECT_LE(drawn.area.bottom - drawn.area.top, window.height);
            });
        }
    }
}

TEST_F(PreviewView, TheButtonsGoThroughTheUsualScalesAboutTheMiddle)
{
    for (const Extent size : {Extent{1, 1}, Extent{40, 1000}, Extent{1000, 700}, Extent{3000, 2000}}) {
        Map map(size.width, size.height);
        InDialogWith(map, [&](HWND preview, Extent window) {
            const View fitted = FittedView(preview, map.image);
            View view = fitted;
            const POINT middle = {window.width / 2, window.height / 2};
            while (view.scale < 8) {
                PressZoom(PREVIEW_ZOOM_IN);
                ZoomAbout(view, NextScale(view.scale, 1), middle, size, window);
                ASSERT_EQ(DrawnBy(preview), Expected(preview, map.image, view)) << "in to " << view.scale;
                if (view.scale < 1) continue;
                const POINT seen = MapAt(preview, middle.x, middle.y);
                EXPECT_NEAR(seen.x, size.width / 2, 1 / fitted.scale) << "at " << view.scale;
                EXPECT_NEAR(seen.y, size.height / 2, 1 / fitted.scale) << "at " << view.scale;
            }
            PressZoom(PREVIEW_ZOOM_IN);
            EXPECT_EQ(DrawnBy(preview), Expected(preview, map.image, view)) << "no further";
            while (view.scale > fitted.scale) {
                PressZoom(PREVIEW_ZOOM_OUT);
                const double scale = std::max(NextScale(view.scale, -1), fitted.scale);
                ZoomAbout(view, scale, middle, size, window);
                ASSERT_EQ(DrawnBy(preview), Expected(preview, map.image, view)) << "out to " << view.scale;
            }
            PressZoom(PREVIEW_ZOOM_OUT);
            EXPECT_EQ(DrawnBy(preview), Expected(preview, map.image, fitted)) << "all of it is seen";
            for (int i = 0; i < 4; ++i) PressZoom(PREVIEW_ZOOM_IN);
            PressZoom(PREVIEW_ZOOM_FIT);
            EXPECT_EQ(DrawnBy(preview), Expected(preview, map.image, fitted));
        });
    }
}

TEST_F(PreviewView, TheWheelZoomsAboutThePointer)
{
    Map map(1000, 700);
    InDialogWith(map, [&](HWND preview, Extent) {
        for (int i = 0; i < 20; ++i) TurnWheel(preview, 1, 30, 90);
        const POINT closest = MapAt(preview, 30, 90);
        for (int i = 0; i < 6; ++i) {   // 6, 4, 3, 2, 1.5, 1
            TurnWheel(preview, -1, 30, 90);
            const POINT seen = MapAt(preview, 30, 90);
            EXPECT_NEAR(seen.x, closest.x, 1 + i) << i;
            EXPECT_NEAR(seen.y, closest.y, 1 + i) << i;
        }
        EXPECT_EQ(MapAt(preview, 31, 91).x - MapAt(preview, 30, 90).x, 1) << "one to one";
        for (int i = 0; i < 20; ++i) TurnWheel(preview, -1, 30, 90);
        EXPECT_EQ(DrawnBy(preview), Expected(preview, map.image, FittedView(preview, map.image)));
    });
}

TEST_F(PreviewView, ADoubleClickGoesBetweenAllAndOneToOne)
{
    Map map(1000, 700);
    InDialogWith(map, [&](HWND preview, Extent window) {
        const Drawn fitted = DrawnBy(preview);
        const View view = FittedView(preview, map.image);
        const POINT under = PixelAt(view, {1000, 700}, window, {60, 100});
        Mouse(preview, WM_LBUTTONDBLCLK, 60, 100);
        const POINT seen = MapAt(preview, 60, 100);
        EXPECT_NEAR(seen.x, under.x, 1 / view.scale) << "what was under the pointer stays there";
        EXPECT_NEAR(seen.y, under.y, 1 / view.scale);
        EXPECT_EQ(MapAt(preview, 70, 100).x, seen.x + 10) << "one to one";
        Mouse(preview, WM_LBUTTONDBLCLK, 60, 100);
        EXPECT_EQ(DrawnBy(preview), fitted);
        Mouse(preview, WM_LBUTTONDBLCLK, 60, 100);
        PressZoom(PREVIEW_ZOOM_IN);
        Mouse(preview, WM_LBUTTONDBLCLK, 60, 100);
        EXPECT_EQ(DrawnBy(preview), fitted) << "from any other scale";
    });
}

TEST_F(PreviewView, IsDraggedByTheMouseAndStaysWithinThePicture)
{
    Map map(1000, 700);
    InDialogWith(map, [&](HWND preview, Extent window) {
        Mouse(preview, WM_LBUTTONDBLCLK, 0, 0);
        const POINT first = MapAt(preview, 0, 0);
        EXPECT_EQ(first.x, 0);
        Mouse(preview, WM_MOUSEMOVE, 50, 50);
        EXPECT_EQ(MapAt(preview, 0, 0).x, 0) << "no button is pressed";
        Mouse(preview, WM_LBUTTONDOWN, 100, 100);
        EXPECT_EQ(MapAt(preview, 0, 0).x, 0) << "not yet moved";
        Mouse(preview, WM_MOUSEMOVE, 70, 90);
        EXPECT_EQ(MapAt(preview, 0, 0).x, 30);
        EXPECT_EQ(MapAt(preview, 0, 0).y, first.y + 10);
        Mouse(preview, WM_MOUSEMOVE, 4000, 5000);
        EXPECT_EQ(MapAt(preview, 0, 0).x, 0);
        EXPECT_EQ(MapAt(preview, 0, 0).y, 0);
        Mouse(preview, WM_MOUSEMOVE, -4000, -5000);
        EXPECT_EQ(MapAt(preview, window.width - 1, 0).x, 999);
        EXPECT_EQ(MapAt(preview, 0, window.height - 1).y, 699);
        Mouse(preview, WM_MOUSEMOVE, 60, 80);
        Mouse(preview, WM_LBUTTONUP, 60, 80);
        const Drawn left = DrawnBy(preview);
        Mouse(preview, WM_MOUSEMOVE, 10, 10);
        EXPECT_EQ(DrawnBy(preview), left) << "let go";
        Mouse(preview, WM_LBUTTONDOWN, 60, 80);
        KPZ_SendMsgAndWait(preview, WM_CAPTURECHANGED, 0, 0);
        Mouse(preview, WM_MOUSEMOVE, 10, 10);
        EXPECT_EQ(DrawnBy(preview), left) << "the mouse has been taken away";
    });
}

TEST_F(PreviewView, OfAllThePictureStaysInItsPlace)
{
    Map map(1000, 700);
    InDialogWith(map, [&](HWND preview, Extent) {
        const Drawn fitted = DrawnBy(preview);
        Mouse(preview, WM_LBUTTONDOWN, 100, 100);
        Mouse(preview, WM_MOUSEMOVE, 70, 90);
        EXPECT_EQ(DrawnBy(preview), fitted);
    });
}

TEST_F(PreviewView, StaysWhenAnotherResultComes)
{
    Map map(1000, 700);
    InDialogWith(map, [&](HWND preview, Extent window) {
        PressZoom(PREVIEW_ZOOM_IN);
        Mouse(preview, WM_LBUTTONDBLCLK, 0, 0);   // all of it
        Mouse(preview, WM_LBUTTONDBLCLK, 0, 0);   // one to one
        Mouse(preview, WM_LBUTTONDOWN, 50, 50);
        Mouse(preview, WM_MOUSEMOVE, 20, 30);
        View view = FittedView(preview, map.image);
        ZoomAbout(view, 1, {0, 0}, {1000, 700}, window);
        view.left += 30;
        view.top += 20;
        EXPECT_EQ(DrawnBy(preview), Expected(preview, map.image, view));
        map.block.amount = 7;
        KPZ_SendMsgAndWait(preview, PREVIEW_CHANGED, 0, 0);
        WaitForPreview(preview);
        const size_t bytes = size_t(StrideFor(24, 1000)) * 700;
        for (size_t i = 0; i < bytes; ++i) map.image.pixels[i] = uint8_t(map.image.pixels[i] + 7);
        EXPECT_EQ(DrawnBy(preview), Expected(preview, map.image, view));
        Mouse(preview, WM_MOUSEMOVE, 10, 20);
        view.left += 10;
        view.top += 10;
        EXPECT_EQ(DrawnBy(preview), Expected(preview, map.image, view)) << "also while it is held";
    });
}

TEST_F(PreviewView, ComesIntoTheRangeOfAPictureOfAnotherSize)
{
    Map large(1000, 700), little(300, 400), tiny(20, 10);
    const auto showOther = [](HWND preview, Stage &stage) {
        Show(preview, stage);
        WaitForPreview(preview);
    };
    InDialogWith(large, [&](HWND preview, Extent window) {
        Mouse(preview, WM_LBUTTONDBLCLK, window.width - 1, window.height - 1);
        showOther(preview, little);
        View view = {1, 1000, 700};
        ClampView(view, {300, 400}, window);
        EXPECT_EQ(DrawnBy(preview), Expected(preview, little.image, view));
        showOther(preview, tiny);
        EXPECT_EQ(DrawnBy(preview), Expected(preview, tiny.image, {1, 0, 0}));
        showOther(preview, large);
        EXPECT_EQ(DrawnBy(preview), Expected(preview, large.image, FittedView(preview, large.image)))
            << "all of the tiny one was seen";
    });
}

TEST_F(PreviewView, OfAControlThatShowsNothingCannotBeChanged)
{
    Map map(1000, 700);
    InDialog([&](HWND preview) {
        PressZoom(PREVIEW_ZOOM_IN);
        TurnWheel(preview, 1, 10, 10);
        Mouse(preview, WM_LBUTTONDOWN, 50, 50);
        Mouse(preview, WM_LBUTTONDBLCLK, 50, 50);
        EXPECT_TRUE(DrawnBy(preview).words.empty());
        Show(preview, map);
        WaitForPreview(preview);
        EXPECT_EQ(DrawnBy(preview), Expected(preview, map.image, FittedView(preview, map.image)));
    });
}

// As Shear does with its sketch.
static int sketched;

static LRESULT KPZAPI SketchInstead(HWND preview, UINT message, WPARAM word, LPARAM extra)
{
    if (message == SHOW_PREVIEW) return 0;
    if (message != WM_PAINT) return KPZ_DefWindowProc(preview, message, word, extra);
    RECT part;
    KPZ_EndPaint(KPZ_BeginPaint(preview, nullptr, &part));
    ++sketched;
    return 0;
}

TEST_F(PreviewView, OfASketchIsTheSketchsOwn)
{
    Map map(1000, 700);
    InDialog([&](HWND preview) {
        KPZ_SubclassWindow(preview, SketchInstead);
        Show(preview, map);
        EXPECT_FALSE(MiscPreviewAtWork(preview));
        sketched = 0;
        for (const int32_t button : {PREVIEW_ZOOM_IN, PREVIEW_ZOOM_OUT, PREVIEW_ZOOM_FIT}) {
            PressZoom(button);
            TurnWheel(preview, 1, 10, 10);
            Mouse(preview, WM_LBUTTONDBLCLK, 50, 50);
            EXPECT_TRUE(DrawnBy(preview).words.empty());
        }
        EXPECT_EQ(sketched, 3);
    });
}

// Its messages are sent while a worker is at work, and none waits for it.
TEST_F(PreviewView, CanBeChangedWhileAnotherResultIsMade)
{
    begun = ended = 0;
    Map map(1000, 700);
    InDialogWith(map, [&](HWND preview, Extent) {
        const Drawn fitted = DrawnBy(preview);
        Prepare(map, UntilAborted);
        Show(preview, map);
        WaitUntilBegun();
        PressZoom(PREVIEW_ZOOM_IN);
        EXPECT_NE(DrawnBy(preview).words, fitted.words);
        PressZoom(PREVIEW_ZOOM_FIT);
        EXPECT_EQ(DrawnBy(preview), fitted);
        EXPECT_TRUE(MiscPreviewAtWork(preview));
    });
}
