// What Mirror and Shear make of a picture with a mask, once its size is put on record, is what they make of the
// picture and of the mask by themselves.

#include "host/editor/true_size.h"

#include "host/acting/acting.h"
#include "host/documents/image_parts.h"

#include <cstring>
#include <gtest/gtest.h>
#include <random>

namespace
{

struct Given {
    const char *option, *value;
};

struct Case {
    const char *effect;
    std::vector<Given> options;
};

const Case cases[] = {
    {"mirror", {{"direction", "left"}}},
    {"mirror", {{"direction", "down"}}},
    {"mirror", {{"direction", "up"}, {"scope", "all"}}},
    {"shear", {{"angle", "30"}, {"direction", "horizontal"}}},
    {"shear", {{"angle", "-40"}, {"direction", "vertical"}, {"scope", "image"}}},
    {"shear", {{"angle", "0"}}},
};

const std::pair<int32_t, int32_t> sizes[] = {{1, 1}, {1, 9}, {9, 1}, {17, 13}, {33, 20}};

PlaneBytes RandomPlane(int32_t bits, int32_t width, int32_t height, std::mt19937 &random)
{
    const auto size = uint32_t(RowStride(bits, width)) * uint32_t(height);
    uint8_t *plane;
    KPZ_AllocMem(&plane, size, 0);
    for (uint32_t i = 0; i < size; ++i) plane[i] = uint8_t(random());
    return PlaneBytes(plane);
}

Picture RandomPicture(int32_t colourType, int32_t width, int32_t height)
{
    std::mt19937 random(unsigned(7 * width + height));
    Picture picture = NewPicture(colourType, width, height);
    picture.pixels = RandomPlane(picture.bitsPerPixel, width, height, random);
    return picture;
}

void GiveMask(Picture &picture)
{
    std::mt19937 random(99);
    picture.maskBitsPerPixel = picture.colourType == GREY || picture.colourType == RGB ? 8 : 1;
    picture.mask = RandomPlane(picture.maskBitsPerPixel, picture.width, picture.height, random);
}

// The mask of GiveMask as a picture.
Picture MaskPicture(const Picture &picture)
{
    std::mt19937 random(99);
    Picture mask = NewPicture(picture.maskBitsPerPixel == 8 ? GREY : ONE_BIT, picture.width, picture.height);
    mask.pixels = RandomPlane(mask.bitsPerPixel, mask.width, mask.height, random);
    return mask;
}

// The rows' pixels, without what pads them.
std::string BytesOf(const uint8_t *plane, int32_t bits, int32_t width, int32_t height)
{
    std::string bytes;
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t *row = plane + size_t(RowStride(bits, width)) * size_t(y);
        for (int32_t x = 0; x < width * bits / 8; ++x) bytes += char(row[x]);
        for (int32_t x = width * bits & ~7; x < width * bits; ++x) bytes += row[x >> 3] >> (7 - x % 8) & 1 ? '1' : '0';
    }
    return bytes;
}

struct TrueSizes : testing::Test {
    Host host;
    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(StartHost(host, "", error)) << error;
    }
    void TearDown() override { EndHost(host); }

    // Runs the effect on the active image; its true size is put on record where it should be.
    void Run(const Case &one, ImageRecord *image)
    {
        const DialogTemplate &table = *FindEffectTemplate(one.effect);
        ASSERT_TRUE(ActInDialog(host, table.commandOffset, [&](HWND dialog) {
            std::string error;
            for (const Given &given : one.options)
                EXPECT_TRUE(SetOption(dialog, table, given.option, given.value, error)) << error;
            const TrueSize size = SizeAfterRun(dialog, {image->width, image->height});
            const bool masked = image->mask != nullptr;
            Press(dialog, APPLY_BUTTON);
            WaitForRun(image);
            if (masked) PutOnRecord(image, size);
            EXPECT_EQ(std::make_pair(size.width, size.height), std::make_pair(image->width, image->height));
            Press(dialog, CLOSE_BUTTON);
        }));
    }
    ImageRecord *Open(Picture picture, const std::function<void(ImageRecord *)> &furnish = nullptr)
    {
        ImageRecord *image = OpenImage(host, std::move(picture), furnish);
        ActivateImage(host, image);
        return image;
    }
};

}   // namespace

