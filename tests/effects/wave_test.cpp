// Wave as a worker: cases worked out by hand, one for each thing its head comment says, and the plain version on every
// kind of picture. Its dialog is tried in tests/framework.

#include "effects/effects.h"
#include "tests/reference/reference.h"
#include "tests/support/comparison.h"
#include "tests/support/run_worker.h"

#include <functional>

// The orientation is the id of the dialog's radio button.
enum { ROWS_SHIFT = 1200, COLUMNS_SHIFT = 5530 };

struct WaveParameters {
    int32_t amplitude = 10;
    uint32_t background = 0;
    int32_t wavelength = 20;
    int32_t phase = 0;
    int32_t orientation = ROWS_SHIFT;
};

static std::ostream &operator<<(std::ostream &out, const WaveParameters &own)
{
    return out << "amplitude " << own.amplitude << " background " << own.background << " wavelength " << own.wavelength
               << " phase " << own.phase << " orientation " << own.orientation;
}

static Values Grid(int width, int height, const std::function<uint32_t(int x, int y)> &value)
{
    Values values(static_cast<size_t>(height));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) values[size_t(y)].push_back(value(x, y));
    }
    return values;
}

static Values Even(int width, int height, uint32_t value)
{
    return Grid(width, height, [=](int, int) { return value; });
}

static Picture GreyRamp(int width, int height)
{
    return Grey(Grid(width, height, [](int x, int) { return uint32_t(x); }));
}

static std::vector<uint32_t> RowOfPixels(const Picture &picture, int y)
{
    std::vector<uint32_t> row;
    for (int x = 0; x < picture.width; ++x) row.push_back(PixelOf(picture, x, y));
    return row;
}

static std::vector<uint32_t> RowOfMask(const Picture &picture, int y)
{
    std::vector<uint32_t> row;
    for (int x = 0; x < picture.width; ++x) row.push_back(MaskPixelOf(picture, x, y));
    return row;
}

// A row of 200 with `inner` from place 2 to 198, and what the three edge places hold.
static std::vector<uint32_t> RowOf200(uint32_t place0, uint32_t place1, uint32_t inner, uint32_t place199)
{
    std::vector<uint32_t> row(200, inner);
    row[0] = place0;
    row[1] = place1;
    row[199] = place199;
    return row;
}

//---- Where rows go. Amplitude 10 of 200 pixels: a = 10, squeezed length 180, wavelength 40 pixels at 20 %

TEST(Wave, RowZeroIsShiftedByTheAmplitudeAndSqueezed)
{
    Picture picture = GreyRamp(200, 1);
    RunWorker(wave, picture, WaveParameters{.background = 0xFAFAFA});
    for (int x = 0; x < 200; ++x) {
        const int i = x - 10;
        const uint32_t expected = i < 0 || i >= 180 ? 250u : i == 0 ? 0u : uint32_t((i * 200 - 1) / 179);
        EXPECT_EQ(PixelOf(picture, x, 0), expected) << "pixel " << x;
    }
}

TEST(Wave, ThreeQuartersOfAWavelengthDownTheRowIsNotShifted)
{
    Picture picture = GreyRamp(200, 31);
    RunWorker(wave, picture, WaveParameters{.background = 0xFAFAFA});
    EXPECT_EQ(PixelOf(picture, 0, 30), 0u);
    EXPECT_EQ(PixelOf(picture, 179, 30), 199u);
    EXPECT_EQ(PixelOf(picture, 180, 30), 250u);
}

// The stored constants for pi are a little too large, so half a wavelength down sine is a hair below zero.
TEST(Wave, HalfAWavelengthDownTheRowFallsJustShortOfTheAmplitude)
{
    Picture picture = Palette({0, 0xFFFFFF}, Even(200, 21, 1));
    RunWorker(wave, picture, WaveParameters{});
    EXPECT_EQ(PixelOf(picture, 9, 0), 0u);
    EXPECT_EQ(PixelOf(picture, 10, 0), 1u);
    EXPECT_EQ(PixelOf(picture, 8, 20), 0u);
    EXPECT_EQ(PixelOf(picture, 9, 20), 1u);
}

