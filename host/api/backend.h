// What a back end brings: the work behind the KPZ_ functions, which log a call and hand it on (kpz.cpp). The contracts
// are those of interface/vlmapi.h and host/api/host_api.h; here stand only the shapes. headless/ keeps windows, controls
// and messages in memory, win32/ is a thin layer on the system's own.

#pragma once

#include "host/api/host_api.h"

#include <chrono>
#include <new>
#include <thread>
#include <vector>

namespace backend
{

// dialogs.cpp, windows.cpp, messages.cpp
HWND DesktopWindow();
INT_PTR RunDialogBox(HWND owner, DLGPROC procedure, const DialogTemplate &dialog, void *parameter);
void DismissDialog(HWND dialog, INT_PTR result);
LRESULT DefaultWindowProcedure(HWND window, UINT message, WPARAM word, LPARAM extra);
HWND ClientWindow(HWND imageWindow);
void SetSystemPointer(HWND window, void *pointer);
void *SystemPointer(HWND window);
void SetHotkeys(HWND dialog, bool on);
LRESULT Send(HWND window, UINT message, WPARAM word, LPARAM extra);
bool Post(HWND window, UINT message, WPARAM word, LPARAM extra);
HWND Control(HWND dialog, int32_t id);
int32_t ControlId(HWND window);
bool IsEnabled(HWND window);
void Enable(HWND window, bool enable);
void Show(HWND window, bool show);
int32_t ShowMessageBox(HWND owner, const char *text, const char *title, int32_t style);
// A string from the module's own resources, for modules that were made known without a table; the text's length, 0 and
// an empty buffer when there is none.
int32_t StringResource(ModuleHandle module, int32_t id, char *buffer, int32_t size);

// controls.cpp
// The number field that arrows belong to; a number field's own; null for other controls.
HWND NumberFieldOf(HWND control);
// Replaces a number field's text, by a person's hand (`typed`) or by code; the dialog is told, and may close on it.
void WriteNumber(HWND field, const char *text, bool typed);
uint32_t ShownColour(HWND control);

// menus.cpp
void EnableMenuItem(HMENU menu, int32_t command, bool enable);

// drawing.cpp
WNDPROC Subclass(HWND window, WNDPROC procedure);
DrawSpace BeginPaint(HWND window, RECT *area);
void EndPaint(DrawSpace space);
void WindowRect(HWND window, RECT *area);
void UseRgb(DrawSpace space);
void FillArea(DrawSpace space, const RECT &area, uint32_t colour);
void MoveTo(DrawSpace space, const POINT &position);
void DrawLines(DrawSpace space, int32_t count, const POINT *points);
void DrawPixels(DrawSpace space, const RECT &area, const uint32_t *words);
void Invalidate(HWND window, const RECT *area, bool children);

// threads.cpp
ThreadHandle CreateThread(ThreadRoutine routine, FilterHeader *argument);
void SetThreadPriority(ThreadHandle thread, int32_t priority);
bool OnRunThread();
AnchorHandle Initialize();
QueueHandle CreateQueue(AnchorHandle anchor);
void DestroyQueue(QueueHandle queue);
void Terminate(AnchorHandle anchor);
bool TakeSemaphore(SemaphoreHandle semaphore, uint32_t milliseconds);
void ReleaseSemaphore(SemaphoreHandle semaphore);
void ReleaseWholly(SemaphoreHandle semaphore);

}   // namespace backend

// What kpz.cpp takes from the sources that both back ends share.
void *AllocateOrEnd(size_t size);   // memory.cpp
void FreeAllocated(void *memory);
[[noreturn]] void EndOutOfMemory(uint64_t size);   // 0: nobody knows how much was wanted
void KeepReserve(bool keep);                       // for the dialogs' thread
// leaving.cpp. Whether this thread's work may be left for want of memory; leaving it; and its blocks: room for one more
// is made before it is allocated.
bool MayLeave();
[[noreturn]] void Leave(uint64_t wanted);
void MakeRoomForBlock();
void NoteBlock(void *memory);
void ForgetBlock(void *memory);
void SeedRandomNumbers();                     // random.cpp
ModuleHandle KnownModule(const char *name);   // modules.cpp
int32_t StringOfModule(const char *module, int32_t id, char *buffer, int32_t size);
int32_t DisplayDepth();   // display.cpp
// Puts a procedure over a window's others and answers the one it covers. One that the window had before is given back:
// those that came after it go.
WNDPROC PutProcedure(std::vector<WNDPROC> &procedures, WNDPROC procedure);   // procedures.cpp
// What a back end's message loop asks before it handles a posted message, and tells when a window has handled one.
bool TakeMessage(HWND window, UINT message, WPARAM word, LPARAM extra);   // hooks.cpp
void TellObserver(HWND window, UINT message, WPARAM word, LPARAM extra);
// The program's answer to a message box; 0 when it leaves that to the system.
int32_t AnswerMessageBox(HWND owner, const char *text, const char *title, int32_t style);
// For what must not be left undone: tries again while there is no memory for it, three seconds long, then the program
// ends.
template <typename Routine> void Insist(const Routine &routine)
{
    for (int tries = 0; tries < 300; ++tries) {
        try {
            return routine();
        } catch (const std::bad_alloc &) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    EndOutOfMemory(0);
}
ThreadHandle StartRunThread(ThreadRoutine routine, FilterHeader *header);   // runs.cpp
