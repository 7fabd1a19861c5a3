// A dialog through a long day: images are opened, closed, activated, edited, run and aborted in a random order.

#include "tests/framework/stage.h"

#include <algorithm>
#include <map>
#include <set>

struct Day {
    Stage &stage;
    HWND dialog;
    std::mt19937 generator;
    std::map<ImageRecord *, int> amplitudes;   // as the person has left them
    std::set<ImageRecord *> started;           // images that may still run
};

static int Below(Day &day, int count) { return int(day.generator() % uint32_t(count)); }
static ImageRecord *AnyImage(Day &day) { return day.stage.images[size_t(Below(day, int(day.stage.images.size())))]; }
static ImageRecord *Active(const Day &day) { return day.stage.host.context.activeImage; }

static void OpenOne(Day &day)
{
    if (day.stage.images.size() >= 8) return;
    static const int32_t types[] = {RGB, GREY, PALETTE, ONE_BIT};
    day.amplitudes[Open(day.stage, AnyPicture(types[Below(day, 4)], 30, 8))] = 10;
}

static void CloseOne(Day &day)
{
    if (day.stage.images.size() < 2) return;
    ImageRecord *image = AnyImage(day);
    LetGo(image);
    day.amplitudes.erase(image);
    day.started.erase(image);
    Close(day.stage, image);
}

static void ApplyOne(Day &day)
{
    if (!IsEnabled(day.dialog, APPLY_BUTTON)) return;
    HoldNextRun(Active(day), Below(day, 12) - 3);   // some are not held at all
    day.started.insert(Active(day));
    Press(day.dialog, APPLY_BUTTON);
}

static void EditOne(Day &day)
{
    if (!IsEnabled(day.dialog, AMPLITUDE_EDIT)) return;
    const int amplitude = 1 + Below(day, 50);
    Type(day.dialog, AMPLITUDE_EDIT, std::to_string(amplitude));
    day.amplitudes[Active(day)] = amplitude;
}

static void WaitForAll(Day &day)
{
    for (ImageRecord *image : day.stage.images) LetGo(image);
    WaitForRuns();
    day.started.clear();
}

static void DoSomething(Day &day)
{
    switch (Below(day, 10)) {
    case 0: OpenOne(day); break;
    case 1: CloseOne(day); break;
    case 2:
    case 3: ActivateImage(day.stage.host, AnyImage(day)); break;
    case 4:
    case 5: ApplyOne(day); break;
    case 6: EditOne(day); break;
    case 7: Press(day.dialog, ABORT_BUTTON); break;
    case 8: LetGo(AnyImage(day)); break;
    case 9: Below(day, 8) ? HandlePosted() : WaitForAll(day); break;
    }
}

static int BlocksOf(HWND dialog, const ImageRecord *image)
{
    int count = 0;
    for (int slot = 0; slot < MAX_SLOTS; ++slot) {
        const EffectBlock *block = BlockAt(dialog, slot);
        count += block && block->header.image == image;
    }
    return count;
}

static int AllBlocks(HWND dialog)
{
    EffectBlock *const *slots = StateOf(dialog)->slots;
    return MAX_SLOTS - int(std::count(slots, slots + MAX_SLOTS, nullptr));
}

static void Check(const Day &day)
{
    HWND dialog = day.dialog;
    for (const ImageRecord *image : day.stage.images) ASSERT_EQ(BlocksOf(dialog, image), 1);
    ASSERT_EQ(AllBlocks(dialog), int(day.stage.images.size()));
    ASSERT_EQ(CurrentBlock(dialog)->header.image, Active(day));
    ASSERT_EQ(KPZ_GetSpinBoxIntValue(dialog, AMPLITUDE), day.amplitudes.at(Active(day)));
    ASSERT_EQ(CurrentWave(dialog).amplitude, day.amplitudes.at(Active(day)));
    const bool mayRun = day.started.count(Active(day)) != 0, runs = IsRunning(Active(day));
    ASSERT_FALSE(runs && IsEnabled(dialog, APPLY_BUTTON));
    ASSERT_TRUE(mayRun || IsEnabled(dialog, APPLY_BUTTON));
}

static void LiveThrough(uint32_t seed, int steps)
{
    Stage stage(3);
    InWave(stage, [&](HWND dialog) {
        Day day{stage, dialog, std::mt19937(seed), {}, {}};
        for (ImageRecord *image : stage.images) day.amplitudes[image] = 10;
        for (int i = 0; i < steps && !testing::Test::HasFatalFailure(); ++i) {
            DoSomething(day);
            Check(day);
        }
        WaitForAll(day);
        Check(day);
    });
}

static void LiveThroughDays(uint32_t firstSeed, uint32_t count)
{
    for (uint32_t seed = firstSeed; seed < firstSeed + count; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const int32_t blocksBefore = HostAllocatedBlocks();
        LiveThrough(seed, 250);
        EXPECT_EQ(HostAllocatedBlocks(), blocksBefore);
    }
}

TEST(AnyOrderOfEvents, KeepsOneBlockPerImageAndShowsTheActiveOne) { LiveThroughDays(1, 6); }

// On the screen previews work beside the runs.
TEST(AnyOrderOfEvents, OnTheScreenToo)
{
    HostShowDialogs(TRUE);
    LiveThroughDays(11, 3);
    HostShowDialogs(FALSE);
}
