// Conversion between types: greys, thresholds and diffusion, palettes, masks, and stopping midway. The command and its
// questions are editor_test.cpp's.

#include "host/editor/conversion.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <set>

static bool Always(int32_t, int32_t) { return true; }

static Picture Convert(const Picture &from, int32_t type, OneBitMethod method = OneBitMethod::THRESHOLD)
{
    return Converted(from, type, method, Always);
}

static uint8_t *Pixel(Picture &picture, int32_t x, int32_t y)
{
    return picture.pixels.get() + y * RowStride(picture.bitsPerPixel, picture.width) + x * picture.bitsPerPixel / 8;
}

static bool Bit(Picture &picture, int32_t x, int32_t y)
{
    return picture.pixels[size_t(y * RowStride(1, picture.width) + (x >> 3))] >> (7 - x % 8) & 1;
}

static void Set(Picture &picture, int32_t x, int32_t y, uint8_t red, uint8_t green, uint8_t blue)
{
    uint8_t *pixel = Pixel(picture, x, y);
    pixel[0] = blue;
    pixel[1] = green;
    pixel[2] = red;
}

static Picture Noise(int32_t width, int32_t height, unsigned seed)
{
    std::mt19937 random(seed);
    Picture picture = NewPicture(RGB, width, height);
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x) Set(picture, x, y, uint8_t(random()), uint8_t(random()), uint8_t(random()));
    return picture;
}

static uint32_t ColourAt(Picture &picture, int32_t x, int32_t y)
{
    const uint8_t *pixel = Pixel(picture, x, y);
    if (picture.colourType == RGB) return pixel[2] | uint32_t(pixel[1]) << 8 | uint32_t(pixel[0]) << 16;
    const int entry = picture.colourType == ONE_BIT ? Bit(picture, x, y) : *pixel;
    return picture.red[entry] | uint32_t(picture.green[entry]) << 8 | uint32_t(picture.blue[entry]) << 16;
}

TEST(Conversion, GreysAreBrightness)
{
    Picture picture = NewPicture(RGB, 3, 1);
    Set(picture, 0, 0, 255, 0, 0);
    Set(picture, 1, 0, 0, 255, 0);
    Set(picture, 2, 0, 255, 255, 255);
    Picture grey = Convert(picture, GREY);
    EXPECT_EQ(*Pixel(grey, 0, 0), 87);
    EXPECT_EQ(*Pixel(grey, 1, 0), 127);
    EXPECT_EQ(*Pixel(grey, 2, 0), 255);
    EXPECT_EQ(grey.paletteEntries, 256);
}

TEST(Conversion, AThresholdIsAboveTheMiddle)
{
    Picture grey = NewPicture(GREY, 9, 1);
    grey.pixels[0] = 128;
    grey.pixels[8] = 129;
    Picture bits = Convert(grey, ONE_BIT);
    EXPECT_FALSE(Bit(bits, 0, 0));
    EXPECT_TRUE(Bit(bits, 8, 0));
}

TEST(Conversion, DiffusionKeepsTheMeanBrightness)
{
    for (const int level : {0, 40, 128, 200, 255}) {
        Picture grey = NewPicture(GREY, 64, 64);
        memset(grey.pixels.get(), level, 64 * 64);
        Picture bits = Convert(grey, ONE_BIT, OneBitMethod::DIFFUSION);
        int white = 0;
        for (int32_t y = 0; y < 64; ++y)
            for (int32_t x = 0; x < 64; ++x) white += Bit(bits, x, y);
        EXPECT_NEAR(white / 4096.0, level / 255.0, 0.02) << level;
    }
}

TEST(Conversion, AFewColoursBecomeAPaletteUnchanged)
{
    Picture picture = NewPicture(RGB, 16, 16);
    for (int32_t i = 0; i < 256; ++i) Set(picture, i % 16, i / 16, uint8_t(i), uint8_t(255 - i), uint8_t(i * 7));
    Picture palette = Convert(picture, PALETTE), back = Convert(palette, RGB);
    EXPECT_EQ(palette.paletteEntries, 256);
    EXPECT_EQ(memcmp(back.pixels.get(), picture.pixels.get(), size_t(16 * RowStride(24, 16))), 0);
}

