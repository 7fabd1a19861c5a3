// VLMAPI: what the host gives the module of windows, dialogs, controls, memory, threads and strings.
//
// [ui] is called on the thread that runs the dialogs, [run] on a run's thread, [any] on both. Unless a line says
// otherwise a call on a window or control that is gone does nothing and answers 0, text handed in stays the
// caller's, and numbers are 32 bits wide. Handles, message parameters and results are as wide as a pointer.

#pragma once

#include "interface/records.h"

//---- Memory and strings

// Allocates `size` bytes (not cleared) and stores their address. Never stores null: a host that runs out of memory
// says so and ends the program. The module passes flags 0x301. Free with KPZ_FreeMem, from any thread. [any]
KPZ_IMPORT void KPZAPI KPZ_AllocMem(void *addressOfPointer, uint32_t size, int32_t flags);
// Frees what KPZ_AllocMem gave. The module hands it nothing else, and never null. [any]
KPZ_IMPORT void KPZAPI KPZ_FreeMem(void *memory);
// Copies string `id` of the named module into the buffer, cut to size - 1 bytes and ended with a zero byte. Returns
// its length; 0 and an empty buffer when there is no such string. [any]
KPZ_IMPORT int32_t KPZAPI KPZ_LoadString(HWND owner, const char *module, int32_t id, char *buffer, int32_t size);
// Seeds the runtime's `rand`, and HostRandomNumbers where there is that, with a seed of the host's choosing. [run]
KPZ_IMPORT void KPZAPI KPZ_srand(void);
#ifndef _WIN32
// Optional: the next `count` numbers, 0..2147483647, of a sequence that is the calling thread's alone and is the one
// that the C library's rand gives for the same seed. A host without it has the module draw from `rand`. [any]
KPZ_IMPORT void KPZAPI HostRandomNumbers(int32_t *numbers, int32_t count);
#endif

//---- Dialogs, windows, messages

// The loaded module of that name, null when there is none. The one named by the host's record holds the dialog
// templates. [ui]
KPZ_IMPORT ModuleHandle KPZAPI KPZ_GetLoadedModuleHandle(const char *module);
// The owner for effect dialogs. [ui]
KPZ_IMPORT HWND KPZAPI KPZ_GetDesktopWindow(void);
// Opens the dialog of a template, sends it WM_INITDIALOG with `parameter` as long parameter, and handles this
// thread's messages until the dialog is dismissed. Returns what KPZ_DismissDialog was given; 0 without a module or a template.
// Dialogs may nest: a dismissed dialog's window goes at once, its call returns when those above it have. [ui]
KPZ_IMPORT INT_PTR KPZAPI KPZ_RunDialogBox(HWND owner, DLGPROC procedure, ModuleHandle module, int32_t templateId,
                                           void *parameter);
