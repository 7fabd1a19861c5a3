// Sheets and scaling through the door.

#include "tests/host/library/pictures.h"

#include <algorithm>

namespace
{

PicturePointer Scaled(const PicturePointer &picture, int32_t width, int32_t height)
{
    vlm_picture *scaled = nullptr;
    EXPECT_EQ(vlm_picture_scale(picture.get(), width, height, &scaled), VLM_OK) << vlm_error_line();
    return PicturePointer(scaled);
}

PicturePointer SheetOf(const std::vector<vlm_tile> &tiles, int columns, int32_t width)
{
    vlm_picture *sheet = nullptr;
    EXPECT_EQ(vlm_sheet_make(tiles.data(), int(tiles.size()), columns, width, &sheet), VLM_OK) << vlm_error_line();
    return PicturePointer(sheet);
}

}   // namespace

TEST(Sheets, SmallerPicturesAreMeansAndLargerOnesRepeat)
{
    const std::vector<uint8_t> four = {0, 0, 0, 100, 50, 10, 200, 100, 20, 100, 50, 10};   // 2 x 2
    const vlm_planes planes = PlanesOf(VLM_LAYOUT_RGB, 2, 2, const_cast<uint8_t *>(four.data()));
    vlm_picture *made = nullptr;
    ASSERT_EQ(vlm_picture_from_planes(&planes, &made), VLM_OK);
    const PicturePointer picture(made);
    EXPECT_EQ(PixelsOf(Scaled(picture, 1, 1)), std::vector<uint8_t>({100, 50, 10, 255}));
    EXPECT_EQ(PixelsOf(Scaled(picture, 2, 2)), PixelsOf(picture));
    const std::vector<uint8_t> larger = PixelsOf(Scaled(picture, 4, 4));
    for (size_t y = 0; y < 4; ++y)
        for (size_t x = 0; x < 4; ++x) EXPECT_EQ(larger[4 * (4 * y + x)], four[3 * (2 * (y / 2) + x / 2)]);
    EXPECT_EQ(vlm_picture_width(Scaled(Sample(VLM_LAYOUT_RGBA, 301, 200), 97, 1).get()), 97);
}

TEST(Sheets, PicturesStandInRowsWithTheirNames)
{
    const PicturePointer wide = Sample(VLM_LAYOUT_RGB, 300, 100), high = Sample(VLM_LAYOUT_RGB, 90, 200);
    const std::vector<vlm_tile> named = {{wide.get(), "one"},
                                         {high.get(), "a very long name that does not fit at all"},
                                         {wide.get(), nullptr}},
                                bare = {{wide.get(), ""}, {high.get(), ""}, {wide.get(), ""}};
    const PicturePointer sheet = SheetOf(named, 2, 800), without = SheetOf(bare, 2, 800);
    EXPECT_EQ(vlm_picture_width(sheet.get()), 800);
    EXPECT_GT(vlm_picture_height(sheet.get()), 400);
    EXPECT_NE(PixelsOf(sheet), PixelsOf(without)) << "names are drawn";
    EXPECT_EQ(vlm_picture_width(SheetOf(named, 0, 0).get()), 1600);
    EXPECT_GT(vlm_picture_height(SheetOf(named, 1, 800).get()), vlm_picture_height(sheet.get()));
}

TEST(Sheets, EveryLetterIsDrawn)
{
    const PicturePointer small = Sample(VLM_LAYOUT_RGB, 40, 30);
    const std::vector<vlm_tile> empty = {{small.get(), ""}};
    const std::vector<uint8_t> without = PixelsOf(SheetOf(empty, 1, 200));
    std::vector<std::vector<uint8_t>> seen;
    for (char letter = '!'; letter <= '~'; ++letter) {
        const std::string label(1, letter);
        const std::vector<vlm_tile> tiles = {{small.get(), label.c_str()}};
        const std::vector<uint8_t> pixels = PixelsOf(SheetOf(tiles, 1, 200));
        EXPECT_NE(pixels, without) << letter;
        EXPECT_EQ(std::count(seen.begin(), seen.end(), pixels), 0) << letter << " looks like another letter";
        seen.push_back(pixels);
    }
}

TEST(Sheets, SenselessArgumentsAreRefused)
{
    const PicturePointer small = Sample(VLM_LAYOUT_RGB, 4, 3);
    const vlm_tile tile = {small.get(), "x"}, none = {nullptr, "x"};
    vlm_picture *made = nullptr;
    EXPECT_FAILS(vlm_sheet_make(nullptr, 1, 0, 0, &made), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_sheet_make(&tile, 0, 0, 0, &made), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_sheet_make(&none, 1, 0, 0, &made), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_sheet_make(&tile, 1, -1, 0, &made), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_sheet_make(&tile, 1, 0, 12, &made), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_sheet_make(&tile, 1, 0, 0, nullptr), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_picture_scale(small.get(), 0, 3, &made), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_picture_scale(nullptr, 3, 3, &made), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_picture_scale(small.get(), 3, 3, nullptr), VLM_BAD_ARGUMENT, "");
}
