// What a host itself asks of VLMAPI beyond the functions that the module calls: windows of its own, a message loop,
// locks, menus, loaded modules, and the switches that make runs repeatable and hosts testable. Both back ends offer
// all of it. [ui], [run], [any] as in interface/vlmapi.h; structs are plain so that any compiler's host can link it.

#pragma once

#include "host/dialogs/dialogs.h"

//---- Windows and messages

// A window without controls or picture of its own: the host's main window, an image's window. Its procedure runs on
// the creating thread and may be null; `name` is its title. Destroying it sends it WM_DESTROY. [ui]
KPZ_IMPORT HWND KPZAPI HostCreateWindow(const char *name, WNDPROC procedure, void *data);
KPZ_IMPORT void *KPZAPI HostWindowData(HWND window);
KPZ_IMPORT void KPZAPI HostDestroyWindow(HWND window);
// Handles this thread's messages, waiting for more, until `done` answers non-zero. It is asked first and after every
// message. Nests. Every wait lets go the threads this thread has made (see KPZ_CreateThread). [ui]
typedef BOOL(KPZAPI *DoneRoutine)(void *context);
KPZ_IMPORT void KPZAPI HostRunMessages(DoneRoutine done, void *context);
// Wakes a thread's HostRunMessages so that it asks `done` again: posts an empty message to the window. [any]
KPZ_IMPORT void KPZAPI HostWake(HWND window);
// Called on the handling thread after a window has handled a message; null takes it away. One observer at a time. [ui]
typedef void(KPZAPI *ObserverRoutine)(void *context, HWND window, UINT message, WPARAM word, LPARAM extra);
KPZ_IMPORT void KPZAPI HostObserve(ObserverRoutine observer, void *context);
// Asked about every posted message before this thread's loops handle it, whichever loop it is; non-zero takes it. One
// routine at a time; null takes it away. [ui]
typedef BOOL(KPZAPI *TakeRoutine)(void *context, HWND window, UINT message, WPARAM word, LPARAM extra);
KPZ_IMPORT void KPZAPI HostTakeMessages(TakeRoutine routine, void *context);
// The template that a dialog was made from; 0 for other windows. [ui]
KPZ_IMPORT int32_t KPZAPI HostDialogTemplate(HWND dialog);
// Puts a window before the others. [ui]
KPZ_IMPORT void KPZAPI HostBringForward(HWND window);
// Whether dialogs are put on the screen (the default is no). The preview control works only in a shown dialog. [ui]
KPZ_IMPORT void KPZAPI HostShowDialogs(BOOL show);
// Keeps dialogs that KPZ_GetDesktopWindow owns in front of a window, and lets them go with it; null: of none. Dialogs
// made before are left alone. [ui]
KPZ_IMPORT void KPZAPI HostKeepDialogsBefore(HWND window);
// Non-zero when the window and all it stands in are shown. [any]
KPZ_IMPORT BOOL KPZAPI HostWindowShown(HWND window);
// Gives every preview control made from now on this procedure; VLMMISC sets it when it is loaded. The control's
// creation sends it no message; WM_DESTROY comes at its end. [ui]
KPZ_IMPORT void KPZAPI HostSetPreviewProcedure(WNDPROC procedure);
// Draws pixels, words of 0x00RRGGBB row by row, into an area of a drawing space. The words stay the caller's. [ui]
KPZ_IMPORT void KPZAPI HostDrawPixels(DrawSpace space, const RECT *area, const uint32_t *words);
// Answers message boxes in the person's place; null brings back the system's own. Where dialogs are not shown, and
// headless, those answer IDOK at once. [ui]
typedef int32_t(KPZAPI *MessageBoxRoutine)(void *context, HWND owner, const char *text, const char *title,
                                           int32_t style);
KPZ_IMPORT void KPZAPI HostAnswerMessageBoxes(MessageBoxRoutine routine, void *context);
// A person types a number into a spin box's field (replacing what stands there), or clicks its arrows `steps` times
// (negative: down); picks a colour; each sends the notifications that the real control sends, in their order. [ui]
KPZ_IMPORT void KPZAPI HostTypeNumber(HWND dialog, int32_t fieldId, const char *text);
KPZ_IMPORT void KPZAPI HostClickArrows(HWND dialog, int32_t spinId, int32_t steps);
KPZ_IMPORT void KPZAPI HostPickColour(HWND dialog, int32_t id, uint32_t colour);
KPZ_IMPORT uint32_t KPZAPI HostShownColour(HWND dialog, int32_t id);
KPZ_IMPORT void KPZAPI HostSpinRange(HWND dialog, int32_t spinId, int32_t *low, int32_t *high);
// Moves a trackbar as the arrow keys do: WM_HSCROLL with SB_LINEUP or SB_LINEDOWN, then SB_ENDSCROLL. [ui]
KPZ_IMPORT void KPZAPI HostSlideTrackbar(HWND dialog, int32_t id, int32_t position);
// Selects and double-clicks an entry: LBN_SELCHANGE, then LBN_DBLCLK. [ui]
KPZ_IMPORT void KPZAPI HostDoubleClick(HWND dialog, int32_t id, int32_t entry);