// Closes a dialog: sends it WM_DESTROY and ends its KPZ_RunDialogBox with `result`. [ui]
KPZ_IMPORT void KPZAPI KPZ_DismissDialog(HWND dialog, INT_PTR result);
// What a dialog procedure returns for a message that it leaves alone; the system's own processing follows. [ui]
KPZ_IMPORT INT_PTR KPZAPI KPZ_DefDlgProc(HWND dialog, UINT message, WPARAM word, LPARAM extra);
// The same for a window procedure that replaced another through KPZ_SubclassWindow. [ui]
KPZ_IMPORT LRESULT KPZAPI KPZ_DefWindowProc(HWND window, UINT message, WPARAM word, LPARAM extra);
// One pointer per window, the module's to use; null at first. [ui]
KPZ_IMPORT void KPZAPI KPZ_SetWindowPtrSystem(HWND window, void *pointer);
KPZ_IMPORT void *KPZAPI KPZ_QueryWindowPtrSystem(HWND window);
// Gives a dialog the host's keyboard shortcuts for as long as it is open. [ui]
KPZ_IMPORT void KPZAPI KPZ_SetupDialogHotkeys(HWND dialog, const char *module);
KPZ_IMPORT void KPZAPI KPZ_RemoveDialogHotkeys(HWND dialog);
// Sends a message and waits for the answer, which is handled on the window's own thread: a dialog answers with its
// procedure's own result, a window that is gone with 0. [any]
KPZ_IMPORT LRESULT KPZAPI KPZ_SendMsgAndWait(HWND window, UINT message, WPARAM word, LPARAM extra);
// Posts a message and returns at once; non-zero when the window exists. [any]
KPZ_IMPORT BOOL KPZAPI KPZ_SendMsgNoWait(HWND window, UINT message, WPARAM word, LPARAM extra);
// Sends to a dialog's control and returns its answer, 0 when there is no such control. [ui]
KPZ_IMPORT LRESULT KPZAPI KPZ_SendDlgItemMsg(HWND dialog, int32_t id, UINT message, WPARAM word, LPARAM extra);
// A dialog's control by id, null when there is none. [ui]
KPZ_IMPORT HWND KPZAPI KPZ_WindowFromID(HWND dialog, int32_t id);
// Non-zero when the window takes input. [ui]
KPZ_IMPORT BOOL KPZAPI KPZ_IsWindowEnabled(HWND window);
// Shows (non-zero) or hides (0) a window. [ui]
KPZ_IMPORT void KPZAPI KPZ_ShowWindow(HWND window, BOOL show);
// Enables (non-zero) or greys (0) a control or a menu command. The module hands an image's address as the menu
// command's value, so it is as wide as a pointer. [ui]
KPZ_IMPORT void KPZAPI KPZ_EnableDlgItem(HWND dialog, int32_t id, BOOL enable);
KPZ_IMPORT void KPZAPI KPZ_EnableMenuItem(HMENU menu, int32_t command, INT_PTR enable);
// Shows a message and waits for the person. The module passes style 0x10: error icon, OK button. [ui]
KPZ_IMPORT int32_t KPZAPI KPZ_MessageBox(HWND owner, const char *text, const char *title, int32_t style);

//---- Controls

// A button that is checked by code sends no command. Checking a radio button unchecks the rest of its group. [ui]
KPZ_IMPORT void KPZAPI KPZ_CheckButton(HWND dialog, int32_t id, BOOL checked);
KPZ_IMPORT BOOL KPZAPI KPZ_IsButtonChecked(HWND dialog, int32_t id);
// A spin box: an edit field and a pair of arrows, addressed by the arrows' id. What the module sets is shown and
// read back unchanged, even out of range, and sends the dialog EN_CHANGE before the call returns; what a person
// types or spins reads as the nearest number in range, and no number as 0 brought into it. [ui]
KPZ_IMPORT void KPZAPI KPZ_SetSpinBoxRange(HWND dialog, int32_t id, int32_t low, int32_t high);
KPZ_IMPORT void KPZAPI KPZ_SetSpinBoxValue(HWND dialog, int32_t id, int32_t value);
KPZ_IMPORT int32_t KPZAPI KPZ_GetSpinBoxIntValue(HWND dialog, int32_t id);
// A trackbar's position stays within its range. [ui]
KPZ_IMPORT void KPZAPI KPZ_TrackbarSetRange(HWND dialog, int32_t id, int32_t low, int32_t high);
KPZ_IMPORT void KPZAPI KPZ_TrackbarSetPos(HWND dialog, int32_t id, int32_t position);
KPZ_IMPORT int32_t KPZAPI KPZ_TrackbarGetPos(HWND dialog, int32_t id);
// Adds an entry at the end, unsorted. Returns its index from 0, or -1. [ui]
KPZ_IMPORT int32_t KPZAPI KPZ_ListBoxAddToEnd(HWND dialog, int32_t id, const char *text);
// The selected entry from 0, or -1. [ui]
KPZ_IMPORT int32_t KPZAPI KPZ_ListBoxQuerySelection(HWND dialog, int32_t id);

//---- Drawing

