// Cuts, turns and resizing: pixels that only move come back to the bit, new ones are what the sentences say.

#include "host/editor/geometry.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <random>

static bool Always(int32_t, int32_t) { return true; }

static Picture RandomOf(int32_t type, int32_t width, int32_t height)
{
    std::mt19937 random(uint32_t(type * 100 + width));
    Picture picture = NewPicture(type, width, height);
    AddMask(picture, type == GREY || type == RGB ? 8 : 1);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t i = 0; i < picture.bitsPerPixel * width; ++i)
            SetBit(picture.pixels.get() + RowStride(picture.bitsPerPixel, width) * uint32_t(y), i, random() % 2);
        for (int32_t i = 0; i < picture.maskBitsPerPixel * width; ++i)
            SetBit(picture.mask.get() + RowStride(picture.maskBitsPerPixel, width) * uint32_t(y), i, random() % 2);
    }
    return picture;
}

static bool Same(const Picture &one, const Picture &other)
{
    return one.width == other.width && one.height == other.height &&
           memcmp(one.pixels.get(), other.pixels.get(), RowStride(one.bitsPerPixel, one.width) * size_t(one.height)) ==
               0 &&
           memcmp(one.mask.get(), other.mask.get(), RowStride(one.maskBitsPerPixel, one.width) * size_t(one.height)) ==
               0;
}

static const int32_t types[] = {ONE_BIT, PALETTE, GREY, RGB};

TEST(Geometry, TurnsUndoEachOther)
{
    for (const int32_t type : types) {
        const Picture picture = RandomOf(type, 13, 7);
        const Picture right = Turned(picture, Turn::RIGHT, Always);
        EXPECT_EQ(right.width, 7);
        EXPECT_TRUE(Same(Turned(right, Turn::LEFT, Always), picture));
        EXPECT_TRUE(Same(Turned(right, Turn::RIGHT, Always), Turned(picture, Turn::HALF, Always)));
        const Picture across = Turned(picture, Turn::ACROSS, Always);
        EXPECT_FALSE(Same(across, picture));
        EXPECT_TRUE(Same(Turned(across, Turn::DOWN, Always), Turned(picture, Turn::HALF, Always)));
    }
}

TEST(Geometry, AQuarterToTheRightTakesTheTopToTheRight)
{
    Picture picture = NewPicture(GREY, 3, 2);
    for (int i = 0; i < 6; ++i) picture.pixels[size_t(i / 3 * 4 + i % 3)] = uint8_t(i);   // 0 1 2 / 3 4 5
    const Picture right = Turned(picture, Turn::RIGHT, Always);
    EXPECT_EQ(right.pixels[0], 3);
    EXPECT_EQ(right.pixels[1], 0);
    EXPECT_EQ(right.pixels[8], 5);
    EXPECT_EQ(right.pixels[9], 2);
}

TEST(Geometry, ACutHasThePixelsThatWereThere)
{
    for (const int32_t type : types) {
        const Picture picture = RandomOf(type, 40, 9), cut = Cropped(picture, 3, 2, 30, 5, Always);
        const Picture again =
            Turned(Cropped(Turned(picture, Turn::HALF, Always), 7, 2, 30, 5, Always), Turn::HALF, Always);
        EXPECT_EQ(cut.width, 30);
        EXPECT_TRUE(Same(cut, again));
    }
}

TEST(Geometry, AllOfOneColourStaysItWhateverTheFilter)
{
    Picture picture = NewPicture(RGB, 20, 15);
    memset(picture.pixels.get(), 201, RowStride(24, 20) * 15);
    for (const Filter filter : {Filter::NEAREST, Filter::LINEAR, Filter::CUBIC}) {
        for (const int32_t width : {1, 7, 20, 53}) {
            const Picture made = Resized(picture, width, 9, filter, Always);
            for (int32_t x = 0; x < 3 * width; ++x) EXPECT_EQ(made.pixels[size_t(x)], 201);
        }
    }
}

TEST(Geometry, AtItsOwnSizeAPictureStaysAsItIs)
{
    for (const int32_t type : types) {
        const Picture picture = RandomOf(type, 17, 11);
        for (const Filter filter : {Filter::NEAREST, Filter::LINEAR, Filter::CUBIC})
            EXPECT_TRUE(Same(Resized(picture, 17, 11, filter, Always), picture)) << type;
    }
}

// A slope stays one: the value is that of the place, but where the border is in reach.
TEST(Geometry, ASlopeStaysASlope)
{
    Picture picture = NewPicture(GREY, 100, 4);
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 100; ++x) picture.pixels[size_t(100 * y + x)] = uint8_t(2 * x);
    for (const Filter filter : {Filter::LINEAR, Filter::CUBIC}) {
        for (const int32_t width : {50, 200}) {
            const Picture made = Resized(picture, width, 4, filter, Always);
            const double step = 100.0 / width;
            for (int32_t x = width / 8; x < width - width / 8; ++x)
                EXPECT_NEAR(made.pixels[size_t(x)], 2 * ((x + 0.5) * step - 0.5), 0.51) << x << " of " << width;
        }
    }
}

TEST(Geometry, HalvedPixelsAreMeans)
{
    Picture picture = NewPicture(GREY, 8, 8);
    for (int i = 0; i < 64; ++i) picture.pixels[size_t(i)] = uint8_t((i + i / 8) % 2 * 255);   // a chessboard
    const Picture made = Resized(picture, 4, 4, Filter::LINEAR, Always);
    // Around the corners the border counts for what lies outside.
    for (const int i : {5, 6, 9, 10}) EXPECT_NEAR(made.pixels[size_t(i)], 127, 1);
}

TEST(Geometry, WhoSaysNoGetsNoPixels)
{
    const Picture picture = RandomOf(RGB, 20, 20);
    const auto never = [](int32_t done, int32_t) { return done < 3; };
    EXPECT_FALSE(Resized(picture, 10, 10, Filter::CUBIC, never).pixels);
    EXPECT_FALSE(Turned(picture, Turn::LEFT, never).pixels);
    EXPECT_FALSE(Cropped(picture, 0, 0, 9, 9, never).pixels);
}