TEST(Wave, PhaseMovesTheWaveAlong)
{
    Picture picture = GreyRamp(200, 1);
    RunWorker(wave, picture, WaveParameters{.background = 0xFAFAFA, .phase = 30});   // 10 * (0.5 + 1)
    EXPECT_EQ(PixelOf(picture, 14, 0), 250u);
    EXPECT_EQ(PixelOf(picture, 15, 0), 0u);
    EXPECT_EQ(PixelOf(picture, 194, 0), 199u);
    EXPECT_EQ(PixelOf(picture, 195, 0), 250u);
}

TEST(Wave, AmplitudeIsAtLeastOnePixel)
{
    Picture picture = Palette({0, 0xFFFFFF}, Even(100, 1, 1));
    RunWorker(wave, picture, WaveParameters{.amplitude = 1});
    EXPECT_EQ(PixelOf(picture, 0, 0), 0u);
    EXPECT_EQ(PixelOf(picture, 1, 0), 1u);
    EXPECT_EQ(PixelOf(picture, 98, 0), 1u);
    EXPECT_EQ(PixelOf(picture, 99, 0), 0u);
}

TEST(Wave, AmplitudeIsAtMostHalfTheWidthLessTen)
{
    Picture picture = Palette({0, 0xFFFFFF}, Even(30, 1, 1));
    RunWorker(wave, picture, WaveParameters{.amplitude = 50});   // 7 comes down to 5
    EXPECT_EQ(PixelOf(picture, 4, 0), 0u);
    EXPECT_EQ(PixelOf(picture, 5, 0), 1u);
    EXPECT_EQ(PixelOf(picture, 24, 0), 1u);
    EXPECT_EQ(PixelOf(picture, 25, 0), 0u);
}

TEST(Wave, TwentyPixelsAcrossLeaveNoRoomForAWave)
{
    Picture picture = GreyRamp(20, 7);
    RunWorker(wave, picture, WaveParameters{.amplitude = 50, .phase = 123});
    EXPECT_EQ(picture, GreyRamp(20, 7));
}

// Amplitude -1: the row has 21 places from -1 on, and the two that stick out are dropped.
TEST(Wave, NineteenPixelsAcrossKeepTheRowAtPhaseZero)
{
    Picture picture = GreyRamp(19, 1);
    RunWorker(wave, picture, WaveParameters{});
    EXPECT_EQ(picture, GreyRamp(19, 1));
}

TEST(Wave, WavelengthOfNoPixelsCountsAsOne)
{
    Picture picture = Palette({0, 0xFFFFFF}, Even(60, 9, 1));
    RunWorker(wave, picture, WaveParameters{.wavelength = 1});   // a whole turn from row to row
    for (int y = 0; y < 9; ++y) {
        EXPECT_EQ(PixelOf(picture, 2, y), 0u) << "row " << y;
        EXPECT_EQ(PixelOf(picture, 3, y), 1u) << "row " << y;
    }
}

TEST(Wave, ColumnsShiftDownWithAmplitudeAndWavelengthOfTheHeight)
{
    Picture picture = Grey(Grid(31, 200, [](int, int y) { return uint32_t(y); }));
    RunWorker(wave, picture, WaveParameters{.background = 0xFAFAFA, .orientation = COLUMNS_SHIFT});
    EXPECT_EQ(PixelOf(picture, 0, 9), 250u);
    EXPECT_EQ(PixelOf(picture, 0, 10), 0u);
    EXPECT_EQ(PixelOf(picture, 0, 189), 199u);
    EXPECT_EQ(PixelOf(picture, 0, 190), 250u);
    EXPECT_EQ(PixelOf(picture, 30, 0), 0u);
    EXPECT_EQ(PixelOf(picture, 30, 179), 199u);
    EXPECT_EQ(PixelOf(picture, 30, 180), 250u);
}

TEST(Wave, OnlyTheColumnsRadioTurnsTheWave)
{
    Picture rows = GreyRamp(200, 3), other = GreyRamp(200, 3);
    RunWorker(wave, rows, WaveParameters{.orientation = ROWS_SHIFT});
    RunWorker(wave, other, WaveParameters{.orientation = 1});
    EXPECT_EQ(other, rows);
}

