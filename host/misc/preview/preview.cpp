// The preview control: shows what Apply would make of the picture. Each control has one thread that copies the
// picture, runs the worker on the copy and keeps the result; a newer request takes the place of one that waits and
// ends the one at work through the copy's own abort request. The dialog's thread only copies the block and never
// waits for the work. Work that takes long is shown as far as it has come, whenever it reports progress; before that, where
// settings allow it and the last work has taken long, coarsely (coarse.h).
//
// The control shows all of the picture at first. The dialog's buttons, the wheel and a double-click enlarge it, and a
// part of it can be dragged about. What comes to be shown next is looked at in the same way.

#include "host/misc/joining.h"
#include "host/misc/misc.h"
#include "host/misc/pictures/image_copy.h"
#include "host/misc/preview/coarse.h"
#include "host/misc/preview/rendering.h"
#include "host/misc/runs/progress.h"
#include "host/misc/runs/scope.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

static constexpr uint32_t LOCK_WAIT = 50;   // milliseconds between looks at whether the request still counts
// Unfinished work is shown after so long, and again as often: what is soon done does not flicker.
static constexpr std::chrono::milliseconds PATIENCE(140);
// Where all of it takes longer than this a coarse preview comes first.
static constexpr std::chrono::milliseconds SOON(70);

// A picture without an image: what a request works on, and what a control shows.
struct OwnPicture {
    ImageRecord record = {};
    OwnPicture() = default;
    OwnPicture(const OwnPicture &) = delete;
    OwnPicture &operator=(const OwnPicture &) = delete;
    ~OwnPicture() { FreePicture(record); }
};

struct Request {
    ImageRecord *source;
    bool work;                     // false: the picture is shown unchanged
    bool reducible;                // a smaller picture looks the same
    uint32_t seed;                 // what the run that follows will draw with
    std::vector<uint64_t> block;   // a copy of the effect's block, aligned for its pointers
    std::vector<uint64_t> coarseBlock;
    OwnPicture picture;   // its abort request ends the work
};

struct Preview {
    HWND window;
    FilterHeader *header = nullptr;   // of the last SHOW_PREVIEW, read when a message asks for it [ui]
    ImageRecord *image = nullptr;     // the header's: to look at when its block may have gone [ui]
    bool unseen = false;              // asked for before the window was shown [ui]
    View view;                        // of what is shown, whatever is shown: see Look [ui]
    bool fits = true;                 // all of the picture is in sight [ui]
    bool dragged = false;             // the mouse holds the picture [ui]
    POINT held = {};                  // at this place of it, in window pixels from its corner [ui]
    std::thread thread;
    std::mutex guard;   // of all below
    std::condition_variable changed;
    std::unique_ptr<Request> next, current;
    bool copying = false;   // the thread reads current->source, or will
    bool ended = false;
    bool slow = false;   // the last work has taken long [its thread]
    OwnPicture shown;
    bool shows = false;
};

// Dialogs live on the interface's thread, and so does this table. It stays until the process ends, whatever windows
// are still there then.
static std::unordered_map<HWND, std::unique_ptr<Preview>> &Previews()
{
    static auto &previews = *new std::unordered_map<HWND, std::unique_ptr<Preview>>;
    return previews;
}

static EffectBlock &BlockIn(std::vector<uint64_t> &block) { return *reinterpret_cast<EffectBlock *>(block.data()); }
static EffectBlock &BlockOf(Request &request) { return BlockIn(request.block); }

static bool Ended(const Request &request) { return SharedRead(request.picture.record.abortRequest) != 0; }

static void End(std::unique_ptr<Request> &request)
{
    if (request) SharedWrite(request->picture.record.abortRequest, 1);
}

//---- The control's thread

// A preview is not worth an undo step, let alone the program: a copy, and what the effect itself may need.
static bool HasRoom(const ImageRecord &source)
{
    const uint64_t plane = uint64_t(RowStride(source.bitsPerPixel, source.width)) * uint64_t(source.height);
    return HostMemoryHolds(4, plane);
}

// Hands on the image while nobody changes it; false when the request ended or a run of the image began first, or where
// there is no room for what follows.
template <typename Read> static bool ReadSource(Request &request, Read read)
{
    ImageRecord *source = request.source;
    while (!Ended(request) && !SharedRead(source->effectThread)) {
        if (!KPZ_GetMutexSem(source->imageLock, LOCK_WAIT)) continue;
        const bool room = HasRoom(*source);
        if (room) read(*source);
        KPZ_ReleaseMutexSem(source->imageLock);
        return room;
    }
    return false;
}

