// The border of what alpha shows, after effects that mix pixels by their places.

#include "tests/host/library/pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace
{

constexpr int32_t WIDTH = 61, HEIGHT = 47;
constexpr uint8_t COLOUR[3] = {250, 120, 60};

// All of one colour where it is seen, and of another where it is hidden.
PicturePointer Disc(uint8_t hidden, double inner = 14, double outer = 18)
{
    std::vector<uint8_t> pixels(4 * size_t(WIDTH) * HEIGHT);
    for (int32_t y = 0; y < HEIGHT; ++y) {
        for (int32_t x = 0; x < WIDTH; ++x) {
            const double distance = std::hypot(x - 27, y - 20), share = (outer - distance) / (outer - inner);
            const int alpha = int(std::lround(255 * std::clamp(share, 0.0, 1.0)));
            uint8_t *pixel = &pixels[4 * size_t(y * WIDTH + x)];
            for (int c = 0; c < 3; ++c) pixel[c] = alpha ? COLOUR[c] : hidden;
            pixel[3] = uint8_t(alpha);
        }
    }
    const vlm_planes planes = PlanesOf(VLM_LAYOUT_RGBA, WIDTH, HEIGHT, pixels.data());
    vlm_picture *picture = nullptr;
    EXPECT_EQ(vlm_picture_from_planes(&planes, &picture), VLM_OK) << vlm_error_line();
    return PicturePointer(picture);
}

// By how much a channel that is seen, laid on black, is away from the one colour; counts what is seen in part.
int WorstOf(const PicturePointer &picture, int &partly)
{
    int worst = 0;
    const std::vector<uint8_t> pixels = PixelsOf(picture);
    for (size_t i = 0; i < pixels.size(); i += 4) {
        const int alpha = pixels[i + 3];
        partly += alpha > 0 && alpha < 255;
        for (size_t c = 0; c < 3; ++c) worst = std::max(worst, abs(pixels[i + c] - COLOUR[c]) * alpha / 255);
    }
    return worst;
}

const std::vector<std::string> mixing = {
    "wave --amplitude 20 --background '#00FF00'",
    "wave --amplitude 30 --orientation columns",
    "ripple --amplitude 40",
    "fisheye",
    "cone-head",
    "polar-coordinates --fill-colour '#00FF00'",
    "shear --angle 20 --fill-colour '#00FF00'",
    "shear --angle -33 --direction vertical",
    "swirl",
};

std::string EffectOf(const std::string &step) { return step.substr(0, step.find(' ')); }

}   // namespace

TEST(Fringe, CleanHasTheColoursThatAreSeenAlone)
{
    for (const std::string &step : mixing) {
        SCOPED_TRACE(step);
        int partly = 0, partlyAsIs = 0;
        EXPECT_LE(WorstOf(Applied(Disc(0), {step}), partly), 2);
        EXPECT_GT(WorstOf(Applied(Disc(0), {step + " --fringe as-is"}), partlyAsIs), 4);
        EXPECT_GT(partly, 40);
    }
}

TEST(Fringe, WhatIsLaidBareLeavesNoColourAtThePicturesOwnBorder)
{
    std::vector<uint8_t> pixels(4 * size_t(WIDTH) * HEIGHT, 255);
    for (size_t i = 0; i < pixels.size(); i += 4) std::copy(std::begin(COLOUR), std::end(COLOUR), &pixels[i]);
    const vlm_planes planes = PlanesOf(VLM_LAYOUT_RGBA, WIDTH, HEIGHT, pixels.data());
    vlm_picture *made = nullptr;
    ASSERT_EQ(vlm_picture_from_planes(&planes, &made), VLM_OK);
    const PicturePointer opaque(made);
    for (const std::string &step : mixing) {
        SCOPED_TRACE(step);
        int partly = 0;
        EXPECT_LE(WorstOf(Applied(opaque, {step}), partly), 2);
        if (EffectOf(step) == "wave" || EffectOf(step) == "shear") { EXPECT_GT(partly, 10); }
    }
}

TEST(Fringe, WhatIsHiddenIsNotSeenWhateverItIs)
{
    for (const std::string &step : mixing) {
        const std::vector<uint8_t> dark = PixelsOf(Applied(Disc(0), {step}));
        const std::vector<uint8_t> light = PixelsOf(Applied(Disc(255), {step}));
        int worst = 0;
        for (size_t i = 0; i < dark.size(); ++i)
            worst =
                std::max(worst, i % 4 == 3 ? 255 * (dark[i] != light[i]) : abs(dark[i] - light[i]) * dark[i | 3] / 255);
        EXPECT_LE(worst, 2) << step;
    }
}

TEST(Fringe, WhatNothingHiddenIsMixedIntoStaysToTheBit)
{
    std::vector<uint8_t> pixels = PixelsOf(Sample(VLM_LAYOUT_RGB, WIDTH, HEIGHT));
    for (size_t i = 3; i < pixels.size(); i += 4) pixels[i] = 40;
    const vlm_planes planes = PlanesOf(VLM_LAYOUT_RGBA, WIDTH, HEIGHT, pixels.data());
    vlm_picture *made = nullptr;
    ASSERT_EQ(vlm_picture_from_planes(&planes, &made), VLM_OK);
    const PicturePointer even(made);
    for (const char *step : {"ripple", "fisheye", "cone-head", "swirl"})
        EXPECT_EQ(PixelsOf(Applied(even, {step})), PixelsOf(Applied(even, {std::string(step) + " --fringe as-is"})))
            << step;
}

