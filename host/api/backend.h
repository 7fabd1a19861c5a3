// What a back end brings: the work behind the KPZ_ functions, which log a call and hand it on (kpz.cpp). The contracts
// are those of plugin/vlmapi.h and host/api/host_api.h; here stand only the shapes. headless/ keeps windows, controls
// and messages in memory.

#pragma once

#include "host/api/host_api.h"

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

// controls.cpp
void CheckButton(HWND dialog, int32_t id, bool checked);
bool IsButtonChecked(HWND dialog, int32_t id);
void SetSpinBoxRange(HWND dialog, int32_t id, int32_t low, int32_t high);
void SetSpinBoxValue(HWND dialog, int32_t id, int32_t value);
int32_t SpinBoxValue(HWND dialog, int32_t id);

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

}   // namespace backend

// What kpz.cpp takes from the sources that both back ends share.
void *AllocateOrEnd(size_t size);                             // memory.cpp
void FreeAllocated(void *memory);
void SeedRandomNumbers();                                     // random.cpp
ModuleHandle KnownModule(const char *name);                   // modules.cpp
const char *StringOfModule(const char *module, int32_t id);
int32_t DisplayDepth();                                       // display.cpp
ThreadHandle StartRunThread(ThreadRoutine routine, FilterHeader *header);   // runs.cpp