static bool CopySource(Request &request)
{
    return ReadSource(request, [&](const ImageRecord &source) { CopyPicture(request.picture.record, source); });
}

//---- Unfinished work

struct Work {
    Preview &preview;
    Request &request;
    std::chrono::steady_clock::time_point began = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point shown = began;   // what stands in the control; at first, when the work began
};

static void TellWindow(const Preview &preview)
{
    KPZ_InvalidateRect(preview.window, nullptr, FALSE);
    HostWake(preview.window);
}

// A picture that stands in for what is worked on.
static void ShowInstead(Preview &preview, OwnPicture &picture)
{
    {
        const std::lock_guard<std::mutex> hold(preview.guard);
        ExchangePictures(preview.shown.record, picture.record);
        preview.shows = true;
    }
    TellWindow(preview);
}

static void ShowUnfinished(void *context)
{
    Work &work = *static_cast<Work *>(context);
    if (std::chrono::steady_clock::now() - work.shown < PATIENCE || Ended(work.request)) return;
    OwnPicture unfinished;   // what was shown before, in the end
    CopyPicture(unfinished.record, work.request.picture.record);
    ShowInstead(work.preview, unfinished);
    work.shown = std::chrono::steady_clock::now();
}

// A selected area and objects are worked on apart from the picture, which shows nothing of it before the end.
static bool CanBeShownUnfinished(Request &request, const ImageRecord &picture)
{
    const int32_t mode = BlockOf(request).header.previewMode;
    if (mode != SCOPE_IMAGE && mode != SCOPE_ALL) return false;
    return picture.selection.pointCount == 0 && !picture.base.pixels && HasRoom(picture);
}

static bool CanBeCoarse(Request &request, const ImageRecord &picture)
{
    return request.reducible && CanBeShownUnfinished(request, picture) && !picture.mask &&
           picture.objectList.count == 0 && picture.bitsPerPixel >= 8 && CoarseStep(picture) > 1;
}

// Of the image itself: its copy takes as long as the coarse work does.
static void ShowCoarse(Preview &preview, Request &request)
{
    OwnPicture reduced, coarse;
    ImageRecord whole = {};   // without its pixels
    ReadSource(request, [&](const ImageRecord &source) {
        if (!CanBeCoarse(request, source)) return;
        CopyDescription(whole, source);
        Reduce(reduced.record, source, CoarseStep(source));
    });
    if (!reduced.record.pixels) return;
    request.coarseBlock = request.block;
    EffectBlock &block = BlockIn(request.coarseBlock);
    block.header.block = &block;
    block.header.image = &reduced.record;
    RunScope(block, reduced.record, SCOPE_IMAGE);
    if (Ended(request)) return;
    Enlarge(coarse.record, reduced.record, whole, CoarseStep(whole));
    ShowInstead(preview, coarse);
}

static void DoWork(Preview &preview, Request &request)
{
    Work work = {preview, request};
    if (CanBeShownUnfinished(request, request.picture.record)) ListenToReports(ShowUnfinished, &work);
    HostUseSeed(&request.seed);
    RunScope(BlockOf(request), request.picture.record, BlockOf(request).header.previewMode);
    ListenToReports(nullptr, nullptr);
    const bool late = std::chrono::steady_clock::now() - work.began > SOON;
    preview.slow = late || (preview.slow && Ended(request));   // what has ended early might have taken as long
}

// A request on its way; the worker, and what is copied, may get no memory.
struct Service {
    Preview &preview;
    Request &request;
    bool copied = false;
};

static void EndCopying(Preview &preview)
{
    const std::lock_guard<std::mutex> hold(preview.guard);
    preview.copying = false;
    preview.changed.notify_all();
}

static void CopyAndWork(Service &service)
{
    if (service.request.work && service.preview.slow) ShowCoarse(service.preview, service.request);
    service.copied = CopySource(service.request);
    EndCopying(service.preview);
    if (service.copied && service.request.work) DoWork(service.preview, service.request);
}

// What cannot be had ends here, where this library's own frames end.
static void KPZAPI CopyAndWorkOrLeave(void *context)
{
    try {
        CopyAndWork(*static_cast<Service *>(context));
    } catch (const std::bad_alloc &) {
        HostLeaveWork();
    }
}

