// Shear's run in each scope and direction: what it asks of the host and in which order, with which angle and fill, and
// the sizes that come of it. How pixels are slanted is the host's (tests/host/misc); the dialog is tried in
// tests/framework.

#include "tests/effects/own_run_stage.h"
#include "tests/support/many_threads.h"

#include <cmath>
#include <cstring>

enum { VERTICAL = 890, HORIZONTAL = 900 };
static constexpr int32_t ANGLES[] = {0, 1, -1, 17, -30, 45, -45, 75, -75};
static constexpr uint32_t FILL = 0x2080C0;   // blue, green, red

struct ShearRuns : OwnRuns {
};

static Lines RunShear(Stage &stage, int32_t scope, int32_t angle, int32_t direction, const RunPlan &plan = {},
                      uint32_t fill = FILL)
{
    return RunOwn(stage, shear, scope, {int32_t(fill), angle, direction}, plan);
}

// The fill colour in a picture: a level, an index, a bit, or the colour.
static int32_t FillIn(const Stage &stage, uint32_t colour)
{
    const ImageRecord &image = stage.image;
    const int32_t level = BrightnessOf(colour);
    if (image.colourType == GREY) return level;
    if (image.colourType == PALETTE)
        return FindClosestColor(colour, image.red, image.green, image.blue, image.paletteEntries);
    return image.bitsPerPixel == 1 ? level > 128 : int32_t(colour);
}

//---- The calls

struct ShearCall {
    const char *pixels, *width, *height;   // "?" for those of objects
    int32_t w, h, bits, type, fill, flag;
    const char *abort;
};

static std::string Line(const ShearCall &call, int32_t angle, int32_t direction)
{
    std::string line = std::string("ShearFunction(") + call.pixels + ", " + call.width + ", " + call.height;
    for (int32_t number : {call.bits, call.type, angle, call.fill, call.flag}) line += ", " + std::to_string(number);
    line += ", window, progress, " + std::to_string(direction == HORIZONTAL) + ", " + call.abort + ") ";
    return line + std::to_string(call.w) + "x" + std::to_string(call.h);
}

static Lines ObjectCalls(const Stage &stage, int32_t index, int32_t angle, int32_t direction)
{
    const FloatingObject &object = *stage.image.objectList.objects[index];
    const int32_t w = object.width, h = object.height;
    return {Line({"?", "?", "?", w, h, BitsOf(stage), stage.image.colourType, 0, 0, "0"}, angle, direction),
            Line({"?", "?", "?", w, h, ObjectBitsOf(stage), GREY, 0, 1, "0"}, angle, direction)};
}

static Lines StartCalls(const Stage &stage, const char *undo)
{
    Lines calls = OpeningCalls() + Lines{"InitiateProgress(progress)", "CountSelectedObjects(objects)"};
    if (stage.image.colourType == PALETTE) {
        calls.push_back("FindClosestColor(" + std::to_string(FILL) + ", red, green, blue, " +
                        std::to_string(stage.image.paletteEntries) + ")");
    }
    return calls + Lines{undo};
}

static Lines EndCalls(const Stage &stage, const Lines &shown)
{
    return RebuildingCalls(3, true) + DisplayCalls(stage) + Lines{"FinishProgress(progress)"} + ClosingCalls(shown);
}

static PictureSize Grown(PictureSize size, int32_t angle, int32_t direction)
{
    const Raster sheared =
        ReferenceShear(MakeRaster(size.width, size.height, 8, {}), GREY, angle, 0, true, direction == HORIZONTAL);
    return {sheared.width, sheared.height};
}

static Script PictureScript(const Stage &stage, int32_t scope, int32_t angle, int32_t direction)
{
    const ImageRecord &image = stage.image;
    const int32_t w = image.width, h = image.height;
    Script script = {StartCalls(stage, "UndoUtility(image, 1, 1, 0, 0, Shear All)"), {}, {}, {}};
    script.before.push_back(Line(
        {"base", "width", "height", w, h, image.bitsPerPixel, image.colourType, FillIn(stage, FILL), 1, "abortRequest"},
        angle, direction));
    if (image.mask) {
        script.before.push_back("ResetProgress(window, progress)");
        script.before.push_back(
            Line({"mask", "?", "?", w, h, image.maskBitsPerPixel, GREY, 0, 1, "abortRequest"}, angle, direction));
    }
    for (int32_t i = 0; scope == SCOPE_IMAGE && i < 3; ++i)
        script.objects.push_back(ObjectCalls(stage, i, angle, direction));
    const PictureSize grown = Grown({w, h}, angle, direction);
    script.after = EndCalls(stage, image.mask ? WindowSized(w, h) : WindowSized(grown.width, grown.height));
    script.afterAbort = EndCalls(stage, WindowSized(w, h));
    return script;
}

