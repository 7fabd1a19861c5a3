// Holding a worker against its plain version on every kind of picture, and its memory after an abort at any point.

#pragma once

#include "effects/effects.h"
#include "tests/reference/reference.h"
#include "tests/support/comparison.h"
#include "tests/support/run_worker.h"

#include <algorithm>
#include <functional>
#include <stdlib.h>

// `plain` changes a picture as the worker should; it finds `rand` seeded as the worker does.
template <typename Parameters>
void ExpectPlainVersion(const EffectDescriptor &effect, const std::vector<Parameters> &many, uint32_t seed,
                        const std::function<void(Picture &, const Parameters &)> &plain)
{
    std::vector<PictureCase> kinds = AllPictureCases(seed);
    for (int32_t type : {ONE_BIT, GREY, PALETTE, RGB})
        kinds.push_back({type, 203, 131, type == GREY || type == RGB ? 8 : 1, false, seed});
    for (const PictureCase &kind : kinds) {
        for (size_t i = 0; i < many.size(); ++i) {
            SCOPED_TRACE(testing::Message() << kind << ", parameter set " << i);
            Picture picture = RandomPicture(kind), expected = RandomPicture(kind);
            const WorkerRun run = RunWorker(effect, picture, many[i], {.maskInUse = kind.maskInUse, .seed = kind.seed});
            srand(kind.seed);
            plain(expected, many[i]);
            ASSERT_TRUE(SamePicture(picture, expected));
            ASSERT_EQ(run.leakedBlocks, 0);
            ASSERT_EQ(run.strayReports, 0);
        }
    }
}

// Aborts after every number of reports up to `reports`: the run ends there and has given its memory back. A type that
// the effect leaves alone reports as it does without an abort.
template <typename Parameters>
void ExpectAbortsAnywhere(const EffectDescriptor &effect, const Parameters &own, int reports)
{
    for (int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        Picture whole = RandomPicture({type, 33, 20, 8, false, 6});
        const int allReports = int(RunWorker(effect, whole, own).progress.size());
        for (int reached = 0; reached <= reports; ++reached) {
            SCOPED_TRACE(testing::Message() << "type " << type << ", aborted after " << reached << " reports");
            Picture picture = RandomPicture({type, 33, 20, 8, false, 6});
            const WorkerRun run = RunWorker(effect, picture, own, {.abortAfter = reached});
            EXPECT_EQ(int(run.progress.size()), std::min(reached, allReports));
            EXPECT_EQ(run.leakedBlocks, 0);
        }
    }
}

// A picture of one value.
inline Picture EvenGrey(int width, int height, uint32_t level)
{
    return Grey(Values(size_t(height), std::vector<uint32_t>(size_t(width), level)));
}