//---- The mouse

// Sent to a dialog's preview control when KPZ_DefDlgProc is handed a click on one of the dialog's PREVIEW_ZOOM buttons;
// word = the button's id.
enum { ZOOM_PREVIEW = 0x8306 };

#ifndef _WIN32
// What the preview control takes of the mouse, with Windows' numbers; here only tests send it.
enum {
    WM_SETCURSOR = 0x0020,
    WM_MOUSEMOVE = 0x0200,
    WM_LBUTTONDOWN = 0x0201,
    WM_LBUTTONUP = 0x0202,
    WM_LBUTTONDBLCLK = 0x0203,
    WM_MOUSEWHEEL = 0x020A,
    WM_CAPTURECHANGED = 0x0215,
    HTCLIENT = 1,
};
#endif

// Lets a window have the mouse's messages wherever the pointer is; null gives it back. The window is told with
// WM_CAPTURECHANGED when it has it no more. Without a screen nothing happens, here and in the next. [ui]
KPZ_IMPORT void KPZAPI HostCaptureMouse(HWND window);
// Makes the pointer a hand, until it is moved. [ui]
KPZ_IMPORT void KPZAPI HostShowHand(void);
// Where a place on the screen is in a window's inside; without a screen every window stands in its corner. [ui]
KPZ_IMPORT void KPZAPI HostFromScreen(HWND window, POINT *place);

//---- Menus

struct MenuItem {
    int32_t command;   // 0 for a separator
    char label[64];    // empty for a separator
    int32_t enabled;
};
KPZ_IMPORT HMENU KPZAPI HostCreateMenu(void);
KPZ_IMPORT void KPZAPI HostDestroyMenu(HMENU menu);
KPZ_IMPORT int32_t KPZAPI HostMenuCount(HMENU menu);
// Non-zero when there is such an entry, counted from 0. [ui]
KPZ_IMPORT BOOL KPZAPI HostMenuItem(HMENU menu, int32_t index, MenuItem *item);

//---- Threads, locks, memory, random numbers

