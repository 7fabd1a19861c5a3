// See history_window.h. What a picture has come by is history.h's to know, what becomes a recipe taken_steps.h's.

#include "host/editor/history_window.h"

#include "host/acting/preset_files.h"
#include "host/editor/batch_window.h"
#include "host/editor/colours.h"
#include "host/editor/dialog_writer.h"
#include "host/editor/edit_commands.h"
#include "host/editor/file_questions.h"
#include "host/editor/history.h"
#include "host/editor/own_dialogs.h"
#include "host/editor/window_controls.h"
#include "host/paths/paths.h"

#include <algorithm>

// In dialog units.
static constexpr int WIDTH = 250, MARGIN = 8, LIST_HEIGHT = 120, DETAILS_HEIGHT = 36, LINE = 10, BUTTON_HEIGHT = 14;

struct HistoryWindow {
    Editor *editor = nullptr;
    HWND window = nullptr;
    StepList list;
    std::string told;   // of what the window shows: when it is the same, nothing is to be done
    std::string note;
    uint64_t notedState = 0;   // MiscStateNumber when the note was told
};

static HistoryWindow history;   // there is at most one

static HWND Part(int id) { return GetDlgItem(history.window, id); }
static PictureWindow *Active() { return ActivePicture(*history.editor); }

static void SetText(int id, const std::string &text) { SetWindowTextW(Part(id), WideOf(text).c_str()); }

static void Tell(const std::string &note)
{
    history.note = note;
    history.notedState = Active() ? MiscStateNumber(Active()->image) : 0;
    SetText(HISTORY_NOTE, note);
}

//---- The list

static std::string RowText(const TakenStep &step)
{
    const std::string details = DetailsOfStep(step);
    return NameOfStep(step) + (details.empty() ? "" : ": " + details);
}

static std::string FirstRow(const PictureWindow &picture)
{
    return picture.file.empty() ? "As it came" : "As it was opened";
}

