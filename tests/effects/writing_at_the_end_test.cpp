// Wave, Slices and Tiles: a host may look at the planes during a run, and sees them as they were until all of a plane is
// done.

#include "effects/effects.h"
#include "host/misc/misc.h"
#include "tests/support/comparison.h"
#include "tests/support/run_worker.h"

#include <gtest/gtest.h>

#include <algorithm>

struct Look {
    const Picture *picture, *before;
    int reports = 0, changedPixels = 0, changedMasks = 0;
};

static bool SamePlane(const uint8_t *one, const uint8_t *other, int32_t bits, const Picture &size)
{
    return memcmp(one, other, size_t(RowStride(bits, size.width)) * size_t(size.height)) == 0;
}

static void KPZAPI AtReport(void *context, HWND)
{
    Look &look = *static_cast<Look *>(context);
    const Picture &now = *look.picture, &before = *look.before;
    ++look.reports;
    look.changedPixels += !SamePlane(now.pixels.get(), before.pixels.get(), now.bitsPerPixel, now);
    look.changedMasks += !SamePlane(now.mask.get(), before.mask.get(), now.maskBitsPerPixel, now);
}

static Look LookDuring(const EffectDescriptor &effect, const std::vector<int32_t> &own, int32_t type)
{
    const PictureCase kind = {type, 61, 43, type == GREY || type == RGB ? 8 : 1, false, 12};
    Picture picture = RandomPicture(kind);
    const Picture before = RandomPicture(kind);
    Look look = {&picture, &before};
    MiscObserveProgress(AtReport, &look);
    RunWorker(effect, picture, own.data(), own.size() * sizeof(int32_t), {});
    MiscObserveProgress(nullptr, nullptr);
    EXPECT_FALSE(SamePlane(picture.pixels.get(), before.pixels.get(), picture.bitsPerPixel, picture));
    EXPECT_FALSE(SamePlane(picture.mask.get(), before.mask.get(), picture.maskBitsPerPixel, picture));
    return look;
}

constexpr int32_t ALL_TYPES[] = {ONE_BIT, GREY, PALETTE, RGB};

TEST(WritingAtTheEnd, SlicesAndTilesChangeNothingBefore)
{
    for (int32_t type : ALL_TYPES) {
        const Look sliced = LookDuring(slices, {0xFF, 9, 2, 6}, type), tiled = LookDuring(tiles, {5, 0xFF, 9}, type);
        EXPECT_EQ(sliced.reports, 43);
        EXPECT_EQ(tiled.reports, 8);
        EXPECT_EQ(sliced.changedPixels + sliced.changedMasks + tiled.changedPixels + tiled.changedMasks, 0) << type;
    }
}

// The picture is done before the mask's turn comes.
TEST(WritingAtTheEnd, WaveChangesOnePlaneAfterTheOther)
{
    for (int32_t type : ALL_TYPES) {
        for (int32_t orientation : {1200, 5530}) {
            const Look look = LookDuring(wave, {20, 0xFF, 30, 40, orientation}, type);
            const int lines = orientation == 1200 ? 43 : 61;
            EXPECT_EQ(look.reports, 2 * lines);
            EXPECT_EQ(look.changedPixels, lines) << type;
            EXPECT_EQ(look.changedMasks, 0) << type;
        }
    }
}

// Planes larger than caches are copied past them, from wherever they begin to wherever they end.
TEST(WritingAtTheEnd, PlanesLargerThanCachesAreCopiedWholeAndNothingBesides)
{
    constexpr int WIDTH = 2500, HEIGHT = 2300;
    constexpr size_t BYTES = size_t(3) * WIDTH * HEIGHT, ROOM = BYTES + 256;
    std::vector<uint8_t> source(ROOM);
    for (size_t i = 0; i < ROOM; ++i) source[i] = uint8_t(i * 7 + i / 251);
    for (size_t offset : {0, 1, 63}) {
        std::vector<uint8_t> target(ROOM, 0xEE), expected = target;
        std::copy_n(source.begin() + 5, BYTES, expected.begin() + ptrdiff_t(offset));
        CopyPlane(source.data() + 5, target.data() + offset, WIDTH, HEIGHT, 24);
        EXPECT_TRUE(target == expected) << offset;
    }
}
