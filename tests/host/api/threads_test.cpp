// Run threads, and locks between them.

#include "tests/host/api/scene.h"

#include <atomic>
#include <chrono>

static constexpr uint32_t STACK = 32768;

// What a run thread is handed: a header whose host field leads to the test's routine.
struct TestRun {
    FilterHeader header = {};
    std::function<void()> routine;
    std::atomic<bool> started{false}, ended{false};
};

static void KPZAPI RunRoutine(FilterHeader *header)
{
    auto *run = static_cast<TestRun *>(header->hostField);
    run->started = true;
    if (run->routine) run->routine();
    run->ended = true;
}

static ThreadHandle Start(TestRun &run, std::function<void()> routine = nullptr)
{
    run.routine = std::move(routine);
    run.header.hostField = &run;
    return KPZ_CreateThread(RunRoutine, STACK, &run.header);
}

static void Pause() { std::this_thread::sleep_for(std::chrono::milliseconds(20)); }

//---- Threads

TEST(Threads, AreHeldUntilTheirPriorityIsSet)
{
    TestRun run;
    const ThreadHandle thread = Start(run);
    ASSERT_NE(thread, nullptr);
    Pause();
    EXPECT_FALSE(run.started);
    KPZ_SetThreadPriority(thread, NORMAL_PRIORITY);
    while (!run.ended) std::this_thread::yield();   // without a wait for messages
    HostWaitForThreads();
}

TEST(Threads, AreHeldUntilTheirMakersNextWait)
{
    Listener own([](const Told &) { return 0; });
    TestRun run;
    Start(run, [&] {
        run.ended = true;
        HostWake(own.window);
    });
    Pause();
    EXPECT_FALSE(run.started);
    RunUntil([&] { return run.ended.load(); });
    HostWaitForThreads();
}

TEST(Threads, AreNotLetGoByTheWaitOfAnotherThread)
{
    TestRun run;
    Start(run);
    std::thread other([] { HandlePosted(); });
    other.join();
    std::thread waiter([] {
        std::atomic<bool> done{false};
        Listener own([](const Told &) { return 0; });
        std::thread waker([&] {
            Pause();
            done = true;
            HostWake(own.window);
        });
        RunUntil([&] { return done.load(); });
        waker.join();
    });
    waiter.join();
    EXPECT_FALSE(run.started);
    HostWaitForThreads();
    EXPECT_TRUE(run.ended);
}

TEST(Threads, LettingOneGoHoldsTheOthers)
{
    TestRun first, second;
    Start(first);
    const ThreadHandle thread = Start(second);
    KPZ_SetThreadPriority(thread, LOWEST_PRIORITY);
    while (!second.ended) std::this_thread::yield();
    Pause();
    EXPECT_FALSE(first.started);
    HostWaitForThreads();
    EXPECT_TRUE(first.ended);
}

TEST(Threads, RunSideBySideAndSendToTheirMaker)
{
    constexpr int THREADS = 8, MESSAGES = 50;
    int handled = 0;
    Listener own([&](const Told &told) { return told.message == TEST_MESSAGE ? ++handled : 0; });
    TestRun runs[THREADS];
    ThreadHandle handles[THREADS];
    for (int i = 0; i < THREADS; ++i) {
        handles[i] = Start(runs[i], [&own] {
            for (int n = 0; n < MESSAGES; ++n) EXPECT_GT(KPZ_SendMsgAndWait(own.window, TEST_MESSAGE, 0, 0), 0);
        });
        for (int before = 0; before < i; ++before) EXPECT_NE(handles[before], handles[i]);
    }
    HostWaitForThreads();
    EXPECT_EQ(handled, THREADS * MESSAGES);
    for (const TestRun &run : runs) EXPECT_TRUE(run.ended);
}

TEST(Threads, AWaitForAllCoversThoseThatAreStartedMeanwhile)
{
    constexpr int CHAIN = 5;
    TestRun runs[CHAIN];
    int next = 1;
    Listener own([&](const Told &told) {
        if (told.message == TEST_MESSAGE && next < CHAIN) {
            TestRun &run = runs[next++];
            Start(run, [&own] { KPZ_SendMsgNoWait(own.window, TEST_MESSAGE, 0, 0); });
        }
        return 0;
    });
    Start(runs[0], [&own] { KPZ_SendMsgNoWait(own.window, TEST_MESSAGE, 0, 0); });
    while (next < CHAIN) {
        HostWaitForThreads();
        HandlePosted();
    }
    HostWaitForThreads();
    for (const TestRun &run : runs) EXPECT_TRUE(run.ended);
}

TEST(Threads, AHandlerThatStartsAThreadAfterTheOthersEndedIsWaitedForToo)
{
    TestRun first, second;
    Listener own([&](const Told &told) {
        if (told.message == TEST_MESSAGE) {
            while (!first.ended) std::this_thread::yield();
            Pause();
            Start(second);
        }
        return 0;
    });
    KPZ_SendMsgNoWait(own.window, TEST_MESSAGE, 0, 0);
    KPZ_SetThreadPriority(Start(first, [] { Pause(); }), NORMAL_PRIORITY);
    HostWaitForThreads();
    HandlePosted();
    HostWaitForThreads();
    EXPECT_TRUE(second.ended);
}

