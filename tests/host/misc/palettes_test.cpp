// FindClosestColor and Update8BitVersion: nearest entries and the copy for displays of 8 bits.

#include "tests/host/misc/stage.h"

#include <cstring>
#include <gtest/gtest.h>
#include <random>

struct Tables {
    uint8_t red[256] = {}, green[256] = {}, blue[256] = {};
};

static int32_t Closest(const Tables &tables, uint32_t colour, int32_t entries)
{
    return FindClosestColor(colour, tables.red, tables.green, tables.blue, entries);
}

TEST(FindClosestColor, ReadsRedFromTheLowByte)
{
    Tables tables;
    tables.red[1] = tables.green[2] = tables.blue[3] = 255;
    EXPECT_EQ(Closest(tables, 0x0000FF, 4), 1);
    EXPECT_EQ(Closest(tables, 0x00FF00, 4), 2);
    EXPECT_EQ(Closest(tables, 0xFF0000, 4), 3);
    EXPECT_EQ(Closest(tables, 0x101010, 4), 0);
}

TEST(FindClosestColor, TakesTheLowestOfEquals)
{
    Tables tables;
    tables.red[0] = 10;
    tables.red[1] = 30;
    tables.red[2] = 10;
    EXPECT_EQ(Closest(tables, 20, 3), 0);
    EXPECT_EQ(Closest(tables, 10, 3), 0);
}

TEST(FindClosestColor, LooksAtOneEntryAtLeastAnd256AtMost)
{
    Tables tables;
    tables.red[255] = 255;
    EXPECT_EQ(Closest(tables, 255, 0), 0);
    EXPECT_EQ(Closest(tables, 255, -3), 0);
    EXPECT_EQ(Closest(tables, 255, 255), 0);
    EXPECT_EQ(Closest(tables, 255, 256), 255);
    EXPECT_EQ(Closest(tables, 255, 100000), 255);
}

//---- Update8BitVersion

static std::vector<uint8_t> DisplayCopy(Stage &stage, const Tables &tables)
{
    ImageRecord &image = stage.image;
    Update8BitVersion(image.pixels, &image.displayCopy, image.width, image.height, tables.red, tables.green,
                      tables.blue, 0);
    return {image.displayCopy, image.displayCopy + StrideFor(8, image.width) * size_t(image.height)};
}

TEST(Update8BitVersion, WithoutTablesNamesTheColourCube)
{
    Stage stage(RGB, 3, 1);
    const uint8_t blueGreenRed[] = {0, 0, 255, 255, 255, 255, 26, 25, 128};
    memcpy(stage.image.pixels, blueGreenRed, 9);
    EXPECT_EQ(DisplayCopy(stage, {}), (std::vector<uint8_t>{180, 215, 36 * 3 + 1, 0}));
}

TEST(Update8BitVersion, WithTablesNamesTheNearestEntry)
{
    std::mt19937 random(5);
    Tables tables;
    for (int i = 0; i < 256; ++i) {
        tables.red[i] = uint8_t(random());
        tables.green[i] = uint8_t(random());
        tables.blue[i] = uint8_t(random());
    }
    Stage stage(RGB, 61, 40);
    ImageRecord &image = stage.image;
    for (uint32_t i = 0; i < StrideFor(24, 61) * 40; ++i) image.pixels[i] = uint8_t(random());
    const std::vector<uint8_t> copy = DisplayCopy(stage, tables);
    for (int y = 0; y < 40; ++y) {
        for (int x = 0; x < 61; ++x) {
            const uint8_t *pixel = image.pixels + y * StrideFor(24, 61) + 3 * x;
            const uint32_t colour = pixel[2] | pixel[1] << 8 | pixel[0] << 16;
            ASSERT_EQ(copy[y * StrideFor(8, 61) + uint32_t(x)], Closest(tables, colour, 256)) << x << ", " << y;
        }
    }
}

TEST(Update8BitVersion, FreesTheCopyBefore)
{
    Stage stage(RGB, 5, 5);
    DisplayCopy(stage, {});
    const int32_t blocks = HostAllocatedBlocks();
    DisplayCopy(stage, {});
    EXPECT_EQ(HostAllocatedBlocks(), blocks);
}

TEST(DisplayCopy, IsMadeOnlyOf24BitPicturesOnAn8BitDisplay)
{
    Stage deep(RGB, 4, 4), shallow(RGB, 4, 4), grey(GREY, 4, 4);
    RunWorker(deep, AddAmount, SCOPE_IMAGE, 1);
    EXPECT_EQ(deep.image.displayCopy, nullptr);
    HostSetDisplayDepth(8);
    RunWorker(shallow, AddAmount, SCOPE_IMAGE, 1);
    RunWorker(grey, AddAmount, SCOPE_IMAGE, 1);
    HostSetDisplayDepth(24);
    EXPECT_NE(shallow.image.displayCopy, nullptr);
    EXPECT_EQ(grey.image.displayCopy, nullptr);
}
