#include "host/documents/documents.h"

#include "host/documents/library.h"

#include <cstring>
#include <filesystem>
#include <string>
#include <utility>

#ifdef _WIN32
static constexpr char MODULE_FILE[] = "VLMEFF.dll";
#else
static constexpr char MODULE_FILE[] = "VLMEFF.so";
#endif
static constexpr int32_t MOST_IMAGES = 500, BASE_COMMAND = 1000;
static constexpr char MODULE_NAME[] = "VLMEFF";
enum { COMMAND_UNDO = HOST_COMMAND_FIRST, COMMAND_REDO, COMMAND_PREVIOUS, COMMAND_NEXT };

// An open image as its window knows it.
struct OpenPicture {
    ImageRecord record = {};
    Host *host = nullptr;
    PictureExtras extras;
    WindowSize windowSize;
};

static OpenPicture &Holder(const ImageRecord *image)
{
    return *static_cast<OpenPicture *>(HostWindowData(image->window));
}

Host &HostOf(const ImageRecord *image) { return *Holder(image).host; }

WindowSize WindowSizeOf(const ImageRecord *image) { return Holder(image).windowSize; }

//---- The module

template <typename Entry> static bool FindEntry(void *library, const char *name, Entry &entry, std::string &error)
{
    entry = reinterpret_cast<Entry>(FindName(library, name));
    if (!entry) error = std::string("the effects module has no ") + name;
    return entry != nullptr;
}

static bool FindEntries(EffectsModule &module, std::string &error)
{
    void *library = module.library;
    return FindEntry(library, "KPZInitialize", module.initialize, error) &&
           FindEntry(library, "KPZSetupMenus", module.setupMenus, error) &&
           FindEntry(library, "KPZCommandProcessor", module.commandProcessor, error) &&
           FindEntry(library, "KPZNewImageProcessor", module.newImageProcessor, error) &&
           FindEntry(library, "KPZExitProcessor", module.exitProcessor, error);
}

static void UnloadModule(EffectsModule &module)
{
    HostKnowModule(MODULE_NAME, nullptr, nullptr);
    CloseLibrary(module.library);
    module = {};
}

// A module's strings are a table it may export, since only Windows has string resources.
static bool LoadModule(EffectsModule &module, const std::string &file, std::string &error)
{
    module.library = OpenLibrary(file, error);
    if (!module.library) return false;
    const auto *strings = static_cast<const ModuleString *>(FindName(module.library, "KPZStrings"));
    HostKnowModule(MODULE_NAME, module.library, strings);
    if (FindEntries(module, error)) return true;
    UnloadModule(module);
    return false;
}

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

static ImageRecord *ImageBefore(const Host &host, const ImageRecord *image)
{
    ImageRecord *before = host.context.firstImage;
    while (before && before->next != image) before = before->next;
    return before;
}

static void TellDialogs(Host &host, UINT message, const ImageRecord *image)
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

static void OnSized(OpenPicture &picture, int32_t width, int32_t height)
{
    picture.windowSize = {width, height};
    if (picture.host->onSized) picture.host->onSized(&picture.record, width, height);
}

static LRESULT KPZAPI ImageProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    auto *picture = static_cast<OpenPicture *>(HostWindowData(window));
    if (!picture) return 0;
    if (message == IMAGE_SIZED) OnSized(*picture, int32_t(word), int32_t(extra));
    if (message == PROGRESS_CHANGED && picture->host->onProgress) {
        picture->host->onProgress(&picture->record, int(word));
    }
    return 0;
}

//---- Start and end

