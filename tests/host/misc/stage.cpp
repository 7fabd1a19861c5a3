// One image with windows and locks for tests of VLMMISC, what may be put on it, and its whole state as text. No module
// is loaded.

#include "tests/host/misc/stage.h"

#include <cstring>

uint32_t StrideFor(int32_t bitsPerPixel, int32_t width) { return uint32_t((bitsPerPixel * width + 31) / 32 * 4); }

uint8_t *NewBytes(size_t size, int first)
{
    uint8_t *memory;
    KPZ_AllocMem(&memory, uint32_t(size), 0x301);
    for (size_t i = 0; i < size; ++i) memory[i] = uint8_t(first + int(i));
    return memory;
}

enum { DRAINED = WM_USER + 1 };

static LRESULT KPZAPI DialogProcedure(HWND window, UINT message, WPARAM word, LPARAM)
{
    auto *stage = static_cast<Stage *>(HostWindowData(window));
    if (stage && message == DRAINED) stage->drained = true;
    if (message != RUN_FINISHED || !stage) return 0;
    stage->finished = true;
    stage->finishedWord = word;
    stage->threadAtFinish = SharedRead(stage->image.effectThread);
    if (stage->onFinished) stage->onFinished();
    return 0;
}

static LRESULT KPZAPI ImageProcedure(HWND window, UINT message, WPARAM word, LPARAM)
{
    auto *stage = static_cast<Stage *>(HostWindowData(window));
    if (message != PROGRESS_CHANGED || !stage) return 0;
    stage->progress.push_back(int(word));
    if (stage->onProgress) stage->onProgress(int(word));
    return 0;
}

static void SetGreys(ImageRecord &image, int entries)
{
    image.paletteEntries = entries;
    for (int i = 0; i < entries; ++i) image.red[i] = image.green[i] = image.blue[i] = uint8_t(i * 255 / (entries - 1));
}

Stage::Stage(int32_t colourType, int32_t width, int32_t height, int32_t maskBits)
{
    image.width = width;
    image.height = height;
    image.colourType = colourType;
    image.bitsPerPixel = colourType == ONE_BIT ? 1 : colourType == RGB ? 24 : 8;
    if (colourType != RGB) SetGreys(image, colourType == ONE_BIT ? 2 : 256);
    image.pixels = NewBytes(StrideFor(image.bitsPerPixel, width) * size_t(height), 1);
    image.maskBitsPerPixel = maskBits;
    if (maskBits) image.mask = image.secondMask = NewBytes(StrideFor(maskBits, width) * size_t(height), 101);
    image.cropArea.image = &image;
    image.imageLock = HostCreateSemaphore();
    image.objectLock = HostCreateSemaphore();
    image.progress = MiscCreateProgress();
    image.nextObjectNumber = 1;
    image.window = HostCreateWindow("image", ImageProcedure, this);
    dialog = HostCreateWindow("dialog", DialogProcedure, this);
    block.common.view.blockSize = sizeof(TestBlock);
    block.common.header.block = &block.common;
    block.common.header.image = &image;
    InitializeFilter(&block.common.header, &image);
    block.common.header.owner = dialog;
    block.common.previewOn = &previewOn;
    strcpy(block.common.header.title, "Test");
}

Stage::~Stage()
{
    MiscEndPreviews(&image);
    MiscForgetUndo(&image);
    MiscDestroyProgress(image.progress);
    HostDestroySemaphore(image.imageLock);
    HostDestroySemaphore(image.objectLock);
    KPZ_FreeMem(image.displayCopy);
    MiscFreePicture(&image);
    HostDestroyWindow(image.window);
    HostDestroyWindow(dialog);
}

