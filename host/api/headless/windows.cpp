// The table of windows in memory: making, finding, showing, enabling and destroying them, and the Windows calls about
// them. Controls' own answers to messages are in controls.cpp.

#include "host/api/headless/headless.h"

#include <map>
#include <stdlib.h>

static std::mutex tableLock;
static uintptr_t lastHandle = 0x10000;   // handles are never used twice, so a window that has gone is recognised

// Null until the first window is made: a look for one, at a thread's end above all, must not need memory. Never freed: a
// run thread may still send while the program ends.
static std::map<HWND, std::unique_ptr<Window>> *table;

// The caller holds the table's lock.
static Window *Entry(HWND handle)
{
    if (!table) return nullptr;
    const auto found = table->find(handle);
    return found == table->end() ? nullptr : found->second.get();
}

Window *FindWindow(HWND handle)
{
    std::lock_guard guard(tableLock);
    return Entry(handle);
}

Window *MakeWindow(WindowKind kind, WNDPROC procedure, Window *parent, const ControlTemplate *row)
{
    auto window = std::make_unique<Window>();
    window->kind = kind;
    window->parent = parent;
    window->row = row;
    window->procedures = {procedure};
    if (kind != WindowKind::DESKTOP) window->queue = QueueOfThisThread();

    std::lock_guard guard(tableLock);
    window->handle = reinterpret_cast<HWND>(++lastHandle);
    if (!table) table = new std::map<HWND, std::unique_ptr<Window>>;
    if (parent) parent->children.reserve(parent->children.size() + 1);   // on record in both places, or in neither
    Window *made = ((*table)[window->handle] = std::move(window)).get();
    if (parent) parent->children.push_back(made);
    return made;
}

void DestroyWindow(Window *window)
{
    if (window->going) return;   // its own WM_DESTROY led here
    window->going = true;
    Dispatch({window->handle, WM_DESTROY, 0, 0});
    const std::vector<Window *> children = window->children;
    for (Window *child : children) DestroyWindow(child);

    const HWND handle = window->handle;
    {
        std::lock_guard guard(tableLock);
        if (window->parent) std::erase(window->parent->children, window);
        table->erase(handle);
    }
    AnswerForGone(handle);
}

void ForgetWindows(const ThreadQueue *queue)
{
    std::lock_guard guard(tableLock);
    if (table) std::erase_if(*table, [&](const auto &entry) { return entry.second->queue.get() == queue; });
}

std::shared_ptr<ThreadQueue> QueueOf(HWND handle)
{
    std::lock_guard guard(tableLock);
    const Window *window = Entry(handle);
    return window ? window->queue : nullptr;
}

std::shared_ptr<ThreadQueue> MarkForDrawing(HWND handle, bool children)
{
    std::lock_guard guard(tableLock);
    Window *window = Entry(handle);
    if (!window) return nullptr;
    window->dirty = true;
    if (children)
        for (Window *child : window->children) child->dirty = true;
    return window->queue;
}

Window *FindControlWindow(HWND dialog, int32_t id)
{
    const Window *window = FindWindow(dialog);
    if (!window || id == -1) return nullptr;
    for (Window *child : window->children)
        if (child->row->id == id) return child;
    return nullptr;
}

bool IsOwn(const Window *window) { return window && window->queue == QueueOfThisThread(); }

static bool IsShown(const Window *window)
{
    for (; window; window = window->parent)
        if (!window->visible) return false;
    return true;
}

Window *NextToPaint(const ThreadQueue *queue)
{
    std::lock_guard guard(tableLock);
    if (!table) return nullptr;
    for (const auto &[handle, window] : *table)
        if (window->queue.get() == queue && window->dirty && IsShown(window.get())) return window.get();
    return nullptr;
}

//---- What VLMAPI offers

