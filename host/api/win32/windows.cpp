// The records of windows and the one window procedure in front of them, making and destroying, and what VLMAPI offers
// about windows. Dialogs and the controls in them are made in dialogs.cpp.

#include "host/api/win32/win32.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

static std::mutex tableLock;

// Never freed: a run thread may still send while the program ends.
static std::map<HWND, std::unique_ptr<Window>> &Table()
{
    static auto &table = *new std::map<HWND, std::unique_ptr<Window>>;
    return table;
}

// A thread that ends takes its windows with it and tells nobody.
Window *RecordOf(HWND handle)
{
    std::lock_guard guard(tableLock);
    const auto found = Table().find(handle);
    return found == Table().end() || !IsWindow(handle) ? nullptr : found->second.get();
}

static std::unique_ptr<Window> TakeOffTable(HWND handle)
{
    std::lock_guard guard(tableLock);
    const auto found = Table().find(handle);
    if (found == Table().end()) return nullptr;
    std::unique_ptr<Window> window = std::move(found->second);
    Table().erase(found);
    return window;
}

//---- Controls at work while their dialog goes

// Number fields, arrows and trackbars go on after they have told their dialog, and the system's own use freed memory if
// they are gone by then. Those at work are moved to a window that nobody sees, and go with it when they have finished.

static bool IsAtWork(const Window *control)
{
    if (!control || !control->row) return false;
    const ControlKind kind = control->row->kind;
    if (kind == SPIN_ARROWS && IsAtWork(RecordOf(control->field))) return true;   // by the field's arrow keys
    return control->depth > 0 && (kind == NUMBER_FIELD || kind == SPIN_ARROWS || kind == TRACKBAR);
}

