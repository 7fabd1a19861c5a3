// See picture_runs.h. What the runs make is their callers'.

#include "host/editor/picture_runs.h"

static constexpr uint32_t LOCK_WAIT = 5000, STACK_BYTES = 65536;   // milliseconds, bytes

// The thread's routine gets the header; the block it is part of stands first.
struct PictureRun {
    EffectBlock block = {};
    const char *label;
    Places places;
    MakesPicture makes;
};

static void Make(const PictureRun &run, ImageRecord *image)
{
    int32_t reported = -1;
    const auto goOn = [&](int32_t done, int32_t all) {
        const auto tenths = int32_t(int64_t(done) * 10 / all);
        if (tenths != reported) IncrementProgress(image->window, image->progress, reported = tenths);
        return SharedRead(image->abortRequest) == 0;
    };
    Picture made = run.makes(PictureOf(image), goOn);
    if (!made.pixels) return ThreadAbortedUtility(image);
    ReplacePicture(image, std::move(made));
    if (run.places == Places::STAY) return;
    KPZ_FreeMem(image->selection.points);
    image->selection = {};
}

static void RunLocked(const PictureRun &run, ImageRecord *image)
{
    const bool objectsLocked = KPZ_GetMutexSem(image->objectLock, LOCK_WAIT);
    SharedWrite(image->abortRequest, 0);
    InitiateProgress(image->progress);
    UndoUtility(image, 1, 1, 0, 0, run.label);
    Make(run, image);
    KPZ_AdjustPalette(image->red, image->green, image->blue, image->paletteEntries, &image->paletteChanged,
                      image->bitsPerPixel);
    FinishProgress(image->progress);
    if (objectsLocked) KPZ_ReleaseMutexSem(image->objectLock);
}

static void KPZAPI RunThread(FilterHeader *header)
{
    const std::unique_ptr<PictureRun> run(reinterpret_cast<PictureRun *>(header->block));
    ImageRecord *image = header->image;
    const HWND window = image->window, owner = header->owner;
    const AnchorHandle anchor = KPZ_Initialize();
    const QueueHandle queue = KPZ_CreateMsgQueue(anchor, 0);
    KPZ_CancelShutdown(queue, 1);
    if (KPZ_GetMutexSem(image->imageLock, LOCK_WAIT)) {
        RunLocked(*run, image);
        KPZ_ReleaseMutexSem(image->imageLock);
    }
    SharedWrite(image->effectThread, nullptr);
    KPZ_SendMsgAndWait(owner, RUN_FINISHED, reinterpret_cast<WPARAM>(window), 0);
    KPZ_DestroyMsgQueue(queue);
    KPZ_Terminate(anchor);
}

void StartPictureRun(Editor &editor, PictureWindow &picture, const char *label, Places places, MakesPicture makes)
{
    ImageRecord *image = picture.image;
    if (image->maskEditing) EditMask(image, false);
    auto run = std::make_unique<PictureRun>();
    run->label = label;
    run->places = places;
    run->makes = std::move(makes);
    FilterHeader &header = run->block.header;
    header.owner = editor.host.context.window;
    header.block = &run->block;
    header.image = image;
    SharedWrite(image->runStarted, 1);
    const ThreadHandle thread = KPZ_CreateThread(RunThread, STACK_BYTES, &header);
    if (!thread) return;
    run.release();   // the thread's now
    SharedWrite(image->effectThread, thread);
    // The dialogs grey their controls for it.
    MiscTellFloaters(editor.host.context.floaters, ACTIVE_IMAGE_CHANGED, 0, 0);
    KPZ_SetThreadPriority(thread, NORMAL_PRIORITY);
}
