// The functions of VLMAPI that the module calls: each logs its call and hands it to the back end, or to one of the
// sources that both back ends share.

#include "host/api/backend.h"

#include <atomic>
#include <string.h>
#include <string>

//---- Memory and strings

void KPZAPI KPZ_AllocMem(void *addressOfPointer, uint32_t size, int32_t flags)
{
    LogCall("KPZ_AllocMem", nullptr, addressOfPointer, size, flags);
    void *memory = AllocateOrEnd(size);
    memcpy(addressOfPointer, &memory, sizeof memory);
}

void KPZAPI KPZ_FreeMem(void *memory)
{
    LogCall("KPZ_FreeMem", nullptr, memory);
    FreeAllocated(memory);
}

int32_t KPZAPI KPZ_LoadString(HWND owner, const char *module, int32_t id, char *buffer, int32_t size)
{
    LogCall("KPZ_LoadString", module, owner, module, id, buffer, size);
    return size < 1 ? 0 : StringOfModule(module, id, buffer, size);
}

void KPZAPI KPZ_srand()
{
    LogCall("KPZ_srand", nullptr);
    SeedRandomNumbers();
}

//---- Dialogs, windows, messages

ModuleHandle KPZAPI KPZ_GetLoadedModuleHandle(const char *module)
{
    LogCall("KPZ_GetLoadedModuleHandle", module, module);
    return KnownModule(module);
}

HWND KPZAPI KPZ_GetDesktopWindow()
{
    LogCall("KPZ_GetDesktopWindow", nullptr);
    return backend::DesktopWindow();
}

INT_PTR KPZAPI KPZ_RunDialogBox(HWND owner, DLGPROC procedure, ModuleHandle module, int32_t templateId, void *parameter)
{
    LogCall("KPZ_RunDialogBox", nullptr, owner, procedure, module, templateId, parameter);
    const DialogTemplate *dialog = module ? FindDialogTemplate(templateId) : nullptr;
    return dialog ? backend::RunDialogBox(owner, procedure, *dialog, parameter) : 0;
}

void KPZAPI KPZ_DismissDialog(HWND dialog, INT_PTR result)
{
    LogCall("KPZ_DismissDialog", nullptr, dialog, result);
    backend::DismissDialog(dialog, result);
}

static bool IsZoomClick(WPARAM word)
{
    const int id = LOWORD(word);
    const bool isZoom = id == PREVIEW_ZOOM_OUT || id == PREVIEW_ZOOM_IN || id == PREVIEW_ZOOM_FIT;
    return isZoom && HIWORD(word) == BN_CLICKED;
}

// The zoom buttons are the host's own. With all else the system goes on by itself when a dialog procedure has
// answered 0.
INT_PTR KPZAPI KPZ_DefDlgProc(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    LogCall("KPZ_DefDlgProc", nullptr, dialog, message, word, extra);
    if (message == WM_COMMAND && IsZoomClick(word)) {
        backend::Send(backend::Control(dialog, PREVIEW_CONTROL), ZOOM_PREVIEW, LOWORD(word), 0);
    }
    return 0;
}

LRESULT KPZAPI KPZ_DefWindowProc(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    LogCall("KPZ_DefWindowProc", nullptr, window, message, word, extra);
    return backend::DefaultWindowProcedure(window, message, word, extra);
}

void KPZAPI KPZ_SetWindowPtrSystem(HWND window, void *pointer)
{
    LogCall("KPZ_SetWindowPtrSystem", nullptr, window, pointer);
    backend::SetSystemPointer(window, pointer);
}

void *KPZAPI KPZ_QueryWindowPtrSystem(HWND window)
{
    LogCall("KPZ_QueryWindowPtrSystem", nullptr, window);
    return backend::SystemPointer(window);
}

void KPZAPI KPZ_SetupDialogHotkeys(HWND dialog, const char *module)
{
    LogCall("KPZ_SetupDialogHotkeys", module, dialog, module);
    backend::SetHotkeys(dialog, true);
}

void KPZAPI KPZ_RemoveDialogHotkeys(HWND dialog)
{
    LogCall("KPZ_RemoveDialogHotkeys", nullptr, dialog);
    backend::SetHotkeys(dialog, false);
}

LRESULT KPZAPI KPZ_SendMsgAndWait(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    LogCall("KPZ_SendMsgAndWait", nullptr, window, message, word, extra);
    return backend::Send(window, message, word, extra);
}

BOOL KPZAPI KPZ_SendMsgNoWait(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    LogCall("KPZ_SendMsgNoWait", nullptr, window, message, word, extra);
    return backend::Post(window, message, word, extra);
}

LRESULT KPZAPI KPZ_SendDlgItemMsg(HWND dialog, int32_t id, UINT message, WPARAM word, LPARAM extra)
{
    LogCall("KPZ_SendDlgItemMsg", nullptr, dialog, id, message, word, extra);
    return backend::Send(backend::Control(dialog, id), message, word, extra);
}

HWND KPZAPI KPZ_WindowFromID(HWND dialog, int32_t id)
{
    LogCall("KPZ_WindowFromID", nullptr, dialog, id);
    return backend::Control(dialog, id);
}

