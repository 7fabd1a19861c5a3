// What the checks of a host share, where it does something: the dialog procedure that records and plays, and runs.

#include "host/check/watching/watch.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <mutex>

#ifndef _WIN32
#include <sys/mman.h>
#include <unistd.h>
#endif

Watch watch;

void ExpectDialogThread(const char *what)
{
    Expect(std::this_thread::get_id() == watch.dialogThread, Rule::HOST_ONE_THREAD,
           std::string(what) + " was called on another thread than KPZInitialize");
}

bool IsLinked(const ImageRecord *image)
{
    for (const ImageRecord *open = watch.host ? watch.host->firstImage : nullptr; open; open = open->next)
        if (open == image) return true;
    return false;
}

std::vector<Told> ToldOf(UINT message, HWND dialog)
{
    std::vector<Told> found;
    for (const Told &told : watch.told)
        if (told.message == message && (!dialog || told.dialog == dialog)) found.push_back(told);
    return found;
}

bool ComesToHold(int milliseconds, const std::function<bool()> &holds)
{
    const auto latest = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (!holds()) {
        if (std::chrono::steady_clock::now() > latest) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

std::string Number(intptr_t number) { return std::to_string((long long)number); }

//---- Dialogs

static std::vector<Play *> plays;   // those whose dialogs are open, the innermost last

static Play *PlayOf(HWND dialog)
{
    for (Play *play : plays)
        if (play->dialog == dialog && !play->left) return play;   // a handle may be another window's later
    return nullptr;
}

static void NoteTold(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    const bool ofImage = message == IMAGE_OPENED || message == IMAGE_CLOSED;
    watch.told.push_back({dialog, message, word, extra, ofImage && IsLinked(reinterpret_cast<ImageRecord *>(extra)),
                          watch.host ? watch.host->activeImage : nullptr, watch.newImages, watch.setUps});
}

static void PostNext(Play &play) { KPZ_SendMsgNoWait(play.dialog, NEXT_STEP, 0, 0); }

void GoOn(Play &play)
{
    if (!play.waiting) return;
    play.waiting = false;
    PostNext(play);
}

void Again(Play &play)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    --play.next;
}

static INT_PTR OnOpened(HWND dialog, LPARAM extra)
{
    Play *play = reinterpret_cast<Play *>(extra);
    if (std::find(plays.begin(), plays.end(), play) == plays.end() || play->opened) {
        Found(Rule::HOST_INIT_DIALOG, play && std::count(plays.begin(), plays.end(), play)
                                          ? "it came twice"
                                          : "its long parameter is not the one of KPZ_RunDialogBox");
        return 1;
    }
    play->opened = true;
    play->dialog = dialog;
    Expect(!KPZ_QueryWindowPtrSystem(dialog), Rule::HOST_POINTER, "the pointer of a new dialog is not null");
    Expect(KPZ_WindowFromID(dialog, APPLY_BUTTON) != nullptr, Rule::HOST_INIT_DIALOG,
           "the dialog has no Apply button yet");
    KPZ_SetupDialogHotkeys(dialog, watch.host->resourceModule);
    KPZ_SetWindowPtrSystem(dialog, play);
    Expect(KPZ_QueryWindowPtrSystem(dialog) == play, Rule::HOST_POINTER,
           "the pointer that was set is not the one that is read back");
    AddToFloaters(dialog, watch.host->floaters);
    CenterWindow(dialog);
    PostNext(*play);
    return 1;
}

static INT_PTR OnLeft(Play &play)
{
    play.left = true;
    KPZ_RemoveDialogHotkeys(play.dialog);
    RemoveFromFloaters(play.dialog, watch.host->floaters);
    KPZ_SetWindowPtrSystem(play.dialog, nullptr);
    return 1;
}

static INT_PTR OnNextStep(Play &play)
{
    if (play.waiting) return 1;   // of a step before the one that waits
    if (play.next < play.steps.size()) {
        const Step step = play.steps[play.next++];   // the play may have gone when it returns
        step(play);
        if (!play.left && !play.waiting) PostNext(play);
    } else KPZ_DismissDialog(play.dialog, PLAYED);
    return 1;
}

// With the last image a dialog goes; the host follows with ACTIVE_IMAGE_CHANGED otherwise.
static INT_PTR OnImageClosed(HWND dialog)
{
    if (!watch.host->firstImage) KPZ_DismissDialog(dialog, PLAYED);
    return 1;
}

static INT_PTR KPZAPI WatchingDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    static UINT inDefault = 0;
    if (message == LEFT_ALONE && inDefault) {
        Found(Rule::HOST_DEF_DLG_PROC, "it called the procedure again, with the message that it was handed");
        return 0;
    }
    ExpectDialogThread("a dialog procedure");
    if (message == WM_INITDIALOG) return OnOpened(dialog, extra);
    Play *play = PlayOf(dialog);
    if (play) {
        NoteTold(dialog, message, word, extra);
        switch (message) {
        case NEXT_STEP: return OnNextStep(*play);
        case WM_DESTROY: return OnLeft(*play);
        case RUN_FINISHED: OnRunFinished(*play, dialog, word); return 1;
        case IMAGE_CLOSED: return OnImageClosed(dialog);
        case IMAGE_OPENED:
        case ACTIVE_IMAGE_CHANGED:
        case REFRESH_PREVIEW: return 1;
        case ECHO: return INT_PTR(extra) + INT_PTR(word);
        case NOTED:
        case WM_COMMAND: return 1;
        default: break;
        }
    }
    inDefault += message == LEFT_ALONE;
    const INT_PTR result = KPZ_DefDlgProc(dialog, message, word, extra);
    inDefault -= message == LEFT_ALONE;
    return result;
}

