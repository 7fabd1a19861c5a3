// See repeating.h. What a setting is, and how one is put into a dialog, is dialog_settings.h's; scope and preview are the
// picture's and the day's, and are left as they are.

#include "host/editor/repeating.h"

#include "host/editor/dialog_settings.h"

struct LastRun {
    const DialogTemplate *effect = nullptr;
    Settings settings = {};
};

static LastRun last;
static HWND closing;   // the dialog that goes with its run

void NoteApply(HWND dialog)
{
    const int32_t id = HostDialogTemplate(dialog);
    const DialogTemplate *table = id ? FindDialogTemplate(id) : nullptr;
    if (table && table->effect) last = {table, SettingsIn(dialog, *table, Which::ALL)};
}

const char *TitleToRepeat() { return last.effect ? last.effect->title : ""; }

bool CanRepeat(const Editor &editor) { return last.effect && CommandEnabled(editor.host, last.effect->commandOffset); }

// They are in pixels, so no picture's edge is asked for.
static void PutLastSettings(HWND dialog)
{
    std::string ignored;
    PutSettings(dialog, *last.effect, last.settings, 0, ignored);
}

static HWND OpenDialogOf(const Editor &editor, const DialogTemplate &effect)
{
    const FloaterList *floaters = editor.host.context.floaters;
    for (int32_t i = 0; i < MiscFloaterCount(floaters); ++i)
        if (HostDialogTemplate(MiscFloaterAt(floaters, i)) == effect.id) return MiscFloaterAt(floaters, i);
    return nullptr;
}

// The host tells of a dialog that stands ready; only of the one that was asked for.
static void WhenOpened(Editor &editor, const std::function<void(HWND dialog)> &script)
{
    const int32_t id = last.effect->id;
    editor.host.onDialogOpened = [&editor, id, script](HWND dialog) {
        if (HostDialogTemplate(dialog) != id) return;
        const std::function<void(HWND)> now = script;
        editor.host.onDialogOpened = nullptr;
        now(dialog);
    };
}

void CloseAfterRepeating(HWND dialog)
{
    if (dialog != closing) return;
    closing = nullptr;
    PostMessageA(dialog, WM_CLOSE, 0, 0);
}

static void ApplyAndClose(HWND dialog)
{
    HostShowDialogs(TRUE);
    PutLastSettings(dialog);
    closing = dialog;
    Press(dialog, APPLY_BUTTON);
    const bool running = !IsWindowEnabled(GetDlgItem(dialog, APPLY_BUTTON));
    if (!running) CloseAfterRepeating(dialog);
}

void RepeatEffect(Editor &editor)
{
    if (const HWND open = OpenDialogOf(editor, *last.effect)) {
        PutLastSettings(open);
        return Press(open, APPLY_BUTTON);
    }
    HostShowDialogs(FALSE);   // until it stands ready
    WhenOpened(editor, ApplyAndClose);
    RunCommand(editor.host, last.effect->commandOffset);
    editor.host.onDialogOpened = nullptr;
    HostShowDialogs(TRUE);
}

void RepeatInDialog(Editor &editor)
{
    const HWND open = OpenDialogOf(editor, *last.effect);
    if (open) PutLastSettings(open);
    else WhenOpened(editor, PutLastSettings);
    RunCommand(editor.host, last.effect->commandOffset);   // brings an open one forward
}