// What is shown stays. The request's picture goes while its blocks are known to be the work's.
static void KPZAPI OnLeft(void *context, uint64_t)
{
    Service &service = *static_cast<Service *>(context);
    ListenToReports(nullptr, nullptr);
    if (!service.copied) HostReleaseWholly(service.request.source->imageLock);   // else it may be closed by now
    EndCopying(service.preview);
    FreePicture(service.request.picture.record);
    service.copied = false;
}

// Called with the guard held; gives it up while it works.
static void Serve(Preview &preview, std::unique_lock<std::mutex> &hold)
{
    preview.current = std::move(preview.next);
    preview.copying = true;
    Request &request = *preview.current;
    hold.unlock();
    Service service = {preview, request};
    HostBeginWork(0);
    HostWorkOrLeave(CopyAndWorkOrLeave, OnLeft, &service);
    HostEndWork();
    hold.lock();
    if (service.copied && !Ended(request)) {
        ExchangePictures(preview.shown.record, request.picture.record);
        preview.shows = true;
    }
    std::unique_ptr<Request> done = std::move(preview.current);
    hold.unlock();
    TellWindow(preview);
    done.reset();   // large, and nobody has to wait for it
    hold.lock();
}

static void PreviewThread(Preview *preview)
{
    std::unique_lock<std::mutex> hold(preview->guard);
    for (;;) {
        preview->changed.wait(hold, [=] { return preview->ended || preview->next; });
        if (preview->ended) return;
        Serve(*preview, hold);
    }
}

//---- Requests

static std::unique_ptr<Request> MakeRequest(const FilterHeader &header)
{
    auto request = std::make_unique<Request>();
    const size_t size = size_t(header.block->view.blockSize);
    request->block.resize((size + sizeof(uint64_t) - 1) / sizeof(uint64_t));
    memcpy(request->block.data(), header.block, size);
    EffectBlock &block = BlockOf(*request);
    block.header.block = &block;
    block.header.image = &request->picture.record;
    block.view.abortFlag = &request->picture.record.abortRequest;
    request->source = header.image;
    request->work = header.worker && block.previewOn && *block.previewOn;
    const DialogTemplate *effect = header.owner ? FindDialogTemplate(HostDialogTemplate(header.owner)) : nullptr;
    request->reducible = effect && LooksTheSameReduced(*effect);
    request->seed = MiscSeed(header.image);
    return request;
}

// Where there is no thread for it nothing is shown; the next request tries again. Called with the guard held.
static void StartThread(Preview &preview)
{
    try {
        preview.thread = std::thread(PreviewThread, &preview);
    } catch (const std::exception &) {
        preview.next.reset();
    }
}

// A running image's block is its run's: what is shown stays.
static void Ask(Preview &preview)
{
    preview.unseen = !HostWindowShown(preview.window);
    if (preview.unseen || !preview.header || SharedRead(preview.image->effectThread)) return;
    std::unique_ptr<Request> request = MakeRequest(*preview.header);
    const std::lock_guard<std::mutex> hold(preview.guard);
    End(preview.current);
    preview.next = std::move(request);
    preview.changed.notify_all();
    if (!preview.thread.joinable()) StartThread(preview);
}

static void EndPreview(Preview &preview)
{
    {
        const std::lock_guard<std::mutex> hold(preview.guard);
        preview.ended = true;
        preview.next.reset();
        End(preview.current);
        preview.changed.notify_all();
    }
    if (preview.thread.joinable()) preview.thread.join();
}

void KPZAPI MiscEndPreviews(ImageRecord *image)
{
    for (auto &[window, preview] : Previews()) {
        std::unique_lock<std::mutex> hold(preview->guard);
        if (preview->image == image) preview->header = nullptr;
        if (preview->next && preview->next->source == image) preview->next.reset();
        if (!preview->current || preview->current->source != image) continue;
        End(preview->current);
        preview->changed.wait(hold, [&p = *preview] { return !p.copying; });
    }
}

//---- Drawing

// What the window can show of the picture that is shown now.
struct Sight {
    Extent picture, window;
};