INT_PTR PlayInDialog(Play &play)
{
    plays.push_back(&play);
    const ModuleHandle resources = KPZ_GetLoadedModuleHandle(watch.host->resourceModule);
    Expect(resources != nullptr, Rule::HOST_HAS_RESOURCES, "it answered null for HostContext::resourceModule");
    const INT_PTR result = KPZ_RunDialogBox(KPZ_GetDesktopWindow(), WatchingDialog, resources, NOISE_TEMPLATE, &play);
    std::erase(plays, &play);
    Expect(play.opened, Rule::HOST_TEMPLATE,
           "the dialog of template " + std::to_string(NOISE_TEMPLATE) + " did not open: no WM_INITDIALOG came");
    if (play.opened) Expect(play.left, Rule::HOST_DISMISS, "KPZ_RunDialogBox returned, and no WM_DESTROY had come");
    return result;
}

static ImageRecord *ownImage;
ImageRecord *OwnImage() { return ownImage; }

bool InCommand(const std::vector<Step> &steps)
{
    const std::string doing = BeingDone();
    Doing("opened an RGB picture of 30 x 20");
    ownImage = watch.driver->openImage(30, 20, RGB);
    if (!Expect(ownImage != nullptr, Rule::HOST_PICTURE, "an RGB picture of 30 x 20 could not be opened")) return false;
    Play play{steps};
    INT_PTR dialogResult = 0;
    watch.command = [&] {
        Doing(doing);
        dialogResult = PlayInDialog(play);
        Expect(!play.opened || dialogResult == PLAYED, Rule::HOST_DISMISS,
               "the dialog was dismissed with 7, and KPZ_RunDialogBox returned " + Number(dialogResult));
        return dialogResult;
    };
    Doing("chose the module's command &Watch");
    INT_PTR result = 0;
    const int32_t given = watch.driver->chooseCommand("&Watch", &result);
    watch.command = nullptr;
    Expect(given != 0, Rule::HOST_MENU, "the command is enabled, and the host does not offer it");
    if (given && play.opened)
        Expect(result == dialogResult, Rule::HOST_COMMAND,
               "the module returned " + Number(dialogResult) + ", and the host was given " + Number(result));
    Doing("closed the picture");
    if (!watch.host || IsLinked(ownImage)) watch.driver->closeImage(ownImage);
    ownImage = nullptr;
    return given && play.opened;
}

