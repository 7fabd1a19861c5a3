// The inside of the headless back end: windows, controls and message queues in memory.
//
// Its files provide, together, all of backend.h, what of host_api.h the sources above do not, and the seven Windows
// calls, which have no system behind them here:
//
//     windows.cpp    the table of windows: making, showing, enabling, asking; GetWindow, EnableWindow, GetDlgItem;
//                    mouse and hand, which nobody has
//     messages.cpp   queues, sending across threads, posting, message loops, the observer
//     dialogs.cpp    dialogs from templates, message boxes
//     controls.cpp   what each kind of control does with messages; GetDlgItemInt, SetDlgItemInt; the preview's procedure
//     menus.cpp      menus as lists; AppendMenuA
//     drawing.cpp    procedures put over a window's own; drawing, which leaves only its trace in the log; DrawEdge
//     threads.cpp    run threads, priorities, semaphores, waiting for threads; one_thread.cpp does it where there are none
//
// It draws nothing, has no keyboard, and lays nothing out. host/api/win32/win32.h is its sister, file by file.
//
// A window belongs to the thread that made it: only that thread handles its messages, changes it and destroys it.
// Other threads may send and post to it, mark it for drawing and ask whether it is shown; they do it with the table's
// lock held, so that the window stays while they look. A window's fields are its own thread's to change: those that
// other threads look at are set before anyone knows the handle, or are atomic, or (children) change only under the
// lock.

#pragma once

#include "host/api/numbers.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

//---- Messages

struct Message {
    HWND window;
    UINT message;
    WPARAM word;
    LPARAM extra;
};

struct ThreadQueue;

// A message sent from another thread, which waits for `done`. It lives on the sender's stack.
struct SentMessage {
    Message message;
    std::shared_ptr<ThreadQueue> sender;
    LRESULT result;
    bool done;   // guarded by the sender's lock
};

// One per thread that has windows or sends messages.
struct ThreadQueue {
    std::mutex lock;
    std::condition_variable arrived;
    std::deque<Message> posted;
    std::deque<SentMessage *> sent;
    bool paintWanted = false;   // some window of this thread is marked for drawing
    bool closed = false;        // the thread has ended: nothing is handled any more
};

std::shared_ptr<ThreadQueue> QueueOfThisThread();

//---- Windows

enum class WindowKind { DESKTOP, HOST, DIALOG, CONTROL };

// How KPZ_RunDialogBox hears that its dialog has gone.
struct DialogRun {
    bool finished = false;
    INT_PTR result = 0;
};

struct Window {
    HWND handle = nullptr;
    WindowKind kind = WindowKind::HOST;
    std::shared_ptr<ThreadQueue> queue;
    Window *parent = nullptr;   // a control's dialog
    HWND owner = nullptr;
    std::vector<Window *> children;    // in window order
    std::vector<WNDPROC> procedures;   // its kind's own or a host window's (may be null), then what replaced it
    size_t level = 0;                  // which of them is at work
    DLGPROC dialogProcedure = nullptr;
    DialogRun *run = nullptr;
    int32_t templateId = 0;   // a dialog's
    void *data = nullptr;
    void *systemPointer = nullptr;
    bool going = false;   // it is being destroyed
    bool enabled = true;
    std::atomic<bool> visible{true};
    std::atomic<bool> dirty{false};
    int32_t width = 0, height = 0;   // pixels
    std::string text;                // a title, or what a control shows

    // A control's state; which fields mean something depends on its kind.
    const ControlTemplate *row = nullptr;
    Window *field = nullptr;   // arrows: the number field they belong to
    NumberField number;        // a number field
    bool checked = false;
    int32_t low = 0, high = 100, position = 0;
    std::vector<std::string> entries;
    int32_t selection = LB_ERR;
    uint32_t colour = 0;
};

// Null for a handle whose window has gone, and for null. For the window's own thread: another one may find it gone the
// next moment.
Window *FindWindow(HWND handle);
// With this thread for its own, except the desktop, which has none: what is sent there is answered with 0.
Window *MakeWindow(WindowKind kind, WNDPROC procedure, Window *parent = nullptr, const ControlTemplate *row = nullptr);
// For its own thread: tells the window that it goes (WM_DESTROY), then its children, takes them off the table and
// answers what other threads have sent to them.
void DestroyWindow(Window *window);
// Takes the windows of a thread that has ended off the table.
void ForgetWindows(const ThreadQueue *queue);
// The queue of a window's thread; null when the window has gone. For any thread, and so is the next. A queue's lock may
// be held.
std::shared_ptr<ThreadQueue> QueueOf(HWND handle);
// Marks a window for drawing without waking its thread; returns its queue, null when the window has gone.
std::shared_ptr<ThreadQueue> MarkForDrawing(HWND handle, bool children);
Window *FindControlWindow(HWND dialog, int32_t id);
bool IsOwn(const Window *window);   // this thread's

// Calls a window's procedure on this thread, then the observer.
LRESULT Dispatch(const Message &message);
// Answers what other threads have sent to a window that has gone.
void AnswerForGone(HWND handle);
// The first window of this thread that is shown and marked for drawing; null when there is none.
Window *NextToPaint(const ThreadQueue *queue);

//---- Controls

LRESULT KPZAPI ControlProcedure(HWND handle, UINT message, WPARAM word, LPARAM extra);
WNDPROC PreviewProcedure();
// Reading and writing a window's text; 0 for other messages.
LRESULT TextMessage(Window *window, UINT message, WPARAM size, LPARAM text);
// Writes a control's text; a number field tells its dialog, which may close on that. `typed`: a person's hand.
void SetText(Window *control, const std::string &text, bool typed);

//---- Threads

// Lets go the threads that this one has made and not yet let go.
void ReleaseHeldThreads();
// Returns when this thread's queue has something.
void WaitForMessages(ThreadQueue &queue);
