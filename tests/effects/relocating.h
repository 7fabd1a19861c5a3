// Holding an effect that moves pixels through Relocate against its written formula: every call, its destination and its
// position, on every kind of picture; and its picture against the plain version's.

#pragma once

#include "tests/effects/plain_version.h"

#include <algorithm>
#include <array>
#include <math.h>

// Finds the position that pixel (x, y) of a picture is fetched from, as the effect's formula is written, before it is
// brought into the picture; false where the pixel stays.
typedef std::function<bool(const Picture &picture, int x, int y, double &sourceX, double &sourceY)> Formula;
constexpr double POSITION_TOLERANCE = 1e-9;

// A call that is due.
struct DueCall {
    int x, y;
    bool ofMask;
    double sourceX, sourceY;
};

inline std::vector<DueCall> DueCalls(const Picture &picture, const Formula &formula)
{
    const double right = picture.width - 1, bottom = picture.height - 1;
    std::vector<DueCall> due;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            double sourceX = 0, sourceY = 0;
            if (!formula(picture, x, y, sourceX, sourceY)) continue;
            sourceX = !(sourceX >= 0) ? 0 : std::min(sourceX, right);
            sourceY = !(sourceY >= 0) ? 0 : std::min(sourceY, bottom);
            due.push_back({x, y, false, sourceX, sourceY});
            if (picture.mask) due.push_back({x, y, true, sourceX, sourceY});
        }
    }
    return due;
}

inline bool IsDue(const RelocateCall &call, const DueCall &due)
{
    return call.x == due.x && call.y == due.y && call.ofMask == due.ofMask &&
           fabs(call.request.sourceX - due.sourceX) <= POSITION_TOLERANCE &&
           fabs(call.request.sourceY - due.sourceY) <= POSITION_TOLERANCE;
}

inline void ExpectCalls(const std::vector<RelocateCall> &calls, const std::vector<DueCall> &due)
{
    ASSERT_EQ(calls.size(), due.size());
    for (size_t i = 0; i < due.size(); ++i) {
        if (IsDue(calls[i], due[i])) continue;
        const RelocateCall &call = calls[i];
        const DueCall &wanted = due[i];
        SCOPED_TRACE(testing::Message() << "call " << i << ", (" << wanted.x << ", " << wanted.y << ")"
                                        << (wanted.ofMask ? " of the mask" : ""));
        ASSERT_EQ(call.x, wanted.x);
        ASSERT_EQ(call.y, wanted.y);
        ASSERT_EQ(call.ofMask, wanted.ofMask);
        ASSERT_NEAR(call.request.sourceX, wanted.sourceX, POSITION_TOLERANCE);
        ASSERT_NEAR(call.request.sourceY, wanted.sourceY, POSITION_TOLERANCE);
    }
}

// The call that set a pixel of the picture; null when none did.
inline const RelocateCall *CallFor(const WorkerRun &run, int x, int y)
{
    for (const RelocateCall &call : run.relocations)
        if (call.x == x && call.y == y && !call.ofMask) return &call;
    return nullptr;
}

inline bool WasFetched(const WorkerRun &run, int x, int y) { return CallFor(run, x, y) != nullptr; }

// Where a pixel was fetched from.
inline std::array<double, 2> PositionOf(const WorkerRun &run, int x, int y)
{
    const RelocateCall *call = CallFor(run, x, y);
    if (!call) ADD_FAILURE() << "(" << x << ", " << y << ") was not fetched";
    return call ? std::array{call->request.sourceX, call->request.sourceY} : std::array<double, 2>{};
}

// What a request holds besides place and position. The sources are copies, so they lie outside the picture's planes.
inline void ExpectFields(const RelocateCall &call, const Picture &picture, bool maskInUse)
{
    const RelocateRequest &request = call.request;
    const int32_t bits = call.ofMask ? picture.maskBitsPerPixel : picture.bitsPerPixel;
    const int32_t type = !call.ofMask ? picture.colourType : bits == 8 ? GREY : ONE_BIT;
    ASSERT_EQ(request.width, picture.width);
    ASSERT_EQ(request.secondWidth, picture.width);
    ASSERT_EQ(request.height, picture.height);
    ASSERT_EQ(request.bitsPerPixel, bits);
    ASSERT_EQ(request.stride, RowStride(bits, picture.width));
    ASSERT_EQ(request.colourType, type);
    ASSERT_TRUE(type == ONE_BIT || (request.x == 0 && request.y == 0));
    ASSERT_NE(request.source, nullptr);
    ASSERT_NE(request.source, call.ofMask ? picture.mask.get() : picture.pixels.get());
    ASSERT_EQ(request.maskSource != nullptr, !call.ofMask && maskInUse && picture.mask);
    ASSERT_TRUE(!request.maskSource || request.maskSource != picture.mask.get());
    ASSERT_EQ(request.maskStride, call.ofMask ? 0 : RowStride(picture.maskBitsPerPixel, picture.width));
}

