// The list of open dialogs and who is told, and the services that the host's program answers: menus and help.

#include "tests/host/misc/stage.h"

#include <gtest/gtest.h>

struct Heard {
    HWND window;
    UINT message;
    LPARAM extra;
};
static std::vector<Heard> heard;
static FloaterList *list;
static HWND toRemove;

static LRESULT KPZAPI Listen(HWND window, UINT message, WPARAM, LPARAM extra)
{
    if (message != IMAGE_OPENED && message != FLOATER_ADDED && message != FLOATER_REMOVED) return 0;
    heard.push_back({window, message, extra});
    if (message == IMAGE_OPENED && toRemove) RemoveFromFloaters(toRemove, list);
    return 0;
}

struct FloatersTest : testing::Test {
    HWND host = HostCreateWindow("host", Listen, nullptr);
    HWND one = HostCreateWindow("one", Listen, nullptr), two = HostCreateWindow("two", Listen, nullptr);
    HWND three = HostCreateWindow("three", Listen, nullptr);

    FloatersTest()
    {
        heard.clear();
        toRemove = nullptr;
        list = MiscCreateFloaters(host);
        for (HWND dialog : {one, two, three}) AddToFloaters(dialog, list);
        WaitUntil([] { return heard.size() == 3; });
    }
    ~FloatersTest() override
    {
        MiscDestroyFloaters(list);
        for (HWND window : {host, one, two, three}) HostDestroyWindow(window);
    }
};

TEST_F(FloatersTest, HostHearsOfEveryDialogInOrder)
{
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(heard[i].window, host);
        EXPECT_EQ(heard[i].message, UINT(FLOATER_ADDED));
        EXPECT_EQ(heard[i].extra, LPARAM(MiscFloaterAt(list, int32_t(i))));
    }
}

TEST_F(FloatersTest, ListKeepsTheOrderAndHoldsADialogOnce)
{
    AddToFloaters(two, list);
    EXPECT_EQ(MiscFloaterCount(list), 3);
    EXPECT_EQ(MiscFloaterAt(list, 0), one);
    EXPECT_EQ(MiscFloaterAt(list, 2), three);
    EXPECT_EQ(MiscFloaterAt(list, 3), nullptr);
    EXPECT_EQ(MiscFloaterAt(list, -1), nullptr);
}

TEST_F(FloatersTest, AreToldInOrder)
{
    heard.clear();
    MiscTellFloaters(list, IMAGE_OPENED, 0, 77);
    ASSERT_EQ(heard.size(), 3u);
    EXPECT_EQ(heard[0].window, one);
    EXPECT_EQ(heard[1].window, two);
    EXPECT_EQ(heard[2].window, three);
    EXPECT_EQ(heard[2].extra, 77);
}

TEST_F(FloatersTest, ADialogThatGoesMeanwhileIsPassedOver)
{
    heard.clear();
    toRemove = two;
    MiscTellFloaters(list, IMAGE_OPENED, 0, 0);
    ASSERT_EQ(heard.size(), 2u);
    EXPECT_EQ(heard[0].window, one);
    EXPECT_EQ(heard[1].window, three);
    EXPECT_EQ(MiscFloaterCount(list), 2);
    WaitUntil([] { return heard.back().message == FLOATER_REMOVED; });
    EXPECT_EQ(heard.back().window, host);
    EXPECT_EQ(heard.back().extra, LPARAM(two));
}

//---- Menus and help

static void KPZAPI NoteMenus(void *context, HostContext *host) { *static_cast<HostContext **>(context) = host; }
static void KPZAPI NoteHelp(void *context, int32_t page) { *static_cast<int32_t *>(context) = page; }

TEST(Menus, AreAnsweredByTheHostsProgram)
{
    HostContext context = {};
    HostContext *asked = nullptr;
    ChooseMenus(&context);   // nobody answers yet
    MiscAnswerMenus(NoteMenus, &asked);
    ChooseMenus(&context);
    EXPECT_EQ(asked, &context);
    MiscAnswerMenus(nullptr, nullptr);
}

TEST(Help, IsAnsweredByTheHostsProgram)
{
    int32_t page = 0;
    RunHelp(77);
    MiscAnswerHelp(NoteHelp, &page);
    RunHelp(83);
    EXPECT_EQ(page, 83);
    MiscAnswerHelp(nullptr, nullptr);
}

TEST(Log, HoldsTheServicesCalls)
{
    HostStartLog();
    RunHelp(77);
    CenterWindow(nullptr);
    HostStopLog();
    EXPECT_EQ(LoggedCalls(false), (std::vector<std::string>{"RunHelp", "CenterWindow"}));
    LoggedCall entry;
    ASSERT_TRUE(HostLogEntry(0, &entry));
    EXPECT_EQ(entry.arguments[0], 77);
}
