// The stage for effects that bring a run of their own: an image with objects, a run on it, and the calls it made of the
// host, written down in words. What an effect should have called stands in its test.

#include "tests/effects/own_run_stage.h"

#include "tests/support/watched_calls.h"

#include <cstring>
#include <map>

//---- Watching a run

struct Watch {
    ThreadRoutine routine;
    ImageRecord *image;
    RunPlan plan;
    std::map<intptr_t, std::string> names;   // of addresses
    Lines calls;
    intptr_t anchor = 0, queue = 0;
};
static Watch *planned;
static thread_local Watch *watched;   // on the run's thread

static void KPZAPI WatchedThread(FilterHeader *header)
{
    watched = planned;
    const int nullFreesBefore = NullFrees(), emptyBefore = EmptyRequests();
    watched->routine(header);
    EXPECT_EQ(NullFrees(), nullFreesBefore);
    EXPECT_EQ(EmptyRequests(), emptyBefore);
}

static std::string NameOf(intptr_t value)
{
    const auto found = watched->names.find(value);
    if (found != watched->names.end()) return found->second;
    // Addresses begin above a million, and no number here is as large.
    const bool isAddress = value > 1 << 20;
    return isAddress ? "?" : std::to_string(value);
}

// The thread's two handles, which may be alike, are known from the first call that is given them.
static void NameHandle(const std::string &call, intptr_t handle)
{
    if (call == "KPZ_CreateMsgQueue") watched->anchor = handle;
    if (call == "KPZ_CancelShutdown") watched->queue = handle;
    const bool isQueue = call == "KPZ_CancelShutdown" || call == "KPZ_DestroyMsgQueue";
    const bool isAnchor = call == "KPZ_CreateMsgQueue" || call == "KPZ_Terminate";
    if (isQueue && handle == watched->queue) watched->names[handle] = "queue";
    if (isAnchor && handle == watched->anchor) watched->names[handle] = "anchor";
}

static bool IsLeftOut(const std::string &call)
{
    return call == "KPZ_AllocMem" || call == "KPZ_FreeMem" || call == "IncrementProgress" ||
           call == "KPZ_SendMsgNoWait";
}

static void KPZAPI WatchCall(void *, const char *name, const intptr_t *arguments, int32_t count, const char *text)
{
    const std::string call = name;
    if (!watched || IsLeftOut(call)) return;
    if (count > 0) NameHandle(call, arguments[0]);
    std::string line = call + "(", remark = text ? std::string(" ") + text : "";
    for (int32_t i = 0; i < count; ++i) {
        const bool isText = text && arguments[i] == reinterpret_cast<intptr_t>(text);
        line += (i ? ", " : "") + (isText ? std::string(text) : NameOf(arguments[i]));
        if (isText) remark.clear();
    }
    if (int(watched->calls.size()) == watched->plan.abortAtCall) SharedWrite(watched->image->abortRequest, 1);
    watched->calls.push_back(line + ")" + remark);
}

//---- Images

static size_t PlaneBytesOf(int32_t bits, int32_t width, int32_t height)
{
    return StrideFor(bits, width) * size_t(height);
}

void FillAtRandom(Stage &stage, uint32_t seed)
{
    ImageRecord &image = stage.image;
    std::mt19937 generator(seed);
    Picture picture = RandomPicture(image.colourType, image.width, image.height, generator);
    if (image.mask) AddRandomMask(picture, image.maskBitsPerPixel, generator);
    memcpy(image.pixels, picture.pixels.get(), PlaneBytesOf(image.bitsPerPixel, image.width, image.height));
    const size_t maskBytes = PlaneBytesOf(image.maskBitsPerPixel, image.width, image.height);
    if (image.mask) memcpy(image.mask, picture.mask.get(), maskBytes);
    CopyPalette(image, picture);
}

int32_t BitsOf(const Stage &stage) { return stage.image.bitsPerPixel; }

int32_t ObjectBitsOf(const Stage &stage)
{
    return stage.image.colourType == RGB || stage.image.colourType == GREY ? 8 : 1;
}

