// The minimal host's driver for `velmorant check --host`: does with the host what a person would, as main.cpp does, but with
// any number of pictures of any type, and with dialogs that hear of them. What is looked at meanwhile is not known here.

#include "examples/minimal_host/minimal_host.h"
#include "interface/host_driver.h"

#include <algorithm>

enum { BASE = 20000 };

static ModuleRoutines module;
static HostContext host;
static FloaterList floaters;
static ProgressRecord progress;
static HMENU menu;
static std::vector<ImageRecord *> running;   // until their dialogs have heard of the end

// A run that starts has the menus evaluated, when its thread is still held back.
static void NoteRuns()
{
    for (ImageRecord *image = host.firstImage; image; image = image->next)
        if (SharedRead(image->effectThread) && std::find(running.begin(), running.end(), image) == running.end())
            running.push_back(image);
}

static INT_PTR KPZAPI HostWindow(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    switch (message) {
    case DIALOG_OPENED: return 0;
    case DIALOG_RUN_ENDED: std::erase(running, reinterpret_cast<ImageRecord *>(extra)); return 0;
    case MENUS_CHANGED: NoteRuns(); return module.setupMenus(menu, BASE, host.activeImage);
    default: return KPZ_DefDlgProc(window, message, word, extra);
    }
}

static int32_t KPZAPI Start(const ModuleRoutines *routines)
{
    module = *routines;
    host.resourceModule = "minimal host";
    host.window = floaters.hostWindow = HostMakeWindow(HostWindow);
    host.floaters = &floaters;
    menu = HostMakeMenu();
    module.initialize(menu, BASE);
    module.setupMenus(menu, BASE, nullptr);
    return 1;
}

static void KPZAPI End()
{
    HostJoinThreads();
    module.exitProcessor();
    HostFreeMenu(menu);
    HostCloseWindow(host.window);
}

//---- Images

// Dialogs may go by themselves when they hear of it, so the list that is walked over is a copy.
static void Tell(UINT message, ImageRecord *image)
{
    const std::vector<HWND> dialogs = floaters.dialogs;
    for (HWND dialog : dialogs) KPZ_SendMsgAndWait(dialog, message, 0, reinterpret_cast<LPARAM>(image));
}

static void KPZAPI Activate(ImageRecord *image)
{
    host.activeImage = image;
    Tell(ACTIVE_IMAGE_CHANGED, nullptr);
    module.setupMenus(menu, BASE, image);
}

static void MakePalette(ImageRecord &image)
{
    const int entries = image.colourType == RGB ? 0 : image.colourType == ONE_BIT ? 2 : 256;
    image.paletteEntries = entries;
    for (int i = 0; i < entries; ++i)
        image.red[i] = image.green[i] = image.blue[i] = uint8_t(entries == 2 ? 255 * i : i);
}

static ImageRecord *KPZAPI Open(int32_t width, int32_t height, int32_t colourType)
{
    auto *image = new ImageRecord{};
    image->width = width;
    image->height = height;
    image->bitsPerPixel = colourType == RGB ? 24 : colourType == ONE_BIT ? 1 : 8;
    image->colourType = colourType;
    MakePalette(*image);
    const uint32_t bytes = uint32_t((image->bitsPerPixel * width + 31) >> 5) * 4 * uint32_t(height);
    KPZ_AllocMem(&image->pixels, bytes, 0x301);
    for (uint32_t i = 0; i < bytes; ++i) image->pixels[i] = uint8_t(7 * i);
    image->imageLock = HostMakeLock();
    image->objectLock = HostMakeLock();
    image->window = host.window;
    image->cropArea.image = image;
    image->progress = &progress;
    image->next = host.firstImage;
    host.firstImage = image;
    module.newImageProcessor(0, 0);
    Tell(IMAGE_OPENED, image);
    Activate(image);
    return image;
}

static void Unlink(ImageRecord *image)
{
    ImageRecord **link = &host.firstImage;
    while (*link && *link != image) link = &(*link)->next;
    if (*link) *link = image->next;
}

// An image that runs is aborted and waited for: its run ends with a message that this thread has to handle.
static void EndRunOf(ImageRecord *image)
{
    if (std::find(running.begin(), running.end(), image) == running.end()) return;
    SharedWrite(image->abortRequest, 1);
    while (std::find(running.begin(), running.end(), image) != running.end()) HostHandleMessage();
}

static void KPZAPI Close(ImageRecord *image)
{
    EndRunOf(image);
    Unlink(image);
    if (host.activeImage == image) host.activeImage = host.firstImage;
    Tell(IMAGE_CLOSED, image);
    Activate(host.activeImage);
    HostForgetUndo(image);
    HostFreeLock(image->imageLock);
    HostFreeLock(image->objectLock);
    KPZ_FreeMem(image->pixels);
    delete image;
}

//---- What a person does

static int32_t KPZAPI Choose(const char *label, INT_PTR *result)
{
    const int32_t command = HostFindCommand(menu, label);
    if (command < 0) return 0;
    *result = module.commandProcessor(&host, command, 0, BASE, 0);
    return 1;
}

static void KPZAPI Type(HWND dialog, int32_t id, int32_t number) { SetDlgItemInt(dialog, id, UINT(number), TRUE); }

static void KPZAPI Press(HWND dialog, int32_t id)
{
    HWND button = KPZ_WindowFromID(dialog, id);
    if (!KPZ_IsWindowEnabled(button)) return;
    KPZ_SendMsgAndWait(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(button));
}

static int32_t KPZAPI UndoSteps(ImageRecord *image) { return HostUndoSteps(image); }
static void KPZAPI Undo(ImageRecord *image) { ThreadAbortedUtility(image); }   // one step, which is dropped

static const HostDriver driver = {
    .start = Start,
    .end = End,
    .openImage = Open,
    .closeImage = Close,
    .chooseCommand = Choose,
    .activateImage = Activate,
    .typeNumber = Type,
    .press = Press,
    .undoSteps = UndoSteps,
    .undo = Undo,
};

extern "C" const HostDriver *KPZAPI TheHostDriver() { return &driver; }
