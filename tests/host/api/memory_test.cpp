// What KPZ_AllocMem and KPZ_FreeMem promise: blocks of their own, kept ones that are used again, and what is given up
// when memory is short.

#include "tests/host/api/scene.h"

#include <cstring>
#include <set>

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#include <sys/resource.h>
#endif

static constexpr int32_t FLAGS = 0x301;
static constexpr uint32_t MEGABYTE = 1 << 20;

static uint8_t *Allocate(uint32_t size)
{
    uint8_t *memory = nullptr;
    KPZ_AllocMem(&memory, size, FLAGS);
    return memory;
}

TEST(Memory, GivesBlocksOfTheirOwnOfEverySize)
{
    const int32_t before = HostAllocatedBlocks();
    std::vector<uint8_t *> blocks;
    const uint32_t sizes[] = {0, 1, 7, 64, 4096, MEGABYTE - 1, MEGABYTE, 3 * MEGABYTE};
    for (const uint32_t size : sizes) {
        blocks.push_back(Allocate(size));
        ASSERT_NE(blocks.back(), nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(blocks.back()) % 16, 0u) << "fit for any record";
        memset(blocks.back(), int(blocks.size()), size);
    }
    EXPECT_EQ(HostAllocatedBlocks(), before + 8);
    for (size_t i = 0; i < blocks.size(); ++i) {
        if (sizes[i]) {
            EXPECT_EQ(blocks[i][0], i + 1);
            EXPECT_EQ(blocks[i][sizes[i] - 1], i + 1);
        }
        KPZ_FreeMem(blocks[i]);
    }
    EXPECT_EQ(HostAllocatedBlocks(), before);
}

TEST(Memory, NullMayBeFreed)
{
    const int32_t before = HostAllocatedBlocks();
    KPZ_FreeMem(nullptr);
    EXPECT_EQ(HostAllocatedBlocks(), before);
}

TEST(Memory, MayBeFreedByAnotherThread)
{
    const int32_t before = HostAllocatedBlocks();
    std::vector<std::thread> threads;
    for (uint32_t i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            for (uint32_t n = 0; n < 50; ++n) {
                uint8_t *block = Allocate(MEGABYTE + 1 + i * 1000 + n);
                block[0] = block[MEGABYTE] = uint8_t(n);
                KPZ_FreeMem(block);
            }
        });
    }
    uint8_t *block = Allocate(2 * MEGABYTE);
    block[0] = 1;
    std::thread([block] { KPZ_FreeMem(block); }).join();
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(HostAllocatedBlocks(), before);
}

#if !defined(__SANITIZE_ADDRESS__)   // which wants to see every use after the free

TEST(Memory, LargeBlocksThatWereJustFreedAreUsedAgain)
{
    uint8_t *plane = Allocate(8 * MEGABYTE), *mask = Allocate(3 * MEGABYTE);
    for (int run = 0; run < 5; ++run) {
        KPZ_FreeMem(plane);
        KPZ_FreeMem(mask);
        EXPECT_EQ(Allocate(3 * MEGABYTE), mask) << "run " << run;
        EXPECT_EQ(Allocate(8 * MEGABYTE), plane) << "run " << run;
    }
    KPZ_FreeMem(plane);
    KPZ_FreeMem(mask);
}

TEST(Memory, ARequestOfAnotherSizeTakesNoBlockThatIsMuchTooLarge)
{
    KPZ_FreeMem(Allocate(60 * MEGABYTE));   // room for what is kept: a dropped block's place may be anybody's
    uint8_t *large = Allocate(40 * MEGABYTE), *plane = Allocate(8 * MEGABYTE);
    KPZ_FreeMem(large);
    KPZ_FreeMem(plane);
    uint8_t *small = Allocate(3 * MEGABYTE);
    EXPECT_NE(small, large);
    EXPECT_NE(small, plane);
    uint8_t *again = Allocate(7 * MEGABYTE);
    EXPECT_EQ(again, plane) << "a little smaller fits";
    KPZ_FreeMem(again);
    KPZ_FreeMem(small);
}

TEST(Memory, ABlockInUseIsNeverGivenTwice)
{
    std::set<uint8_t *> blocks;
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(blocks.insert(Allocate(2 * MEGABYTE)).second);
    for (uint8_t *block : blocks) KPZ_FreeMem(block);
    std::set<uint8_t *> again;
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(again.insert(Allocate(2 * MEGABYTE)).second);
    for (uint8_t *block : again) KPZ_FreeMem(block);
}

#endif

static int32_t reliefs, reliefsLeft;

static BOOL KPZAPI Relieve()
{
    ++reliefs;
    return reliefsLeft-- > 0;
}

TEST(Memory, WhatCanBeDoneWithoutIsGivenUpBeforeMemoryRunsOut)
{
    HostRelieveMemory(Relieve);
    reliefs = 0;
    reliefsLeft = 3;
    HostRefuseMemory(4);   // with what is kept, without it, and after two of the three reliefs
    uint8_t *block = Allocate(2 * MEGABYTE + 12345);
    HostRelieveMemory(nullptr);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reliefs, 3);
    KPZ_FreeMem(block);
}

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

static void KPZAPI AllocateWithoutEnd(FilterHeader *)
{
    for (;;) Allocate(256 * MEGABYTE)[0] = 1;
}

// On a run's thread, which must not wait for itself to end.
static void RunOutOfMemory()
{
    const rlimit limit = {rlim_t(1) << 30, rlim_t(1) << 30};
    setrlimit(RLIMIT_AS, &limit);
    FilterHeader header = {};
    KPZ_CreateThread(AllocateWithoutEnd, 32768, &header);
    HostWaitForThreads();
}

static void KPZAPI SayLastWords(void *words) { fputs(static_cast<const char *>(words), stderr); }

static void RunOutWithLastWords()
{
    static char words[] = "last words\n";
    HostBeforeMemoryEnd(SayLastWords, words);
    HostRefuseMemory(2);
    Allocate(2 * MEGABYTE);
}

TEST(MemoryDeathTest, TheProgramHasTheLastWordBeforeItEnds)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(RunOutWithLastWords(), testing::ExitedWithCode(1), "^last words\nvelmorant: out of memory: ");
}

TEST(MemoryDeathTest, WhenItRunsOutTheProgramSaysSoInOneLineAndEnds)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(RunOutOfMemory(), testing::ExitedWithCode(1),
                "^velmorant: out of memory: [0-9]+ more bytes cannot be had\n$");
}

#endif

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

static void UseAndFree(uint32_t size)
{
    uint8_t *block = Allocate(size);
    memset(block, 1, size);
    KPZ_FreeMem(block);
}

// In the kernel's own kilobytes.
static long MostResident()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

TEST(Memory, KeptBlocksDoNotAddToTheMostThatWasInUse)
{
    UseAndFree(96 * MEGABYTE);
    const long before = MostResident();
    for (const uint32_t megabytes : {64, 40, 24, 14}) UseAndFree(megabytes * MEGABYTE);   // none fits another's block
    EXPECT_LT(MostResident() - before, 8 * 1024);
}

#endif
