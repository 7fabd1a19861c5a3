// The log of host calls.

#include "tests/host/api/scene.h"

#include <string>

static LoggedCall EntryOf(int32_t index)
{
    LoggedCall entry = {};
    EXPECT_TRUE(HostLogEntry(index, &entry)) << index;
    return entry;
}

TEST(Log, IsOffUntilItIsStartedAndAfterItIsStopped)
{
    HostStartLog();
    HostStopLog();
    KPZ_FreeMem(nullptr);
    EXPECT_EQ(HostLogCount(), 0);
    LoggedCall entry;
    EXPECT_FALSE(HostLogEntry(0, &entry));
    HostStartLog();
    KPZ_FreeMem(nullptr);
    HostStopLog();
    KPZ_FreeMem(nullptr);
    EXPECT_EQ(HostLogCount(), 1) << "what was logged stays readable";
    EXPECT_FALSE(HostLogEntry(1, &entry));
    EXPECT_FALSE(HostLogEntry(-1, &entry));
    HostStartLog();
    EXPECT_EQ(HostLogCount(), 0) << "and starting empties it";
    HostStopLog();
}

TEST(Log, HoldsCallsWithTheirArgumentsAndFirstText)
{
    int library = 0;
    void *memory = nullptr;
    HostStartLog();
    KPZ_GetLoadedModuleHandle("NOBODY");
    KPZ_AllocMem(&memory, 100, 0x301);
    KPZ_FreeMem(memory);
    KPZ_SendMsgNoWait(nullptr, 5, 6, reinterpret_cast<LPARAM>(&library));
    HostStopLog();
    ASSERT_EQ(HostLogCount(), 4);
    EXPECT_STREQ(EntryOf(0).call, "KPZ_GetLoadedModuleHandle");
    EXPECT_STREQ(EntryOf(0).text, "NOBODY");
    EXPECT_STREQ(EntryOf(1).call, "KPZ_AllocMem");
    EXPECT_EQ(EntryOf(1).arguments[0], reinterpret_cast<intptr_t>(&memory));
    EXPECT_EQ(EntryOf(1).arguments[1], 100);
    EXPECT_EQ(EntryOf(1).arguments[2], 0x301);
    EXPECT_EQ(EntryOf(1).arguments[3], 0);
    EXPECT_STREQ(EntryOf(1).text, "");
    EXPECT_EQ(EntryOf(2).arguments[0], reinterpret_cast<intptr_t>(memory));
    EXPECT_EQ(EntryOf(3).arguments[1], 5);
    EXPECT_EQ(EntryOf(3).arguments[2], 6);
    EXPECT_EQ(EntryOf(3).arguments[3], reinterpret_cast<intptr_t>(&library));
}

TEST(Log, KeepsTheOrderOfTheCallsStarts)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        HostStartLog();
        KPZ_SendMsgAndWait(scene.dialog, TEST_MESSAGE, 0, 0);
        HostStopLog();
        ASSERT_EQ(HostLogCount(), 3);
        EXPECT_STREQ(EntryOf(0).call, "KPZ_SendMsgAndWait");
        EXPECT_STREQ(EntryOf(1).call, "KPZ_QueryWindowPtrSystem");
        EXPECT_STREQ(EntryOf(2).call, "KPZ_DefDlgProc");
    });
}

TEST(Log, NamesTheControlThatAMessageWentTo)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        const HWND preview = GetDlgItem(scene.dialog, PREVIEW_CONTROL);
        HostStartLog();
        KPZ_SendMsgAndWait(preview, PREVIEW_CHANGED, 0, 0);
        KPZ_SendMsgNoWait(preview, PREVIEW_CHANGED, 0, 0);
        KPZ_SendMsgNoWait(scene.dialog, TEST_MESSAGE, 0, 0);
        KPZ_SendMsgNoWait(nullptr, TEST_MESSAGE, 0, 0);
        HostStopLog();
        EXPECT_EQ(EntryOf(0).controlId, PREVIEW_CONTROL);
        EXPECT_EQ(EntryOf(0).arguments[1], PREVIEW_CHANGED);
        EXPECT_EQ(EntryOf(HostLogCount() - 3).controlId, PREVIEW_CONTROL);
        EXPECT_EQ(EntryOf(HostLogCount() - 2).controlId, 0) << "a dialog is no control";
        EXPECT_EQ(EntryOf(HostLogCount() - 1).controlId, 0);
    });
}

static void KPZAPI CallFromRun(FilterHeader *) { KPZ_GetDisplayDepth(); }

TEST(Log, TellsWhichCallsCameFromARunThread)
{
    FilterHeader header = {};
    HostStartLog();
    KPZ_CreateThread(CallFromRun, 32768, &header);
    HostWaitForThreads();
    KPZ_GetDisplayDepth();
    std::thread([] { KPZ_GetDisplayDepth(); }).join();
    HostStopLog();
    ASSERT_EQ(HostLogCount(), 4);
    EXPECT_FALSE(EntryOf(0).onRunThread);
    EXPECT_STREQ(EntryOf(1).call, "KPZ_GetDisplayDepth");
    EXPECT_TRUE(EntryOf(1).onRunThread);
    EXPECT_FALSE(EntryOf(2).onRunThread);
    EXPECT_FALSE(EntryOf(3).onRunThread) << "only threads of KPZ_CreateThread are runs";
}

TEST(Log, CutsLongTexts)
{
    const std::string text(500, 't');
    HostStartLog();
    KPZ_GetLoadedModuleHandle(text.c_str());
    HostStopLog();
    EXPECT_EQ(EntryOf(0).text, text.substr(0, sizeof(LoggedCall::text) - 1));
}

TEST(Log, TakesEntriesOfOtherLibraries)
{
    HostStartLog();
    LogCall("CenterWindow", "some text", 1, 2, nullptr, 4, 5, 6, 7);
    HostStopLog();
    LogCall("CenterWindow", nullptr, 1);
    ASSERT_EQ(HostLogCount(), 1);
    EXPECT_STREQ(EntryOf(0).call, "CenterWindow");
    EXPECT_STREQ(EntryOf(0).text, "some text");
    EXPECT_EQ(EntryOf(0).arguments[5], 6) << "six have a place";
}
