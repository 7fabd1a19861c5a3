// InitializeFilter and the run thread: what a run does with locks, undo, progress, abort and its dialog, in which
// order. Which pixels a scope reaches is scope_test.cpp's.

#include "tests/host/misc/stage.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

typedef std::vector<std::string> Calls;

//---- InitializeFilter

TEST(InitializeFilter, FillsTheViewFromTheImageAndKeepsSizeAndParameters)
{
    Stage stage(RGB, 5, 4, 8);
    TestBlock block = {};
    block.common.view.blockSize = sizeof block;
    FilterHeader &header = block.common.header;
    header.block = &block.common;
    header.image = &stage.image;
    header.worker = AddAmount;
    header.previewMode = SCOPE_NEW_OBJECT;
    header.title[0] = 'x';
    block.amount = 77;
    InitializeFilter(&header, &stage.image);
    const ImageView &view = block.common.view;
    EXPECT_EQ(view.blockSize, int32_t(sizeof block));
    EXPECT_EQ(view.width, 5);
    EXPECT_EQ(view.height, 4);
    EXPECT_EQ(view.bitsPerPixel, 24);
    EXPECT_EQ(view.colourType, RGB);
    EXPECT_EQ(view.pixels, stage.image.pixels);
    EXPECT_EQ(view.paletteEntries, &stage.image.paletteEntries);
    EXPECT_EQ(view.red, stage.image.red);
    EXPECT_EQ(view.green, stage.image.green);
    EXPECT_EQ(view.blue, stage.image.blue);
    EXPECT_EQ(view.abortFlag, &stage.image.abortRequest);
    EXPECT_EQ(view.mask, stage.image.mask);
    EXPECT_EQ(view.maskInUse, 0);
    EXPECT_EQ(view.maskBitsPerPixel, 8);
    EXPECT_EQ(view.progressWindow, stage.image.window);
    EXPECT_EQ(view.progress, stage.image.progress);
    EXPECT_EQ(header.previewMode, SCOPE_IMAGE);
    EXPECT_STREQ(header.title, "");
    EXPECT_EQ(header.worker, nullptr);
    EXPECT_EQ(block.amount, 77);
}

TEST(InitializeFilter, ChoosesTheObjectsWhenSomeAreSelected)
{
    Stage stage(GREY, 5, 4);
    AddObject(stage, 0, 0, 2, 2, 9, 255, false);
    InitializeFilter(&stage.block.common.header, &stage.image);
    EXPECT_EQ(stage.block.common.header.previewMode, SCOPE_IMAGE);
    AddObject(stage, 0, 0, 2, 2, 9, 255, true);
    InitializeFilter(&stage.block.common.header, &stage.image);
    EXPECT_EQ(stage.block.common.header.previewMode, SCOPE_OBJECTS);
}

//---- The order of a run

static Calls WithoutProgress(const Calls &calls)
{
    Calls rest;
    for (const std::string &call : calls) {
        if (call != "IncrementProgress" && call != "KPZ_SendMsgNoWait" && call != "ResetProgress") rest.push_back(call);
    }
    return rest;
}

TEST(FilterThread, CallsTheHostInItsOrder)
{
    Stage stage(RGB, 6, 3);
    HostSetDisplayDepth(8);
    HostStartLog();
    RunWorker(stage, AddAmount, SCOPE_IMAGE, 1);
    HostStopLog();
    HostSetDisplayDepth(24);
    EXPECT_EQ(WithoutProgress(LoggedCalls(true)),
              (Calls{"FilterThread",          "KPZ_Initialize",      "KPZ_CreateMsgQueue",  "KPZ_CancelShutdown",
                     "KPZ_GetMutexSem",       "KPZ_GetMutexSem",     "InitiateProgress",    "UndoUtility",
                     "KPZ_SetThreadPriority", "KPZ_GetDisplayDepth", "Update8BitVersion",   "KPZ_AdjustPalette",
                     "FinishProgress",        "KPZ_ReleaseMutexSem", "KPZ_ReleaseMutexSem", "KPZ_GetClientHwnd",
                     "KPZ_InvalidateRect",    "KPZ_SendMsgAndWait",  "KPZ_DestroyMsgQueue", "KPZ_Terminate"}));
}

