// See repeating.h. The settings are what the dialog's controls show, by their names in its table; scope and preview are
// the picture's and the day's, and are left as they are.

#include "host/editor/repeating.h"

#include "host/acting/kernels.h"

#include <cstring>
#include <optional>

struct LastRun {
    const DialogTemplate *effect = nullptr;
    std::vector<std::pair<std::string, std::string>> settings = {};
    std::optional<Kernel> kernel = {};
};

static LastRun last;
static HWND closing;   // the dialog that goes with its run

static bool IsSetting(const ControlTemplate &row)
{
    return row.option && row.option[0] && row.kind != PUSH_BUTTON && row.kind != TRACKBAR && row.id != PREVIEW_CHECK &&
           row.id != SCOPE_IMAGE_RADIO && row.id != SCOPE_ALL_RADIO && row.id != SCOPE_OBJECTS_RADIO &&
           row.id != SCOPE_NEW_OBJECT_RADIO;
}

static const DialogTemplate *EffectOf(HWND dialog)
{
    const int32_t id = HostDialogTemplate(dialog);
    const DialogTemplate *table = id ? FindDialogTemplate(id) : nullptr;
    return table && table->effect ? table : nullptr;
}

void NoteApply(HWND dialog)
{
    const DialogTemplate *effect = EffectOf(dialog);
    if (!effect) return;
    last = {effect};
    for (int32_t i = 0; i < effect->controlCount; ++i) {
        const ControlTemplate &row = effect->controls[i];
        if (!IsSetting(row) || FindOption(*effect, row.option) != &row) continue;
        if (HasKernel(*effect) && strcmp(row.option, "kernel") == 0) continue;
        last.settings.push_back({row.option, ShownOption(dialog, *effect, row.option)});
    }
    if (HasKernel(*effect)) last.kernel = KernelIn(dialog);
}

const char *TitleToRepeat() { return last.effect ? last.effect->title : ""; }

bool CanRepeat(const Editor &editor) { return last.effect && CommandEnabled(editor.host, last.effect->commandOffset); }

// Choices first: ranges may depend on them.
static void PutSettings(HWND dialog)
{
    std::string ignored;
    if (last.kernel) GiveKernel(dialog, *last.kernel);
    for (const bool choices : {true, false}) {
        for (const auto &[name, value] : last.settings) {
            const ControlTemplate *row = FindOption(*last.effect, name);
            const bool chooses = row && (row->kind == RADIO_BUTTON || row->kind == CHECK_BOX);
            if (chooses == choices) SetOption(dialog, *last.effect, name, value, ignored);
        }
    }
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
    PutSettings(dialog);
    closing = dialog;
    Press(dialog, APPLY_BUTTON);
    const bool running = !IsWindowEnabled(GetDlgItem(dialog, APPLY_BUTTON));
    if (!running) CloseAfterRepeating(dialog);
}

void RepeatEffect(Editor &editor)
{
    if (const HWND open = OpenDialogOf(editor, *last.effect)) {
        PutSettings(open);
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
    if (open) PutSettings(open);
    else WhenOpened(editor, PutSettings);
    RunCommand(editor.host, last.effect->commandOffset);   // brings an open one forward
}
