// How a call goes: its picture is opened as an image and made the active one, the effect's dialog is opened or is open
// already, the settings are worked, Apply is pressed, and when the dialog has heard of the run's end the picture is
// taken back or the next step begins. Everything happens in Advance, which is asked again after every message.
//
// Dialogs are modal: each runs its own loop within the one before. So a dialog that has been opened stays until no call
// is left, and then the innermost goes first. There are at most as many as there are effects.

#include "host/library/service.h"

#include "host/documents/image_parts.h"
#include "host/library/fringe.h"
#include "host/library/masks.h"
#include "host/library/module_file.h"
#include "host/library/run_handle.h"
#include "host/library/settings.h"
#include "host/paths/replacement.h"

#include <algorithm>
#include <cassert>
#include <new>
#include <utility>

static constexpr int32_t SAMPLE_SIZE = 32;
static constexpr int32_t TYPES[] = {RGB, GREY, PALETTE, ONE_BIT};
static constexpr size_t MOST_CALLS = 200;   // a host opens 500 pictures, and a call has two at most

//---- Types

const char *NameOfColourType(int32_t colourType)
{
    switch (colourType) {
    case ONE_BIT: return "1-bit";
    case GREY: return "grey";
    case PALETTE: return "palette";
    default: return "RGB";
    }
}

static Picture SamplePicture(int32_t colourType)
{
    Picture sample = NewPicture(colourType, SAMPLE_SIZE, SAMPLE_SIZE);
    if (colourType == PALETTE) sample.paletteEntries = 1;
    return sample;
}

uint32_t TypesOf(Host &host, const DialogTemplate &effect)
{
    uint32_t types = 0;
    ImageRecord *previous = host.context.activeImage;
    for (const int32_t type : TYPES) {
        ImageRecord *sample = OpenImage(host, SamplePicture(type));
        ActivateImage(host, sample);
        if (CommandEnabled(host, effect.commandOffset)) types |= 1u << type;
        CloseImage(host, sample);
    }
    if (previous) ActivateImage(host, previous);
    return types;
}

static std::string NamesOfTypes(uint32_t types)
{
    std::vector<std::string> names;
    for (const int32_t type : TYPES)
        if (types >> type & 1) names.push_back(NameOfColourType(type));
    std::string text;
    for (size_t i = 0; i < names.size(); ++i) text += (i == 0 ? "" : i + 1 == names.size() ? " and " : ", ") + names[i];
    return text.empty() ? "no" : text;
}

//---- Start and end

// A box without a call is one that nobody can be told of.
static int32_t KPZAPI HearMessageBox(void *context, HWND, const char *text, const char *, int32_t)
{
    const auto &service = *static_cast<Service *>(context);
    if (service.speaking) service.speaking->boxes.push_back(text);
    return IDOK;
}

// A report comes late when the run before it in the chain has sent it: what counts is how far this one is.
static void HearProgress(Service &service, ImageRecord *image)
{
    for (Call *call : service.calls) {
        if (call->image != image || call->stage != Call::Stage::RUNNING) continue;
        // A run that is just starting forgets an earlier request.
        if (AbortWanted(*call)) SharedWrite(image->abortRequest, 1);
        const int tenths = MiscProgress(image->progress);
        if (tenths < 0 || (call->waiting && !call->cleaning)) continue;
        TellProgress(*call, int(call->step), call->cleaning ? (10 * int(call->part) + tenths) / 3 : tenths);
    }
}

// A process that ends for want of memory leaves no half-written file.
static void KPZAPI DropFiles(void *) { DropAllReplacements(); }

bool StartService(Service &service, std::string &error)
{
    service.calls.reserve(MOST_CALLS);   // who is waiting can be answered without memory
    HostLetRunsBeLeft(TRUE);
    HostBeforeMemoryEnd(DropFiles, nullptr);
    if (!StartHost(service.host, ModuleFile(), error)) return false;
    HostAnswerMessageBoxes(HearMessageBox, &service);
    MiscKeepUndoSteps(0);   // who wants the picture back has kept it: PerformRun
    service.resting = OpenImage(service.host, SamplePicture(RGB));
    service.host.onProgress = [&service](ImageRecord *image, int) { HearProgress(service, image); };
    return true;
}

