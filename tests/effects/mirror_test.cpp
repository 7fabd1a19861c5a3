// Mirror's run in each scope and direction: what it asks of the host and in which order, and what becomes of picture,
// mask and objects. Its dialog is tried in tests/framework.

#include "tests/effects/own_run_stage.h"
#include "tests/support/many_threads.h"

#include <algorithm>
#include <cstring>

enum { ABOVE = 1230, BELOW = 1240, TO_THE_RIGHT = 1250, TO_THE_LEFT = 1260 };
static constexpr int32_t DIRECTIONS[] = {ABOVE, BELOW, TO_THE_RIGHT, TO_THE_LEFT};

static bool IsSideways(int32_t direction) { return direction == TO_THE_LEFT || direction == TO_THE_RIGHT; }

struct MirrorRuns : OwnRuns {
};

static Lines RunMirror(Stage &stage, int32_t scope, int32_t direction, const RunPlan &plan = {})
{
    return RunOwn(stage, mirror, scope, {direction}, plan);
}

//---- The calls

static std::string FlipCall(int32_t width, int32_t height, int32_t direction, int32_t bits)
{
    return "FlipPic(?, " + std::to_string(width) + ", " + std::to_string(height) +
           (IsSideways(direction) ? ", 0, " : ", 1, ") + std::to_string(bits) + ")";
}

// To the left the picture is flipped there and back.
static Lines ExtendCalls(int32_t width, int32_t height, int32_t direction, int32_t bits)
{
    return Lines(direction == TO_THE_LEFT ? 2 : 1, FlipCall(width, height, direction, bits));
}

static Lines Counted() { return OpeningCalls() + Lines{"CountSelectedObjects(objects)"}; }

static Lines EndCalls(const Stage &stage, int32_t pasted, const Lines &shown)
{
    return RebuildingCalls(pasted, true) + DisplayCalls(stage) + ClosingCalls(shown);
}

static Script AllScript(const Stage &stage, int32_t direction)
{
    const ImageRecord &image = stage.image;
    const int32_t w = image.width, h = image.height;
    Script script = {Counted() + Lines{"UndoUtility(image, 1, 1, 0, 0, Mirror All)"} +
                         ExtendCalls(w, h, direction, image.bitsPerPixel),
                     {},
                     {},
                     {}};
    if (image.mask) script.before = script.before + ExtendCalls(w, h, direction, image.maskBitsPerPixel);
    const Lines grown = IsSideways(direction) ? WindowSized(2 * w, h) : WindowSized(w, 2 * h);
    script.after = EndCalls(stage, 3, image.mask ? WindowSized(w, h) : grown);
    script.afterAbort = EndCalls(stage, 3, WindowSized(w, h));
    return script;
}

static Script ObjectsScript(const Stage &stage, int32_t direction)
{
    Script script = {Counted() + Lines{"UndoUtility(image, 0, 0, 1, 0, Mirror Objects)"}, {}, {}, {}};
    for (int32_t i : {0, 2}) {
        const FloatingObject &object = *stage.image.objectList.objects[i];
        script.objects.push_back(ExtendCalls(object.width, object.height, direction, BitsOf(stage)) +
                                 ExtendCalls(object.width, object.height, direction, ObjectBitsOf(stage)));
    }
    script.after = script.afterAbort = EndCalls(stage, 3, WindowRedrawn(stage));
    return script;
}

static Script NewObjectScript(const Stage &stage, int32_t direction)
{
    Script script = {Counted() + Lines{"Cropping(cropArea, ?)", "UndoUtility(image, 0, 0, 0, 1, 0)",
                                       FlipCall(8, 5, direction, BitsOf(stage)),
                                       FlipCall(8, 5, direction, ObjectBitsOf(stage))},
                     {},
                     {},
                     {}};
    script.after = EndCalls(stage, 4, WindowSized(8, 5));
    script.afterAbort = EndCalls(stage, 3, WindowSized(8, 5));
    return script;
}

static Script NothingScript(const Stage &stage, int32_t)
{
    Script script = {Counted() + Lines{"UndoUtility(image, 1, 1, 0, 0, Mirror All)"}, {}, {}, {}};
    script.after = script.afterAbort = EndCalls(stage, 3, WindowSized(stage.image.width, stage.image.height));
    return script;
}

