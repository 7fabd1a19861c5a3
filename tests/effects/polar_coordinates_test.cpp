// Polar Coordinates as a worker: cases worked out by hand, one for each thing its head comment says, and the plain
// version on every kind of picture. Its dialog is tried in tests/framework.

#include "tests/effects/relocating.h"

struct PolarParameters {
    uint32_t fillColour;
};

static const std::vector<PolarParameters> manyColours = {{0}, {0xFFFFFF}, {0x3C78B4}, {0x818181}};

// A whole turn is 6.2831854, a little more than two pi.
static bool PolarFormula(const Picture &picture, int x, int y, double &sourceX, double &sourceY)
{
    const double dx = x - picture.width * 0.5, dy = y - picture.height * 0.5;
    const double radius = std::min(picture.width, picture.height) * 0.5, distance = sqrt(dy * dy + dx * dx);
    if (distance >= radius) return false;
    double angle = dx == 0 && dy == 0 ? 0 : atan2(dy, dx);
    if (angle < 0) angle += 6.2831854;
    sourceX = (picture.width - 1) * angle / 6.2831854;
    sourceY = (picture.height - 1) * distance / radius;
    return true;
}

//---- Told cases

// 64 x 64 with a column of its own level each, or a row.
static Picture Columns()
{
    return Grey(Values(64, [] {
        std::vector<uint32_t> row;
        for (uint32_t x = 0; x < 64; ++x) row.push_back(4 * x);
        return row;
    }()));
}

TEST(PolarCoordinates, CornersTakeTheFillColour)
{
    Picture picture = EvenGrey(64, 64, 77);
    RunWorker(polarCoordinates, picture, PolarParameters{0xFFFFFF});
    for (int x : {0, 63}) {
        for (int y : {0, 63}) EXPECT_EQ(PixelOf(picture, x, y), 255u);
    }
    EXPECT_EQ(PixelOf(picture, 32, 1), 77u);
    EXPECT_EQ(PixelOf(picture, 32, 0), 255u);   // on the circle is not within it
}

TEST(PolarCoordinates, TheCentreIsTheTopLeftPixel)
{
    Picture picture = EvenGrey(8, 6, 50);
    picture.pixels[0] = 200;
    RunWorker(polarCoordinates, picture, PolarParameters{0});
    EXPECT_EQ(PixelOf(picture, 4, 3), 200u);
}

TEST(PolarCoordinates, ColumnsGoRoundFromTheRightDownwards)
{
    Picture picture = Columns();
    RunWorker(polarCoordinates, picture, PolarParameters{0});
    EXPECT_EQ(PixelOf(picture, 50, 32), 0u);     // to the right: column 0
    EXPECT_EQ(PixelOf(picture, 32, 50), 63u);    // downwards: 15.75
    EXPECT_EQ(PixelOf(picture, 14, 32), 126u);   // to the left: 31.5
    EXPECT_EQ(PixelOf(picture, 32, 14), 189u);   // upwards: 47.25
    EXPECT_GT(PixelOf(picture, 62, 31), 248u);   // just above the right: the last column
}

TEST(PolarCoordinates, RowsGoFromTheCentreOutwards)
{
    Picture picture = NewPicture(GREY, 65, 65);
    for (int y = 0; y < 65; ++y) memset(picture.pixels.get() + y * 68, 3 * y, 65);
    RunWorker(polarCoordinates, picture, PolarParameters{0});
    const double distance = sqrt(0.5 * 0.5 + 20.5 * 20.5);
    EXPECT_NEAR(PixelOf(picture, 32, 53), 3 * 64 * distance / 32.5, 1);
    EXPECT_NEAR(PixelOf(picture, 53, 32), 3 * 64 * distance / 32.5, 1);
}

TEST(PolarCoordinates, TheMaskIsZeroOutsideTheCircle)
{
    for (int32_t bits : {1, 8}) {
        Picture picture = WithMask(EvenGrey(16, 16, 9), Values(16, std::vector<uint32_t>(16, 255)));
        if (bits == 1) picture = WithBitMask(EvenGrey(16, 16, 9), BitRows(16, std::string(16, '1')));
        RunWorker(polarCoordinates, picture, PolarParameters{0});
        EXPECT_EQ(MaskPixelOf(picture, 0, 0), 0u);
        EXPECT_EQ(MaskPixelOf(picture, 15, 15), 0u);
        EXPECT_EQ(MaskPixelOf(picture, 8, 8), bits == 1 ? 1u : 255u);
        EXPECT_EQ(MaskPixelOf(picture, 12, 5), bits == 1 ? 1u : 255u);
    }
}

TEST(PolarCoordinates, FillsByTheTypeOfThePicture)
{
    Picture bits = Bits({"1111", "1111"}), white = Bits({"0000", "0000"});
    RunWorker(polarCoordinates, bits, PolarParameters{0x808080});
    RunWorker(polarCoordinates, white, PolarParameters{0x818181});
    EXPECT_EQ(PixelOf(bits, 0, 0), 0u);
    EXPECT_EQ(PixelOf(white, 0, 0), 1u);
    Picture palette = Palette({0x000000, 0x0000FF, 0x00F000}, {{0, 0}, {0, 0}});
    RunWorker(polarCoordinates, palette, PolarParameters{0x00FF00});
    EXPECT_EQ(PixelOf(palette, 0, 0), 2u);
    Picture colours = Rgb({{1, 2}, {3, 4}});
    RunWorker(polarCoordinates, colours, PolarParameters{0x123456});
    EXPECT_EQ(PixelOf(colours, 0, 0), 0x123456u);
}

//---- Against the formula and the plain version

static Formula FormulaOf(const PolarParameters &) { return PolarFormula; }

TEST(PolarCoordinates, FetchesEveryPixelFromWhereTheFormulaSays)
{
    ExpectRelocations<PolarParameters>(polarCoordinates, {{0x3C78B4}}, 5100, FormulaOf);
}

TEST(PolarCoordinates, KeepsToTheFormulaInLargePictures)
{
    ExpectRelocationsOfLargePictures(polarCoordinates, PolarParameters{0}, PolarFormula);
}

TEST(PolarCoordinates, EqualsThePlainVersionOnEveryKindOfPicture)
{
    ExpectCloseToPlainVersion<PolarParameters>(polarCoordinates, manyColours, 5200,
                                               [](Picture &picture, bool maskInUse, const PolarParameters &own) {
                                                   ReferencePolarCoordinates(picture, maskInUse, own.fillColour);
                                               });
}

//---- Progress and abort

TEST(PolarCoordinates, AbortLeavesTheRestAsFillColour)
{
    ExpectRowsUpToTheAbort(polarCoordinates, PolarParameters{0xFFFFFF}, [](Picture &picture) {
        const int32_t white = picture.colourType == PALETTE ? NearestPaletteEntry(picture, 255, 255, 255) : 255;
        memset(picture.pixels.get(), white, size_t(RowStride(picture.bitsPerPixel, picture.width) * picture.height));
        memset(picture.mask.get(), 0, size_t(RowStride(picture.maskBitsPerPixel, picture.width) * picture.height));
    });
}
