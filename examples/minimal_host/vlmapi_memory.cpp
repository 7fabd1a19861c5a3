// VLMAPI of the minimal host off Windows: windows and menus are records, messages stand in one queue. Windows belong
// to the thread that runs the dialogs; other threads post to it, or send and wait for its answer.

#include "examples/minimal_host/minimal_host.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

struct Window {
    ControlKind kind;
    HWND parent;
    int id;
    DLGPROC procedure;   // of a window of its own
    std::string text;
    bool enabled = true;
    LPARAM state = 0;             // a button's check, a trackbar's position
    LPARAM low = 0, high = 100;   // a trackbar's range
    void *pointer = nullptr;
    std::vector<HWND> children = {};   // in window order
};
static std::map<uintptr_t, std::unique_ptr<Window>> windows;
static uintptr_t lastWindow;

// Which there are, for threads that post; under queueLock.
static std::mutex queueLock;
static std::set<HWND> existing;

static Window *Find(HWND window)
{
    const auto found = windows.find(reinterpret_cast<uintptr_t>(window));
    return found == windows.end() ? nullptr : found->second.get();
}

HWND MakeWindow(ControlKind kind, HWND parent, int id, const char *text, DLGPROC procedure)
{
    windows[++lastWindow].reset(new Window{kind, parent, id, procedure, text});
    HWND window = reinterpret_cast<HWND>(lastWindow);
    if (Window *owner = Find(parent)) owner->children.push_back(window);
    const std::lock_guard<std::mutex> hold(queueLock);
    existing.insert(window);
    return window;
}

//---- Messages

struct Message {
    HWND window;
    UINT id;
    WPARAM word;
    LPARAM extra;
    std::promise<LRESULT> *answer;   // of a sender that waits; null for a posted message
};
static std::condition_variable queueFilled;
static std::deque<Message> queue;
static const std::thread::id dialogThread = std::this_thread::get_id();   // the one that loads the library

static LRESULT ControlAnswer(Window &control, UINT message, WPARAM word, LPARAM extra)
{
    switch (message) {
    case BM_SETCHECK: control.state = LPARAM(word); return 0;
    case BM_GETCHECK:
    case TBM_GETPOS: return control.state;
    case TBM_SETRANGE:
        control.low = LOWORD(extra);
        control.high = HIWORD(extra);
        return 0;
    case TBM_SETPOS: control.state = std::clamp(extra, control.low, control.high); return 0;
    default: return 0;   // the preview control shows nothing in this host
    }
}

static LRESULT Deliver(HWND handle, UINT message, WPARAM word, LPARAM extra)
{
    Window *window = Find(handle);
    if (!window) return 0;
    if (window->procedure) return window->procedure(handle, message, word, extra);
    return ControlAnswer(*window, message, word, extra);
}

// False for a window that is gone.
static bool Queue(const Message &message)
{
    const std::lock_guard<std::mutex> hold(queueLock);
    if (!existing.count(message.window)) return false;
    queue.push_back(message);
    queueFilled.notify_one();
    return true;
}

KPZ_EXPORT LRESULT KPZAPI KPZ_SendMsgAndWait(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    if (std::this_thread::get_id() == dialogThread) return Deliver(window, message, word, extra);
    std::promise<LRESULT> answer;
    std::future<LRESULT> answered = answer.get_future();
    return Queue({window, message, word, extra, &answer}) ? answered.get() : 0;
}

KPZ_EXPORT BOOL KPZAPI KPZ_SendMsgNoWait(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    return Queue({window, message, word, extra, nullptr});
}

KPZ_EXPORT void KPZAPI HostHandleMessage()
{
    LetThreadsGo();
    std::unique_lock<std::mutex> hold(queueLock);
    queueFilled.wait(hold, [] { return !queue.empty(); });
    const Message message = queue.front();
    queue.pop_front();
    hold.unlock();
    const LRESULT result = Deliver(message.window, message.id, message.word, message.extra);
    if (message.answer) message.answer->set_value(result);
}

void HandleMessagesUntil(const bool &done)
{
    while (!done) HostHandleMessage();
}

KPZ_EXPORT INT_PTR KPZAPI KPZ_DefDlgProc(HWND, UINT, WPARAM, LPARAM) { return 0; }

void CloseWindowTree(HWND window)
{
    Deliver(window, WM_DESTROY, 0, 0);
    std::vector<HWND> gone = Find(window)->children;
    gone.push_back(window);
    for (HWND each : gone) windows.erase(reinterpret_cast<uintptr_t>(each));
    const std::lock_guard<std::mutex> hold(queueLock);
    for (HWND each : gone) existing.erase(each);
}

