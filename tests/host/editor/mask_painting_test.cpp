// Strokes on a mask: which pixels a brush covers, in both depths.

#include "host/editor/mask_painting.h"

#include "host/documents/picture.h"

#include <gtest/gtest.h>
#include <string>

static Picture MaskOf(int32_t bits, int32_t width, int32_t height)
{
    Picture picture = NewPicture(GREY, width, height);
    AddMask(picture, bits);
    return picture;
}

static MaskPlane PlaneOf(Picture &picture)
{
    return {picture.mask.get(), picture.maskBitsPerPixel, picture.width, picture.height};
}

// '#' where the mask is set.
static std::string Shown(const Picture &picture)
{
    std::string text;
    for (int32_t y = 0; y < picture.height; ++y, text += '/') {
        const uint8_t *row = picture.mask.get() + y * RowStride(picture.maskBitsPerPixel, picture.width);
        for (int32_t x = 0; x < picture.width; ++x) {
            const bool set = picture.maskBitsPerPixel == 8 ? row[x] != 0 : row[x >> 3] >> (7 - x % 8) & 1;
            text += set ? '#' : '.';
        }
    }
    return text;
}

TEST(MaskPainting, ASpotIsRound)
{
    for (const int32_t bits : {8, 1}) {
        Picture picture = MaskOf(bits, 5, 5);
        PaintStroke(PlaneOf(picture), {2, 2}, {2, 2}, 3, 255);
        EXPECT_EQ(Shown(picture), "...../.###./.###./.###./...../");
        FillMask(PlaneOf(picture), 0);
        PaintStroke(PlaneOf(picture), {2, 2}, {2, 2}, 4, 255);
        EXPECT_EQ(Shown(picture), "..#../.###./#####/.###./..#../");
    }
}

TEST(MaskPainting, ABrushOfOnePixelSetsOne)
{
    Picture picture = MaskOf(8, 3, 3);
    PaintStroke(PlaneOf(picture), {1, 1}, {1, 1}, 1, 255);
    EXPECT_EQ(Shown(picture), ".../.#./.../");
}

TEST(MaskPainting, AStrokeJoinsItsEndsAndStaysInThePicture)
{
    Picture picture = MaskOf(1, 8, 3);
    PaintStroke(PlaneOf(picture), {-5, 1}, {20, 1}, 1, 255);
    EXPECT_EQ(Shown(picture), "......../########/......../");
    PaintStroke(PlaneOf(picture), {3, 1}, {4, 1}, 1, 0);
    EXPECT_EQ(Shown(picture), "......../###..###/......../");
}

TEST(MaskPainting, FillingAndInverting)
{
    Picture soft = MaskOf(8, 2, 1);
    FillMask(PlaneOf(soft), 100);
    InvertMask(PlaneOf(soft));
    EXPECT_EQ(soft.mask[0], 155);
    Picture hard = MaskOf(1, 3, 1);
    FillMask(PlaneOf(hard), 100);
    EXPECT_EQ(Shown(hard), ".../") << "below the middle";
    InvertMask(PlaneOf(hard));
    EXPECT_EQ(Shown(hard), "###/");
}