BOOL KPZAPI KPZ_IsWindowEnabled(HWND window)
{
    LogCall("KPZ_IsWindowEnabled", nullptr, window);
    return backend::IsEnabled(window);
}

void KPZAPI KPZ_ShowWindow(HWND window, BOOL show)
{
    LogCall("KPZ_ShowWindow", nullptr, window, show);
    backend::Show(window, show);
}

void KPZAPI KPZ_EnableDlgItem(HWND dialog, int32_t id, BOOL enable)
{
    LogCall("KPZ_EnableDlgItem", nullptr, dialog, id, enable);
    backend::Enable(backend::Control(dialog, id), enable);
}

void KPZAPI KPZ_EnableMenuItem(HMENU menu, int32_t command, INT_PTR enable)
{
    LogCall("KPZ_EnableMenuItem", nullptr, menu, command, enable);
    backend::EnableMenuItem(menu, command, enable != 0);
}

int32_t KPZAPI KPZ_MessageBox(HWND owner, const char *text, const char *title, int32_t style)
{
    LogCall("KPZ_MessageBox", text, owner, text, title, style);
    return backend::ShowMessageBox(owner, text, title, style);
}

//---- Controls

void KPZAPI KPZ_CheckButton(HWND dialog, int32_t id, BOOL checked)
{
    LogCall("KPZ_CheckButton", nullptr, dialog, id, checked);
    backend::Send(backend::Control(dialog, id), BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED, 0);
}

BOOL KPZAPI KPZ_IsButtonChecked(HWND dialog, int32_t id)
{
    LogCall("KPZ_IsButtonChecked", nullptr, dialog, id);
    return backend::Send(backend::Control(dialog, id), BM_GETCHECK, 0, 0) == BST_CHECKED;
}

void KPZAPI KPZ_SetSpinBoxRange(HWND dialog, int32_t id, int32_t low, int32_t high)
{
    LogCall("KPZ_SetSpinBoxRange", nullptr, dialog, id, low, high);
    backend::Send(backend::Control(dialog, id), UDM_SETRANGE32, WPARAM(low), high);
}

void KPZAPI KPZ_SetSpinBoxValue(HWND dialog, int32_t id, int32_t value)
{
    LogCall("KPZ_SetSpinBoxValue", nullptr, dialog, id, value);
    const HWND field = backend::NumberFieldOf(backend::Control(dialog, id));
    if (field) backend::WriteNumber(field, std::to_string(value).c_str(), false);
}

int32_t KPZAPI KPZ_GetSpinBoxIntValue(HWND dialog, int32_t id)
{
    LogCall("KPZ_GetSpinBoxIntValue", nullptr, dialog, id);
    return int32_t(backend::Send(backend::Control(dialog, id), UDM_GETPOS32, 0, 0));
}

void KPZAPI KPZ_TrackbarSetRange(HWND dialog, int32_t id, int32_t low, int32_t high)
{
    LogCall("KPZ_TrackbarSetRange", nullptr, dialog, id, low, high);
    backend::Send(backend::Control(dialog, id), TBM_SETRANGE, 1, LPARAM(MAKEWPARAM(low, high)));
}

void KPZAPI KPZ_TrackbarSetPos(HWND dialog, int32_t id, int32_t position)
{
    LogCall("KPZ_TrackbarSetPos", nullptr, dialog, id, position);
    backend::Send(backend::Control(dialog, id), TBM_SETPOS, 1, position);
}

int32_t KPZAPI KPZ_TrackbarGetPos(HWND dialog, int32_t id)
{
    LogCall("KPZ_TrackbarGetPos", nullptr, dialog, id);
    return int32_t(backend::Send(backend::Control(dialog, id), TBM_GETPOS, 0, 0));
}

int32_t KPZAPI KPZ_ListBoxAddToEnd(HWND dialog, int32_t id, const char *text)
{
    LogCall("KPZ_ListBoxAddToEnd", text, dialog, id, text);
    const HWND list = backend::Control(dialog, id);
    return list ? int32_t(backend::Send(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text))) : -1;
}

int32_t KPZAPI KPZ_ListBoxQuerySelection(HWND dialog, int32_t id)
{
    LogCall("KPZ_ListBoxQuerySelection", nullptr, dialog, id);
    const HWND list = backend::Control(dialog, id);
    return list ? int32_t(backend::Send(list, LB_GETCURSEL, 0, 0)) : -1;
}

//---- Drawing

WNDPROC KPZAPI KPZ_SubclassWindow(HWND window, WNDPROC procedure)
{
    LogCall("KPZ_SubclassWindow", nullptr, window, procedure);
    return backend::Subclass(window, procedure);
}

DrawSpace KPZAPI KPZ_BeginPaint(HWND window, DrawSpace zero, RECT *area)
{
    LogCall("KPZ_BeginPaint", nullptr, window, zero, area);
    return backend::BeginPaint(window, area);
}

void KPZAPI KPZ_EndPaint(DrawSpace space)
{
    LogCall("KPZ_EndPaint", nullptr, space);
    backend::EndPaint(space);
}

