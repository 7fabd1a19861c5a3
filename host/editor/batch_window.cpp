// See batch_window.h. How the pictures are worked on is batch_process.h's.

#include "host/editor/batch_window.h"

#include "host/editor/batch_process.h"
#include "host/editor/colours.h"
#include "host/editor/dialog_writer.h"
#include "host/editor/file_questions.h"
#include "host/editor/own_dialogs.h"
#include "host/editor/questions.h"
#include "host/editor/remembered.h"
#include "host/editor/window_controls.h"
#include "host/paths/paths.h"

#include <algorithm>
#include <commctrl.h>

static constexpr UINT NEWS = WM_APP + 30;
// In dialog units.
static constexpr int WIDTH = 270, MARGIN = 8, LINE = 10, LIST_HEIGHT = 110, BUTTON_HEIGHT = 14, BUTTON = 56, GAP = 4;

struct BatchRow {
    std::string file, result;   // no result: not yet
};

struct BatchWindow {
    const Editor *editor = nullptr;
    HWND window = nullptr;
    StepsAsRecipe recipe;
    std::vector<BatchRow> rows;
    std::shared_ptr<BatchWork> work;   // while it runs
    bool aborted = false;
    size_t written = 0, failed = 0, left = 0;
};

static BatchWindow batch;   // there is at most one

static HWND Part(int id) { return GetDlgItem(batch.window, id); }
static void SetText(int id, const std::string &text) { SetWindowTextW(Part(id), WideOf(text).c_str()); }

static std::string TextOf(int id)
{
    std::wstring text(size_t(GetWindowTextLengthW(Part(id))), 0);
    GetWindowTextW(Part(id), text.data(), int(text.size()) + 1);
    return Utf8Of(text);
}

//---- What it shows

static std::string RowText(const BatchRow &row)
{
    return WithoutFolder(row.file) + (row.result.empty() ? "" : ": " + row.result);
}

// Reasons may be longer than the list is wide.
static void MakeScrollable(HWND list)
{
    SIZE size = {};
    LONG widest = 0;
    const HDC space = GetDC(list);
    const HGDIOBJ before = SelectObject(space, reinterpret_cast<HFONT>(SendMessageA(list, WM_GETFONT, 0, 0)));
    for (const BatchRow &row : batch.rows) {
        const std::wstring text = WideOf(RowText(row));
        GetTextExtentPoint32W(space, text.c_str(), int(text.size()), &size);
        widest = std::max(widest, size.cx);
    }
    SelectObject(space, before);
    ReleaseDC(list, space);
    SendMessageA(list, LB_SETHORIZONTALEXTENT, WPARAM(widest + 8), 0);
}

static void ShowRow(size_t place)
{
    const HWND list = Part(BATCH_LIST);
    SendMessageA(list, LB_DELETESTRING, place, 0);
    SendMessageW(list, LB_INSERTSTRING, place, reinterpret_cast<LPARAM>(WideOf(RowText(batch.rows[place])).c_str()));
}

static void ShowRows()
{
    const HWND list = Part(BATCH_LIST);
    SendMessageA(list, LB_RESETCONTENT, 0, 0);
    for (const BatchRow &row : batch.rows)
        SendMessageW(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(WideOf(RowText(row)).c_str()));
    MakeScrollable(list);
}

static void ShowSteps()
{
    std::string text;
    for (const std::string &name : batch.recipe.names) text += (text.empty() ? "Steps: " : ", ") + name;
    const std::string left = TextOfLeftOut(batch.recipe);
    SetText(BATCH_STEPS, text + "." + (left.empty() ? "" : " " + left));
}

// As Tab does: the button that Enter presses follows.
static void MoveFocus(int id) { SendMessageA(batch.window, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(Part(id)), TRUE); }

static void GreyParts()
{
    const bool running = batch.work != nullptr, ready = !batch.rows.empty() && !TextOf(BATCH_FOLDER).empty();
    const HWND focus = GetFocus();
    for (const int id : {int(BATCH_ADD), int(BATCH_FOLDER), int(BATCH_BROWSE), int(BATCH_LEAVE)})
        EnableWindow(Part(id), !running);
    EnableWindow(Part(BATCH_REMOVE), !running && !batch.rows.empty());
    EnableWindow(Part(BATCH_START), !running && ready);
    EnableWindow(Part(BATCH_ABORT), running && !batch.aborted);
    // A button that goes grey leaves the keyboard to what comes next.
    if (focus == Part(BATCH_START) && running) MoveFocus(BATCH_ABORT);
    if (focus == Part(BATCH_ABORT) && !IsWindowEnabled(focus)) MoveFocus(IDCANCEL);
}

static void ShowProgress()
{
    const size_t done = batch.written + batch.failed + batch.left;
    SendMessageA(Part(BATCH_PROGRESS), PBM_SETRANGE32, 0, LPARAM(batch.rows.size()));
    SendMessageA(Part(BATCH_PROGRESS), PBM_SETPOS, done, 0);
    SetText(BATCH_REPORT, std::to_string(done) + " of " + std::to_string(batch.rows.size()));
}