void EndService(Service &service)
{
    EndHost(service.host);
    HostLetRunsBeLeft(FALSE);
    HostAnswerMessageBoxes(nullptr, nullptr);
    service.resting = nullptr;
}

//---- One call

static const Step &StepOf(const Call &call) { return (*call.steps)[call.step]; }

static const DialogTemplate &EffectOf(const Call &call) { return call.effect ? *call.effect : *StepOf(call).effect; }

// Without memory it stays behind, with nobody to look at it again.
static void CloseOpen(Service &service, ImageRecord *&place)
{
    ImageRecord *image = std::exchange(place, nullptr);
    try {
        if (image) CloseImage(service.host, image);
    } catch (const std::bad_alloc &) {
    }
}

static void CloseImages(Service &service, Call &call)
{
    CloseOpen(service, call.image);
    CloseOpen(service, call.waiting);
}

static void End(Service &service, Call &call, vlm_code code, const std::string &line = "")
{
    CloseImages(service, call);
    call.code = code;
    try {
        call.line = line;
        for (std::string &box : call.boxes) call.notices.push_back(std::move(box));
    } catch (const std::bad_alloc &) {   // an end begun is brought to its end
        call.code = VLM_NO_MEMORY;
        call.line = "out of memory";   // short enough to need none
    }
    if (call.code != VLM_OK && !call.task) call.failedStep = int(call.step);
    call.stage = Call::Stage::ENDED;
    std::erase(service.calls, &call);
    TellEnd(call);
}

static void EndRefused(Service &service, Call &call, const std::string &otherwise)
{
    if (call.boxes.empty()) return End(service, call, VLM_FAILED, otherwise);
    const std::string box = call.boxes.back();
    call.boxes.pop_back();
    End(service, call, VLM_REFUSED, box);
}

static std::string NotBuilt(const DialogTemplate &effect)
{
    return std::string(effect.effect) + ": no such effect (velmorant effects lists them)";
}

static HWND DialogOf(const Service &service, const DialogTemplate &effect)
{
    for (const Service::OpenDialog &dialog : service.dialogs)
        if (dialog.effect == &effect) return dialog.window;
    return nullptr;
}

static void Advance(Service &service);

// An open dialog has its place on record as long as this stands.
struct OnRecord {
    Service &service;
    OnRecord(Service &keeper, const Service::OpenDialog &dialog) : service(keeper)
    {
        service.dialogs.push_back(dialog);
    }
    OnRecord(const OnRecord &) = delete;
    OnRecord &operator=(const OnRecord &) = delete;
    ~OnRecord() { service.dialogs.pop_back(); }
};

// Opens the effect's dialog for the active image and serves calls until none is left. False when it did not open. A
// dialog's Close is greyed while the active image runs.
static bool ServeInDialog(Service &service, const DialogTemplate &effect)
{
    return ActInDialog(service.host, effect.commandOffset, [&](HWND dialog) {
        {
            const OnRecord record(service, {&effect, dialog});
            Tick(dialog, PREVIEW_CHECK, false);
            WaitUntil([&service] {
                Advance(service);
                return service.calls.empty();
            });
        }
        Press(dialog, CLOSE_BUTTON);
    });
}

//---- Tasks

static ImageRecord *OpenSample(Service &service, const DialogTemplate &effect)
{
    const uint32_t types = TypesOf(service.host, effect);
    for (const int32_t type : TYPES)
        if (types >> type & 1) return OpenImage(service.host, SamplePicture(type));
    return nullptr;
}

static void DoTask(Service &service, Call &call, HWND dialog)
{
    service.speaking = &call;
    call.task(service.host, dialog);
    service.speaking = nullptr;
    End(service, call, call.code, call.line);
}

static void AdvanceTask(Service &service, Call &call)
{
    if (!call.effect) return DoTask(service, call, nullptr);
    if (!call.image) call.image = OpenSample(service, *call.effect);
    if (!call.image) return End(service, call, VLM_NO_SUCH_EFFECT, NotBuilt(*call.effect));
    ActivateImage(service.host, call.image);
    call.stage = Call::Stage::OPEN;
    if (const HWND dialog = DialogOf(service, *call.effect)) return DoTask(service, call, dialog);
    if (ServeInDialog(service, *call.effect)) return;   // and there it was done
    End(service, call, VLM_NO_SUCH_EFFECT, NotBuilt(*call.effect));
}

