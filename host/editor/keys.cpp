#include "host/editor/keys.h"

#include "host/editor/canvas_preview.h"
#include "host/editor/commands.h"
#include "host/editor/effect_dialogs.h"
#include "host/editor/help_window.h"
#include "host/editor/own_dialogs.h"
#include "host/editor/run_commands.h"
#include "host/editor/strip.h"

static bool IsDown(int key) { return GetKeyState(key) < 0; }

// What the main window's keys do from the editor's own windows that stay open.
static bool TakeKeyOfOwnDialog(Editor &editor, HWND window, UINT message, WPARAM key)
{
    if (message != WM_KEYDOWN || !IsOwnDialog(window) || !IsWindowEnabled(editor.frame)) return false;
    const int command = IsDown(VK_CONTROL) ? CommandOfKey(key, true, IsDown(VK_SHIFT), false) : 0;
    if (key == VK_F6) SetActiveWindow(editor.frame);
    else if (command == EDIT_UNDO || command == EDIT_REDO) RunEditorCommand(editor, command);
    else return false;
    return true;
}

BOOL KPZAPI TakeKey(void *context, HWND window, UINT message, WPARAM key, LPARAM extra)
{
    Editor &editor = *static_cast<Editor *>(context);
    if (TakeKeyOfOwnDialog(editor, window, message, key)) return TRUE;
    if (TakeOwnDialogMessage(window, message, key, extra)) return TRUE;
    if (TakeHelpMessage(window, message, key, extra)) return TRUE;
    if (key == BEFORE_KEY && (message == WM_KEYDOWN || message == WM_KEYUP)) {
        ShowBefore(editor, message == WM_KEYDOWN);
        return TRUE;
    }
    if (message != WM_KEYDOWN && message != WM_SYSKEYDOWN) return FALSE;
    const HWND root = window ? GetAncestor(window, GA_ROOT) : nullptr;
    const bool ofDialog = HostDialogTemplate(root) && IsWindowEnabled(root);
    if ((ofDialog || IsHelp(root)) && key == VK_F6) {
        if (IsHelp(root) && CommandPossible(editor, WINDOW_DIALOG)) GoToDialog(editor);
        else SetActiveWindow(editor.frame);
        return TRUE;
    }
    if (ofDialog && TakeStripKey(root, window, key)) return TRUE;
    if (ofDialog && key == VK_F1) {
        RunEditorCommand(editor, HELP_EFFECTS);
        return TRUE;
    }
    if (root != editor.frame || !IsWindowEnabled(root)) return FALSE;
    const int command = CommandOfKey(key, IsDown(VK_CONTROL), IsDown(VK_SHIFT), IsDown(VK_MENU));
    if (!command) return FALSE;
    RunEditorCommand(editor, command);
    return TRUE;
}