// `formula` is the effect's with the parameters of each set in turn.
template <typename Parameters>
void ExpectRelocations(const EffectDescriptor &effect, const std::vector<Parameters> &many, uint32_t seed,
                       const std::function<Formula(const Parameters &)> &formula)
{
    for (const PictureCase &kind : AllPictureCases(seed)) {
        for (size_t i = 0; i < many.size(); ++i) {
            SCOPED_TRACE(testing::Message() << kind << ", parameter set " << i);
            Picture picture = RandomPicture(kind);
            const WorkerOptions options = {.maskInUse = kind.maskInUse, .recordsRelocations = true};
            const WorkerRun run = RunWorker(effect, picture, many[i], options);
            ExpectCalls(run.relocations, DueCalls(picture, formula(many[i])));
            for (const RelocateCall &call : run.relocations) ExpectFields(call, picture, kind.maskInUse);
            ASSERT_EQ(run.progress, ProgressOfRows(kind.height));
            if (testing::Test::HasFatalFailure()) return;
        }
    }
}

// A wide and a tall picture; the tolerance is the same, while whatever multiplies a position's error is larger.
template <typename Parameters>
void ExpectRelocationsOfLargePictures(const EffectDescriptor &effect, const Parameters &own, const Formula &formula)
{
    for (const PictureSize &size : {PictureSize{2311, 97}, PictureSize{95, 1204}, PictureSize{700, 700}}) {
        SCOPED_TRACE(testing::Message() << size.width << " x " << size.height);
        Picture picture = NewPicture(GREY, size.width, size.height);
        const WorkerRun run = RunWorker(effect, picture, own, {.recordsRelocations = true});
        ExpectCalls(run.relocations, DueCalls(picture, formula));
        if (testing::Test::HasFatalFailure()) return;
    }
}

// Equal bytes but for one sample in 100,000, over all kinds of pictures and two larger ones of each type together.
// `plain` changes a picture as the worker should.
template <typename Parameters>
void ExpectCloseToPlainVersion(const EffectDescriptor &effect, const std::vector<Parameters> &many, uint32_t seed,
                               const std::function<void(Picture &, bool maskInUse, const Parameters &)> &plain)
{
    std::vector<PictureCase> kinds = AllPictureCases(seed);
    for (int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        kinds.push_back({type, 203, 131, type == GREY || type == RGB ? 8 : 1, true, seed});
        kinds.push_back({type, 120, 301, type == GREY || type == RGB ? 8 : 1, false, seed});
    }
    Closeness closeness;
    for (const PictureCase &kind : kinds) {
        if (kind.maskBits == 1 && kind.maskInUse && kind.width < 5) continue;   // its mask would count as 8-bit
        for (size_t i = 0; i < many.size(); ++i) {
            const std::string name = (testing::Message() << kind << ", parameter set " << i).GetString();
            Picture picture = RandomPicture(kind), expected = RandomPicture(kind);
            const WorkerRun run = RunWorker(effect, picture, many[i], {.maskInUse = kind.maskInUse});
            plain(expected, kind.maskInUse, many[i]);
            AddDifferences(closeness, picture, expected, name);
            ASSERT_EQ(run.leakedBlocks, 0) << name;
            ASSERT_EQ(run.strayReports, 0) << name;
        }
    }
    EXPECT_TRUE(CloseEnough(closeness));
}

// Aborts after every number of rows: those rows are as after a whole run, in picture and mask, and the others as
// `untouched` leaves them.
template <typename Parameters>
void ExpectRowsUpToTheAbort(
    const EffectDescriptor &effect, const Parameters &own,
    const std::function<void(Picture &)> &untouched = [](Picture &) {})
{
    for (int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        const PictureCase kind = {type, 19, 14, type == GREY || type == RGB ? 8 : 1, false, 77};
        Picture whole = RandomPicture(kind), before = RandomPicture(kind);
        RunWorker(effect, whole, own);
        untouched(before);
        for (int rows = 0; rows <= kind.height; ++rows) {
            SCOPED_TRACE(testing::Message() << kind << ", aborted after " << rows << " rows");
            Picture picture = RandomPicture(kind);
            const WorkerRun run = RunWorker(effect, picture, own, {.abortAfter = rows});
            ASSERT_EQ(int(run.progress.size()), rows);
            ASSERT_EQ(run.leakedBlocks, 0);
            for (int y = 0; y < kind.height; ++y) {
                const Picture &expected = y < rows ? whole : before;
                for (int x = 0; x < kind.width; ++x) {
                    ASSERT_EQ(PixelOf(picture, x, y), PixelOf(expected, x, y)) << "(" << x << ", " << y << ")";
                    ASSERT_EQ(MaskPixelOf(picture, x, y), MaskPixelOf(expected, x, y)) << "(" << x << ", " << y << ")";
                }
            }
        }
    }
}