//---- Pictures

static void AddPictures()
{
    for (const std::string &file : AskForPictures(*batch.editor, "Add Pictures")) {
        const bool known =
            std::any_of(batch.rows.begin(), batch.rows.end(), [&](const BatchRow &row) { return row.file == file; });
        if (!known) batch.rows.push_back({file, ""});
    }
    if (!batch.window) return;
    ShowRows();
    GreyParts();
}

// Those that are chosen, or all when none is.
static void RemovePictures()
{
    std::vector<BatchRow> kept;
    for (size_t i = 0; i < batch.rows.size(); ++i)
        if (SendMessageA(Part(BATCH_LIST), LB_GETSEL, i, 0) <= 0) kept.push_back(batch.rows[i]);
    if (kept.size() == batch.rows.size()) kept.clear();
    batch.rows = kept;
    ShowRows();
    GreyParts();
}

//---- Running

static void Start()
{
    BatchOrder order = {
        batch.recipe.lines, {}, TextOf(BATCH_FOLDER), IsDlgButtonChecked(batch.window, BATCH_LEAVE) != 0};
    for (BatchRow &row : batch.rows) {
        row.result.clear();
        order.files.push_back(row.file);
    }
    std::string error;
    batch.written = batch.failed = batch.left = 0;
    batch.aborted = false;
    batch.work = StartBatch(order, batch.window, NEWS, error);
    ShowRows();
    ShowProgress();
    GreyParts();
    if (!batch.work) return SetText(BATCH_REPORT, error);
    Remember("batch-folder", order.folder);
}

static void TakeResult(const BatchResult &result)
{
    const auto row = std::find_if(batch.rows.begin(), batch.rows.end(),
                                  [&](const BatchRow &one) { return one.result.empty() && one.file == result.file; });
    if (row == batch.rows.end()) return;
    if (result.status == "done") row->result = "written", ++batch.written;
    else if (result.status == "skipped") row->result = "left out, it is there already", ++batch.left;
    else row->result = "failed: " + result.error, ++batch.failed;
    for (const std::string &notice : result.notices) row->result += "; " + notice;
    ShowRow(size_t(row - batch.rows.begin()));
}

static std::string FirstLine(const std::string &text)
{
    const std::string line = text.substr(0, text.find_first_of("\r\n"));
    const std::string program = "velmorant: ";
    return line.starts_with(program) ? line.substr(program.size()) : line;
}

// What was not come to is told too.
static void TellEnd(const std::string &errors)
{
    const size_t rest = batch.rows.size() - batch.written - batch.failed - batch.left;
    std::string text = (batch.aborted ? "Aborted. " : "") + std::to_string(batch.written) + " written";
    if (batch.failed) text += ", " + std::to_string(batch.failed) + " failed";
    if (batch.left) text += ", " + std::to_string(batch.left) + " left out";
    if (rest) text += ", " + std::to_string(rest) + " not come to";
    text += ".";
    if (rest && !batch.aborted && !errors.empty()) text = FirstLine(errors);
    SetText(BATCH_REPORT, text);
}

static void OnNews()
{
    if (!batch.work) return;
    const BatchNews news = TakeBatchNews(*batch.work);
    for (const BatchResult &result : news.results) TakeResult(result);
    ShowProgress();
    if (!news.ended) return;
    batch.work.reset();
    TellEnd(news.errors);
    MakeScrollable(Part(BATCH_LIST));
    GreyParts();
}

static void Abort()
{
    if (!batch.work) return;
    batch.aborted = true;
    AbortBatch(batch.work);
    GreyParts();
}

// A batch that goes on would go on unseen.
static bool MayGo()
{
    if (!batch.work) return true;
    const char *question = "Other pictures are still being worked on.\n\nAbort that?";
    if (ShowMessage(*batch.editor, question, MB_OKCANCEL | MB_ICONQUESTION) != IDOK) return false;
    Abort();
    return true;
}

//---- The window

static void OnCommand(int id, int notification)
{
    switch (id) {
    case BATCH_ADD: return AddPictures();
    case BATCH_REMOVE: return RemovePictures();
    case BATCH_FOLDER:
        if (notification == EN_CHANGE) GreyParts();
        return;
    case BATCH_BROWSE:
        if (const std::string folder = AskForFolder(*batch.editor, TextOf(BATCH_FOLDER)); !folder.empty())
            SetText(BATCH_FOLDER, folder);
        return;
    case BATCH_START: return Start();
    case BATCH_ABORT: return Abort();
    case IDCANCEL:
        if (MayGo() && batch.window) DestroyWindow(batch.window);
        return;
    }
}

static INT_PTR CALLBACK BatchProcedure(HWND window, UINT message, WPARAM word, LPARAM)
{
    LRESULT colours = 0;
    if (TakeColourMessage(window, message, word, colours)) return INT_PTR(colours);
    switch (message) {
    case WM_INITDIALOG: return TRUE;
    case WM_COMMAND:
        if (window != batch.window) return FALSE;   // it is being made
        OnCommand(LOWORD(word), HIWORD(word));
        return TRUE;
    case NEWS: OnNews(); return TRUE;
    case WM_DESTROY:
        RemoveOwnDialog(window);
        batch = {};
        return TRUE;
    }
    return FALSE;
}

