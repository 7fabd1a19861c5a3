// Runs a worker on a picture as the host does, and writes down its reports and the pixels it asks Relocate for. Locks,
// threads and undo are left out; those are the host's tests'.

#include "tests/support/run_worker.h"

#include "host/misc/misc.h"
#include "tests/support/watched_calls.h"

#include <assert.h>
#include <string.h>

// The run under way on this thread; null when none is, and then reports pass through unseen.
struct RunWatch {
    WorkerRun run;
    const ImageView *view;
    int32_t reportsLeft;   // until the abort flag is set; below 0: never
    bool recordsRelocations;
};
static thread_local RunWatch *watched;

static void CheckArguments(HWND window, const ProgressRecord *progress)
{
    if (window != watched->view->progressWindow || progress != watched->view->progress) ++watched->run.strayReports;
}

void ProgressWasReported(HWND window, const ProgressRecord *progress, int32_t tenths)
{
    if (!watched) return;
    CheckArguments(window, progress);
    watched->run.progress.push_back(tenths);
    if (watched->reportsLeft > 0 && --watched->reportsLeft == 0) SharedWrite(*watched->view->abortFlag, 1);
}

void ProgressWasReset(HWND window, const ProgressRecord *progress)
{
    if (!watched) return;
    CheckArguments(window, progress);
    watched->run.progress.push_back(PROGRESS_RESET);
}

//---- Pixels fetched by Relocate

// Which of a plane's bytes an address is; at least `size` when it lies elsewhere.
static uintptr_t OffsetIn(const uint8_t *plane, const uint8_t *address)
{
    return reinterpret_cast<uintptr_t>(address) - reinterpret_cast<uintptr_t>(plane);
}

// One-bit pixels are reached through the plane's first byte.
static bool FindPlace(RelocateCall &call, const uint8_t *plane, int32_t bitsPerPixel)
{
    const RelocateRequest &request = call.request;
    const uintptr_t stride = uintptr_t(RowStride(bitsPerPixel, watched->view->width));
    const uintptr_t offset = OffsetIn(plane, request.destination);
    const bool ofBits = bitsPerPixel == 1;
    if (!plane || offset >= stride * uintptr_t(watched->view->height)) return false;
    if ((request.colourType == ONE_BIT) != ofBits || (ofBits && offset != 0)) return false;
    call.x = ofBits ? request.x : int32_t(offset % stride / uintptr_t(bitsPerPixel / 8));
    call.y = ofBits ? request.y : int32_t(offset / stride);
    return true;
}

void PixelIsRelocated(const RelocateRequest &request)
{
    if (!watched || !watched->recordsRelocations) return;
    const ImageView &view = *watched->view;
    RelocateCall call = {request, false, -1, -1};
    call.ofMask = !FindPlace(call, view.pixels, view.bitsPerPixel) && FindPlace(call, view.mask, view.maskBitsPerPixel);
    watched->run.relocations.push_back(call);
}

std::vector<int32_t> ProgressOfRows(int32_t rows)
{
    std::vector<int32_t> progress;
    for (int32_t y = 0; y < rows; ++y) progress.push_back(rows == 1 ? 10 : y * 10 / (rows - 1));
    return progress;
}

static void FillView(ImageView &view, Picture &picture, const EffectDescriptor &effect, const WorkerOptions &options)
{
    view.blockSize = effect.blockSize;
    view.width = picture.width;
    view.height = picture.height;
    view.bitsPerPixel = picture.bitsPerPixel;
    view.paletteEntries = &picture.paletteEntries;
    view.colourType = picture.colourType;
    view.pixels = picture.pixels.get();
    view.red = picture.red;
    view.green = picture.green;
    view.blue = picture.blue;
    view.mask = picture.mask.get();
    view.maskInUse = options.maskInUse;
    view.maskBitsPerPixel = picture.maskBitsPerPixel;
}

static EffectBlock *MakeBlock(const EffectDescriptor &effect, Picture &picture, const void *parameters, size_t size,
                              const WorkerOptions &options)
{
    // The compiler may round the block up to a pointer's alignment.
    assert(sizeof(EffectBlock) + size <= size_t(effect.blockSize) &&
           size_t(effect.blockSize) < sizeof(EffectBlock) + size + sizeof(void *) && "the effect's own parameters");
    EffectBlock *block;
    KPZ_AllocMem(&block, uint32_t(effect.blockSize), 0x301);
    memset(block, 0, size_t(effect.blockSize));
    FillView(block->view, picture, effect, options);
    block->header.block = block;
    block->header.worker = effect.worker;
    block->header.previewMode = SCOPE_IMAGE;
    memcpy(block + 1, parameters, size);
    return block;
}

WorkerRun RunWorker(const EffectDescriptor &effect, Picture &picture, const void *parameters, size_t size,
                    const WorkerOptions &options)
{
    int32_t abortFlag = options.abortAfter == 0, previewOn = 0;
    EffectBlock *block = MakeBlock(effect, picture, parameters, size, options);
    block->previewOn = &previewOn;
    block->view.abortFlag = &abortFlag;
    block->view.progress = MiscCreateProgress();

    RunWatch watch = {{}, &block->view, options.abortAfter, options.recordsRelocations};
    HostFixSeed(TRUE, options.seed);
    const int32_t blocksBefore = HostAllocatedBlocks();
    if (options.recordsRelocations) HostBeginWork(1);   // in their order, and all of them on this thread
    watched = &watch;
    effect.worker(block);
    watched = nullptr;
    if (options.recordsRelocations) HostEndWork();
    watch.run.leakedBlocks = HostAllocatedBlocks() - blocksBefore;
    HostFixSeed(FALSE, 0);

    MiscDestroyProgress(block->view.progress);
    KPZ_FreeMem(block);
    return watch.run;
}
