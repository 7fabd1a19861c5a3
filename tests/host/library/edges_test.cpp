// Edges of the caller's choosing, and settings in shares of the picture, through the door.

#include "tests/host/library/pictures.h"

#include <cstring>

namespace
{

constexpr int32_t WIDTH = 37, HEIGHT = 29;

// Beside and below each other, `times` in both directions; each second one mirrored where that is wanted.
PicturePointer Repeated(const PicturePointer &picture, int32_t times, bool mirrored)
{
    const std::vector<uint8_t> from = PixelsOf(picture);
    std::vector<uint8_t> to(from.size() * size_t(times) * size_t(times));
    const auto place = [mirrored](int32_t at, int32_t count) {
        const int32_t within = at % count;
        return mirrored && at / count % 2 == 0 ? count - 1 - within : within;   // the middle one of three as it is
    };
    for (int32_t y = 0; y < HEIGHT * times; ++y)
        for (int32_t x = 0; x < WIDTH * times; ++x)
            memcpy(&to[4 * (size_t(y) * size_t(WIDTH * times) + size_t(x))],
                   &from[4 * (size_t(place(y, HEIGHT)) * WIDTH + size_t(place(x, WIDTH)))], 4);
    const vlm_planes planes = PlanesOf(VLM_LAYOUT_RGBA, WIDTH * times, HEIGHT * times, to.data());
    vlm_picture *made = nullptr;
    EXPECT_EQ(vlm_picture_from_planes(&planes, &made), VLM_OK);
    return PicturePointer(made);
}

std::vector<uint8_t> MiddleOfThree(const PicturePointer &picture)
{
    const std::vector<uint8_t> from = PixelsOf(picture);
    std::vector<uint8_t> to;
    for (int32_t y = HEIGHT; y < 2 * HEIGHT; ++y) {
        const uint8_t *row = &from[4 * (size_t(y) * 3 * WIDTH + WIDTH)];
        to.insert(to.end(), row, row + 4 * WIDTH);
    }
    return to;
}

const std::vector<std::string> looking = {
    "filters --kernel 'Gaussian 7 by 7'",
    "filters --kernel 'Smooth 7 by 7' --pass-mode iterative --iterations 3",
    "median --radius 4",
    "oil-painting --brush-size 3",
};

}   // namespace

TEST(Edges, WrapIsWhatARepeatedPictureShows)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGBA, WIDTH, HEIGHT);
    for (const std::string &step : looking) {
        SCOPED_TRACE(step);
        const std::vector<uint8_t> wrapped = PixelsOf(Applied(picture, {step + " --edges wrap"}));
        EXPECT_EQ(wrapped, MiddleOfThree(Applied(Repeated(picture, 3, false), {step})));
        EXPECT_NE(wrapped, PixelsOf(Applied(picture, {step})));
        // A repeat of the result has no seam: it is the result of the repeat.
        const PicturePointer two = Repeated(picture, 2, false);
        EXPECT_EQ(PixelsOf(Applied(two, {step + " --edges wrap"})),
                  PixelsOf(Repeated(Applied(picture, {step + " --edges wrap"}), 2, false)));
    }
}

TEST(Edges, MirrorIsWhatMirroredNeighboursShow)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGBA, WIDTH, HEIGHT);
    for (const std::string &step : looking)
        EXPECT_EQ(PixelsOf(Applied(picture, {step + " --edges mirror"})),
                  MiddleOfThree(Applied(Repeated(picture, 3, true), {step})))
            << step;
}

