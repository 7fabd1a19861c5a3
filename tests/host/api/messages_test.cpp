// Sending and posting, within a thread and across threads.

#include "tests/host/api/scene.h"

#include <atomic>
#include <future>

TEST(Messages, ASentMessageIsHandledBeforeTheCallReturnsAndBringsItsResult)
{
    std::vector<Told> told;
    Listener listener([&](const Told &message) { return told.push_back(message), 77; });
    EXPECT_EQ(KPZ_SendMsgAndWait(listener.window, TEST_MESSAGE, 5, -6), 77);
    EXPECT_EQ(told, (std::vector<Told>{{TEST_MESSAGE, 5, -6}}));
}

TEST(Messages, ParametersAndResultsAreAsWideAsPointers)
{
    Listener listener([](const Told &message) { return LRESULT(message.word) + message.extra; });
    const auto wide = reinterpret_cast<LPARAM>(&listener);
    EXPECT_EQ(KPZ_SendMsgAndWait(listener.window, TEST_MESSAGE, WPARAM(wide), 0), wide);
    EXPECT_EQ(KPZ_SendMsgAndWait(listener.window, TEST_MESSAGE, 0, wide), wide);
}

// Takes those with word 1.
static BOOL KPZAPI TakeOnes(void *asked, HWND, UINT message, WPARAM word, LPARAM)
{
    if (message != TEST_MESSAGE) return FALSE;
    ++*static_cast<int *>(asked);
    return word == 1;
}

TEST(Messages, AProgramMayTakePostedMessagesBeforeTheirWindow)
{
    int handled = 0, asked = 0;
    Listener listener([&](const Told &) { return ++handled; });
    HostTakeMessages(TakeOnes, &asked);
    for (const WPARAM word : {1, 2, 1}) KPZ_SendMsgNoWait(listener.window, TEST_MESSAGE, word, 0);
    RunUntil([&] { return asked == 3 && handled > 0; });
    EXPECT_EQ(handled, 1);
    KPZ_SendMsgAndWait(listener.window, TEST_MESSAGE, 1, 0);
    EXPECT_EQ(handled, 2) << "a sent message is its window's";
    HostTakeMessages(nullptr, nullptr);
    KPZ_SendMsgNoWait(listener.window, TEST_MESSAGE, 1, 0);
    RunUntil([&] { return handled == 3; });
}

TEST(Messages, APostedMessageWaitsForTheLoop)
{
    int handled = 0;
    Listener listener([&](const Told &) { return ++handled; });
    EXPECT_TRUE(KPZ_SendMsgNoWait(listener.window, TEST_MESSAGE, 0, 0));
    EXPECT_EQ(handled, 0);
    RunUntil([&] { return handled > 0; });
    EXPECT_EQ(handled, 1);
}

TEST(Messages, TheLoopAsksBeforeItHandlesAnything)
{
    int handled = 0, asked = 0;
    Listener listener([&](const Told &) { return ++handled; });
    for (int i = 0; i < 3; ++i) KPZ_SendMsgNoWait(listener.window, TEST_MESSAGE, 0, 0);
    RunUntil([&] { return ++asked; });
    EXPECT_EQ(handled, 0);
    EXPECT_EQ(asked, 1);
    RunUntil([&] { return handled == 1; });
    EXPECT_EQ(handled, 1) << "asked after every message";
    HandlePosted();
    EXPECT_EQ(handled, 3);
}

TEST(Messages, PostedMessagesKeepTheirOrderPerSender)
{
    constexpr int COUNT = 200;
    std::vector<LPARAM> own, other;
    Listener listener([&](const Told &told) { return (told.word ? other : own).push_back(told.extra), 0; });
    std::thread poster([&] {
        for (int i = 0; i < COUNT; ++i) EXPECT_TRUE(KPZ_SendMsgNoWait(listener.window, TEST_MESSAGE, 1, i));
    });
    for (int i = 0; i < COUNT; ++i) KPZ_SendMsgNoWait(listener.window, TEST_MESSAGE, 0, i);
    RunUntil([&] { return own.size() + other.size() == 2 * COUNT; });
    poster.join();
    for (int i = 0; i < COUNT; ++i) {
        ASSERT_EQ(own[size_t(i)], i);
        ASSERT_EQ(other[size_t(i)], i);
    }
}

TEST(Messages, LoopsNest)
{
    std::vector<int> order;
    Listener listener([&](const Told &told) {
        if (told.word == 1) {
            RunUntil([&] { return !order.empty(); });
            order.push_back(1);
        } else {
            order.push_back(2);
        }
        return 0;
    });
    KPZ_SendMsgNoWait(listener.window, TEST_MESSAGE, 1, 0);
    KPZ_SendMsgNoWait(listener.window, TEST_MESSAGE, 2, 0);
    RunUntil([&] { return order.size() == 2; });
    EXPECT_EQ(order, (std::vector<int>{2, 1}));
}

