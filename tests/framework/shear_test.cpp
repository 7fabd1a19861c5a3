// Shear's dialog: what it stores, what its sketch shows, and the run it brings.

#include "tests/framework/stage.h"

#include <cmath>
#include <sstream>

enum { VERTICAL = 890, HORIZONTAL = 900, ANGLE_EDIT = 910, FILL_COLOUR = 1130, ANGLE = 6140 };
struct ShearBlock {
    EffectBlock common;
    uint32_t fillColour;
    int32_t angle, direction;
};

static ShearBlock &CurrentShear(HWND dialog) { return *reinterpret_cast<ShearBlock *>(CurrentBlock(dialog)); }
static void InShear(Stage &stage, const Script &script) { InDialog(stage, SHEAR_COMMAND, script); }

// The preview gets the block, not its header.
static Messages BlockShown(HWND dialog) { return {{SHOW_PREVIEW, 0, reinterpret_cast<LPARAM>(CurrentBlock(dialog))}}; }

static Messages ToPreview(const std::function<void()> &act) { return MessagesTo(PREVIEW_CONTROL, act); }

//---- Controls

TEST(ShearDialog, ShowsTheBlockInThisOrder)
{
    Stage stage;
    InShear(stage, [&](HWND dialog) {
        CurrentShear(dialog).fillColour = 0x123456;
        CurrentShear(dialog).angle = -20;
        CurrentShear(dialog).direction = VERTICAL;
        const Calls calls = CallsDuring([&] { Send(dialog, ACTIVE_IMAGE_CHANGED); });
        EXPECT_EQ(MessagesTo(PREVIEW_CONTROL, calls), BlockShown(dialog));
        Calls own;
        for (const Call &call : Only(calls, {"KPZ_SetSpinBoxValue", "KPZ_CheckButton", "KPZ_SendDlgItemMsg"})) {
            const intptr_t id = call.arguments[1];
            if (id == ANGLE || id == VERTICAL || id == HORIZONTAL || id == FILL_COLOUR) own.push_back(call);
        }
        EXPECT_EQ(
            own,
            (Calls{Called("KPZ_SetSpinBoxValue", dialog, ANGLE, -20), Called("KPZ_CheckButton", dialog, HORIZONTAL, 0),
                   Called("KPZ_CheckButton", dialog, VERTICAL, 0), Called("KPZ_CheckButton", dialog, VERTICAL, 1),
                   Called("KPZ_SendDlgItemMsg", dialog, FILL_COLOUR, COLOUR_SETTING, 2, 0x123456)}));
    });
}

TEST(ShearDialog, StoresDirectionAndAngleAndShowsTheBlockAlsoWithoutPreview)
{
    Stage stage;
    InShear(stage, [&](HWND dialog) {
        for (bool preview : {true, false}) {
            Tick(dialog, PREVIEW_CHECK, preview);
            EXPECT_EQ(ToPreview([&] { Choose(dialog, VERTICAL); }), BlockShown(dialog));
            EXPECT_EQ(CurrentShear(dialog).direction, VERTICAL);
            EXPECT_EQ(ToPreview([&] { Choose(dialog, HORIZONTAL); }), BlockShown(dialog));
            EXPECT_EQ(CurrentShear(dialog).direction, HORIZONTAL);
            Type(dialog, ANGLE_EDIT, preview ? "-30" : "60");
            EXPECT_EQ(CurrentShear(dialog).angle, preview ? -30 : 60);
        }
    });
}

TEST(ShearDialog, TakesTheAngleFromEachOfItsNotifications)
{
    static constexpr struct {
        int id, notification;
    } taken[] = {{ANGLE, 0x300}, {ANGLE, 0xFD2E}, {ANGLE_EDIT, 0x300}};
    static constexpr struct {
        int id, notification;
    } ignored[] = {{ANGLE, 0x400}, {ANGLE_EDIT, 0x100}, {ANGLE, 0}};
    Stage stage;
    InShear(stage, [&](HWND dialog) {
        KPZ_SetSpinBoxValue(dialog, ANGLE, 33);
        for (const auto &[id, notification] : taken) {
            CurrentShear(dialog).angle = 1;
            EXPECT_EQ(ToPreview([&, i = id, n = notification] { Command(dialog, i, n); }), BlockShown(dialog));
            EXPECT_EQ(CurrentShear(dialog).angle, 33);
        }
        for (const auto &[id, notification] : ignored) {
            CurrentShear(dialog).angle = 1;
            EXPECT_EQ(ToPreview([&, i = id, n = notification] { Command(dialog, i, n); }), Messages{});
            EXPECT_EQ(CurrentShear(dialog).angle, 1);
        }
    });
}