TEST(Threads, WithoutAnyThereIsNothingToWaitFor)
{
    HostWaitForThreads();
    HostWaitForThreads();
}

TEST(Threads, TakeEveryPriorityWhileTheyRunAndNoneAfterwards)
{
    TestRun run;
    std::atomic<bool> goOn{false};
    const ThreadHandle thread = Start(run, [&] {
        while (!goOn) std::this_thread::yield();
        KPZ_SetThreadPriority(nullptr, NORMAL_PRIORITY);
    });
    for (int32_t priority = LOWEST_PRIORITY; priority <= HIGHEST_PRIORITY; ++priority)
        KPZ_SetThreadPriority(thread, priority);
    goOn = true;
    while (!run.ended) std::this_thread::yield();
    KPZ_SetThreadPriority(thread, HIGHEST_PRIORITY);
    HostWaitForThreads();
    KPZ_SetThreadPriority(thread, LOWEST_PRIORITY);
    EXPECT_TRUE(run.ended);
}

TEST(Threads, SetUpAndTakeDownAnAnchorAndAQueue)
{
    LRESULT answer = 0;
    Listener own([](const Told &) { return 5; });
    for (int i = 0; i < 3; ++i) {
        TestRun run;
        Start(run, [&] {
            const AnchorHandle anchor = KPZ_Initialize();
            EXPECT_NE(anchor, nullptr);
            const QueueHandle queue = KPZ_CreateMsgQueue(anchor, 0);
            EXPECT_NE(queue, nullptr);
            KPZ_CancelShutdown(queue, 1);
            answer = KPZ_SendMsgAndWait(own.window, TEST_MESSAGE, 0, 0);
            KPZ_DestroyMsgQueue(queue);
            KPZ_Terminate(anchor);
        });
        HostWaitForThreads();
        EXPECT_EQ(answer, 5);
    }
}

//---- Locks

struct Lock {
    SemaphoreHandle handle = HostCreateSemaphore();
    ~Lock() { HostDestroySemaphore(handle); }
};

static bool TakenElsewhere(SemaphoreHandle lock, uint32_t milliseconds)
{
    bool taken = false;
    std::thread other([&] {
        taken = KPZ_GetMutexSem(lock, milliseconds);
        if (taken) KPZ_ReleaseMutexSem(lock);
    });
    other.join();
    return taken;
}

TEST(Locks, KeepOthersOutUntilTheTimeIsOver)
{
    Lock lock;
    ASSERT_TRUE(KPZ_GetMutexSem(lock.handle, 5000));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(TakenElsewhere(lock.handle, 60));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
    EXPECT_FALSE(TakenElsewhere(lock.handle, 0));
    KPZ_ReleaseMutexSem(lock.handle);
    EXPECT_TRUE(TakenElsewhere(lock.handle, 0));
}

TEST(Locks, MayBeTakenAgainByTheirHolderAndAreReleasedAsOften)
{
    Lock lock;
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(KPZ_GetMutexSem(lock.handle, 0));
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(TakenElsewhere(lock.handle, 0)) << "released " << i << " times";
        KPZ_ReleaseMutexSem(lock.handle);
    }
    EXPECT_TRUE(TakenElsewhere(lock.handle, 0));
}

TEST(Locks, AreReleasedByTheirHolderAlone)
{
    Lock lock;
    ASSERT_TRUE(KPZ_GetMutexSem(lock.handle, 0));
    std::thread other([&] { KPZ_ReleaseMutexSem(lock.handle); });
    other.join();
    EXPECT_FALSE(TakenElsewhere(lock.handle, 0));
    KPZ_ReleaseMutexSem(lock.handle);
    KPZ_ReleaseMutexSem(lock.handle);
    EXPECT_TRUE(TakenElsewhere(lock.handle, 0)) << "one release too many changes nothing";
}

TEST(Locks, AreHandedToWhoWaits)
{
    Lock lock;
    ASSERT_TRUE(KPZ_GetMutexSem(lock.handle, 0));
    std::atomic<int> taken{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i) {
        waiters.emplace_back([&] {
            if (!KPZ_GetMutexSem(lock.handle, 5000)) return;
            ++taken;
            KPZ_ReleaseMutexSem(lock.handle);
        });
    }
    Pause();
    EXPECT_EQ(taken, 0);
    KPZ_ReleaseMutexSem(lock.handle);
    for (std::thread &waiter : waiters) waiter.join();
    EXPECT_EQ(taken, 4);
}

TEST(Locks, GuardPlainData)
{
    Lock lock;
    int count = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 500; ++n) {
                ASSERT_TRUE(KPZ_GetMutexSem(lock.handle, 5000));
                ++count;
                KPZ_ReleaseMutexSem(lock.handle);
            }
        });
    }
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(count, 2000);
}