KPZ_EXPORT HWND KPZAPI HostMakeWindow(DLGPROC procedure)
{
    return MakeWindow(ControlKind::WINDOW, nullptr, 0, "", procedure);
}
KPZ_EXPORT void KPZAPI HostCloseWindow(HWND window) { CloseWindowTree(window); }

//---- Windows

KPZ_EXPORT void KPZAPI KPZ_SetWindowPtrSystem(HWND window, void *pointer)
{
    if (Window *found = Find(window)) found->pointer = pointer;
}

KPZ_EXPORT void *KPZAPI KPZ_QueryWindowPtrSystem(HWND window)
{
    const Window *found = Find(window);
    return found ? found->pointer : nullptr;
}

KPZ_EXPORT BOOL KPZAPI KPZ_IsWindowEnabled(HWND window)
{
    const Window *found = Find(window);
    return found && found->enabled;
}

KPZ_EXPORT void KPZAPI KPZ_ShowWindow(HWND, BOOL) {}   // there is no screen

//---- The seven calls of Windows

KPZ_EXPORT HWND KPZAPI GetDlgItem(HWND dialog, int id)
{
    if (const Window *found = Find(dialog))
        for (HWND child : found->children)
            if (Find(child)->id == id) return child;
    return nullptr;
}

// Only the two relations that lead through a dialog's controls.
KPZ_EXPORT HWND KPZAPI GetWindow(HWND window, UINT relation)
{
    const Window *found = Find(window);
    if (!found) return nullptr;
    if (relation == GW_CHILD) return found->children.empty() ? nullptr : found->children[0];
    if (relation != GW_HWNDNEXT) HostNotServed("GetWindow with this relation");
    const Window *parent = Find(found->parent);
    for (size_t i = 1; parent && i < parent->children.size(); ++i)
        if (parent->children[i - 1] == window) return parent->children[i];
    return nullptr;
}

KPZ_EXPORT BOOL KPZAPI EnableWindow(HWND window, BOOL enable)
{
    Window *found = Find(window);
    if (!found) return FALSE;
    const bool before = found->enabled;
    found->enabled = enable;
    return !before;
}

KPZ_EXPORT UINT KPZAPI GetDlgItemInt(HWND dialog, int id, BOOL *translated, BOOL)
{
    const Window *field = Find(GetDlgItem(dialog, id));
    char *end = nullptr;
    const long number = field ? strtol(field->text.c_str(), &end, 10) : 0;
    const bool read = field && end != field->text.c_str() && !*end;
    if (translated) *translated = read;
    return read ? UINT(number) : 0;
}

KPZ_EXPORT BOOL KPZAPI SetDlgItemInt(HWND dialog, int id, UINT value, BOOL isSigned)
{
    HWND handle = GetDlgItem(dialog, id);
    Window *field = Find(handle);
    if (!field) return FALSE;
    field->text = isSigned ? std::to_string(int32_t(value)) : std::to_string(value);
    Deliver(dialog, WM_COMMAND, MAKEWPARAM(id, EN_CHANGE), reinterpret_cast<LPARAM>(handle));
    return TRUE;
}

NOT_SERVED(BOOL, DrawEdge, (HDC, RECT *, UINT, UINT))

struct MenuItem {
    UINT_PTR command;
    std::string label;
    bool enabled;
};
typedef std::vector<MenuItem> Menu;
static Menu *MenuOf(HMENU menu) { return reinterpret_cast<Menu *>(menu); }

KPZ_EXPORT BOOL KPZAPI AppendMenuA(HMENU menu, UINT flags, UINT_PTR command, LPCSTR label)
{
    if (!(flags & MF_SEPARATOR)) MenuOf(menu)->push_back({command, label, true});
    return TRUE;
}

KPZ_EXPORT HMENU KPZAPI HostMakeMenu() { return reinterpret_cast<HMENU>(new Menu); }
KPZ_EXPORT void KPZAPI HostFreeMenu(HMENU menu) { delete MenuOf(menu); }

KPZ_EXPORT void KPZAPI KPZ_EnableMenuItem(HMENU menu, int32_t command, INT_PTR enable)
{
    for (MenuItem &item : *MenuOf(menu))
        if (item.command == UINT_PTR(command)) item.enabled = enable != 0;
}

KPZ_EXPORT int32_t KPZAPI HostFindCommand(HMENU menu, const char *label)
{
    for (const MenuItem &item : *MenuOf(menu))
        if (item.label == label && item.enabled) return int32_t(item.command);
    return -1;
}