//---- Blocks

#ifdef _WIN32
static constexpr size_t PAGE = 4096;
static void *TakePage() { return VirtualAlloc(nullptr, PAGE, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE); }
static void ForbidPage(void *page)
{
    DWORD before;
    VirtualProtect(page, PAGE, PAGE_NOACCESS, &before);
}
#else
static const size_t PAGE = size_t(sysconf(_SC_PAGESIZE));
static void *TakePage() { return mmap(nullptr, PAGE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0); }
static void ForbidPage(void *page) { mprotect(page, PAGE, PROT_NONE); }
#endif

// Pages of blocks whose runs have ended: never used again, so that a late hand is seen. Fixed, since a crash looks here.
static constexpr int MOST_FORBIDDEN = 64;
static std::atomic<uint8_t *> forbidden[MOST_FORBIDDEN];
static std::atomic<int> forbiddenCount{0};

static void Forbid(EffectBlock *block)
{
    const int place = forbiddenCount++;
    if (place < MOST_FORBIDDEN) forbidden[place] = reinterpret_cast<uint8_t *>(block);
    ForbidPage(block);
}

static bool ExplainFault(const void *address, Rule &rule, std::string &happened)
{
    const auto *place = static_cast<const uint8_t *>(address);
    for (const std::atomic<uint8_t *> &page : forbidden) {
        const uint8_t *start = page;
        if (!start || place < start || place >= start + PAGE) continue;
        rule = Rule::HOST_BLOCK_GONE;
        happened = "byte " + std::to_string(place - start) + " of the block was read or written afterwards";
        return true;
    }
    return false;
}

//---- Runs

static std::mutex runsLock;
static std::vector<Run *> runs;   // begun and not finished

static Run *RunOf(const EffectBlock *block)
{
    const std::lock_guard hold(runsLock);
    for (Run *run : runs)
        if (run->block == block) return run;
    return nullptr;
}

static void KPZAPI Worker(EffectBlock *block)
{
    Run *run = RunOf(block);
    if (!Expect(run != nullptr, Rule::HOST_RUN_STARTS, "the worker was called with something else than the block"))
        return;
    ++run->worked;
    Expect(std::this_thread::get_id() != watch.dialogThread, Rule::HOST_RUN_STARTS,
           "the worker was called on the dialogs' thread");
    if (run->worked == 1 && run->work) run->work(*block);
}

static void KPZAPI ThreadOfRun(FilterHeader *header)
{
    Run *run = RunOf(header->block);
    if (!Expect(run != nullptr, Rule::HOST_THREAD, "the routine was called with another argument")) return;
    ++run->started;
    Expect(std::this_thread::get_id() != watch.dialogThread, Rule::HOST_THREAD,
           "the routine was called on the dialogs' thread");
    FilterThread(header);
}

EffectBlock *MakeBlock(HWND dialog, ImageRecord *image)
{
    ExplainFaults(ExplainFault);
    auto *block = static_cast<EffectBlock *>(TakePage());
    memset(block, 0, sizeof *block);
    block->view.blockSize = int32_t(sizeof *block + 16);
    memset(block + 1, 0x5A, 16);
    block->header.image = image;
    block->header.block = block;
    InitializeFilter(&block->header, image);
    const int32_t blockSize = block->view.blockSize;
    block->view = {};   // which is filled again before the run's worker is called
    block->view.blockSize = blockSize;
    block->header.owner = dialog;
    block->header.worker = Worker;
    snprintf(block->header.title, sizeof block->header.title, "Watch");
    return block;
}