FloatingObject *AddObject(Stage &stage, int32_t x, int32_t y, int32_t width, int32_t height, uint8_t pixel,
                          uint8_t mask, bool selected)
{
    ImageRecord &image = stage.image;
    const bool smooth = image.colourType == GREY || image.colourType == RGB;
    const size_t pixelBytes = StrideFor(image.bitsPerPixel, width) * size_t(height);
    const size_t maskBytes = StrideFor(smooth ? 8 : 1, width) * size_t(height);
    auto *object = reinterpret_cast<FloatingObject *>(NewBytes(sizeof(FloatingObject) + pixelBytes + maskBytes, 0));
    *object = {};
    object->mark[0] = 100;
    object->mark[2] = 1;
    object->selected = selected;
    object->number = int16_t(image.nextObjectNumber++);
    object->width = int16_t(width);
    object->height = int16_t(height);
    object->x = x;
    object->y = y;
    object->pixels = reinterpret_cast<uint8_t *>(object + 1);
    memset(object->pixels, pixel, pixelBytes);
    memset(object->pixels + pixelBytes, mask, maskBytes);
    ObjectList &list = image.objectList;
    if (!list.objects) {
        list.capacity = 1024;
        list.objects = reinterpret_cast<FloatingObject **>(NewBytes(1024 * sizeof(FloatingObject *), 0));
    }
    list.objects[list.count++] = object;
    return object;
}

void Select(Stage &stage, int32_t left, int32_t top, int32_t right, int32_t bottom)
{
    Selection &selection = stage.image.selection;
    KPZ_FreeMem(selection.points);
    auto *points = reinterpret_cast<POINT *>(NewBytes(4 * sizeof(POINT), 0));
    points[0] = {left, top};
    points[1] = {right, top};
    points[2] = {right, bottom};
    points[3] = {left, bottom};
    selection = {4, left, top, right, bottom, points};
}

void KeepBase(Stage &stage)
{
    ImageRecord &image = stage.image;
    BasePicture &base = image.base;
    const size_t size = StrideFor(image.bitsPerPixel, image.width) * size_t(image.height);
    base.pixels = NewBytes(size, 0);
    memcpy(base.pixels, image.pixels, size);
    CopyDescription(base, image);
}

//---- Runs

static BOOL KPZAPI AskDone(void *context) { return (*static_cast<const std::function<bool()> *>(context))(); }

void WaitUntil(const std::function<bool()> &done)
{
    HostRunMessages(AskDone, const_cast<std::function<bool()> *>(&done));
}

void StartThread(Stage &stage, ThreadRoutine routine, FilterHeader &header)
{
    stage.finished = false;
    stage.progress.clear();
    SharedWrite(stage.image.runStarted, 1);
    const ThreadHandle thread = KPZ_CreateThread(routine, 32768, &header);
    SharedWrite(stage.image.effectThread, thread);
    KPZ_SetThreadPriority(thread, header.priority);
}

void StartRun(Stage &stage, WorkerRoutine worker, int32_t mode, int32_t amount)
{
    FilterHeader &header = stage.block.common.header;
    header.worker = worker;
    header.previewMode = mode;
    stage.block.amount = amount;
    StartThread(stage, FilterThread, header);
}

void WaitForEnd(Stage &stage)
{
    WaitUntil([&stage] { return stage.finished && !HostRunUnderWay(&stage.image); });
    HostWaitForThreads();
    stage.drained = false;
    KPZ_SendMsgNoWait(stage.dialog, DRAINED, 0, 0);   // behind the last progress
    WaitUntil([&stage] { return stage.drained; });
}

void RunWorker(Stage &stage, WorkerRoutine worker, int32_t mode, int32_t amount)
{
    StartRun(stage, worker, mode, amount);
    WaitForEnd(stage);
}

static void AddToPlane(const ImageView &view, uint8_t *plane, int32_t bitsPerPixel, int32_t amount)
{
    const uint32_t stride = StrideFor(bitsPerPixel, view.width);
    for (int32_t y = 0; y < view.height && !SharedRead(*view.abortFlag); ++y) {
        IncrementProgress(view.progressWindow, view.progress, view.height > 1 ? y * 10 / (view.height - 1) : 10);
        for (uint32_t i = 0; i < stride; ++i) plane[y * stride + i] = uint8_t(plane[y * stride + i] + amount);
    }
}

