// The preview control: shows what Apply would make of the picture. Each control has one thread that copies the
// picture, runs the worker on the copy and keeps the result; a newer request takes the place of one that waits and
// ends the one at work through the copy's own abort request. The dialog's thread only copies the block and never
// waits for the work.

#include "host/misc/image_copy.h"
#include "host/misc/misc.h"
#include "host/misc/scope.h"

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

static constexpr uint32_t LOCK_WAIT = 50;   // milliseconds between looks at whether the request still counts

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
    bool work;                    // false: the picture is shown unchanged
    std::vector<uint64_t> block;  // a copy of the effect's block, aligned for its pointers
    OwnPicture picture;           // its abort request ends the work
};

struct Preview {
    HWND window;
    FilterHeader *header = nullptr;       // of the last SHOW_PREVIEW, read when a message asks for it [ui]
    ImageRecord *image = nullptr;         // the header's: to look at when its block may have gone [ui]
    bool unseen = false;                  // asked for before the window was shown [ui]
    std::thread thread;
    std::mutex guard;                     // of all below
    std::condition_variable changed;
    std::unique_ptr<Request> next, current;
    bool copying = false;                 // the thread reads current->source
    bool ended = false;
    OwnPicture shown;
    bool shows = false;
};

// Dialogs live on the interface's thread, and so does this table. It stays until the process ends, whatever windows
// are still there then.
static auto &previews = *new std::unordered_map<HWND, std::unique_ptr<Preview>>;

static EffectBlock &BlockOf(Request &request) { return *reinterpret_cast<EffectBlock *>(request.block.data()); }

static bool Ended(const Request &request) { return SharedRead(request.picture.record.abortRequest) != 0; }

static void End(std::unique_ptr<Request> &request)
{
    if (request) SharedWrite(request->picture.record.abortRequest, 1);
}

//---- The control's thread

// A preview is not worth an undo step, let alone the program: a copy, and what the effect itself may need.
static bool HasRoom(const ImageRecord &source)
{
    const uint64_t plane = uint64_t(StrideOf(source.bitsPerPixel, source.width)) * uint64_t(source.height);
    return HostMemoryHolds(4 * plane);
}

// False when the request ended or a run of the image began first, or there is no room.
static bool CopySource(Request &request)
{
    ImageRecord *source = request.source;
    while (!Ended(request) && !SharedRead(source->effectThread)) {
        if (!KPZ_GetMutexSem(source->imageLock, LOCK_WAIT)) continue;
        const bool room = HasRoom(*source);
        if (room) CopyPicture(request.picture.record, *source);
        KPZ_ReleaseMutexSem(source->imageLock);
        return room;
    }
    return false;
}

// Called with the guard held; gives it up while it works.
static void Serve(Preview &preview, std::unique_lock<std::mutex> &hold)
{
    preview.current = std::move(preview.next);
    preview.copying = true;
    Request &request = *preview.current;
    hold.unlock();
    const bool copied = CopySource(request);
    hold.lock();
    preview.copying = false;
    preview.changed.notify_all();
    hold.unlock();
    if (copied && request.work) RunScope(BlockOf(request), request.picture.record);
    hold.lock();
    if (copied && !Ended(request)) {
        ExchangePictures(preview.shown.record, request.picture.record);
        preview.shows = true;
    }
    const std::unique_ptr<Request> done = std::move(preview.current);
    hold.unlock();
    KPZ_InvalidateRect(preview.window, nullptr, FALSE);
    HostWake(preview.window);
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
    request->work = header.worker && block.previewOn && *block.previewOn && !HostSeedIsFixed();
    return request;
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
    if (!preview.thread.joinable()) preview.thread = std::thread(PreviewThread, &preview);
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
    for (auto &[window, preview] : previews) {
        std::unique_lock<std::mutex> hold(preview->guard);
        if (preview->image == image) preview->header = nullptr;
        if (preview->next && preview->next->source == image) preview->next.reset();
        if (!preview->current || preview->current->source != image) continue;
        End(preview->current);
        preview->changed.wait(hold, [&p = *preview] { return !p.copying; });
    }
}

//---- Drawing