static Script ScriptOf(const Stage &stage, int32_t scope, int32_t angle, int32_t direction)
{
    if (scope == SCOPE_IMAGE || scope == SCOPE_ALL) return PictureScript(stage, scope, angle, direction);
    const bool objects = scope == SCOPE_OBJECTS;
    Script script = {StartCalls(stage, objects ? "UndoUtility(image, 0, 0, 1, 0, Shear Object)"
                                               : "UndoUtility(image, 1, 1, 0, 0, Shear All)"),
                     {},
                     {},
                     {}};
    if (objects) script.objects = {ObjectCalls(stage, 0, angle, direction), ObjectCalls(stage, 2, angle, direction)};
    script.after = script.afterAbort =
        EndCalls(stage, objects ? WindowRedrawn(stage) : WindowSized(stage.image.width, stage.image.height));
    return script;
}

static constexpr int32_t SCOPES[] = {SCOPE_OBJECTS, SCOPE_IMAGE, SCOPE_NEW_OBJECT, SCOPE_ALL};

TEST_F(ShearRuns, AskOfTheHostWhatEachScopeNeedsInItsOrder)
{
    for (int32_t scope : SCOPES) {
        for (int32_t type : ALL_TYPES) {
            for (int32_t maskBits : {0, 8, 1}) {
                for (int32_t direction : {HORIZONTAL, VERTICAL}) {
                    SCOPED_TRACE(testing::Message()
                                 << scope << " type " << type << " mask " << maskBits << " in " << direction);
                    const std::unique_ptr<Stage> stage = FullStage(type, maskBits);
                    const Lines expected = AllOf(ScriptOf(*stage, scope, 17, direction));
                    EXPECT_TRUE(SameCalls(RunShear(*stage, scope, 17, direction), expected));
                }
            }
        }
    }
}

TEST_F(ShearRuns, CanBeAbortedAtAnyCall)
{
    for (int32_t scope : SCOPES) {
        for (int32_t maskBits : {0, 8}) {
            SCOPED_TRACE(testing::Message() << scope << " mask " << maskBits);
            const auto make = [=] { return FullStage(maskBits ? RGB : PALETTE, maskBits); };
            for (int32_t direction : {HORIZONTAL, VERTICAL})
                ExpectAbortAnywhere(make, shear, scope, {int32_t(FILL), -30, direction},
                                    ScriptOf(*make(), scope, -30, direction));
        }
    }
}

TEST_F(ShearRuns, WithoutTheImageLockEndAtOnceAndChangeNothing)
{
    const std::unique_ptr<Stage> stage = FullStage(RGB, 8);
    const std::string before = BytesOf(stage->image);
    const Lines opening = OpeningCalls();
    const Lines toImageLock(opening.begin(), opening.end() - 1);
    const Lines end = {"KPZ_SendMsgAndWait(dialog, 33024, window, 0)", "KPZ_DestroyMsgQueue(queue)",
                       "KPZ_Terminate(anchor)"};
    const Lines calls = RunShear(*stage, SCOPE_IMAGE, 17, VERTICAL, {.refused = stage->image.imageLock});
    EXPECT_TRUE(SameCalls(calls, toImageLock + end));
    EXPECT_EQ(BytesOf(stage->image), before);
    EXPECT_EQ(MiscUndoCount(&stage->image), 0);
}

// What was not taken is not given back.
TEST_F(ShearRuns, GoOnWithoutTheObjectLock)
{
    const std::unique_ptr<Stage> stage = FullStage(RGB, 8), other = FullStage(RGB, 8);
    Lines expected = AllOf(ScriptOf(*stage, SCOPE_IMAGE, 17, VERTICAL));
    std::erase(expected, "KPZ_ReleaseMutexSem(objectLock)");
    const Lines calls = RunShear(*stage, SCOPE_IMAGE, 17, VERTICAL, {.refused = stage->image.objectLock});
    EXPECT_TRUE(SameCalls(calls, expected));
    RunShear(*other, SCOPE_IMAGE, 17, VERTICAL);
    EXPECT_EQ(BytesOf(stage->image), BytesOf(other->image));
}

