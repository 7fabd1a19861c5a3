// Dialogs of the system's own, from templates built in memory out of the host's tables, and message boxes. The sheets
// themselves are host/dialogs'; what is added to single controls is in controls.cpp.

#include "host/api/win32/win32.h"

static bool dialogsShown;

KPZ_EXPORT void KPZAPI HostShowDialogs(BOOL show) { dialogsShown = show; }

static HWND behindDialogs;

KPZ_EXPORT void KPZAPI HostKeepDialogsBefore(HWND window) { behindDialogs = window; }

//---- Dialog templates in memory

struct ControlLook {
    const char *windowClass;
    DWORD style, extendedStyle;
};

static ControlLook LookOf(const ControlTemplate &row)
{
    switch (row.kind) {
    case LABEL: return {"STATIC", SS_LEFT, 0};
    case GROUP_BOX: return {"BUTTON", BS_GROUPBOX, 0};
    case PUSH_BUTTON: return {"BUTTON", BS_PUSHBUTTON | WS_TABSTOP, 0};
    case CHECK_BOX: return {"BUTTON", BS_AUTOCHECKBOX | WS_TABSTOP, 0};
    // The checked button of a group takes the tab stop over.
    case RADIO_BUTTON: return {"BUTTON", BS_AUTORADIOBUTTON | DWORD(row.startsGroup ? WS_TABSTOP : 0), 0};
    case NUMBER_FIELD: return {"EDIT", ES_AUTOHSCROLL | WS_TABSTOP, WS_EX_CLIENTEDGE};
    case SPIN_ARROWS: return {UPDOWN_CLASSA, UDS_AUTOBUDDY | UDS_ARROWKEYS, 0};
    case TRACKBAR: return {TRACKBAR_CLASSA, TBS_HORZ | TBS_AUTOTICKS | WS_TABSTOP, 0};
    case LIST_BOX: return {"LISTBOX", LBS_NOTIFY | LBS_NOINTEGRALHEIGHT | WS_VSCROLL | WS_TABSTOP, WS_EX_CLIENTEDGE};
    case COLOUR_CONTROL: return {Classes().colour, WS_TABSTOP, 0};
    case PREVIEW_WINDOW: return {Classes().preview, 0, 0};
    }
    return {"STATIC", SS_LEFT, 0};
}

// A DLGTEMPLATE and its DLGITEMTEMPLATEs are runs of 16-bit words; every item starts at a multiple of 32 bits.
struct TemplateWriter {
    std::vector<WORD> words;

    void Add(std::initializer_list<int32_t> values)
    {
        for (int32_t value : values) words.push_back(WORD(value));
    }
    void AddLong(DWORD value) { Add({LOWORD(value), HIWORD(value)}); }
    void AddText(const char *text)   // the tables' texts are ASCII
    {
        do words.push_back(BYTE(*text));
        while (*text++);
    }
    void Align()
    {
        if (words.size() % 2) words.push_back(0);
    }
};

// The button that Enter presses: Apply, or the first of a dialog without it.
static int32_t DefaultButtonOf(const DialogTemplate &sheet)
{
    if (FindControl(&sheet, APPLY_BUTTON)) return APPLY_BUTTON;
    for (int32_t i = 0; i < sheet.controlCount; ++i)
        if (sheet.controls[i].kind == PUSH_BUTTON) return sheet.controls[i].id;
    return -1;
}

static void AddControl(TemplateWriter &writer, const ControlTemplate &row, bool isDefault)
{
    const ControlLook look = LookOf(row);
    DWORD style = look.style | WS_CHILD | WS_VISIBLE;
    if (row.startsGroup) style |= WS_GROUP;
    if (isDefault) style |= BS_DEFPUSHBUTTON;
    writer.Align();
    writer.AddLong(style);
    writer.AddLong(look.extendedStyle);
    writer.Add({row.x, row.y, row.width, row.height, row.id});
    writer.AddText(look.windowClass);
    writer.AddText(row.label);
    writer.Add({0});   // no creation data
}

static std::vector<WORD> TemplateOf(const DialogTemplate &sheet)
{
    TemplateWriter writer;
    writer.AddLong(WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_SETFONT);
    writer.AddLong(0);
    writer.Add({sheet.controlCount, 0, 0, sheet.width, sheet.height});
    writer.Add({0, 0});   // no menu, the usual class
    writer.AddText(sheet.title);
    writer.Add({8});   // points
    writer.AddText("MS Shell Dlg");
    const int32_t defaultButton = DefaultButtonOf(sheet);
    for (int32_t i = 0; i < sheet.controlCount; ++i)
        AddControl(writer, sheet.controls[i], sheet.controls[i].id == defaultButton);
    return writer.words;
}

//---- Dialogs from templates

// Of the private messages the system knows the first two as its own, by which a dialog keeps its default button; a
// dialog's answer to the others is its own.
static bool IsForTheSystem(UINT message)
{
    return message < WM_USER || message == DM_GETDEFID || message == DM_SETDEFID;
}

