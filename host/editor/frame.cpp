// The main window: made, laid out, closed, and which message goes where. Menus, keys, the status line and the
// pictures' own windows have files of their own.

#include "host/editor/frame.h"

#include "host/editor/batch_window.h"
#include "host/editor/chooser.h"
#include "host/editor/close_commands.h"
#include "host/editor/colours.h"
#include "host/editor/commands.h"
#include "host/editor/dark_menus.h"
#include "host/editor/effect_dialogs.h"
#include "host/editor/file_commands.h"
#include "host/editor/greying.h"
#include "host/editor/help_window.h"
#include "host/editor/history_window.h"
#include "host/editor/host_events.h"
#include "host/editor/memory_end.h"
#include "host/editor/menus.h"
#include "host/editor/own_dialogs.h"
#include "host/editor/picture_window.h"
#include "host/editor/remembered.h"
#include "host/editor/run_commands.h"
#include "host/editor/screen.h"
#include "host/editor/status_line.h"
#include "host/editor/strip.h"
#include "host/editor/tabs.h"
#include "host/editor/toolbar.h"
#include "interface/effect_table.h"

#include <commctrl.h>
#include <shellapi.h>

static constexpr char FRAME_CLASS[] = "VelmorantEditor";

// The one editor of the process.
static Editor *theEditor;

static void OnSize(const Editor &editor)
{
    RECT area, status;
    SendMessageA(editor.status, WM_SIZE, 0, 0);
    GetClientRect(editor.frame, &area);
    GetWindowRect(editor.status, &status);
    LayOutToolbar(editor);
    LayOutTabs(editor, ToolbarHeight(editor));
    const int top = ToolbarHeight(editor) + TabsHeight(editor);
    MoveWindow(editor.client, 0, top, area.right, area.bottom - top - (status.bottom - status.top), TRUE);
    LayOutStatus(editor);
}

// The ground that pictures' windows stand on.
static LRESULT CALLBACK ClientProcedure(HWND client, UINT message, WPARAM word, LPARAM extra, UINT_PTR, DWORD_PTR)
{
    if (message != WM_ERASEBKGND || !IsDark()) return DefSubclassProc(client, message, word, extra);
    RECT area;
    GetClientRect(client, &area);
    FillRect(reinterpret_cast<HDC>(word), &area, ColourBrush(COLOR_APPWORKSPACE));
    return TRUE;
}

static void OnCreate(Editor &editor, HWND frame)
{
    editor.frame = frame;
    CLIENTCREATESTRUCT creation = {editor.windowMenu, FIRST_WINDOW};
    editor.client = CreateWindowExA(0, "MDICLIENT", "", WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN, 0, 0, 0, 0, frame,
                                    nullptr, GetModuleHandleA(nullptr), &creation);
    MakeStatusLine(editor);
    MakeToolbar(editor);
    MakeTabs(editor);
    SetWindowSubclass(editor.client, ClientProcedure, 1, 0);
    DragAcceptFiles(frame, TRUE);
}

static void OnDrop(Editor &editor, HDROP drop)
{
    std::vector<std::string> files;
    const UINT count = DragQueryFileA(drop, UINT(-1), nullptr, 0);
    for (UINT i = 0; i < count; ++i) {
        std::string file(DragQueryFileA(drop, i, nullptr, 0), 0);
        DragQueryFileA(drop, i, file.data(), UINT(file.size()) + 1);
        files.push_back(file);
    }
    DragFinish(drop);
    if (editor.quitting) return;
    SetForegroundWindow(editor.frame);
    for (const std::string &file : files) OpenFile(editor, file);
}

// Every dialog's loop ends when its dialog has gone, the main one's with `ended`.
static void OnClose(Editor &editor)
{
    if (editor.quitting || editor.ended) return;
    editor.quitting = true;
    editor.ended = EndBatch(editor) && CloseAll(editor);
    editor.quitting = false;
    if (!editor.ended) return;
    if (const HWND chooser = OpenChooser()) SendMessageA(chooser, WM_CLOSE, 0, 0);
    HostWake(editor.host.context.window);
}

