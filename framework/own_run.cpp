// The frame of runs that change sizes, and the planes, masks and records of objects that they build anew. What becomes
// of the pixels in a change is the effect's: it comes as a PlaneChange.

#include "framework/own_run.h"

#include "framework/worker.h"

static constexpr uint32_t LOCK_WAIT = 5000;   // milliseconds

// What was never allocated is not handed back: a host need not let null pass.
static void FreeIfAny(void *memory)
{
    if (memory) KPZ_FreeMem(memory);
}

static void *Allocate(size_t size)
{
    void *memory;
    KPZ_AllocMem(&memory, uint32_t(size), Scratch::ALLOCATION_FLAGS);
    return memory;
}

//---- The frame

static void ReleaseLocks(OwnRun &run)
{
    if (run.objectsLocked) KPZ_ReleaseMutexSem(run.image->objectLock);
    if (run.imageLocked) KPZ_ReleaseMutexSem(run.image->imageLock);
    FreeIfAny(run.selected);
}

// The image may have gone by now.
static void TellAndLeave(const OwnRun &run)
{
    KPZ_SendMsgAndWait(run.owner, RUN_FINISHED, reinterpret_cast<WPARAM>(run.window), 0);
    KPZ_DestroyMsgQueue(run.queue);
    KPZ_Terminate(run.anchor);
}

bool BeginRun(OwnRun &run, const FilterHeader *header)
{
    run = {};
    run.image = header->image;
    run.owner = header->owner;
    run.window = header->image->window;
    run.anchor = KPZ_Initialize();
    run.queue = KPZ_CreateMsgQueue(run.anchor, 0);
    KPZ_CancelShutdown(run.queue, 1);
    run.imageLocked = KPZ_GetMutexSem(run.image->imageLock, LOCK_WAIT);
    if (!run.imageLocked) GiveUpRun(run);
    return run.imageLocked;
}

bool LockObjects(OwnRun &run)
{
    run.objectsLocked = KPZ_GetMutexSem(run.image->objectLock, LOCK_WAIT);
    SharedWrite(run.image->abortRequest, 0);
    return run.objectsLocked;
}

void GiveUpRun(OwnRun &run)
{
    ReleaseLocks(run);
    SharedWrite(run.image->effectThread, nullptr);
    TellAndLeave(run);
}

void ListSelectedObjects(OwnRun &run)
{
    const ObjectList &list = run.image->objectList;
    if (CountSelectedObjects(&list) == 0) return;
    run.selected = static_cast<int32_t *>(Allocate(size_t(list.count) * sizeof(int32_t)));
    for (int32_t i = 0; i < list.count; ++i)
        if (list.objects[i]->selected) run.selected[run.selectedCount++] = i;
}

// The dialogs' thread may look at a running image's depth, which is not written when it stays.
static void PutTogether(ImageRecord *image)
{
    const BasePicture &base = image->base;
    FreeIfAny(image->pixels);
    image->pixels = nullptr;   // a host may leave the run where it gets no memory
    if (image->bitsPerPixel != base.bitsPerPixel) image->bitsPerPixel = base.bitsPerPixel;
    image->width = base.width;
    image->height = base.height;
    CopyPalette(*image, base);
    const size_t size = size_t(RowStride(base.bitsPerPixel, base.width)) * base.height;
    image->pixels = static_cast<uint8_t *>(Allocate(size));
    memcpy(image->pixels, base.pixels, size);
    for (int32_t i = 0; i < image->objectList.count; ++i) FastPasteInto(image, image->objectList.objects[i], 0);
}

void FinishPicture(const OwnRun &run)
{
    ImageRecord *image = run.image;
    if (AbortRequested(&image->abortRequest)) ThreadAbortedUtility(image);
    if (image->base.pixels) PutTogether(image);
    if (run.selectedCount > 0) CreateOutlineOfObjects(&image->objectList, &image->objectOutline, image->objectLock);
}

void FinishDisplay(const OwnRun &run)
{
    ImageRecord *image = run.image;
    KPZ_SetThreadPriority(nullptr, NORMAL_PRIORITY);
    if (image->bitsPerPixel == 24 && KPZ_GetDisplayDepth() == 8)
        Update8BitVersion(image->pixels, &image->displayCopy, image->width, image->height, image->red, image->green,
                          image->blue, 0);
    KPZ_AdjustPalette(image->red, image->green, image->blue, image->paletteEntries, &image->paletteChanged,
                      image->bitsPerPixel);
}

static PlaneSize ShownSize(const ImageRecord *image)
{
    const Selection &selection = image->selection;
    if (selection.pointCount == 0) return {image->width, image->height};
    return {selection.right - selection.left + 1, selection.bottom - selection.top + 1};
}