//---- Runs

static void Furnish(const Step &step, ImageRecord *image)
{
    std::string ignored;   // too large an object has been refused already
    for (const StepObject &object : step.objects) AddObject(image, *object.picture, object.x, object.y, ignored);
    if (!step.area) return;
    const GivenArea &area = *step.area;
    SelectArea(image, area.left, area.top, area.left + area.width - 1, area.top + area.height - 1);
}

// An effect that changes the size is run without the mask plane, which is run after it as a picture of its own.
static PlaneBytes TakeMaskPlane(ImageRecord *image)
{
    PlaneBytes mask(image->mask);
    if (image->secondMask == image->mask) image->secondMask = nullptr;
    image->mask = nullptr;
    return mask;
}

static void AllowThreads(const Call &call)
{
    if (call.run) HostAllowThreadsFor(call.image, call.run->threads);
}

// Not where objects float, which lie on the picture that is seen.
static bool CleansFringe(const Call &call, int32_t colourType, int32_t maskBitsPerPixel)
{
    const Step &step = StepOf(call);
    const bool objects = !step.objects.empty() || (call.image && call.image->objectList.count > 0);
    return !objects && WantsCleanFringe(step, call.clean) && HasFringe(step, colourType, maskBitsPerPixel);
}

static void OpenPicture(Service &service, Call &call)
{
    const Step &step = StepOf(call);
    Picture &picture = call.picture;
    call.cleaning = picture.mask && CleansFringe(call, picture.colourType, picture.maskBitsPerPixel);
    if (call.cleaning)
        call.seen =
            SeenColours(picture.pixels.get(), picture.mask.get(), picture.colourType, picture.width, picture.height);
    if ((EffectOf(call).changesSize || call.cleaning) && picture.mask) call.mask = MaskAsPicture(picture);
    call.image = OpenImage(service.host, std::move(call.picture), [&](ImageRecord *image) { Furnish(step, image); });
    AllowThreads(call);
    call.picture = {};
}

// The next step finds the picture as a person would who closes and opens it again: with fresh settings in every dialog.
static void OpenAgain(Service &service, Call &call)
{
    ImageRecord *image = call.image;
    FloaterList *floaters = service.host.context.floaters;
    call.cleaning = image->mask && CleansFringe(call, image->colourType, image->maskBitsPerPixel);
    if (call.cleaning)
        call.seen = SeenColours(image->pixels, image->mask, image->colourType, image->width, image->height);
    if ((EffectOf(call).changesSize || call.cleaning) && image->mask) {
        const int32_t bits = image->maskBitsPerPixel;
        call.mask = MaskAsPicture(TakeMaskPlane(image), bits, image->width, image->height);
        image->maskBitsPerPixel = 0;
    }
    SelectNothing(image);
    Furnish(StepOf(call), image);
    MiscTellFloaters(floaters, IMAGE_CLOSED, 0, reinterpret_cast<LPARAM>(image));
    MiscTellFloaters(floaters, IMAGE_OPENED, 0, reinterpret_cast<LPARAM>(image));
}

static void SetSeed(const Call &call)
{
    const Step &step = StepOf(call);
    if (step.seed || call.seed) MiscSetSeed(call.image, step.seed ? *step.seed : *call.seed);
}

static void NoteSeed(Call &call)
{
    uint32_t seed;
    call.seeds.resize(call.steps->size());
    if (MiscUsedSeed(call.image, &seed)) call.seeds[call.step] = seed;
}

static bool AnyRuns(const Service &service)
{
    return std::any_of(service.calls.begin(), service.calls.end(),
                       [](const Call *call) { return call->stage == Call::Stage::RUNNING; });
}

// False when the run, or the attempt at one, has not failed for want of memory or of a thread.
static bool EndFailed(Service &service, Call &call)
{
    char line[160];
    const int32_t failure = HostRunFailure(call.image, line, sizeof line);
    if (failure == RUN_WENT) return false;
    End(service, call, failure == RUN_WITHOUT_MEMORY ? VLM_NO_MEMORY : VLM_NO_THREAD, line);
    return true;
}