// Puts `procedure` before the window's own; returns the one it replaced. [ui]
KPZ_IMPORT WNDPROC KPZAPI KPZ_SubclassWindow(HWND window, WNDPROC procedure);
// Begins drawing a window that got WM_PAINT: returns its drawing space and the part to draw, in window pixels. The
// middle argument is 0. End with KPZ_EndPaint. [ui]
KPZ_IMPORT DrawSpace KPZAPI KPZ_BeginPaint(HWND window, DrawSpace zero, RECT *area);
KPZ_IMPORT void KPZAPI KPZ_EndPaint(DrawSpace space);
// The window's area in its own pixels: left and top 0, right and bottom its size. [ui]
KPZ_IMPORT void KPZAPI KPZ_GetWindowRect(HWND window, RECT *area);
// From here on colours are 0x00BBGGRR. [ui]
KPZ_IMPORT void KPZAPI KPZ_SetDrawSpaceToRGB(DrawSpace space);
// Fills left..right - 1, top..bottom - 1. [ui]
KPZ_IMPORT void KPZAPI KPZ_FillRect(DrawSpace space, const RECT *area, uint32_t colour);
// Where the next KPZ_PolyLine starts. [ui]
KPZ_IMPORT void KPZAPI KPZ_SetCurrentPosition(DrawSpace space, const POINT *position);
// Draws lines from the current position through `count` points, and leaves it at the last. [ui]
KPZ_IMPORT void KPZAPI KPZ_PolyLine(DrawSpace space, int32_t count, const POINT *points);
// Marks an area (null: all) for drawing again, with child windows when `children` is non-zero. [any]
KPZ_IMPORT void KPZAPI KPZ_InvalidateRect(HWND window, const RECT *area, BOOL children);
// The window inside an image window's frame that shows the picture. The second argument is 0. [any]
KPZ_IMPORT HWND KPZAPI KPZ_GetClientHwnd(HWND imageWindow, int32_t zero);

//---- Threads and locks

// A run's routine, called on the run's own thread.
typedef void(KPZAPI *ThreadRoutine)(FilterHeader *header);
// Makes a thread and returns its handle, which stays good until the routine has returned and the image's effect
// thread has been cleared; null when there can be none. The thread is held back until the caller's next
// KPZ_SetThreadPriority on it or its next wait for a message, so that no run ends before its handle is stored. The
// module asks for a stack of 32768 bytes; a host may give more. [ui]
KPZ_IMPORT ThreadHandle KPZAPI KPZ_CreateThread(ThreadRoutine routine, uint32_t stackBytes, FilterHeader *argument);
// Priority 0 (lowest) to 4 (highest), 2 is normal; thread null is the caller. A thread that has ended is left
// alone. [any]
KPZ_IMPORT void KPZAPI KPZ_SetThreadPriority(ThreadHandle thread, int32_t priority);
// A run thread's set-up, in this order: an anchor, a message queue (second argument 0), KPZ_CancelShutdown
// (queue, 1). Its end: the queue, then the anchor. [run]
KPZ_IMPORT AnchorHandle KPZAPI KPZ_Initialize(void);
KPZ_IMPORT QueueHandle KPZAPI KPZ_CreateMsgQueue(AnchorHandle anchor, int32_t zero);
KPZ_IMPORT void KPZAPI KPZ_CancelShutdown(QueueHandle queue, int32_t one);
KPZ_IMPORT void KPZAPI KPZ_DestroyMsgQueue(QueueHandle queue);
KPZ_IMPORT void KPZAPI KPZ_Terminate(AnchorHandle anchor);
// Takes a lock, waiting at most `milliseconds`: non-zero when taken. A thread may take a lock it holds again, and
// releases it as often. [any]
KPZ_IMPORT BOOL KPZAPI KPZ_GetMutexSem(SemaphoreHandle semaphore, uint32_t milliseconds);
KPZ_IMPORT void KPZAPI KPZ_ReleaseMutexSem(SemaphoreHandle semaphore);

// Optional: how many threads the run on this thread may use, 1..64. A host that offers it lets Relocate be called from
// several of them at once; the module looks for it at run time and does without it. [run]
KPZ_IMPORT int32_t KPZAPI HostWorkerThreads(void);

//---- Display

// Bits per pixel of the display. [any]
KPZ_IMPORT int32_t KPZAPI KPZ_GetDisplayDepth(void);
// Makes an image's palette current after a run; `changed` is set to 1 when the display has to follow. [run]
KPZ_IMPORT void KPZAPI KPZ_AdjustPalette(const uint8_t *red, const uint8_t *green, const uint8_t *blue, int32_t entries,
                                         int32_t *changed, int32_t bitsPerPixel);