TEST(Conversion, TypesThatHoldTheColoursGiveThemBack)
{
    Picture bits = NewPicture(ONE_BIT, 13, 5);
    for (int i = 0; i < 5 * 4; ++i) bits.pixels[size_t(i)] = uint8_t(i % 4 == 0 ? 0xA5 : i % 4 == 1 ? 0x48 : 0);
    for (const int32_t type : {GREY, PALETTE, RGB}) {
        Picture other = Convert(bits, type), back = Convert(other, ONE_BIT);
        for (int32_t y = 0; y < 5; ++y)
            for (int32_t x = 0; x < 13; ++x) {
                ASSERT_EQ(ColourAt(other, x, y), ColourAt(bits, x, y)) << "type " << type;
                ASSERT_EQ(Bit(back, x, y), Bit(bits, x, y)) << "type " << type;
            }
    }
}

TEST(Conversion, ManyColoursAreNearToTheirEntries)
{
    Picture picture = NewPicture(RGB, 128, 128);
    for (int32_t y = 0; y < 128; ++y)
        for (int32_t x = 0; x < 128; ++x) Set(picture, x, y, uint8_t(2 * x), uint8_t(2 * y), uint8_t(x + y));
    Picture palette = Convert(picture, PALETTE);
    EXPECT_EQ(palette.paletteEntries, 256);
    double error = 0;
    for (int32_t y = 0; y < 128; ++y)
        for (int32_t x = 0; x < 128; ++x) {
            const uint32_t one = ColourAt(picture, x, y), other = ColourAt(palette, x, y);
            for (int shift = 0; shift < 24; shift += 8)
                error += std::abs(int(one >> shift & 255) - int(other >> shift & 255));
        }
    EXPECT_LT(error / (3 * 128 * 128), 5) << "mean distance of a channel";
}

TEST(Conversion, EveryEntryOfALargePaletteIsUsed)
{
    Picture palette = Convert(Noise(200, 100, 7), PALETTE);
    const std::set<uint8_t> used(palette.pixels.get(), palette.pixels.get() + 200 * 100);
    EXPECT_EQ(palette.paletteEntries, 256);
    EXPECT_GT(used.size(), 250u);
}

TEST(Conversion, MasksKeepTheirShape)
{
    Picture picture = NewPicture(RGB, 3, 1);
    AddMask(picture, 8);
    picture.mask[0] = 127;
    picture.mask[1] = 128;
    Picture palette = Convert(picture, PALETTE);
    ASSERT_EQ(palette.maskBitsPerPixel, 1);
    EXPECT_EQ(palette.mask[0], 0x40);
    Picture grey = Convert(palette, GREY);
    ASSERT_EQ(grey.maskBitsPerPixel, 8);
    EXPECT_EQ(grey.mask[0], 0);
    EXPECT_EQ(grey.mask[1], 255);
}

TEST(Conversion, ItIsAskedWhetherToGoOnForEveryRow)
{
    const Picture picture = Noise(4, 10, 1);
    for (const int32_t type : {int32_t(GREY), int32_t(PALETTE)}) {
        int32_t asked = 0, last = -1, whole = 0;
        Converted(picture, type, OneBitMethod::THRESHOLD, [&](int32_t done, int32_t all) {
            EXPECT_EQ(done, last + 1);
            last = done;
            whole = all;
            ++asked;
            return true;
        });
        EXPECT_EQ(asked, whole);
        EXPECT_EQ(asked, type == PALETTE ? 20 : 10);
        const Picture stopped =
            Converted(picture, type, OneBitMethod::THRESHOLD, [](int32_t done, int32_t) { return done < 5; });
        EXPECT_EQ(stopped.pixels, nullptr);
    }
}