TEST_F(ShearRuns, FitTheWindowToTheSelectedAreaWhereThereIsOne)
{
    const std::unique_ptr<Stage> stage = FullStage(GREY, 0);
    Select(*stage, 4, 3, 11, 7);
    const Lines calls = RunShear(*stage, SCOPE_ALL, 17, HORIZONTAL);
    EXPECT_EQ(calls[calls.size() - 4], "SizeWindow(window, 31, 32, 8, 5)");
}

// With a mask plane the recorded size stays while the planes grow: each run works on the first rows' bytes.
TEST_F(ShearRuns, AreUndoneToTheLastByteOneByOneOrSeveral)
{
    for (int32_t scope : SCOPES) {
        for (int32_t type : ALL_TYPES) {
            const std::vector<int32_t> aside = {int32_t(FILL), 40, HORIZONTAL}, down = {int32_t(FILL), -20, VERTICAL};
            ExpectUndone(*FullStage(type, 0), shear, scope, {aside});
            ExpectUndone(*FullStage(type, 8), shear, scope, {aside, down, aside});
        }
    }
}

//---- The picture

static Raster ShearedAs(const Raster &raster, int32_t type, int32_t angle, uint32_t fill, int32_t direction)
{
    return ReferenceShear(raster, type, angle, fill, true, direction == HORIZONTAL);
}

static void ExpectSlantedPictures()
{
    uint32_t seed = 100;
    for (int32_t type : ALL_TYPES) {
        for (const PictureSize &size : AWKWARD_SIZES) {
            for (int32_t direction : {HORIZONTAL, VERTICAL}) {
                for (int32_t angle : ANGLES) {
                    SCOPED_TRACE(testing::Message() << "type " << type << ", " << size.width << " x " << size.height
                                                    << " in " << direction << " by " << angle << ", seed " << seed);
                    Stage stage(type, size.width, size.height);
                    FillAtRandom(stage, seed++);
                    const Raster before = PixelsAs(stage, stage.image.pixels, size.width, size.height);
                    const uint32_t fill = uint32_t(FillIn(stage, FILL));
                    RunShear(stage, SCOPE_IMAGE, angle, direction);
                    const Raster expected = ShearedAs(before, type, angle, fill, direction);
                    ExpectRecordedSize(stage, expected.width, expected.height);
                    EXPECT_TRUE(
                        SameRaster(PixelsAs(stage, stage.image.pixels, expected.width, expected.height), expected));
                }
            }
        }
    }
}

TEST_F(ShearRuns, OfThePictureSlantItAsThePlainVersionDoes)
{
    for (int threads : {1, 2, 3}) {
        const ManyThreads many(threads);
        ExpectSlantedPictures();
    }
}

TEST_F(ShearRuns, WithAMaskPlaneSlantBothPlanesAndKeepTheRecordedSize)
{
    uint32_t seed = 300;
    for (int32_t type : ALL_TYPES) {
        for (int32_t maskBits : {8, 1}) {
            for (const PictureSize &size : AWKWARD_SIZES) {
                for (int32_t direction : {HORIZONTAL, VERTICAL}) {
                    Stage stage(type, size.width, size.height, maskBits);
                    FillAtRandom(stage, seed++);
                    const uint32_t fill = uint32_t(FillIn(stage, FILL));
                    const Raster pixels = ShearedAs(PixelsAs(stage, stage.image.pixels, size.width, size.height), type,
                                                    -30, fill, direction);
                    const Raster mask = ShearedAs(MaskAs(stage, size.width, size.height), GREY, -30, 0, direction);
                    RunShear(stage, SCOPE_ALL, -30, direction);
                    ExpectRecordedSize(stage, size.width, size.height);
                    EXPECT_TRUE(SameRaster(PixelsAs(stage, stage.image.pixels, pixels.width, pixels.height), pixels));
                    EXPECT_TRUE(SameRaster(MaskAs(stage, mask.width, mask.height), mask)) << "seed " << seed;
                    EXPECT_EQ(stage.image.secondMask, stage.image.mask);
                }
            }
        }
    }
}

TEST_F(ShearRuns, FillOneBitPicturesBlackUpToALevelOf128)
{
    for (uint32_t level : {0u, 128u, 129u, 255u}) {
        Stage stage(ONE_BIT, 9, 9);
        RunShear(stage, SCOPE_IMAGE, 45, HORIZONTAL, {}, level << 16 | level << 8 | level);
        const Raster sheared = PixelsAs(stage, stage.image.pixels, stage.image.width, 9);
        EXPECT_EQ(Get(sheared, 0, 8)[0], level > 128) << level;
    }
}

//---- Objects

struct ObjectsCase {
    int32_t type, angle, direction;
};