static void FillList(const PictureWindow &picture)
{
    const HWND rows = Part(HISTORY_LIST);
    SendMessageA(rows, WM_SETREDRAW, FALSE, 0);
    SendMessageA(rows, LB_RESETCONTENT, 0, 0);
    const auto add = [rows](const std::string &text) {
        SendMessageW(rows, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(WideOf(text).c_str()));
    };
    add(FirstRow(picture));
    for (const TakenStep &step : history.list.steps) add(RowText(step));
    SendMessageA(rows, LB_SETCURSEL, history.list.current, 0);
    SendMessageA(rows, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(rows, nullptr, TRUE);
}

static std::vector<TakenStep> StepsToHere()
{
    const std::vector<TakenStep> &steps = history.list.steps;
    return {steps.begin(), steps.begin() + ptrdiff_t(std::min(history.list.current, steps.size()))};
}

static void Show(const PictureWindow *picture)
{
    const bool still = picture && CanChange(picture);
    for (const int id : {int(HISTORY_LIST), int(HISTORY_SAVE), int(HISTORY_RUN)}) EnableWindow(Part(id), still);
    if (!still) return;
    history.list = StepsOf(*picture);
    const size_t current = history.list.current;
    SetText(HISTORY_PICTURE, picture->name);
    FillList(*picture);
    SetText(HISTORY_DETAILS, current > 0 ? RowText(history.list.steps[current - 1]) : "");
    const bool effects = !RecipeOf(StepsToHere()).lines.empty();
    EnableWindow(Part(HISTORY_SAVE), effects);
    EnableWindow(Part(HISTORY_RUN), effects);
    if (MiscStateNumber(picture->image) != history.notedState) Tell("");
}

// What decides what is shown.
static std::string StateTold(const PictureWindow *picture)
{
    if (!picture || !CanChange(picture)) return "none";
    const StepList list = StepsOf(*picture);
    std::string told =
        picture->name + "\n" + std::to_string(list.current) + " " + std::to_string(list.reached) + "\n" + picture->file;
    for (const TakenStep &step : list.steps) told += "\n" + RowText(step);
    return told;
}

void RefreshHistory(Editor &editor)
{
    PictureWindow *picture = ActivePicture(editor);
    if (picture && CanChange(picture)) NoteSteps(*picture);
    if (!history.window) return;
    const std::string told = StateTold(picture);
    if (told == history.told) return;
    history.told = told;
    if (!picture) {
        history.list = {};
        SendMessageA(Part(HISTORY_LIST), LB_RESETCONTENT, 0, 0);
        for (const int id : {int(HISTORY_PICTURE), int(HISTORY_DETAILS), int(HISTORY_NOTE)}) SetText(id, "");
    }
    Show(picture);
}

// To the state that a row stands for.
static void GoToRow(size_t row)
{
    PictureWindow *picture = Active();
    const StepList &list = history.list;
    if (!picture || !CanChange(picture) || row > list.steps.size() || row == list.current) return;
    if (row < list.reached) {
        SendMessageA(Part(HISTORY_LIST), LB_SETCURSEL, list.current, 0);
        return Tell("Undo does not go back that far any more.");
    }
    GoThroughSteps(*history.editor, *picture, int(row) - int(list.current));
    RefreshHistory(*history.editor);
}

//---- Drawing

// Where one is stands bold; what undo does not reach and what redo would bring again are grey.
static void DrawRow(const DRAWITEMSTRUCT &item)
{
    if (item.itemID == UINT(-1)) return;
    const StepList &list = history.list;
    const bool selected = item.itemState & ODS_SELECTED,
               faint = item.itemID < list.reached || item.itemID > list.current;
    FillRect(item.hDC, &item.rcItem, ColourBrush(selected ? COLOR_HIGHLIGHT : COLOR_WINDOW));
    SetTextColor(item.hDC, Colour(selected ? COLOR_HIGHLIGHTTEXT : faint ? COLOR_GRAYTEXT : COLOR_WINDOWTEXT));
    SetBkMode(item.hDC, TRANSPARENT);
    wchar_t text[1024] = L"";
    if (SendMessageW(item.hwndItem, LB_GETTEXTLEN, item.itemID, 0) < LRESULT(std::size(text)))
        SendMessageW(item.hwndItem, LB_GETTEXT, item.itemID, reinterpret_cast<LPARAM>(text));
    LOGFONTA look = {};
    GetObjectA(reinterpret_cast<HFONT>(SendMessageA(item.hwndItem, WM_GETFONT, 0, 0)), sizeof look, &look);
    if (item.itemID == list.current) look.lfWeight = FW_BOLD;
    const HFONT font = CreateFontIndirectA(&look);
    const HGDIOBJ before = SelectObject(item.hDC, font);
    RECT place = item.rcItem;
    InflateRect(&place, -4, 0);
    DrawTextW(item.hDC, text, -1, &place, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_END_ELLIPSIS | DT_NOPREFIX);
    SelectObject(item.hDC, before);
    DeleteObject(font);
    if (item.itemState & ODS_FOCUS) DrawFocusRect(item.hDC, &item.rcItem);
}

//---- Recipes

static std::string CountOf(size_t count) { return std::to_string(count) + (count == 1 ? " step" : " steps"); }

static void SaveRecipe()
{
    const PictureWindow *picture = Active();
    if (!picture) return;
    const StepsAsRecipe recipe = RecipeOf(StepsToHere());
    const std::string suggested = NameOf(PathOf(picture->name).stem()) + ".recipe";
    const std::string file = AskForRecipe(*history.editor, suggested);
    if (file.empty() || !history.window) return;
    std::string error;
    if (!WriteStepLines(file, recipe.lines, error)) return Tell(WithoutFolder(file) + ": " + error);
    const std::string left = TextOfLeftOut(recipe);
    Tell("Saved: " + CountOf(recipe.lines.size()) + "." + (left.empty() ? "" : " " + left));
}

//---- The window

static INT_PTR CALLBACK HistoryProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    LRESULT colours = 0;
    if (TakeColourMessage(window, message, word, colours)) return INT_PTR(colours);
    switch (message) {
    case WM_INITDIALOG: return TRUE;
    case WM_COMMAND:
        switch (LOWORD(word)) {
        case HISTORY_LIST:
            if (HIWORD(word) == LBN_SELCHANGE) GoToRow(size_t(SendMessageA(Part(HISTORY_LIST), LB_GETCURSEL, 0, 0)));
            return TRUE;
        case HISTORY_SAVE: SaveRecipe(); return TRUE;
        case HISTORY_RUN: ShowBatch(*history.editor, RecipeOf(StepsToHere())); return TRUE;
        case IDCANCEL: DestroyWindow(window); return TRUE;
        }
        return FALSE;
    case WM_DRAWITEM: DrawRow(*reinterpret_cast<const DRAWITEMSTRUCT *>(extra)); return TRUE;
    case WM_DESTROY:
        RemoveOwnDialog(window);
        history = {};
        return TRUE;
    }
    return FALSE;
}

