// See forms.h: the system's own dialogs, from templates built in memory. It knows nothing of what is asked.

#include "host/editor/forms.h"

#include "host/editor/colours.h"
#include "host/editor/dialog_writer.h"
#include "host/editor/own_dialogs.h"
#include "host/editor/questions.h"
#include "host/paths/paths.h"

#include <algorithm>

static constexpr UINT_PTR REST_TIMER = 1;
static constexpr UINT REST = 250;   // milliseconds that a change rests before it is heeded
// In dialog units.
static constexpr int WIDTH = 220, MARGIN = 8, LINE = 18, LABEL_WIDTH = 110, LIST_HEIGHT = 150, BUTTON = 52;

struct OpenForm {
    Form &form;
    bool filling = false;
    int answer = 0;   // the button that has ended it
};

//---- The template

static int HeightOf(const FormRow &row) { return row.kind == FormKind::LIST ? LIST_HEIGHT + 6 : LINE; }

static void AddRow(DialogWriter &writer, const FormRow &row, int y)
{
    const int id = FORM_CONTROL + row.id, right = WIDTH - MARGIN;
    const RECT line = {MARGIN, y, right, y + 12}, label = {MARGIN, y + 2, MARGIN + LABEL_WIDTH, y + 12};
    const RECT field = {MARGIN + LABEL_WIDTH, y, right, y + 13};
    const bool labelled = row.kind == FormKind::NUMBER || row.kind == FormKind::CHOICE || row.kind == FormKind::FIELD;
    if (labelled) writer.AddControl("STATIC", row.label, -1, SS_LEFT, label);
    switch (row.kind) {
    case FormKind::TEXT: writer.AddControl("STATIC", row.label, id, SS_LEFT | SS_NOPREFIX, line); break;
    case FormKind::NUMBER:
        writer.AddControl("EDIT", "", id, ES_AUTOHSCROLL | WS_TABSTOP, {field.left, y, field.left + 50, y + 13},
                          WS_EX_CLIENTEDGE);
        break;
    case FormKind::FIELD:
        writer.AddControl("EDIT", "", id, ES_AUTOHSCROLL | WS_TABSTOP, field, WS_EX_CLIENTEDGE);
        break;
    case FormKind::CHOICE:
        writer.AddControl("COMBOBOX", "", id, CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP,
                          {field.left, y, field.right, y + 100});
        break;
    case FormKind::CHECK: writer.AddControl("BUTTON", row.label, id, BS_AUTOCHECKBOX | WS_TABSTOP, line); break;
    case FormKind::LIST:
        writer.AddControl("LISTBOX", "", id, LBS_NOTIFY | LBS_NOINTEGRALHEIGHT | WS_VSCROLL | WS_TABSTOP,
                          {MARGIN, y, right, y + LIST_HEIGHT}, WS_EX_CLIENTEDGE);
        break;
    }
}

static std::vector<WORD> TemplateOf(const Form &form)
{
    int height = MARGIN + 2 * MARGIN + 14;
    for (const FormRow &row : form.rows) height += HeightOf(row);
    DialogWriter writer(form.title, WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_CENTER, {WIDTH, height});
    int y = MARGIN;
    for (const FormRow &row : form.rows) {
        AddRow(writer, row, y);
        y += HeightOf(row);
    }
    const int top = height - MARGIN - 14, right = WIDTH - MARGIN;
    writer.AddControl("BUTTON", form.ok, IDOK, BS_DEFPUSHBUTTON | WS_TABSTOP,
                      {right - 2 * BUTTON - 4, top, right - BUTTON - 4, top + 14});
    writer.AddControl("BUTTON", "Cancel", IDCANCEL, BS_PUSHBUTTON | WS_TABSTOP, {right - BUTTON, top, right, top + 14});
    return writer.words;
}

//---- Filling and reading

static HWND ControlOf(HWND window, const FormRow &row) { return GetDlgItem(window, FORM_CONTROL + row.id); }

static void PutEntries(HWND list, const FormRow &row)
{
    const bool combo = row.kind == FormKind::CHOICE;
    SendMessageA(list, combo ? CB_RESETCONTENT : LB_RESETCONTENT, 0, 0);
    for (const std::string &choice : row.choices)
        SendMessageW(list, combo ? CB_ADDSTRING : LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(WideOf(choice).c_str()));
    SendMessageA(list, combo ? CB_SETCURSEL : LB_SETCURSEL, WPARAM(row.value), 0);
}

static void PutRow(HWND window, const FormRow &row)
{
    const HWND control = ControlOf(window, row);
    switch (row.kind) {
    case FormKind::TEXT: break;
    case FormKind::NUMBER: SetWindowTextA(control, std::to_string(row.value).c_str()); break;
    case FormKind::FIELD: SetWindowTextW(control, WideOf(row.text).c_str()); break;
    case FormKind::CHECK: SendMessageA(control, BM_SETCHECK, row.value ? BST_CHECKED : BST_UNCHECKED, 0); break;
    case FormKind::CHOICE:
    case FormKind::LIST: PutEntries(control, row); break;
    }
}

static std::string TextOf(HWND control)
{
    wchar_t text[512] = L"";
    GetWindowTextW(control, text, int(std::size(text)));
    return Utf8Of(text);
}