void KPZAPI KPZ_GetWindowRect(HWND window, RECT *area)
{
    LogCall("KPZ_GetWindowRect", nullptr, window, area);
    backend::WindowRect(window, area);
}

void KPZAPI KPZ_SetDrawSpaceToRGB(DrawSpace space)
{
    LogCall("KPZ_SetDrawSpaceToRGB", nullptr, space);
    backend::UseRgb(space);
}

void KPZAPI KPZ_FillRect(DrawSpace space, const RECT *area, uint32_t colour)
{
    LogCall("KPZ_FillRect", nullptr, area->left, area->top, area->right, area->bottom, colour);
    backend::FillArea(space, *area, colour);
}

void KPZAPI KPZ_SetCurrentPosition(DrawSpace space, const POINT *position)
{
    LogCall("KPZ_SetCurrentPosition", nullptr, position->x, position->y);
    backend::MoveTo(space, *position);
}

void KPZAPI KPZ_PolyLine(DrawSpace space, int32_t count, const POINT *points)
{
    std::string text;
    for (int32_t i = 0; i < count; ++i)
        text += (i ? " " : "") + std::to_string(points[i].x) + "," + std::to_string(points[i].y);
    LogCall("KPZ_PolyLine", text.c_str(), count);
    backend::DrawLines(space, count, points);
}

void KPZAPI HostDrawPixels(DrawSpace space, const RECT *area, const uint32_t *words)
{
    LogCall("HostDrawPixels", nullptr, area->left, area->top, area->right, area->bottom, words);
    backend::DrawPixels(space, *area, words);
}

void KPZAPI KPZ_InvalidateRect(HWND window, const RECT *area, BOOL children)
{
    LogCall("KPZ_InvalidateRect", nullptr, window, area, children);
    backend::Invalidate(window, area, children);
}

HWND KPZAPI KPZ_GetClientHwnd(HWND imageWindow, int32_t zero)
{
    LogCall("KPZ_GetClientHwnd", nullptr, imageWindow, zero);
    return backend::ClientWindow(imageWindow);
}

//---- Threads and locks

ThreadHandle KPZAPI KPZ_CreateThread(ThreadRoutine routine, uint32_t stackBytes, FilterHeader *argument)
{
    LogCall("KPZ_CreateThread", nullptr, routine, stackBytes, argument);
    return StartRunThread(routine, argument);
}

void KPZAPI KPZ_SetThreadPriority(ThreadHandle thread, int32_t priority)
{
    LogCall("KPZ_SetThreadPriority", nullptr, thread, priority);
    backend::SetThreadPriority(thread, priority);
}

AnchorHandle KPZAPI KPZ_Initialize()
{
    LogCall("KPZ_Initialize", nullptr);
    return backend::Initialize();
}

QueueHandle KPZAPI KPZ_CreateMsgQueue(AnchorHandle anchor, int32_t zero)
{
    LogCall("KPZ_CreateMsgQueue", nullptr, anchor, zero);
    return backend::CreateQueue(anchor);
}

// Nothing shuts a run's queue down here before its run has ended.
void KPZAPI KPZ_CancelShutdown(QueueHandle queue, int32_t one) { LogCall("KPZ_CancelShutdown", nullptr, queue, one); }

void KPZAPI KPZ_DestroyMsgQueue(QueueHandle queue)
{
    LogCall("KPZ_DestroyMsgQueue", nullptr, queue);
    backend::DestroyQueue(queue);
}

void KPZAPI KPZ_Terminate(AnchorHandle anchor)
{
    LogCall("KPZ_Terminate", nullptr, anchor);
    backend::Terminate(anchor);
}

static std::atomic<SemaphoreHandle> refused{nullptr};

KPZ_EXPORT void KPZAPI HostRefuseSemaphore(SemaphoreHandle semaphore) { refused = semaphore; }

BOOL KPZAPI KPZ_GetMutexSem(SemaphoreHandle semaphore, uint32_t milliseconds)
{
    LogCall("KPZ_GetMutexSem", nullptr, semaphore, milliseconds);
    return semaphore != refused && backend::TakeSemaphore(semaphore, milliseconds);
}

void KPZAPI KPZ_ReleaseMutexSem(SemaphoreHandle semaphore)
{
    LogCall("KPZ_ReleaseMutexSem", nullptr, semaphore);
    backend::ReleaseSemaphore(semaphore);
}

KPZ_EXPORT void KPZAPI HostReleaseWholly(SemaphoreHandle semaphore) { backend::ReleaseWholly(semaphore); }

//---- Display

int32_t KPZAPI KPZ_GetDisplayDepth()
{
    LogCall("KPZ_GetDisplayDepth", nullptr);
    return DisplayDepth();
}

// Only a display that has a palette of its own needs to follow an image's.
void KPZAPI KPZ_AdjustPalette(const uint8_t *red, const uint8_t *green, const uint8_t *blue, int32_t entries,
                              int32_t *changed, int32_t bitsPerPixel)
{
    LogCall("KPZ_AdjustPalette", nullptr, red, green, blue, entries, changed, bitsPerPixel);
    if (DisplayDepth() == 8 && changed) *changed = 1;
}