static std::vector<HWND> ControlsAtWork(HWND parent)
{
    std::vector<HWND> controls;
    for (HWND child = GetWindow(parent, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
        if (IsAtWork(RecordOf(child))) controls.push_back(child);
    return controls;
}

static void SetAsideAtWork(HWND dialog)
{
    const std::vector<HWND> controls = ControlsAtWork(dialog);
    if (controls.empty()) return;
    const HWND aside =
        CreateWindowExA(0, Classes().host, "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, OwnInstance(), nullptr);
    for (HWND control : controls) {
        ShowWindow(control, SW_HIDE);
        SetParent(control, aside);
        RecordOf(control)->aside = aside;
    }
}

static void DropFinished(HWND aside)
{
    if (ControlsAtWork(aside).empty()) DestroyWindow(aside);
}

//---- The window procedure

// The end of a window is the system's matter: what had to be said was said with WM_DESTROY. A dialog may also go with
// its owner, and nobody should wait for it then.
static LRESULT EndOf(HWND handle, WPARAM word, LPARAM extra)
{
    const std::unique_ptr<Window> window = TakeOffTable(handle);
    if (window->run) window->run->finished = true;
    return CallWindowProcA(window->system, handle, WM_NCDESTROY, word, extra);
}

// A preview control is drawn whole by its procedure, so its background needs no wiping before.
static bool WantsNoWiping(const Window *window, UINT message)
{
    const bool isPreview = window->row && window->row->kind == PREVIEW_WINDOW;
    return message == WM_ERASEBKGND && isPreview && window->procedures.back();
}

// A host's procedure may answer 0 to all that it does not know, which would keep the system from shutting down.
static bool IsSystemsMatter(const Window *window, UINT message)
{
    return message == WM_QUERYENDSESSION && window->kind == WindowKind::HOST;
}

// A window without a record is just being made.
static LRESULT CALLBACK WindowProcedure(HWND handle, UINT message, WPARAM word, LPARAM extra)
{
    Window *window = RecordOf(handle);
    if (!window) return DefWindowProcA(handle, message, word, extra);
    if (message == WM_NCDESTROY) return EndOf(handle, word, extra);
    if (WantsNoWiping(window, message)) return TRUE;
    if (IsSystemsMatter(window, message)) return PassToSystem(handle, message, word, extra);
    const size_t levelBefore = std::exchange(window->level, window->procedures.size());
    ++window->depth;
    const LRESULT result = backend::DefaultWindowProcedure(handle, message, word, extra);
    window = RecordOf(handle);
    if (window) {
        window->level = levelBefore;
        --window->depth;
        if (window->aside) DropFinished(window->aside);
    }
    TellObserver(handle, message, word, extra);
    return result;
}

// Goes on with the procedure that the one at work has replaced, and after the last with the system's own.
LRESULT backend::DefaultWindowProcedure(HWND handle, UINT message, WPARAM word, LPARAM extra)
{
    Window *window = RecordOf(handle);
    if (!window) return 0;
    const size_t level = std::min(window->level, window->procedures.size());
    if (level == 0 || !window->procedures[level - 1]) return PassToSystem(handle, message, word, extra);
    window->level = level - 1;
    const LRESULT result = window->procedures[level - 1](handle, message, word, extra);
    window = RecordOf(handle);
    if (window) window->level = level;
    return result;
}

LRESULT PassToSystem(HWND handle, UINT message, WPARAM word, LPARAM extra)
{
    const Window *window = RecordOf(handle);
    return window ? CallWindowProcA(window->system, handle, message, word, extra) : 0;
}

//---- Making and destroying

HINSTANCE OwnInstance()
{
    static const HINSTANCE instance = [] {
        HMODULE module = nullptr;
        const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
        GetModuleHandleExA(flags, reinterpret_cast<LPCSTR>(&OwnInstance), &module);
        return module;
    }();
    return instance;
}

const WindowClasses &Classes()
{
    static const WindowClasses classes = [] {
        const WindowClasses names = {"VelmorantWindow", "VelmorantColour", "VelmorantPreview"};
        for (const char *name : {names.host, names.colour, names.preview}) {
            WNDCLASSA made = {};
            made.style = CS_DBLCLKS;
            made.lpfnWndProc = WindowProcedure;
            made.hInstance = OwnInstance();
            made.hCursor = LoadCursor(nullptr, IDC_ARROW);
            made.hbrBackground =
                reinterpret_cast<HBRUSH>(name == names.preview ? COLOR_APPWORKSPACE + 1 : COLOR_BTNFACE + 1);
            made.lpszClassName = name;
            RegisterClassA(&made);
        }
        return names;
    }();
    return classes;
}

Window *Adopt(HWND handle, WindowKind kind, WNDPROC procedure)
{
    auto made = std::make_unique<Window>();
    Window *window = made.get();
    window->handle = handle;
    window->kind = kind;
    window->procedures = {procedure};
    {
        std::lock_guard guard(tableLock);
        Table()[handle] = std::move(made);
    }
    const auto before = reinterpret_cast<WNDPROC>(GetWindowLongPtrA(handle, GWLP_WNDPROC));
    if (before == WindowProcedure) return window;
    window->system = before;
    SetWindowLongPtrA(handle, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(WindowProcedure));
    return window;
}

void Destroy(Window *window)
{
    if (std::exchange(window->going, true)) return;   // its own WM_DESTROY led here
    const HWND handle = window->handle;
    if (window->kind == WindowKind::DIALOG) SetAsideAtWork(handle);
    DestroyWindow(handle);
}

//---- What VLMAPI offers

namespace backend
{

HWND DesktopWindow() { return GetDesktopWindow(); }

void SetSystemPointer(HWND handle, void *pointer)
{
    if (Window *window = RecordOf(handle)) window->systemPointer = pointer;
}

void *SystemPointer(HWND handle)
{
    const Window *window = RecordOf(handle);
    return window ? window->systemPointer : nullptr;
}

void SetHotkeys(HWND dialog, bool on)
{
    if (Window *window = RecordOf(dialog)) window->hotkeys = on;
}

HWND Control(HWND dialog, int32_t id) { return id == -1 ? nullptr : GetDlgItem(dialog, id); }

// Labels and frames all have -1, of which the system keeps 16 bits.
int32_t ControlId(HWND handle)
{
    return GetWindowLongA(handle, GWL_STYLE) & WS_CHILD ? int16_t(GetDlgCtrlID(handle)) : 0;
}

bool IsEnabled(HWND handle) { return IsWindowEnabled(handle); }

void Enable(HWND handle, bool enable) { EnableWindow(handle, enable); }

void Show(HWND handle, bool show) { ShowWindow(handle, show ? SW_SHOW : SW_HIDE); }

int32_t StringResource(ModuleHandle module, int32_t id, char *buffer, int32_t size)
{
    return LoadStringA(static_cast<HINSTANCE>(module), UINT(id), buffer, size);
}

// The host's windows draw on the whole of what is inside their frame.
HWND ClientWindow(HWND imageWindow) { return IsWindow(imageWindow) ? imageWindow : nullptr; }

}   // namespace backend

KPZ_EXPORT HWND KPZAPI HostCreateWindow(const char *name, WNDPROC procedure, void *data)
{
    const HWND handle = CreateWindowExA(0, Classes().host, name ? name : "", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, 0,
                                        CW_USEDEFAULT, 0, nullptr, nullptr, OwnInstance(), nullptr);
    if (handle) Adopt(handle, WindowKind::HOST, procedure)->data = data;
    return handle;
}

KPZ_EXPORT void *KPZAPI HostWindowData(HWND handle)
{
    const Window *window = RecordOf(handle);
    return window ? window->data : nullptr;
}

KPZ_EXPORT void KPZAPI HostDestroyWindow(HWND handle)
{
    Window *window = RecordOf(handle);
    if (window && window->kind == WindowKind::HOST) Destroy(window);
}

KPZ_EXPORT BOOL KPZAPI HostWindowShown(HWND handle) { return IsWindowVisible(handle); }

KPZ_EXPORT void KPZAPI HostCaptureMouse(HWND handle)
{
    if (handle) SetCapture(handle);
    else ReleaseCapture();
}

KPZ_EXPORT void KPZAPI HostShowHand() { SetCursor(LoadCursor(nullptr, IDC_HAND)); }

KPZ_EXPORT void KPZAPI HostFromScreen(HWND handle, POINT *place) { ScreenToClient(handle, place); }
