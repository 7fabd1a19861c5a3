// The filter's worker: told cases, the plain version on every kind of kernel and picture, progress, abort.

#include "effects/effects.h"
#include "matrix/convolve_row.h"
#include "tests/matrix/kernel_catalogue.h"
#include "tests/matrix/parameters.h"
#include "tests/support/comparison.h"
#include "tests/support/run_worker.h"

enum { DIFFER = 940, ITERATIVE = 950, PLAIN = 1270, SUBTRACT = 5140, ADD = 5150, REPLACE = 5160 };
constexpr int PASS_MODES[] = {PLAIN, DIFFER, ITERATIVE}, COMBINE_MODES[] = {SUBTRACT, ADD, REPLACE};

// From the core's rows, as the catalogue writes them.
static MatrixSettings Kernel(int size, const char *core, int divisor = 1, int bias = 0, char mode = 'R')
{
    return SettingsOf({"", size, core, divisor, bias, mode});
}

static MatrixSettings Named(const std::string &name)
{
    for (const CatalogueKernel &kernel : catalogue)
        if (name == kernel.name) return SettingsOf(kernel);
    ADD_FAILURE() << "no kernel " << name;
    return {};
}

static Picture Filtered(Picture picture, const MatrixSettings &settings)
{
    RunWorker(filters, picture, ParametersOf(settings));
    return picture;
}

static Picture EvenGrey(int width, int height, uint32_t level)
{
    return Grey(Values(size_t(height), std::vector<uint32_t>(size_t(width), level)));
}

//---- Kernel size

static int SizeOf(MatrixSettings settings) { return CompactKernel(settings.kernel.data()); }

TEST(KernelSize, OfTheCatalogueIsThatOfItsCore)
{
    for (const CatalogueKernel &kernel : catalogue) EXPECT_EQ(SizeOf(SettingsOf(kernel)), kernel.size) << kernel.name;
}

TEST(KernelSize, IsThatOfTheFarthestElement)
{
    for (int i = 0; i < 49; ++i) {
        MatrixSettings settings;
        settings.kernel[size_t(i)] = 1;
        const int reach = std::max(abs(i / 7 - 3), abs(i % 7 - 3));
        EXPECT_EQ(SizeOf(settings), 2 * reach + 1) << "element " << i;
    }
    EXPECT_EQ(SizeOf({}), 1);
}

TEST(KernelSize, PutsTheCoreInFront)
{
    int32_t kernel[49] = {};
    for (int i = 0; i < 9; ++i) kernel[7 * (2 + i / 3) + 2 + i % 3] = i + 1;
    EXPECT_EQ(CompactKernel(kernel), 3);
    for (int i = 0; i < 9; ++i) EXPECT_EQ(kernel[i], i + 1);
}

//---- Told cases

TEST(Filters, IdentityLeavesThePictureAlone)
{
    for (const PictureCase &kind : AllPictureCases(5)) {
        Picture picture = RandomPicture(kind);
        EXPECT_TRUE(SameBytes(Filtered(CopyOf(picture), Named("Identity")), picture)) << kind;
    }
}

TEST(Filters, ZeroKernelBlackensInReplaceAndDoesNothingInAdd)
{
    MatrixSettings settings;
    EXPECT_EQ(Filtered(Grey({{1, 200}, {3, 255}}), settings), Grey({{0, 0}, {0, 0}}));
    settings.combineMode = ADD;
    EXPECT_EQ(Filtered(Grey({{1, 200}, {3, 255}}), settings), Grey({{1, 200}, {3, 255}}));
}