bool StartHost(Host &host, const std::string &moduleFile, std::string &error)
{
    const std::string ownFile = (std::filesystem::path(ProgramFolder()) / MODULE_FILE).string();
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

//---- Opening

// The record's planes are the picture's from now on.
static void TakeOver(ImageRecord &record, Picture &picture)
{
    CopyDescription(record, picture);
    record.pixels = picture.pixels.release();
    record.maskBitsPerPixel = picture.mask ? picture.maskBitsPerPixel : 0;
    record.mask = record.secondMask = picture.mask.release();
}

static ImageRecord *MakeImage(Host &host, Picture &picture)
{
    auto *holder = new OpenPicture;
    holder->host = &host;
    holder->extras = std::move(picture.extras);
    ImageRecord &record = holder->record;
    TakeOver(record, picture);
    record.cropArea.image = &record;
    record.imageLock = HostCreateSemaphore();
    record.objectLock = HostCreateSemaphore();
    record.progress = MiscCreateProgress();
    record.nextObjectNumber = 1;
    record.window = HostCreateWindow("image", ImageProcedure, holder);
    holder->windowSize = {record.width, record.height};
    return &record;
}

static void PrepareDisplay(ImageRecord *image)
{
    if (image->bitsPerPixel != 24 || KPZ_GetDisplayDepth() != 8) return;
    Update8BitVersion(image->pixels, &image->displayCopy, image->width, image->height, image->red, image->green,
                      image->blue, 0);
}

static int32_t ImageCount(const Host &host)
{
    int32_t count = 0;
    for (const ImageRecord *image = host.context.firstImage; image; image = image->next) ++count;
    return count;
}

ImageRecord *OpenImage(Host &host, Picture picture, const std::function<void(ImageRecord *)> &furnish)
{
    if (ImageCount(host) >= MOST_IMAGES) return nullptr;
    ImageRecord *image = MakeImage(host, picture);
    PrepareDisplay(image);
    if (furnish) furnish(image);
    ImageRecord *last = ImageBefore(host, nullptr);
    (last ? last->next : host.context.firstImage) = image;
    if (!last) host.context.activeImage = image;
    host.module.newImageProcessor(reinterpret_cast<INT_PTR>(&host.context), reinterpret_cast<INT_PTR>(image));
    TellDialogs(host, IMAGE_OPENED, image);
    ChooseMenus(&host.context);
    return image;
}

void ActivateImage(Host &host, ImageRecord *image)
{
    host.context.activeImage = image;
    TellDialogs(host, ACTIVE_IMAGE_CHANGED, nullptr);
    ChooseMenus(&host.context);
}

// The selected area belongs to the place, not to the picture. What a file said of palettes is true of its own only.
void ReplacePicture(ImageRecord *image, Picture picture)
{
    const Selection selection = std::exchange(image->selection, {});
    const int32_t nextObjectNumber = image->nextObjectNumber;
    if (picture.colourType != image->colourType) Holder(image).extras.paletteAlpha.clear();
    MiscFreePicture(image);
    image->selection = selection;
    image->nextObjectNumber = nextObjectNumber;
    TakeOver(*image, picture);
    PrepareDisplay(image);
}

//---- Closing

// Presses Abort until the run has ended: a run that begins clears the request, and its first report brings us here.
static BOOL KPZAPI RunEnded(void *context)
{
    auto *image = static_cast<ImageRecord *>(context);
    if (!HostRunUnderWay(image)) return TRUE;
    SharedWrite(image->abortRequest, 1);
    return FALSE;
}

static void Unlink(Host &host, ImageRecord *image)
{
    ImageRecord *before = ImageBefore(host, image);
    (before ? before->next : host.context.firstImage) = image->next;
    if (host.context.activeImage == image) host.context.activeImage = image->next ? image->next : before;
}

static void FreeImage(ImageRecord *image)
{
    MiscEndPreviews(image);
    MiscForgetUndo(image);
    MiscDestroyProgress(image->progress);
    HostDestroySemaphore(image->imageLock);
    HostDestroySemaphore(image->objectLock);
    KPZ_FreeMem(image->displayCopy);
    MiscFreePicture(image);
    OpenPicture *holder = &Holder(image);
    HostDestroyWindow(image->window);
    delete holder;
}

void CloseImage(Host &host, ImageRecord *image)
{
    HostRunMessages(RunEnded, image);
    Unlink(host, image);
    TellDialogs(host, IMAGE_CLOSED, image);
    TellDialogs(host, ACTIVE_IMAGE_CHANGED, nullptr);
    ChooseMenus(&host.context);
    FreeImage(image);
}

//---- Pictures

static Picture Description(const ImageRecord *image)
{
    Picture picture;
    CopyDescription(picture, *image);
    picture.maskBitsPerPixel = image->mask ? image->maskBitsPerPixel : 0;
    return picture;
}

void LendPicture(const ImageRecord *image, const ImageRecord *planes, const std::function<void(const Picture &)> &use)
{
    PictureExtras &extras = Holder(image).extras;
    Picture lent = Description(planes);
    lent.pixels.reset(planes->pixels);
    lent.mask.reset(planes->mask);
    lent.extras = std::move(extras);
    use(lent);
    extras = std::move(lent.extras);
    lent.pixels.release();
    lent.mask.release();
}

Picture PictureOf(const ImageRecord *image)
{
    Picture copy;
    LendPicture(image, image, [&copy](const Picture &picture) { copy = CopyOf(picture); });
    return copy;
}

Picture TakePicture(ImageRecord *image)
{
    MiscEndPreviews(image);
    Picture picture = Description(image);
    picture.pixels.reset(image->pixels);
    picture.mask.reset(image->mask);
    if (image->secondMask == image->mask) image->secondMask = nullptr;
    image->pixels = image->mask = nullptr;
    picture.extras = std::move(Holder(image).extras);
    return picture;
}
