// Runs a command of the module's menu on a picture made in memory, through the module's own dialog:
//
//     minimal_host '&Noise' SEED BEFORE.ppm AFTER.ppm
//
// writes the picture as it was and as Noise leaves it, which is the one effect that this host has a dialog for. Exit
// code 0: it ran; 1: something went wrong; 3: the module asked for what this host does not serve. Each is one line.

#include "examples/minimal_host/minimal_host.h"

#include <stdio.h>
#include <stdlib.h>
#include <string>

#ifndef _WIN32
#include <dlfcn.h>
#endif

enum { BASE = 20000 };                       // the host's commands; the module's are BASE + 1 and on
enum { NOISE_AMOUNT = 1290, AMOUNT = 40 };   // the control, and what is typed into it

struct Module {
    InitializeEntry initialize;
    SetupMenusEntry setupMenus;
    CommandProcessorEntry commandProcessor;
    NewImageProcessorEntry newImageProcessor;
    ExitProcessorEntry exitProcessor;
};

static Module module;
static HostContext host;
static HMENU menu;
static bool runEnded;

static int Fail(const std::string &line)
{
    fprintf(stderr, "minimal_host: %s\n", line.c_str());
    return 1;
}

//---- The module

#ifndef _WIN32
// On Windows a program's own folder is where libraries are looked for first.
static std::string OwnFolder()
{
    Dl_info own = {};
    dladdr(reinterpret_cast<void *>(HostMakeMenu), &own);
    const std::string name = own.dli_fname ? own.dli_fname : "";
    return name.substr(0, name.find_last_of('/'));
}
#endif

// The libraries VLMAPI and VLMMISC that the module needs are this program's own, loaded already. The module stays
// loaded: its dialogs' code must outlive every window.
static bool LoadEffects(std::string &problem)
{
#ifdef _WIN32
    const HMODULE library = LoadLibraryA("VLMEFF.dll");
    if (!library) problem = "VLMEFF.dll cannot be loaded: error " + std::to_string(GetLastError());
    const auto find = [&](const char *name) { return reinterpret_cast<void *>(GetProcAddress(library, name)); };
#else
    void *library = dlopen((OwnFolder() + "/VLMEFF.so").c_str(), RTLD_NOW);
    if (!library) problem = dlerror();
    const auto find = [&](const char *name) { return dlsym(library, name); };
#endif
    if (!library) return false;
    module.initialize = reinterpret_cast<InitializeEntry>(find("KPZInitialize"));
    module.setupMenus = reinterpret_cast<SetupMenusEntry>(find("KPZSetupMenus"));
    module.commandProcessor = reinterpret_cast<CommandProcessorEntry>(find("KPZCommandProcessor"));
    module.newImageProcessor = reinterpret_cast<NewImageProcessorEntry>(find("KPZNewImageProcessor"));
    module.exitProcessor = reinterpret_cast<ExitProcessorEntry>(find("KPZExitProcessor"));
    problem = "VLMEFF lacks one of the five routines";
    return module.initialize && module.setupMenus && module.commandProcessor && module.newImageProcessor &&
           module.exitProcessor;
}

//---- The picture

static int RowBytes(const ImageRecord &image) { return ((image.bitsPerPixel * image.width + 31) >> 5) * 4; }

// Slow gradients in red, green and blue. 30 pixels of 24 bits leave two bytes of padding at each row's end.
static void MakePicture(ImageRecord &image)
{
    image.width = 30;
    image.height = 20;
    image.bitsPerPixel = 24;
    image.colourType = RGB;
    KPZ_AllocMem(&image.pixels, uint32_t(RowBytes(image) * image.height), 0x301);
    for (int y = 0; y < image.height; ++y) {
        uint8_t *row = image.pixels + y * RowBytes(image);
        for (int i = 3 * image.width; i < RowBytes(image); ++i) row[i] = 0;
        for (int x = 0; x < image.width; ++x) {
            row[3 * x] = uint8_t(8 * x);
            row[3 * x + 1] = uint8_t(12 * y);
            row[3 * x + 2] = uint8_t(255 - 4 * (x + y));
        }
    }
}

