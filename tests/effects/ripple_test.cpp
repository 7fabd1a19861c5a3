// Ripple as a worker: cases worked out by hand, one for each thing its head comment says, and the plain version on
// every kind of picture. Its dialog is tried in tests/framework.

#include "tests/effects/relocating.h"

#include <random>

struct RippleParameters {
    int32_t amplitude = 10;
    int32_t phase = 0;
    int32_t wavelength = 10;
    int32_t fade = 1;
};

// Step by step as the effect is written, an arctangent and three sines per pixel.
static Formula FormulaOf(const RippleParameters &own)
{
    return [own](const Picture &picture, int x, int y, double &sourceX, double &sourceY) {
        const double centreX = picture.width * 0.5, centreY = picture.height * 0.5;
        const double radius = centreX < centreY ? centreX : centreY;
        const double wavelength = 0.01 * own.wavelength * radius, amplitude = 0.01 * own.amplitude * radius;
        const double phase = own.phase * 3.1415927 * (1.0 / 180);
        const double dx = x - centreX, dy = y - centreY, d = sqrt(dx * dx + dy * dy);
        const bool centre = dx == 0 && dy == 0, outside = own.fade && d > radius;
        double angle = centre ? 0 : atan2(dy, dx);
        if (!centre && !outside) {
            const double swing = sin(6.2831854 * d / wavelength + phase) * amplitude * (own.fade ? 1 - d / radius : 1);
            angle = angle + 6.2831854 + swing / d;
        }
        sourceX = cos(angle) * d + centreX;
        sourceY = sin(angle) * d + centreY;
        return true;
    };
}

static std::vector<RippleParameters> ManyParameters()
{
    return {{},
            {1, 0, 100, 1},
            {100, 360, 1, 1},
            {100, -360, 1, 0},
            {37, 123, 13, 0},
            {60, -77, 45, 1},
            {1, 90, 1, 0},
            {100, 180, 100, 0}};
}

static WorkerRun RunRecorded(Picture &picture, const RippleParameters &own)
{
    return RunWorker(ripple, picture, own, {.recordsRelocations = true});
}

//---- Told cases

// Of a picture 40 pixels across: radius 20, a wavelength of 20, and at distance 10, halfway, a phase of a quarter makes
// the sine -1.
static void ExpectTurn(const RippleParameters &own, double turn)
{
    Picture picture = EvenGrey(40, 40, 0);
    const auto [x, y] = PositionOf(RunRecorded(picture, own), 30, 20);
    EXPECT_NEAR(x, 20 + 10 * cos(turn), 1e-5);
    EXPECT_NEAR(y, 20 + 10 * sin(turn), 1e-5);
}

TEST(Ripple, ASwingOfTwentyPixelsAtDistanceTenIsATurnByTwo) { ExpectTurn({100, 90, 100, 0}, -2); }
TEST(Ripple, FadingTakesHalfTheSwingHalfwayToTheRadius) { ExpectTurn({100, 90, 100, 1}, -1); }
TEST(Ripple, HalfATurnOfPhaseReversesEverySwing) { ExpectTurn({100, 270, 100, 1}, 1); }

// The constant for a whole turn is 9.3e-8 too large: far from the centre that shows.
TEST(Ripple, AWholeTurnIsALittleMoreThanOne)
{
    Picture picture = EvenGrey(2000, 1, 0);
    const WorkerRun run = RunRecorded(picture, {1, 0, 100, 0});   // the swing is 0.005 pixels at most
    const auto [x, y] = PositionOf(run, 1000, 0);                 // half a pixel above the centre
    EXPECT_NEAR(x, 1000, 0.006);
    EXPECT_EQ(y, 0);
    // 500 pixels to the right, half a pixel up: d / L = 1000.0005 wavelengths.
    const double d = sqrt(500.0 * 500 + 0.25), swing = sin(6.2831854 * d / 0.5) * 0.005;
    EXPECT_NEAR(PositionOf(run, 1500, 0)[0], 1000 + 500 + 0.5 * (swing / d + 9.28e-8), 1e-9);
    Picture tall = EvenGrey(3, 2001, 0);
    const WorkerRun high = RunRecorded(tall, {1, 0, 100, 0});
    // At the top, 1000.5 above and half a pixel to the left: turned on by 9.28e-8 and the swing over d.
    const double height = sqrt(1000.5 * 1000.5 + 0.25);
    const double turn = sin(6.2831854 * height / 1.5) * 0.015 / height + 9.282041e-8;
    EXPECT_NEAR(PositionOf(high, 1, 0)[0], 1.5 - 0.5 + 1000.5 * turn, 1e-8);
}

