// Drawing a picture at a scale: colours of each type, means where it is reduced, the veil of a mask. Windows are not
// needed.

#include "host/misc/preview/rendering.h"

#include "tests/host/misc/images.h"

#include <gtest/gtest.h>

static std::vector<uint32_t> Rendered(const ImageRecord &image, const View &view, Extent window, bool mask = false)
{
    std::vector<uint32_t> words(size_t(window.width) * size_t(window.height), 0xABCDEF);
    Render({&image, view, window, 0x123456, mask}, {0, 0, window.width, window.height}, words.data());
    return words;
}

TEST(Rendering, EachTypeShowsItsOwnColours)
{
    Picture colours = NewPicture(RGB, 2, 1);
    const uint8_t bytes[] = {1, 2, 3, 40, 50, 60};   // blue, green, red
    std::copy(std::begin(bytes), std::end(bytes), colours.pixels.get());
    EXPECT_EQ(Rendered(RecordOf(colours), {}, {2, 1}), (std::vector<uint32_t>{0x030201, 0x3C3228}));

    Picture greys = NewPicture(GREY, 2, 1);
    greys.pixels[1] = 200;
    EXPECT_EQ(Rendered(RecordOf(greys), {}, {2, 1}), (std::vector<uint32_t>{0, 0xC8C8C8}));

    Picture entries = NewPicture(PALETTE, 2, 1);
    entries.paletteEntries = 2;
    entries.red[1] = 9;
    entries.pixels[0] = 1;
    EXPECT_EQ(Rendered(RecordOf(entries), {}, {2, 1}), (std::vector<uint32_t>{0x090000, 0}));

    Picture bits = NewPicture(ONE_BIT, 9, 1);
    bits.pixels[1] = 0x80;
    EXPECT_EQ(Rendered(RecordOf(bits), {}, {9, 1})[8], 0xFFFFFFu);
    EXPECT_EQ(Rendered(RecordOf(bits), {}, {9, 1})[7], 0u);
}

TEST(Rendering, APixelEnlargedIsASquare)
{
    Picture greys = NewPicture(GREY, 2, 2);
    greys.pixels[1] = 255;
    const std::vector<uint32_t> words = Rendered(RecordOf(greys), {3, 0, 0}, {6, 6});
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 6; ++x) EXPECT_EQ(words[size_t(6 * y + x)], x >= 3 && y < 3 ? 0xFFFFFFu : 0u);
}

TEST(Rendering, NeighboursAreAveragedWhenReduced)
{
    Picture greys = NewPicture(GREY, 2, 2);
    greys.pixels[0] = 200;
    greys.pixels[4 + 1] = 100;   // rows have four bytes
    EXPECT_EQ(Rendered(RecordOf(greys), {0.5, 0, 0}, {1, 1})[0], 0x4B4B4Bu);
}

TEST(Rendering, AThinLineIsNotLostWhenMuchReduced)
{
    for (int32_t x = 0; x < 4; ++x) {
        Picture bits = NewPicture(ONE_BIT, 4, 4);
        for (int y = 0; y < 4; ++y) bits.pixels[size_t(4 * y)] = uint8_t(0x80 >> x);
        EXPECT_EQ(Rendered(RecordOf(bits), {0.25, 0, 0}, {1, 1})[0], 0x404040u) << "line at " << x;
    }
}

TEST(Rendering, WhiteStaysWhiteWhenReduced)
{
    Picture white = NewPicture(RGB, 64, 64);
    std::fill_n(white.pixels.get(), 64 * 64 * 3, uint8_t(255));
    for (const double scale : {1.0 / 16, 0.25, 0.4, 0.5, 0.9}) {
        EXPECT_EQ(Rendered(RecordOf(white), {scale, 0, 0}, {4, 4})[5], 0xFFFFFFu) << "at " << scale;
    }
}

TEST(Rendering, AroundThePictureIsBackground)
{
    Picture white = NewPicture(ONE_BIT, 1, 1);
    white.pixels[0] = 0x80;
    const std::vector<uint32_t> words = Rendered(RecordOf(white), {}, {3, 3});
    for (size_t i = 0; i < 9; ++i) EXPECT_EQ(words[i], i == 4 ? 0xFFFFFFu : 0x123456u);
}

TEST(Rendering, APartIsWhatTheWholeHasThere)
{
    Picture picture = NewPicture(RGB, 50, 40);
    for (int i = 0; i < 40 * RowStride(24, 50); ++i) picture.pixels[size_t(i)] = uint8_t(i * 37 + i / 90);
    const ImageRecord image = RecordOf(picture);
    for (const double scale : {0.2, 0.3, 0.5, 1.0, 1.7, 4.0}) {
        View view = {scale, 5, 9};
        const Extent window = {32, 24};
        ClampView(view, {50, 40}, window);
        const std::vector<uint32_t> whole = Rendered(image, view, window);
        const RECT part = {7, 3, 29, 20};
        std::vector<uint32_t> words(22 * 17);
        Render({&image, view, window, 0x123456, false}, part, words.data());
        for (LONG y = part.top; y < part.bottom; ++y)
            for (LONG x = part.left; x < part.right; ++x)
                ASSERT_EQ(words[size_t((y - 3) * 22 + x - 7)], whole[size_t(y * 32 + x)]) << "at " << scale;
    }
}

TEST(Rendering, TheMaskLaysAVeilOverWhatItLeavesOut)
{
    Picture greys = NewPicture(GREY, 2, 1);
    AddMask(greys, 8);
    greys.mask[0] = 255;
    const ImageRecord image = RecordOf(greys);
    EXPECT_EQ(Rendered(image, {}, {2, 1}, false), (std::vector<uint32_t>{0, 0}));
    const std::vector<uint32_t> veiled = Rendered(image, {}, {2, 1}, true);
    EXPECT_EQ(veiled[0], 0u);
    EXPECT_EQ(veiled[1], 0x701010u) << "half of the veil's colour";
}