static DialogWriter TemplateOfHistory()
{
    const int listTop = MARGIN + LINE + 2, detailsTop = listTop + LIST_HEIGHT + 4;
    const int noteTop = detailsTop + DETAILS_HEIGHT + 2, buttonsTop = noteTop + 2 * LINE + 2, right = WIDTH - MARGIN;
    DialogWriter writer("History", WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME,
                        {WIDTH, buttonsTop + BUTTON_HEIGHT + MARGIN});
    const DWORD text = SS_LEFT | SS_NOPREFIX;
    writer.AddControl("STATIC", "", HISTORY_PICTURE, text | SS_ENDELLIPSIS, {MARGIN, MARGIN, right, MARGIN + LINE});
    writer.AddControl("LISTBOX", "", HISTORY_LIST,
                      LBS_NOTIFY | LBS_HASSTRINGS | LBS_OWNERDRAWFIXED | LBS_NOINTEGRALHEIGHT | WS_VSCROLL | WS_TABSTOP,
                      {MARGIN, listTop, right, listTop + LIST_HEIGHT}, WS_EX_CLIENTEDGE);
    writer.AddControl("STATIC", "", HISTORY_DETAILS, text, {MARGIN, detailsTop, right, detailsTop + DETAILS_HEIGHT});
    writer.AddControl("STATIC", "", HISTORY_NOTE, text, {MARGIN, noteTop, right, noteTop + 2 * LINE});
    const auto button = [&](const char *label, int id, int left, int end) {
        writer.AddControl("BUTTON", label, id, BS_PUSHBUTTON | WS_TABSTOP,
                          {left, buttonsTop, end, buttonsTop + BUTTON_HEIGHT});
    };
    button("&Save as Recipe...", HISTORY_SAVE, MARGIN, MARGIN + 74);
    button("&Run on Other Pictures...", HISTORY_RUN, MARGIN + 78, MARGIN + 178);
    button("Close", IDCANCEL, right - 50, right);
    return writer;
}

// At the main window's right, where it hides least.
static void PlaceAtRight(HWND frame, HWND window)
{
    RECT around, own;
    GetWindowRect(frame, &around);
    GetWindowRect(window, &own);
    const LONG left = std::max(around.left, around.right - (own.right - own.left) - 24);
    SetWindowPos(window, nullptr, left, around.top + 64, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void ShowHistory(Editor &editor)
{
    if (!history.window) {
        const DialogWriter writer = TemplateOfHistory();
        history.editor = &editor;
        history.window = CreateDialogIndirectParamW(GetModuleHandleW(nullptr),
                                                    reinterpret_cast<const DLGTEMPLATE *>(writer.words.data()),
                                                    editor.frame, HistoryProcedure, 0);
        if (!history.window) return;
        AddOwnDialog(history.window);
        PlaceAtRight(editor.frame, history.window);
        ShowWindow(history.window, SW_SHOW);
    }
    RefreshHistory(editor);
    HostBringForward(history.window);
    SetFocus(Part(HISTORY_LIST));
}
