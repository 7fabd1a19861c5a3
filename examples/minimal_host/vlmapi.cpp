// VLMAPI of the minimal host, the part that is the same on every platform: memory, threads and locks, dialogs made
// from a table, and their controls.

#include "examples/minimal_host/minimal_host.h"

#include <chrono>
#include <condition_variable>
#include <future>
#include <list>
#include <map>
#include <mutex>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <thread>

// At once, whatever threads there are. On Windows every other way out has the libraries clear up, and with them the list
// of threads that still run.
[[noreturn]] static void EndProgram()
{
#ifdef _WIN32
    TerminateProcess(GetCurrentProcess(), 3);
#endif
    _Exit(3);
}

KPZ_EXPORT void KPZAPI HostNotServed(const char *name)
{
    fflush(stdout);
    fprintf(stderr, "minimal_host: the module called %s, which this host does not serve\n", name);
    fflush(stderr);
    EndProgram();
}

//---- Memory, random numbers, display

KPZ_EXPORT void KPZAPI KPZ_AllocMem(void *addressOfPointer, uint32_t size, int32_t)
{
    void *memory = malloc(size ? size : 1);
    if (!memory) {
        fprintf(stderr, "minimal_host: out of memory\n");
        EndProgram();
    }
    memcpy(addressOfPointer, &memory, sizeof memory);
}

KPZ_EXPORT void KPZAPI KPZ_FreeMem(void *memory) { free(memory); }

static uint32_t seed = 1;
KPZ_EXPORT void KPZAPI HostSetSeed(uint32_t number) { seed = number; }
KPZ_EXPORT void KPZAPI KPZ_srand() { srand(seed); }

KPZ_EXPORT int32_t KPZAPI KPZ_GetDisplayDepth() { return 24; }

//---- Threads and locks

struct RunThread {
    std::promise<void> letGo;
    bool held = true;
    std::thread thread;
};
static std::list<RunThread> threads;   // all there ever were, so that a handle stays good

static void LetGo(RunThread &run)
{
    if (run.held) run.letGo.set_value();
    run.held = false;
}

void LetThreadsGo()
{
    for (RunThread &run : threads) LetGo(run);
}

KPZ_EXPORT void KPZAPI HostJoinThreads()
{
    LetThreadsGo();
    for (RunThread &run : threads) run.thread.join();
    threads.clear();
}

// The thread waits until the module has stored its handle: a run that ended before would leave the image marked as
// running for ever.
KPZ_EXPORT ThreadHandle KPZAPI KPZ_CreateThread(ThreadRoutine routine, uint32_t, FilterHeader *argument)
{
    RunThread &run = threads.emplace_back();
    run.thread = std::thread([go = run.letGo.get_future(), routine, argument]() mutable {
        go.wait();
        routine(argument);
    });
    return &run;
}

// All threads of this host keep the priority they were made with.
KPZ_EXPORT void KPZAPI KPZ_SetThreadPriority(ThreadHandle thread, int32_t)
{
    if (thread) LetGo(*static_cast<RunThread *>(thread));
}

// A thread may take a lock again that it holds.
struct Lock {
    std::mutex guard;
    std::condition_variable freed;
    std::thread::id owner;
    int taken = 0;
};
static Lock &LockOf(SemaphoreHandle handle) { return *static_cast<Lock *>(handle); }

KPZ_EXPORT SemaphoreHandle KPZAPI HostMakeLock() { return new Lock; }
KPZ_EXPORT void KPZAPI HostFreeLock(SemaphoreHandle lock) { delete &LockOf(lock); }

KPZ_EXPORT BOOL KPZAPI KPZ_GetMutexSem(SemaphoreHandle semaphore, uint32_t milliseconds)
{
    Lock &lock = LockOf(semaphore);
    std::unique_lock<std::mutex> hold(lock.guard);
    const std::thread::id self = std::this_thread::get_id();
    const auto free = [&] { return lock.taken == 0 || lock.owner == self; };
    const auto latest = std::chrono::system_clock::now() + std::chrono::milliseconds(milliseconds);
    if (!lock.freed.wait_until(hold, latest, free)) return FALSE;
    lock.owner = self;
    ++lock.taken;
    return TRUE;
}

KPZ_EXPORT void KPZAPI KPZ_ReleaseMutexSem(SemaphoreHandle semaphore)
{
    Lock &lock = LockOf(semaphore);
    const std::lock_guard<std::mutex> hold(lock.guard);
    if (--lock.taken == 0) lock.freed.notify_one();
}

//---- Dialogs

