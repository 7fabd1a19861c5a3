// What a preview of Mirror and Shear shows is what their runs make.

#include "host/editor/enlarged.h"

#include "host/acting/acting.h"

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
    {"mirror", {{"direction", "right"}}},
    {"mirror", {{"direction", "up"}}},
    {"mirror", {{"direction", "down"}}},
    {"shear", {{"angle", "30"}, {"direction", "horizontal"}, {"fill-colour", "#C08040"}}},
    {"shear", {{"angle", "-40"}, {"direction", "vertical"}, {"fill-colour", "#F0F0F0"}}},
    {"shear", {{"angle", "0"}}},
    {"wave", {}},
};

Picture RandomPicture(int32_t colourType, int32_t width, int32_t height)
{
    std::mt19937 random(unsigned(7 * width + height));
    Picture picture = NewPicture(colourType, width, height);
    const size_t bytes = size_t(RowStride(picture.bitsPerPixel, width)) * size_t(height);
    for (size_t i = 0; i < bytes; ++i) picture.pixels[i] = uint8_t(random());
    if (colourType != PALETTE) return picture;
    picture.paletteEntries = 256;
    for (int i = 0; i < 256; ++i) picture.red[i] = picture.green[255 - i] = picture.blue[i ^ 85] = uint8_t(i);
    return picture;
}

// The rows' pixels, without what pads them.
std::string BytesOf(const Picture &picture)
{
    std::string bytes;
    const int32_t bits = picture.width * picture.bitsPerPixel;
    for (int32_t y = 0; y < picture.height; ++y) {
        const uint8_t *row = picture.pixels.get() + size_t(RowStride(picture.bitsPerPixel, picture.width)) * size_t(y);
        bytes.append(reinterpret_cast<const char *>(row), size_t(bits / 8));
        for (int32_t x = bits & ~7; x < bits; ++x) bytes += BitAt(row, x) ? '1' : '0';
    }
    return bytes;
}

}   // namespace

TEST(Enlarged, IsWhatTheRunMakes)
{
    Host host;
    std::string error;
    ASSERT_TRUE(StartHost(host, "", error)) << error;
    for (const Case &one : cases) {
        for (const int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
            SCOPED_TRACE(testing::Message() << one.effect << " " << type);
            const DialogTemplate &table = *FindEffectTemplate(one.effect);
            const Picture before = RandomPicture(type, 33, 20);
            ImageRecord *image = OpenImage(host, CopyOf(before));
            ActivateImage(host, image);
            Picture told;
            ASSERT_TRUE(ActInDialog(host, table.commandOffset, [&](HWND dialog) {
                for (const Given &given : one.options)
                    EXPECT_TRUE(SetOption(dialog, table, given.option, given.value, error)) << error;
                told = Enlarged(dialog, CopyOf(before));
                Press(dialog, APPLY_BUTTON);
                WaitForRun(image);
                Press(dialog, CLOSE_BUTTON);
            }));
            const Picture made = TakePicture(image);
            CloseImage(host, image);
            if (!table.changesSize) {
                EXPECT_TRUE(BytesOf(told) == BytesOf(before)) << "no business of its";
                continue;
            }
            ASSERT_EQ(told.width, made.width);
            ASSERT_EQ(told.height, made.height);
            EXPECT_TRUE(BytesOf(told) == BytesOf(made));
        }
    }
    EndHost(host);
}
