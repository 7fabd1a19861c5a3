// Ends a test program with the name of the test that hangs. For where ctest runs a whole program as one test and could
// only say that the program was slow; elsewhere each test has ctest's own limit.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

static constexpr std::chrono::seconds LIMIT(300);

static std::mutex guard;
static std::string running;   // empty between tests
static std::chrono::steady_clock::time_point begun;

static void Watch()
{
    for (;;) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        const std::lock_guard<std::mutex> hold(guard);
        if (running.empty() || std::chrono::steady_clock::now() - begun < LIMIT) continue;
        fprintf(stderr, "%s hangs: it has not ended after %d seconds\n", running.c_str(), int(LIMIT.count()));
        fflush(nullptr);
        _Exit(1);
    }
}

struct TimeLimit : testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo &test) override
    {
        Note(test.test_suite_name() + ("." + std::string(test.name())));
    }
    void OnTestEnd(const testing::TestInfo &) override { Note(""); }

    static void Note(const std::string &name)
    {
        const std::lock_guard<std::mutex> hold(guard);
        running = name;
        begun = std::chrono::steady_clock::now();
    }
};

// Linking it is enough.
static const bool watching = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new TimeLimit);
    std::thread(Watch).detach();
    return true;
}();