static constexpr struct {
    int32_t scope;
    Script (*script)(const Stage &stage, int32_t direction);
} SCOPES[] = {
    {SCOPE_ALL, AllScript},
    {SCOPE_OBJECTS, ObjectsScript},
    {SCOPE_NEW_OBJECT, NewObjectScript},
    {SCOPE_IMAGE, NothingScript},
};

static std::unique_ptr<Stage> StageFor(int32_t scope, int32_t colourType, int32_t maskBits)
{
    std::unique_ptr<Stage> stage = FullStage(colourType, maskBits);
    if (scope == SCOPE_NEW_OBJECT) Select(*stage, 4, 3, 11, 7);
    return stage;
}

TEST_F(MirrorRuns, AskOfTheHostWhatEachScopeNeedsInItsOrder)
{
    for (const auto &[scope, script] : SCOPES) {
        for (int32_t type : ALL_TYPES) {
            for (int32_t maskBits : {0, 8, 1}) {
                for (int32_t direction : DIRECTIONS) {
                    SCOPED_TRACE(testing::Message()
                                 << scope << " type " << type << " mask " << maskBits << " to " << direction);
                    const std::unique_ptr<Stage> stage = StageFor(scope, type, maskBits);
                    const Lines expected = AllOf(script(*stage, direction));
                    EXPECT_TRUE(SameCalls(RunMirror(*stage, scope, direction), expected));
                }
            }
        }
    }
}

TEST_F(MirrorRuns, CanBeAbortedAtAnyCall)
{
    for (const auto &[scope, script] : SCOPES) {
        for (int32_t maskBits : {0, 8}) {
            const int32_t kind = scope;
            SCOPED_TRACE(testing::Message() << scope << " mask " << maskBits);
            const auto make = [=] { return StageFor(kind, maskBits ? RGB : PALETTE, maskBits); };
            for (int32_t direction : {TO_THE_LEFT, BELOW})
                ExpectAbortAnywhere(make, mirror, scope, {direction}, script(*make(), direction));
        }
    }
}

TEST_F(MirrorRuns, WithoutALockEndAtOnceAndChangeNothing)
{
    const std::unique_ptr<Stage> stage = FullStage(RGB, 8);
    const std::string before = BytesOf(stage->image);
    const Lines opening = OpeningCalls();
    const Lines toImageLock(opening.begin(), opening.end() - 1);
    const Lines end = {"KPZ_SendMsgAndWait(dialog, 33024, window, 0)", "KPZ_DestroyMsgQueue(queue)",
                       "KPZ_Terminate(anchor)"};
    const Lines image = RunMirror(*stage, SCOPE_ALL, BELOW, {.refused = stage->image.imageLock});
    EXPECT_TRUE(SameCalls(image, toImageLock + end));
    const Lines objects = RunMirror(*stage, SCOPE_ALL, BELOW, {.refused = stage->image.objectLock});
    EXPECT_TRUE(SameCalls(objects, opening + Lines{"KPZ_ReleaseMutexSem(imageLock)"} + end));
    EXPECT_EQ(BytesOf(stage->image), before);
    EXPECT_EQ(MiscUndoCount(&stage->image), 0);
    // Both locks are free again.
    EXPECT_TRUE(SameCalls(RunMirror(*stage, SCOPE_ALL, BELOW), AllOf(AllScript(*FullStage(RGB, 8), BELOW))));
}

// Three tables that differ from each other and from entry to entry.
template <typename Record> static void GivePalette(Record &record)
{
    record.paletteEntries = 200;
    for (int i = 0; i < 256; ++i) {
        record.red[i] = uint8_t(i + 1);
        record.green[i] = uint8_t(3 * i + 2);
        record.blue[i] = uint8_t(5 * i + 3);
    }
}

template <typename One, typename Other> static void ExpectSamePalette(const One &one, const Other &other)
{
    EXPECT_EQ(one.paletteEntries, other.paletteEntries);
    EXPECT_EQ(memcmp(one.red, other.red, 256), 0);
    EXPECT_EQ(memcmp(one.green, other.green, 256), 0);
    EXPECT_EQ(memcmp(one.blue, other.blue, 256), 0);
}

TEST_F(MirrorRuns, PutAPictureTogetherWithThePaletteOfItsBase)
{
    const std::unique_ptr<Stage> stage = FullStage(PALETTE, 0);
    GivePalette(stage->image.base);
    RunMirror(*stage, SCOPE_OBJECTS, TO_THE_RIGHT);
    BasePicture given = {};
    GivePalette(given);
    ExpectSamePalette(stage->image, given);
}

