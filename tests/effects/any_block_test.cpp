// Blocks that no dialog has filled: a host may hand a worker any numbers and a picture of no rows. A worker takes a
// number beyond its spin box's range for the nearest in it, and leaves a picture without pixels alone.

#include "effects/effects.h"
#include "tests/support/comparison.h"
#include "tests/support/run_worker.h"
#include "tests/support/watched_calls.h"

#include <gtest/gtest.h>

#include <climits>
#include <vector>

static const EffectDescriptor *const effectsWithWorkers[] = {
    &acid,        &blocks,           &coneHead, &doubleVision, &fisheye,  &median, &melt,  &noise, &oilPainting,
    &randomShear, &polarCoordinates, &ripple,   &slices,       &solarize, &swirl,  &tiles, &wave,
};

typedef std::vector<int32_t> Numbers;

// Of the effect's own parameters.
static size_t PlaceOf(const ControlBinding &row) { return (size_t(row.field) - sizeof(EffectBlock)) / sizeof(int32_t); }

static Numbers DefaultsOf(const EffectDescriptor &effect)
{
    Numbers own(effect.defaults.size / sizeof(int32_t));
    memcpy(own.data(), effect.defaults.bytes, effect.defaults.size);
    return own;
}

static Picture After(const EffectDescriptor &effect, const PictureCase &kind, const Numbers &own)
{
    Picture picture = RandomPicture(kind);
    const WorkerRun run = RunWorker(effect, picture, own.data(), own.size() * sizeof(int32_t), {.seed = 3});
    EXPECT_EQ(run.leakedBlocks, 0);
    return picture;
}

TEST(AnyBlock, ANumberOutOfRangeIsTheNearestInIt)
{
    for (const EffectDescriptor *effect : effectsWithWorkers) {
        for (const ControlBinding &row : effect->controls) {
            if (row.kind != BindingKind::SPIN) continue;
            for (const PictureCase &kind : {PictureCase{RGB, 33, 20, 8, false, 7}, {GREY, 9, 1, 0, false, 7}}) {
                for (int32_t value : {INT_MIN, -1000000, row.low - 1, row.high + 1, 1 << 30, INT_MAX}) {
                    SCOPED_TRACE(testing::Message() << effect->name << ", control " << row.id << ": " << value);
                    Numbers wild = DefaultsOf(*effect), held = wild;
                    wild[PlaceOf(row)] = value;
                    held[PlaceOf(row)] = value < row.low ? row.low : row.high;
                    ASSERT_TRUE(SamePicture(After(*effect, kind, wild), After(*effect, kind, held)));
                }
            }
        }
    }
}

// Where there is nothing to keep: no tile that moves, no rows around a band.
TEST(AnyBlock, NoMemoryOfNoBytesIsAskedForNorNullFreed)
{
    const int emptyBefore = EmptyRequests(), freesBefore = NullFrees();
    for (const EffectDescriptor *effect : effectsWithWorkers) {
        for (int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
            for (int32_t edge : {1, 2, 33}) {
                SCOPED_TRACE(testing::Message() << effect->name << ", type " << type << ", edge " << edge);
                After(*effect, {type, edge, edge, 8, false, 5}, DefaultsOf(*effect));
                ASSERT_EQ(EmptyRequests(), emptyBefore);
                ASSERT_EQ(NullFrees(), freesBefore);
            }
        }
    }
}

TEST(AnyBlock, NumbersThatAreNoButtonsIdsHarmNothing)
{
    for (const EffectDescriptor *effect : effectsWithWorkers) {
        for (int32_t value : {INT_MIN, -1, 0, INT_MAX}) {
            for (int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
                SCOPED_TRACE(testing::Message() << effect->name << ", all " << value << ", type " << type);
                After(*effect, {type, 17, 13, 8, true, 5}, Numbers(DefaultsOf(*effect).size(), value));
            }
        }
    }
}

// The memory of a picture that is said to have no rows or no columns is there all the same, so that a write is seen.
TEST(AnyBlock, APictureWithoutPixelsIsLeftAlone)
{
    for (const EffectDescriptor *effect : effectsWithWorkers) {
        for (int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
            for (bool noRows : {true, false}) {
                SCOPED_TRACE(testing::Message() << effect->name << ", type " << type << (noRows ? ", no rows" : ""));
                const PictureCase kind = {type, 17, 13, 8, false, 5};
                Picture picture = RandomPicture(kind);
                (noRows ? picture.height : picture.width) = 0;
                const Numbers own = DefaultsOf(*effect);
                const WorkerRun run = RunWorker(*effect, picture, own.data(), own.size() * sizeof(int32_t), {});
                (noRows ? picture.height : picture.width) = noRows ? 13 : 17;
                EXPECT_TRUE(SameBytes(picture, RandomPicture(kind)));
                EXPECT_TRUE(run.progress.empty());
            }
        }
    }
}