FloatingObject *AddRandomObject(Stage &stage, int32_t x, int32_t y, int32_t width, int32_t height, bool selected,
                                uint32_t seed)
{
    FloatingObject *object = AddObject(stage, x, y, width, height, 0, 0, selected);
    std::mt19937 generator(seed);
    Picture picture = RandomPicture(stage.image.colourType, width, height, generator);
    AddRandomMask(picture, ObjectBitsOf(stage), generator);
    const size_t pixelBytes = PlaneBytesOf(stage.image.bitsPerPixel, width, height);
    memcpy(object->pixels, picture.pixels.get(), pixelBytes);
    memcpy(object->pixels + pixelBytes, picture.mask.get(), PlaneBytesOf(ObjectBitsOf(stage), width, height));
    memset(object->reserved, 7, sizeof object->reserved);
    return object;
}

void ShowObjects(Stage &stage)
{
    KeepBase(stage);
    const ObjectList &list = stage.image.objectList;
    for (int32_t i = 0; i < list.count; ++i) FastPasteInto(&stage.image, list.objects[i], 0);
}

std::unique_ptr<Stage> FullStage(int32_t colourType, int32_t maskBits, PictureSize size, uint32_t seed)
{
    auto stage = std::make_unique<Stage>(colourType, size.width, size.height, maskBits);
    stage->image.windowPlacement[0] = 31;
    stage->image.windowPlacement[1] = 32;
    FillAtRandom(*stage, seed);
    AddRandomObject(*stage, 3, 2, 7, 5, true, seed + 1);
    AddRandomObject(*stage, -2, 4, 6, 9, false, seed + 2);
    AddRandomObject(*stage, 11, -3, 12, 6, true, seed + 3);
    ShowObjects(*stage);
    CreateOutlineOfObjects(&stage->image.objectList, &stage->image.objectOutline, stage->image.objectLock);
    return stage;
}

//---- What is expected of an image

Raster PixelsAs(const Stage &stage, const uint8_t *pixels, int32_t width, int32_t height)
{
    return RasterOfPlane(pixels, width, height, stage.image.bitsPerPixel);
}

Raster MaskAs(const Stage &stage, int32_t width, int32_t height)
{
    return RasterOfPlane(stage.image.mask, width, height, stage.image.maskBitsPerPixel);
}

ObjectPicture PictureOf(const Stage &stage, int32_t index)
{
    const FloatingObject &object = *stage.image.objectList.objects[index];
    EXPECT_EQ(object.pixels, reinterpret_cast<const uint8_t *>(&object + 1));
    const size_t pixelBytes = PlaneBytesOf(stage.image.bitsPerPixel, object.width, object.height);
    return {object.x, object.y, PixelsAs(stage, object.pixels, object.width, object.height),
            RasterOfPlane(object.pixels + pixelBytes, object.width, object.height, ObjectBitsOf(stage))};
}

