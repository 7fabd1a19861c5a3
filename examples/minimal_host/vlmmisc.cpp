// VLMMISC of the minimal host: the set-up and the thread of a run, undo of one step, progress, and the list of open
// dialogs. Its pictures have no mask and no floating objects, so that every scope means the picture.

#include "examples/minimal_host/minimal_host.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <stdio.h>
#include <string.h>

static uint32_t PlaneBytes(const ImageRecord &image)
{
    return uint32_t((image.bitsPerPixel * image.width + 31) >> 5) * 4 * uint32_t(image.height);
}

//---- Setting up and running

// What stands in the block already (its size, the header's image and block, the parameters) is left alone.
static void FillView(ImageView &view, ImageRecord &image)
{
    view.width = image.width;
    view.height = image.height;
    view.bitsPerPixel = image.bitsPerPixel;
    view.paletteEntries = &image.paletteEntries;
    view.colourType = image.colourType;
    view.pixels = image.pixels;
    view.red = image.red;
    view.green = image.green;
    view.blue = image.blue;
    view.abortFlag = &image.abortRequest;
    view.mask = nullptr;
    view.maskInUse = 0;
    view.maskBitsPerPixel = 0;
    view.progressWindow = image.window;
    view.progress = image.progress;
}

KPZ_EXPORT void KPZAPI InitializeFilter(FilterHeader *header, ImageRecord *image)
{
    FillView(header->block->view, *image);
    header->worker = nullptr;
    header->hostField = nullptr;
    header->previewMode = SCOPE_IMAGE;
    header->title[0] = 0;
}

static void RunWorker(FilterHeader &header, ImageRecord &image)
{
    SharedWrite(image.abortRequest, 0);
    UndoUtility(&image, 1, 1, 0, 0, header.title);
    FillView(header.block->view, image);
    InitiateProgress(image.progress);
    header.worker(header.block);
    if (SharedRead(image.abortRequest)) ThreadAbortedUtility(&image);
    FinishProgress(image.progress);
}

// The effect thread is cleared before the dialog hears of the end, and the dialog is told last: what it finds then is
// an image at rest. With a display of more than 8 bits no copy and no palette has to follow the picture.
KPZ_EXPORT void KPZAPI FilterThread(FilterHeader *header)
{
    ImageRecord &image = *header->image;
    HWND dialog = header->owner;
    if (KPZ_GetMutexSem(image.imageLock, 5000)) {
        if (KPZ_GetMutexSem(image.objectLock, 5000)) {
            RunWorker(*header, image);
            KPZ_ReleaseMutexSem(image.objectLock);
        }
        KPZ_ReleaseMutexSem(image.imageLock);
    }
    SharedWrite(image.effectThread, nullptr);
    KPZ_SendMsgAndWait(dialog, RUN_FINISHED, reinterpret_cast<WPARAM>(image.window), 0);
    KPZ_SendMsgNoWait(image.window, DIALOG_RUN_ENDED, reinterpret_cast<WPARAM>(dialog),
                      reinterpret_cast<LPARAM>(&image));
}

//---- Undo and progress

// The one undo step of each image. Runs of several go side by side.
static std::map<const ImageRecord *, std::vector<uint8_t>> steps;
static std::mutex stepsGuard;

KPZ_EXPORT void KPZAPI UndoUtility(ImageRecord *image, int32_t, int32_t, int32_t, int32_t, const char *label)
{
    const std::lock_guard<std::mutex> hold(stepsGuard);
    steps[image].assign(image->pixels, image->pixels + PlaneBytes(*image));
    printf("undo step: %s\n", label ? label : "");
}

KPZ_EXPORT void KPZAPI ThreadAbortedUtility(ImageRecord *image)
{
    const std::lock_guard<std::mutex> hold(stepsGuard);
    std::copy(steps[image].begin(), steps[image].end(), image->pixels);
    steps.erase(image);
}

KPZ_EXPORT int32_t KPZAPI HostUndoSteps(const ImageRecord *image)
{
    const std::lock_guard<std::mutex> hold(stepsGuard);
    return int32_t(steps.count(image));
}

KPZ_EXPORT void KPZAPI HostForgetUndo(const ImageRecord *image)
{
    const std::lock_guard<std::mutex> hold(stepsGuard);
    steps.erase(image);
}

KPZ_EXPORT void KPZAPI IncrementProgress(HWND, ProgressRecord *progress, int32_t tenths)
{
    if (progress) SharedWrite(progress->tenths, tenths);
}

KPZ_EXPORT void KPZAPI ResetProgress(HWND window, ProgressRecord *progress) { IncrementProgress(window, progress, 0); }
KPZ_EXPORT void KPZAPI InitiateProgress(ProgressRecord *progress) { IncrementProgress(nullptr, progress, 0); }
KPZ_EXPORT void KPZAPI FinishProgress(ProgressRecord *) {}   // what was reached stays to be looked at

//---- Dialogs, menus, help

KPZ_EXPORT void KPZAPI AddToFloaters(HWND dialog, FloaterList *floaters)
{
    floaters->dialogs.push_back(dialog);
    KPZ_SendMsgNoWait(floaters->hostWindow, DIALOG_OPENED, reinterpret_cast<WPARAM>(dialog), 0);
}

KPZ_EXPORT void KPZAPI RemoveFromFloaters(HWND dialog, FloaterList *floaters) { std::erase(floaters->dialogs, dialog); }

KPZ_EXPORT void KPZAPI ChooseMenus(HostContext *host) { KPZ_SendMsgAndWait(host->window, MENUS_CHANGED, 0, 0); }

KPZ_EXPORT void KPZAPI CenterWindow(HWND) {}   // no window of this host is on the screen

KPZ_EXPORT void KPZAPI RunHelp(int32_t context) { printf("help: page %d\n", int(context)); }

//---- What other effects need

NOT_SERVED(INT_PTR, HelperDialog, (HWND, UINT, WPARAM, LPARAM))
NOT_SERVED(void, Update8BitVersion,
           (const uint8_t *, uint8_t **, int32_t, int32_t, const uint8_t *, const uint8_t *, const uint8_t *, int32_t))
NOT_SERVED(int32_t, FindClosestColor, (uint32_t, const uint8_t *, const uint8_t *, const uint8_t *, int32_t))
NOT_SERVED(char *, LoadFile, (char *, const char *, const char *, int32_t, HWND, int32_t))
NOT_SERVED(int32_t, SaveFile, (const char *, int32_t, int32_t, const char *, const char *, int32_t, HWND))
NOT_SERVED(void, Relocate, (const RelocateRequest *))
NOT_SERVED(void, SwirlFunction,
           (uint8_t *, uint8_t *, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t, HWND, ProgressRecord *,
            int32_t *))
NOT_SERVED(void, ShearFunction,
           (uint8_t **, int32_t *, int32_t *, int32_t, int32_t, int32_t, int32_t, int32_t, HWND, ProgressRecord *,
            int32_t, int32_t *))
NOT_SERVED(void, FlipPic, (uint8_t *, int32_t, int32_t, int32_t, int32_t))
NOT_SERVED(int32_t, Cropping, (const CropArea *, CropRequest *))
NOT_SERVED(int32_t, CountSelectedObjects, (const ObjectList *))
NOT_SERVED(void, CreateOutlineOfObjects, (const ObjectList *, ObjectOutline *, SemaphoreHandle))
NOT_SERVED(void, FastPasteInto, (ImageRecord *, const FloatingObject *, int32_t))
NOT_SERVED(void, SizeWindow, (HWND, int32_t, int32_t, int32_t, int32_t))
