// What is added to the system's controls, which notify by themselves: numbers that may stand outside their range,
// clicks by message that need no shown window, radio groups that do not depend on what is shown. The colour control is
// all our own.

#include "host/api/win32/win32.h"

#include <commdlg.h>

static WNDPROC previewProcedure;

KPZ_EXPORT void KPZAPI HostSetPreviewProcedure(WNDPROC procedure) { previewProcedure = procedure; }
WNDPROC PreviewProcedure() { return previewProcedure; }

//---- Buttons

static bool StartsGroup(HWND control) { return GetWindowLongA(control, GWL_STYLE) & WS_GROUP; }

static bool IsRadio(HWND handle)
{
    const Window *control = RecordOf(handle);
    return control && control->row && control->row->kind == RADIO_BUTTON;
}

// The system's own radio buttons leave those alone that are hidden or greyed.
static void UncheckRestOfGroup(HWND radio)
{
    HWND control = radio;
    while (!StartsGroup(control) && GetWindow(control, GW_HWNDPREV)) control = GetWindow(control, GW_HWNDPREV);
    do {
        if (control != radio && IsRadio(control)) SendMessageA(control, BM_SETCHECK, BST_UNCHECKED, 0);
        control = GetWindow(control, GW_HWNDNEXT);
    } while (control && !StartsGroup(control));
}

// The system would send itself the mouse's messages, which take the keyboard over and may fail in a window that is not
// active.
static LRESULT Click(HWND button, ControlKind kind)
{
    if (!IsWindowEnabled(button)) return 0;
    const bool checked = SendMessageA(button, BM_GETCHECK, 0, 0) == BST_CHECKED;
    if (kind == CHECK_BOX) SendMessageA(button, BM_SETCHECK, checked ? BST_UNCHECKED : BST_CHECKED, 0);
    if (kind == RADIO_BUTTON) SendMessageA(button, BM_SETCHECK, BST_CHECKED, 0);
    SendMessageA(GetParent(button), WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(button), BN_CLICKED),
                 reinterpret_cast<LPARAM>(button));
    return 0;
}

//---- Number fields and their arrows

static std::string TextOf(HWND handle)
{
    std::string text(size_t(GetWindowTextLengthA(handle)), 0);
    GetWindowTextA(handle, text.data(), int(text.size()) + 1);
    return text;
}

// A narrow field goes on showing the end of what it was scrolled for, and a number without its sign is another one.
static void ShowFromStart(HWND handle)
{
    SendMessageA(handle, EM_SETSEL, 0, 0);
    SendMessageA(handle, EM_SCROLLCARET, 0, 0);
}

static LRESULT SetTextByCode(HWND handle, LPARAM text)
{
    RecordOf(handle)->written = true;
    const LRESULT result = PassToSystem(handle, WM_SETTEXT, 0, text);
    if (Window *field = RecordOf(handle)) field->written = false;
    if (GetFocus() != handle && IsWindow(handle)) ShowFromStart(handle);
    return result;
}

// Digits, and a sign in front where the range goes below 0; what edits without being a letter passes.
static bool MayBeTyped(HWND handle, WPARAM letter)
{
    if (letter < ' ' || (letter >= '0' && letter <= '9')) return true;
    const Window *field = RecordOf(handle);
    if (letter != '-' || !field || field->number.low >= 0) return false;
    DWORD start = 0, end = 0;
    SendMessageA(handle, EM_GETSEL, reinterpret_cast<WPARAM>(&start), reinterpret_cast<LPARAM>(&end));
    return start == 0 && TextOf(handle).find('-', end) == std::string::npos;
}

// Only a number is pasted, without the blanks around it.
static LRESULT PasteNumber(HWND handle)
{
    std::string text;
    if (!OpenClipboard(handle)) return 0;
    if (const HANDLE memory = GetClipboardData(CF_TEXT)) {
        if (const auto *held = static_cast<const char *>(GlobalLock(memory))) text = held;
        GlobalUnlock(memory);
    }
    CloseClipboard();
    const size_t start = text.find_first_not_of(" \t\r\n"), end = text.find_last_not_of(" \t\r\n");
    text = start == std::string::npos ? "" : text.substr(start, end - start + 1);
    const size_t digits = text.starts_with('-') ? 1 : 0;
    const bool number = text.size() > digits && text.find_first_not_of("0123456789", digits) == std::string::npos;
    if (!number || (digits && !MayBeTyped(handle, '-'))) return MessageBeep(MB_OK), 0;
    return SendMessageA(handle, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(text.c_str()));
}

// A field's new text is a person's unless code sets it; the dialog's procedure may ask for the number at once.
static void NoteWhoWrote(HWND handle)
{
    Window *field = RecordOf(handle);
    if (field && field->row && field->row->kind == NUMBER_FIELD) field->number.typed = !field->written;
}

void BeforeNotice(UINT message, LPARAM extra, WPARAM word)
{
    if (message == WM_COMMAND && HIWORD(word) == EN_UPDATE) NoteWhoWrote(reinterpret_cast<HWND>(extra));
}

// The number is written here, so the arrows must not add the step to theirs: they are given the number to tell.
LRESULT AfterNotice(LPARAM extra)
{
    const auto *notice = reinterpret_cast<const StepNotice *>(extra);
    static_assert(sizeof(StepNotice) == sizeof(NMUPDOWN) && STEP_ASKED == UDN_DELTAPOS && NOTIFY == WM_NOTIFY);
    const HWND arrows = notice->from.window;
    TakeStep(*notice);
    PassToSystem(arrows, UDM_SETPOS32, 0, backend::Send(arrows, UDM_GETPOS32, 0, 0));
    return TRUE;
}

