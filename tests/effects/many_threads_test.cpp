// However many threads share a worker's rows: pixels, reports and what an abort leaves are those of one thread, for every
// effect that shares anything, on every kind of picture. Tiny pictures are shared too here, a few rows at a time.

#include "effects/effects.h"
#include "matrix/matrix.h"
#include "tests/support/comparison.h"
#include "tests/support/many_threads.h"
#include "tests/support/run_worker.h"

#include <gtest/gtest.h>

#include <algorithm>

// Under Wine a thread takes long to make, and thousands of them longer than this is worth: some of all is tried there.
#ifdef _WIN32
constexpr int EVERY = 12;
#else
constexpr int EVERY = 1;
#endif

typedef std::vector<int32_t> Numbers;

struct SharedCase {
    const EffectDescriptor *effect;
    std::vector<Numbers> many;   // the effect's own parameters
};

static Numbers Matrix(int32_t side, int32_t pass, int32_t combine)
{
    Numbers own(49, 0);
    for (int y = 3 - side / 2; y <= 3 + side / 2; ++y)
        for (int x = 3 - side / 2; x <= 3 + side / 2; ++x) own[size_t(7 * y + x)] = (x * 5 + y * 3) % 7 - 2;
    own.insert(own.end(), {3, 5, pass, combine, 3, 1, side == 5 ? 0 : 1, 1});
    return own;
}

static const SharedCase cases[] = {
    {&filters,
     {Matrix(3, PASS_PLAIN, COMBINE_REPLACE), Matrix(7, PASS_DIFFERENCE, COMBINE_ADD),
      Matrix(5, PASS_ITERATIVE, COMBINE_SUBTRACT), Matrix(1, PASS_PLAIN, COMBINE_ADD)}},
    {&median, {{1, 1520}, {2, 1520}, {30, 1520}, {1, 1510}, {3, 1510}, {30, 1470}}},
    {&oilPainting, {{1}, {3}, {50}}},
    {&wave, {{10, 0, 20, 0, 1200}, {33, 0x3C78B4, 37, 271, 5530}}},
    {&ripple, {{10, 0, 10, 1}, {55, -70, 23, 0}}},
    {&swirl, {{45}, {-3000}}},
    {&polarCoordinates, {{0x3C78B4}}},
    {&fisheye, {{20}, {5}, {37}}},
    {&coneHead, {{20}, {5}}},
    {&solarize, {{128, 1270}, {200, 1230}, {77, 1260}}},
    {&acid, {{100}}},
    {&doubleVision, {{4, 5530}, {6, 1200}, {300, 1200}}},
    {&blocks, {{3, 2}, {500, 500}, {1, 7}}},
    {&slices, {{0x3C78B4, 5, 2, 6}}},
    {&tiles, {{3, 0x3C78B4, 9}, {1, 0, 1}, {5, 0xFF, 1000}}},
    {&randomShear, {{0x3C78B4}}},
    {&melt, {{100, 1230}}},
    {&noise, {{50, 40}}},
};

struct Outcome {
    Picture picture;
    std::vector<int32_t> progress;
};

static Outcome RunOn(const SharedCase &shared, const Numbers &own, const PictureCase &kind, int abortAfter)
{
    Outcome outcome = {RandomPicture(kind), {}};
    const WorkerRun run = RunWorker(*shared.effect, outcome.picture, own.data(), own.size() * sizeof(int32_t),
                                    {.maskInUse = kind.maskInUse, .seed = 9, .abortAfter = abortAfter});
    EXPECT_EQ(run.leakedBlocks, 0);
    EXPECT_EQ(run.strayReports, 0);
    outcome.progress = run.progress;
    return outcome;
}

static void ExpectAlike(const SharedCase &shared, const Numbers &own, const PictureCase &kind, int abortAfter,
                        std::initializer_list<int> threadCounts, int64_t mostAtOnce = 1000)
{
    const Outcome alone = RunOn(shared, own, kind, abortAfter);
    for (int threads : threadCounts) {
        SCOPED_TRACE(testing::Message() << shared.effect->name << " " << testing::PrintToString(own) << ", " << kind
                                        << ", " << threads << " threads, aborted after " << abortAfter);
        const ManyThreads many(threads, mostAtOnce);
        const Outcome together = RunOn(shared, own, kind, abortAfter);
        ASSERT_TRUE(SamePicture(together.picture, alone.picture));
        ASSERT_EQ(together.progress, alone.progress);
    }
}

TEST(ManyThreads, MakeThePixelsOfOne)
{
    for (const SharedCase &shared : cases) {
        for (const Numbers &own : shared.many) {
            int turn = int(own.size());
            for (const PictureCase &kind : AllPictureCases(4100)) {
                if (++turn % EVERY > 0) continue;
                ExpectAlike(shared, own, kind, -1, {turn / EVERY % 3 == 0 ? 2 : turn / EVERY % 3 == 1 ? 3 : 8});
                if (HasFatalFailure()) return;
            }
        }
    }
}

TEST(ManyThreads, LeaveWhatOneLeavesAfterAnAbortAtAnyRow)
{
    for (const SharedCase &shared : cases) {
        for (int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
            const PictureCase kind = {type, 33, 20, type == GREY || type == RGB ? 8 : 1, false, 6};
            for (const Numbers &own : shared.many) {
                const int reports = int(RunOn(shared, own, kind, -1).progress.size());
                for (int abortAfter = 0; abortAfter <= reports; abortAfter += EVERY) {
                    ExpectAlike(shared, own, kind, abortAfter, {2, 3});
                    if (HasFatalFailure()) return;
                }
            }
        }
    }
}

// Rows enough for several bands that look beyond themselves, at several times.
TEST(ManyThreads, MakeThePixelsOfOneOnTallPictures)
{
    for (const SharedCase &shared : cases) {
        for (const Numbers &own : shared.many) {
            for (int32_t type : {GREY, RGB}) {
                if (EVERY > 1 && type == GREY) continue;
                ExpectAlike(shared, own, {type, 41, 517, 8, true, 8}, -1, {2});
                ExpectAlike(shared, own, {type, 41, 517, 8, true, 8}, -1, {3}, 100000);
                if (HasFatalFailure()) return;
            }
        }
    }
}