TEST(Messages, AWindowIsToldOfItsEndOnceThoughItsProcedureDestroysItAgain)
{
    int destroyed = 0;
    HWND window = nullptr;
    Listener listener([&](const Told &told) {
        if (told.message == WM_DESTROY && ++destroyed < 9) HostDestroyWindow(window);
        return 0;
    });
    window = listener.window;
    HostDestroyWindow(window);
    HostDestroyWindow(window);
    EXPECT_EQ(destroyed, 1);
}

TEST(Messages, AWindowThatIsGoneAnswersNothing)
{
    int handled = 0;
    Listener listener([&](const Told &told) { return told.message == TEST_MESSAGE ? ++handled : 0; });
    const HWND gone = listener.window;
    KPZ_SendMsgNoWait(gone, TEST_MESSAGE, 0, 0);
    HostDestroyWindow(gone);
    HandlePosted();
    EXPECT_EQ(handled, 0) << "what was posted before goes with the window";
    EXPECT_EQ(KPZ_SendMsgAndWait(gone, TEST_MESSAGE, 0, 0), 0);
    EXPECT_FALSE(KPZ_SendMsgNoWait(gone, TEST_MESSAGE, 0, 0));
    EXPECT_EQ(HostWindowData(gone), nullptr);
    EXPECT_FALSE(HostWindowShown(gone));
    EXPECT_FALSE(KPZ_IsWindowEnabled(gone));
    EXPECT_FALSE(EnableWindow(gone, FALSE)) << "there is nothing that was disabled";
    KPZ_SetWindowPtrSystem(gone, &handled);
    EXPECT_EQ(KPZ_QueryWindowPtrSystem(gone), nullptr);
    EXPECT_EQ(GetWindow(gone, GW_CHILD), nullptr);
    EXPECT_EQ(GetDlgItem(gone, APPLY_BUTTON), nullptr);
    EXPECT_EQ(KPZ_SendDlgItemMsg(gone, APPLY_BUTTON, BM_CLICK, 0, 0), 0);
    KPZ_ShowWindow(gone, TRUE);
    KPZ_InvalidateRect(gone, nullptr, TRUE);
    HostWake(gone);
}

TEST(Messages, NullIsNoWindow)
{
    EXPECT_EQ(KPZ_SendMsgAndWait(nullptr, TEST_MESSAGE, 0, 0), 0);
    EXPECT_FALSE(KPZ_SendMsgNoWait(nullptr, TEST_MESSAGE, 0, 0));
    EXPECT_FALSE(KPZ_IsWindowEnabled(nullptr));
}

//---- Observer

struct Watch {
    std::vector<Told> told;
    std::vector<int> handledThen;
    const int *handled;
    HWND window;
};

static void KPZAPI NoteMessage(void *context, HWND window, UINT message, WPARAM word, LPARAM extra)
{
    auto *watch = static_cast<Watch *>(context);
    if (window != watch->window) return;
    watch->told.push_back({message, word, extra});
    watch->handledThen.push_back(*watch->handled);
}

TEST(Messages, TheObserverHearsOfAMessageAfterTheWindowHasHandledIt)
{
    int handled = 0;
    Listener listener([&](const Told &) { return ++handled; });
    Watch watch = {{}, {}, &handled, listener.window};
    HostObserve(NoteMessage, &watch);
    KPZ_SendMsgAndWait(listener.window, TEST_MESSAGE, 1, 2);
    KPZ_SendMsgNoWait(listener.window, TEST_MESSAGE + 1, 3, 4);
    HandlePosted();
    HostObserve(nullptr, nullptr);
    KPZ_SendMsgAndWait(listener.window, TEST_MESSAGE, 5, 6);
    EXPECT_EQ(watch.told, (std::vector<Told>{{TEST_MESSAGE, 1, 2}, {TEST_MESSAGE + 1, 3, 4}}));
    EXPECT_EQ(watch.handledThen, (std::vector<int>{1, 2}));
}

//---- Across threads

TEST(MessagesAcrossThreads, AreHandledOnTheWindowsThreadWhileTheSenderWaits)
{
    std::thread::id handler;
    Listener listener([&](const Told &told) { return handler = std::this_thread::get_id(), told.extra * 2; });
    std::atomic<LRESULT> result{0};
    std::thread sender([&] {
        result = KPZ_SendMsgAndWait(listener.window, TEST_MESSAGE, 0, 21);
        HostWake(listener.window);
    });
    RunUntil([&] { return result != 0; });
    sender.join();
    EXPECT_EQ(result, 42);
    EXPECT_EQ(handler, std::this_thread::get_id());
}

TEST(MessagesAcrossThreads, WakingMakesTheLoopAskAgain)
{
    Listener listener([](const Told &) { return 0; });
    std::atomic<bool> done{false};
    std::thread waker([&] {
        done = true;
        HostWake(listener.window);
    });
    RunUntil([&] { return done.load(); });
    waker.join();
}