// What was typed is read as a number in the field's range; when the keyboard leaves it, it shows that number.
static void ShowNumberThatCounts(HWND handle)
{
    const Window *field = RecordOf(handle), *dialog = RecordOf(GetParent(handle));
    if (!field || field->going || !dialog || dialog->going) return;
    if (!field->number.typed || !SendMessageA(handle, EM_GETMODIFY, 0, 0)) return;   // never touched
    const std::string number = std::to_string(backend::Send(handle, UDM_GETPOS32, 0, 0));
    if (number != TextOf(handle)) backend::WriteNumber(handle, number.c_str(), true);
}

//---- All controls of the system

LRESULT KPZAPI ControlProcedure(HWND handle, UINT message, WPARAM word, LPARAM extra)
{
    const Window *control = RecordOf(handle);
    if (!control) return 0;
    const ControlKind kind = control->row->kind;
    const bool isButton = kind == PUSH_BUTTON || kind == CHECK_BOX || kind == RADIO_BUTTON;
    if (isButton && message == BM_CLICK) return Click(handle, kind);
    if (kind == RADIO_BUTTON && message == BM_SETCHECK && word == BST_CHECKED) UncheckRestOfGroup(handle);
    if (kind == NUMBER_FIELD && message == WM_SETTEXT) return SetTextByCode(handle, extra);
    if (kind == NUMBER_FIELD && message == WM_KILLFOCUS) {
        ShowNumberThatCounts(handle);
        if (IsWindow(handle)) ShowFromStart(handle);
    }
    if (kind == NUMBER_FIELD && message == WM_PASTE) return PasteNumber(handle);
    if (kind == NUMBER_FIELD && message == WM_CHAR && !MayBeTyped(handle, word)) return MessageBeep(MB_OK), 0;
    if (IsAboutNumber(message)) {
        if (Window *field = RecordOf(backend::NumberFieldOf(handle)))
            return NumberMessage(field->handle, field->number, TextOf(field->handle), message, word, extra);
    }
    return PassToSystem(handle, message, word, extra);
}

//---- The colour control

static void DrawColour(HWND handle, uint32_t colour)
{
    PAINTSTRUCT paint;
    RECT area;
    const HDC space = BeginPaint(handle, &paint);
    GetClientRect(handle, &area);
    DrawEdge(space, &area, EDGE_SUNKEN, BF_RECT | BF_ADJUST);
    FillRect(space, &area, GetSysColorBrush(COLOR_BTNFACE));
    if (!IsWindowEnabled(handle)) InflateRect(&area, -4, -3);   // greyed: the colour shrinks
    SetDCBrushColor(space, colour & 0xFFFFFF);
    FillRect(space, &area, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    InflateRect(&area, -1, -1);
    if (GetFocus() == handle) DrawFocusRect(space, &area);
    EndPaint(handle, &paint);
}

// The picker of the system; what is chosen there is told as HostPickColour tells it.
static void AskForColour(HWND handle, uint32_t colour)
{
    static COLORREF ownColours[16];
    CHOOSECOLORA choice = {};
    choice.lStructSize = sizeof choice;
    choice.hwndOwner = GetParent(handle);
    choice.rgbResult = colour & 0xFFFFFF;
    choice.lpCustColors = ownColours;
    choice.Flags = CC_RGBINIT | CC_FULLOPEN | CC_ANYCOLOR;
    ReleaseHeldThreads();
    if (ChooseColorA(&choice)) HostPickColour(GetParent(handle), GetDlgCtrlID(handle), choice.rgbResult);
}

LRESULT KPZAPI ColourProcedure(HWND handle, UINT message, WPARAM word, LPARAM extra)
{
    Window *control = RecordOf(handle);
    if (!control) return 0;
    switch (message) {
    case COLOUR_SETTING:
        if (word == COLOUR_SHOWN) control->colour = uint32_t(extra);
        InvalidateRect(handle, nullptr, FALSE);
        return 0;
    case WM_PAINT: DrawColour(handle, control->colour); return 0;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
    case WM_ENABLE: InvalidateRect(handle, nullptr, FALSE); return 0;
    case WM_LBUTTONDOWN: SetFocus(handle); return 0;
    case WM_LBUTTONUP: AskForColour(handle, control->colour); return 0;
    case WM_KEYDOWN:
        if (word != VK_SPACE) break;
        AskForColour(handle, control->colour);
        return 0;
    }
    return PassToSystem(handle, message, word, extra);
}

//---- What VLMAPI offers

namespace backend
{

HWND NumberFieldOf(HWND handle)
{
    const Window *control = RecordOf(handle);
    if (!control || !control->row) return nullptr;
    return control->row->kind == NUMBER_FIELD ? handle : control->field;
}

void WriteNumber(HWND field, const char *text, bool typed)
{
    if (!typed) {
        SetWindowTextA(field, text);
        return;
    }
    SendMessageA(field, EM_SETSEL, 0, -1);
    SendMessageA(field, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(text));
    if (GetFocus() != field && IsWindow(field)) ShowFromStart(field);
}

uint32_t ShownColour(HWND control)
{
    const Window *window = RecordOf(control);
    return window ? window->colour : 0;
}

}   // namespace backend