//---- Edges and blending. Amplitude 1 of 200 pixels at phase 30: displacement 1.5, both weights 2048

TEST(Wave, EdgesBlendIntoTheBackground)
{
    Picture picture = Grey(Even(200, 1, 100));
    RunWorker(wave, picture, WaveParameters{.amplitude = 1, .background = 0xC8C8C8, .phase = 30});
    EXPECT_EQ(RowOfPixels(picture, 0), RowOf200(200, 150, 100, 150));
}

TEST(Wave, EdgesAreCopiedWhileTheMaskIsInUse)
{
    Picture picture = Grey(Even(200, 1, 100));
    RunWorker(wave, picture, WaveParameters{.amplitude = 1, .background = 0xC8C8C8, .phase = 30}, {.maskInUse = true});
    EXPECT_EQ(RowOfPixels(picture, 0), RowOf200(200, 100, 100, 100));
}

TEST(Wave, MaskEdgesAreCopiedWhileTheMaskIsNotInUse)
{
    Picture picture = WithMask(Grey(Even(200, 1, 100)), Even(200, 1, 100));
    RunWorker(wave, picture, WaveParameters{.amplitude = 1, .background = 0xC8C8C8, .phase = 30});
    EXPECT_EQ(RowOfMask(picture, 0), RowOf200(0, 100, 100, 100));
    EXPECT_EQ(RowOfPixels(picture, 0), RowOf200(200, 150, 100, 150));
}

TEST(Wave, MaskInUseBlendsItsEdgesIntoZero)
{
    Picture picture = WithMask(Grey(Even(200, 1, 100)), Even(200, 1, 100));
    RunWorker(wave, picture, WaveParameters{.amplitude = 1, .background = 0xC8C8C8, .phase = 30}, {.maskInUse = true});
    EXPECT_EQ(RowOfMask(picture, 0), RowOf200(0, 50, 100, 50));
    EXPECT_EQ(RowOfPixels(picture, 0), RowOf200(200, 100, 100, 100));
}

TEST(Wave, InnerPixelsBlendWithTheSourcePixelBefore)
{
    Picture picture = Grey(Grid(200, 1, [](int x, int) { return x % 2 ? 200u : 100u; }));
    RunWorker(wave, picture, WaveParameters{.amplitude = 1, .phase = 30});
    EXPECT_EQ(PixelOf(picture, 1, 0), 50u);    // source 0 and the background
    EXPECT_EQ(PixelOf(picture, 2, 0), 150u);   // sources 0 and 1
    EXPECT_EQ(PixelOf(picture, 3, 0), 150u);
    EXPECT_EQ(PixelOf(picture, 199, 0), 100u);   // source 199 and the background
}

TEST(Wave, HalvesAreRoundedUp)
{
    Picture picture = Grey(Even(200, 1, 101));
    RunWorker(wave, picture, WaveParameters{.amplitude = 1, .phase = 30});
    EXPECT_EQ(PixelOf(picture, 1, 0), 51u);
}

TEST(Wave, ColourIsBlendedChannelByChannel)
{
    Picture picture = Rgb(Even(200, 1, 0x0A1E64));
    RunWorker(wave, picture, WaveParameters{.amplitude = 1, .background = 0x6432C8, .phase = 30});
    EXPECT_EQ(RowOfPixels(picture, 0), RowOf200(0x6432C8, 0x372896, 0x0A1E64, 0x372896));
}

TEST(Wave, PaletteIndicesAreNotBlended)
{
    Picture picture =
        Palette({0x000000, 0x0000F0, 0xF0F0F0, 0x808080}, Grid(200, 1, [](int x, int) { return x % 2 ? 3u : 2u; }));
    RunWorker(wave, picture, WaveParameters{.amplitude = 1, .background = 0x0000FF, .phase = 30});
    EXPECT_EQ(PixelOf(picture, 0, 0), 1u);   // the nearest to the background colour
    EXPECT_EQ(PixelOf(picture, 1, 0), 2u);
    EXPECT_EQ(PixelOf(picture, 2, 0), 3u);
    EXPECT_EQ(PixelOf(picture, 198, 0), 3u);
    EXPECT_EQ(PixelOf(picture, 199, 0), 1u);
}

