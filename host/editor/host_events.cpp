// What host and effects tell the editor: runs that begin, report and end, the buttons of the dialogs that are meant for
// it, help. It only passes on; what happens then is in the files that it calls.

#include "host/editor/host_events.h"

#include "host/editor/canvas_preview.h"
#include "host/editor/chooser.h"
#include "host/editor/commands.h"
#include "host/editor/edit_commands.h"
#include "host/editor/file_questions.h"
#include "host/editor/greying.h"
#include "host/editor/help_window.h"
#include "host/editor/history.h"
#include "host/editor/keys.h"
#include "host/editor/picture_changes.h"
#include "host/editor/protect_commands.h"
#include "host/editor/repeating.h"
#include "host/editor/run_commands.h"
#include "host/editor/status_line.h"
#include "host/editor/strip.h"

// A window's procedure has no context: this is the one editor of the process.
static Editor *theEditor;

// The effects' dialogs forward their undo, redo, previous and next buttons here.
static LRESULT KPZAPI HostWindowProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    if (message != FORWARDED_COMMAND) return KPZ_DefWindowProc(window, message, word, extra);
    switch (LOWORD(word)) {
    case HOST_COMMAND_FIRST: RunEditorCommand(*theEditor, EDIT_UNDO); break;
    case HOST_COMMAND_FIRST + 1: RunEditorCommand(*theEditor, EDIT_REDO); break;
    case HOST_COMMAND_FIRST + 2: ActivateNeighbour(*theEditor, -1); break;
    case HOST_COMMAND_LAST: ActivateNeighbour(*theEditor, 1); break;
    }
    return 0;
}

// A run of this dialog's has just been started, or refused: another dialog's may be under way. The record is the run's
// to change by now.
static void OnApply(Editor &editor, HWND dialog)
{
    PictureWindow *picture = ActivePicture(editor);
    if (picture && IsRunning(*picture)) {
        OnRunBegun(dialog, *picture);
        NoteApply(dialog);
    }
    if (picture && IsRunning(*picture) && picture->image->mask && !picture->enlarger) {
        const TrueSize before = {picture->extent.width, picture->extent.height};
        const TrueSize after = SizeAfterRun(dialog, before);
        const bool grows = after.width != before.width || after.height != before.height;
        picture->enlarger = grows ? dialog : nullptr;
        picture->sizeToCome = after;
    }
    UpdateStatus(editor);
}

static void OnRunFinished(Editor &editor, PictureWindow &picture, HWND dialog)
{
    const bool finished = !MiscLastRunAborted(picture.image);
    const bool enlarged = picture.enlarger == dialog && finished;
    picture.enlarger = nullptr;
    if (enlarged) PutSizeOnRecord(editor, picture, picture.sizeToCome);
    if (finished && picture.begun) ProtectResult(editor, picture);
    const bool unchanged = finished && MiscDropUnchangedRun(picture.image);
    NoteRun(picture, finished && !unchanged);
    PictureChanged(editor, picture);
    OnRunEnded(dialog, unchanged);
    if (finished) PausePreview(editor, dialog);
    CloseAfterRepeating(dialog);
}

static void OnDialogMade(Editor &editor, HWND dialog)
{
    const DialogTemplate *table = FindDialogTemplate(HostDialogTemplate(dialog));
    if (table && table->effect) FurnishDialog(editor, dialog, *table);
}

static void KPZAPI Observe(void *context, HWND window, UINT message, WPARAM word, LPARAM extra)
{
    Editor &editor = *static_cast<Editor *>(context);
    if (message == WM_INITDIALOG) OnDialogMade(editor, window);
    if (message >= WM_USER) TellStrip(window, message, extra);
    if (message == WM_INITDIALOG && HostDialogTemplate(window) == CHOOSER_TEMPLATE) FurnishChooser(editor, window);
    if (message == WM_COMMAND && LOWORD(word) == APPLY_BUTTON) OnApply(editor, window);
    OnPreviewMessage(editor, window, message);
    if (message == WM_NULL && GetDlgCtrlID(window) == PREVIEW_CONTROL) OnPreviewShown(GetParent(window), window);
    GreyDialogsSoon(editor);
    if (message != RUN_FINISHED) return;
    for (const auto &picture : editor.pictures)
        if (picture->canvas == reinterpret_cast<HWND>(word)) OnRunFinished(editor, *picture, window);
}

// The Help button of an effect's dialog.
static void ShowHelpOf(const Editor &editor, int32_t helpContext)
{
    for (int32_t i = 0; i < DialogTemplateCount(); ++i) {
        const DialogTemplate &dialog = *DialogTemplateAt(i);
        if (dialog.effect && dialog.helpContext == helpContext) ShowHelp(editor, &dialog);
    }
}

static void FitWindowTo(Editor &editor, ImageRecord *image)
{
    if (PictureWindow *picture = PictureOfImage(editor, image)) PictureChanged(editor, *picture);
}

//---- Listening

void ListenToHost(Editor &editor)
{
    theEditor = &editor;
    HostTakeMessages(TakeKey, &editor);
    HostObserve(Observe, &editor);
    MiscAnswerFileNames(AnswerFileName, &editor);
    KPZ_SubclassWindow(editor.host.context.window, HostWindowProcedure);
    editor.host.onChooserOpened = [](HWND) { BeginChooser(); };
    editor.host.onProgress = [&editor](ImageRecord *, int) { ShowProgress(editor); };
    editor.host.onHelp = [&editor](int32_t helpContext) { ShowHelpOf(editor, helpContext); };
    editor.host.onSized = [&editor](ImageRecord *image, int32_t, int32_t) { FitWindowTo(editor, image); };
}

void StopListening()
{
    HostTakeMessages(nullptr, nullptr);
    HostObserve(nullptr, nullptr);
    MiscAnswerFileNames(nullptr, nullptr);
}