TEST_F(MirrorRuns, KeepThePaletteWithTheBaseBeneathAFirstObject)
{
    Stage stage(PALETTE, 33, 20);
    GivePalette(stage.image);
    Select(stage, 4, 3, 11, 7);
    RunMirror(stage, SCOPE_NEW_OBJECT, TO_THE_RIGHT);
    ASSERT_NE(stage.image.base.pixels, nullptr);
    BasePicture given = {};
    GivePalette(given);
    ExpectSamePalette(stage.image.base, given);
    ExpectSamePalette(stage.image, given);
}

TEST_F(MirrorRuns, BringTheCopyForAnEightBitDisplayUpToDate)
{
    HostSetDisplayDepth(8);
    for (int32_t type : {RGB, GREY}) {
        const std::unique_ptr<Stage> stage = FullStage(type, 0);
        const Lines calls = RunMirror(*stage, SCOPE_ALL, TO_THE_RIGHT);
        const auto isUpdate = [](const std::string &call) {
            return call.starts_with("Update8BitVersion(?, displayCopy, 66, 20, red, green");
        };
        EXPECT_EQ(std::count_if(calls.begin(), calls.end(), isUpdate), type == RGB);
        EXPECT_EQ(stage->image.displayCopy != nullptr, type == RGB);
    }
    HostSetDisplayDepth(24);
}

// With a mask plane the recorded size stays while the planes grow: each run works on the first rows' bytes.
TEST_F(MirrorRuns, AreUndoneToTheLastByteOneByOneOrSeveral)
{
    for (const auto &[scope, script] : SCOPES) {
        for (int32_t type : ALL_TYPES) {
            ExpectUndone(*StageFor(scope, type, 0), mirror, scope, {{TO_THE_LEFT}});
            ExpectUndone(*StageFor(scope, type, 8), mirror, scope, {{ABOVE}, {BELOW}, {TO_THE_RIGHT}, {TO_THE_LEFT}});
        }
    }
}

//---- The picture

static PictureSize Doubled(PictureSize size, int32_t direction)
{
    return IsSideways(direction) ? PictureSize{2 * size.width, size.height} : PictureSize{size.width, 2 * size.height};
}

static void ExpectDoubledPictures()
{
    uint32_t seed = 100;
    for (int32_t type : ALL_TYPES) {
        for (const PictureSize &size : AWKWARD_SIZES) {
            for (int32_t direction : DIRECTIONS) {
                SCOPED_TRACE(testing::Message() << "type " << type << ", " << size.width << " x " << size.height
                                                << " to " << direction << ", seed " << seed);
                Stage stage(type, size.width, size.height);
                FillAtRandom(stage, seed++);
                const ImageRecord &image = stage.image;
                const Raster before = PixelsAs(stage, image.pixels, size.width, size.height);
                RunMirror(stage, SCOPE_ALL, direction);
                const PictureSize doubled = Doubled(size, direction);
                ExpectRecordedSize(stage, doubled.width, doubled.height);
                EXPECT_TRUE(SameRaster(PixelsAs(stage, image.pixels, doubled.width, doubled.height),
                                       ReferenceMirror(before, direction)));
            }
        }
    }
}

TEST_F(MirrorRuns, OfThePictureDoubleItAsThePlainVersionDoes)
{
    for (int threads : {1, 2, 3}) {
        const ManyThreads many(threads);
        ExpectDoubledPictures();
    }
}

TEST_F(MirrorRuns, WithAMaskPlaneDoubleBothPlanesAndKeepTheRecordedSize)
{
    uint32_t seed = 300;
    for (int32_t type : ALL_TYPES) {
        for (int32_t maskBits : {8, 1}) {
            for (const PictureSize &size : AWKWARD_SIZES) {
                for (int32_t direction : DIRECTIONS) {
                    Stage stage(type, size.width, size.height, maskBits);
                    FillAtRandom(stage, seed++);
                    const ImageRecord &image = stage.image;
                    const Raster before = PixelsAs(stage, image.pixels, size.width, size.height);
                    const Raster mask = MaskAs(stage, size.width, size.height);
                    RunMirror(stage, SCOPE_ALL, direction);
                    ExpectRecordedSize(stage, size.width, size.height);
                    const PictureSize doubled = Doubled(size, direction);
                    EXPECT_TRUE(SameRaster(PixelsAs(stage, image.pixels, doubled.width, doubled.height),
                                           ReferenceMirror(before, direction)))
                        << "seed " << seed;
                    EXPECT_TRUE(
                        SameRaster(MaskAs(stage, doubled.width, doubled.height), ReferenceMirror(mask, direction)))
                        << "seed " << seed;
                    EXPECT_EQ(image.secondMask, image.mask);
                }
            }
        }
    }
}