TEST(Wave, BitsMoveByWholePixels)
{
    Picture picture = Bits({std::string(200, '1'), std::string(200, '0')});
    RunWorker(wave, picture, WaveParameters{.amplitude = 1, .background = 0x808080, .phase = 30});
    EXPECT_EQ(RowOfPixels(picture, 0), RowOf200(0, 1, 1, 0));   // 128 is not yet white
    EXPECT_EQ(RowOfPixels(picture, 1), std::vector<uint32_t>(200, 0));
    picture = Bits({std::string(200, '0')});
    RunWorker(wave, picture, WaveParameters{.amplitude = 1, .background = 0x818181, .phase = 30});
    EXPECT_EQ(RowOfPixels(picture, 0), RowOf200(1, 0, 0, 1));
}

TEST(Wave, BitMaskMovesByWholePixelsOverZero)
{
    Picture picture = WithBitMask(Bits({std::string(200, '0')}), {std::string(200, '1')});
    RunWorker(wave, picture, WaveParameters{.amplitude = 1, .background = 0xFFFFFF, .phase = 30});
    EXPECT_EQ(RowOfMask(picture, 0), RowOf200(0, 1, 1, 0));
    EXPECT_EQ(RowOfPixels(picture, 0), RowOf200(1, 0, 0, 1));
}

TEST(Wave, BackgroundOfAGreyPictureIsItsBrightness)
{
    Picture picture = Grey(Even(200, 1, 0));
    RunWorker(wave, picture, WaveParameters{.background = 0x0000FF});
    EXPECT_EQ(PixelOf(picture, 0, 0), 87u);
}

//---- Against the plain version

// The worker takes the mask's depth from the picture's type, which is how pictures have it.
static bool MaskFitsType(const PictureCase &kind)
{
    return kind.maskBits == (kind.colourType == GREY || kind.colourType == RGB ? 8 : 1);
}

static std::vector<WaveParameters> ManyParameters()
{
    std::vector<WaveParameters> many;
    for (int orientation : {ROWS_SHIFT, COLUMNS_SHIFT}) {
        many.push_back({10, 0x000000, 20, 0, orientation});
        many.push_back({1, 0xFFFFFF, 1, 0, orientation});
        many.push_back({50, 0x3C78B4, 1000, 360, orientation});
        many.push_back({33, 0x0000FF, 37, 271, orientation});
        many.push_back({50, 0x102030, 150, 45, orientation});
    }
    return many;
}

static void RunPlain(Picture &picture, bool maskInUse, const WaveParameters &own)
{
    ReferenceWave(picture, maskInUse, own.amplitude, own.background, own.wavelength, own.phase,
                  own.orientation == COLUMNS_SHIFT);
}

TEST(Wave, EqualsThePlainVersionOnEveryKindOfPicture)
{
    for (const PictureCase &kind : AllPictureCases(2000)) {
        for (const WaveParameters &own : ManyParameters()) {
            SCOPED_TRACE(testing::Message() << kind << ", " << own);
            Picture picture = RandomPicture(kind), expected = RandomPicture(kind);
            const WorkerRun run = RunWorker(wave, picture, own, {.maskInUse = kind.maskInUse});
            RunPlain(expected, kind.maskInUse, own);
            if (picture.mask && !MaskFitsType(kind)) {
                picture.mask.reset();
                expected.mask.reset();
            }
            ASSERT_TRUE(SamePicture(picture, expected));
            ASSERT_EQ(run.leakedBlocks, 0);
        }
    }
}