KPZ_IMPORT SemaphoreHandle KPZAPI HostCreateSemaphore(void);
KPZ_IMPORT void KPZAPI HostDestroySemaphore(SemaphoreHandle semaphore);
// A semaphore that nobody gets, without a wait, until another or null is named: for tests of what then happens. To be
// set while nothing runs. [ui]
KPZ_IMPORT void KPZAPI HostRefuseSemaphore(SemaphoreHandle semaphore);
// Waits until every thread made by KPZ_CreateThread has ended, handling this thread's messages meanwhile. [ui]
KPZ_IMPORT void KPZAPI HostWaitForThreads(void);
// Non-zero from the making of an image's run thread, whoever's routine it is, until the routine has returned: after its
// dialog has been told of the end. The image's window is woken then. [any]
KPZ_IMPORT BOOL KPZAPI HostRunUnderWay(const ImageRecord *image);
// Called on an image's run thread when its routine, whoever's it is, has returned or (`left`) was left for want of
// memory, while the run still is under way; `dialog` is the one that waits for its end. VLMMISC sets it. Null takes it
// away. [any]
typedef void(KPZAPI *RunEndRoutine)(ImageRecord *image, HWND dialog, BOOL left);
KPZ_IMPORT void KPZAPI HostAtRunEnd(RunEndRoutine routine);
// With a fixed seed KPZ_srand always seeds with it, on every thread. [any]
KPZ_IMPORT void KPZAPI HostFixSeed(BOOL fixed, uint32_t seed);
// Non-zero when a seed is fixed; then `seed`, which may be null, receives it. [any]
KPZ_IMPORT BOOL KPZAPI HostFixedSeed(uint32_t *seed);
// What KPZ_srand seeds with on this thread from now on where no seed is fixed; null: a fresh seed every time, as at
// first. What runs on an image is given the image's (see MiscSeed). [any]
KPZ_IMPORT void KPZAPI HostUseSeed(const uint32_t *seed);
// Whether KPZ_srand was called on this thread since the last HostUseSeed, and with which seed; `seed` may be null. [any]
KPZ_IMPORT BOOL KPZAPI HostUsedSeed(uint32_t *seed);
// A seed that nobody can foresee. [any]
KPZ_IMPORT uint32_t KPZAPI HostFreshSeed(void);
// As KPZ_AllocMem, for planes whose size may go beyond 32 bits. [any]
KPZ_IMPORT void *KPZAPI HostAllocate(uint64_t size);
// The same, but null when there is no memory; for those who can say so themselves. [any]
KPZ_IMPORT void *KPZAPI HostTryAllocate(uint64_t size);
// Blocks of all of them not yet freed. [any]
KPZ_IMPORT int32_t KPZAPI HostAllocatedBlocks(void);
// Memory of a program's own for all blocks from now on, as one has that watches what becomes of them. `allocate` answers
// null when there is none; `release` is handed all that is freed from then on, blocks made before included, and passes
// over what is not its own. For good: blocks outlive those who asked for them. Off at first. To be called before there
// are others' blocks. [ui]
struct MemoryRoutines {
    void *(KPZAPI *allocate)(uint64_t size);
    void(KPZAPI *release)(void *memory);
};
KPZ_IMPORT void KPZAPI HostUseMemory(const MemoryRoutines *routines);
// When memory has run out this is called on the thread that wants it, again and again until there is enough: it frees
// something that can be done without and answers non-zero, or 0 when there is nothing left. VLMMISC has it give up the
// oldest undo steps. Null takes it away. [any]
typedef BOOL(KPZAPI *ReliefRoutine)(void);
KPZ_IMPORT void KPZAPI HostRelieveMemory(ReliefRoutine routine);
// Called on the thread that wants it when nothing has helped; when it returns the program ends. Another thread may run
// out meanwhile, and so may this one. Null takes it away. To be set while nothing runs. [any]
typedef void(KPZAPI *EndRoutine)(void *context);
KPZ_IMPORT void KPZAPI HostBeforeMemoryEnd(EndRoutine routine, void *context);
// Says in one line that there is no memory for what must not be left undone, and ends the process with exit code 1, after
// the routine of HostBeforeMemoryEnd. [any]
KPZ_IMPORT void KPZAPI HostEndForMemory(void);
// A program that must not end may have a run left that gets no memory, from KPZ_AllocMem, HostAllocate or the C++
// library: its thread stops where it is, what the run has allocated is freed, the picture is restored from the run's
// undo step, the locks are given back and the dialog is told of the end; HostRunFailure tells why. Off at first: then
// the program ends. Where the dialogs' thread gets no memory the program ends all the same, once a reserve that is kept
// for that is used up; HostMemoryWasShort asks whether it had to be touched since it was asked last. [any]
KPZ_IMPORT void KPZAPI HostLetRunsBeLeft(BOOL let);
KPZ_IMPORT BOOL KPZAPI HostMemoryWasShort(void);
// Why the last run that was to be started on an image came to nothing: its thread was refused, or there was no memory.
// RUN_WENT when it did not fail so; else `line`, of `size` bytes, receives one line for a person. [any]
enum { RUN_WENT, RUN_WITHOUT_THREAD, RUN_WITHOUT_MEMORY };
KPZ_IMPORT int32_t KPZAPI HostRunFailure(const ImageRecord *image, char *line, int32_t size);
// To be called before an image's record goes; VLMMISC does it with its undo steps. [any]
KPZ_IMPORT void KPZAPI HostForgetRun(const ImageRecord *image);
// Calls the routine on this thread and answers non-zero. When it gets no memory it is left: `left`, which may be null,
// is called with the bytes that could not be had (0: not known), then the blocks that the routine has allocated are
// freed, and the answer is 0. The routine holds no lock of the C++ library's while it asks for memory. Nests. [any]
typedef void(KPZAPI *WorkRoutine)(void *context);
typedef void(KPZAPI *LeftRoutine)(void *context, uint64_t wanted);
KPZ_IMPORT BOOL KPZAPI HostWorkOrLeave(WorkRoutine routine, LeftRoutine left, void *context);
// Leaves the work under way on this thread as if it had got no memory. Does not return: without such work the program
// ends. [any]
KPZ_IMPORT void KPZAPI HostLeaveWork(void);
// How many blocks the work under way on this thread owns; and the `first` of them and those after it become its host's:
// they stay when the work is left. 0, and nothing, outside such work. [any]
KPZ_IMPORT int32_t KPZAPI HostBlocksOfWork(void);
KPZ_IMPORT void KPZAPI HostKeepBlocks(int32_t first);
// Gives back a lock that this thread may hold, however often it has taken it. [any]
KPZ_IMPORT void KPZAPI HostReleaseWholly(SemaphoreHandle semaphore);
// The system refuses the next so many threads for runs, as if there were too many. [any]
KPZ_IMPORT void KPZAPI HostRefuseThreads(int32_t requests);
// How many threads all runs together may use, 1..64, unless a run has its own number; 0, at first: VELMORANT_THREADS of the
// environment, else as many as the process may use. HostWorkerThreads shares them among the runs under way. [any]
KPZ_IMPORT void KPZAPI HostAllowThreads(int32_t threads);
// The next runs on an image may use so many, as long as they are the only ones; 0: as all. [any]
KPZ_IMPORT void KPZAPI HostAllowThreadsFor(const ImageRecord *image, int32_t threads);
// From the one to the other this thread is one of those that share the threads, as a run's is without asking; 0: it has
// no number of its own. [any]
KPZ_IMPORT void KPZAPI HostBeginWork(int32_t threads);
KPZ_IMPORT void KPZAPI HostEndWork(void);
// Whether so many blocks, at most 8, of this size can be had just now without giving up anything that is missed: for
// work that can be left undone. [any]
KPZ_IMPORT BOOL KPZAPI HostMemoryHolds(int32_t blocks, uint64_t bytes);
// The system refuses the next so many requests of a megabyte and more, as if memory had run out. [any]
KPZ_IMPORT void KPZAPI HostRefuseMemory(int32_t requests);
// Bits per pixel of the display; 24 at first. [any]
KPZ_IMPORT void KPZAPI HostSetDisplayDepth(int32_t bitsPerPixel);