// The one dialog. A spin box is its number field alone here, with the spin box's id: the module takes EN_CHANGE from
// either. A host with arrows sends their WM_VSCROLL to the dialog as well.
enum { NOISE_TEMPLATE = 4240, NOISE_AMOUNT = 1290, NOISE_VARIATION = 1310 };
static const struct {
    ControlKind kind;
    int id;
    const char *text;
} noiseDialog[] = {
    {ControlKind::PREVIEW, PREVIEW_CONTROL, ""},
    {ControlKind::CHECK, PREVIEW_CHECK, "Preview"},
    {ControlKind::FIELD, NOISE_AMOUNT, ""},
    {ControlKind::FIELD, NOISE_VARIATION, ""},
    {ControlKind::RADIO, SCOPE_IMAGE_RADIO, "Image"},
    {ControlKind::RADIO, SCOPE_ALL_RADIO, "Image and objects"},
    {ControlKind::RADIO, SCOPE_OBJECTS_RADIO, "Objects"},
    {ControlKind::RADIO, SCOPE_NEW_OBJECT_RADIO, "New object"},
    {ControlKind::TRACKBAR, PRIORITY_TRACKBAR, ""},
    {ControlKind::BUTTON, APPLY_BUTTON, "Apply"},
    {ControlKind::BUTTON, ABORT_BUTTON, "Abort"},
    {ControlKind::BUTTON, CLOSE_BUTTON, "Close"},
    {ControlKind::BUTTON, HELP_BUTTON, "Help"},
};

struct OpenDialog {
    HWND window;
    bool dismissed;
    INT_PTR result;
};
static std::vector<OpenDialog *> openDialogs;

static const char RESOURCES[] = "minimal host";

KPZ_EXPORT ModuleHandle KPZAPI KPZ_GetLoadedModuleHandle(const char *module)
{
    return strcmp(module, RESOURCES) == 0 ? const_cast<char *>(RESOURCES) : nullptr;
}

KPZ_EXPORT HWND KPZAPI KPZ_GetDesktopWindow() { return nullptr; }

KPZ_EXPORT INT_PTR KPZAPI KPZ_RunDialogBox(HWND, DLGPROC procedure, ModuleHandle module, int32_t templateId,
                                           void *parameter)
{
    if (module != RESOURCES || templateId != NOISE_TEMPLATE) return 0;
    OpenDialog self = {MakeWindow(ControlKind::WINDOW, nullptr, 0, "Noise", procedure), false, 0};
    for (const auto &row : noiseDialog) MakeWindow(row.kind, self.window, row.id, row.text, nullptr);
    openDialogs.push_back(&self);
    KPZ_SendMsgAndWait(self.window, WM_INITDIALOG, 0, reinterpret_cast<LPARAM>(parameter));
    HandleMessagesUntil(self.dismissed);
    openDialogs.pop_back();
    return self.result;
}

KPZ_EXPORT void KPZAPI KPZ_DismissDialog(HWND dialog, INT_PTR result)
{
    for (OpenDialog *open : openDialogs) {
        if (open->window != dialog || open->dismissed) continue;
        open->dismissed = true;
        open->result = result;
        CloseWindowTree(dialog);
    }
}

// There are no keyboard shortcuts to lend to a dialog.
KPZ_EXPORT void KPZAPI KPZ_SetupDialogHotkeys(HWND, const char *) {}
KPZ_EXPORT void KPZAPI KPZ_RemoveDialogHotkeys(HWND) {}

KPZ_EXPORT int32_t KPZAPI KPZ_MessageBox(HWND, const char *text, const char *title, int32_t)
{
    fprintf(stderr, "minimal_host: %s: %s\n", title, text);
    return IDOK;
}

//---- Controls

KPZ_EXPORT LRESULT KPZAPI KPZ_SendDlgItemMsg(HWND dialog, int32_t id, UINT message, WPARAM word, LPARAM extra)
{
    HWND control = KPZ_WindowFromID(dialog, id);
    return control ? KPZ_SendMsgAndWait(control, message, word, extra) : 0;
}

KPZ_EXPORT HWND KPZAPI KPZ_WindowFromID(HWND dialog, int32_t id) { return GetDlgItem(dialog, id); }

KPZ_EXPORT void KPZAPI KPZ_EnableDlgItem(HWND dialog, int32_t id, BOOL enable)
{
    HWND control = KPZ_WindowFromID(dialog, id);
    if (control) EnableWindow(control, enable);
}

static bool IsRadio(int32_t id)
{
    for (const auto &row : noiseDialog)
        if (row.id == id) return row.kind == ControlKind::RADIO;
    return false;
}