TEST_F(MirrorRuns, ReplaceASecondMaskOfItsOwnToo)
{
    Stage stage(GREY, 17, 13, 8);
    stage.image.secondMask = NewBytes(StrideFor(8, 17) * 13, 3);
    RunMirror(stage, SCOPE_ALL, TO_THE_RIGHT);
    EXPECT_EQ(stage.image.secondMask, stage.image.mask);
}

TEST_F(MirrorRuns, OfAnImageWithObjectsDoubleTheBaseAndMoveTheObjectsByHalf)
{
    for (int32_t type : ALL_TYPES) {
        for (int32_t maskBits : {0, 8, 1}) {
            for (int32_t direction : DIRECTIONS) {
                SCOPED_TRACE(testing::Message() << "type " << type << " mask " << maskBits << " to " << direction);
                const std::unique_ptr<Stage> stage = FullStage(type, maskBits);
                const ImageRecord &image = stage->image;
                const Raster base = PixelsAs(*stage, image.base.pixels, 33, 20);
                std::vector<ObjectPicture> objects;
                for (int32_t i = 0; i < 3; ++i) objects.push_back(PictureOf(*stage, i));
                RunMirror(*stage, SCOPE_ALL, direction);

                const PictureSize doubled = Doubled({33, 20}, direction);
                const PictureSize recorded = maskBits ? PictureSize{33, 20} : doubled;
                ExpectRecordedSize(*stage, recorded.width, recorded.height);
                EXPECT_TRUE(SameRaster(PixelsAs(*stage, image.base.pixels, doubled.width, doubled.height),
                                       ReferenceMirror(base, direction)));
                // Half of the old size without a mask plane, half of the doubled one with it.
                const PictureSize local = maskBits ? doubled : PictureSize{33, 20};
                for (int32_t i = 0; i < 3; ++i) {
                    if (IsSideways(direction)) objects[size_t(i)].x -= local.width / 2;
                    else objects[size_t(i)].y -= local.height / 2;
                    EXPECT_TRUE(SameObject(PictureOf(*stage, i), objects[size_t(i)]));
                }
                ExpectPutTogether(*stage);
            }
        }
    }
}

TEST_F(MirrorRuns, OfScopeImageOnlyRecordAnUndoStep)
{
    const std::unique_ptr<Stage> stage = FullStage(RGB, 8);
    const std::string before = BytesOf(stage->image);
    RunMirror(*stage, SCOPE_IMAGE, TO_THE_LEFT);
    EXPECT_EQ(BytesOf(stage->image), before);
    EXPECT_STREQ(MiscUndoLabel(&stage->image), "Mirror All");
}

//---- Objects

TEST_F(MirrorRuns, OfSelectedObjectsDoubleEachAndMoveItByHalfItsNewSize)
{
    for (int32_t type : ALL_TYPES) {
        for (const PictureSize &size : AWKWARD_SIZES) {
            for (int32_t direction : DIRECTIONS) {
                SCOPED_TRACE(testing::Message()
                             << "type " << type << ", " << size.width << " x " << size.height << " to " << direction);
                const std::unique_ptr<Stage> stage = FullStage(type, 0);
                AddRandomObject(*stage, 5, 6, size.width, size.height, true, 77);
                const Raster picture = PixelsAs(*stage, stage->image.base.pixels, 33, 20);
                std::vector<ObjectPicture> objects;
                for (int32_t i = 0; i < 4; ++i) objects.push_back(PictureOf(*stage, i));
                RunMirror(*stage, SCOPE_OBJECTS, direction);

                ExpectRecordedSize(*stage, 33, 20);
                EXPECT_TRUE(SameRaster(PixelsAs(*stage, stage->image.base.pixels, 33, 20), picture));
                for (int32_t i = 0; i < 4; ++i) {
                    ObjectPicture &object = objects[size_t(i)];
                    if (i != 1) {
                        object.pixels = ReferenceMirror(object.pixels, direction);
                        object.mask = ReferenceMirror(object.mask, direction);
                        if (IsSideways(direction)) object.x -= object.pixels.width / 2;
                        else object.y -= object.pixels.height / 2;
                    }
                    EXPECT_TRUE(SameObject(PictureOf(*stage, i), object)) << i;
                }
                ExpectPutTogether(*stage);
            }
        }
    }
}

