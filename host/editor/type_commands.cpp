// A picture made into another type is a run like an effect's: on a thread of its own, with progress, abort and undo,
// and the effects' dialogs wait for it as they do for each other.

#include "host/editor/type_commands.h"

#include "host/editor/commands.h"
#include "host/editor/conversion.h"

static constexpr uint32_t LOCK_WAIT = 5000, STACK_BYTES = 32768;   // milliseconds, bytes

// The thread's routine gets the header; the block it is part of stands first.
struct ConversionRun {
    EffectBlock block = {};
    int32_t colourType;
    OneBitMethod method;
};

static const char *LabelOfType(int32_t colourType)
{
    switch (colourType) {
    case ONE_BIT: return "Black and White";
    case GREY: return "Grey";
    case PALETTE: return "Palette";
    default: return "RGB";
    }
}

static void Convert(const ConversionRun &run, ImageRecord *image)
{
    int32_t reported = -1;
    const auto goOn = [&](int32_t done, int32_t all) {
        const auto tenths = int32_t(int64_t(done) * 10 / all);
        if (tenths != reported) IncrementProgress(image->window, image->progress, reported = tenths);
        return SharedRead(image->abortRequest) == 0;
    };
    Picture converted = Converted(PictureOf(image), run.colourType, run.method, goOn);
    if (converted.pixels) ReplacePicture(image, std::move(converted));
    else ThreadAbortedUtility(image);
}

static void RunLocked(const ConversionRun &run, ImageRecord *image)
{
    const bool objectsLocked = KPZ_GetMutexSem(image->objectLock, LOCK_WAIT);
    SharedWrite(image->abortRequest, 0);
    InitiateProgress(image->progress);
    UndoUtility(image, 1, 1, 0, 0, LabelOfType(run.colourType));
    Convert(run, image);
    KPZ_AdjustPalette(image->red, image->green, image->blue, image->paletteEntries, &image->paletteChanged,
                      image->bitsPerPixel);
    FinishProgress(image->progress);
    if (objectsLocked) KPZ_ReleaseMutexSem(image->objectLock);
}

static void KPZAPI ConversionThread(FilterHeader *header)
{
    const std::unique_ptr<ConversionRun> run(reinterpret_cast<ConversionRun *>(header->block));
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

static int32_t TypeOfCommand(int command)
{
    switch (command) {
    case PICTURE_GREY: return GREY;
    case PICTURE_PALETTE: return PALETTE;
    case PICTURE_RGB: return RGB;
    default: return ONE_BIT;
    }
}

void ConvertPicture(Editor &editor, PictureWindow &picture, int command)
{
    ImageRecord *image = picture.image;
    if (image->maskEditing) EditMask(image, false);
    auto run = std::make_unique<ConversionRun>();
    run->colourType = TypeOfCommand(command);
    run->method = command == PICTURE_ONE_BIT_DIFFUSED ? OneBitMethod::DIFFUSION : OneBitMethod::THRESHOLD;
    FilterHeader &header = run->block.header;
    header.owner = editor.host.context.window;
    header.block = &run->block;
    header.image = image;
    SharedWrite(image->runStarted, 1);
    const ThreadHandle thread = KPZ_CreateThread(ConversionThread, STACK_BYTES, &header);
    if (!thread) return;
    run.release();   // the thread's now
    SharedWrite(image->effectThread, thread);
    // The dialogs grey their controls for it.
    MiscTellFloaters(editor.host.context.floaters, ACTIVE_IMAGE_CHANGED, 0, 0);
    KPZ_SetThreadPriority(thread, NORMAL_PRIORITY);
}
