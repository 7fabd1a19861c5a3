// See toolbar.h. The pictures are drawn by packaging/icon/draw_tools.py; they tell how much of each pixel a tool covers, and
// get the colour that texts have, so that they suit dark and contrasting looks.

#include "host/editor/toolbar.h"

#include "host/editor/colours.h"
#include "host/editor/commands.h"
#include "host/editor/remembered.h"
#include "host/editor/run_commands.h"
#include "host/editor/screen.h"

#include <algorithm>
#include <commctrl.h>

// In the order of the pictures; a gap stands before some.
static constexpr struct {
    int command;
    bool gap;
} tools[] = {
    {OPEN_FILE, false},    {SAVE_FILE, false},   {EDIT_UNDO, true},      {EDIT_REDO, false},     {EDIT_HISTORY, false},
    {EFFECT_REPEAT, true}, {EFFECT_FIND, false}, {VIEW_ZOOM_IN, true},   {VIEW_ZOOM_OUT, false}, {VIEW_FIT, false},
    {VIEW_SPLIT, false},   {MASK_EDIT, true},    {PROTECT_PAINT, false},
};
static constexpr int SIZES[] = {16, 20, 24, 32, 48};

//---- Pictures

// The largest that is drawn and not larger than the screen's dots want.
static int SizeFor(const Editor &editor)
{
    const int wanted = MulDiv(16, int(DotsPerInch(editor.frame)), 96);
    int size = SIZES[0];
    for (const int drawn : SIZES)
        if (drawn <= wanted) size = drawn;
    return size;
}

static Picture CarriedTools(int size)
{
    Picture picture;
    FileFormat format;
    std::vector<std::string> notices;
    std::string error;
    const HRSRC place = FindResourceA(nullptr, ("TOOLS-" + std::to_string(size)).c_str(), RT_RCDATA);
    const HGLOBAL loaded = place ? LoadResource(nullptr, place) : nullptr;
    const auto *bytes = static_cast<const uint8_t *>(loaded ? LockResource(loaded) : nullptr);
    if (bytes) ReadPictureBytes({bytes, SizeofResource(nullptr, place)}, picture, format, notices, error);
    return picture;
}

// Every pixel of one colour, as opaque as it is covered.
static HIMAGELIST Coloured(const Picture &covered, int size, COLORREF colour)
{
    const HIMAGELIST images = ImageList_Create(size, size, ILC_COLOR32, int(std::size(tools)), 0);
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof info.bmiHeader, covered.width, -covered.height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void *memory = nullptr;
    const HBITMAP bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &memory, nullptr, 0);
    auto *words = static_cast<uint32_t *>(memory);
    const uint32_t rgb = uint32_t(GetRValue(colour)) << 16 | uint32_t(GetGValue(colour)) << 8 | GetBValue(colour);
    for (int32_t y = 0; bitmap && y < covered.height; ++y) {
        const uint8_t *row = covered.pixels.get() + size_t(RowStride(8, covered.width)) * size_t(y);
        for (int32_t x = 0; x < covered.width; ++x) *words++ = uint32_t(row[x]) << 24 | rgb;
    }
    if (bitmap) ImageList_Add(images, bitmap, nullptr);
    if (bitmap) DeleteObject(bitmap);
    return images;
}

static void PutImages(HWND toolbar, UINT message, HIMAGELIST images)
{
    const LRESULT before = SendMessageA(toolbar, message, 0, reinterpret_cast<LPARAM>(images));
    if (before) ImageList_Destroy(reinterpret_cast<HIMAGELIST>(before));
}

void UseToolbarPictures(const Editor &editor)
{
    if (!editor.toolbar) return;
    const int size = SizeFor(editor);
    const Picture covered = CarriedTools(size);
    if (!covered.pixels || covered.colourType != GREY) return;
    PutImages(editor.toolbar, TB_SETIMAGELIST, Coloured(covered, size, Colour(COLOR_BTNTEXT)));
    PutImages(editor.toolbar, TB_SETDISABLEDIMAGELIST, Coloured(covered, size, Colour(COLOR_GRAYTEXT)));
    SendMessageA(editor.toolbar, TB_SETBUTTONSIZE, 0, MAKELPARAM(size + size / 2, size + size / 2));
    InvalidateRect(editor.toolbar, nullptr, TRUE);
}

//---- Its window

static std::vector<TBBUTTON> Buttons()
{
    std::vector<TBBUTTON> buttons;
    for (int i = 0; i < int(std::size(tools)); ++i) {
        if (tools[i].gap) buttons.push_back({0, 0, 0, BTNS_SEP, {}, 0, 0});
        const bool pressed =
            tools[i].command == VIEW_SPLIT || tools[i].command == MASK_EDIT || tools[i].command == PROTECT_PAINT;
        buttons.push_back({i, tools[i].command, 0, BYTE(pressed ? BTNS_CHECK : BTNS_BUTTON), {}, 0, 0});
    }
    return buttons;
}