KPZ_EXPORT void KPZAPI KPZ_CheckButton(HWND dialog, int32_t id, BOOL checked)
{
    for (const auto &row : noiseDialog) {   // the dialog's radio buttons are one group
        if (!checked || !IsRadio(id) || row.kind != ControlKind::RADIO) continue;
        KPZ_SendDlgItemMsg(dialog, row.id, BM_SETCHECK, BST_UNCHECKED, 0);
    }
    KPZ_SendDlgItemMsg(dialog, id, BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED, 0);
}

KPZ_EXPORT BOOL KPZAPI KPZ_IsButtonChecked(HWND dialog, int32_t id)
{
    return KPZ_SendDlgItemMsg(dialog, id, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

// What the module sets is read back as it is; another number has been typed and is brought into the range.
struct SpinBox {
    int32_t low = 0, high = 0, set = 0;
};
static std::map<std::pair<HWND, int32_t>, SpinBox> spinBoxes;

KPZ_EXPORT void KPZAPI KPZ_SetSpinBoxRange(HWND dialog, int32_t id, int32_t low, int32_t high)
{
    spinBoxes[{dialog, id}].low = low;
    spinBoxes[{dialog, id}].high = high;
}

KPZ_EXPORT void KPZAPI KPZ_SetSpinBoxValue(HWND dialog, int32_t id, int32_t value)
{
    spinBoxes[{dialog, id}].set = value;
    SetDlgItemInt(dialog, id, UINT(value), TRUE);
}

KPZ_EXPORT int32_t KPZAPI KPZ_GetSpinBoxIntValue(HWND dialog, int32_t id)
{
    const SpinBox &box = spinBoxes[{dialog, id}];
    const int32_t value = int32_t(GetDlgItemInt(dialog, id, nullptr, TRUE));
    return value == box.set ? value : value < box.low ? box.low : value > box.high ? box.high : value;
}

KPZ_EXPORT void KPZAPI KPZ_TrackbarSetRange(HWND dialog, int32_t id, int32_t low, int32_t high)
{
    KPZ_SendDlgItemMsg(dialog, id, TBM_SETRANGE, TRUE, LPARAM(MAKEWPARAM(low, high)));
}

KPZ_EXPORT void KPZAPI KPZ_TrackbarSetPos(HWND dialog, int32_t id, int32_t position)
{
    KPZ_SendDlgItemMsg(dialog, id, TBM_SETPOS, TRUE, position);
}

KPZ_EXPORT int32_t KPZAPI KPZ_TrackbarGetPos(HWND dialog, int32_t id)
{
    return int32_t(KPZ_SendDlgItemMsg(dialog, id, TBM_GETPOS, 0, 0));
}

//---- What other effects need: strings, lists, drawing, and the threads of effects that run by themselves

NOT_SERVED(int32_t, KPZ_LoadString, (HWND, const char *, int32_t, char *, int32_t))
NOT_SERVED(int32_t, KPZ_ListBoxAddToEnd, (HWND, int32_t, const char *))
NOT_SERVED(int32_t, KPZ_ListBoxQuerySelection, (HWND, int32_t))
NOT_SERVED(LRESULT, KPZ_DefWindowProc, (HWND, UINT, WPARAM, LPARAM))
NOT_SERVED(WNDPROC, KPZ_SubclassWindow, (HWND, WNDPROC))
NOT_SERVED(DrawSpace, KPZ_BeginPaint, (HWND, DrawSpace, RECT *))
NOT_SERVED(void, KPZ_EndPaint, (DrawSpace))
NOT_SERVED(void, KPZ_GetWindowRect, (HWND, RECT *))
NOT_SERVED(void, KPZ_SetDrawSpaceToRGB, (DrawSpace))
NOT_SERVED(void, KPZ_FillRect, (DrawSpace, const RECT *, uint32_t))
NOT_SERVED(void, KPZ_SetCurrentPosition, (DrawSpace, const POINT *))
NOT_SERVED(void, KPZ_PolyLine, (DrawSpace, int32_t, const POINT *))
NOT_SERVED(void, KPZ_InvalidateRect, (HWND, const RECT *, BOOL))
NOT_SERVED(HWND, KPZ_GetClientHwnd, (HWND, int32_t))
NOT_SERVED(AnchorHandle, KPZ_Initialize, ())
NOT_SERVED(QueueHandle, KPZ_CreateMsgQueue, (AnchorHandle, int32_t))
NOT_SERVED(void, KPZ_CancelShutdown, (QueueHandle, int32_t))
NOT_SERVED(void, KPZ_DestroyMsgQueue, (QueueHandle))
NOT_SERVED(void, KPZ_Terminate, (AnchorHandle))
NOT_SERVED(void, KPZ_AdjustPalette, (const uint8_t *, const uint8_t *, const uint8_t *, int32_t, int32_t *, int32_t))
