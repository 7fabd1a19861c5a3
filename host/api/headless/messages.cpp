// Message queues, one per thread: sending across threads, posting, the loop that handles what has come, painting last.
// What a window does with a message is its procedure's.

#include "host/api/headless/headless.h"

#include <algorithm>
#include <memory>
#include <new>
#include <pthread.h>
#include <utility>

//---- Queues

// Closes its queue when the thread ends, so that nobody waits for an answer that cannot come.
struct QueueOwner {
    std::shared_ptr<ThreadQueue> queue = std::make_shared<ThreadQueue>();
    ~QueueOwner();
};

static void Answer(SentMessage *message, LRESULT result)
{
    // The sender may go on, and its message be gone, as soon as the lock is free.
    const std::shared_ptr<ThreadQueue> sender = message->sender;
    std::lock_guard guard(sender->lock);
    message->result = result;
    message->done = true;
    sender->arrived.notify_all();
}

static SentMessage *TakeSent(ThreadQueue &queue)
{
    const std::lock_guard guard(queue.lock);
    queue.closed = true;
    if (queue.sent.empty()) return nullptr;
    SentMessage *message = queue.sent.front();
    queue.sent.pop_front();
    return message;
}

// Wants no memory: a thread whose end fails takes the program with it.
QueueOwner::~QueueOwner()
{
    while (SentMessage *message = TakeSent(*queue)) Answer(message, 0);
    ForgetWindows(queue.get());
}

static void EndOwner(void *owner) { delete static_cast<QueueOwner *>(owner); }

static pthread_key_t OwnersKey()
{
    static const pthread_key_t key = [] {
        pthread_key_t made = 0;
        if (pthread_key_create(&made, EndOwner) != 0) throw std::bad_alloc();
        return made;
    }();
    return key;
}

// By a key, since the C library ends a program that has no memory to note the end of what is thread_local.
std::shared_ptr<ThreadQueue> QueueOfThisThread()
{
    const pthread_key_t key = OwnersKey();
    if (const auto *owner = static_cast<QueueOwner *>(pthread_getspecific(key))) return owner->queue;
    auto made = std::make_unique<QueueOwner>();
    if (pthread_setspecific(key, made.get()) != 0) throw std::bad_alloc();
    return made.release()->queue;
}

//---- Handling

LRESULT Dispatch(const Message &message)
{
    Window *window = FindWindow(message.window);
    if (!window) return 0;
    const size_t levelBefore = std::exchange(window->level, window->procedures.size());
    const LRESULT result =
        backend::DefaultWindowProcedure(message.window, message.message, message.word, message.extra);
    window = FindWindow(message.window);
    if (window) window->level = levelBefore;
    TellObserver(message.window, message.message, message.word, message.extra);
    return result;
}

// Goes on with the procedure that the one at work has replaced, and after the last with what every window does.
LRESULT backend::DefaultWindowProcedure(HWND handle, UINT message, WPARAM word, LPARAM extra)
{
    Window *window = FindWindow(handle);
    if (!window) return 0;
    const size_t level = std::min(window->level, window->procedures.size());
    if (level == 0 || !window->procedures[level - 1]) return TextMessage(window, message, word, extra);
    window->level = level - 1;
    const LRESULT result = window->procedures[level - 1](handle, message, word, extra);
    window = FindWindow(handle);
    if (window) window->level = level;
    return result;
}

void AnswerForGone(HWND handle)
{
    const std::shared_ptr<ThreadQueue> queue = QueueOfThisThread();
    std::vector<SentMessage *> unanswered;
    {
        std::lock_guard guard(queue->lock);
        for (SentMessage *sent : queue->sent)
            if (sent->message.window == handle) unanswered.push_back(sent);
        std::erase_if(queue->sent, [&](SentMessage *sent) { return sent->message.window == handle; });
    }
    for (SentMessage *sent : unanswered) Answer(sent, 0);
}

// Handles one waiting message: what other threads wait for comes before what was posted. False when there was none.
static bool HandleOne(ThreadQueue &queue)
{
    std::unique_lock guard(queue.lock);
    if (!queue.sent.empty()) {
        SentMessage *sent = queue.sent.front();
        queue.sent.pop_front();
        guard.unlock();
        Answer(sent, Dispatch(sent->message));
        return true;
    }
    if (queue.posted.empty()) return false;
    const Message message = queue.posted.front();
    queue.posted.pop_front();
    guard.unlock();
    if (!TakeMessage(message.window, message.message, message.word, message.extra)) Dispatch(message);
    return true;
}

static bool ExchangePaintWanted(ThreadQueue &queue, bool wanted)
{
    std::lock_guard guard(queue.lock);
    return std::exchange(queue.paintWanted, wanted);
}

// Drawing comes last, when nothing else waits. The wish is taken back before looking, since another thread may mark a
// window and wish again while this one looks.
static bool PaintOne(ThreadQueue &queue)
{
    if (!ExchangePaintWanted(queue, false)) return false;
    Window *window = NextToPaint(&queue);
    if (!window) return false;
    ExchangePaintWanted(queue, true);   // there may be more
    window->dirty = false;
    Dispatch({window->handle, WM_PAINT, 0, 0});
    return true;
}

KPZ_EXPORT void KPZAPI HostRunMessages(DoneRoutine done, void *context)
{
    const std::shared_ptr<ThreadQueue> queue = QueueOfThisThread();
    while (!done(context)) {
        if (HandleOne(*queue) || PaintOne(*queue)) continue;
        ReleaseHeldThreads();
        WaitForMessages(*queue);
    }
}

KPZ_EXPORT void KPZAPI HostWake(HWND window) { backend::Post(window, 0, 0, 0); }

//---- Sending and posting

// Waits for the answer and meanwhile answers what others send to this thread, so that two threads that send to each
// other both get on.
static LRESULT SendAcross(ThreadQueue &target, const Message &message)
{
    const std::shared_ptr<ThreadQueue> own = QueueOfThisThread();
    SentMessage sent = {message, own, 0, false};
    {
        std::lock_guard guard(target.lock);
        if (target.closed || !QueueOf(message.window)) return 0;   // from here on its end would answer
        target.sent.push_back(&sent);
        target.arrived.notify_all();
    }
    ReleaseHeldThreads();
    std::unique_lock guard(own->lock);
    while (!sent.done) {
        own->arrived.wait(guard, [&] { return sent.done || !own->sent.empty(); });
        if (own->sent.empty()) continue;
        SentMessage *other = own->sent.front();
        own->sent.pop_front();
        guard.unlock();
        Answer(other, Dispatch(other->message));
        guard.lock();
    }
    return sent.result;
}

namespace backend
{

LRESULT Send(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    const std::shared_ptr<ThreadQueue> target = QueueOf(window);
    if (!target) return 0;
    if (target == QueueOfThisThread()) return Dispatch({window, message, word, extra});
    return SendAcross(*target, {window, message, word, extra});
}

bool Post(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    const std::shared_ptr<ThreadQueue> target = QueueOf(window);
    if (!target) return false;
    std::lock_guard guard(target->lock);
    if (target->closed) return false;
    target->posted.push_back({window, message, word, extra});
    target->arrived.notify_all();
    return true;
}

}   // namespace backend