void KPZAPI AddAmount(EffectBlock *block)
{
    const ImageView view = block->view;
    const int32_t amount = reinterpret_cast<TestBlock *>(block)->amount;
    AddToPlane(view, view.pixels, view.bitsPerPixel, amount);
    if (!view.mask) return;
    ResetProgress(view.progressWindow, view.progress);
    AddToPlane(view, view.mask, view.maskBitsPerPixel, amount);
}

//---- Bytes

template <typename Value> static void Add(std::string &bytes, const Value &value)
{
    bytes.append(reinterpret_cast<const char *>(&value), sizeof value);
}

static void AddPlane(std::string &bytes, const uint8_t *plane, int32_t bitsPerPixel, int32_t width, int32_t height)
{
    Add(bytes, plane != nullptr);
    if (plane) bytes.append(reinterpret_cast<const char *>(plane), StrideFor(bitsPerPixel, width) * size_t(height));
}

static void AddObjectBytes(std::string &bytes, const ImageRecord &image, const FloatingObject &object)
{
    const int32_t maskBits = image.colourType == GREY || image.colourType == RGB ? 8 : 1;
    const uint32_t rowBytes = StrideFor(image.bitsPerPixel, object.width) + StrideFor(maskBits, object.width);
    const size_t size = rowBytes * size_t(object.height);
    FloatingObject header = object;
    header.pixels = nullptr;
    for (int32_t number : {int32_t(header.selected), int32_t(header.number), int32_t(header.width),
                           int32_t(header.height), header.x, header.y}) {
        Add(bytes, number);
    }
    bytes.append(reinterpret_cast<const char *>(header.reserved), sizeof header.reserved);
    bytes.append(reinterpret_cast<const char *>(object.pixels), size);
}

std::string BytesOf(const ImageRecord &image)
{
    std::string bytes;
    for (int32_t number :
         {image.width, image.height, image.bitsPerPixel, image.colourType, image.paletteEntries,
          image.mask ? image.maskBitsPerPixel : 0, image.maskEditing, image.nextObjectNumber, image.objectList.count,
          image.selection.pointCount, image.selection.left, image.selection.top, image.selection.right,
          image.selection.bottom, image.objectOutline.pointCount}) {
        Add(bytes, number);
    }
    for (const auto *table : {&image.red, &image.green, &image.blue}) Add(bytes, *table);
    AddPlane(bytes, image.pixels, image.bitsPerPixel, image.width, image.height);
    AddPlane(bytes, image.mask, image.maskBitsPerPixel, image.width, image.height);
    AddPlane(bytes, image.secondMask, image.maskBitsPerPixel, image.width, image.height);
    AddPlane(bytes, image.base.pixels, image.base.bitsPerPixel, image.base.width, image.base.height);
    AddPlane(bytes, image.base.mask, image.maskBitsPerPixel, image.base.width, image.base.height);
    for (const auto *table : {&image.base.red, &image.base.green, &image.base.blue}) Add(bytes, *table);
    for (int32_t i = 0; i < image.selection.pointCount; ++i) Add(bytes, image.selection.points[i]);
    for (int32_t i = 0; i < image.objectOutline.pointCount; ++i) Add(bytes, image.objectOutline.points[i]);
    for (int32_t i = 0; i < image.objectList.count; ++i) AddObjectBytes(bytes, image, *image.objectList.objects[i]);
    return bytes;
}

std::string PixelsOf(const ImageRecord &image)
{
    return std::string(reinterpret_cast<const char *>(image.pixels),
                       StrideFor(image.bitsPerPixel, image.width) * size_t(image.height));
}

//---- The log

std::vector<std::string> LoggedCalls(bool runThreadOnly)
{
    std::vector<std::string> calls;
    LoggedCall entry;
    for (int32_t i = 0; HostLogEntry(i, &entry); ++i) {
        const std::string call = entry.call;
        if (call == "KPZ_AllocMem" || call == "KPZ_FreeMem" || (runThreadOnly && !entry.onRunThread)) continue;
        calls.push_back(call);
    }
    return calls;
}