// Once the effect thread is cleared the dialog and the image may go: what is needed after that is read before it.
void EndRun(OwnRun &run, int32_t scope)
{
    const PlaneSize size = ShownSize(run.image);
    const int32_t placementX = run.image->windowPlacement[0], placementY = run.image->windowPlacement[1];
    ReleaseLocks(run);
    SharedWrite(run.image->effectThread, nullptr);
    if (scope == SCOPE_OBJECTS) KPZ_InvalidateRect(KPZ_GetClientHwnd(run.window, 0), nullptr, FALSE);
    else SizeWindow(run.window, placementX, placementY, size.width, size.height);
    TellAndLeave(run);
}

//---- Changes of size

static void ChangeMask(ImageRecord *image, PlaneSize &size, const PlaneChange &change)
{
    if (image->secondMask != image->mask) FreeIfAny(image->secondMask);
    image->secondMask = nullptr;
    change(&image->mask, &size.width, &size.height, true);
    image->secondMask = image->mask;
}

PlaneSize ChangePicture(ImageRecord *image, const PlaneChange &change)
{
    PlaneSize size = {image->width, image->height};
    change(image->base.pixels ? &image->base.pixels : &image->pixels, &image->width, &image->height, false);
    if (image->mask) {
        image->width = size.width;
        image->height = size.height;
        ChangeMask(image, size, change);
    }
    image->base.width = image->width;
    image->base.height = image->height;
    return size;
}

static uint8_t *CopyOf(const uint8_t *bytes, size_t size)
{
    auto *copy = static_cast<uint8_t *>(Allocate(size));
    memcpy(copy, bytes, size);
    return copy;
}

FloatingObject *ChangeObject(ImageRecord *image, int32_t index, const PlaneChange &change)
{
    FloatingObject *old = image->objectList.objects[index];
    const size_t pixelBytes = size_t(RowStride(image->bitsPerPixel, old->width)) * old->height;
    const size_t maskBytes = size_t(RowStride(MaskBitsOf(image->colourType), old->width)) * old->height;
    PlaneSize maskSize = {old->width, old->height};
    ObjectPlanes planes = {CopyOf(old->pixels, pixelBytes), CopyOf(old->pixels + pixelBytes, maskBytes), old->width,
                           old->height};
    change(&planes.pixels, &planes.width, &planes.height, false);
    change(&planes.mask, &maskSize.width, &maskSize.height, true);

    FloatingObject *object = BuildObject(image, *old, planes);
    if (!object) return nullptr;
    KPZ_FreeMem(old);
    image->objectList.objects[index] = object;
    return object;
}

FloatingObject *BuildObject(const ImageRecord *image, const FloatingObject &header, const ObjectPlanes &planes)
{
    FloatingObject *object = nullptr;
    if (planes.width <= INT16_MAX && planes.height <= INT16_MAX) {
        const size_t pixelBytes = size_t(RowStride(image->bitsPerPixel, planes.width)) * planes.height;
        const size_t maskBytes = size_t(RowStride(MaskBitsOf(image->colourType), planes.width)) * planes.height;
        object = static_cast<FloatingObject *>(Allocate(sizeof(FloatingObject) + pixelBytes + maskBytes));
        *object = header;
        object->width = int16_t(planes.width);
        object->height = int16_t(planes.height);
        object->pixels = reinterpret_cast<uint8_t *>(object + 1);
        memcpy(object->pixels, planes.pixels, pixelBytes);
        memcpy(object->pixels + pixelBytes, planes.mask, maskBytes);
    }
    KPZ_FreeMem(planes.pixels);
    KPZ_FreeMem(planes.mask);
    return object;
}

static void KeepBase(ImageRecord *image)
{
    BasePicture &base = image->base;
    CopyDescription(base, *image);
    base.pixels = CopyOf(image->pixels, size_t(RowStride(base.bitsPerPixel, base.width)) * base.height);
}

// The list grows while one entry of it is still free.
void AddObject(ImageRecord *image, FloatingObject *object)
{
    constexpr int32_t GROWTH = 1024;
    if (!image->base.pixels) KeepBase(image);
    ObjectList &list = image->objectList;
    if (list.count >= list.capacity - 1) {
        const size_t size = size_t(list.capacity + GROWTH) * sizeof(FloatingObject *);
        auto **objects = static_cast<FloatingObject **>(Allocate(size));
        if (list.count > 0) memcpy(objects, list.objects, size_t(list.count) * sizeof *objects);
        FreeIfAny(list.objects);
        list.objects = objects;
        list.capacity += GROWTH;
    }
    list.objects[list.count++] = object;
}