TEST_F(TrueSizes, PictureAndMaskAreWhatTheyAreByThemselves)
{
    for (const Case &one : cases) {
        for (const int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
            for (const auto &[width, height] : sizes) {
                SCOPED_TRACE(testing::Message() << one.effect << " " << type << " " << width << "x" << height);
                Picture masked = RandomPicture(type, width, height);
                GiveMask(masked);
                ImageRecord *alone = Open(RandomPicture(type, width, height)), *mask = nullptr;
                Run(one, alone);
                mask = Open(MaskPicture(masked));
                Run(one, mask);
                ImageRecord *both = Open(std::move(masked));
                Run(one, both);

                ASSERT_EQ(both->width, alone->width);
                ASSERT_EQ(both->height, alone->height);
                EXPECT_TRUE(BytesOf(both->pixels, both->bitsPerPixel, both->width, both->height) ==
                            BytesOf(alone->pixels, alone->bitsPerPixel, alone->width, alone->height));
                EXPECT_TRUE(BytesOf(both->mask, both->maskBitsPerPixel, both->width, both->height) ==
                            BytesOf(mask->pixels, mask->bitsPerPixel, mask->width, mask->height));
                for (ImageRecord *image : {alone, mask, both}) CloseImage(host, image);
            }
        }
    }
}

TEST_F(TrueSizes, ObjectsAreLaidOnAnewAndUndoAndRedoKeepTheSizes)
{
    for (const Case &one : cases) {
        SCOPED_TRACE(one.effect);
        Picture masked = RandomPicture(RGB, 33, 20);
        GiveMask(masked);
        std::string error;
        ImageRecord *image = Open(std::move(masked), [&](ImageRecord *opened) {
            AddObject(opened, RandomPicture(RGB, 30, 30), 10, 5, error);   // in sight after it has moved, too
        });
        const std::string before = BytesOf(image->pixels, 24, 33, 20);
        Run(one, image);
        const int32_t width = image->width, height = image->height;
        EXPECT_EQ(image->base.width, width);
        EXPECT_EQ(image->base.height, height);
        const std::string after = BytesOf(image->pixels, 24, width, height);
        EXPECT_TRUE(after != BytesOf(image->base.pixels, 24, width, height)) << "the object is seen";
        ASSERT_TRUE(MiscUndo(image));
        EXPECT_TRUE(BytesOf(image->pixels, 24, image->width, image->height) == before);
        EXPECT_EQ(image->width, 33);
        ASSERT_TRUE(MiscRedo(image));
        EXPECT_EQ(image->width, width);
        EXPECT_EQ(image->height, height);
        EXPECT_TRUE(BytesOf(image->pixels, 24, image->width, image->height) == after);
        CloseImage(host, image);
    }
}

TEST_F(TrueSizes, WhatKeepsItsSizeIsToldSo)
{
    struct Kept {
        const char *effect, *option, *value;
    };
    for (const Kept &kept : {Kept{"mirror", "scope", "objects"}, Kept{"mirror", "scope", "new-object"},
                             Kept{"shear", "scope", "objects"}, Kept{"wave", "amplitude", "30"}}) {
        ImageRecord *image = Open(RandomPicture(GREY, 17, 13));
        const DialogTemplate &table = *FindEffectTemplate(kept.effect);
        ActInDialog(host, table.commandOffset, [&](HWND dialog) {
            std::string error;
            EXPECT_TRUE(SetOption(dialog, table, kept.option, kept.value, error)) << error;
            const TrueSize size = SizeAfterRun(dialog, {17, 13});
            EXPECT_EQ(size.width, 17) << kept.effect << " " << kept.value;
            EXPECT_EQ(size.height, 13) << kept.effect << " " << kept.value;
            Press(dialog, CLOSE_BUTTON);
        });
        CloseImage(host, image);
    }
}