static DialogWriter TemplateOfBatch()
{
    const int right = WIDTH - MARGIN, aside = right - BUTTON, listTop = MARGIN + 2 * LINE + 2;
    const int folderTop = listTop + LIST_HEIGHT + 6, leaveTop = folderTop + BUTTON_HEIGHT + 4;
    const int progressTop = leaveTop + LINE + 6, reportTop = progressTop + LINE + 4;
    const int buttonsTop = reportTop + 2 * LINE + 4;
    DialogWriter writer("Run on Other Pictures", WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_CENTER,
                        {WIDTH, buttonsTop + BUTTON_HEIGHT + MARGIN});
    const auto button = [&](const char *label, int id, int left, int top, DWORD style) {
        writer.AddControl("BUTTON", label, id, style | WS_TABSTOP, {left, top, left + BUTTON, top + BUTTON_HEIGHT});
    };
    writer.AddControl("STATIC", "", BATCH_STEPS, SS_LEFT | SS_NOPREFIX, {MARGIN, MARGIN, right, MARGIN + 2 * LINE});
    writer.AddControl("LISTBOX", "", BATCH_LIST,
                      LBS_EXTENDEDSEL | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT | WS_VSCROLL | WS_HSCROLL | WS_TABSTOP,
                      {MARGIN, listTop, aside - GAP, listTop + LIST_HEIGHT}, WS_EX_CLIENTEDGE);
    button("&Add...", BATCH_ADD, aside, listTop, BS_PUSHBUTTON);
    button("&Remove", BATCH_REMOVE, aside, listTop + BUTTON_HEIGHT + GAP, BS_PUSHBUTTON);
    writer.AddControl("STATIC", "Into &folder:", -1, SS_LEFT, {MARGIN, folderTop + 3, MARGIN + 44, folderTop + 13});
    writer.AddControl("EDIT", "", BATCH_FOLDER, ES_AUTOHSCROLL | WS_TABSTOP,
                      {MARGIN + 46, folderTop, aside - GAP, folderTop + 13}, WS_EX_CLIENTEDGE);
    button("&Browse...", BATCH_BROWSE, aside, folderTop, BS_PUSHBUTTON);
    writer.AddControl("BUTTON", "&Leave what is there already", BATCH_LEAVE, BS_AUTOCHECKBOX | WS_TABSTOP,
                      {MARGIN + 46, leaveTop, aside, leaveTop + LINE});
    writer.AddControl(PROGRESS_CLASSA, "", BATCH_PROGRESS, 0, {MARGIN, progressTop, right, progressTop + LINE});
    writer.AddControl("STATIC", "", BATCH_REPORT, SS_LEFT | SS_NOPREFIX,
                      {MARGIN, reportTop, right, reportTop + 2 * LINE});
    button("&Start", BATCH_START, right - 3 * BUTTON - 2 * GAP, buttonsTop, BS_DEFPUSHBUTTON);
    button("A&bort", BATCH_ABORT, right - 2 * BUTTON - GAP, buttonsTop, BS_PUSHBUTTON);
    button("Close", IDCANCEL, right - BUTTON, buttonsTop, BS_PUSHBUTTON);
    return writer;
}

static bool MakeBatch(const Editor &editor)
{
    const DialogWriter writer = TemplateOfBatch();
    const HWND made = CreateDialogIndirectParamW(GetModuleHandleW(nullptr),
                                                 reinterpret_cast<const DLGTEMPLATE *>(writer.words.data()),
                                                 editor.frame, BatchProcedure, 0);
    if (!made) return false;
    batch.editor = &editor;
    batch.window = made;
    AddOwnDialog(made);
    CheckDlgButton(made, BATCH_LEAVE, BST_CHECKED);
    SetText(BATCH_FOLDER, Remembered("batch-folder"));
    return true;
}

void ShowBatch(Editor &editor, const StepsAsRecipe &recipe)
{
    if (BatchProgram().empty()) {
        ShowMessage(editor,
                    "Other pictures are worked on by the command line, velmorant.exe, which is not here. The installer "
                    "offers it.",
                    MB_ICONINFORMATION);
        return;
    }
    if (!batch.window && !MakeBatch(editor)) return;
    if (!batch.work) {
        batch.recipe = recipe;
        ShowSteps();
        GreyParts();
    }
    ShowWindow(batch.window, SW_SHOW);
    HostBringForward(batch.window);
    SetFocus(Part(BATCH_ADD));
}

static BOOL KPZAPI HasEnded(void *) { return !BatchUnderWay(); }

bool EndBatch(const Editor &)
{
    constexpr UINT ASKED_AGAIN = 20;   // milliseconds
    if (!MayGo()) return false;
    const UINT_PTR timer = SetTimer(nullptr, 0, ASKED_AGAIN, nullptr);
    HostRunMessages(HasEnded, nullptr);
    KillTimer(nullptr, timer);
    return true;
}