TEST(Ripple, TheCentreOfEvenSizesStays)
{
    Picture picture = EvenGrey(6, 4, 0);
    const auto [x, y] = PositionOf(RunRecorded(picture, {100, 90, 10, 0}), 3, 2);
    EXPECT_EQ(x, 3);
    EXPECT_EQ(y, 2);
}

TEST(Ripple, WithFadingWhatIsFartherOutThanTheRadiusStays)
{
    for (int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        for (int32_t maskBits : {1, 8}) {
            const PictureCase kind = {type, 31, 18, maskBits, true, 11};
            Picture picture = RandomPicture(kind), before = RandomPicture(kind);
            RunWorker(ripple, picture, RippleParameters{100, 45, 7, 1}, {.maskInUse = true});
            for (int y = 0; y < 18; ++y) {
                for (int x = 0; x < 31; ++x) {
                    if ((x - 15.5) * (x - 15.5) + (y - 9.0) * (y - 9.0) <= 81) continue;
                    ASSERT_EQ(PixelOf(picture, x, y), PixelOf(before, x, y)) << kind << " (" << x << ", " << y << ")";
                    ASSERT_EQ(MaskPixelOf(picture, x, y), MaskPixelOf(before, x, y)) << kind;
                }
            }
        }
    }
}

// At the radius itself the swing is nothing: 3 and 4 to the right and down of the centre, with radius 5.
TEST(Ripple, WithFadingAPixelAtTheRadiusHasNoSwing)
{
    Picture picture = EvenGrey(10, 12, 0);
    const auto [x, y] = PositionOf(RunRecorded(picture, {100, 90, 10, 1}), 8, 10);
    EXPECT_NEAR(x, 8, 1e-6);
    EXPECT_NEAR(y, 10, 1e-6);
}

TEST(Ripple, ASmallSwingLeavesSmallPicturesAsTheyAre)
{
    // 1 % of a radius of 4.5: at most 0.045 pixels, so the nearest pixel is each pixel's own.
    for (int32_t type : {ONE_BIT, PALETTE}) {
        Picture picture = RandomPicture({type, 13, 9, 1, false, 5}), before = RandomPicture({type, 13, 9, 1, false, 5});
        RunWorker(ripple, picture, RippleParameters{1, 0, 10, 1});
        EXPECT_EQ(picture, before);
    }
}

TEST(Ripple, PositionsOutsideAreBroughtToTheEdge)
{
    // Two by two pixels, all turned by much about their common corner.
    Picture picture = Grey({{10, 20}, {30, 40}});
    const WorkerRun run = RunRecorded(picture, {100, 90, 100, 0});
    ASSERT_EQ(run.relocations.size(), 4u);
    for (const RelocateCall &call : run.relocations) {
        EXPECT_GE(call.request.sourceX, 0);
        EXPECT_LE(call.request.sourceX, 1);
        EXPECT_GE(call.request.sourceY, 0);
        EXPECT_LE(call.request.sourceY, 1);
    }
}

TEST(Ripple, AFullTurnOfPhaseEitherWayIsNone)
{
    for (int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        Picture pictures[3];
        for (int i = 0; i < 3; ++i) {
            pictures[i] = RandomPicture({type, 64, 48, 0, false, 5});
            RunWorker(ripple, pictures[i], RippleParameters{50, i * 360 - 360, 20, 0});
        }
        Closeness closeness;   // the constants are short of a whole turn, so a sample in a thousand may be another
        AddDifferences(closeness, pictures[0], pictures[1], "-360");
        AddDifferences(closeness, pictures[2], pictures[1], "360");
        EXPECT_LE(closeness.different * 1000, closeness.samples) << type;
    }
}