static std::vector<LoggedCall> Logged(const std::string &call)
{
    std::vector<LoggedCall> found;
    LoggedCall entry;
    for (int32_t i = 0; HostLogEntry(i, &entry); ++i) {
        if (call == entry.call && entry.onRunThread) found.push_back(entry);
    }
    return found;
}

TEST(FilterThread, TakesImageLockThenObjectLockAndReleasesThemTheOtherWayRound)
{
    Stage stage(GREY, 6, 3);
    HostStartLog();
    RunWorker(stage, AddAmount);
    HostStopLog();
    const auto taken = Logged("KPZ_GetMutexSem"), released = Logged("KPZ_ReleaseMutexSem");
    ASSERT_EQ(taken.size(), 2u);
    ASSERT_EQ(released.size(), 2u);
    EXPECT_EQ(taken[0].arguments[0], intptr_t(stage.image.imageLock));
    EXPECT_EQ(taken[0].arguments[1], 5000);
    EXPECT_EQ(taken[1].arguments[0], intptr_t(stage.image.objectLock));
    EXPECT_EQ(taken[1].arguments[1], 5000);
    EXPECT_EQ(released[0].arguments[0], intptr_t(stage.image.objectLock));
    EXPECT_EQ(released[1].arguments[0], intptr_t(stage.image.imageLock));
}

TEST(FilterThread, TellsTheDialogOnceTheEffectThreadIsCleared)
{
    Stage stage(GREY, 6, 3);
    RunWorker(stage, AddAmount);
    EXPECT_EQ(stage.finishedWord, WPARAM(stage.image.window));
    EXPECT_EQ(stage.threadAtFinish, nullptr);
    EXPECT_EQ(stage.image.effectThread, nullptr);
    EXPECT_TRUE(KPZ_GetMutexSem(stage.image.imageLock, 0));
    EXPECT_TRUE(KPZ_GetMutexSem(stage.image.objectLock, 0));
    KPZ_ReleaseMutexSem(stage.image.objectLock);
    KPZ_ReleaseMutexSem(stage.image.imageLock);
}

TEST(FilterThread, LabelsItsUndoStepAndSaysWhatItIsAbout)
{
    struct {
        int32_t mode;
        bool area;
        intptr_t picture, mask, objects, newObject;
    } const cases[] = {
        {SCOPE_IMAGE, false, 1, 1, 0, 0},      {SCOPE_ALL, false, 1, 1, 0, 0},       {SCOPE_OBJECTS, false, 0, 0, 1, 0},
        {SCOPE_NEW_OBJECT, false, 0, 0, 0, 1}, {SCOPE_NEW_OBJECT, true, 0, 0, 0, 1},
    };
    for (const auto &told : cases) {
        Stage stage(GREY, 6, 3);
        if (told.area) Select(stage, 1, 1, 2, 2);
        HostStartLog();
        RunWorker(stage, AddAmount, told.mode);
        HostStopLog();
        const auto undo = Logged("UndoUtility");
        ASSERT_EQ(undo.size(), 1u) << "mode " << told.mode;
        EXPECT_EQ(undo[0].arguments[1], told.picture) << "mode " << told.mode;
        EXPECT_EQ(undo[0].arguments[2], told.mask) << "mode " << told.mode;
        EXPECT_EQ(undo[0].arguments[3], told.objects) << "mode " << told.mode;
        EXPECT_EQ(undo[0].arguments[4], told.newObject) << "mode " << told.mode;
        EXPECT_STREQ(MiscUndoLabel(&stage.image), "Test");
        EXPECT_EQ(MiscUndoCount(&stage.image), 1);
    }
}

