// A module with one effect, Noise, and one fault, the number FAULT: what the checks are tried on. The rest of it is this
// tree's own framework, which is linked in.

#include "effects/effects.h"
#include "framework/worker.h"
#include "tests/host/check/faults.h"

#include <chrono>
#include <cstdlib>
#include <thread>

// Not to be seen through by the compiler.
static volatile int fault = FAULT;

struct OwnParameters {
    int32_t amount = 15, variation = 10;
};
struct OwnBlock {
    EffectBlock common;
    OwnParameters own;
};

static constexpr OwnParameters defaults;
static constexpr ControlBinding controls[] = {
    Spin(1290, 1300, FIELD(OwnBlock, own.amount), 1, 100),
    Spin(1310, 1320, FIELD(OwnBlock, own.variation), 1, 255),
};

static void KPZAPI OwnWorker(EffectBlock *shared)
{
    const OwnBlock block = BlockOf<OwnBlock>(shared);
    const ImageView &view = block.common.view;
    if (view.bitsPerPixel == 1 || view.colourType == PALETTE || IsEmpty(view)) return;
    if (fault == LEAKS) {
        void *lost;
        KPZ_AllocMem(&lost, 100, Scratch::ALLOCATION_FLAGS);
    }
    if (fault == THROWS && view.width > 30) throw 7;
    for (int i = 0; fault == FLOODS && i < 100; ++i) {
        void *much;
        KPZ_AllocMem(&much, 100 << 20, Scratch::ALLOCATION_FLAGS);
    }
#ifdef _WIN32
    while (fault == TAKES_SLOTS && TlsAlloc() != TLS_OUT_OF_INDEXES) {}
    if (fault == TAKES_SLOTS) abort();   // as the C++ library does then
#endif
    const int bytes = view.width * view.bitsPerPixel / 8;
    for (int y = 0; y < view.height && (fault == ABORTS_LATE || !AbortRequested(view)); ++y) {
        ReportRow(view, y);
        for (int i = 0; i < bytes; ++i) RowOf(view, y)[i] ^= 0xFF;
    }
    if (fault == WRITES_BEYOND) RowOf(view, view.height)[0] ^= 1;
}

static bool WarnBeforeRun(HWND dialog, EffectBlock *block)
{
    const int32_t type = block->header.image->colourType;
    if (type == RGB || type == GREY) return true;
    KPZ_MessageBox(dialog, "This function works only on RGB (24 bit) or Grayscale images.  Try changing Color Type.",
                   "Velmorant: Function Error", MB_ICONERROR);
    return true;
}

static INT_PTR KPZAPI OwnDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra);

static const EffectDescriptor ownEffect = {
    .name = "Noise",
    .title = "Noise",
    .commandOffset = 3,
    .blockSize = sizeof(OwnBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = OwnWorker,
    .dialog = OwnDialog,
    .beforeRun = WarnBeforeRun,
};

static INT_PTR KPZAPI OwnDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(ownEffect, dialog, message, word, extra);
}

//---- The entry points

#if FAULT == 2
static const bool loaded = [] { return *reinterpret_cast<volatile int *>(size_t(fault)) == 0; }();
#endif

KPZ_EXPORT int32_t KPZAPI KPZInitialize(HMENU menu, int32_t base)
{
    while (fault == HANGS_IN_MENU) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (fault == EXITS) _Exit(0);
    AppendMenuA(menu, MF_STRING, UINT_PTR(base + 3), fault == OWN_NAME ? "&Negative" : "&Noise");
    return 0;
}

KPZ_EXPORT int32_t KPZAPI KPZSetupMenus(HMENU menu, int32_t base, ImageRecord *active)
{
    const bool offered = active && (active->colourType == RGB || active->colourType == GREY);
    KPZ_EnableMenuItem(menu, base + 3, offered);
    return 0;
}

KPZ_EXPORT INT_PTR KPZAPI KPZCommandProcessor(HostContext *host, int32_t command, INT_PTR, int32_t base, INT_PTR)
{
    const ModuleHandle resources = KPZ_GetLoadedModuleHandle(host->resourceModule);
    if (!host->activeImage || int16_t(command) - base != 3) return 0;
    return KPZ_RunDialogBox(KPZ_GetDesktopWindow(), OwnDialog, resources, 4240, host);
}

KPZ_EXPORT int32_t KPZAPI KPZNewImageProcessor(INT_PTR, INT_PTR) { return 0; }
#if FAULT != 1
KPZ_EXPORT int32_t KPZAPI KPZExitProcessor(void) { return 0; }
#endif
