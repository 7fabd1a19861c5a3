// VLMAPI of the minimal host on Windows: real windows, for the module makes seven calls of the system's own on them.
// They are never shown.
//
// A dialog is a window of a class of the host's rather than one of the system's dialogs: the answer of its procedure
// is then the message's answer, as the module expects, and KPZ_DefDlgProc, which the procedure itself calls, cannot
// lead back into it.

#include "examples/minimal_host/minimal_host.h"

#include <string.h>

static LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    const auto procedure = reinterpret_cast<DLGPROC>(GetWindowLongPtrA(window, 0));
    return procedure ? procedure(window, message, word, extra) : DefWindowProcA(window, message, word, extra);
}

static const char *OwnClass()
{
    static const char NAME[] = "MinimalHostWindow";
    static const bool registered = [] {
        WNDCLASSA window = {};
        window.lpfnWndProc = WindowProcedure;
        window.cbWndExtra = sizeof(DLGPROC);
        window.hInstance = GetModuleHandleA(nullptr);
        window.lpszClassName = NAME;
        InitCommonControls();   // the trackbar's class
        return RegisterClassA(&window) != 0;
    }();
    return registered ? NAME : nullptr;
}

static const char *ClassOf(ControlKind kind)
{
    switch (kind) {
    case ControlKind::WINDOW: return OwnClass();
    case ControlKind::FIELD: return "EDIT";
    case ControlKind::TRACKBAR: return TRACKBAR_CLASSA;
    case ControlKind::PREVIEW: return "STATIC";   // it shows nothing in this host
    default: return "BUTTON";
    }
}

static DWORD StyleOf(ControlKind kind)
{
    switch (kind) {
    case ControlKind::WINDOW: return WS_POPUP;
    case ControlKind::CHECK: return WS_CHILD | WS_VISIBLE | BS_AUTOCHECKBOX;
    case ControlKind::RADIO: return WS_CHILD | WS_VISIBLE | BS_AUTORADIOBUTTON;
    default: return WS_CHILD | WS_VISIBLE;
    }
}

HWND MakeWindow(ControlKind kind, HWND parent, int id, const char *text, DLGPROC procedure)
{
    HWND window = CreateWindowA(ClassOf(kind), text, StyleOf(kind), 0, 0, 100, 20, parent,
                                reinterpret_cast<HMENU>(intptr_t(id)), GetModuleHandleA(nullptr), nullptr);
    if (!window) HostNotServed("for a window, and the system gave none: KPZ_RunDialogBox");
    if (procedure) SetWindowLongPtrA(window, 0, reinterpret_cast<LONG_PTR>(procedure));
    return window;
}

void CloseWindowTree(HWND window)
{
    DestroyWindow(window);
    PostMessageA(nullptr, WM_NULL, 0, 0);   // wakes HandleMessagesUntil, which looks whether it is done
}

KPZ_EXPORT void KPZAPI HostHandleMessage()
{
    MSG message;
    LetThreadsGo();
    if (GetMessageA(&message, nullptr, 0, 0) <= 0) return;
    TranslateMessage(&message);
    DispatchMessageA(&message);
}

void HandleMessagesUntil(const bool &done)
{
    while (!done) HostHandleMessage();
}

KPZ_EXPORT HWND KPZAPI HostMakeWindow(DLGPROC procedure)
{
    return MakeWindow(ControlKind::WINDOW, nullptr, 0, "", procedure);
}
KPZ_EXPORT void KPZAPI HostCloseWindow(HWND window) { DestroyWindow(window); }

KPZ_EXPORT LRESULT KPZAPI KPZ_SendMsgAndWait(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    return SendMessageA(window, message, word, extra);
}

// Posted to no window, a message would go to the thread.
KPZ_EXPORT BOOL KPZAPI KPZ_SendMsgNoWait(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    return window && PostMessageA(window, message, word, extra);
}

KPZ_EXPORT INT_PTR KPZAPI KPZ_DefDlgProc(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return DefWindowProcA(dialog, message, word, extra);
}

KPZ_EXPORT void KPZAPI KPZ_SetWindowPtrSystem(HWND window, void *pointer)
{
    SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(pointer));
}

KPZ_EXPORT void *KPZAPI KPZ_QueryWindowPtrSystem(HWND window)
{
    return reinterpret_cast<void *>(GetWindowLongPtrA(window, GWLP_USERDATA));
}

KPZ_EXPORT BOOL KPZAPI KPZ_IsWindowEnabled(HWND window) { return IsWindowEnabled(window); }
KPZ_EXPORT void KPZAPI KPZ_ShowWindow(HWND window, BOOL show) { ShowWindow(window, show ? SW_SHOWNA : SW_HIDE); }

//---- Menus

KPZ_EXPORT HMENU KPZAPI HostMakeMenu() { return CreatePopupMenu(); }
KPZ_EXPORT void KPZAPI HostFreeMenu(HMENU menu) { DestroyMenu(menu); }

KPZ_EXPORT void KPZAPI KPZ_EnableMenuItem(HMENU menu, int32_t command, INT_PTR enable)
{
    EnableMenuItem(menu, UINT(command), MF_BYCOMMAND | (enable ? MF_ENABLED : MF_GRAYED));
}

KPZ_EXPORT int32_t KPZAPI HostFindCommand(HMENU menu, const char *label)
{
    for (int i = 0; i < GetMenuItemCount(menu); ++i) {
        char text[100] = "";
        GetMenuStringA(menu, UINT(i), text, sizeof text, MF_BYPOSITION);
        const bool greyed = GetMenuState(menu, UINT(i), MF_BYPOSITION) & MF_GRAYED;
        if (strcmp(text, label) == 0 && !greyed) return int32_t(GetMenuItemID(menu, i));
    }
    return -1;
}
