// How many threads a run may use, and what sharing them among runs leaves each.

#include "host/api/host_api.h"

#include <gtest/gtest.h>

#include <thread>

struct WorkerThreads : testing::Test {
    void TearDown() override { HostAllowThreads(0); }
};

TEST_F(WorkerThreads, AreAsManyAsTheProgramAllows)
{
    for (int32_t threads : {1, 2, 7, 64}) {
        HostAllowThreads(threads);
        EXPECT_EQ(HostWorkerThreads(), threads);
    }
    HostAllowThreads(1000);
    EXPECT_EQ(HostWorkerThreads(), 64);
}

TEST_F(WorkerThreads, AreSharedAmongThoseAtWork)
{
    HostAllowThreads(8);
    HostBeginWork(0);
    EXPECT_EQ(HostWorkerThreads(), 8);
    std::thread other([] {
        HostBeginWork(0);
        EXPECT_EQ(HostWorkerThreads(), 4);
        HostEndWork();
    });
    other.join();
    EXPECT_EQ(HostWorkerThreads(), 8);
    HostEndWork();
}

TEST_F(WorkerThreads, AreAtLeastOneForEach)
{
    HostAllowThreads(2);
    for (int i = 0; i < 5; ++i) HostBeginWork(0);
    EXPECT_EQ(HostWorkerThreads(), 1);
    for (int i = 0; i < 5; ++i) HostEndWork();
}

TEST_F(WorkerThreads, OfARunWithItsOwnNumberAreThatMany)
{
    HostAllowThreads(2);
    HostBeginWork(6);
    EXPECT_EQ(HostWorkerThreads(), 6);
    HostEndWork();
    EXPECT_EQ(HostWorkerThreads(), 2);
}