static uint32_t WordAt(const ImageRecord &picture, int32_t x, int32_t y)
{
    const uint8_t *row = picture.pixels + size_t(StrideOf(picture.bitsPerPixel, picture.width)) * y;
    if (picture.bitsPerPixel == 24) return row[3 * x + 2] << 16 | row[3 * x + 1] << 8 | row[3 * x];
    const int index = picture.bitsPerPixel == 8 ? row[x] : row[x >> 3] >> (7 - x % 8) & 1;
    return picture.red[index] << 16 | picture.green[index] << 8 | picture.blue[index];
}

// The picture reduced to fit the window, its shape kept, in its middle; never enlarged.
static RECT FittedArea(const ImageRecord &picture, const RECT &window)
{
    const double scale = std::min({1.0, double(window.right) / picture.width, double(window.bottom) / picture.height});
    const auto width = std::max<LONG>(1, LONG(picture.width * scale));
    const auto height = std::max<LONG>(1, LONG(picture.height * scale));
    const LONG left = (window.right - width) / 2, top = (window.bottom - height) / 2;
    return {left, top, left + width, top + height};
}

// The pixels of the area, each the picture's nearest.
static std::vector<uint32_t> PixelsOf(const ImageRecord &picture, const RECT &area)
{
    const LONG width = area.right - area.left, height = area.bottom - area.top;
    std::vector<uint32_t> words;
    words.reserve(size_t(width) * size_t(height));
    for (LONG y = 0; y < height; ++y) {
        const auto sourceY = int32_t(int64_t(y) * picture.height / height);
        for (LONG x = 0; x < width; ++x) {
            words.push_back(WordAt(picture, int32_t(int64_t(x) * picture.width / width), sourceY));
        }
    }
    return words;
}

static void Draw(Preview &preview)
{
    RECT part, window;
    const DrawSpace space = KPZ_BeginPaint(preview.window, nullptr, &part);
    KPZ_GetWindowRect(preview.window, &window);
    KPZ_SetDrawSpaceToRGB(space);
    const std::lock_guard<std::mutex> hold(preview.guard);
    if (preview.shows && preview.shown.record.pixels) {
        const RECT area = FittedArea(preview.shown.record, window);
        HostDrawPixels(space, &area, PixelsOf(preview.shown.record, area).data());
    }
    KPZ_EndPaint(space);
}

//---- The control

static Preview *Find(HWND window)
{
    const auto found = previews.find(window);
    return found == previews.end() ? nullptr : found->second.get();
}

static Preview &FindOrMake(HWND window)
{
    std::unique_ptr<Preview> &preview = previews[window];
    if (!preview) {
        preview = std::make_unique<Preview>();
        preview->window = window;
    }
    return *preview;
}

static void OnDestroy(HWND window)
{
    if (Preview *preview = Find(window)) EndPreview(*preview);
    previews.erase(window);
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

static LRESULT KPZAPI PreviewProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    switch (message) {
    case SHOW_PREVIEW: OnShow(window, reinterpret_cast<FilterHeader *>(extra)); return 0;
    case PREVIEW_CHANGED: Ask(FindOrMake(window)); return 0;
    case WM_PAINT: OnPaint(window); return 0;
    case WM_DESTROY: OnDestroy(window); return 0;
    default: return KPZ_DefWindowProc(window, message, word, extra);
    }
}

// Loading the library is enough for a host to have previews.
static const bool procedureSet = (HostSetPreviewProcedure(PreviewProcedure), true);

//---- Looking at it

BOOL KPZAPI MiscShownPreview(HWND window, PreviewPicture *picture)
{
    Preview *preview = Find(window);
    if (!preview) return FALSE;
    const std::lock_guard<std::mutex> hold(preview->guard);
    if (!preview->shows) return FALSE;
    ImageRecord copy = {};
    CopyPicture(copy, preview->shown.record);
    *picture = {copy.width, copy.height, copy.bitsPerPixel, copy.colourType, copy.pixels, copy.mask,
                copy.maskBitsPerPixel};
    if (copy.secondMask == copy.mask) copy.secondMask = nullptr;
    copy.pixels = copy.mask = nullptr;   // the caller's now
    FreePicture(copy);
    return TRUE;
}

BOOL KPZAPI MiscPreviewAtWork(HWND window)
{
    Preview *preview = Find(window);
    if (!preview) return FALSE;
    const std::lock_guard<std::mutex> hold(preview->guard);
    return preview->next || preview->current;
}