// Sets everything in the dialog and presses Apply, for the active image.
static void StartRun(Service &service, Call &call, HWND dialog)
{
    SettingFault fault;
    const Purpose purpose = call.waiting ? Purpose::MASK : Purpose::PICTURE;
    const int32_t edge = std::min(call.image->width, call.image->height) - 2 * call.border;
    service.speaking = &call;
    SetSeed(call);
    Tick(dialog, PREVIEW_CHECK, false);
    const bool taken = GiveSettings(dialog, StepOf(call), purpose, edge, call.boxes, fault);
    if (taken && call.unchecked && purpose == Purpose::PICTURE)
        for (std::string &notice : Contradictions(dialog, StepOf(call))) call.notices.push_back(std::move(notice));
    if (taken) Press(dialog, APPLY_BUTTON);
    service.speaking = nullptr;
    if (!taken)
        return End(service, call, fault.code, (fault.subject.empty() ? "''" : fault.subject) + ": " + fault.text);
    if (RunUnderWay(call.image)) call.stage = Call::Stage::RUNNING;
    else if (HostRunFailure(call.image, nullptr, 0) == RUN_WITHOUT_THREAD && AnyRuns(service)) call.threadless = true;
    else if (!EndFailed(service, call)) EndRefused(service, call, "the effect did not start");
}

static std::string FaultOfType(Service &service, const Call &call)
{
    const DialogTemplate &effect = EffectOf(call);
    if (CommandEnabled(service.host, effect.commandOffset)) return "";
    const uint32_t types = TypesOf(service.host, effect);
    if (types == 0) return NotBuilt(effect);
    return std::string(effect.effect) + " works on " + NamesOfTypes(types) +
           " pictures; its command is greyed for this " + NameOfColourType(call.image->colourType) + " one";
}

// Makes the call's image the active one and starts its run there, once the dialog is open.
static void BeginRun(Service &service, Call &call)
{
    ActivateImage(service.host, call.image);
    const std::string fault = FaultOfType(service, call);
    if (!fault.empty()) return End(service, call, VLM_UNFIT_PICTURE, fault);
    call.stage = Call::Stage::OPEN;
    const DialogTemplate &effect = EffectOf(call);
    if (const HWND dialog = DialogOf(service, effect)) return StartRun(service, call, dialog);
    if (ServeInDialog(service, effect)) return;   // and there it was run
    End(service, call, VLM_NO_SUCH_EFFECT, NotBuilt(effect));
}

// A step with edges of its own choosing works on a picture that goes on beyond its border, opened for it alone.
static void TakeBorder(Service &service, Call &call)
{
    const Edges edges = EdgesOf(StepOf(call));
    call.border = 0;
    if (edges == Edges::OWN) return;
    if (call.image) call.picture = TakePicture(call.image);
    CloseImages(service, call);
    const int32_t border =
        PixelsReached(StepOf(call), call.reaches[call.step], call.picture.width, call.picture.height);
    call.picture = WithBorder(call.picture, border, edges);
    call.border = border;
}

static void BeginStep(Service &service, Call &call)
{
    const int32_t width = call.image ? call.image->width : call.picture.width;
    const int32_t height = call.image ? call.image->height : call.picture.height;
    const std::string fault = FaultOfArea(StepOf(call), width, height);
    const std::string step = call.step > 0 ? "step " + std::to_string(call.step + 1) + ": " : "";
    if (!fault.empty()) return End(service, call, VLM_UNFIT_PICTURE, step + fault);
    TakeBorder(service, call);
    if (call.image) OpenAgain(service, call);
    else OpenPicture(service, call);
    TellProgress(call, int(call.step), 0);
    BeginRun(service, call);
}

// The picture stays open meanwhile. What runs beside it has none of its objects; a fringe is cleaned within the step's area.
static void BeginPart(Service &service, Call &call, Call::Part part)
{
    Picture &plane = part == Call::Part::MASK ? call.mask : call.seen;
    call.part = part;
    if (!call.waiting) call.waiting = call.image;
    const Step &step = StepOf(call);
    call.image = OpenImage(service.host, std::move(plane), [&](ImageRecord *image) {
        if (call.cleaning) Furnish(step, image);
    });
    AllowThreads(call);
    plane = {};
    BeginRun(service, call);
}

