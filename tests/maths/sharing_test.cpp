// Work shared among threads: every part once, every line reported in order, and no thread where it is not worth one.

#include "maths/sharing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#ifdef __linux__
#include <sys/resource.h>
#include <unistd.h>
#endif

TEST(Sharing, CallsEveryPartOnceOnFewerThreadsThanAllowed)
{
    for (int threads : {1, 2, 3, 8, 64}) {
        for (int parts : {0, 1, 2, 5, 100}) {
            std::vector<std::atomic<int>> calls(static_cast<size_t>(parts));
            std::atomic<bool> strange{false};
            ShareParts(threads, parts, [&](int part, int thread) {
                ++calls[size_t(part)];
                if (thread < 0 || thread >= threads) strange = true;
            });
            for (const auto &count : calls) EXPECT_EQ(count, 1);
            EXPECT_FALSE(strange);
        }
    }
}

// The gate is asked on the caller's thread, line by line, and what it lets through is worked on once.
TEST(Sharing, AsksForEveryLineInOrderAndWorksOnThoseThatPass)
{
    const SharingRules before = sharingRules;
    sharingRules = {1, 100};
    for (int count : {1, 7, 100, 201}) {
        for (int stop : {0, 5, 99, 5000}) {
            for (int unit : {1, 4}) {
                for (int threads : {1, 2, 8}) {
                    std::vector<std::atomic<int>> worked(static_cast<size_t>(count));
                    int asked = 0;
                    const std::thread::id caller = std::this_thread::get_id();
                    const auto gate = [&](int line) {
                        EXPECT_EQ(line, asked++);
                        EXPECT_EQ(std::this_thread::get_id(), caller);
                        return line < stop;
                    };
                    const auto work = [&](const Band &band) {
                        EXPECT_EQ(band.first % unit, 0);
                        for (int line = band.first; band.GoesOn(line); ++line) ++worked[size_t(line)];
                    };
                    const auto nothing = [](const Band *, int) {};
                    const int reached = ShareLines(threads, {count, 50, unit, 3}, gate, work, nothing);
                    const int expected = std::min(count, stop);
                    EXPECT_EQ(reached, expected);
                    EXPECT_EQ(asked, std::min(count, stop + 1));
                    for (int i = 0; i < count; ++i) ASSERT_EQ(worked[size_t(i)], i < expected) << i;
                }
            }
        }
    }
    sharingRules = before;
}

TEST(Sharing, TakesNoThreadForAFewNanoseconds)
{
    EXPECT_EQ(ThreadsWorthwhile(8, 0), 1);
    EXPECT_EQ(ThreadsWorthwhile(8, double(sharingRules.worthAThread)), 1);
    EXPECT_EQ(ThreadsWorthwhile(8, 3.5 * double(sharingRules.worthAThread)), 3);
    EXPECT_EQ(ThreadsWorthwhile(8, 1e12), 8);
    EXPECT_GE(ProcessorsOfProcess(), 1);
}

#ifdef __linux__

// On a thread of its own, since not everybody may make one faster again.
TEST(Sharing, HelpersTakeOnTheCallersPriorityAndFollowIt)
{
    const auto niceOf = [](id_t thread) { return getpriority(PRIO_PROCESS, thread); };
    std::thread leader([&] {
        const int before = niceOf(0);
        if (before > 15) return;
        setpriority(PRIO_PROCESS, id_t(gettid()), before + 2);
        std::atomic<bool> lowered{false};
        ShareParts(4, 400, [&](int, int thread) {
            static thread_local bool seen;   // a part ago; this one has begun after it
            if (thread == 0 && !lowered) {
                setpriority(PRIO_PROCESS, id_t(gettid()), before + 4);
                lowered = true;
            }
            if (thread > 0) {
                EXPECT_GE(niceOf(0), before + 2);
                if (seen) { EXPECT_EQ(niceOf(0), before + 4); }
                seen = lowered;
            }
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        });
    });
    leader.join();
}

#endif