//---- Modules

// Makes a loaded module known by name, with its strings (may be null), to KPZ_GetLoadedModuleHandle and
// KPZ_LoadString; a null handle forgets it. HOST_RESOURCES is known from the start. [ui]
KPZ_IMPORT void KPZAPI HostKnowModule(const char *name, ModuleHandle module, const ModuleString *strings);

//---- The log

// While the log is on, every call of a KPZ_ function or of VLMMISC adds an entry, in the order of the calls' starts;
// headless, so do AppendMenuA, EnableWindow and DrawEdge. Calls from run threads are in it too. Relocate, which is
// called for every pixel, adds none. Drawing calls have for arguments what they draw: KPZ_FillRect left, top, right,
// bottom, colour; KPZ_SetCurrentPosition x, y; KPZ_PolyLine the count, with its points as text ("3,4 10,4"); DrawEdge
// left, top, right, bottom, edge, flags; HostDrawPixels left, top, right, bottom, words.
struct LoggedCall {
    const char *call;         // the function's name
    intptr_t arguments[12];   // its arguments as numbers, in order; pointers as addresses; 0 beyond the last
    char text[160];           // its first text argument, cut; empty when it has none
    int32_t controlId;        // KPZ_SendMsgAndWait, KPZ_SendMsgNoWait, EnableWindow: the control id of the window;
                              // 0 for windows that are no control, and for other calls
    int32_t onRunThread;      // non-zero when the call came from a thread of KPZ_CreateThread
};
KPZ_IMPORT void KPZAPI HostStartLog(void);   // empties it and turns it on [any]
KPZ_IMPORT void KPZAPI HostStopLog(void);
KPZ_IMPORT int32_t KPZAPI HostLogCount(void);
KPZ_IMPORT BOOL KPZAPI HostLogEntry(int32_t index, LoggedCall *entry);
// Called at the start of every such call, on the thread that makes it, whether the log is on or not; null takes it
// away. To be set while nothing runs. [ui]
typedef void(KPZAPI *CallRoutine)(void *context, const char *call, const intptr_t *arguments, int32_t count,
                                  const char *text);
KPZ_IMPORT void KPZAPI HostObserveCalls(CallRoutine routine, void *context);
// Adds an entry when the log is on; for VLMMISC. [any]
KPZ_IMPORT void KPZAPI HostLog(const char *call, const intptr_t *arguments, int32_t count, const char *text);

template <typename... Arguments> inline void LogCall(const char *call, const char *text, Arguments... arguments)
{
    const intptr_t numbers[] = {(intptr_t)arguments..., 0};
    HostLog(call, numbers, int32_t(sizeof...(Arguments)), text);
}
