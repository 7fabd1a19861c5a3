// The message loop with what the host adds to the system's: its own keys, Escape and Enter, the wheel over
// the control beneath it; and sending and posting across threads.

#include "host/api/win32/win32.h"

#include <windowsx.h>

//---- Keys

// The host's shortcuts in a dialog, each a button's: a greyed button has none.
static constexpr struct {
    WPARAM key;
    bool shift;
    int32_t id;
} hostKeys[] = {
    {'Z', false, HOST_COMMAND_FIRST},         {'Y', false, HOST_COMMAND_FIRST + 1},
    {'Z', true, HOST_COMMAND_FIRST + 1},      {VK_PRIOR, false, HOST_COMMAND_FIRST + 2},
    {VK_NEXT, false, HOST_COMMAND_FIRST + 3},
};

static bool IsDown(int key) { return GetKeyState(key) < 0; }

// True when the key was one of the host's.
static bool TakeHostKey(HWND dialog, const MSG &message)
{
    if (message.message != WM_KEYDOWN || !IsDown(VK_CONTROL) || IsDown(VK_MENU)) return false;
    for (const auto &hostKey : hostKeys) {
        if (message.wParam != hostKey.key || IsDown(VK_SHIFT) != hostKey.shift) continue;
        const HWND button = GetDlgItem(dialog, hostKey.id);
        if (!button || !IsWindowEnabled(button)) return false;
        SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(hostKey.id, BN_CLICKED), reinterpret_cast<LPARAM>(button));
        return true;
    }
    return false;
}

static void Press(HWND dialog, int32_t id)
{
    SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(GetDlgItem(dialog, id)));
}

static bool CanBePressed(HWND dialog, int32_t id)
{
    const HWND button = GetDlgItem(dialog, id);
    return button && IsWindowVisible(button) && IsWindowEnabled(button);
}

// Esc aborts a run; without one it closes the dialog. Where there is a Cancel button, the system presses that.
static bool TakeEscape(HWND dialog)
{
    if (GetDlgItem(dialog, IDCANCEL)) return false;
    for (const int32_t id : {int32_t(ABORT_BUTTON), int32_t(CLOSE_BUTTON)}) {
        if (!CanBePressed(dialog, id)) continue;
        Press(dialog, id);
        return true;
    }
    return false;
}

// Enter in a list does what a double click does.
static bool TakeEnter(HWND control)
{
    const Window *list = RecordOf(control);
    if (!list || !list->row || list->row->kind != LIST_BOX) return false;
    const WPARAM word = MAKEWPARAM(GetDlgCtrlID(control), LBN_DBLCLK);
    SendMessageA(GetParent(control), WM_COMMAND, word, reinterpret_cast<LPARAM>(control));
    return true;
}

static bool TakeDialogKey(HWND dialog, const MSG &message)
{
    if (message.message != WM_KEYDOWN) return false;
    if (message.wParam == VK_ESCAPE) return TakeEscape(dialog);
    return message.wParam == VK_RETURN && TakeEnter(message.hwnd);
}

//---- Handling

// The dialog that a message is for, itself or one of its controls; null when it is for no dialog of ours.
static Window *DialogOf(HWND handle)
{
    Window *window = RecordOf(handle ? GetAncestor(handle, GA_ROOT) : nullptr);
    return window && window->kind == WindowKind::DIALOG ? window : nullptr;
}

// The wheel turns for what has the keyboard, as the system sees it; a preview control under the pointer comes first.
static void LeadWheel(MSG &message)
{
    if (message.message != WM_MOUSEWHEEL) return;
    const HWND under = WindowFromPoint({GET_X_LPARAM(message.lParam), GET_Y_LPARAM(message.lParam)});
    const Window *window = RecordOf(under);
    if (window && window->row && window->row->kind == PREVIEW_WINDOW) message.hwnd = under;
}

// Handles one posted message. False when there was none; what other threads have sent has been handled either way.
static bool HandleOne()
{
    MSG message;
    if (!PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) return false;
    LeadWheel(message);
    if (TakeMessage(message.hwnd, message.message, message.wParam, message.lParam)) return true;
    if (const Window *dialog = DialogOf(message.hwnd)) {
        const HWND handle = dialog->handle;
        if (TakeDialogKey(handle, message)) return true;
        if (dialog->hotkeys && TakeHostKey(handle, message)) return true;
        if (IsDialogMessageA(handle, &message)) return true;
    }
    TranslateMessage(&message);
    DispatchMessageA(&message);
    return true;
}

// A control that is greyed or hidden while it has the keyboard leaves its dialog without: no key does anything then. A
// run greys nearly all of them when it begins, and hides Abort when it ends.
static void MoveFocusOn()
{
    const HWND focus = GetFocus();
    const Window *dialog = DialogOf(focus ? focus : GetActiveWindow());
    if (!dialog || focus == dialog->handle || !IsWindowVisible(dialog->handle)) return;
    if (focus && IsWindowEnabled(focus) && IsWindowVisible(focus)) return;
    const HWND handle = dialog->handle;
    HWND next = GetNextDlgTabItem(handle, focus, FALSE);
    for (const int32_t id : {int32_t(APPLY_BUTTON), int32_t(ABORT_BUTTON)})
        if (CanBePressed(handle, id)) next = GetDlgItem(handle, id);
    if (next) SendMessageA(handle, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(next), TRUE);
}

KPZ_EXPORT void KPZAPI HostRunMessages(DoneRoutine done, void *context)
{
    while (!done(context)) {
        if (HandleOne()) continue;
        if (done(context)) return;   // another thread's message may have been the one
        ReleaseHeldThreads();
        MoveFocusOn();
        MsgWaitForMultipleObjectsEx(0, nullptr, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    }
}

KPZ_EXPORT void KPZAPI HostWake(HWND window) { backend::Post(window, WM_NULL, 0, 0); }

//---- Sending and posting

namespace backend
{

LRESULT Send(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    if (!IsWindow(window)) return 0;
    if (GetWindowThreadProcessId(window, nullptr) != GetCurrentThreadId()) ReleaseHeldThreads();
    return SendMessageA(window, message, word, extra);
}

// Without a window the system posts to the thread.
bool Post(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    return window && PostMessageA(window, message, word, extra);
}

}   // namespace backend
