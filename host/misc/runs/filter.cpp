// Setting up an effect's block, and the thread that runs the effect on an image.

#include "host/misc/joining.h"
#include "host/misc/misc.h"
#include "host/misc/runs/scope.h"
#include "host/misc/runs/seeds.h"
#include "host/misc/runs/undo.h"

#include <chrono>
#include <cstring>
#include <new>
#include <thread>

static constexpr uint32_t LOCK_WAIT = 5000;   // milliseconds

static bool HasSelectedObjects(const ObjectList &list)
{
    for (int32_t i = 0; i < list.count; ++i) {
        if (list.objects[i]->selected) return true;
    }
    return false;
}

// A running image's size, planes and objects are its run thread's; its view is left empty until the next run fills it.
void KPZAPI InitializeFilter(FilterHeader *header, ImageRecord *image)
{
    LogCall("InitializeFilter", nullptr, header, image);
    const bool running = SharedRead(image->effectThread) != nullptr;
    ImageView &view = header->block->view;
    const int32_t blockSize = view.blockSize;
    view = {};
    view.blockSize = blockSize;
    if (!running) FillView(*header->block, *image);
    header->worker = nullptr;
    header->hostField = nullptr;
    header->previewMode = !running && HasSelectedObjects(image->objectList) ? SCOPE_OBJECTS : SCOPE_IMAGE;
    memset(header->title, 0, sizeof header->title);
}

//---- The run

struct RunThread {
    AnchorHandle anchor;
    QueueHandle queue;
};

static RunThread BeginThread()
{
    const AnchorHandle anchor = KPZ_Initialize();
    const QueueHandle queue = KPZ_CreateMsgQueue(anchor, 0);
    KPZ_CancelShutdown(queue, 1);
    return {anchor, queue};
}

static void EndThread(const RunThread &thread)
{
    KPZ_DestroyMsgQueue(thread.queue);
    KPZ_Terminate(thread.anchor);
}

static void RecordUndo(const FilterHeader &header, int32_t mode)
{
    ImageRecord *image = header.image;
    const bool objects = mode == SCOPE_OBJECTS;
    const bool newObject = mode == SCOPE_NEW_OBJECT;
    const bool picture = !objects && !newObject;
    UndoUtility(image, picture, picture, objects, newObject, header.title);
}

static void RunLocked(FilterHeader &header)
{
    ImageRecord *image = header.image;
    const bool objectsLocked = KPZ_GetMutexSem(image->objectLock, LOCK_WAIT);
    SharedWrite(image->abortRequest, 0);
    InitiateProgress(image->progress);
    const int32_t mode =
        SharedRead(header.previewMode);   // once: what the dialog chooses from now on is the next run's
    RecordUndo(header, mode);
    if (header.worker) RunScope(*header.block, *image, mode);
    if (SharedRead(image->abortRequest)) ThreadAbortedUtility(image);
    else EndSeededRun(image);
    FillView(*header.block, *image);
    KPZ_SetThreadPriority(nullptr, NORMAL_PRIORITY);
    MakeDisplayCurrent(image);
    FinishProgress(image->progress);
    if (objectsLocked) KPZ_ReleaseMutexSem(image->objectLock);
}

// Once the effect thread is cleared the dialog may close and the block may go: what is needed after that is read
// before it.
static void RunFilter(FilterHeader *header)
{
    const RunThread thread = BeginThread();
    ImageRecord *image = header->image;
    const HWND owner = header->owner, window = image->window;
    ForgetLastAbort(image);
    const bool locked = KPZ_GetMutexSem(image->imageLock, LOCK_WAIT);
    if (locked) {
        RunLocked(*header);
        KPZ_ReleaseMutexSem(image->imageLock);
    }
    SharedWrite(image->effectThread, nullptr);
    if (locked) KPZ_InvalidateRect(KPZ_GetClientHwnd(window, 0), nullptr, FALSE);
    KPZ_SendMsgAndWait(owner, RUN_FINISHED, reinterpret_cast<WPARAM>(window), 0);
    EndThread(thread);
}

// What this library's own C++ runtime cannot get is caught where its own frames end: see host/api/leaving.cpp.
void KPZAPI FilterThread(FilterHeader *header)
{
    LogCall("FilterThread", nullptr, header);
    try {
        RunFilter(header);
    } catch (const std::bad_alloc &) {
        HostLeaveWork();
    }
}

//---- A run's end

// Its dialog must not wait for ever: what cannot tell it tries again, three seconds long, and then the program ends.
static void TellDialog(HWND dialog, HWND window)
{
    for (int tries = 0; tries < 300; ++tries) {
        try {
            KPZ_InvalidateRect(KPZ_GetClientHwnd(window, 0), nullptr, FALSE);
            KPZ_SendMsgAndWait(dialog, RUN_FINISHED, reinterpret_cast<WPARAM>(window), 0);
            return;
        } catch (const std::bad_alloc &) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    HostEndForMemory();
}

// Takes up a run, anyone's, where it was left for want of memory.
static void EndLeftRun(ImageRecord *image, HWND dialog)
{
    TakeRunBack(image, false);
    FinishProgress(image->progress);
    HostReleaseWholly(image->objectLock);
    HostReleaseWholly(image->imageLock);
    const HWND window = image->window;
    SharedWrite(image->effectThread, nullptr);
    TellDialog(dialog, window);
}

// FilterThread's runs have drawn the next seed by then, before their dialogs were told; those that effects bring have
// not.
void KPZAPI OnRunEnd(ImageRecord *image, HWND dialog, BOOL left)
{
    if (left) EndLeftRun(image, dialog);
    else if (!MiscLastRunAborted(image)) EndSeededRun(image);
}