TEST(ShearDialog, StoresColourAndScopeWithoutShowingTheBlock)
{
    static constexpr struct {
        int id, scope;
    } scopes[] = {
        {SCOPE_IMAGE_RADIO, 1},
        {SCOPE_ALL_RADIO, 3},
        {SCOPE_OBJECTS_RADIO, 0},
        {SCOPE_NEW_OBJECT_RADIO, 2},
    };
    Stage stage;
    InShear(stage, [&](HWND dialog) {
        for (int notification : {10, 11}) {
            int32_t colour = 0x112233 * notification;
            EXPECT_EQ(ToPreview([&] { Command(dialog, FILL_COLOUR, notification, reinterpret_cast<LPARAM>(&colour)); }),
                      Messages{});
            EXPECT_EQ(CurrentShear(dialog).fillColour, uint32_t(colour));
        }
        EXPECT_EQ(ToPreview([&] { Command(dialog, FILL_COLOUR, 12); }), Messages{});
        for (const auto &[id, scope] : scopes) {
            EXPECT_EQ(ToPreview([&, i = id] { Choose(dialog, i); }), Messages{});
            EXPECT_EQ(CurrentBlock(dialog)->header.previewMode, scope);
        }
    });
}

TEST(ShearDialog, ShowsTheBlockWhenTheFamilyRedraws)
{
    Stage stage;
    InShear(stage, [&](HWND dialog) {
        EXPECT_EQ(ToPreview([&] { Send(dialog, REFRESH_PREVIEW); }), BlockShown(dialog));
        EXPECT_EQ(ToPreview([&] { Tick(dialog, PREVIEW_CHECK, false); }), BlockShown(dialog));
        EXPECT_EQ(ToPreview([&] { Send(dialog, REFRESH_PREVIEW); }), Messages{});
        EXPECT_EQ(ToPreview([&] { Send(dialog, RUN_FINISHED); }), BlockShown(dialog));
    });
}

//---- The sketch

// What painting the preview leaves in the log, with the corners as text.
struct Painting {
    Calls calls;
    std::string corners;
};

static Painting Paint(HWND preview)
{
    Painting painting;
    painting.calls = CallsDuring([preview] { Send(preview, WM_PAINT); });
    painting.calls.erase(painting.calls.begin());   // the message itself
    LoggedCall entry;
    for (int32_t i = 0; HostLogEntry(i, &entry); ++i)
        if (std::string(entry.call) == "KPZ_PolyLine") painting.corners = entry.text;
    return painting;
}

static RECT BoxOf(HWND preview)
{
    RECT box;
    KPZ_GetWindowRect(preview, &box);
    return {box.left + 5, box.top + 5, box.right - 5, box.bottom - 5};   // the edge's 2 and a margin of 3
}

static std::string Corners(const std::vector<std::pair<double, double>> &corners)
{
    std::ostringstream text;
    for (size_t i = 0; i <= corners.size(); ++i) {
        const auto &[x, y] = corners[i % corners.size()];
        text << (i ? " " : "") << int(x) << ',' << int(y);
    }
    return text.str();
}

static std::string SketchIn(const RECT &box, int32_t direction, int32_t angle, double pi)
{
    const double s = tan(std::max(-45, std::min(45, angle)) * pi / 180);
    const double L = box.left, T = box.top, R = box.right, B = box.bottom, W = R - L, H = B - T;
    if (direction == HORIZONTAL && angle > 0) return Corners({{L, T}, {L + H * s, B}, {R, B}, {R - H * s, T}});
    if (direction == HORIZONTAL) return Corners({{L - H * s, T}, {L, B}, {R + H * s, B}, {R, T}});
    if (angle > 0) return Corners({{L, T + W * s}, {L, B}, {R, B - W * s}, {R, T}});
    return Corners({{L, T}, {L, B + W * s}, {R, B}, {R, T - W * s}});
}

TEST(ShearSketch, IsDrawnInThisOrder)
{
    Stage stage;
    InShear(stage, [](HWND dialog) {
        const HWND preview = GetDlgItem(dialog, PREVIEW_CONTROL);
        const RECT box = BoxOf(preview);
        const Painting painting = Paint(preview);
        std::vector<std::string> names = {
            "KPZ_BeginPaint", "KPZ_GetWindowRect",        "KPZ_SetDrawSpaceToRGB",  "DrawEdge",
            "KPZ_FillRect",   "KPZ_QueryWindowPtrSystem", "KPZ_SetCurrentPosition", "KPZ_PolyLine",
            "KPZ_EndPaint"};
        Calls expected = {Called("DrawEdge", 0, 0, box.right + 5, box.bottom + 5, 10, 0x200F),
                          Called("KPZ_FillRect", 2, 2, box.right + 3, box.bottom + 3, 0xFFFFFF),
                          Called("KPZ_SetCurrentPosition", box.left, box.top)};
#ifdef _WIN32   // the system's own call, which no log has; the area that it leaves shows in the next
        std::erase(names, "DrawEdge");
        expected.erase(expected.begin());
#endif
        EXPECT_EQ(NamesOf(painting.calls), names);
        EXPECT_EQ(Only(painting.calls, {"DrawEdge", "KPZ_FillRect", "KPZ_SetCurrentPosition"}), expected);
        EXPECT_EQ(Only(painting.calls, {"KPZ_PolyLine"}), (Calls{Called("KPZ_PolyLine", 5)}));
    });
}

