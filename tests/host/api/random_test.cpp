// KPZ_srand and the numbers after it: those of the runtime's rand for the same seed, a sequence to each thread, and
// nothing that the program draws for itself has a part in it.

#include "framework/random.h"
#include "tests/host/api/scene.h"

#include <cstdlib>

typedef std::vector<int> Draws;

// As the module draws, in pieces of changing length.
static Draws Draw(int count)
{
    Draws draws(size_t(count), 0);
    for (int at = 0, piece = 1; at < count; at += piece, piece = piece % 70 + 3)
        DrawNumbers(draws.data() + at, std::min(piece, count - at));
    return draws;
}

static Draws SeededDraws(int count)
{
    KPZ_srand();
    return Draw(count);
}

static Draws OfRuntime(uint32_t seed, int count)
{
    Draws draws;
    srand(seed);
    for (int i = 0; i < count; ++i) draws.push_back(rand());
    return draws;
}

class FixedSeed : public testing::Test
{
protected:
    void SetUp() override { HostFixSeed(TRUE, 1234); }
    void TearDown() override { HostFixSeed(FALSE, 0); }
};

TEST_F(FixedSeed, GivesTheSameNumbersEveryTime)
{
    uint32_t seed = 0;
    EXPECT_TRUE(HostFixedSeed(&seed));
    EXPECT_EQ(seed, 1234u);
    const Draws first = SeededDraws(50);
    EXPECT_EQ(SeededDraws(50), first);
    HostFixSeed(TRUE, 1235);
    EXPECT_NE(SeededDraws(50), first);
    HostFixSeed(TRUE, 1234);
    EXPECT_EQ(SeededDraws(50), first);
}

TEST_F(FixedSeed, GivesTheNumbersOfTheRuntimesOwnGenerator)
{
    for (const uint32_t seed : {0u, 1u, 2u, 1234u, 127773u, 16807u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        HostFixSeed(TRUE, seed);
        EXPECT_EQ(SeededDraws(5000), OfRuntime(seed, 5000)) << "seed " << seed;
    }
}

TEST_F(FixedSeed, LetsThreadsDrawAtTheSameTime)
{
    const Draws expected = SeededDraws(20000);
    std::vector<Draws> drawn(4);
    std::vector<std::thread> threads;
    for (Draws &draws : drawn) threads.emplace_back([&draws] { draws = SeededDraws(20000); });
    for (std::thread &thread : threads) thread.join();
    for (const Draws &draws : drawn) EXPECT_TRUE(draws == expected);
}

TEST_F(FixedSeed, HoldsNobodyUp)
{
    KPZ_srand();
    std::thread([] { KPZ_srand(); }).join();   // would not return if this thread had a turn
}

#ifndef _WIN32
TEST_F(FixedSeed, TheProgramsOwnNumbersAndARunsLeaveEachOtherAlone)
{
    const Draws run = SeededDraws(40), program = OfRuntime(99, 40);
    srand(99);
    KPZ_srand();
    for (size_t i = 0; i < 40; ++i) {
        EXPECT_EQ(rand(), program[i]);
        EXPECT_EQ(DrawNumber(), run[i]);
    }
}
#endif

TEST(FreshSeed, GivesOtherNumbersEveryTime)
{
    EXPECT_FALSE(HostFixedSeed(nullptr));
    const Draws first = SeededDraws(20);
    EXPECT_NE(SeededDraws(20), first);
}

TEST(GivenSeed, IsTheThreadsAloneAndIsToldOnceItIsUsed)
{
    const uint32_t seed = 77;
    uint32_t used = 0;
    HostUseSeed(&seed);
    EXPECT_FALSE(HostUsedSeed(&used));
    EXPECT_EQ(SeededDraws(20), OfRuntime(77, 20));
    EXPECT_TRUE(HostUsedSeed(&used));
    EXPECT_EQ(used, 77u);
    std::thread([] {
        EXPECT_FALSE(HostUsedSeed(nullptr));
        EXPECT_NE(SeededDraws(20), OfRuntime(77, 20));
    }).join();
    HostUseSeed(nullptr);
    EXPECT_FALSE(HostUsedSeed(nullptr));
    EXPECT_NE(SeededDraws(20), OfRuntime(77, 20));
}

TEST(GivenSeed, GivesWayToAFixedOne)
{
    const uint32_t seed = 77;
    uint32_t used = 0;
    HostUseSeed(&seed);
    HostFixSeed(TRUE, 5);
    EXPECT_EQ(SeededDraws(20), OfRuntime(5, 20));
    EXPECT_TRUE(HostUsedSeed(&used));
    EXPECT_EQ(used, 5u);
    HostFixSeed(FALSE, 0);
    HostUseSeed(nullptr);
}