void StartRun(Play &play, Run &run, bool wait, bool setPriority)
{
    run.block = MakeBlock(play.dialog, run.image);
    run.before = BytesOf(*run.image);
    {
        const std::lock_guard hold(runsLock);
        runs.push_back(&run);
    }
    SharedWrite(run.image->runStarted, 1);
    run.thread = KPZ_CreateThread(ThreadOfRun, 32768, &run.block->header);
    if (!Expect(run.thread != nullptr, Rule::HOST_THREAD, "it answered null")) return;
    // Long enough for a thread that is not held back; one that is late is not found, and none is found that is held.
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    Expect(run.started == 0, Rule::HOST_HELD_BACK, "the routine ran before its handle was stored in effectThread");
    SharedWrite(run.image->effectThread, run.thread);
    ChooseMenus(watch.host);
    if (setPriority) KPZ_SetThreadPriority(run.thread, LOWEST_PRIORITY);
    Blame(Rule::HOST_LIVES, Rule::HOST_FINISHED);
    play.waiting = wait;
}

void OnRunFinished(Play &play, HWND dialog, WPARAM word)
{
    std::vector<Run *> under;
    {
        const std::lock_guard hold(runsLock);
        under = runs;
    }
    Run *ended = nullptr;
    for (Run *run : under)
        if (!ended || (SharedRead(ended->image->effectThread) && !SharedRead(run->image->effectThread))) ended = run;
    if (!Expect(ended != nullptr, Rule::HOST_FINISHED, "it came though no run was under way")) return;
    ImageRecord &image = *ended->image;
    ++ended->finished;
    Expect(dialog == ended->block->header.owner, Rule::HOST_FINISHED,
           "it came to another dialog than the block's owner");
    Expect(!SharedRead(image.effectThread), Rule::HOST_FINISHED, "effectThread was not null when it came");
    Expect(reinterpret_cast<HWND>(word) == image.window, Rule::HOST_FINISHED, "its word is not the image's window");
    for (const SemaphoreHandle lock : {image.imageLock, image.objectLock}) {
        const bool image1 = lock == image.imageLock;
        Expect(OtherGets(lock) || ended->worked == 0, Rule::HOST_RUN_UNLOCKS,
               std::string(image1 ? "the image lock" : "the object lock") + " was still held when the dialog was told");
    }
    SharedWrite(image.effectThread, nullptr);   // a host that has not cleared it is found once, not at every step
    {
        const std::lock_guard hold(runsLock);
        std::erase(runs, ended);
    }
    ChooseMenus(watch.host);
    Blame(Rule::HOST_LIVES, Rule::HOST_RETURNS);
    GoOn(play);
    Forbid(ended->block);
}

//---- Looking

std::vector<uint8_t> BytesOf(const ImageRecord &image)
{
    const size_t row = size_t((image.bitsPerPixel * image.width + 31) >> 5) * 4;
    return {image.pixels, image.pixels + row * size_t(image.height)};
}

bool OtherGets(SemaphoreHandle lock)
{
    bool got = false;
    std::thread([&] {
        got = KPZ_GetMutexSem(lock, 0) != 0;
        if (got) KPZ_ReleaseMutexSem(lock);
    }).join();
    return got;
}

std::string DifferenceOf(const ImageView &view, ImageRecord &image)
{
    const auto differs = [](const char *field) { return std::string(field) + " is not the image's"; };
    if (view.width != image.width || view.height != image.height) return differs("the size");
    if (view.bitsPerPixel != image.bitsPerPixel) return differs("bitsPerPixel");
    if (view.colourType != image.colourType) return differs("colourType");
    if (view.pixels != image.pixels) return differs("pixels");
    if (view.paletteEntries != &image.paletteEntries) return "paletteEntries does not point to the image's number";
    if (view.red != image.red || view.green != image.green || view.blue != image.blue) return differs("the palette");
    if (view.abortFlag != &image.abortRequest) return "abortFlag does not point to the image's abortRequest";
    if (view.mask != image.mask) return differs("mask");
    if (view.maskInUse) return "maskInUse is set, which is for objects only";
    if (image.mask && view.maskBitsPerPixel != image.maskBitsPerPixel) return differs("maskBitsPerPixel");
    return "";
}
