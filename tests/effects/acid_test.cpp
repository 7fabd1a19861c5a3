// Acid as a worker: cases worked out by hand, one for each thing its head comment says, and the plain version on every
// kind of picture. Its dialog is tried in tests/framework.

#include "tests/effects/plain_version.h"

struct AcidParameters {
    int32_t level;
};

//---- Told cases

TEST(Acid, BlackNeverChanges)
{
    Picture picture = EvenGrey(40, 30, 0);
    RunWorker(acid, picture, AcidParameters{128});
    EXPECT_EQ(picture, EvenGrey(40, 30, 0));
}

TEST(Acid, CombinesAByteWithTheSignedHighPartOfItsProduct)
{
    // At (300, 0) with the centre at 0: v = -90000, 255 * v = -22950000, shifted by 17: -176 = ...01010000.
    Picture picture = EvenGrey(301, 1, 255);
    RunWorker(acid, picture, AcidParameters{0});
    EXPECT_EQ(PixelOf(picture, 300, 0), 255u ^ (uint32_t(-176) & 0xFF));
}

TEST(Acid, TheCentreMovesDownTheDiagonalWithTheLevel)
{
    // v is 1 at the centre itself and 0 beside it, so nothing changes there.
    Picture picture = EvenGrey(3, 3, 200);
    RunWorker(acid, picture, AcidParameters{1});
    EXPECT_EQ(PixelOf(picture, 1, 1), 200u);
    EXPECT_EQ(PixelOf(picture, 2, 1), 200u);
    EXPECT_EQ(PixelOf(picture, 0, 0), 200u ^ 0xFF);   // v = -1: a small negative product shifts to -1
}

TEST(Acid, TheThreeBytesOfAPixelShareTheirValueOfV)
{
    Picture picture = Rgb({{0, 0x0080FF}});
    RunWorker(acid, picture, AcidParameters{0});
    EXPECT_EQ(PixelOf(picture, 1, 0), 0x007F00u);   // v = -1: a byte but 0 is inverted
}

TEST(Acid, AProductBeyond32BitsGivesItsLowBits)
{
    // v = -8427409 at (2903, 0): 255 * v = -2148989295 wraps to 2145978001, shifted by 17: 16372 = 0x3FF4.
    Picture picture = EvenGrey(2904, 1, 255);
    RunWorker(acid, picture, AcidParameters{0});
    EXPECT_EQ(PixelOf(picture, 2903, 0), 255u ^ 0xF4u);
}

TEST(Acid, TwiceIsNotTheOldPicture)
{
    Picture picture = RandomPicture({RGB, 64, 48, 0, false, 4});
    const Picture before = CopyOf(picture);
    RunWorker(acid, picture, AcidParameters{40});
    RunWorker(acid, picture, AcidParameters{40});
    EXPECT_FALSE(SamePicture(picture, before));
}

TEST(Acid, PaletteAndOneBitPicturesStay)
{
    Picture palette = Palette({0, 0xFFFFFF}, {{0, 1}}), bits = Bits({"01"});
    EXPECT_TRUE(RunWorker(acid, palette, AcidParameters{0}).progress.empty());
    EXPECT_TRUE(RunWorker(acid, bits, AcidParameters{0}).progress.empty());
    EXPECT_EQ(palette, Palette({0, 0xFFFFFF}, {{0, 1}}));
    EXPECT_EQ(bits, Bits({"01"}));
}

//---- Against the plain version

static void RunPlain(Picture &picture, const AcidParameters &own) { ReferenceAcid(picture, own.level); }

TEST(Acid, EqualsThePlainVersionOnEveryKindOfPicture)
{
    ExpectPlainVersion<AcidParameters>(acid, {{0}, {1}, {128}, {777}, {2000}}, 3100, RunPlain);
}

TEST(Acid, EqualsThePlainVersionOnAnOlderProcessor)
{
    const OlderProcessor older;
    ExpectPlainVersion<AcidParameters>(acid, {{128}, {2000}}, 3110, RunPlain);
}

TEST(Acid, EqualsThePlainVersionWhereProductsLeave32Bits)
{
    for (int32_t type : {GREY, RGB}) {
        Picture picture = RandomPicture({type, 6000, 3, 0, false, 5}), expected = CopyOf(picture);
        RunWorker(acid, picture, AcidParameters{50});
        RunPlain(expected, AcidParameters{50});
        EXPECT_TRUE(SamePicture(picture, expected));
    }
}

//---- Progress and abort

TEST(Acid, ReportsEveryRowAndStopsAtAnAbort)
{
    for (int height : {1, 2, 37}) {
        Picture picture = EvenGrey(4, height, 50);
        EXPECT_EQ(RunWorker(acid, picture, AcidParameters{128}).progress, ProgressOfRows(height));
    }
    Picture picture = EvenGrey(1, 4, 255);
    RunWorker(acid, picture, AcidParameters{2000}, {.abortAfter = 2});
    EXPECT_NE(PixelOf(picture, 0, 1), 255u);
    EXPECT_EQ(PixelOf(picture, 0, 2), 255u);
    ExpectAbortsAnywhere(acid, AcidParameters{128}, 20);
}
