// The inside of the back end on Windows: a thin layer over the system's own windows, controls, queues and threads.
//
// Its files provide, together, all of backend.h and what of host_api.h the sources above do not. The seven Windows calls
// are the system's, and a module takes them from there:
//
//     windows.cpp    the records of windows, their window procedure, showing and enabling, mouse and hand; strings from
//                    a module's resources
//     messages.cpp   the message loop with the host's keys, sending and posting, the observer
//     dialogs.cpp    dialogs from templates, message boxes
//     controls.cpp   what is added to the system's controls; the colour control; the preview's procedure
//     menus.cpp      the system's menus, and what stands in them
//     drawing.cpp    procedures put over a window's own; drawing by way of a picture in memory
//     threads.cpp    run threads, priorities, semaphores, waiting for threads
//
// host/api/headless/headless.h is its sister, file by file.
//
// Every window made here has a record, and one window procedure that calls the procedures of the record from the last
// to the first and after them the system's own. A record is its window's own thread's to look at and to change; the
// table is locked, since several threads may have windows.

#pragma once

#include "host/api/numbers.h"

#include <vector>

//---- Windows

enum class WindowKind { HOST, DIALOG, CONTROL };

// How KPZ_RunDialogBox hears that its dialog has gone.
struct DialogRun {
    bool finished = false;
    INT_PTR result = 0;
};

struct Window {
    HWND handle = nullptr;
    WindowKind kind = WindowKind::HOST;
    std::vector<WNDPROC> procedures;   // its kind's own or a host window's (may be null), then what replaced it
    size_t level = 0;                  // which of them is at work
    WNDPROC system = DefWindowProcA;   // the procedure of the window's class: works after them
    DLGPROC dialogProcedure = nullptr;
    DialogRun *run = nullptr;
    int32_t templateId = 0;   // a dialog's
    void *data = nullptr;
    void *systemPointer = nullptr;
    bool going = false;     // it is being destroyed
    int depth = 0;          // how many of its messages are being handled, one within another
    bool hotkeys = false;   // a dialog that has the host's keys

    // A control's state; which fields mean something depends on its kind.
    const ControlTemplate *row = nullptr;
    HWND field = nullptr;   // arrows: the number field they belong to
    HWND aside = nullptr;   // where it was put when its dialog went (see windows.cpp)
    NumberField number;     // a number field
    bool written = false;   // a number field whose text is being set by code
    uint32_t colour = 0;
};

// The library that window classes belong to.
HINSTANCE OwnInstance();
// The names of the window classes of this back end, registered when they are first asked for.
struct WindowClasses {
    const char *host, *colour, *preview;
};
const WindowClasses &Classes();

// Null for a window that has gone, for null, and for windows that were not made here.
Window *RecordOf(HWND handle);
// Puts a window that has just been made under the record's procedures.
Window *Adopt(HWND handle, WindowKind kind, WNDPROC procedure);
// Hands a message to the system's own procedure of a window.
LRESULT PassToSystem(HWND handle, UINT message, WPARAM word, LPARAM extra);
// Tells the window that it goes, then its children, and takes them off the screen and the table.
void Destroy(Window *window);

//---- Controls

LRESULT KPZAPI ControlProcedure(HWND handle, UINT message, WPARAM word, LPARAM extra);
LRESULT KPZAPI ColourProcedure(HWND handle, UINT message, WPARAM word, LPARAM extra);
WNDPROC PreviewProcedure();
// A dialog's own work on a notification of its controls: before its procedure hears of it, and after it has not taken it.
void BeforeNotice(UINT message, LPARAM extra, WPARAM word);
LRESULT AfterNotice(LPARAM extra);

//---- Threads

// Lets go the threads that this one has made and not yet let go.
void ReleaseHeldThreads();