TEST(Filters, ElementsWeighTheirNeighbourUnflipped)
{
    const Picture picture = Grey({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
    EXPECT_EQ(Filtered(CopyOf(picture), Kernel(3, "1 0 0 / 0 0 0 / 0 0 0")), Grey({{1, 1, 2}, {1, 1, 2}, {4, 4, 5}}));
    EXPECT_EQ(Filtered(CopyOf(picture), Kernel(3, "0 0 0 / 0 0 1 / 0 0 0")), Grey({{2, 3, 3}, {5, 6, 6}, {8, 9, 9}}));
    EXPECT_EQ(Filtered(CopyOf(picture), Kernel(3, "0 0 0 / 0 0 0 / 0 1 0")), Grey({{4, 5, 6}, {7, 8, 9}, {7, 8, 9}}));
}

TEST(Filters, EdgesAreRepeatedAsFarAsTheKernelReaches)
{
    Picture picture = Filtered(Grey({{10, 0, 0, 0, 0, 0, 7},
                                     {0, 0, 0, 0, 0, 0, 0},
                                     {0, 0, 0, 0, 0, 0, 0},
                                     {0, 0, 0, 0, 0, 0, 0},
                                     {0, 0, 0, 0, 0, 0, 0},
                                     {0, 0, 0, 0, 0, 0, 0},
                                     {0, 0, 0, 0, 0, 0, 0}}),
                               Named("Smooth 7 by 7"));
    EXPECT_EQ(PixelOf(picture, 0, 0), 10u * 16 / 49);
    EXPECT_EQ(PixelOf(picture, 3, 0), (10u * 4 + 7 * 4) / 49);
    EXPECT_EQ(PixelOf(picture, 6, 3), 7u * 4 / 49);
    EXPECT_EQ(PixelOf(picture, 6, 4), 0u);
}

TEST(Filters, SmoothKeepsAnEvenPictureEvenToItsBorders)
{
    for (const char *name : {"Smooth 3 by 3", "Smooth 5 by 5", "Smooth 7 by 7", "Gaussian 3 by 3", "Gaussian 5 by 5",
                             "Gaussian 7 by 7", "Low Pass #3"}) {
        for (uint32_t level : {0u, 1u, 77u, 255u})
            EXPECT_TRUE(SamePicture(Filtered(EvenGrey(9, 8, level), Named(name)), EvenGrey(9, 8, level))) << name;
    }
}

TEST(Filters, PictureSmallerThanTheKernelIsLeftAloneAndReportsNothing)
{
    Picture picture = Grey({{1, 200}, {3, 255}});
    const WorkerRun run = RunWorker(filters, picture, ParametersOf(Named("Smooth 3 by 3")));
    EXPECT_EQ(picture, Grey({{1, 200}, {3, 255}}));
    EXPECT_TRUE(run.progress.empty());
    const Picture wide = Grey({{1, 2, 3, 4}, {5, 6, 7, 8}});
    EXPECT_EQ(Filtered(CopyOf(wide), Named("Smooth 3 by 3")), wide);
}

TEST(Filters, EngraveSaturatesAnEvenGrey)
{
    EXPECT_EQ(Filtered(EvenGrey(6, 6, 128), Named("Engrave image")), EvenGrey(6, 6, 255));
}

// 10 + 20 + 20 + (20 - 10), and 10 + 10 + 10 + 10.
TEST(Filters, AddAppliesSumAndBiasOncePerKernelRow)
{
    EXPECT_EQ(Filtered(EvenGrey(3, 3, 10), Kernel(3, "0 0 0 / 0 0 0 / 0 0 -1", 1, 20, 'A')), EvenGrey(3, 3, 60));
    EXPECT_EQ(Filtered(EvenGrey(3, 3, 10), Kernel(3, "1 0 0 / 0 0 0 / 0 0 0", 1, 0, 'A')), EvenGrey(3, 3, 40));
}

TEST(Filters, SubtractIsClampedAfterEveryKernelRow)
{
    // 50 - 50 = 0, 0 - 50 = 0, 0 - (50 - 100) = 50
    EXPECT_EQ(Filtered(EvenGrey(3, 3, 50), Kernel(3, "0 1 0 / 0 0 0 / 0 -2 0", 1, 0, 'S')), EvenGrey(3, 3, 50));
}

TEST(Filters, UnknownCombineModeReplaces)
{
    MatrixSettings settings = Named("Smooth 3 by 3");
    settings.combineMode = 99;
    EXPECT_EQ(Filtered(EvenGrey(4, 4, 9), settings), EvenGrey(4, 4, 9));
}

TEST(Filters, DivisionIsTowardsZero)
{
    EXPECT_EQ(Filtered(EvenGrey(1, 1, 3), Kernel(1, "1", 2, 10)), EvenGrey(1, 1, 11));
    EXPECT_EQ(Filtered(EvenGrey(1, 1, 3), Kernel(1, "-1", 2, 10)), EvenGrey(1, 1, 9));
    EXPECT_EQ(Filtered(EvenGrey(1, 1, 3), Kernel(1, "1", -2, 10)), EvenGrey(1, 1, 9));
    EXPECT_EQ(Filtered(EvenGrey(1, 1, 3), Kernel(1, "-1", -2, 10)), EvenGrey(1, 1, 11));
}

TEST(Filters, DivisorOfZeroCountsAsOne)
{
    EXPECT_EQ(Filtered(EvenGrey(1, 1, 3), Kernel(1, "5", 0)), EvenGrey(1, 1, 15));
}

TEST(Filters, ChannelsAreBlueGreenRed)
{
    MatrixSettings settings;
    settings.useGreen = settings.useBlue = 0;
    EXPECT_EQ(Filtered(Rgb({{0x112233}}), settings), Rgb({{0x112200}}));
    settings.useRed = 0, settings.useGreen = 1;
    EXPECT_EQ(Filtered(Rgb({{0x112233}}), settings), Rgb({{0x110033}}));
    settings.useGreen = 0, settings.useBlue = 5;
    EXPECT_EQ(Filtered(Rgb({{0x112233}}), settings), Rgb({{0x002233}}));
}

TEST(Filters, DifferenceOfAChannelThatIsOffIsBlack)
{
    MatrixSettings settings;
    settings.passMode = DIFFER;
    settings.useGreen = 0;
    EXPECT_EQ(Filtered(Rgb({{0x112233, 0x445566}}), settings), Rgb({{0x110033, 0x440066}}));
}

TEST(Filters, IterativeKeepsAChannelThatIsOff)
{
    MatrixSettings settings = Named("Smooth 3 by 3");
    settings.passMode = ITERATIVE, settings.iterations = 5, settings.useRed = 0;
    std::mt19937 generator(4);
    const Picture before = RandomPicture(RGB, 11, 7, generator), after = Filtered(CopyOf(before), settings);
    bool changed = false;
    for (int y = 0; y < 7; ++y) {
        for (int x = 0; x < 11; ++x) {
            EXPECT_EQ(PixelOf(after, x, y) & 0xFF, PixelOf(before, x, y) & 0xFF);
            changed = changed || PixelOf(after, x, y) != PixelOf(before, x, y);
        }
    }
    EXPECT_TRUE(changed);
}

TEST(Filters, IterativeAddsBackWhatIsMissingOnceMorePerPass)
{
    MatrixSettings settings = Kernel(1, "1", 2);
    settings.passMode = ITERATIVE;
    const int expected[] = {100, 150, 175, 188, 194};   // P + 100 - P / 2
    for (int passes = 0; passes < 5; ++passes) {
        settings.iterations = passes;
        EXPECT_EQ(Filtered(EvenGrey(2, 2, 100), settings), EvenGrey(2, 2, uint32_t(expected[passes]))) << passes;
    }
    settings.iterations = -3;
    EXPECT_EQ(Filtered(EvenGrey(2, 2, 100), settings), EvenGrey(2, 2, 100));
}

TEST(Filters, OneBitPicturesAreLeftAlone)
{
    for (int passMode : PASS_MODES) {
        MatrixSettings settings;
        settings.passMode = passMode;
        Picture picture = Bits({"0110100110010110", "1111000011110000"});
        const WorkerRun run = RunWorker(filters, picture, ParametersOf(settings));
        EXPECT_EQ(picture, Bits({"0110100110010110", "1111000011110000"}));
        EXPECT_TRUE(run.progress.empty());
    }
}

TEST(Filters, MaskPlaneIsLeftAlone)
{
    Picture picture = WithMask(Grey({{9, 9}}), {{7, 8}});
    RunWorker(filters, picture, ParametersOf(MatrixSettings()), {.maskInUse = true});
    EXPECT_EQ(picture, WithMask(Grey({{0, 0}}), {{7, 8}}));
}

//---- Against the plain version

static testing::AssertionResult EqualsPlain(const MatrixSettings &settings, const PictureCase &kind)
{
    Picture picture = RandomPicture(kind), expected = RandomPicture(kind);
    const WorkerRun run = RunWorker(filters, picture, ParametersOf(settings), {.maskInUse = kind.maskInUse});
    ReferenceMatrix(expected, settings);
    if (run.leakedBlocks != 0) return testing::AssertionFailure() << run.leakedBlocks << " blocks were not given back";
    const testing::AssertionResult same = SameBytes(picture, expected);
    return same ? same : testing::AssertionFailure() << same.message() << "\n" << kind << "\n" << settings;
}

// The tests below run with and without AVX2; on processors that have none, twice without.
class FiltersOnBothTwins : public testing::TestWithParam<bool>
{
protected:
    const ProcessorFeatures own = processor;
    void SetUp() override { processor.avx2 = own.avx2 && GetParam(); }
    void TearDown() override { processor = own; }
};
INSTANTIATE_TEST_SUITE_P(Avx2, FiltersOnBothTwins, testing::Bool());

TEST_P(FiltersOnBothTwins, EqualThePlainVersionForTheWholeCatalogue)
{
    constexpr PictureSize sizes[] = {{1, 1}, {3, 3}, {4, 7}, {7, 5}, {7, 7}, {17, 13}, {23, 9}};
    uint32_t seed = 100;
    for (const CatalogueKernel &kernel : catalogue) {
        MatrixSettings settings = SettingsOf(kernel);
        for (int passMode : PASS_MODES) {
            for (int combineMode : COMBINE_MODES) {
                settings.passMode = passMode, settings.combineMode = combineMode;
                settings.iterations = 1 + int(seed % 3);
                for (const PictureSize &size : sizes) {
                    for (int32_t type : {GREY, RGB}) {
                        const PictureCase kind = {type, size.width, size.height, 0, false, seed++};
                        ASSERT_TRUE(EqualsPlain(settings, kind)) << kernel.name;
                    }
                }
            }
        }
    }
}

TEST_P(FiltersOnBothTwins, EqualThePlainVersionOnEveryKindOfPicture)
{
    for (const char *name : {"Gaussian 5 by 5", "Sobel North West 3 by 3", "Engrave image"}) {
        for (const PictureCase &kind : AllPictureCases(9000)) ASSERT_TRUE(EqualsPlain(Named(name), kind)) << name;
    }
}

// Rows of one block less a pixel, one block, one more, and several; a block is 1536 bytes.
TEST_P(FiltersOnBothTwins, EqualThePlainVersionAcrossBlocks)
{
    for (const char *name : {"Gaussian 7 by 7", "Smooth 5 by 5", "Sobel West 7 by 7", "Contour North East"}) {
        for (int width : {511, 512, 513, 1050, 1535, 1536, 1537, 3100}) {
            MatrixSettings settings = Named(name);
            for (int32_t type : {GREY, RGB})
                ASSERT_TRUE(EqualsPlain(settings, {type, width, 7, 0, false, uint32_t(width)})) << name;
            settings.combineMode = SUBTRACT, settings.bias = -9, settings.useGreen = 0;
            ASSERT_TRUE(EqualsPlain(settings, {RGB, width, 7, 0, false, uint32_t(width)}));
        }
    }
}

// Elements up to `largest` either way, of which a share is zero; some kernels are products of a column and a row.
static MatrixSettings RandomKernel(int32_t largest, std::mt19937 &generator)
{
    MatrixSettings settings;
    const int edge = Between(0, 3, generator), zeros = Between(0, 4, generator), kind = Between(0, 3, generator);
    int32_t column[7], row[7];
    for (int32_t &weight : column) weight = Between(-3, 3, generator);
    for (int32_t &weight : row) weight = Between(-largest / 3, largest / 3, generator);
    for (int i = edge; i < 7 - edge; ++i) {
        for (int j = edge; j < 7 - edge; ++j) {
            if (kind > 0 && Between(0, 4, generator) < zeros) continue;
            const int32_t low = kind == 1 ? 0 : -largest;
            settings.kernel[size_t(7 * i + j)] = kind == 0 ? column[i] * row[j] : Between(low, largest, generator);
        }
    }
    return settings;
}

static void SetRandomModes(MatrixSettings &settings, std::mt19937 &generator)
{
    settings.passMode = PASS_MODES[Between(0, 2, generator)];
    settings.combineMode = COMBINE_MODES[Between(0, 2, generator)];
    settings.iterations = Between(0, 3, generator);
    settings.useRed = Between(0, 3, generator) > 0;
    settings.useGreen = Between(0, 3, generator) > 0;
    settings.useBlue = Between(0, 3, generator) > 0;
}

static PictureCase RandomCase(std::mt19937 &generator)
{
    const int32_t type = Between(0, 1, generator) ? RGB : GREY;
    return {type, Between(1, 40, generator), Between(1, 12, generator), 0, false, uint32_t(generator())};
}

TEST_P(FiltersOnBothTwins, EqualThePlainVersionForRandomKernels)
{
    std::mt19937 generator(2024);
    for (int i = 0; i < 1500; ++i) {
        constexpr int32_t largest[] = {3, 6, 12, 50};
        MatrixSettings settings = RandomKernel(largest[i % 4], generator);
        SetRandomModes(settings, generator);
        settings.divisor = i % 5 == 0 ? Between(-2, 2, generator) : Between(-300, 1000, generator);
        settings.bias = Between(-255, 255, generator);
        ASSERT_TRUE(EqualsPlain(settings, RandomCase(generator))) << "kernel " << i;
    }
}

// Numbers that only files hold: sums wrap around at 32 bits, biases too.
TEST_P(FiltersOnBothTwins, EqualThePlainVersionForNumbersOfAnySize)
{
    constexpr int32_t extremes[] = {
        INT32_MIN, INT32_MIN + 1, -65537, -65536, -65535, -32769, -32768, -32767, -32001, -1,    0,         1,
        2,         255,           256,    32000,  32001,  32767,  32768,  65535,  65536,  65537, INT32_MAX,
    };
    std::mt19937 generator(99);
    const auto pick = [&] {
        const int choice = Between(0, int(std::size(extremes)), generator);
        return choice == int(std::size(extremes)) ? int32_t(generator()) : extremes[choice];
    };
    for (int i = 0; i < 2000; ++i) {
        MatrixSettings settings = RandomKernel(2, generator);
        SetRandomModes(settings, generator);
        const int changes = Between(0, 3, generator);
        for (int k = 0; k < changes; ++k) settings.kernel[size_t(Between(0, 48, generator))] = pick();
        settings.divisor = pick();
        settings.bias = pick();
        ASSERT_TRUE(EqualsPlain(settings, RandomCase(generator))) << "kernel " << i;
    }
}

TEST_P(FiltersOnBothTwins, LeastSumDividedByMinusOneWraps)
{
    MatrixSettings settings;
    settings.kernel[24] = INT32_MIN;
    settings.divisor = -1;
    for (int combineMode : COMBINE_MODES) {
        settings.combineMode = combineMode;
        Picture picture = EvenGrey(3, 1, 3), expected = EvenGrey(3, 1, 3);   // 3 * INT_MIN wraps to INT_MIN
        RunWorker(filters, picture, ParametersOf(settings));
        ReferenceMatrix(expected, settings);
        EXPECT_EQ(picture, expected);
    }
}

// Every divisor that the dialog offers, and every sum that 16 bits hold: 255 * weight goes up to the limits.
TEST_P(FiltersOnBothTwins, EqualThePlainVersionForEveryDivisor)
{
    Picture ramp = EvenGrey(256, 1, 0);
    for (int x = 0; x < 256; ++x) ramp.pixels.get()[x] = uint8_t(x);
    for (int divisor = -1000; divisor <= 1000; ++divisor) {
        for (int weight : {1, 7, 128, 129, 257, 258, -128, -129}) {
            MatrixSettings settings;
            settings.kernel[24] = weight;
            settings.divisor = divisor;
            settings.bias = divisor % 3 * 40;
            Picture picture = CopyOf(ramp);
            RunWorker(filters, picture, ParametersOf(settings));
            for (int x = 0; x < 256; ++x) {
                const int value = weight * x / (divisor ? divisor : 1) + settings.bias;
                ASSERT_EQ(int(PixelOf(picture, x, 0)), std::clamp(value, 0, 255))
                    << x << " * " << weight << " / " << divisor;
            }
        }
    }
}

TEST(Filters, EqualThePlainVersionOnNaturalPictures)
{
    std::mt19937 generator(6);
    for (const char *name : {"Gaussian 7 by 7", "Laplace 5 by 5", "Relief of image (emboss)", "High Pass #3"}) {
        Picture picture = NaturalPicture(RGB, 190, 120, generator), expected = CopyOf(picture);
        RunWorker(filters, picture, ParametersOf(Named(name)));
        ReferenceMatrix(expected, Named(name));
        EXPECT_TRUE(SameBytes(picture, expected)) << name;
    }
}

//---- Progress and abort

TEST(Filters, ProgressIsReportedOncePerRowInTenths)
{
    for (int height : {1, 2, 3, 11, 37}) {
        Picture picture = EvenGrey(4, height, 50);
        const WorkerRun run = RunWorker(filters, picture, ParametersOf(Named("Identity")));
        EXPECT_EQ(run.progress, ProgressOfRows(height)) << height << " rows";
        EXPECT_EQ(run.strayReports, 0);
    }
}

TEST(Filters, IterativeStartsProgressAnewWithEveryPass)
{
    MatrixSettings settings = Named("Smooth 3 by 3");
    settings.passMode = ITERATIVE, settings.iterations = 3;
    Picture picture = EvenGrey(4, 5, 50);
    const WorkerRun run = RunWorker(filters, picture, ParametersOf(settings));
    std::vector<int32_t> expected;
    for (int pass = 0; pass < 3; ++pass) {
        expected.push_back(PROGRESS_RESET);
        for (int32_t tenths : ProgressOfRows(5)) expected.push_back(tenths);
    }
    EXPECT_EQ(run.progress, expected);
}

TEST(Filters, AbortKeepsTheRowsDoneAndLeavesTheRest)
{
    const PictureCase kind = {RGB, 21, 12, 8, true, 77};
    for (const char *name : {"Smooth 7 by 7", "Engrave image", "Identity"}) {
        const Picture before = RandomPicture(kind), all = Filtered(RandomPicture(kind), Named(name));
        for (int rows = 0; rows <= 12; ++rows) {
            Picture picture = RandomPicture(kind);
            const WorkerRun run = RunWorker(filters, picture, ParametersOf(Named(name)), {.abortAfter = rows});
            EXPECT_EQ(int(run.progress.size()), rows);
            EXPECT_EQ(run.leakedBlocks, 0);
            for (int y = 0; y < 12; ++y) {
                for (int x = 0; x < 21; ++x) ASSERT_EQ(PixelOf(picture, x, y), PixelOf(y < rows ? all : before, x, y));
            }
        }
    }
}

TEST(Filters, AbortOfADifferenceLeavesItsRowsFiltered)
{
    const PictureCase kind = {GREY, 9, 6, 0, false, 3};
    MatrixSettings settings = Named("Smooth 3 by 3");
    const Picture before = RandomPicture(kind), blurred = Filtered(RandomPicture(kind), settings);
    settings.passMode = DIFFER;
    for (int rows = 0; rows <= 6; ++rows) {
        Picture picture = RandomPicture(kind);
        const WorkerRun run = RunWorker(filters, picture, ParametersOf(settings), {.abortAfter = rows});
        EXPECT_EQ(run.leakedBlocks, 0);
        for (int y = 0; y < 6; ++y) {
            for (int x = 0; x < 9; ++x) ASSERT_EQ(PixelOf(picture, x, y), PixelOf(y < rows ? blurred : before, x, y));
        }
    }
}

TEST(Filters, AbortAtAnyReportOfAnyPassGivesAllMemoryBack)
{
    MatrixSettings settings = Named("Gaussian 5 by 5");
    settings.passMode = ITERATIVE, settings.iterations = 3;
    for (int reports = 0; reports <= 24; ++reports) {
        Picture picture = RandomPicture(PictureCase{RGB, 9, 8, 0, false, 12});
        const WorkerRun run = RunWorker(filters, picture, ParametersOf(settings), {.abortAfter = reports});
        const int passes = reports == 0 ? 0 : (reports + 7) / 8;
        EXPECT_EQ(int(run.progress.size()), reports + passes) << reports;
        EXPECT_EQ(run.leakedBlocks, 0);
    }
}
