// Runs and previews that get no memory or no thread, in a program that must not end: the picture is as before, nothing
// stays allocated or locked, the dialog hears of the end, and the host can ask why.

#include "tests/host/misc/stage.h"

#include <gtest/gtest.h>
#include <new>

static constexpr int32_t SIDE = 1100;   // a grey plane of more than the megabyte from which requests can be refused

static int32_t refusedAfter;   // how many large requests the worker is granted

static uint8_t *Take(uint32_t size)
{
    uint8_t *memory;
    KPZ_AllocMem(&memory, size, 0x301);
    return memory;
}

// Leaves everything that a run can: changed pixels, blocks of its own, a request that is not granted.
static void KPZAPI WantsTooMuch(EffectBlock *block)
{
    AddAmount(block);
    for (int32_t i = 0; i < refusedAfter; ++i) Take(2 << 20);
    Take(100);
    HostRefuseMemory(INT32_MAX);
    Take(3 << 20);
    FAIL() << "went on";
}

#ifndef _WIN32   // where a test for it stands below
static void KPZAPI WantsTooMuchOfTheLibrary(EffectBlock *block)
{
    AddAmount(block);
    Take(100);
    throw std::bad_alloc();
}
#endif

static uint8_t *kept;
static void KPZAPI TakeAndKeep(void *) { kept = Take(10); }

struct Left : testing::Test {
    Stage stage{GREY, SIDE, SIDE, 8};
    std::string before = BytesOf(stage.image);
    int32_t blocks = 0;

    void SetUp() override
    {
        HostLetRunsBeLeft(TRUE);
        refusedAfter = 0;
        stage.block.amount = 3;
    }
    void TearDown() override
    {
        HostRefuseMemory(0);
        HostRefuseThreads(0);
        HostLetRunsBeLeft(FALSE);
    }
    void Run(WorkerRoutine worker, int32_t mode = SCOPE_IMAGE)
    {
        blocks = HostAllocatedBlocks();
        RunWorker(stage, worker, mode, 3);
        HostRefuseMemory(0);
        WaitUntil([this] { return !HostRunUnderWay(&stage.image); });
    }
    std::string Why() const
    {
        char line[160];
        return HostRunFailure(&stage.image, line, sizeof line) ? line : "";
    }
    // Another thread can take the locks.
    void ExpectNothingHeld()
    {
        EXPECT_EQ(HostAllocatedBlocks(), blocks);
        EXPECT_EQ(MiscUndoCount(&stage.image), 0);
        EXPECT_EQ(SharedRead(stage.image.effectThread), nullptr);
        EXPECT_EQ(MiscProgress(stage.image.progress), -1);
        for (const SemaphoreHandle lock : {stage.image.imageLock, stage.image.objectLock}) {
            EXPECT_TRUE(KPZ_GetMutexSem(lock, 0));
            KPZ_ReleaseMutexSem(lock);
        }
    }
};

TEST_F(Left, ARunWithoutMemoryLeavesNothingBehindAndSaysWhy)
{
    for (const int32_t granted : {0, 1, 7}) {
        refusedAfter = granted;
        stage.finished = false;
        Run(WantsTooMuch);
        EXPECT_EQ(BytesOf(stage.image), before);
        EXPECT_EQ(Why(), "out of memory: 3145728 more bytes cannot be had");
        EXPECT_FALSE(MiscLastRunAborted(&stage.image));
        EXPECT_TRUE(stage.finished);
        EXPECT_EQ(stage.threadAtFinish, nullptr);
        ExpectNothingHeld();
    }
}

TEST_F(Left, TheNextRunGoesThroughAndForgetsTheFailure)
{
    Run(WantsTooMuch);
    const uint32_t seed = MiscSeed(&stage.image);
    Run(AddAmount);
    EXPECT_EQ(Why(), "");
    EXPECT_NE(BytesOf(stage.image), before);
    EXPECT_NE(MiscSeed(&stage.image), seed);
    EXPECT_TRUE(MiscUndo(&stage.image));
    EXPECT_EQ(BytesOf(stage.image), before);
}

TEST_F(Left, WithoutMemoryForItsUndoStepARunDoesNotBegin)
{
    HostRefuseMemory(INT32_MAX);
    EXPECT_FALSE(HostMemoryHolds(1, 2 << 20));   // and no block is kept for reuse any more
    Run(AddAmount);
    EXPECT_EQ(BytesOf(stage.image), before);
    EXPECT_NE(Why(), "");
    ExpectNothingHeld();
}

