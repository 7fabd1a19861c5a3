// When windows are told to draw, and the trace that drawing leaves in the log.

#include "tests/host/api/scene.h"

#include <string>

static int painted;
static std::vector<std::string> events;

static LRESULT KPZAPI CountPaints(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    if (message != WM_PAINT) return KPZ_DefWindowProc(window, message, word, extra);
    RECT area;
    KPZ_EndPaint(KPZ_BeginPaint(window, nullptr, &area));
    ++painted;
    events.push_back("paint");
    return 0;
}

class Painting : public testing::Test
{
protected:
    void SetUp() override
    {
        painted = 0;
        events.clear();
        HostSetPreviewProcedure(CountPaints);
    }
    void TearDown() override
    {
        HostSetPreviewProcedure(nullptr);
        HostShowDialogs(FALSE);
    }
};

// Opens a shown dialog and lets its preview draw for the first time.
static void InShownDialog(const std::function<void(Scene &scene, HWND preview)> &script)
{
    HostShowDialogs(TRUE);
    InDialog(NOISE_TEMPLATE, [&](Scene &scene) {
        RunUntil([] { return painted > 0; });
        painted = 0;
        events.clear();
        script(scene, GetDlgItem(scene.dialog, PREVIEW_CONTROL));
    });
}

TEST_F(Painting, ComesWhenAWindowIsFirstShown)
{
    InShownDialog([](Scene &, HWND) {});   // would not return
}

TEST_F(Painting, ComesOnceHoweverOftenAWindowIsMarked)
{
    InShownDialog([](Scene &, HWND preview) {
        for (int i = 0; i < 3; ++i) KPZ_InvalidateRect(preview, nullptr, FALSE);
        EXPECT_EQ(painted, 0) << "marking does not draw";
        RunUntil([] { return painted > 0; });
        HandlePosted();
        EXPECT_EQ(painted, 1);
    });
}

TEST_F(Painting, ComesAfterAllThatIsPosted)
{
    InShownDialog([](Scene &scene, HWND preview) {
        scene.answer = [](const Told &told) {
            if (told.message == TEST_MESSAGE) events.push_back("message");
            return 0;
        };
        KPZ_InvalidateRect(preview, nullptr, FALSE);
        KPZ_SendMsgNoWait(scene.dialog, TEST_MESSAGE, 0, 0);
        KPZ_SendMsgNoWait(scene.dialog, TEST_MESSAGE, 0, 0);
        RunUntil([] { return painted > 0; });
        scene.answer = nullptr;
        EXPECT_EQ(events, (std::vector<std::string>{"message", "message", "paint"}));
    });
}

TEST_F(Painting, WaitsUntilTheWindowIsShown)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_InvalidateRect(GetDlgItem(scene.dialog, PREVIEW_CONTROL), nullptr, FALSE);
        for (int i = 0; i < 3; ++i) HandlePosted();
        EXPECT_EQ(painted, 0);
        KPZ_ShowWindow(scene.dialog, TRUE);
        RunUntil([] { return painted > 0; });
    });
}

TEST_F(Painting, OfADialogReachesItsControlsWhenAskedTo)
{
    InShownDialog([](Scene &scene, HWND) {
        KPZ_InvalidateRect(scene.dialog, nullptr, TRUE);
        RunUntil([] { return painted > 0; });
        EXPECT_EQ(painted, 1);
    });
}

TEST_F(Painting, MayBeAskedForByAnotherThreadAndIsNeverLost)
{
    InShownDialog([](Scene &, HWND preview) {
        for (int i = 0; i < 200; ++i) {
            painted = 0;
            std::thread marker([preview] { KPZ_InvalidateRect(preview, nullptr, FALSE); });
            RunUntil([] { return painted > 0; });
            marker.join();
        }
    });
}

TEST_F(Painting, WindowsHaveASizeInTheirOwnPixels)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        RECT dialog, preview;
        KPZ_GetWindowRect(scene.dialog, &dialog);
        KPZ_GetWindowRect(GetDlgItem(scene.dialog, PREVIEW_CONTROL), &preview);
        for (const RECT &area : {dialog, preview}) {
            EXPECT_EQ(area.left, 0);
            EXPECT_EQ(area.top, 0);
        }
        EXPECT_GT(preview.right, 100);
        EXPECT_GT(preview.bottom, 100);
        EXPECT_LT(preview.right, dialog.right);
        EXPECT_LT(preview.bottom, dialog.bottom);
    });
}