// Brings the view in line with the picture, which may be of another size than the one before. Called with the guard
// held; false while nothing is shown.
static bool Look(Preview &preview, Sight &sight)
{
    const ImageRecord &shown = preview.shown.record;
    if (!preview.shows || !shown.pixels) return false;
    RECT window;
    KPZ_GetWindowRect(preview.window, &window);
    sight = {{shown.width, shown.height}, {window.right, window.bottom}};
    const double fitting = FittingScale(sight.picture, sight.window);
    preview.fits = preview.fits || preview.view.scale <= fitting;
    if (preview.fits) preview.view.scale = fitting;
    ClampView(preview.view, sight.picture, sight.window);
    return true;
}

static RECT SeenArea(const View &view, const Sight &sight)
{
    const POINT corner = OriginOf(view, sight.picture, sight.window);
    const Extent shown = ShownExtent(view, sight.picture);
    return {std::max<LONG>(corner.x, 0), std::max<LONG>(corner.y, 0),
            std::min<LONG>(corner.x + shown.width, sight.window.width),
            std::min<LONG>(corner.y + shown.height, sight.window.height)};
}

static void Draw(Preview &preview)
{
    RECT part;
    Sight sight;
    const DrawSpace space = KPZ_BeginPaint(preview.window, nullptr, &part);
    KPZ_SetDrawSpaceToRGB(space);
    const std::lock_guard<std::mutex> hold(preview.guard);
    if (Look(preview, sight)) {
        const RECT area = SeenArea(preview.view, sight);
        std::vector<uint32_t> words(size_t(area.right - area.left) * size_t(area.bottom - area.top));
        Render({&preview.shown.record, preview.view, sight.window, 0, false}, area, words.data());
        HostDrawPixels(space, &area, words.data());
    }
    KPZ_EndPaint(space);
}

//---- Zooming and dragging

static constexpr double MOST_ENLARGED = 8;

static bool LookNow(Preview &preview, Sight &sight)
{
    const std::lock_guard<std::mutex> hold(preview.guard);
    return Look(preview, sight);
}

static void Redraw(const Preview &preview) { KPZ_InvalidateRect(preview.window, nullptr, FALSE); }

// Not below the scale at which all of the picture is seen, so 0 is that.
static void ZoomTo(Preview &preview, const Sight &sight, double scale, POINT fixed)
{
    const double fitting = FittingScale(sight.picture, sight.window);
    preview.fits = scale <= fitting;
    ZoomAbout(preview.view, std::clamp(scale, fitting, MOST_ENLARGED), fixed, sight.picture, sight.window);
    Redraw(preview);
}

static void OnZoomButton(Preview &preview, const Sight &sight, WPARAM button)
{
    const POINT middle = {sight.window.width / 2, sight.window.height / 2};
    switch (button) {
    case PREVIEW_ZOOM_OUT: ZoomTo(preview, sight, NextScale(preview.view.scale, -1), middle); break;
    case PREVIEW_ZOOM_IN: ZoomTo(preview, sight, NextScale(preview.view.scale, 1), middle); break;
    case PREVIEW_ZOOM_FIT: ZoomTo(preview, sight, 0, middle); break;
    }
}

static POINT PlaceOf(LPARAM extra) { return {int16_t(LOWORD(extra)), int16_t(HIWORD(extra))}; }

static void OnWheel(Preview &preview, const Sight &sight, WPARAM word, LPARAM extra)
{
    POINT place = PlaceOf(extra);
    HostFromScreen(preview.window, &place);
    ZoomTo(preview, sight, NextScale(preview.view.scale, int16_t(HIWORD(word)) > 0 ? 1 : -1), place);
}

static bool IsLargerThanWindow(const Preview &preview, const Sight &sight)
{
    const Extent shown = ShownExtent(preview.view, sight.picture);
    return shown.width > sight.window.width || shown.height > sight.window.height;
}

static void OnPress(Preview &preview, const Sight &sight, LPARAM extra)
{
    if (!IsLargerThanWindow(preview, sight)) return;
    const POINT place = PlaceOf(extra);
    preview.held = {place.x + preview.view.left, place.y + preview.view.top};
    preview.dragged = true;
    HostCaptureMouse(preview.window);
}

static void OnMove(Preview &preview, const Sight &sight, LPARAM extra)
{
    if (!preview.dragged) return;
    const POINT place = PlaceOf(extra);
    const View before = preview.view;
    preview.view.left = preview.held.x - place.x;
    preview.view.top = preview.held.y - place.y;
    ClampView(preview.view, sight.picture, sight.window);
    if (preview.view.left != before.left || preview.view.top != before.top) Redraw(preview);
}

static void OnRelease(Preview &preview)
{
    if (std::exchange(preview.dragged, false)) HostCaptureMouse(nullptr);
}