// A second thread with a window and a loop of its own.
struct Partner {
    std::promise<HWND> made;
    std::atomic<bool> over{false};
    HWND window = nullptr;
    std::thread thread;

    Partner(
        std::function<LRESULT(const Told &)> answer, std::function<void()> act = [] {})
    {
        thread = std::thread([this, answer, act] {
            Listener listener(answer);
            made.set_value(listener.window);
            act();
            RunUntil([this] { return over.load(); });
        });
        window = made.get_future().get();
    }

    ~Partner()
    {
        over = true;
        HostWake(window);
        thread.join();
    }
};

TEST(MessagesAcrossThreads, TwoThreadsThatSendToEachOtherAtOnceBothGetOn)
{
    constexpr int COUNT = 500;
    int ownHandled = 0;
    std::atomic<int> otherHandled{0};
    Listener own([&](const Told &told) { return told.message == TEST_MESSAGE ? ++ownHandled : 0; });
    std::atomic<bool> sent{false};
    Partner partner([&](const Told &told) { return told.message == TEST_MESSAGE ? ++otherHandled : 0; },
                    [&] {
                        for (int i = 1; i <= COUNT; ++i)
                            ASSERT_EQ(KPZ_SendMsgAndWait(own.window, TEST_MESSAGE, 0, 0), i);
                        sent = true;
                        HostWake(own.window);
                    });
    for (int i = 1; i <= COUNT; ++i) ASSERT_EQ(KPZ_SendMsgAndWait(partner.window, TEST_MESSAGE, 0, 0), i);
    RunUntil([&] { return sent.load(); });
    EXPECT_EQ(ownHandled, COUNT);
    EXPECT_EQ(otherHandled, COUNT);
}

TEST(MessagesAcrossThreads, AnAnswerMayItselfSendBack)
{
    HWND ownWindow = nullptr;
    Partner partner([&](const Told &told) {
        return told.extra > 0 ? 1 + KPZ_SendMsgAndWait(ownWindow, TEST_MESSAGE, 0, told.extra - 1) : 0;
    });
    Listener own([&](const Told &told) {
        return told.extra > 0 ? 1 + KPZ_SendMsgAndWait(partner.window, TEST_MESSAGE, 0, told.extra - 1) : 0;
    });
    ownWindow = own.window;
    EXPECT_EQ(KPZ_SendMsgAndWait(partner.window, TEST_MESSAGE, 0, 20), 20);
}

TEST(MessagesAcrossThreads, AWindowThatGoesMeanwhileAnswersZero)
{
    int handled = 0;
    Listener own([](const Told &) { return 0; });
    std::unique_ptr<Listener> target;
    target = std::make_unique<Listener>([&](const Told &told) {
        if (told.message == TEST_MESSAGE && ++handled == 100) HostDestroyWindow(target->window);
        return 1;
    });
    const HWND window = target->window;
    std::atomic<int> ended{0};
    std::vector<std::thread> senders;
    for (int i = 0; i < 3; ++i) {
        senders.emplace_back([&] {
            while (KPZ_SendMsgAndWait(window, TEST_MESSAGE, 0, 0) == 1) KPZ_InvalidateRect(window, nullptr, TRUE);
            ++ended;
            HostWake(own.window);
        });
    }
    RunUntil([&] { return ended == 3; });
    for (std::thread &sender : senders) sender.join();
    EXPECT_EQ(handled, 100);
}

TEST(MessagesAcrossThreads, AThreadThatEndsAnswersNoMoreAndKeepsNobodyWaiting)
{
    std::promise<HWND> made;
    std::thread owner([&] {
        made.set_value(HostCreateWindow("short-lived", nullptr, nullptr));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));   // time for the message to stand in the queue
    });
    const HWND window = made.get_future().get();
    EXPECT_EQ(KPZ_SendMsgAndWait(window, TEST_MESSAGE, 0, 0), 0);
    owner.join();
    EXPECT_EQ(KPZ_SendMsgAndWait(window, TEST_MESSAGE, 0, 0), 0);
    EXPECT_FALSE(KPZ_SendMsgNoWait(window, TEST_MESSAGE, 0, 0));
}

TEST(MessagesAcrossThreads, AWindowThatGoesKeepsNobodyWaitingThoughItsThreadHandlesNoMore)
{
    Listener gone([](const Told &) { return 1; });
    std::promise<void> begun;
    std::thread sender([&] {
        begun.set_value();
        EXPECT_EQ(KPZ_SendMsgAndWait(gone.window, TEST_MESSAGE, 0, 0), 0);
    });
    begun.get_future().wait();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));   // time for the message to stand in the queue
    HostDestroyWindow(gone.window);
    sender.join();
}