namespace backend
{

HWND DesktopWindow()
{
    static const HWND desktop = MakeWindow(WindowKind::DESKTOP, nullptr)->handle;
    return desktop;
}

void SetSystemPointer(HWND handle, void *pointer)
{
    if (Window *window = FindWindow(handle)) window->systemPointer = pointer;
}

void *SystemPointer(HWND handle)
{
    const Window *window = FindWindow(handle);
    return window ? window->systemPointer : nullptr;
}

// There is no keyboard whose keys could be short for anything.
void SetHotkeys(HWND, bool) {}

HWND Control(HWND dialog, int32_t id)
{
    const Window *control = FindControlWindow(dialog, id);
    return control ? control->handle : nullptr;
}

int32_t ControlId(HWND handle)
{
    std::lock_guard guard(tableLock);
    const Window *window = Entry(handle);
    return window && window->row ? window->row->id : 0;
}

bool IsEnabled(HWND handle)
{
    const Window *window = FindWindow(handle);
    return window && window->enabled;
}

void Enable(HWND handle, bool enable)
{
    if (Window *window = FindWindow(handle)) window->enabled = enable;
}

void Show(HWND handle, bool show)
{
    Window *window = FindWindow(handle);
    if (!window) return;
    const bool wasShown = window->visible.exchange(show);
    if (show && !wasShown) Invalidate(handle, nullptr, true);
}

int32_t StringResource(ModuleHandle, int32_t, char *, int32_t) { return 0; }

// A window in memory has no frame around it.
HWND ClientWindow(HWND imageWindow) { return QueueOf(imageWindow) ? imageWindow : nullptr; }

}   // namespace backend

KPZ_EXPORT HWND KPZAPI HostCreateWindow(const char *name, WNDPROC procedure, void *data)
{
    Window *window = MakeWindow(WindowKind::HOST, procedure);
    window->text = name ? name : "";
    window->data = data;
    return window->handle;
}

KPZ_EXPORT void *KPZAPI HostWindowData(HWND handle)
{
    const Window *window = FindWindow(handle);
    return window ? window->data : nullptr;
}

KPZ_EXPORT void KPZAPI HostDestroyWindow(HWND handle)
{
    Window *window = FindWindow(handle);
    if (IsOwn(window) && window->kind == WindowKind::HOST) DestroyWindow(window);
}

KPZ_EXPORT BOOL KPZAPI HostWindowShown(HWND handle)
{
    std::lock_guard guard(tableLock);
    const Window *window = Entry(handle);
    return window && IsShown(window);
}

// There is no mouse.
KPZ_EXPORT void KPZAPI HostCaptureMouse(HWND) {}
KPZ_EXPORT void KPZAPI HostShowHand() {}
KPZ_EXPORT void KPZAPI HostFromScreen(HWND, POINT *) {}

//---- The Windows calls about windows

HWND KPZAPI GetWindow(HWND handle, UINT relation)
{
    const Window *window = FindWindow(handle);
    if (!window) return nullptr;
    if (relation == GW_OWNER) return window->owner;
    if (relation == GW_CHILD) return window->children.empty() ? nullptr : window->children.front()->handle;
    if ((relation != GW_HWNDNEXT && relation != GW_HWNDFIRST) || !window->parent) return nullptr;
    const std::vector<Window *> &siblings = window->parent->children;
    if (relation == GW_HWNDFIRST) return siblings.front()->handle;
    for (size_t i = 0; i + 1 < siblings.size(); ++i)
        if (siblings[i] == window) return siblings[i + 1]->handle;
    return nullptr;
}

BOOL KPZAPI EnableWindow(HWND handle, BOOL enable)
{
    LogCall("EnableWindow", nullptr, handle, enable);
    const bool wasDisabled = FindWindow(handle) && !backend::IsEnabled(handle);
    backend::Enable(handle, enable);
    return wasDisabled;
}

HWND KPZAPI GetDlgItem(HWND dialog, int id) { return backend::Control(dialog, id); }