static void OnDoubleClick(Preview &preview, const Sight &sight, LPARAM extra)
{
    ZoomTo(preview, sight, preview.fits ? 1 : 0, PlaceOf(extra));
}

static bool OnPointer(const Preview &preview, const Sight &sight, LPARAM extra)
{
    if (LOWORD(extra) != HTCLIENT || !IsLargerThanWindow(preview, sight)) return false;
    HostShowHand();
    return true;
}

// True when the message was about how the picture is looked at. A control that shows none leaves it alone.
static bool ChangeView(Preview &preview, UINT message, WPARAM word, LPARAM extra)
{
    Sight sight;
    if (!LookNow(preview, sight)) return false;
    switch (message) {
    case ZOOM_PREVIEW: OnZoomButton(preview, sight, word); return true;
    case WM_MOUSEWHEEL: OnWheel(preview, sight, word, extra); return true;
    case WM_LBUTTONDOWN: OnPress(preview, sight, extra); return true;
    case WM_MOUSEMOVE: OnMove(preview, sight, extra); return true;
    case WM_LBUTTONUP: OnRelease(preview); return true;
    case WM_CAPTURECHANGED: preview.dragged = false; return true;
    case WM_LBUTTONDBLCLK: OnDoubleClick(preview, sight, extra); return true;
    case WM_SETCURSOR: return OnPointer(preview, sight, extra);
    default: return false;
    }
}

//---- The control

static Preview *Find(HWND window)
{
    const auto found = Previews().find(window);
    return found == Previews().end() ? nullptr : found->second.get();
}

static Preview &FindOrMake(HWND window)
{
    if (Preview *preview = Find(window)) return *preview;
    auto preview = std::make_unique<Preview>();   // before it has a place: none stays empty for want of memory
    preview->window = window;
    return *(Previews()[window] = std::move(preview));
}

static void OnDestroy(HWND window)
{
    if (Preview *preview = Find(window)) EndPreview(*preview);
    Previews().erase(window);
}

static void OnShow(HWND window, FilterHeader *header)
{
    Preview &preview = FindOrMake(window);
    preview.header = header;
    preview.image = header ? header->image : nullptr;
    Ask(preview);
}

static void OnPaint(HWND window)
{
    Preview &preview = FindOrMake(window);
    if (preview.unseen) Ask(preview);
    Draw(preview);
}

LRESULT KPZAPI PreviewProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    switch (message) {
    case SHOW_PREVIEW: OnShow(window, reinterpret_cast<FilterHeader *>(extra)); return 0;
    case PREVIEW_CHANGED: Ask(FindOrMake(window)); return 0;
    case WM_PAINT: OnPaint(window); return 0;
    case WM_DESTROY: OnDestroy(window); return 0;
    }
    Preview *preview = Find(window);
    if (preview && ChangeView(*preview, message, word, extra)) return 1;
    return KPZ_DefWindowProc(window, message, word, extra);
}

//---- Looking at it

BOOL KPZAPI MiscShownPreview(HWND window, PreviewPicture *picture)
{
    Preview *preview = Find(window);
    if (!preview) return FALSE;
    const std::lock_guard<std::mutex> hold(preview->guard);
    if (!preview->shows) return FALSE;
    ImageRecord copy = {};
    CopyPicture(copy, preview->shown.record);
    *picture = {copy.width,  copy.height, copy.bitsPerPixel,    copy.colourType,
                copy.pixels, copy.mask,   copy.maskBitsPerPixel};
    if (copy.secondMask == copy.mask) copy.secondMask = nullptr;
    copy.pixels = copy.mask = nullptr;   // the caller's now
    FreePicture(copy);
    return TRUE;
}

BOOL KPZAPI MiscLookAtPreview(HWND window, const ImageRecord *image, LookRoutine look, void *context)
{
    Preview *preview = Find(window);
    if (!preview || preview->image != image) return FALSE;
    const std::lock_guard<std::mutex> hold(preview->guard);
    if (!preview->shows || !preview->shown.record.pixels) return FALSE;
    look(context, &preview->shown.record);
    return TRUE;
}

BOOL KPZAPI MiscPreviewAtWork(HWND window)
{
    Preview *preview = Find(window);
    if (!preview) return FALSE;
    const std::lock_guard<std::mutex> hold(preview->guard);
    return preview->next || preview->current;
}