// Small enough for any corner of a screen, and still with its menu and its status line.
static void OnLimits(MINMAXINFO &limits, HWND frame)
{
    const int dots = int(DotsPerInch(frame));
    limits.ptMinTrackSize = {MulDiv(480, dots, 96), MulDiv(200, dots, 96)};
}

static void OnDotsChanged(const Editor &editor, const RECT &place)
{
    SetWindowPos(editor.frame, nullptr, place.left, place.top, place.right - place.left, place.bottom - place.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    UseStatusFont(editor);
    UseToolbarPictures(editor);
    UseTabsFont(editor);
    OnSize(editor);
}

// The system tells of colours in two ways; both go on to the controls, which do not look for themselves.
static void OnColoursChanged(const Editor &editor, UINT message)
{
    const bool changed = LookForColours();
    if (!changed && message != WM_SYSCOLORCHANGE) return;
    UseToolbarPictures(editor);
    DressCaption(editor.frame);
    DressMenuBar(editor.frame);
    for (const HWND dialog : OwnDialogs()) DressControls(dialog);
    DressDialogs();
    DressChooser();
    DressHelp();
    RedrawWindow(editor.frame, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

static void OnCommand(Editor &editor, WPARAM word, LPARAM extra)
{
    if (LOWORD(word) == VIEW_TOOLBAR) return ToggleToolbar(editor);
    const int command = LOWORD(word), offset = command - editor.host.base;
    if (command >= OPEN_FILE && command < FIRST_WINDOW) RunEditorCommand(editor, command);
    else if (IsModuleCommand(offset)) RunEffect(editor, offset);
    else DefFrameProcA(editor.frame, editor.client, WM_COMMAND, word, extra);
}

static LRESULT CALLBACK FrameProcedure(HWND frame, UINT message, WPARAM word, LPARAM extra)
{
    Editor &editor = *theEditor;
    LRESULT menuResult = 0;
    if (TakeMenuMessage(frame, message, word, extra, menuResult)) return menuResult;
    switch (message) {
    case WM_CREATE: OnCreate(editor, frame); return 0;
    case WM_SIZE: OnSize(editor); return 0;
    case WM_COMMAND: OnCommand(editor, word, extra); return 0;
    case WM_INITMENUPOPUP:
        if (!HIWORD(extra)) OnMenuOpens(editor, reinterpret_cast<HMENU>(word));
        break;
    case WM_DROPFILES: OnDrop(editor, reinterpret_cast<HDROP>(word)); return 0;
    case WM_DRAWITEM: {
        const auto &item = *reinterpret_cast<const DRAWITEMSTRUCT *>(extra);
        if (item.hwndItem == editor.status) DrawProgress(editor, item.hDC, item.rcItem);
        return TRUE;
    }
    case WM_NOTIFY: {
        LRESULT result = 0;
        if (TakeToolbarNotice(editor, extra, result)) return result;
        break;
    }
    case WM_SETTINGCHANGE:
    case WM_SYSCOLORCHANGE:
    case WM_THEMECHANGED: OnColoursChanged(editor, message); break;
    case WM_GETMINMAXINFO: OnLimits(*reinterpret_cast<MINMAXINFO *>(extra), frame); return 0;
    case WM_CLOSE: OnClose(editor); return 0;
    case MEMORY_HAS_RUN_OUT: PostMessageA(frame, END_FOR_MEMORY, 0, 0); return TRUE;
    case END_FOR_MEMORY: EndForMemory(editor); return 0;
    case WM_QUERYENDSESSION: OnClose(editor); return editor.ended;
    case GREY_DIALOGS:
        GreyDialogs(editor);
        RefreshHistory(editor);
        GreyToolbar(editor);
        RefreshTabs(editor);
        return 0;
    case WM_NCPAINT:
    case WM_NCACTIVATE: {
        const LRESULT result = DefFrameProcA(frame, editor.client, message, word, extra);
        PaintBarsRest(frame);
        return result;
    }
    case WM_DPICHANGED: OnDotsChanged(editor, *reinterpret_cast<const RECT *>(extra)); return 0;
    }
    return DefFrameProcA(frame, editor.client, message, word, extra);
}

//---- Its beginning and end

static void RegisterFrame()
{
    WNDCLASSEXA made = {};
    made.cbSize = sizeof made;
    made.lpfnWndProc = FrameProcedure;
    made.hInstance = GetModuleHandleA(nullptr);
    made.hIcon = LoadIcon(made.hInstance, MAKEINTRESOURCE(1));
    made.hCursor = LoadCursor(nullptr, IDC_ARROW);
    made.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_APPWORKSPACE + 1);
    made.lpszClassName = FRAME_CLASS;
    RegisterClassExA(&made);
}

// Three quarters of the screen that is free, in its middle.
static RECT FirstPlace()
{
    RECT work;
    SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0);
    const LONG width = work.right - work.left, height = work.bottom - work.top;
    return {work.left + width / 10, work.top + height / 10, work.right - width / 10, work.bottom - height / 10};
}

// Where the window stood the last time, as far as a screen still has that place. "left,top,right,bottom,maximised"
static bool TakeRememberedPlace(WINDOWPLACEMENT &placement)
{
    int large = 0;
    RECT &place = placement.rcNormalPosition;
    const std::string told = Remembered("window");
    if (sscanf(told.c_str(), "%ld,%ld,%ld,%ld,%d", &place.left, &place.top, &place.right, &place.bottom, &large) != 5) {
        return false;
    }
    if (place.right - place.left < 200 || place.bottom - place.top < 100) return false;
    placement.showCmd = large ? SW_SHOWMAXIMIZED : SW_SHOWNORMAL;
    return MonitorFromRect(&place, MONITOR_DEFAULTTONULL) != nullptr;
}

static void RememberPlace(HWND frame)
{
    WINDOWPLACEMENT placement = {};
    placement.length = sizeof placement;
    if (!GetWindowPlacement(frame, &placement)) return;
    const RECT &place = placement.rcNormalPosition;
    char text[100];
    snprintf(text, sizeof text, "%ld,%ld,%ld,%ld,%d", place.left, place.top, place.right, place.bottom,
             placement.showCmd == SW_SHOWMAXIMIZED);
    Remember("window", text);
}

bool MakeFrame(Editor &editor)
{
    static const INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_WIN95_CLASSES | ICC_STANDARD_CLASSES};
    InitCommonControlsEx(&controls);
    theEditor = &editor;
    editor.previewsOnPicture = Remembered("preview") != "off";
    RegisterFrame();
    RegisterPictureWindows();
    editor.menuBar = MakeMenuBar(editor.host.menu, &editor.windowMenu, &editor.recentMenu);
    const RECT place = FirstPlace();
    CreateWindowExA(0, FRAME_CLASS, EDITOR_NAME, WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, place.left, place.top,
                    place.right - place.left, place.bottom - place.top, nullptr, editor.menuBar,
                    GetModuleHandleA(nullptr), nullptr);
    if (!editor.frame || !editor.client) return false;
    if (IsDark()) DressCaption(editor.frame);
    DressMenuBar(editor.frame);
    PrepareForMemoryEnd(editor);
    HostShowDialogs(TRUE);
    HostKeepDialogsBefore(editor.frame);
    ListenToHost(editor);
    WINDOWPLACEMENT placement = {};
    placement.length = sizeof placement;
    if (TakeRememberedPlace(placement)) SetWindowPlacement(editor.frame, &placement);
    ShowWindow(editor.frame, SW_SHOW);
    UpdateStatus(editor);
    return true;
}

void EndFrame(Editor &editor)
{
    HostBeforeMemoryEnd(nullptr, nullptr);
    RememberPlace(editor.frame);
    CloseHelp();
    StopListening();
    HostKeepDialogsBefore(nullptr);
    // The menu of effects is the host's to destroy.
    for (int i = GetMenuItemCount(editor.menuBar); i-- > 0;)
        if (GetSubMenu(editor.menuBar, i) == editor.host.menu) RemoveMenu(editor.menuBar, UINT(i), MF_BYPOSITION);
    DestroyWindow(editor.frame);
    editor.frame = editor.client = editor.status = editor.toolbar = editor.tabs = nullptr;
}
