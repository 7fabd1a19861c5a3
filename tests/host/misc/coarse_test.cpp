// The coarse preview that comes before an exact one: its pixels, and for which effects it looks like the exact one.

#include "host/misc/preview/coarse.h"
#include "tests/host/misc/images.h"

#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

TEST(Coarse, IsForEffectsThatCountNoPixelsAndDrawNoNumbers)
{
    std::set<std::string> coarse;
    for (int32_t i = 0; i < DialogTemplateCount(); ++i)
        if (LooksTheSameReduced(*DialogTemplateAt(i))) coarse.insert(DialogTemplateAt(i)->effect);
    EXPECT_EQ(coarse, (std::set<std::string>{"acid", "cone-head", "fisheye", "polar-coordinates", "ripple", "solarize",
                                             "swirl", "wave"}));
}

TEST(Coarse, SmallPicturesAreWorkedOnWhole)
{
    ImageRecord picture = {};
    picture.width = 1200, picture.height = 900;
    EXPECT_EQ(CoarseStep(picture), 1);
    picture.width = 4000, picture.height = 3000;
    EXPECT_EQ(CoarseStep(picture), 5);
}

TEST(Coarse, APixelStandsForItsNeighbours)
{
    ImageRecord whole = {}, reduced = {}, coarse = {};
    whole.width = 5, whole.height = 3;
    whole.bitsPerPixel = 24;
    whole.colourType = RGB;
    const size_t stride = RowStride(24, 5);
    std::vector<uint8_t> pixels(3 * stride);
    for (size_t y = 0; y < 3; ++y)
        for (size_t x = 0; x < 5; ++x)
            for (size_t c = 0; c < 3; ++c) pixels[y * stride + 3 * x + c] = uint8_t(100 * y + 10 * x + c);
    whole.pixels = pixels.data();
    Reduce(reduced, whole, 2);
    EXPECT_EQ(reduced.width, 3);
    EXPECT_EQ(reduced.height, 2);
    const auto at = [](const ImageRecord &picture, size_t x, size_t y) {
        return int(picture.pixels[y * RowStride(24, picture.width) + 3 * x + 1]);
    };
    EXPECT_EQ(at(reduced, 0, 0), 111) << "of a group of four, the one to the right and below";
    EXPECT_EQ(at(reduced, 1, 0), 131);
    EXPECT_EQ(at(reduced, 2, 0), 141) << "at the edge, what there is";
    EXPECT_EQ(at(reduced, 2, 1), 241);
    Enlarge(coarse, reduced, whole, 2);
    EXPECT_EQ(coarse.width, 5);
    EXPECT_EQ(coarse.height, 3);
    for (size_t y = 0; y < 3; ++y)
        for (size_t x = 0; x < 5; ++x) EXPECT_EQ(at(coarse, x, y), at(reduced, x / 2, y / 2)) << x << ", " << y;
    KPZ_FreeMem(reduced.pixels);
    KPZ_FreeMem(coarse.pixels);
}
