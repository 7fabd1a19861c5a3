// A module for tests of the host: one command, a dialog, a worker that inverts and one that runs until it is aborted, a
// run of its own; and notes of how it was called.

#include "tests/host/documents/test_module.h"

#include <chrono>
#include <memory>
#include <thread>

static ModuleNotes notes;
static std::vector<std::unique_ptr<EffectBlock>> blocks;   // of the runs started
static HostContext *host;

KPZ_EXPORT ModuleNotes *TestNotes() { return &notes; }

struct Text {
    int32_t id;
    const char *text;
};
KPZ_EXPORT const Text KPZStrings[];
const Text KPZStrings[] = {{TEST_STRING, "a string"}, {0, nullptr}};

//---- The dialog

static void KPZAPI UntilAborted(EffectBlock *block)
{
    const ImageView view = block->view;
    IncrementProgress(view.progressWindow, view.progress, 0);
    while (!SharedRead(*view.abortFlag)) {
        ++view.pixels[0];
        std::this_thread::yield();
    }
}

static void KPZAPI Invert(EffectBlock *block)
{
    const ImageView &view = block->view;
    const size_t stride = size_t((view.bitsPerPixel * view.width + 31) / 32 * 4);
    for (size_t i = 0; i < stride * size_t(view.height); ++i) view.pixels[i] ^= 0xFF;
}

// A run of the module's own, which has long cleared the effect thread when it tells its dialog.
static void KPZAPI OwnRun(FilterHeader *header)
{
    ImageRecord *image = header->image;
    const HWND owner = header->owner, window = image->window;
    IncrementProgress(window, image->progress, 0);
    while (!SharedRead(image->abortRequest)) std::this_thread::yield();
    SharedWrite(image->effectThread, nullptr);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    KPZ_SendMsgAndWait(owner, RUN_FINISHED, reinterpret_cast<WPARAM>(window), 0);
}

static void Start(HWND dialog, ThreadRoutine routine, WorkerRoutine worker)
{
    auto block = std::make_unique<EffectBlock>();
    ImageRecord *image = host->activeImage;
    block->view.blockSize = sizeof(EffectBlock);
    block->header.block = block.get();
    block->header.image = image;
    InitializeFilter(&block->header, image);
    block->header.owner = dialog;
    block->header.worker = worker;
    block->header.previewMode = notes.mode;
    SharedWrite(image->effectThread, KPZ_CreateThread(routine, 32768, &block->header));
    KPZ_SetThreadPriority(SharedRead(image->effectThread), NORMAL_PRIORITY);
    blocks.push_back(std::move(block));
}

static INT_PTR OnCommand(HWND dialog, WPARAM word, LPARAM extra)
{
    const int id = LOWORD(word);
    const bool hosts = id >= HOST_COMMAND_FIRST && id <= HOST_COMMAND_LAST;
    if (id == APPLY_BUTTON) Start(dialog, FilterThread, UntilAborted);
    if (id == OWN_RUN) Start(dialog, OwnRun, nullptr);
    if (id == RUN_TO_THE_END) Start(dialog, FilterThread, Invert);
    if (id == HELP_BUTTON) RunHelp(77);
    if (hosts) KPZ_SendMsgNoWait(host->window, FORWARDED_COMMAND, word, extra);
    return 1;
}

static INT_PTR KPZAPI TestDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    switch (message) {
    case WM_INITDIALOG:
        host = reinterpret_cast<HostContext *>(extra);
        AddToFloaters(dialog, host->floaters);
        return 1;
    case WM_DESTROY: RemoveFromFloaters(dialog, host->floaters); return 1;
    case WM_CLOSE: KPZ_DismissDialog(dialog, 7); return 1;
    case WM_COMMAND: return OnCommand(dialog, word, extra);
    case RUN_FINISHED: notes.dialog.push_back({message, intptr_t(word)}); return 1;
    case IMAGE_CLOSED:
        notes.dialog.push_back({message, extra});
        if (!host->firstImage) KPZ_DismissDialog(dialog, 1);
        return 1;
    case IMAGE_OPENED:
    case REFRESH_PREVIEW:
    case ACTIVE_IMAGE_CHANGED: notes.dialog.push_back({message, extra}); return 1;
    default: return KPZ_DefDlgProc(dialog, message, word, extra);
    }
}

//---- Entry points

KPZ_EXPORT int32_t KPZAPI KPZInitialize(HMENU menu, int32_t base)
{
    AppendMenuA(menu, MF_SEPARATOR, 0, nullptr);
    AppendMenuA(menu, MF_STRING, UINT_PTR(base + TEST_COMMAND), "&Test");
    return 0;
}

KPZ_EXPORT int32_t KPZAPI KPZSetupMenus(HMENU menu, int32_t base, ImageRecord *active)
{
    ++notes.menusSetUp;
    notes.menusFor = active;
    KPZ_EnableMenuItem(menu, base + TEST_COMMAND, reinterpret_cast<INT_PTR>(active));
    return 0;
}

KPZ_EXPORT INT_PTR KPZAPI KPZCommandProcessor(HostContext *context, int32_t command, INT_PTR, int32_t base, INT_PTR)
{
    if (!context->activeImage || command - base != TEST_COMMAND) return 0;
    const ModuleHandle resources = KPZ_GetLoadedModuleHandle(context->resourceModule);
    return KPZ_RunDialogBox(KPZ_GetDesktopWindow(), TestDialog, resources, TEST_TEMPLATE, context);
}

KPZ_EXPORT int32_t KPZAPI KPZNewImageProcessor(INT_PTR, INT_PTR image)
{
    notes.images.push_back(image);
    return 0;
}

KPZ_EXPORT int32_t KPZAPI KPZExitProcessor()
{
    ++notes.exits;
    return 0;
}
