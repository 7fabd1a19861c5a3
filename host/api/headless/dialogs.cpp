// Dialogs made from the host's templates, modeless and modal, and message boxes, which a routine answers. Where a
// control lies and how it looks is left out: nothing is drawn.

#include "host/api/headless/headless.h"

static bool dialogsShown;

KPZ_EXPORT void KPZAPI HostShowDialogs(BOOL show) { dialogsShown = show; }
// Windows in memory stand in no order.
KPZ_EXPORT void KPZAPI HostKeepDialogsBefore(HWND) {}

//---- Dialogs from templates

// Dialog units as the system's usual dialog font makes them: a base unit of 6 by 13 pixels.
static int32_t PixelsAcross(int32_t units) { return units * 6 / 4; }
static int32_t PixelsDown(int32_t units) { return units * 13 / 8; }

static void MakeControl(Window *dialog, const ControlTemplate &row)
{
    Window *before = dialog->children.empty() ? nullptr : dialog->children.back();
    const WNDPROC procedure = row.kind == PREVIEW_WINDOW ? PreviewProcedure() : ControlProcedure;
    Window *control = MakeWindow(WindowKind::CONTROL, procedure, dialog, &row);
    control->width = PixelsAcross(row.width);
    control->height = PixelsDown(row.height);
    if (row.kind == SPIN_ARROWS) control->field = before;
}

// A dialog answers with its own procedure's result; the system's processing that follows is about its title and the
// steps of spin boxes.
static LRESULT KPZAPI DialogProcedure(HWND handle, UINT message, WPARAM word, LPARAM extra)
{
    Window *dialog = FindWindow(handle);
    const INT_PTR result = dialog ? dialog->dialogProcedure(handle, message, word, extra) : 0;
    dialog = FindWindow(handle);
    if (result || !dialog) return result;
    const auto *notice = message == NOTIFY ? reinterpret_cast<const StepNotice *>(extra) : nullptr;
    if (notice && notice->from.code == STEP_ASKED) TakeStep(*notice);
    return TextMessage(dialog, message, word, extra);
}

static Window *MakeDialog(HWND owner, DLGPROC procedure, const DialogTemplate &sheet, DialogRun *run)
{
    Window *dialog = MakeWindow(WindowKind::DIALOG, DialogProcedure);
    dialog->owner = owner;
    dialog->text = sheet.title;
    dialog->dialogProcedure = procedure;
    dialog->run = run;
    dialog->templateId = sheet.id;
    dialog->visible = dialogsShown;
    dialog->width = PixelsAcross(sheet.width);
    dialog->height = PixelsDown(sheet.height);
    for (int32_t i = 0; i < sheet.controlCount; ++i) MakeControl(dialog, sheet.controls[i]);
    if (dialogsShown) backend::Invalidate(dialog->handle, nullptr, true);
    return dialog;
}

namespace backend
{

INT_PTR RunDialogBox(HWND owner, DLGPROC procedure, const DialogTemplate &sheet, void *parameter)
{
    DialogRun run;
    const HWND dialog = MakeDialog(owner, procedure, sheet, &run)->handle;
    try {
        Send(dialog, WM_INITDIALOG, 0, reinterpret_cast<LPARAM>(parameter));
        HostRunMessages([](void *context) { return BOOL(static_cast<DialogRun *>(context)->finished); }, &run);
    } catch (const std::bad_alloc &) {
        // It would outlive what its owner keeps for it until this returns.
        Insist([dialog] {
            if (Window *open = FindWindow(dialog)) DestroyWindow(open);
        });
        throw;
    }
    return run.result;
}

// The loop of KPZ_RunDialogBox is the one to end, and it runs on the dialog's own thread: it needs no waking.
void DismissDialog(HWND handle, INT_PTR result)
{
    Window *dialog = FindWindow(handle);
    if (!IsOwn(dialog) || dialog->kind != WindowKind::DIALOG || dialog->run->finished) return;
    DialogRun *run = dialog->run;
    run->result = result;
    run->finished = true;
    DestroyWindow(dialog);
}

}   // namespace backend

KPZ_EXPORT int32_t KPZAPI HostDialogTemplate(HWND handle)
{
    const Window *window = FindWindow(handle);
    return window ? window->templateId : 0;
}

// Without a screen no window stands before another: the log has it.
KPZ_EXPORT void KPZAPI HostBringForward(HWND window) { LogCall("HostBringForward", nullptr, window); }

//---- Message boxes

int32_t backend::ShowMessageBox(HWND owner, const char *text, const char *title, int32_t style)
{
    const int32_t answer = AnswerMessageBox(owner, text, title, style);
    return answer ? answer : IDOK;
}