TEST_F(MirrorRuns, KeepTheRestOfAnObjectsHeader)
{
    const std::unique_ptr<Stage> stage = FullStage(RGB, 0);
    const FloatingObject before = *stage->image.objectList.objects[2];
    RunMirror(*stage, SCOPE_OBJECTS, BELOW);
    const FloatingObject &after = *stage->image.objectList.objects[2];
    EXPECT_EQ(memcmp(after.mark, before.mark, sizeof after.mark), 0);
    EXPECT_EQ(after.selected, before.selected);
    EXPECT_EQ(after.number, before.number);
    EXPECT_EQ(memcmp(after.reserved, before.reserved, sizeof after.reserved), 0);
    EXPECT_EQ(after.height, 2 * before.height);
}

TEST_F(MirrorRuns, LeaveAnObjectThatWouldOutgrowItsRecord)
{
    const std::unique_ptr<Stage> stage = FullStage(GREY, 0);
    AddRandomObject(*stage, 5, 6, 16384, 1, true, 77);
    const ObjectPicture before = PictureOf(*stage, 3);
    RunMirror(*stage, SCOPE_OBJECTS, TO_THE_LEFT);
    EXPECT_TRUE(SameObject(PictureOf(*stage, 3), before));
    EXPECT_EQ(stage->image.objectList.objects[0]->width, 14);
}

TEST_F(MirrorRuns, OfObjectsWithNoneSelectedChangeNothing)
{
    Stage stage(RGB, 17, 13);
    AddObject(stage, 3, 2, 7, 5, 1, 200, false);
    ShowObjects(stage);
    const std::string before = BytesOf(stage.image);
    const Lines calls = RunMirror(stage, SCOPE_OBJECTS, TO_THE_LEFT);
    EXPECT_EQ(BytesOf(stage.image), before);
    EXPECT_STREQ(MiscUndoLabel(&stage.image), "Mirror Objects");
    for (const std::string &call : calls) EXPECT_EQ(call.find("CreateOutlineOfObjects"), std::string::npos);
}

//---- A new object

static std::unique_ptr<Stage> SelectedStage(int32_t type, PictureSize size = {33, 20})
{
    auto stage = std::make_unique<Stage>(type, size.width, size.height);
    FillAtRandom(*stage, 900);
    return stage;
}

// A triangle with its corners at the bounds.
static void SelectTriangle(Stage &stage, int32_t left, int32_t top, int32_t right, int32_t bottom)
{
    auto *points = reinterpret_cast<POINT *>(NewBytes(3 * sizeof(POINT), 0));
    points[0] = {left, top};
    points[1] = {right, top};
    points[2] = {left, bottom};
    stage.image.selection = {3, left, top, right, bottom, points};
}

static Raster Part(const Raster &raster, int left, int top, int width, int height)
{
    Raster part = MakeRaster(width, height, raster.bits, {});
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) Set(part, x, y, Get(raster, left + x, top + y));
    return part;
}

static void ExpectNewHeader(const FloatingObject &object, int16_t number)
{
    EXPECT_EQ(object.mark[0], 100);
    EXPECT_EQ(object.mark[1], 0);
    EXPECT_EQ(object.mark[2], 1);
    EXPECT_EQ(object.selected, 0);
    EXPECT_EQ(object.number, number);
    for (uint8_t byte : object.reserved) EXPECT_EQ(byte, 0);
}