void MakeToolbar(Editor &editor)
{
    const DWORD style =
        WS_CHILD | WS_CLIPSIBLINGS | TBSTYLE_FLAT | TBSTYLE_TOOLTIPS | CCS_NODIVIDER | CCS_NORESIZE | CCS_NOPARENTALIGN;
    editor.toolbar = CreateWindowExA(0, TOOLBARCLASSNAMEA, "", style, 0, 0, 0, 0, editor.frame, nullptr,
                                     GetModuleHandleA(nullptr), nullptr);
    SendMessageA(editor.toolbar, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
    UseToolbarPictures(editor);
    const std::vector<TBBUTTON> buttons = Buttons();
    SendMessageA(editor.toolbar, TB_ADDBUTTONSA, buttons.size(), reinterpret_cast<LPARAM>(buttons.data()));
    GreyToolbar(editor);
    if (Remembered("toolbar") != "off") ShowWindow(editor.toolbar, SW_SHOWNA);
}

static bool IsShown(const Editor &editor)
{
    return editor.toolbar && (GetWindowLongA(editor.toolbar, GWL_STYLE) & WS_VISIBLE);
}

int ToolbarHeight(const Editor &editor)
{
    if (!IsShown(editor)) return 0;
    const LRESULT size = SendMessageA(editor.toolbar, TB_GETBUTTONSIZE, 0, 0);
    return int(HIWORD(size)) + MulDiv(4, int(DotsPerInch(editor.frame)), 96);
}

void LayOutToolbar(const Editor &editor)
{
    if (!editor.toolbar) return;
    MoveWindow(editor.toolbar, 0, 0, SizeOf(editor.frame).width, ToolbarHeight(editor), TRUE);
}

void ToggleToolbar(Editor &editor)
{
    const bool shown = !IsShown(editor);
    ShowWindow(editor.toolbar, shown ? SW_SHOWNA : SW_HIDE);
    Remember("toolbar", shown ? "on" : "off");
    SendMessageA(editor.frame, WM_SIZE, 0, 0);
}

void GreyToolbar(const Editor &editor)
{
    if (!editor.toolbar) return;
    const PictureWindow *picture = ActivePicture(editor);
    const bool still = CanChange(picture);
    for (const auto &tool : tools) {
        const bool possible = CommandPossible(editor, tool.command);
        if ((SendMessageA(editor.toolbar, TB_ISBUTTONENABLED, WPARAM(tool.command), 0) != 0) != possible)
            SendMessageA(editor.toolbar, TB_ENABLEBUTTON, WPARAM(tool.command), MAKELPARAM(possible, 0));
    }
    const auto press = [&](int command, bool pressed) {
        if ((SendMessageA(editor.toolbar, TB_ISBUTTONCHECKED, WPARAM(command), 0) != 0) != pressed)
            SendMessageA(editor.toolbar, TB_CHECKBUTTON, WPARAM(command), MAKELPARAM(pressed, 0));
    };
    press(VIEW_SPLIT, picture && picture->split > 0);
    press(MASK_EDIT, still && picture->image->maskEditing);
    press(PROTECT_PAINT, picture && picture->protecting);
}

//---- What it tells

// "Undo (Ctrl+Z)" of the menu's "&Undo\tCtrl+Z".
static std::string TipOf(int command)
{
    std::string tip = LabelOf(command);
    std::erase(tip, '&');
    const size_t tab = tip.find('\t');
    return tab == std::string::npos ? tip : tip.substr(0, tab) + " (" + tip.substr(tab + 1) + ")";
}

static LRESULT OnDraw(const Editor &editor, const NMTBCUSTOMDRAW &draw)
{
    if (draw.nmcd.dwDrawStage != CDDS_PREPAINT) return CDRF_DODEFAULT;
    RECT area;
    GetClientRect(editor.toolbar, &area);
    FillRect(draw.nmcd.hdc, &area, ColourBrush(COLOR_BTNFACE));
    return CDRF_DODEFAULT;
}

bool TakeToolbarNotice(const Editor &editor, LPARAM extra, LRESULT &result)
{
    const auto &notice = *reinterpret_cast<const NMHDR *>(extra);
    if (notice.code == TTN_GETDISPINFOA && editor.toolbar &&
        notice.hwndFrom == reinterpret_cast<HWND>(SendMessageA(editor.toolbar, TB_GETTOOLTIPS, 0, 0))) {
        static std::string shown;
        shown = TipOf(int(notice.idFrom));
        reinterpret_cast<NMTTDISPINFOA *>(extra)->lpszText = shown.data();
        return true;
    }
    if (notice.code != NM_CUSTOMDRAW || notice.hwndFrom != editor.toolbar) return false;
    result = OnDraw(editor, *reinterpret_cast<const NMTBCUSTOMDRAW *>(extra));
    return true;
}