TEST(ShearSketch, FollowsAngleAndDirectionUpTo45Degrees)
{
    Stage stage;
    InShear(stage, [](HWND dialog) {
        const HWND preview = GetDlgItem(dialog, PREVIEW_CONTROL);
        const RECT box = BoxOf(preview);
        int apartFromPi = 0;
        for (int direction : {HORIZONTAL, VERTICAL}) {
            Choose(dialog, direction);
            for (int angle = -75; angle <= 75; ++angle) {
                KPZ_SetSpinBoxValue(dialog, ANGLE, angle);
                const std::string corners = Paint(preview).corners;
                EXPECT_EQ(corners, SketchIn(box, direction, angle, 3.1459)) << direction << " by " << angle;
                apartFromPi += corners != SketchIn(box, direction, angle, 3.14159265358979);
            }
        }
        EXPECT_GT(apartFromPi, 0);
    });
}

TEST(ShearSketch, IsDrawnAnewWhenTheBlockIsShownAndForgetsWhatTheBlockBecomesAfter)
{
    Stage stage;
    InShear(stage, [](HWND dialog) {
        const HWND preview = GetDlgItem(dialog, PREVIEW_CONTROL);
        const Calls calls = CallsDuring([&] { Type(dialog, ANGLE_EDIT, "20"); });
        EXPECT_EQ(Only(calls, {"KPZ_InvalidateRect"}).back(), Called("KPZ_InvalidateRect", preview, 0, 0));
        CurrentShear(dialog).angle = 40;
        EXPECT_EQ(Paint(preview).corners, SketchIn(BoxOf(preview), HORIZONTAL, 20, 3.1459));
    });
}

TEST(ShearSketch, LeavesOtherMessagesToTheHost)
{
    Stage stage;
    InShear(stage, [](HWND dialog) {
        const HWND preview = GetDlgItem(dialog, PREVIEW_CONTROL);
        for (UINT message : {UINT(PREVIEW_CHANGED), UINT(WM_USER + 77)}) {
            const Calls calls = CallsDuring([=] { Send(preview, message, 5, 6); });
            ASSERT_GE(calls.size(), 2u);
            EXPECT_EQ(calls[1], Called("KPZ_DefWindowProc", preview, message, 5, 6));
        }
        EXPECT_FALSE(MiscPreviewAtWork(preview));
    });
}

static bool SketchWasDrawn()
{
    LoggedCall entry;
    for (int32_t i = 0; HostLogEntry(i, &entry); ++i)
        if (std::string(entry.call) == "KPZ_PolyLine") return true;
    return false;
}

// In a dialog that a person sees, where the host asks for painting by itself.
TEST(ShearSketch, IsPaintedInAShownDialog)
{
    Stage stage;
    HostShowDialogs(TRUE);
    InShear(stage, [](HWND dialog) {
        CallsDuring([dialog] {
            Type(dialog, ANGLE_EDIT, "20");
            EXPECT_FALSE(SketchWasDrawn());
            WaitUntil(SketchWasDrawn);
        });
    });
    HostShowDialogs(FALSE);
}

//---- The run

TEST(ShearDialog, StartsARunOfItsOwn)
{
    Stage stage;
    InShear(stage, [&](HWND dialog) {
        Type(dialog, ANGLE_EDIT, "45");
        const Calls calls = Only(CallsDuring([&] { ApplyAndWait(dialog); }), {"KPZ_CreateThread", "FilterThread"});
        ASSERT_EQ(calls.size(), 1u);
        EXPECT_NE(calls[0].arguments[0], reinterpret_cast<intptr_t>(&FilterThread));
        EXPECT_EQ(calls[0].arguments[1], 32768);
        EXPECT_TRUE(IsEnabled(dialog, APPLY_BUTTON));
    });
    EXPECT_EQ(stage.images[0]->width, 12 + 8);
    EXPECT_STREQ(MiscUndoLabel(stage.images[0]), "Shear All");
}

TEST(ShearDialog, AbortsARunAtAnyReportAndLeavesTheImageAsBefore)
{
    Stage stage(0);
    ImageRecord *image = Open(stage, AnyPicture(RGB, 20, 12));
    const Picture before = PictureOf(image);
    InShear(stage, [&](HWND dialog) {
        Type(dialog, ANGLE_EDIT, "30");
        for (int report = 0; report < 12; ++report) {
            AbortNextRun(image, report);
            ApplyAndWait(dialog);
            EXPECT_TRUE(MiscLastRunAborted(image)) << report;
            EXPECT_TRUE(SameBytes(PictureOf(image), before)) << report;
            EXPECT_EQ(MiscUndoCount(image), 0) << report;
        }
        ApplyAndHold(dialog, image, 3);
        Press(dialog, ABORT_BUTTON);
        LetGo(image);
        WaitForRuns();
        EXPECT_TRUE(SameBytes(PictureOf(image), before));
    });
}