// A dialog answers with its own procedure's result; when that is 0 the system's processing follows. The system's dialog
// procedure knows nothing of the dialog's own, so it cannot call it again.
static LRESULT KPZAPI DialogProcedure(HWND handle, UINT message, WPARAM word, LPARAM extra)
{
    BeforeNotice(message, extra, word);
    Window *dialog = RecordOf(handle);
    const INT_PTR result = dialog ? dialog->dialogProcedure(handle, message, word, extra) : 0;
    if (result || !RecordOf(handle)) return result;
    if (message == WM_NOTIFY && reinterpret_cast<const NMHDR *>(extra)->code == UDN_DELTAPOS) return AfterNotice(extra);
    return IsForTheSystem(message) ? PassToSystem(handle, message, word, extra) : 0;
}

static void AdoptControl(HWND handle, const ControlTemplate &row, HWND before)
{
    WNDPROC procedure = ControlProcedure;
    if (row.kind == COLOUR_CONTROL) procedure = ColourProcedure;
    if (row.kind == PREVIEW_WINDOW) procedure = PreviewProcedure();
    Window *control = Adopt(handle, WindowKind::CONTROL, procedure);
    control->row = &row;
    if (row.kind != SPIN_ARROWS) return;
    control->field = before;
    // It has made itself 16 pixels wide at most, however many dots the screen has.
    RECT place = {row.x, row.y, row.x + row.width, row.y + row.height};
    MapDialogRect(GetParent(handle), &place);
    SetWindowPos(handle, nullptr, place.left, place.top, place.right - place.left, place.bottom - place.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    // The field's text is the number; what the arrows keep themselves only fills in their notifications.
    PassToSystem(handle, UDM_SETRANGE32, WPARAM(INT32_MIN), INT32_MAX);
}

static HWND MakeDialog(HWND owner, DLGPROC procedure, const DialogTemplate &sheet, DialogRun *run)
{
    static const INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_WIN95_CLASSES | ICC_STANDARD_CLASSES};
    static const bool ready = InitCommonControlsEx(&controls);
    const std::vector<WORD> words = TemplateOf(sheet);
    const auto *made = reinterpret_cast<const DLGTEMPLATE *>(words.data());
    const HWND realOwner = owner == GetDesktopWindow() ? behindDialogs : owner;
    const HWND handle = ready ? CreateDialogIndirectParamA(OwnInstance(), made, realOwner, nullptr, 0) : nullptr;
    if (!handle) return nullptr;

    Window *dialog = Adopt(handle, WindowKind::DIALOG, DialogProcedure);
    dialog->dialogProcedure = procedure;
    dialog->run = run;
    dialog->templateId = sheet.id;
    HWND before = nullptr, child = GetWindow(handle, GW_CHILD);
    for (int32_t i = 0; child && i < sheet.controlCount; ++i, before = child, child = GetWindow(child, GW_HWNDNEXT))
        AdoptControl(child, sheet.controls[i], before);
    return handle;
}

// The dialog may have been dismissed while it opened, and may have checked another button of its first group.
static void ShowFirst(HWND dialog, bool takesFocus)
{
    if (!dialogsShown || !IsWindow(dialog)) return;
    ShowWindow(dialog, SW_SHOW);
    const HWND focus = GetNextDlgTabItem(dialog, nullptr, FALSE);
    if (takesFocus && focus) SendMessageA(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(focus), TRUE);
}

static BOOL KPZAPI AskFinished(void *run) { return static_cast<DialogRun *>(run)->finished; }

namespace backend
{

INT_PTR RunDialogBox(HWND owner, DLGPROC procedure, const DialogTemplate &sheet, void *parameter)
{
    DialogRun run;
    const HWND dialog = MakeDialog(owner, procedure, sheet, &run);
    if (!dialog) return 0;
    const HWND focus = GetNextDlgTabItem(dialog, nullptr, FALSE);
    const bool takesFocus =
        Send(dialog, WM_INITDIALOG, reinterpret_cast<WPARAM>(focus), reinterpret_cast<LPARAM>(parameter));
    ShowFirst(dialog, takesFocus);
    HostRunMessages(AskFinished, &run);
    return run.result;
}

// The loop of KPZ_RunDialogBox is the one to end, and it runs on the dialog's own thread: it needs no waking.
void DismissDialog(HWND handle, INT_PTR result)
{
    Window *dialog = RecordOf(handle);
    if (!dialog || dialog->kind != WindowKind::DIALOG || dialog->run->finished) return;
    if (GetWindowThreadProcessId(handle, nullptr) != GetCurrentThreadId()) return;
    dialog->run->result = result;
    dialog->run->finished = true;
    Destroy(dialog);
}

}   // namespace backend

KPZ_EXPORT int32_t KPZAPI HostDialogTemplate(HWND handle)
{
    const Window *window = RecordOf(handle);
    return window ? window->templateId : 0;
}

KPZ_EXPORT void KPZAPI HostBringForward(HWND window)
{
    LogCall("HostBringForward", nullptr, window);
    if (IsWindowVisible(window)) SetForegroundWindow(window);
}

//---- Message boxes

// Where dialogs are not shown, nobody is there to close a box.
int32_t backend::ShowMessageBox(HWND owner, const char *text, const char *title, int32_t style)
{
    if (const int32_t answer = AnswerMessageBox(owner, text, title, style)) return answer;
    if (!dialogsShown) return IDOK;
    ReleaseHeldThreads();
    return MessageBoxA(owner, text, title, UINT(style));
}
