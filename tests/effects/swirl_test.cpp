#include "host/misc/misc.h"
#include "tests/effects/relocating.h"

struct SwirlParameters {
    int32_t amount;
};

TEST(Swirl, ByNothingLeavesThePictureAloneAndReportsNothing)
{
    for (const PictureCase &kind : AllPictureCases(5300)) {
        Picture picture = RandomPicture(kind);
        const WorkerRun run = RunWorker(swirl, picture, SwirlParameters{0}, {.maskInUse = kind.maskInUse});
        ASSERT_TRUE(SameBytes(picture, RandomPicture(kind))) << testing::PrintToString(kind.seed);
        ASSERT_TRUE(run.progress.empty());
    }
}

TEST(Swirl, EqualsThePlainVersionOnEveryKindOfPicture)
{
    const std::vector<SwirlParameters> many = {{45}, {-45}, {1}, {360}, {-8000}, {8000}};
    ExpectCloseToPlainVersion<SwirlParameters>(swirl, many, 5400,
                                               [](Picture &picture, bool maskInUse, const SwirlParameters &own) {
                                                   ReferenceSwirl(picture, maskInUse, own.amount);
                                               });
}

TEST(Swirl, RunsWithTheAbortFlagSetLeaveThePictureAlone)
{
    const PictureCase kind = {RGB, 33, 20, 8, true, 9};
    Picture picture = RandomPicture(kind);
    const WorkerRun run = RunWorker(swirl, picture, SwirlParameters{45}, {.maskInUse = true, .abortAfter = 0});
    EXPECT_TRUE(SameBytes(picture, RandomPicture(kind)));
    EXPECT_EQ(run.leakedBlocks, 0);
}

// What reaches the host, from its log.
static std::vector<LoggedCall> CallsOf(const std::function<void()> &work)
{
    HostStartLog();
    work();
    HostStopLog();
    std::vector<LoggedCall> calls;
    LoggedCall call;
    for (int32_t i = 0; HostLogEntry(i, &call); ++i) {
        if (std::string(call.call) == "SwirlFunction") calls.push_back(call);
    }
    return calls;
}

TEST(Swirl, HandsTheWholeOfItToTheHostOnce)
{
    Picture picture = RandomPicture({GREY, 12, 7, 1, true, 3});
    const std::vector<LoggedCall> calls = CallsOf([&] { RunWorker(swirl, picture, SwirlParameters{-30}, {}); });
    ASSERT_EQ(calls.size(), 1u);
    const auto address = [](const void *pointer) { return reinterpret_cast<intptr_t>(pointer); };
    const intptr_t expected[] = {address(picture.pixels.get()), address(picture.mask.get()), 12, 7, 8, 1};
    EXPECT_TRUE(std::equal(expected, expected + 6, calls[0].arguments));
    EXPECT_TRUE(CallsOf([&] { RunWorker(swirl, picture, SwirlParameters{0}, {}); }).empty());
}
