// The comparison and the random pictures themselves: a test that rests on them must be able to fail.

#include "tests/support/comparison.h"

static std::string MessageOf(const testing::AssertionResult &result) { return result.message(); }

TEST(Comparison, NamesTheFirstPixelThatDiffers)
{
    EXPECT_TRUE(SamePicture(Grey({{1, 2}, {3, 4}}), Grey({{1, 2}, {3, 4}})));
    const testing::AssertionResult result = SamePicture(Grey({{1, 2}, {9, 8}}), Grey({{1, 2}, {3, 4}}));
    EXPECT_FALSE(result);
    EXPECT_EQ(MessageOf(result), "pixel (0, 1) is 9, expected 3; 2 of 4 differ");
    EXPECT_EQ(MessageOf(SamePicture(Rgb({{0x030201}}), Rgb({{0x030200}}))),
              "pixel (0, 0) is red 1 green 2 blue 3, expected red 0 green 2 blue 3; 1 of 1 differ");
}

TEST(Comparison, SeesMaskPaletteTypeAndSize)
{
    EXPECT_FALSE(SamePicture(WithMask(Grey({{1}}), {{5}}), WithMask(Grey({{1}}), {{6}})));
    EXPECT_FALSE(SamePicture(WithBitMask(Bits({"01"}), {"01"}), WithBitMask(Bits({"01"}), {"00"})));
    EXPECT_FALSE(SamePicture(WithMask(Grey({{1}}), {{5}}), Grey({{1}})));
    EXPECT_FALSE(SamePicture(Palette({0, 1}, {{1}}), Palette({0, 2}, {{1}})));
    EXPECT_FALSE(SamePicture(Palette({0}, {{0}}), Grey({{0}})));
    EXPECT_FALSE(SamePicture(Grey({{0, 0}}), Grey({{0}, {0}})));
}

TEST(Comparison, RowPaddingCountsOnlyWhereItIsAskedFor)
{
    for (int32_t type : {ONE_BIT, GREY, RGB}) {
        Picture picture = NewPicture(type, 5, 2), other = NewPicture(type, 5, 2);
        const int32_t stride = RowStride(picture.bitsPerPixel, 5);
        picture.pixels[size_t(stride) + size_t(picture.bitsPerPixel * 5 / 8)] = 1;   // after the last pixel
        EXPECT_TRUE(SamePicture(picture, other));
        EXPECT_FALSE(SamePadding(picture, other));
        EXPECT_FALSE(SameBytes(picture, other));
    }
}

TEST(Comparison, OneSampleInHundredThousandMayBeOneLevelOff)
{
    Picture picture = NewPicture(GREY, 1000, 100), other = NewPicture(GREY, 1000, 100);
    Closeness closeness;
    picture.pixels[7] = 1;
    AddDifferences(closeness, picture, other, "first");
    EXPECT_EQ(closeness.samples, 100000);
    EXPECT_TRUE(CloseEnough(closeness));
    AddDifferences(closeness, picture, other, "second");
    EXPECT_TRUE(CloseEnough(closeness));
    picture.pixels[8] = 1;
    AddDifferences(closeness, picture, other, "third");
    EXPECT_FALSE(CloseEnough(closeness));

    Closeness farOff;
    other.pixels[7] = 3;
    picture.pixels[8] = 0;
    AddDifferences(farOff, picture, other, "fourth");
    EXPECT_FALSE(CloseEnough(farOff));
}

TEST(RandomPictures, SameCaseGivesTheSamePicture)
{
    for (const PictureCase &kind : AllPictureCases(5)) {
        SCOPED_TRACE(testing::Message() << kind);
        const Picture one = RandomPicture(kind), other = RandomPicture(kind);
        ASSERT_TRUE(SameBytes(one, other));
        ASSERT_EQ(one.mask ? one.maskBitsPerPixel : 0, kind.maskBits);
    }
}

TEST(RandomPictures, PaletteIndicesAreBelowTheNumberOfEntries)
{
    std::mt19937 generator(11);
    for (int i = 0; i < 200; ++i) {
        const Picture made[] = {RandomPicture(PALETTE, 9, 7, generator), NaturalPicture(PALETTE, 9, 7, generator),
                                FewValuesPicture(PALETTE, 9, 7, generator)};
        for (const Picture &picture : made) {
            ASSERT_GE(picture.paletteEntries, 1);
            ASSERT_LE(picture.paletteEntries, 256);
            for (int place = 0; place < 63; ++place) {
                ASSERT_LT(int(PixelOf(picture, place % 9, place / 9)), picture.paletteEntries);
            }
        }
    }
}