static bool WritePpm(const char *name, const ImageRecord &image)
{
    FILE *file = fopen(name, "wb");
    if (!file) return false;
    fprintf(file, "P6\n%d %d\n255\n", int(image.width), int(image.height));
    for (int y = 0; y < image.height; ++y) {
        const uint8_t *row = image.pixels + y * RowBytes(image);
        for (int x = 0; x < image.width; ++x)
            for (int c = 2; c >= 0; --c) fputc(row[3 * x + c], file);
    }
    const bool written = !ferror(file);
    return fclose(file) == 0 && written;
}

//---- The host's window, where the person's part is played

// As a person's click: a disabled button does nothing.
static void Press(HWND dialog, int id)
{
    HWND button = KPZ_WindowFromID(dialog, id);
    if (!KPZ_IsWindowEnabled(button)) return;
    KPZ_SendMsgAndWait(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(button));
}

static INT_PTR KPZAPI HostWindow(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    HWND dialog = reinterpret_cast<HWND>(word);
    switch (message) {
    case DIALOG_OPENED:
        printf("open: %s\n", host.openEffectTitle);
        SetDlgItemInt(dialog, NOISE_AMOUNT, AMOUNT, FALSE);   // typed
        Press(dialog, APPLY_BUTTON);
        return 0;
    case DIALOG_RUN_ENDED:
        runEnded = true;
        Press(dialog, CLOSE_BUTTON);
        return 0;
    case MENUS_CHANGED: return module.setupMenus(menu, BASE, host.activeImage);
    default: return KPZ_DefDlgProc(window, message, word, extra);
    }
}

//---- The host's life

static void Start(FloaterList &floaters)
{
    host.resourceModule = "minimal host";
    host.window = floaters.hostWindow = HostMakeWindow(HostWindow);
    host.floaters = &floaters;
    menu = HostMakeMenu();
    module.initialize(menu, BASE);
    module.setupMenus(menu, BASE, nullptr);
}

static void Open(ImageRecord &image)
{
    image.imageLock = HostMakeLock();
    image.objectLock = HostMakeLock();
    image.window = host.window;
    image.cropArea.image = &image;
    host.firstImage = host.activeImage = &image;
    module.newImageProcessor(0, 0);
    module.setupMenus(menu, BASE, &image);
}

static void Close(ImageRecord &image)
{
    host.firstImage = host.activeImage = nullptr;
    HostFreeLock(image.imageLock);
    HostFreeLock(image.objectLock);
    KPZ_FreeMem(image.pixels);
}

static void End()
{
    HostJoinThreads();
    module.exitProcessor();
    HostFreeMenu(menu);
    HostCloseWindow(host.window);
}

int main(int count, char **arguments)
{
    if (count != 5) return Fail("usage: minimal_host LABEL SEED BEFORE.ppm AFTER.ppm");
    const char *label = arguments[1], *beforeName = arguments[3], *afterName = arguments[4];
    std::string problem;
    if (!LoadEffects(problem)) return Fail(problem);
    HostSetSeed(uint32_t(strtoul(arguments[2], nullptr, 10)));

    FloaterList floaters = {};
    ProgressRecord progress = {};
    ImageRecord image = {};
    MakePicture(image);
    if (!WritePpm(beforeName, image)) return Fail(std::string(beforeName) + " cannot be written");
    Start(floaters);
    if (HostFindCommand(menu, label) != -1) return Fail("the menu offers a command without a picture");
    image.progress = &progress;
    Open(image);

    const int32_t command = HostFindCommand(menu, label);
    if (command < 0) return Fail("the menu has no such command for this picture");
    const INT_PTR result = module.commandProcessor(&host, command, 0, BASE, 0);
    if (result != 1 || !runEnded) return Fail("the effect did not run");
    printf("progress: %d of 10\n", int(SharedRead(progress.tenths)));
    HostJoinThreads();
    const bool written = WritePpm(afterName, image);
    Close(image);
    End();
    if (!floaters.dialogs.empty() || host.openEffectDialog) return Fail("the dialog is not closed");
    return written ? 0 : Fail(std::string(afterName) + " cannot be written");
}