testing::AssertionResult SameRaster(const Raster &actual, const Raster &expected)
{
    if (actual.width != expected.width || actual.height != expected.height || actual.bits != expected.bits) {
        return testing::AssertionFailure()
               << actual.width << " x " << actual.height << " x " << actual.bits << " instead of " << expected.width
               << " x " << expected.height << " x " << expected.bits;
    }
    for (int y = 0; y < actual.height; ++y) {
        for (int x = 0; x < actual.width; ++x) {
            const Pixel pixel = Get(actual, x, y), wanted = Get(expected, x, y);
            if (pixel != wanted) {
                return testing::AssertionFailure() << "(" << x << ", " << y << "): " << testing::PrintToString(pixel)
                                                   << " instead of " << testing::PrintToString(wanted);
            }
        }
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult SameObject(const ObjectPicture &actual, const ObjectPicture &expected)
{
    if (actual.x != expected.x || actual.y != expected.y) {
        return testing::AssertionFailure()
               << "at (" << actual.x << ", " << actual.y << ") instead of (" << expected.x << ", " << expected.y << ")";
    }
    const testing::AssertionResult pixels = SameRaster(actual.pixels, expected.pixels);
    return pixels ? SameRaster(actual.mask, expected.mask) : pixels;
}

bool operator==(const ObjectPicture &left, const ObjectPicture &right) { return bool(SameObject(left, right)); }

void ExpectRecordedSize(const Stage &stage, int32_t width, int32_t height)
{
    EXPECT_EQ(stage.image.width, width);
    EXPECT_EQ(stage.image.height, height);
    EXPECT_EQ(stage.image.base.width, width);
    EXPECT_EQ(stage.image.base.height, height);
}

void ExpectPutTogether(const Stage &stage)
{
    const ImageRecord &image = stage.image;
    if (!image.base.pixels) return;
    const size_t size = PlaneBytesOf(image.bitsPerPixel, image.width, image.height);
    ImageRecord together = image;
    together.pixels = NewBytes(size, 0);
    memcpy(together.pixels, image.base.pixels, size);
    for (int32_t i = 0; i < image.objectList.count; ++i) FastPasteInto(&together, image.objectList.objects[i], 0);
    EXPECT_EQ(memcmp(together.pixels, image.pixels, size), 0);
    KPZ_FreeMem(together.pixels);
}

//---- Runs

static std::map<intptr_t, std::string> NamesIn(Stage &stage)
{
    ImageRecord &image = stage.image;
    std::map<intptr_t, std::string> names;
    const auto name = [&names](const void *address, const char *word) {
        names[reinterpret_cast<intptr_t>(address)] = word;
    };
    name(&image, "image");
    name(&image.width, "width");
    name(&image.height, "height");
    name(&image.displayCopy, "displayCopy");
    name(&image.pixels, "pixels");
    name(&image.base.pixels, "base");
    name(&image.mask, "mask");
    name(image.red, "red");
    name(image.green, "green");
    name(image.blue, "blue");
    name(image.imageLock, "imageLock");
    name(image.objectLock, "objectLock");
    name(&image.cropArea, "cropArea");
    name(&image.objectList, "objects");
    name(&image.objectOutline, "outline");
    name(KPZ_GetClientHwnd(image.window, 0), "client");
    name(image.window, "window");
    name(&image.paletteChanged, "paletteChanged");
    name(&image.abortRequest, "abortRequest");
    name(image.progress, "progress");
    name(stage.dialog, "dialog");
    names.erase(0);
    return names;
}

Lines RunOwn(Stage &stage, const EffectDescriptor &effect, int32_t scope, const std::vector<int32_t> &own,
             const RunPlan &plan)
{
    struct {
        EffectBlock common;
        int32_t own[3];
    } block = {};
    block.common.view.blockSize = effect.blockSize;
    FilterHeader &header = block.common.header;
    header.block = &block.common;
    header.image = &stage.image;
    header.owner = stage.dialog;
    header.previewMode = scope;
    header.priority = HIGHEST_PRIORITY;
    std::copy(own.begin(), own.end(), block.own);

    Watch watch = {effect.thread, &stage.image, plan, NamesIn(stage), {}};
    for (const int32_t value : own) watch.names.emplace(value, std::to_string(value));   // a colour is no address
    planned = &watch;
    HostObserveCalls(WatchCall, nullptr);
    HostRefuseSemaphore(plan.refused);
    StartThread(stage, WatchedThread, header);
    WaitForEnd(stage);
    HostRefuseSemaphore(nullptr);
    HostObserveCalls(nullptr, nullptr);
    EXPECT_EQ(stage.finishedWord, reinterpret_cast<WPARAM>(stage.image.window));
    EXPECT_EQ(stage.threadAtFinish, nullptr) << "the effect thread is cleared before the dialog is told";
    return watch.calls;
}

Lines operator+(Lines left, const Lines &right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

testing::AssertionResult SameCalls(const Lines &actual, const Lines &expected)
{
    const auto at = [](const Lines &calls, size_t i) { return i < calls.size() ? calls[i] : "nothing"; };
    for (size_t i = 0; i < std::max(actual.size(), expected.size()); ++i) {
        if (at(actual, i) == at(expected, i)) continue;
        return testing::AssertionFailure()
               << "call " << i << ": " << at(actual, i) << " instead of " << at(expected, i);
    }
    return testing::AssertionSuccess();
}

Lines OpeningCalls()
{
    return {"KPZ_Initialize()", "KPZ_CreateMsgQueue(anchor, 0)", "KPZ_CancelShutdown(queue, 1)",
            "KPZ_GetMutexSem(imageLock, 5000)", "KPZ_GetMutexSem(objectLock, 5000)"};
}

Lines RebuildingCalls(int32_t pasted, bool selected)
{
    Lines calls(size_t(pasted), "FastPasteInto(image, ?, 0)");
    if (selected) calls.push_back("CreateOutlineOfObjects(objects, outline, objectLock)");
    return calls;
}

Lines DisplayCalls(const Stage &stage)
{
    const ImageRecord &image = stage.image;
    const std::string entries = std::to_string(image.paletteEntries), bits = std::to_string(image.bitsPerPixel);
    Lines calls = {"KPZ_SetThreadPriority(0, 2)"};
    if (image.bitsPerPixel == 24) calls.push_back("KPZ_GetDisplayDepth()");
    calls.push_back("KPZ_AdjustPalette(red, green, blue, " + entries + ", paletteChanged, " + bits + ")");
    return calls;
}

Lines ClosingCalls(const Lines &shown)
{
    return Lines{"KPZ_ReleaseMutexSem(objectLock)", "KPZ_ReleaseMutexSem(imageLock)"} + shown +
           Lines{"KPZ_SendMsgAndWait(dialog, 33024, window, 0)", "KPZ_DestroyMsgQueue(queue)", "KPZ_Terminate(anchor)"};
}

Lines WindowRedrawn(const Stage &stage)
{
    const bool same = KPZ_GetClientHwnd(stage.image.window, 0) == stage.image.window;
    return {"KPZ_GetClientHwnd(window, 0)",
            same ? "KPZ_InvalidateRect(window, 0, 0)" : "KPZ_InvalidateRect(client, 0, 0)"};
}

Lines WindowSized(int32_t width, int32_t height)
{
    return {"SizeWindow(window, 31, 32, " + std::to_string(width) + ", " + std::to_string(height) + ")"};
}

Lines AllOf(const Script &script)
{
    Lines all = script.before;
    for (const Lines &object : script.objects) all = all + object;
    return all + script.after;
}

// Between the taking of the object lock, which the clearing of the request follows, and the end of the work.
static bool IsHeeded(const Script &script, int abortAt)
{
    const int lock = int(OpeningCalls().size()) - 1;
    return abortAt > lock && abortAt < int(AllOf(script).size() - script.after.size());
}

Lines Aborted(const Script &script, int abortAt)
{
    if (!IsHeeded(script, abortAt)) return AllOf(script);
    Lines calls = script.before;
    for (const Lines &object : script.objects)
        if (int(calls.size()) <= abortAt) calls = calls + object;
    return calls + Lines{"ThreadAbortedUtility(image)"} + script.afterAbort;
}

void ExpectUndone(Stage &stage, const EffectDescriptor &effect, int32_t scope,
                  const std::vector<std::vector<int32_t>> &runs)
{
    const std::string before = BytesOf(stage.image);
    for (const std::vector<int32_t> &own : runs) RunOwn(stage, effect, scope, own);
    EXPECT_EQ(MiscUndoCount(&stage.image), int32_t(runs.size()));
    while (MiscUndo(&stage.image)) {}
    EXPECT_EQ(BytesOf(stage.image), before) << "scope " << scope << " type " << stage.image.colourType;
}

void ExpectAbortAnywhere(const std::function<std::unique_ptr<Stage>()> &make, const EffectDescriptor &effect,
                         int32_t scope, const std::vector<int32_t> &own, const Script &script)
{
    const std::unique_ptr<Stage> whole = make();
    RunOwn(*whole, effect, scope, own);
    const std::string after = BytesOf(whole->image);
    for (int abortAt = 0; abortAt < int(AllOf(script).size()); ++abortAt) {
        SCOPED_TRACE(testing::Message() << "aborted at call " << abortAt << ", " << AllOf(script)[size_t(abortAt)]);
        const std::unique_ptr<Stage> stage = make();
        const std::string before = BytesOf(stage->image);
        const Lines calls = RunOwn(*stage, effect, scope, own, {.abortAtCall = abortAt});
        const bool heeded = IsHeeded(script, abortAt);
        EXPECT_TRUE(SameCalls(calls, Aborted(script, abortAt)));
        EXPECT_EQ(BytesOf(stage->image) == before, heeded || before == after);
        if (!heeded) { EXPECT_EQ(BytesOf(stage->image), after); }
        EXPECT_EQ(MiscUndoCount(&stage->image), heeded ? 0 : MiscUndoCount(&whole->image));
    }
}