static void ForEachCase(const std::function<void(const ObjectsCase &)> &act)
{
    for (int32_t type : ALL_TYPES) {
        for (int32_t direction : {HORIZONTAL, VERTICAL}) {
            for (int32_t angle : ANGLES) {
                SCOPED_TRACE(testing::Message() << "type " << type << " in " << direction << " by " << angle);
                act({type, angle, direction});
            }
        }
    }
}

static std::vector<ObjectPicture> ObjectsOf(const Stage &stage)
{
    std::vector<ObjectPicture> objects;
    for (int32_t i = 0; i < stage.image.objectList.count; ++i) objects.push_back(PictureOf(stage, i));
    return objects;
}

static void SlantPicture(ObjectPicture &object, const ObjectsCase &how)
{
    object.pixels = ReferenceShear(object.pixels, how.type, how.angle, 0, false, how.direction == HORIZONTAL);
    object.mask = ShearedAs(object.mask, GREY, how.angle, 0, how.direction);
}

static void MovePlace(ObjectPicture &object, const ObjectsCase &how, int32_t left, int32_t top)
{
    const double t = tan(how.angle * 3.1415927 / 180);
    if (how.direction == HORIZONTAL) object.x = int32_t(object.x + (object.y - top) * t);
    else object.y = int32_t(object.y + (object.x - left) * t);
}

static void ExpectObjects(const Stage &stage, const std::vector<ObjectPicture> &expected)
{
    for (size_t i = 0; i < expected.size(); ++i)
        EXPECT_TRUE(SameObject(PictureOf(stage, int32_t(i)), expected[i])) << i;
    ExpectPutTogether(stage);
}

TEST_F(ShearRuns, OfTheImageSlantBaseObjectsAndTheirPlaces)
{
    ForEachCase([](const ObjectsCase &how) {
        for (int32_t scope : {SCOPE_IMAGE, SCOPE_ALL}) {
            const std::unique_ptr<Stage> stage = FullStage(how.type, 0);
            const uint32_t fill = uint32_t(FillIn(*stage, FILL));
            const Raster base =
                ShearedAs(PixelsAs(*stage, stage->image.base.pixels, 33, 20), how.type, how.angle, fill, how.direction);
            std::vector<ObjectPicture> objects = ObjectsOf(*stage);
            for (ObjectPicture &object : objects) {
                MovePlace(object, how, 0, 0);
                if (scope == SCOPE_IMAGE) SlantPicture(object, how);
            }
            RunShear(*stage, scope, how.angle, how.direction);
            ExpectRecordedSize(*stage, base.width, base.height);
            EXPECT_TRUE(SameRaster(PixelsAs(*stage, stage->image.base.pixels, base.width, base.height), base));
            ExpectObjects(*stage, objects);
        }
    });
}

// The group's corner is (3, -3): the first object's left, the last one's top. The object between is not selected.
TEST_F(ShearRuns, OfSelectedObjectsSlantThemAsOneGroup)
{
    ForEachCase([](const ObjectsCase &how) {
        const std::unique_ptr<Stage> stage = FullStage(how.type, 8);
        std::vector<ObjectPicture> objects = ObjectsOf(*stage);
        for (size_t i : {size_t(0), size_t(2)}) {
            SlantPicture(objects[i], how);
            MovePlace(objects[i], how, 3, -3);
        }
        const Raster base = PixelsAs(*stage, stage->image.base.pixels, 33, 20);
        RunShear(*stage, SCOPE_OBJECTS, how.angle, how.direction);
        ExpectRecordedSize(*stage, 33, 20);
        EXPECT_TRUE(SameRaster(PixelsAs(*stage, stage->image.base.pixels, 33, 20), base));
        ExpectObjects(*stage, objects);
    });
}

// Beyond 20000 the group's edge stays at 20000.
TEST_F(ShearRuns, LookForTheGroupsEdgesUpTo20000)
{
    Stage stage(GREY, 17, 13);
    AddRandomObject(stage, 30000, 25000, 3, 3, true, 1);
    ShowObjects(stage);
    RunShear(stage, SCOPE_OBJECTS, 45, HORIZONTAL);
    EXPECT_EQ(stage.image.objectList.objects[0]->x, int32_t(30000 + 5000 * tan(45 * 3.1415927 / 180)));
}

TEST_F(ShearRuns, CutPlacesTowardsZero)
{
    Stage stage(GREY, 17, 13);
    AddRandomObject(stage, 0, -3, 3, 3, false, 1);
    AddRandomObject(stage, 0, 3, 3, 3, false, 2);
    ShowObjects(stage);
    RunShear(stage, SCOPE_ALL, 30, HORIZONTAL);   // 3 rows move by 1.73 pixels
    EXPECT_EQ(stage.image.objectList.objects[0]->x, -1);
    EXPECT_EQ(stage.image.objectList.objects[1]->x, 1);
}