TEST(Edges, HoldInChainsForAllTypesAndBeyondThePicture)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGBA, WIDTH, HEIGHT);
    const PicturePointer apart =
        Applied(Applied(Applied(picture, {"wave"}), {"median --radius 3 --edges clamp"}), {"solarize"});
    EXPECT_EQ(PixelsOf(Applied(picture, {"wave", "median --radius 3 --edges clamp", "solarize"})), PixelsOf(apart));
    for (const vlm_layout layout : {VLM_LAYOUT_INDEX, VLM_LAYOUT_GREY}) {
        std::vector<uint8_t> pixels(size_t(WIDTH) * HEIGHT), palette(768);
        for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = ByteAt(i, 5);
        for (size_t i = 0; i < palette.size(); ++i) palette[i] = ByteAt(i, 6);
        vlm_planes planes = PlanesOf(layout, WIDTH, HEIGHT, pixels.data());
        planes.palette = palette.data();
        planes.palette_entries = 256;
        vlm_picture *made = nullptr;
        ASSERT_EQ(vlm_picture_from_planes(&planes, &made), VLM_OK) << vlm_error_line();
        const PicturePointer typed(made), result = Applied(typed, {"median --radius 30 --edges wrap"});
        EXPECT_EQ(vlm_picture_type(result.get()), vlm_picture_type(typed.get()));
        EXPECT_EQ(vlm_picture_width(result.get()), WIDTH);
        EXPECT_EQ(vlm_picture_height(result.get()), HEIGHT);
    }
}

TEST(Edges, GoWithWholePicturesOfEffectsThatLookAround)
{
    const StepsPointer steps = StepsOf({"median --edges wrap", "median"});
    EXPECT_STREQ(vlm_steps_value(steps.get(), 0, "edges"), "wrap");
    EXPECT_FAILS(vlm_steps_set(StepsOf({"wave"}).get(), 0, "edges", "wrap"), VLM_NO_SUCH_SETTING, "--edges");
    EXPECT_FAILS(vlm_steps_check(StepsOf({"median --edges round"}).get(), nullptr), VLM_BAD_VALUE,
                 "wrap, mirror, clamp");
    EXPECT_FAILS(vlm_steps_check(StepsOf({"median --edges wrap --area 1,1,4x4"}).get(), nullptr), VLM_AT_ODDS, "area");
    EXPECT_FAILS(vlm_steps_check(StepsOf({"noise --scope new-object", "median --edges wrap"}).get(), nullptr),
                 VLM_AT_ODDS, "objects");
    for (int i = 0; i < vlm_effect_count(); ++i) {
        const std::string name = vlm_effect_at(i)->name;
        EXPECT_EQ(vlm_effect_at(i)->takes_edges != 0, name == "filters" || name == "median" || name == "oil-painting");
    }
}

TEST(Shares, ArePixelsOfTheSmallerEdge)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 200, 100);
    EXPECT_EQ(PixelsOf(Applied(picture, {"blocks --block-width 5% --block-height 2.5%"})),
              PixelsOf(Applied(picture, {"blocks --block-width 5 --block-height 3"})));
    EXPECT_EQ(PixelsOf(Applied(picture, {"median --radius 100%"})), PixelsOf(Applied(picture, {"median --radius 30"})))
        << "kept in range";
    EXPECT_EQ(PixelsOf(Applied(picture, {"median --radius 0.01%"})), PixelsOf(Applied(picture, {"median --radius 1"})));
    for (const char *bad : {"0%", "101%", "%", "2 %", "-2%", "2.%%", "2,5%", "1e2%"})
        EXPECT_FAILS(vlm_steps_check(StepsOf({std::string("blocks --block-width '") + bad + "'"}).get(), nullptr),
                     VLM_BAD_VALUE, "--block-width");
    EXPECT_FAILS(vlm_steps_check(StepsOf({"noise --amount 2%"}).get(), nullptr), VLM_BAD_VALUE, "--amount");
    EXPECT_TRUE(vlm_effect_setting_named(vlm_effect_named("blocks"), "block-width")->in_pixels);
    EXPECT_FALSE(vlm_effect_setting_named(vlm_effect_named("noise"), "amount")->in_pixels);
}

TEST(Shares, DefaultsAreScaledFromSixHundredAndFortyPixels)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 1400, 1280);
    const StepsPointer steps = StepsOf({"blocks --block-height 7"});
    ASSERT_EQ(vlm_steps_scale_defaults(steps.get(), 0), VLM_OK) << vlm_error_line();
    const PicturePointer scaled = CopyOf(picture);
    ASSERT_EQ(vlm_apply(steps.get(), scaled.get(), nullptr), VLM_OK) << vlm_error_line();
    EXPECT_EQ(PixelsOf(scaled), PixelsOf(Applied(picture, {"blocks --block-width 20 --block-height 7"})));
}
