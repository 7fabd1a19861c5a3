// KPZ_srand: reproducible and one run at a time with a fixed seed, different every time without.

#include "tests/host/api/scene.h"

#include <atomic>
#include <cstdlib>

typedef std::vector<int> Draws;

static Draws Draw(int count)
{
    Draws draws;
    for (int i = 0; i < count; ++i) draws.push_back(rand());
    return draws;
}

static Draws SeededDraws(int count)
{
    KPZ_srand();
    const Draws draws = Draw(count);
    HostEndRandomTurn();
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
    EXPECT_TRUE(HostSeedIsFixed());
    const Draws first = SeededDraws(50);
    EXPECT_EQ(SeededDraws(50), first);
    HostFixSeed(TRUE, 1235);
    EXPECT_NE(SeededDraws(50), first);
    HostFixSeed(TRUE, 1234);
    EXPECT_EQ(SeededDraws(50), first);
}

TEST_F(FixedSeed, SeedsTheRuntimesOwnGenerator)
{
    srand(1234);
    const Draws expected = Draw(50);
    EXPECT_EQ(SeededDraws(50), expected);
}

TEST_F(FixedSeed, LetsThreadsDrawOneAfterTheOther)
{
    const Draws expected = SeededDraws(2000);
    std::vector<Draws> drawn(4);
    std::vector<std::thread> threads;
    for (Draws &draws : drawn) threads.emplace_back([&draws] { draws = SeededDraws(2000); });
    for (std::thread &thread : threads) thread.join();
    for (const Draws &draws : drawn) EXPECT_TRUE(draws == expected);
}

TEST_F(FixedSeed, HoldsTheNextRunUntilTheTurnIsGivenBack)
{
    std::atomic<bool> drawn{false};
    KPZ_srand();
    std::thread other([&] {
        SeededDraws(1);
        drawn = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(drawn);
    KPZ_srand();   // seeding again within a turn does not wait for oneself
    HostEndRandomTurn();
    other.join();
    EXPECT_TRUE(drawn);
}

TEST_F(FixedSeed, ATurnIsGivenBackOnlyByWhoHasIt)
{
    std::atomic<bool> drawn{false};
    KPZ_srand();
    std::thread other([&] {
        HostEndRandomTurn();   // not this thread's
        SeededDraws(1);
        drawn = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(drawn);
    HostEndRandomTurn();
    HostEndRandomTurn();
    other.join();
}

TEST(FreshSeed, GivesOtherNumbersEveryTimeAndTakesNoTurn)
{
    EXPECT_FALSE(HostSeedIsFixed());
    KPZ_srand();
    const Draws first = Draw(20);
    KPZ_srand();
    EXPECT_NE(Draw(20), first);
    std::thread([] { KPZ_srand(); }).join();   // would not return if there were a turn
    HostEndRandomTurn();
}