TEST(Fringe, AMaskThatWasGivenBesidesIsTakenAsItIs)
{
    for (const std::string &step : mixing) {
        const PicturePointer disc = Disc(0);
        vlm_picture *mask = nullptr;
        ASSERT_EQ(vlm_picture_get_mask(disc.get(), &mask), VLM_OK);
        const PicturePointer owner(mask);
        ASSERT_EQ(vlm_picture_set_mask(disc.get(), mask), VLM_OK);
        EXPECT_EQ(PixelsOf(Applied(disc, {step})), PixelsOf(Applied(Disc(0), {step + " --fringe as-is"}))) << step;
        EXPECT_EQ(PixelsOf(Applied(disc, {step + " --fringe clean"})), PixelsOf(Applied(Disc(0), {step}))) << step;
    }
}

TEST(Fringe, AMaskPlaneMayBeWhatIsSeen)
{
    const PicturePointer disc = Disc(0);
    const int width = vlm_picture_width(disc.get()), height = vlm_picture_height(disc.get());
    std::vector<uint8_t> pixels(size_t(3 * width * height)), mask(size_t(width * height));
    vlm_planes planes = {};
    planes.size = sizeof planes;
    planes.width = width;
    planes.height = height;
    planes.layout = VLM_LAYOUT_RGB;
    planes.pixels = pixels.data();
    planes.mask = mask.data();
    planes.mask_bits = 8;
    ASSERT_EQ(vlm_picture_to_planes(disc.get(), &planes), VLM_OK) << vlm_error_line();
    for (const char *ending : {" --fringe as-is", ""}) {
        planes.flags = *ending ? 0 : VLM_PLANES_MASK_IS_ALPHA;
        vlm_picture *picture = nullptr;
        ASSERT_EQ(vlm_picture_from_planes(&planes, &picture), VLM_OK) << vlm_error_line();
        const PicturePointer given(picture);
        for (const std::string &step : mixing)
            EXPECT_EQ(PixelsOf(Applied(given, {step})), PixelsOf(Applied(Disc(0), {step + ending}))) << step << ending;
    }
}

TEST(Fringe, ChainsAndAreasAreCleanedStepByStep)
{
    const std::vector<std::string> chain = {"wave --amplitude 20", "noise --amount 30 --seed 5", "shear --angle 12",
                                            "ripple --area 5,6,30x24"};
    PicturePointer one = CopyOf(Disc(0));
    for (const std::string &step : chain) one = Applied(one, {step});
    EXPECT_EQ(PixelsOf(Applied(Disc(0), chain)), PixelsOf(one));
    const std::vector<uint8_t> before = PixelsOf(Disc(0)),
                               after = PixelsOf(Applied(Disc(0), {"ripple --area 5,6,30x24"}));
    EXPECT_NE(before, after);
    for (int32_t y = 0; y < HEIGHT; ++y)
        for (int32_t x = 0; x < WIDTH; ++x) {
            if (x >= 5 && x < 35 && y >= 6 && y < 30) continue;
            const size_t at = 4 * size_t(y * WIDTH + x);
            ASSERT_TRUE(std::equal(&before[at], &before[at + 4], &after[at])) << x << "," << y;
        }
}

TEST(Fringe, IsAWordOfEffectsThatMix)
{
    std::vector<std::string> names;
    for (int i = 0; i < vlm_effect_count(); ++i)
        if (vlm_effect_at(i)->takes_fringe) names.push_back(vlm_effect_at(i)->name);
    for (const std::string &name : names)
        EXPECT_TRUE(std::any_of(mixing.begin(), mixing.end(),
                                [&name](const std::string &step) { return EffectOf(step) == name; }))
            << name << " is not tried";
    EXPECT_EQ(names.size(), 7u);
    EXPECT_FAILS(vlm_steps_set(StepsOf({"noise"}).get(), 0, "fringe", "clean"), VLM_NO_SUCH_SETTING, "--fringe");
    EXPECT_FAILS(vlm_steps_check(StepsOf({"wave --fringe dirty"}).get(), nullptr), VLM_BAD_VALUE, "clean, as-is");
}

TEST(Fringe, CleanIsRefusedWhereObjectsFloat)
{
    const char refused[] = "--fringe: clean is for pictures on which no objects float";
    const PicturePointer object = Disc(0);
    for (const char *step : {"wave --fringe clean", "wave --fringe clean --scope image"}) {
        const StepsPointer steps = StepsOf({step});
        ASSERT_EQ(vlm_steps_add_object(steps.get(), 0, object.get(), 3, 3), VLM_OK);
        EXPECT_FAILS(vlm_steps_check(steps.get(), nullptr), VLM_AT_ODDS, refused);
        EXPECT_FAILS(vlm_apply(steps.get(), Disc(0).get(), nullptr), VLM_AT_ODDS, refused);
    }
    EXPECT_FAILS(vlm_steps_check(StepsOf({"wave --fringe clean --scope objects"}).get(), nullptr), VLM_AT_ODDS,
                 refused);
    int failed = -1;
    const StepsPointer chain = StepsOf({"wave --scope new-object", "swirl --fringe clean"});
    EXPECT_FAILS(vlm_steps_check(chain.get(), &failed), VLM_AT_ODDS, refused);
    EXPECT_EQ(failed, 1);
    const StepsPointer usual = StepsOf({"wave --fringe as-is"});   // as without the word
    ASSERT_EQ(vlm_steps_add_object(usual.get(), 0, object.get(), 3, 3), VLM_OK);
    EXPECT_EQ(vlm_steps_check(usual.get(), nullptr), VLM_OK);
}