//---- Against the written formula and the plain version

TEST(Ripple, FetchesEveryPixelFromWhereTheFormulaSays)
{
    ExpectRelocations<RippleParameters>(ripple, ManyParameters(), 3700, FormulaOf);
}

TEST(Ripple, FetchesEveryPixelOfLargerPicturesFromWhereTheFormulaSays)
{
    for (const RippleParameters &own : ManyParameters()) ExpectRelocationsOfLargePictures(ripple, own, FormulaOf(own));
}

// In 256ths of a pixel, as pixels are fetched.
static int Fine(double position) { return int(position * 256 + 0.5); }

// How many positions of a picture are rounded to another 256th than the formula's.
static int RoundedElsewhere(const Picture &blank, const RippleParameters &own)
{
    Picture picture = CopyOf(blank);
    const WorkerRun run = RunRecorded(picture, own);
    const std::vector<DueCall> due = DueCalls(picture, FormulaOf(own));
    EXPECT_EQ(run.relocations.size(), due.size());
    int count = 0;
    for (size_t i = 0; i < std::min(due.size(), run.relocations.size()); ++i) {
        const RelocateCall &call = run.relocations[i];
        count +=
            Fine(call.request.sourceX) != Fine(due[i].sourceX) || Fine(call.request.sourceY) != Fine(due[i].sourceY);
    }
    return count;
}

// Rings are turned by polynomials instead of the library's sines: no pixel may be fetched from elsewhere for that.
TEST(Ripple, NoPositionIsRoundedToAnother256thOverTenThousandSettingsAndSizes)
{
    std::mt19937 random(8300);
    const auto number = [&random](int32_t low, int32_t high) {
        return low + int32_t(random() % uint32_t(high - low + 1));
    };
    for (int i = 0; i < 10000; ++i) {
        const RippleParameters own = {number(1, 100), number(-360, 360), number(1, 100), number(0, 1)};
        const int32_t width = number(1, 40), height = number(1, 40);
        ASSERT_EQ(RoundedElsewhere(NewPicture(GREY, width, height), own), 0)
            << width << " x " << height << ": " << own.amplitude << ", " << own.phase << ", " << own.wavelength << ", "
            << own.fade;
    }
}

TEST(Ripple, NoPositionIsRoundedToAnother256thWithAnyValueOfASetting)
{
    const Picture picture = NewPicture(GREY, 9, 7);
    std::mt19937 random(8301);
    for (int32_t phase = -360; phase <= 360; ++phase) {
        for (int32_t value = 1; value <= 100; value += 11) {
            const int32_t other = int32_t(random() % 100) + 1;
            for (const RippleParameters &own : {RippleParameters{value, phase, other, 0}, {other, phase, value, 1}})
                ASSERT_EQ(RoundedElsewhere(picture, own), 0)
                    << own.amplitude << ", " << phase << ", " << own.wavelength << ", " << own.fade;
        }
    }
    for (int32_t amplitude = 1; amplitude <= 100; ++amplitude)
        for (int32_t wavelength = 1; wavelength <= 100; ++wavelength)
            ASSERT_EQ(RoundedElsewhere(picture, {amplitude, int32_t(random() % 721) - 360, wavelength, amplitude % 2}),
                      0)
                << amplitude << ", " << wavelength;
}

TEST(Ripple, IsCloseToThePlainVersionOnEveryKindOfPicture)
{
    ExpectCloseToPlainVersion<RippleParameters>(
        ripple, ManyParameters(), 3750, [](Picture &picture, bool maskInUse, const RippleParameters &own) {
            ReferenceRipple(picture, maskInUse, own.amplitude, own.phase, own.wavelength, own.fade != 0);
        });
}

//---- Abort

TEST(Ripple, AbortKeepsTheRowsDone)
{
    ExpectRowsUpToTheAbort(ripple, RippleParameters{});
    ExpectRowsUpToTheAbort(ripple, RippleParameters{100, 30, 20, 0});
}
