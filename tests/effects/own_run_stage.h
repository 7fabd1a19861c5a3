// Runs of the effects that bring a run routine of their own: what such a run asks of the host, call by call, an abort
// at any of these calls, locks that cannot be had, and what is left of the image.

#pragma once

#include "effects/effects.h"
#include "tests/host/misc/stage.h"
#include "tests/reference/reference.h"
#include "tests/support/pictures.h"

#include <gtest/gtest.h>

// Every test gives back the memory it took.
struct OwnRuns : testing::Test {
    int32_t blocksBefore = HostAllocatedBlocks();
    void TearDown() override { EXPECT_EQ(HostAllocatedBlocks(), blocksBefore); }
};

//---- Images

constexpr int32_t ALL_TYPES[] = {ONE_BIT, GREY, PALETTE, RGB};

// Gives the stage's image the bytes and palette of a random picture, and a random mask where it has one.
void FillAtRandom(Stage &stage, uint32_t seed);
// An object with random pixels and mask, in padding too.
FloatingObject *AddRandomObject(Stage &stage, int32_t x, int32_t y, int32_t width, int32_t height, bool selected,
                                uint32_t seed);
// Shows the base with the objects on it, as an image with objects does.
void ShowObjects(Stage &stage);
// A picture at random with a mask of `maskBits` (0: none) and three objects of which the first and the
// last are selected.
std::unique_ptr<Stage> FullStage(int32_t colourType, int32_t maskBits, PictureSize size = {33, 20}, uint32_t seed = 5);
// Bits per pixel of the picture, and of its objects' masks.
int32_t BitsOf(const Stage &stage);
int32_t ObjectBitsOf(const Stage &stage);

//---- What is expected of an image

// Planes as they stand, at a size of the caller's choosing.
Raster PixelsAs(const Stage &stage, const uint8_t *pixels, int32_t width, int32_t height);
Raster MaskAs(const Stage &stage, int32_t width, int32_t height);
struct ObjectPicture {
    int32_t x, y;
    Raster pixels, mask;
};
ObjectPicture PictureOf(const Stage &stage, int32_t index);
bool operator==(const ObjectPicture &left, const ObjectPicture &right);
testing::AssertionResult SameRaster(const Raster &actual, const Raster &expected);
testing::AssertionResult SameObject(const ObjectPicture &actual, const ObjectPicture &expected);
// The size in the image's record and, whatever else it keeps, that its base tells the same.
void ExpectRecordedSize(const Stage &stage, int32_t width, int32_t height);
// With a base: that the picture is the base with the objects pasted onto it.
void ExpectPutTogether(const Stage &stage);

//---- Runs

struct RunPlan {
    int abortAtCall = -1;                // the abort request is set when this call begins, counted from 0
    SemaphoreHandle refused = nullptr;   // a lock that the run cannot have; it does not wait for it
};

// What the run asked of the host, such as "UndoUtility(image, 0, 0, 1, 0, Mirror Objects)". Pointers to what the test
// knows have names, others are "?". Memory, and calls that the host makes of itself, are left out.
typedef std::vector<std::string> Lines;

// `own` are the effect's parameters.
Lines RunOwn(Stage &stage, const EffectDescriptor &effect, int32_t scope, const std::vector<int32_t> &own,
             const RunPlan &plan = {});

Lines operator+(Lines left, const Lines &right);
// Names the first call that differs.
testing::AssertionResult SameCalls(const Lines &actual, const Lines &expected);

// A run in parts: what comes before the first object, each object, and what comes after the work, or after an abort.
struct Script {
    Lines before;
    std::vector<Lines> objects;
    Lines after, afterAbort;
};
// The calls that all such runs share. `shown` is how the image's window hears of the end.
Lines OpeningCalls();
Lines RebuildingCalls(int32_t pasted, bool selected);
Lines DisplayCalls(const Stage &stage);
Lines ClosingCalls(const Lines &shown);
Lines WindowRedrawn(const Stage &stage);
Lines WindowSized(int32_t width, int32_t height);

Lines AllOf(const Script &script);
// The script when the abort request is set at its call `abortAt`.
Lines Aborted(const Script &script, int abortAt);

// Runs the effect once with each of the parameter sets, then undoes it all: every byte is as before.
void ExpectUndone(Stage &stage, const EffectDescriptor &effect, int32_t scope,
                  const std::vector<std::vector<int32_t>> &runs);

// Makes the image anew for each call of the script and aborts there. A run that heeds the abort leaves the image
// byte for byte as before, and one that is asked too early or too late ends as without.
void ExpectAbortAnywhere(const std::function<std::unique_ptr<Stage>()> &make, const EffectDescriptor &effect,
                         int32_t scope, const std::vector<int32_t> &own, const Script &script);