//---- What is drawn

static RECT begun, inner;

static LRESULT KPZAPI DrawSketch(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    if (message != WM_PAINT) return KPZ_DefWindowProc(window, message, word, extra);
    HostStartLog();
    const DrawSpace space = KPZ_BeginPaint(window, nullptr, &begun);
    EXPECT_NE(space, nullptr);
    KPZ_SetDrawSpaceToRGB(space);
    inner = {0, 0, 40, 30};
    EXPECT_TRUE(DrawEdge(HDC(space), &inner, EDGE_SUNKEN, BF_RECT | 0x2000));
    const RECT box = {1, 2, 30, 40};
    KPZ_FillRect(space, &box, 0x00FFFFFF);
    const POINT points[] = {{3, 4}, {10, -4}};
    KPZ_SetCurrentPosition(space, points);
    KPZ_PolyLine(space, 2, points);
    KPZ_EndPaint(space);
    HostStopLog();
    ++painted;
    return 0;
}

// The logged calls but for DrawEdge, which is the system's own on Windows.
static std::vector<LoggedCall> DrawingCalls()
{
    std::vector<LoggedCall> calls;
    LoggedCall entry;
    for (int32_t i = 0; HostLogEntry(i, &entry); ++i)
        if (std::string(entry.call) != "DrawEdge") calls.push_back(entry);
    return calls;
}

static std::vector<intptr_t> ArgumentsOf(const LoggedCall &entry, const char *call, size_t count)
{
    EXPECT_STREQ(entry.call, call);
    return {entry.arguments, entry.arguments + count};
}

TEST_F(Painting, LeavesItsTraceInTheLog)
{
    HostSetPreviewProcedure(DrawSketch);
    InShownDialog([](Scene &, HWND preview) {
        RECT whole;
        KPZ_InvalidateRect(preview, nullptr, FALSE);
        RunUntil([] { return painted > 0; });
        KPZ_GetWindowRect(preview, &whole);
        EXPECT_EQ(begun.right, whole.right);
        EXPECT_EQ(begun.bottom, whole.bottom);
        const std::vector<LoggedCall> calls = DrawingCalls();
        ASSERT_EQ(calls.size(), 6u);
        EXPECT_EQ(ArgumentsOf(calls[0], "KPZ_BeginPaint", 1)[0], reinterpret_cast<intptr_t>(preview));
        ArgumentsOf(calls[1], "KPZ_SetDrawSpaceToRGB", 1);
        EXPECT_EQ(ArgumentsOf(calls[2], "KPZ_FillRect", 6), (std::vector<intptr_t>{1, 2, 30, 40, 0xFFFFFF, 0}));
        EXPECT_EQ(ArgumentsOf(calls[3], "KPZ_SetCurrentPosition", 2), (std::vector<intptr_t>{3, 4}));
        EXPECT_EQ(ArgumentsOf(calls[4], "KPZ_PolyLine", 1), (std::vector<intptr_t>{2}));
        EXPECT_STREQ(calls[4].text, "3,4 10,-4");
        ArgumentsOf(calls[5], "KPZ_EndPaint", 1);
        EXPECT_EQ(inner.left, 2);
        EXPECT_EQ(inner.top, 2);
        EXPECT_EQ(inner.right, 38);
        EXPECT_EQ(inner.bottom, 28);
    });
}

TEST_F(Painting, AWindowThatIsGoneHasNoDrawingSpace)
{
    HWND gone = nullptr;
    InDialog(NOISE_TEMPLATE, [&](Scene &scene) { gone = GetDlgItem(scene.dialog, PREVIEW_CONTROL); });
    RECT area = {};
    EXPECT_EQ(KPZ_BeginPaint(gone, nullptr, &area), nullptr);
    EXPECT_EQ(area.right, 0);
    EXPECT_EQ(KPZ_SubclassWindow(gone, CountPaints), nullptr);
}

//---- Display

TEST(Display, PaletteFollowsOnlyOnDisplaysThatHaveOne)
{
    uint8_t table[256] = {};
    const struct {
        int32_t depth, changed;
    } cases[] = {{8, 1}, {24, 0}};
    for (const auto &told : cases) {
        HostSetDisplayDepth(told.depth);
        EXPECT_EQ(KPZ_GetDisplayDepth(), told.depth);
        int32_t changed = 0;
        KPZ_AdjustPalette(table, table, table, 256, &changed, 8);
        EXPECT_EQ(changed, told.changed) << told.depth;
    }
}
