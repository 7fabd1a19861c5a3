// The host: its window and menu, what the module's commands and help lead to, start and end.

#include "host/documents/host.h"

#include "host/documents/documents.h"
#include "host/documents/library.h"
#include "host/paths/paths.h"

#ifdef _WIN32
static constexpr char MODULE_FILE[] = "VLMEFF.dll";
#else
static constexpr char MODULE_FILE[] = "VLMEFF.so";
#endif
static constexpr int32_t BASE_COMMAND = 1000;
enum { COMMAND_UNDO = HOST_COMMAND_FIRST, COMMAND_REDO, COMMAND_PREVIOUS, COMMAND_NEXT };

//---- Menus and help

static void KPZAPI SetUpMenus(void *context, HostContext *)
{
    Host &host = *static_cast<Host *>(context);
    host.module.setupMenus(host.menu, host.base, host.context.activeImage);
}

static void KPZAPI ShowHelp(void *context, int32_t helpContext)
{
    Host &host = *static_cast<Host *>(context);
    if (host.onHelp) host.onHelp(helpContext);
}

// The effect's dialog, when it is open.
static HWND OpenDialogOf(const Host &host, int32_t offset)
{
    for (int32_t i = 0; i < MiscFloaterCount(host.context.floaters); ++i) {
        const HWND dialog = MiscFloaterAt(host.context.floaters, i);
        const DialogTemplate *sheet = FindDialogTemplate(HostDialogTemplate(dialog));
        if (sheet && sheet->commandOffset == offset) return dialog;
    }
    return nullptr;
}

INT_PTR RunCommand(Host &host, int32_t offset)
{
    if (const HWND dialog = OpenDialogOf(host, offset)) {
        HostBringForward(dialog);
        return 0;
    }
    return host.module.commandProcessor(&host.context, host.base + offset, 0, host.base, 0);
}

bool CommandEnabled(const Host &host, int32_t offset)
{
    MenuItem item;
    for (int32_t i = 0; HostMenuItem(host.menu, i, &item); ++i) {
        if (item.command == host.base + offset && item.label[0]) return item.enabled != 0;
    }
    return false;
}

//---- The host's window

void TellDialogs(Host &host, UINT message, const ImageRecord *image)
{
    MiscTellFloaters(host.context.floaters, message, 0, reinterpret_cast<LPARAM>(image));
}

static void OnForwardedCommand(Host &host, int id)
{
    ImageRecord *active = host.context.activeImage;
    if (!active) return;
    ImageRecord *before = ImageBefore(host, active);
    switch (id) {
    case COMMAND_UNDO:
        if (MiscUndo(active)) TellDialogs(host, REFRESH_PREVIEW, nullptr);
        break;
    case COMMAND_REDO:
        if (MiscRedo(active)) TellDialogs(host, REFRESH_PREVIEW, nullptr);
        break;
    case COMMAND_PREVIOUS:
        if (before) ActivateImage(host, before);
        break;
    case COMMAND_NEXT:
        if (active->next) ActivateImage(host, active->next);
        break;
    }
}

static bool IsFloater(const Host &host, HWND dialog)
{
    for (int32_t i = 0; i < MiscFloaterCount(host.context.floaters); ++i) {
        if (MiscFloaterAt(host.context.floaters, i) == dialog) return true;
    }
    return false;
}

// The routine may replace itself while it runs, so a copy of it is called.
static void Call(const std::function<void(HWND)> &routine, HWND dialog)
{
    if (std::function<void(HWND)> held = routine) held(dialog);
}

// The message was posted: the dialog may have gone since.
static void OnFloaterAdded(Host &host, HWND dialog)
{
    if (IsFloater(host, dialog)) Call(host.onDialogOpened, dialog);
}

static LRESULT KPZAPI HostProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    auto *host = static_cast<Host *>(HostWindowData(window));
    if (!host) return 0;
    switch (message) {
    case FLOATER_ADDED: OnFloaterAdded(*host, reinterpret_cast<HWND>(extra)); break;
    case CHOOSER_OPENED: Call(host->onChooserOpened, reinterpret_cast<HWND>(extra)); break;
    case FORWARDED_COMMAND: OnForwardedCommand(*host, LOWORD(word)); break;
    default: break;
    }
    return 0;
}

//---- Start and end

bool StartHost(Host &host, const std::string &moduleFile, std::string &error)
{
    const std::string ownFile = NameOf(PathOf(ProgramFolder()) / MODULE_FILE);
    if (!LoadModule(host.module, moduleFile.empty() ? ownFile : moduleFile, error)) return false;
    host.context = {};
    host.context.resourceModule = HOST_RESOURCES;
    host.context.window = HostCreateWindow("host", HostProcedure, &host);
    host.context.floaters = MiscCreateFloaters(host.context.window);
    host.base = BASE_COMMAND;
    host.menu = HostCreateMenu();
    host.module.initialize(host.menu, host.base);
    MiscAnswerMenus(SetUpMenus, &host);
    MiscAnswerHelp(ShowHelp, &host);
    ChooseMenus(&host.context);
    return true;
}

static bool AnyRuns(const Host &host)
{
    for (const ImageRecord *image = host.context.firstImage; image; image = image->next) {
        if (HostRunUnderWay(image)) return true;
    }
    return false;
}

static BOOL KPZAPI AllEnded(void *context)
{
    const Host &host = *static_cast<Host *>(context);
    if (!AnyRuns(host)) return TRUE;
    for (ImageRecord *image = host.context.firstImage; image; image = image->next) SharedWrite(image->abortRequest, 1);
    return FALSE;
}

void EndHost(Host &host)
{
    if (!host.module.library) return;
    HostRunMessages(AllEnded, &host);
    HostWaitForThreads();
    while (host.context.firstImage) CloseImage(host, host.context.firstImage);
    host.module.exitProcessor();
    MiscAnswerMenus(nullptr, nullptr);
    MiscAnswerHelp(nullptr, nullptr);
    HostDestroyMenu(host.menu);
    HostDestroyWindow(host.context.window);
    MiscDestroyFloaters(host.context.floaters);
    UnloadModule(host.module);
    host.context = {};
    host.menu = nullptr;
}