TEST_F(MirrorRuns, OfASelectedAreaPutItsMirrorImageBesideIt)
{
    static constexpr struct {
        int32_t direction, x, y;
    } places[] = {
        {TO_THE_LEFT, 4 - 8, 3},
        {TO_THE_RIGHT, 12, 3},
        {BELOW, 4, 8},
        {ABOVE, 4, 3 - 5},
    };
    for (int32_t type : ALL_TYPES) {
        for (const auto &[direction, x, y] : places) {
            SCOPED_TRACE(testing::Message() << "type " << type << " to " << direction);
            const std::unique_ptr<Stage> stage = SelectedStage(type);
            Select(*stage, 4, 3, 11, 7);
            ImageRecord &image = stage->image;
            image.nextObjectNumber = 41;
            const Raster picture = PixelsAs(*stage, image.pixels, 33, 20);
            RunMirror(*stage, SCOPE_NEW_OBJECT, direction);

            ASSERT_EQ(image.objectList.count, 1);
            EXPECT_EQ(image.objectList.capacity, 1024);
            EXPECT_EQ(image.nextObjectNumber, 42);
            ExpectNewHeader(*image.objectList.objects[0], 41);
            const Pixel full = {ObjectBitsOf(*stage) == 8 ? 255 : 1, 0, 0};
            const Raster area = ReferenceFlip(Part(picture, 4, 3, 8, 5), IsSideways(direction) ? 0 : 1);
            EXPECT_TRUE(SameObject(PictureOf(*stage, 0), {x, y, area, MakeRaster(8, 5, ObjectBitsOf(*stage), full)}));
            EXPECT_TRUE(SameRaster(PixelsAs(*stage, image.base.pixels, 33, 20), picture));
            ExpectRecordedSize(*stage, 33, 20);
            EXPECT_EQ(memcmp(image.base.red, image.red, 256), 0);
            ExpectPutTogether(*stage);
        }
    }
}

TEST_F(MirrorRuns, OfAFreeOutlineFlipItsMaskAlong)
{
    for (int32_t type : ALL_TYPES) {
        for (int32_t direction : DIRECTIONS) {
            const std::unique_ptr<Stage> stage = SelectedStage(type);
            SelectTriangle(*stage, 4, 3, 20, 11);
            CropRequest area = {};
            ASSERT_TRUE(Cropping(&stage->image.cropArea, &area));
            ASSERT_NE(area.mask, nullptr);
            const Raster bits = RasterOfPlane(area.mask, 17, 9, 1);
            KPZ_FreeMem(area.pixels);
            KPZ_FreeMem(area.mask);
            Raster expected = ReferenceFlip(bits, IsSideways(direction) ? 0 : 1);
            expected.bits = ObjectBitsOf(*stage);
            for (Pixel &pixel : expected.pixels) pixel[0] *= expected.bits == 8 ? 255 : 1;
            RunMirror(*stage, SCOPE_NEW_OBJECT, direction);
            EXPECT_TRUE(SameRaster(PictureOf(*stage, 0).mask, expected)) << "type " << type << " to " << direction;
        }
    }
}

TEST_F(MirrorRuns, OfASelectionOutsideThePictureMakeNoObjectAndNoUndoStep)
{
    const std::unique_ptr<Stage> stage = SelectedStage(RGB);
    Select(*stage, 40, 3, 50, 7);
    const std::string before = BytesOf(stage->image);
    RunMirror(*stage, SCOPE_NEW_OBJECT, BELOW);
    EXPECT_EQ(BytesOf(stage->image), before);
    EXPECT_EQ(MiscUndoCount(&stage->image), 0);
}

// The last undo step is then another run's.
TEST_F(MirrorRuns, ThatRecordedNoUndoStepTakeNoneBackWhenAborted)
{
    const std::unique_ptr<Stage> stage = SelectedStage(RGB);
    RunMirror(*stage, SCOPE_ALL, BELOW);
    Select(*stage, 400, 3, 500, 7);
    const std::string before = BytesOf(stage->image);
    RunMirror(*stage, SCOPE_NEW_OBJECT, BELOW, {.abortAtCall = int(Counted().size())});
    EXPECT_TRUE(MiscLastRunAborted(&stage->image));
    EXPECT_EQ(MiscUndoCount(&stage->image), 1);
    EXPECT_EQ(BytesOf(stage->image), before);
}

TEST_F(MirrorRuns, GrowAFullListOfObjectsWhileOneEntryIsStillFree)
{
    for (int32_t capacity : {3, 4, 5}) {
        const std::unique_ptr<Stage> stage = FullStage(GREY, 0);
        Select(*stage, 4, 3, 11, 7);
        ObjectList &list = stage->image.objectList;
        list.capacity = capacity;
        FloatingObject *const second = list.objects[1];
        RunMirror(*stage, SCOPE_NEW_OBJECT, BELOW);
        EXPECT_EQ(list.count, 4);
        EXPECT_EQ(list.capacity, capacity < 5 ? capacity + 1024 : capacity);
        EXPECT_EQ(list.objects[1], second);
    }
}