static void TakePartBack(Service &service, Call &call)
{
    (call.part == Call::Part::MASK ? call.mask : call.seen) = TakePicture(call.image);
    CloseOpen(service, call.image);
}

// All parts of the step's picture in one again.
static void JoinParts(Call &call)
{
    if (call.waiting) call.image = std::exchange(call.waiting, nullptr);
    if (call.cleaning) {
        const ImageRecord &image = *call.image;
        assert(call.seen.width == image.width && call.mask.width == image.width && call.seen.height == image.height &&
               "all parts went through the same effect");
        MendFringe(image.pixels, image.width, image.height, image.bitsPerPixel, call.mask.pixels.get(),
                   call.seen.pixels.get());
        call.seen = {};
    }
    call.part = Call::Part::PICTURE;
    call.cleaning = false;
    if (!call.mask.pixels) return;
    const int32_t bits = call.mask.bitsPerPixel;
    SetMask(call.image, std::move(call.mask.pixels), bits);
    call.mask = {};
}

static void TakeResult(Service &service, Call &call)
{
    call.stage = Call::Stage::OPEN;
    if (EndFailed(service, call)) return;
    if (MiscLastRunAborted(call.image)) return End(service, call, VLM_ABORTED, "aborted");
    if (call.part != Call::Part::PICTURE) TakePartBack(service, call);
    else NoteSeed(call);
    const bool maskFollows =
        call.cleaning || (!call.waiting && MaskFollows(call.mask, call.image->width, call.image->height));
    if (call.part == Call::Part::PICTURE && maskFollows) return BeginPart(service, call, Call::Part::MASK);
    if (call.part == Call::Part::MASK && call.cleaning) return BeginPart(service, call, Call::Part::SEEN);
    JoinParts(call);
    if (call.border) {
        call.picture = TakePicture(call.image);
        CloseImages(service, call);
        call.picture = WithoutBorder(call.picture, call.border);
    }
    TellProgress(call, int(call.step), 10);
    if (++call.step < call.steps->size()) return BeginStep(service, call);
    if (call.image) call.picture = TakePicture(call.image);
    End(service, call, VLM_OK);
}

// Whether anything changed.
static bool AdvanceCall(Service &service, Call &call)
{
    if (call.stage == Call::Stage::RUNNING) {
        // The dialog hears of the end before the thread has done with the image.
        if (!RunUnderWay(call.image) && !HostRunUnderWay(call.image)) return TakeResult(service, call), true;
        if (AbortWanted(call)) SharedWrite(call.image->abortRequest, 1);
        return false;
    }
    if (AbortWanted(call)) return End(service, call, VLM_ABORTED, "aborted"), true;
    if (call.task) return AdvanceTask(service, call), true;
    if (call.threadless && AnyRuns(service)) return false;   // there may be a thread for it when those have ended
    call.threadless = false;
    if (call.stage == Call::Stage::ARRIVED) return BeginStep(service, call), true;
    return BeginRun(service, call), true;   // whose dialog has opened since
}

// What the dialogs' thread itself cannot get is its call's failure. The call may have ended already.
static bool AdvanceOrEnd(Service &service, Call *call)
{
    try {
        return AdvanceCall(service, *call);
    } catch (const std::bad_alloc &) {
        service.speaking = nullptr;
        const bool underWay = std::find(service.calls.begin(), service.calls.end(), call) != service.calls.end();
        if (underWay) End(service, *call, VLM_NO_MEMORY, "out of memory");   // short enough to need none
        return true;
    }
}

//---- All of them

// Does all that can be done now, from the start again whenever something was: a dialog that opened and closed has served
// other calls meanwhile.
static void Advance(Service &service)
{
    for (bool moved = true; moved;) {
        moved = false;
        TakeArrivals(service.calls, MOST_CALLS - service.calls.size());
        for (size_t i = 0; i < service.calls.size() && !moved; ++i) moved = AdvanceOrEnd(service, service.calls[i]);
    }
}

// Run threads have ended altogether when it returns, so that the thread is at rest where a fork may find it.
void Serve(Service &service)
{
    WaitUntil([&service] {
        Advance(service);
        return service.calls.empty();
    });
    HostWaitForThreads();
    HostMemoryWasShort();   // fills the reserve again
}