TEST_F(Left, InEveryScopeThePictureIsRestored)
{
    KeepBase(stage);
    AddObject(stage, 5, 5, 1050, 1050, 9, 200, true);
    Select(stage, 2, 2, 1080, 1070);
    before = BytesOf(stage.image);
    for (const int32_t mode : {SCOPE_IMAGE, SCOPE_ALL, SCOPE_OBJECTS, SCOPE_NEW_OBJECT}) {
        Run(WantsTooMuch, mode);
        EXPECT_EQ(BytesOf(stage.image), before) << "mode " << mode;
        EXPECT_NE(Why(), "") << "mode " << mode;
        ExpectNothingHeld();
    }
}

#ifndef _WIN32
TEST_F(Left, WhatTheCppLibraryCannotGetIsNoOtherMatter)
{
    Run(WantsTooMuchOfTheLibrary);
    EXPECT_EQ(BytesOf(stage.image), before);
    EXPECT_EQ(Why(), "out of memory");
    ExpectNothingHeld();
}
#endif

TEST_F(Left, ARefusedThreadChangesNothingAndSaysSo)
{
    blocks = HostAllocatedBlocks();
    HostRefuseThreads(1);
    FilterHeader &header = stage.block.common.header;
    header.worker = AddAmount;
    EXPECT_EQ(KPZ_CreateThread(FilterThread, 32768, &header), nullptr);
    EXPECT_FALSE(HostRunUnderWay(&stage.image));
    EXPECT_EQ(Why(), "the system refuses a thread to run on");
    EXPECT_EQ(BytesOf(stage.image), before);
    Run(AddAmount);
    EXPECT_EQ(Why(), "");
}

TEST_F(Left, AnImageThatGoesIsForgotten)
{
    Run(WantsTooMuch);
    EXPECT_NE(Why(), "");
    MiscForgetUndo(&stage.image);
    EXPECT_EQ(Why(), "");
}

//---- Work of any kind

struct Taken {
    uint8_t *kept = nullptr, *given = nullptr;
    bool left = false;
    uint64_t wanted = 0;
};

static void KPZAPI TakeAndFail(void *context)
{
    auto &taken = *static_cast<Taken *>(context);
    Take(10);
    const int32_t first = HostBlocksOfWork();
    EXPECT_EQ(first, 1);
    taken.kept = Take(20);
    HostKeepBlocks(first);
    Take(30);
    taken.given = Take(40);
    KPZ_FreeMem(taken.given);
    HostRefuseMemory(INT32_MAX);
    Take(2 << 20);
}

static void KPZAPI NoteLeft(void *context, uint64_t wanted)
{
    auto &taken = *static_cast<Taken *>(context);
    taken.left = true;
    taken.wanted = wanted;
}

TEST(Work, ThatIsLeftKeepsOnlyWhatWasToldToBeKept)
{
    const int32_t before = HostAllocatedBlocks();
    Taken taken;
    EXPECT_FALSE(HostWorkOrLeave(TakeAndFail, NoteLeft, &taken));
    HostRefuseMemory(0);
    EXPECT_TRUE(taken.left);
    EXPECT_EQ(taken.wanted, uint64_t(2 << 20));
    EXPECT_EQ(HostAllocatedBlocks(), before + 1);
    KPZ_FreeMem(taken.kept);
}

static void KPZAPI TakeWithinTaking(void *)
{
    Take(10);
    Taken taken;
    EXPECT_FALSE(HostWorkOrLeave(TakeAndFail, nullptr, &taken));
    HostRefuseMemory(0);
    KPZ_FreeMem(taken.kept);
    EXPECT_EQ(HostBlocksOfWork(), 1);
    HostLeaveWork();
}

TEST(Work, NestsAndCanBeLeftOnPurpose)
{
    const int32_t before = HostAllocatedBlocks();
    Taken taken;
    EXPECT_FALSE(HostWorkOrLeave(TakeWithinTaking, nullptr, &taken));
    EXPECT_EQ(HostAllocatedBlocks(), before);
    EXPECT_EQ(HostBlocksOfWork(), 0);
}

TEST(Work, ThatEndsKeepsWhatItHas)
{
    EXPECT_TRUE(HostWorkOrLeave(TakeAndKeep, nullptr, nullptr));
    kept[9] = 1;
    KPZ_FreeMem(kept);
}

TEST(Memory, CanBeAskedForWithoutEndingAnything)
{
    HostRefuseMemory(INT32_MAX);
    EXPECT_EQ(HostTryAllocate(2 << 20), nullptr);
    HostRefuseMemory(0);
    void *memory = HostTryAllocate(2 << 20);
    EXPECT_NE(memory, nullptr);
    KPZ_FreeMem(memory);
    EXPECT_EQ(HostTryAllocate(UINT64_MAX), nullptr);
}