TEST(Wave, EqualsThePlainVersionOnLargerPictures)
{
    const WaveParameters many[] = {{10, 0, 20, 0, ROWS_SHIFT}, {37, 0xC08040, 13, 200, COLUMNS_SHIFT}};
    for (int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        for (const WaveParameters &own : many) {
            const PictureCase kind = {type, 301, 233, type == GREY || type == RGB ? 8 : 1, own.phase == 0, 31};
            SCOPED_TRACE(testing::Message() << kind << ", " << own);
            Picture picture = RandomPicture(kind), expected = RandomPicture(kind);
            RunWorker(wave, picture, own, {.maskInUse = kind.maskInUse});
            RunPlain(expected, kind.maskInUse, own);
            ASSERT_TRUE(SamePicture(picture, expected));
        }
    }
}

//---- Progress and abort

TEST(Wave, ProgressIsReportedOncePerRowOrColumn)
{
    for (int extent : {1, 2, 11, 37}) {
        Picture rows = Grey(Even(5, extent, 0)), columns = Grey(Even(extent, 5, 0));
        const WorkerRun rowsRun = RunWorker(wave, rows, WaveParameters{});
        const WorkerRun columnsRun = RunWorker(wave, columns, WaveParameters{.orientation = COLUMNS_SHIFT});
        EXPECT_EQ(rowsRun.progress, ProgressOfRows(extent));
        EXPECT_EQ(columnsRun.progress, ProgressOfRows(extent));
        EXPECT_EQ(rowsRun.strayReports + columnsRun.strayReports, 0);
    }
}

TEST(Wave, ProgressStartsAnewForTheMask)
{
    Picture picture = WithMask(Grey(Even(25, 6, 0)), Even(25, 6, 9));
    const WorkerRun run = RunWorker(wave, picture, WaveParameters{});
    std::vector<int32_t> expected = ProgressOfRows(6);
    expected.push_back(PROGRESS_RESET);
    for (int32_t tenths : ProgressOfRows(6)) expected.push_back(tenths);
    EXPECT_EQ(run.progress, expected);
    EXPECT_EQ(run.strayReports, 0);
}

// Rows (columns) reached are as in a whole run; the others hold the background, 0 in the mask.
static void ExpectAbortedPlane(const std::function<uint32_t(int x, int y)> &aborted,
                               const std::function<uint32_t(int x, int y)> &whole, int width, int height, int reached,
                               bool columns, uint32_t background)
{
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            ASSERT_EQ(aborted(x, y), (columns ? x : y) < reached ? whole(x, y) : background)
                << "pixel (" << x << ", " << y << ") after " << reached << " lines";
        }
    }
}

TEST(Wave, AbortLeavesTheRestAsBackgroundAndTheMaskAlone)
{
    for (int orientation : {ROWS_SHIFT, COLUMNS_SHIFT}) {
        for (int32_t type : {ONE_BIT, GREY, RGB}) {
            const PictureCase kind = {type, 26, 23, type == ONE_BIT ? 1 : 8, false, 5};
            const bool columns = orientation == COLUMNS_SHIFT;
            const WaveParameters own = {30, 0xFFFFFF, 20, 77, orientation};
            const uint32_t background = type == ONE_BIT ? 1 : type == GREY ? 255 : 0xFFFFFF;
            const Picture before = RandomPicture(kind);
            Picture whole = RandomPicture(kind);
            RunWorker(wave, whole, own);
            const int lines = columns ? 26 : 23;
            for (int reached = 0; reached <= 2 * lines; ++reached) {
                SCOPED_TRACE(testing::Message() << kind << ", aborted after " << reached << " reports");
                Picture picture = RandomPicture(kind);
                const WorkerRun run = RunWorker(wave, picture, own, {.abortAfter = reached});
                EXPECT_EQ(run.leakedBlocks, 0);
                EXPECT_EQ(int(run.progress.size()), reached + (reached > lines));
                ExpectAbortedPlane([&](int x, int y) { return PixelOf(picture, x, y); },
                                   [&](int x, int y) { return PixelOf(whole, x, y); }, 26, 23, reached, columns,
                                   background);
                const bool maskReached = reached > lines;
                ExpectAbortedPlane([&](int x, int y) { return MaskPixelOf(picture, x, y); },
                                   [&](int x, int y) { return MaskPixelOf(maskReached ? whole : before, x, y); }, 26,
                                   23, maskReached ? reached - lines : lines, columns, 0);
                if (HasFatalFailure()) return;
            }
        }
    }
}
