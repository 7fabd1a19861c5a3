// Floating windows: the dialogs that hear of images opened, closed and activated.

#include "host/misc/joining.h"
#include "host/misc/misc.h"

#include <algorithm>
#include <vector>

struct FloaterList {
    HWND hostWindow;
    std::vector<HWND> dialogs;   // in the order they were added
};

static bool Contains(const FloaterList &floaters, HWND dialog)
{
    return std::find(floaters.dialogs.begin(), floaters.dialogs.end(), dialog) != floaters.dialogs.end();
}

FloaterList *KPZAPI MiscCreateFloaters(HWND hostWindow)
{
    JoinHost();
    return new FloaterList{hostWindow, {}};
}

void KPZAPI MiscDestroyFloaters(FloaterList *floaters) { delete floaters; }

int32_t KPZAPI MiscFloaterCount(const FloaterList *floaters) { return int32_t(floaters->dialogs.size()); }

HWND KPZAPI MiscFloaterAt(const FloaterList *floaters, int32_t index)
{
    return index >= 0 && index < MiscFloaterCount(floaters) ? floaters->dialogs[size_t(index)] : nullptr;
}

void KPZAPI MiscTellFloaters(FloaterList *floaters, UINT message, WPARAM word, LPARAM extra)
{
    const std::vector<HWND> dialogs = floaters->dialogs;   // a dialog that is told may go, or open another
    for (HWND dialog : dialogs) {
        if (Contains(*floaters, dialog)) KPZ_SendMsgAndWait(dialog, message, word, extra);
    }
}

void KPZAPI AddToFloaters(HWND dialog, FloaterList *floaters)
{
    LogCall("AddToFloaters", nullptr, dialog, floaters);
    if (!floaters || Contains(*floaters, dialog)) return;
    floaters->dialogs.push_back(dialog);
    KPZ_SendMsgNoWait(floaters->hostWindow, FLOATER_ADDED, 0, reinterpret_cast<LPARAM>(dialog));
}

void KPZAPI RemoveFromFloaters(HWND dialog, FloaterList *floaters)
{
    LogCall("RemoveFromFloaters", nullptr, dialog, floaters);
    if (!floaters || !Contains(*floaters, dialog)) return;
    std::erase(floaters->dialogs, dialog);
    KPZ_SendMsgNoWait(floaters->hostWindow, FLOATER_REMOVED, 0, reinterpret_cast<LPARAM>(dialog));
}

// Windows in memory stand nowhere; only a screen has a middle.
#ifdef _WIN32

static BOOL CALLBACK CountSeen(HWND window, LPARAM count)
{
    if (HostDialogTemplate(window) && IsWindowVisible(window)) ++*reinterpret_cast<int *>(count);
    return TRUE;
}

// Each one that is open already moves the next a little down and to the right, so that it does not hide them.
static void MoveToMiddle(HWND dialog)
{
    constexpr int MOST_STEPS = 6;
    RECT area;
    if (!GetWindowRect(dialog, &area)) return;
    int open = 0;
    EnumThreadWindows(GetCurrentThreadId(), CountSeen, reinterpret_cast<LPARAM>(&open));
    const int away = open % MOST_STEPS * (GetSystemMetrics(SM_CYCAPTION) + GetSystemMetrics(SM_CYDLGFRAME));
    const int x = (GetSystemMetrics(SM_CXSCREEN) - (area.right - area.left)) / 2;
    const int y = (GetSystemMetrics(SM_CYSCREEN) - (area.bottom - area.top)) / 2;
    SetWindowPos(dialog, nullptr, x + away, y + away, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

#else

static void MoveToMiddle(HWND) {}

#endif

void KPZAPI CenterWindow(HWND dialog)
{
    LogCall("CenterWindow", nullptr, dialog);
    MoveToMiddle(dialog);
}
