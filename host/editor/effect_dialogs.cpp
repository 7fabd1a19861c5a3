#include "host/editor/effect_dialogs.h"

// The chooser has no place on the list of dialogs.
static BOOL CALLBACK FindChooser(HWND window, LPARAM found)
{
    if (HostDialogTemplate(window) != CHOOSER_TEMPLATE) return TRUE;
    *reinterpret_cast<HWND *>(found) = window;
    return FALSE;
}

HWND OpenChooser()
{
    HWND chooser = nullptr;
    EnumThreadWindows(GetCurrentThreadId(), FindChooser, reinterpret_cast<LPARAM>(&chooser));
    return chooser;
}

// Windows come from the front to the back.
static BOOL CALLBACK FindEffect(HWND window, LPARAM found)
{
    const int32_t id = HostDialogTemplate(window);
    const DialogTemplate *dialog = id && IsWindowVisible(window) ? FindDialogTemplate(id) : nullptr;
    if (!dialog || !dialog->effect) return TRUE;
    *reinterpret_cast<const DialogTemplate **>(found) = dialog;
    return FALSE;
}

const DialogTemplate *EffectInFront()
{
    const DialogTemplate *effect = nullptr;
    EnumThreadWindows(GetCurrentThreadId(), FindEffect, reinterpret_cast<LPARAM>(&effect));
    return effect;
}

void GoToDialog(const Editor &editor)
{
    const FloaterList *floaters = editor.host.context.floaters;
    SetActiveWindow(MiscFloaterAt(floaters, MiscFloaterCount(floaters) - 1));
}

HWND DialogInFront(const Editor &editor)
{
    const FloaterList *floaters = editor.host.context.floaters;
    HWND found = nullptr;
    for (HWND window = GetTopWindow(nullptr); window && !found; window = GetWindow(window, GW_HWNDNEXT)) {
        for (int32_t i = 0; i < MiscFloaterCount(floaters); ++i)
            if (MiscFloaterAt(floaters, i) == window && IsWindowVisible(window)) found = window;
    }
    return found;
}