TEST_F(ShearRuns, LeaveAnObjectThatWouldOutgrowItsRecord)
{
    const std::unique_ptr<Stage> stage = FullStage(GREY, 0);
    AddRandomObject(*stage, 5, 6, 32700, 30, true, 77);
    const ObjectPicture before = PictureOf(*stage, 3);
    RunShear(*stage, SCOPE_OBJECTS, 75, HORIZONTAL);
    EXPECT_TRUE(SameObject(PictureOf(*stage, 3), before));
}

TEST_F(ShearRuns, OfObjectsWithNoneSelectedChangeNothing)
{
    Stage stage(RGB, 17, 13);
    AddRandomObject(stage, 3, 2, 7, 5, false, 1);
    ShowObjects(stage);
    const std::string before = BytesOf(stage.image);
    RunShear(stage, SCOPE_OBJECTS, 40, HORIZONTAL);
    EXPECT_EQ(BytesOf(stage.image), before);
    EXPECT_STREQ(MiscUndoLabel(&stage.image), "Shear Object");
}

TEST_F(ShearRuns, ByNoAngleChangeNothingButRecordAnUndoStep)
{
    for (int32_t type : ALL_TYPES) {
        const std::unique_ptr<Stage> stage = FullStage(type, 8);
        const Raster pixels = PixelsAs(*stage, stage->image.pixels, 33, 20);
        const std::vector<ObjectPicture> objects = ObjectsOf(*stage);
        RunShear(*stage, SCOPE_IMAGE, 0, VERTICAL);
        EXPECT_TRUE(SameRaster(PixelsAs(*stage, stage->image.pixels, 33, 20), pixels));
        ExpectObjects(*stage, objects);
        EXPECT_STREQ(MiscUndoLabel(&stage->image), "Shear All");
    }
}

//---- An abort in the middle, on as many threads

struct ShearedPlane {
    std::vector<uint8_t> bytes;
    int reports = 0;
};

struct AbortPlan {
    int reportsLeft, reports = 0;
    int32_t abort = 0;
};

static void KPZAPI AbortAtReport(void *context, HWND)
{
    auto &plan = *static_cast<AbortPlan *>(context);
    ++plan.reports;
    if (--plan.reportsLeft == 0) SharedWrite(plan.abort, 1);
}

static ShearedPlane ShearAndAbort(int32_t type, int32_t angle, int32_t horizontal, int reportsLeft)
{
    Picture picture = RandomPicture({type, 33, 20, 0, false, 4});
    AbortPlan plan = {reportsLeft};
    uint8_t *pixels;
    int32_t width = picture.width, height = picture.height;
    const size_t bytes = StrideFor(picture.bitsPerPixel, width) * size_t(height);
    KPZ_AllocMem(&pixels, uint32_t(bytes), 0x301);
    memcpy(pixels, picture.pixels.get(), bytes);
    MiscObserveProgress(AbortAtReport, &plan);
    ShearFunction(&pixels, &width, &height, picture.bitsPerPixel, type, angle, 0x3C, 1, nullptr, nullptr, horizontal,
                  &plan.abort);
    MiscObserveProgress(nullptr, nullptr);
    ShearedPlane plane = {{}, plan.reports};
    for (int32_t y = 0; y < height; ++y) {   // without the padding's bits
        const uint8_t *row = pixels + size_t(y) * StrideFor(picture.bitsPerPixel, width);
        plane.bytes.insert(plane.bytes.end(), row, row + size_t(width) * size_t(picture.bitsPerPixel) / 8);
    }
    KPZ_FreeMem(pixels);
    return plane;
}

TEST_F(ShearRuns, OnManyThreadsAreAbortedAtTheSameRow)
{
    for (int32_t type : ALL_TYPES) {
        for (int32_t horizontal : {0, 1}) {
            for (int reports = 1; reports < 50; ++reports) {
                const ShearedPlane alone = ShearAndAbort(type, -40, horizontal, reports);
                const ManyThreads many(3);
                const ShearedPlane together = ShearAndAbort(type, -40, horizontal, reports);
                EXPECT_EQ(together.reports, alone.reports) << type << " " << horizontal << " " << reports;
                EXPECT_EQ(together.bytes, alone.bytes) << type << " " << horizontal << " " << reports;
            }
        }
    }
}
