// How a batch shares memory out.

#include "host/cli/memory.h"

#include <gtest/gtest.h>
#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#include <sys/resource.h>
#endif

static constexpr uint64_t MIB = 1 << 20;

TEST(Memory, FreeIsSomeOfIt)
{
    EXPECT_GT(FreeMemory(), 16 * MIB);
    if (sizeof(void *) == 4) { EXPECT_LE(FreeMemory(), UINT64_C(1) << 32); }
}

TEST(Memory, HasRoomForThePicturesThatFitFourTimesIntoThreeQuartersOfIt)
{
    const uint64_t free = 1600 * MIB;   // 300 MiB of planes
    EXPECT_TRUE(HasRoom(free, {}, 0)) << "alone any may be tried";
    EXPECT_TRUE(HasRoom(MIB, {}, 900 * MIB));
    EXPECT_FALSE(HasRoom(free, {0}, 0)) << "the first tells how large they are";
    EXPECT_TRUE(HasRoom(free, {100 * MIB, 100 * MIB}, 100 * MIB));
    EXPECT_FALSE(HasRoom(free, {100 * MIB, 100 * MIB, 100 * MIB}, 100 * MIB));
    EXPECT_FALSE(HasRoom(free, {100 * MIB, 0, 0}, 100 * MIB)) << "those still being read count as the largest";
    EXPECT_TRUE(HasRoom(free, {MIB, MIB, MIB}, 100 * MIB));
    EXPECT_TRUE(HasRoom(UINT64_MAX, {100 * MIB, 100 * MIB, 100 * MIB}, 0)) << "the system does not tell";
}

// A sanitizer's own memory is beyond any such limit already.
#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(Memory, FreeStaysBelowTheProcessesLimit)
{
    rlimit before = {};
    getrlimit(RLIMIT_AS, &before);
    const rlimit small = {before.rlim_max < 1024 * MIB ? before.rlim_max : 1024 * MIB, before.rlim_max};
    setrlimit(RLIMIT_AS, &small);
    const uint64_t free = FreeMemory();
    setrlimit(RLIMIT_AS, &before);
    EXPECT_LE(free, 1024 * MIB);
}
#endif
