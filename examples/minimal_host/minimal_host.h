// A host for the effects module in as few lines as it takes: it opens one picture made in memory and runs Noise on it.
// Nothing but the headers in interface/ is used. docs/writing-a-host.md tells what each part owes the module.
//
//     main.cpp               the program: loads the module, opens the picture, works the dialog
//     check_driver.cpp       the same for `velmorant check --host`, which looks whether this host keeps its promises
//     vlmapi.cpp             VLMAPI, the part that is the same everywhere
//     vlmapi_memory.cpp      VLMAPI off Windows: windows and messages in memory, and the seven calls of Windows
//     vlmapi_win32.cpp       VLMAPI on Windows: real windows, never shown
//     vlmmisc.cpp            VLMMISC
//
// This header is what they share beyond the module's interface. All of it is for the thread that runs the dialogs.

#pragma once

#include "interface/host_interface.h"

#include <vector>

// The two records that only the host looks into.
struct FloaterList {
    HWND hostWindow;
    std::vector<HWND> dialogs;
};
struct ProgressRecord {
    int32_t tenths;
};   // SharedRead, SharedWrite

// Messages to the host's window.
enum {
    DIALOG_OPENED = WM_USER + 1,   // posted; word = the dialog
    DIALOG_RUN_ENDED,              // posted, after the dialog has handled RUN_FINISHED; word = the dialog, long = image
    MENUS_CHANGED,                 // sent: enable and grey the menu again
};

// A function that nothing here leads to. Should the module call it, the program ends and names it: an answer made up
// would only surface later, as a wrong picture.
KPZ_IMPORT void KPZAPI HostNotServed(const char *name) __attribute__((noreturn));
#define NOT_SERVED(result, name, parameters) \
    KPZ_EXPORT result KPZAPI name parameters { HostNotServed(#name); }

//---- VLMAPI, for the host itself

// What the module's runs are seeded with from here on.
KPZ_IMPORT void KPZAPI HostSetSeed(uint32_t seed);
KPZ_IMPORT SemaphoreHandle KPZAPI HostMakeLock(void);
KPZ_IMPORT void KPZAPI HostFreeLock(SemaphoreHandle lock);
// Waits for all run threads to end.
KPZ_IMPORT void KPZAPI HostJoinThreads(void);
// A window of the host's own, and its end; the procedure answers as a dialog procedure does.
KPZ_IMPORT HWND KPZAPI HostMakeWindow(DLGPROC procedure);
KPZ_IMPORT void KPZAPI HostCloseWindow(HWND window);
// Waits for a message and handles it.
KPZ_IMPORT void KPZAPI HostHandleMessage(void);
KPZ_IMPORT HMENU KPZAPI HostMakeMenu(void);
KPZ_IMPORT void KPZAPI HostFreeMenu(HMENU menu);
// The command behind a label; -1 when there is none or when it is greyed.
KPZ_IMPORT int32_t KPZAPI HostFindCommand(HMENU menu, const char *label);

//---- VLMMISC, for the host itself

// How many undo steps an image has, 0 or 1; and drops it, before the image goes. [any]
KPZ_IMPORT int32_t KPZAPI HostUndoSteps(const ImageRecord *image);
KPZ_IMPORT void KPZAPI HostForgetUndo(const ImageRecord *image);

//---- Between vlmapi.cpp and the part of it that differs by platform

enum class ControlKind { WINDOW, BUTTON, CHECK, RADIO, FIELD, TRACKBAR, PREVIEW };
// A window of its own (no parent, with a procedure) or a control (with neither procedure nor, but for buttons, text).
HWND MakeWindow(ControlKind kind, HWND parent, int id, const char *text, DLGPROC procedure);
// Sends WM_DESTROY to the window's procedure; the window goes with its controls.
void CloseWindowTree(HWND window);
// Handles this thread's messages until `done` is true.
void HandleMessagesUntil(const bool &done);
// Before every wait for a message: threads held back may run now.
void LetThreadsGo();