TEST(FilterThread, ReportsProgressOncePerTenthAndThenNothingRuns)
{
    Stage stage(GREY, 4, 101);
    RunWorker(stage, AddAmount, SCOPE_IMAGE, 1);
    EXPECT_EQ(stage.progress, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
    EXPECT_EQ(MiscProgress(stage.image.progress), -1);
}

TEST(FilterThread, ReportsTheMaskPlaneAsASecondPass)
{
    Stage stage(GREY, 4, 3, 8);
    RunWorker(stage, AddAmount, SCOPE_IMAGE, 1);
    EXPECT_EQ(stage.progress, (std::vector<int>{0, 5, 10, 0, 5, 10}));
}

TEST(FilterThread, WithoutWorkerChangesNothing)
{
    Stage stage(GREY, 6, 3);
    const std::string before = BytesOf(stage.image);
    RunWorker(stage, nullptr);
    EXPECT_EQ(BytesOf(stage.image), before);
    EXPECT_TRUE(stage.finished);
}

//---- Locks held by others

// Inverts rows and asks for the end once row `amount` is done.
static void KPZAPI AbortAfterRow(EffectBlock *block)
{
    const ImageView view = block->view;
    const int32_t last = reinterpret_cast<TestBlock *>(block)->amount;
    const uint32_t stride = StrideFor(view.bitsPerPixel, view.width);
    for (int32_t y = 0; y < view.height && !SharedRead(*view.abortFlag); ++y) {
        for (uint32_t i = 0; i < stride; ++i) view.pixels[y * stride + i] ^= 0xFF;
        if (view.mask) view.mask[0] ^= 0xFF;
        if (y == last) SharedWrite(*view.abortFlag, 1);
    }
}

// Holds a lock on a thread of its own until it goes.
struct Holder {
    std::atomic<bool> holds{false}, over{false};
    std::thread thread;
    explicit Holder(SemaphoreHandle lock)
        : thread([this, lock] {
              KPZ_GetMutexSem(lock, 1000);
              holds = true;
              while (!over) std::this_thread::yield();
              KPZ_ReleaseMutexSem(lock);
          })
    {
        while (!holds) std::this_thread::yield();
    }
    ~Holder()
    {
        over = true;
        thread.join();
    }
};

// The one test that waits for the locks' five seconds: one image each for the image lock and the object lock.
TEST(FilterThread, WithoutImageLockReportsTheEndAndWithoutObjectLockRunsAllTheSame)
{
    Stage busy(GREY, 6, 3), objectsBusy(GREY, 6, 3);
    RunWorker(busy, AbortAfterRow);
    EXPECT_TRUE(MiscLastRunAborted(&busy.image));
    const std::string before = BytesOf(busy.image), pixels = PixelsOf(objectsBusy.image);
    Holder imageHolder(busy.image.imageLock), objectHolder(objectsBusy.image.objectLock);
    HostStartLog();
    StartRun(busy, AddAmount, SCOPE_IMAGE, 1);
    StartRun(objectsBusy, AddAmount, SCOPE_IMAGE, 1);
    WaitForEnd(busy);
    WaitForEnd(objectsBusy);
    HostStopLog();
    EXPECT_EQ(BytesOf(busy.image), before);
    EXPECT_EQ(busy.threadAtFinish, nullptr);
    EXPECT_EQ(busy.finishedWord, WPARAM(busy.image.window));
    EXPECT_EQ(MiscUndoCount(&busy.image), 0);
    EXPECT_FALSE(MiscLastRunAborted(&busy.image));
    EXPECT_NE(PixelsOf(objectsBusy.image), pixels);
    EXPECT_EQ(MiscUndoCount(&objectsBusy.image), 1);
    EXPECT_EQ(Logged("KPZ_ReleaseMutexSem").size(), 1u);   // what was not taken is not released
    EXPECT_EQ(Logged("KPZ_Terminate").size(), 2u);
}

//---- Abort

TEST(FilterThread, AbortedAtAnyRowLeavesEveryByteAsBefore)
{
    for (const int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        Stage stage(type, 13, 5, type == RGB || type == GREY ? 8 : 1);
        const std::string before = BytesOf(stage.image);
        for (int32_t row = 0; row < 5; ++row) {
            RunWorker(stage, AbortAfterRow, SCOPE_IMAGE, row);
            EXPECT_EQ(BytesOf(stage.image), before) << "type " << type << " row " << row;
            EXPECT_TRUE(MiscLastRunAborted(&stage.image));
            EXPECT_EQ(MiscUndoCount(&stage.image), 0);
        }
        RunWorker(stage, AbortAfterRow, SCOPE_IMAGE, 5);
        EXPECT_NE(BytesOf(stage.image), before);
        EXPECT_FALSE(MiscLastRunAborted(&stage.image));
    }
}

TEST(FilterThread, AbortedWithASelectedRectangleOrObjectsLeavesEveryByteAsBefore)
{
    Stage stage(RGB, 13, 5, 8);
    KeepBase(stage);
    AddObject(stage, 2, 1, 4, 3, 90, 255, true);
    Select(stage, 3, 1, 9, 3);
    const std::string before = BytesOf(stage.image);
    for (const int32_t mode : {SCOPE_IMAGE, SCOPE_ALL, SCOPE_OBJECTS, SCOPE_NEW_OBJECT}) {
        RunWorker(stage, AbortAfterRow, mode, 1);
        EXPECT_EQ(BytesOf(stage.image), before) << "mode " << mode;
        EXPECT_TRUE(MiscLastRunAborted(&stage.image));
    }
}

TEST(FilterThread, ClearsAnAbortRequestFromBefore)
{
    Stage stage(GREY, 6, 3);
    const std::string before = PixelsOf(stage.image);
    SharedWrite(stage.image.abortRequest, 1);
    RunWorker(stage, AddAmount, SCOPE_IMAGE, 1);
    EXPECT_NE(PixelsOf(stage.image), before);
    EXPECT_FALSE(MiscLastRunAborted(&stage.image));
}

// Goes on until it is asked to stop.
static void KPZAPI UntilAborted(EffectBlock *block)
{
    const ImageView view = block->view;
    IncrementProgress(view.progressWindow, view.progress, 0);
    while (!SharedRead(*view.abortFlag)) {
        ++view.pixels[0];
        std::this_thread::yield();
    }
}

TEST(FilterThread, AbortFromTheDialogsThreadEndsARun)
{
    Stage stage(GREY, 6, 3);
    const std::string before = BytesOf(stage.image);
    stage.onProgress = [&stage](int) { SharedWrite(stage.image.abortRequest, 1); };
    RunWorker(stage, UntilAborted);
    EXPECT_EQ(BytesOf(stage.image), before);
    EXPECT_TRUE(MiscLastRunAborted(&stage.image));
}

TEST(FilterThread, SeveralImagesRunSideBySide)
{
    Stage one(GREY, 6, 3), other(RGB, 9, 7);
    bool oneBegan = false, otherBegan = false;
    const auto endBoth = [&] {
        if (!oneBegan || !otherBegan) return;
        SharedWrite(one.image.abortRequest, 1);
        SharedWrite(other.image.abortRequest, 1);
    };
    one.onProgress = [&](int) {
        oneBegan = true;
        endBoth();
    };
    other.onProgress = [&](int) {
        otherBegan = true;
        endBoth();
    };
    StartRun(one, UntilAborted);
    StartRun(other, UntilAborted);
    WaitForEnd(one);
    WaitForEnd(other);
    EXPECT_TRUE(MiscLastRunAborted(&one.image));
    EXPECT_TRUE(MiscLastRunAborted(&other.image));
}