static void TakeRow(HWND window, FormRow &row)
{
    const HWND control = ControlOf(window, row);
    switch (row.kind) {
    case FormKind::TEXT: break;
    case FormKind::NUMBER:
        row.value = int(std::clamp<long>(strtol(TextOf(control).c_str(), nullptr, 10), row.low, row.high));
        break;
    case FormKind::FIELD: row.text = TextOf(control); break;
    case FormKind::CHECK: row.value = SendMessageA(control, BM_GETCHECK, 0, 0) == BST_CHECKED; break;
    case FormKind::CHOICE: row.value = int(SendMessageA(control, CB_GETCURSEL, 0, 0)); break;
    case FormKind::LIST: row.value = int(SendMessageA(control, LB_GETCURSEL, 0, 0)); break;
    }
}

void SetRowText(HWND window, int id, const std::string &text)
{
    SetWindowTextW(GetDlgItem(window, FORM_CONTROL + id), WideOf(text).c_str());
}

void FillList(HWND window, Form &form, int id, const std::vector<std::string> &entries, int chosen)
{
    for (FormRow &row : form.rows) {
        if (row.id != id) continue;
        row.choices = entries;
        row.value = chosen;
        PutEntries(ControlOf(window, row), row);
    }
}

//---- At work

static void Heed(HWND window, OpenForm &open)
{
    KillTimer(window, REST_TIMER);
    for (FormRow &row : open.form.rows) TakeRow(window, row);
    open.filling = true;
    if (open.form.changed) open.form.changed(window, open.form);
    open.filling = false;
}

static void OnCommand(HWND window, OpenForm &open, int id, int code)
{
    if (id == IDCANCEL) open.answer = IDCANCEL;
    if (id == IDOK) {
        Heed(window, open);
        open.answer = IDOK;
    }
    if (id < FORM_CONTROL || open.filling) return;
    for (const FormRow &row : open.form.rows) {
        if (FORM_CONTROL + row.id != id) continue;
        if (row.kind == FormKind::LIST && code == LBN_DBLCLK) return OnCommand(window, open, IDOK, 0);
        const bool typed = row.kind == FormKind::NUMBER || row.kind == FormKind::FIELD;
        if (!typed || code == EN_CHANGE) SetTimer(window, REST_TIMER, typed ? REST : 1, nullptr);
    }
}

// In a field, the arrows go through the list.
static bool MovesList(HWND window, OpenForm &open, WPARAM key)
{
    for (const FormRow &row : open.form.rows) {
        if (row.kind != FormKind::LIST) continue;
        const HWND list = ControlOf(window, row);
        if (GetFocus() != list) SendMessageA(list, WM_KEYDOWN, key, 1);
        return true;
    }
    return false;
}

static INT_PTR CALLBACK FormProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrA(window, DWLP_USER, extra);
        OpenForm &open = *reinterpret_cast<OpenForm *>(extra);
        open.filling = true;
        for (const FormRow &row : open.form.rows) PutRow(window, row);
        Heed(window, open);
        return TRUE;
    }
    auto *open = reinterpret_cast<OpenForm *>(GetWindowLongPtrA(window, DWLP_USER));
    LRESULT colours = 0;
    if (TakeColourMessage(window, message, word, colours)) return INT_PTR(colours);
    if (!open) return FALSE;
    switch (message) {
    case WM_COMMAND: OnCommand(window, *open, LOWORD(word), HIWORD(word)); return TRUE;
    case WM_TIMER: Heed(window, *open); return TRUE;
    }
    return FALSE;
}

static LRESULT CALLBACK FieldProcedure(HWND field, UINT message, WPARAM word, LPARAM extra, UINT_PTR, DWORD_PTR data)
{
    const HWND window = GetParent(field);
    if (message == WM_KEYDOWN && (word == VK_UP || word == VK_DOWN || word == VK_PRIOR || word == VK_NEXT)) {
        if (MovesList(window, *reinterpret_cast<OpenForm *>(data), word)) return 0;
    }
    return DefSubclassProc(field, message, word, extra);
}

static INT_PTR CALLBACK FirstProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    const INT_PTR result = FormProcedure(window, message, word, extra);
    if (message != WM_INITDIALOG) return result;
    for (const FormRow &row : reinterpret_cast<OpenForm *>(extra)->form.rows)
        if (row.kind == FormKind::FIELD) {
            SetWindowSubclass(ControlOf(window, row), FieldProcedure, 1, DWORD_PTR(extra));
        }
    return result;
}

static BOOL KPZAPI AskDone(void *open) { return static_cast<OpenForm *>(open)->answer != 0; }

bool ShowForm(const Editor &editor, Form &form)
{
    OpenForm open = {form};
    const std::vector<WORD> words = TemplateOf(form);
    const auto *made = reinterpret_cast<const DLGTEMPLATE *>(words.data());
    HWND window = nullptr;
    AskByDialog(editor, [&]() -> INT_PTR {
        window = CreateDialogIndirectParamW(GetModuleHandleW(nullptr), made, editor.frame, FirstProcedure,
                                            reinterpret_cast<LPARAM>(&open));
        if (!window) return 0;
        AddOwnDialog(window);
        ShowWindow(window, SW_SHOW);
        HostRunMessages(AskDone, &open);
        RemoveOwnDialog(window);
        return 0;
    });
    if (window) DestroyWindow(window);   // when its owner can be worked again, and gets the keyboard
    return open.answer == IDOK;
}
