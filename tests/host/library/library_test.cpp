// The library by its header alone: lists, steps, pictures, runs.

#include "interface/effect_table.h"
#include "tests/host/library/pictures.h"

#include <atomic>
#include <cstring>
#include <fstream>
#include <thread>

//---- Lists

TEST(Library, ListsTheTablesEffectsWithTheirSettings)
{
    ASSERT_EQ(vlm_effect_count(), EFFECT_COUNT) << vlm_error_line();
    for (int i = 0; i < EFFECT_COUNT; ++i) EXPECT_NE(vlm_effect_named(effectTable[i].word), nullptr);
    EXPECT_EQ(vlm_effect_at(EFFECT_COUNT), nullptr);
    const vlm_effect *wave = vlm_effect_named("wave");
    ASSERT_TRUE(wave);
    EXPECT_STREQ(wave->title, "Wave");
    EXPECT_EQ(wave->types, 15u);
    EXPECT_EQ(wave->changes_size, 0);
    EXPECT_NE(vlm_effect_named("mirror")->changes_size, 0);
    const vlm_setting *amplitude = vlm_effect_setting_named(wave, "amplitude");
    ASSERT_TRUE(amplitude);
    EXPECT_EQ(amplitude->kind, VLM_NUMBER);
    EXPECT_EQ(amplitude->low, 1);
    EXPECT_EQ(amplitude->high, 50);
    EXPECT_EQ(amplitude->default_number, 10);
    EXPECT_STREQ(amplitude->label, "Amplitude");
    EXPECT_STREQ(amplitude->unit, "%");
    const vlm_setting *scope = vlm_effect_setting_named(wave, "scope");
    ASSERT_TRUE(scope);
    EXPECT_NE(scope->shared, 0);
    EXPECT_STREQ(vlm_setting_choice(scope, 0)->word, "image");
    EXPECT_EQ(vlm_setting_choice(scope, scope->choice_count), nullptr);
}

TEST(Library, OnlyWhatSeedsItsDrawsSaysThatItDraws)
{
    for (const char *drawing : {"melt", "noise", "random-shear", "slices", "tiles"})
        EXPECT_NE(vlm_effect_named(drawing)->draws, 0) << drawing;
    for (const char *still : {"acid", "filters", "median", "mirror", "wave"})
        EXPECT_EQ(vlm_effect_named(still)->draws, 0) << still;
}

TEST(Library, KnowsTheReadyMadeKernels)
{
    EXPECT_EQ(vlm_kernel_count(), 56);
    const vlm_kernel *kernel = vlm_kernel_named("gaussian 3 BY 3");
    ASSERT_TRUE(kernel) << vlm_error_line();
    EXPECT_STREQ(kernel->name, "Gaussian 3 by 3");
    EXPECT_EQ(kernel->size, 3);
    EXPECT_EQ(vlm_kernel_named("no such"), nullptr);
}

TEST(Library, SuggestsWhatIsNear)
{
    EXPECT_EQ(vlm_effect_named("wavr"), nullptr);
    EXPECT_EQ(vlm_error_code(), VLM_NO_SUCH_EFFECT);
    EXPECT_STREQ(vlm_error_line(), "wavr: no such effect; did you mean wave?");
    StepsPointer steps(vlm_steps_new());
    EXPECT_FAILS(vlm_steps_add_line(steps.get(), "wave --amplitde 3"), VLM_NO_SUCH_SETTING,
                 "did you mean --amplitude?");
    EXPECT_EQ(vlm_steps_count(steps.get()), 0);
}

//---- Planes

TEST(Planes, EveryLayoutComesBackAsItWent)
{
    const vlm_layout layouts[] = {VLM_LAYOUT_BITS, VLM_LAYOUT_INDEX,      VLM_LAYOUT_INDEX_ALPHA,
                                  VLM_LAYOUT_GREY, VLM_LAYOUT_GREY_ALPHA, VLM_LAYOUT_RGB,
                                  VLM_LAYOUT_BGR,  VLM_LAYOUT_RGBA,       VLM_LAYOUT_BGRA};
    const int bits[] = {1, 8, 16, 8, 16, 24, 24, 32, 32};
    for (size_t i = 0; i < std::size(layouts); ++i) {
        constexpr int32_t WIDTH = 13, HEIGHT = 7;
        const size_t row = (size_t(bits[i]) * WIDTH + 7) / 8, stride = row + 5;
        std::vector<uint8_t> from(stride * HEIGHT), to(stride * HEIGHT, 0xEE), palette(768, 9);
        for (size_t at = 0; at < from.size(); ++at) from[at] = ByteAt(at, 3);
        if (layouts[i] == VLM_LAYOUT_BITS)
            for (size_t y = 0; y < HEIGHT; ++y) from[y * stride + row - 1] &= 0xF8;
        if (layouts[i] == VLM_LAYOUT_INDEX_ALPHA)
            for (size_t y = 0; y < HEIGHT; ++y)
                for (size_t x = 1; x < row; x += 2) from[y * stride + x] = from[y * stride + x] > 127 ? 255 : 0;

        // From the last row upwards, and back from the first downwards.
        vlm_planes planes = PlanesOf(layouts[i], WIDTH, HEIGHT, from.data() + (HEIGHT - 1) * stride);
        planes.stride = -ptrdiff_t(stride);
        planes.palette = palette.data();
        planes.palette_entries = 256;
        vlm_picture *picture = nullptr;
        ASSERT_EQ(vlm_picture_from_planes(&planes, &picture), VLM_OK) << vlm_error_line();
        const PicturePointer owner(picture);
        planes.pixels = to.data();
        planes.stride = ptrdiff_t(stride);
        ASSERT_EQ(vlm_picture_to_planes(picture, &planes), VLM_OK) << vlm_error_line();
        for (size_t y = 0; y < HEIGHT; ++y) {
            const uint8_t *source = from.data() + (HEIGHT - 1 - y) * stride, *target = to.data() + y * stride;
            EXPECT_EQ(memcmp(source, target, row), 0) << "layout " << layouts[i] << " row " << y;
            for (size_t gap = row; gap < stride; ++gap) EXPECT_EQ(target[gap], 0xEE) << "what lies between rows";
        }
    }
}

TEST(Planes, BooleansAreWhiteWhereTheyAreNotZero)
{
    uint8_t bools[] = {0, 7, 0, 1, 1, 0, 0, 0, 255, 0}, back[10] = {}, bits[2] = {};
    vlm_planes planes = PlanesOf(VLM_LAYOUT_BOOLS, 10, 1, bools);
    vlm_picture *picture = nullptr;
    ASSERT_EQ(vlm_picture_from_planes(&planes, &picture), VLM_OK);
    const PicturePointer owner(picture);
    EXPECT_EQ(vlm_picture_type(picture), VLM_ONE_BIT);
    planes.pixels = back;
    ASSERT_EQ(vlm_picture_to_planes(picture, &planes), VLM_OK);
    const uint8_t expected[] = {0, 1, 0, 1, 1, 0, 0, 0, 1, 0};
    EXPECT_EQ(memcmp(back, expected, sizeof back), 0);
    planes = PlanesOf(VLM_LAYOUT_BITS, 10, 1, bits);
    ASSERT_EQ(vlm_picture_to_planes(picture, &planes), VLM_OK);
    EXPECT_EQ(bits[0], 0x58);
    EXPECT_EQ(bits[1], 0x80);
}

TEST(Planes, AlphaBecomesTheMaskAndOpaqueNoneWhereThatIsWished)
{
    std::vector<uint8_t> pixels(4 * 6 * 4, 255);
    vlm_planes planes = PlanesOf(VLM_LAYOUT_RGBA, 6, 4, pixels.data());
    vlm_picture *picture = nullptr;
    ASSERT_EQ(vlm_picture_from_planes(&planes, &picture), VLM_OK);
    EXPECT_EQ(vlm_picture_mask_bits(picture), 8);
    vlm_picture_free(picture);
    planes.flags = VLM_PLANES_DROP_OPAQUE;
    ASSERT_EQ(vlm_picture_from_planes(&planes, &picture), VLM_OK);
    EXPECT_EQ(vlm_picture_mask_bits(picture), 0);
    vlm_picture_free(picture);
    pixels[3] = 254;
    ASSERT_EQ(vlm_picture_from_planes(&planes, &picture), VLM_OK);
    EXPECT_EQ(vlm_picture_mask_bits(picture), 8);
    vlm_picture_free(picture);
}

// Every place of rows of every length that whole registers and what is left over make up.
TEST(Planes, OnePixelThatIsNotOpaqueIsSeenWhereverItStands)
{
    for (const vlm_layout layout : {VLM_LAYOUT_RGBA, VLM_LAYOUT_BGRA, VLM_LAYOUT_GREY_ALPHA}) {
        const int step = layout == VLM_LAYOUT_GREY_ALPHA ? 2 : 4;
        for (int32_t width = 1; width < 40; ++width) {
            std::vector<uint8_t> pixels(size_t(2 * width * step)), back(pixels.size(), 9);
            for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = int(i) % step == step - 1 ? 255 : ByteAt(i, 5);
            vlm_planes planes = PlanesOf(layout, width, 2, pixels.data());
            planes.flags = VLM_PLANES_DROP_OPAQUE;
            for (int32_t place = -1; place < 2 * width; ++place) {   // at first none
                if (place >= 0) pixels[size_t((place + 1) * step - 1)] = 127;
                vlm_picture *picture = nullptr;
                ASSERT_EQ(vlm_picture_from_planes(&planes, &picture), VLM_OK);
                const PicturePointer owner(picture);
                EXPECT_EQ(vlm_picture_mask_bits(picture), place < 0 ? 0 : 8) << width << " " << place;
                const vlm_planes target = PlanesOf(layout, width, 2, back.data());
                ASSERT_EQ(vlm_picture_to_planes(picture, &target), VLM_OK);
                EXPECT_EQ(back, pixels);
                if (place >= 0) pixels[size_t((place + 1) * step - 1)] = 255;
            }
        }
    }
}

TEST(Planes, AnIndexWithoutAColourIsRefused)
{
    uint8_t pixels[] = {0, 1, 2}, palette[6] = {};
    vlm_planes planes = PlanesOf(VLM_LAYOUT_INDEX, 3, 1, pixels);
    planes.palette = palette;
    planes.palette_entries = 2;
    vlm_picture *picture = nullptr;
    EXPECT_FAILS(vlm_picture_from_planes(&planes, &picture), VLM_BAD_ARGUMENT, "palette entry");
    EXPECT_EQ(picture, nullptr);
}

//---- Steps

TEST(Steps, LinesAreSplitAsAShellDoesAndToldAgain)
{
    const StepsPointer steps = StepsOf({"filters --kernel 'Gaussian 3 by 3' --use-red=off --seed 4 --area 1,-2,3x4"});
    EXPECT_STREQ(vlm_steps_effect(steps.get(), 0), "filters");
    EXPECT_STREQ(vlm_steps_value(steps.get(), 0, "kernel"), "Gaussian 3 by 3");
    EXPECT_EQ(vlm_steps_value(steps.get(), 0, "bias"), nullptr);
    uint32_t seed = 0;
    EXPECT_NE(vlm_steps_seed(steps.get(), 0, &seed), 0);
    EXPECT_EQ(seed, 4u);
    char *line = vlm_steps_line(steps.get(), 0, 0);
    EXPECT_STREQ(line, "filters --kernel 'Gaussian 3 by 3' --use-red off --area 1,-2,3x4 --seed 4");
    vlm_free(line);
    EXPECT_FAILS(vlm_steps_add_line(steps.get(), "wave --phase 'x"), VLM_BAD_TEXT, "does not end");
    EXPECT_FAILS(vlm_steps_add_line(steps.get(), "  "), VLM_BAD_TEXT, "an effect is missing");
    EXPECT_FAILS(vlm_steps_add_line(steps.get(), "wave 20"), VLM_BAD_TEXT, "20");
    EXPECT_FAILS(vlm_steps_add_line(steps.get(), "wave --phase"), VLM_BAD_TEXT, "needs a value");
}

TEST(Steps, WithAllSettingsALineMakesTheSamePicture)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 40, 30);
    for (const char *given : {"wave --amplitude 33", "filters --kernel 'Gaussian 5 by 5'", "shear --angle 30"}) {
        const StepsPointer steps = StepsOf({given});
        char *line = vlm_steps_line(steps.get(), 0, 1);
        ASSERT_TRUE(line) << vlm_error_line();
        EXPECT_GT(strlen(line), strlen(given) + 10);
        EXPECT_EQ(PixelsOf(Applied(picture, {line})), PixelsOf(Applied(picture, {given}))) << line;
        vlm_free(line);
    }
}

TEST(Steps, AreCheckedBeforeAnythingRuns)
{
    int step = 7;
    EXPECT_FAILS(vlm_steps_check(StepsOf({"wave", "wave --amplitude 51"}).get(), &step), VLM_BAD_VALUE,
                 "--amplitude: 51 is outside 1..50");
    EXPECT_EQ(step, 1);
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 20, 20), copy = CopyOf(picture);
    RunPointer run(vlm_run_new());
    EXPECT_FAILS(vlm_apply(StepsOf({"wave", "noise", "noise --amount x"}).get(), copy.get(), run.get()), VLM_BAD_VALUE,
                 "'x'");
    EXPECT_EQ(vlm_run_failed_step(run.get()), 2);
    EXPECT_EQ(PixelsOf(copy), PixelsOf(picture));
    EXPECT_FAILS(vlm_steps_check(StepsOf({"filters --kernel 'Gaussian 3 by 3' --load x"}).get(), nullptr), VLM_AT_ODDS,
                 "brings a kernel");
}

//---- Runs

TEST(Runs, StepsTogetherMakeWhatTheyMakeOneByOne)
{
    const std::vector<std::string> lines = {"wave --amplitude 20", "mirror", "noise --seed 5", "wave",
                                            "shear --angle 20"};
    for (const vlm_layout layout : {VLM_LAYOUT_RGBA, VLM_LAYOUT_GREY, VLM_LAYOUT_RGB}) {
        PicturePointer picture = Sample(layout, 37, 21);
        const PicturePointer together = Applied(picture, lines);
        for (const std::string &line : lines) picture = Applied(picture, {line});
        EXPECT_GT(vlm_picture_width(together.get()), 37);
        EXPECT_EQ(vlm_picture_width(together.get()), vlm_picture_width(picture.get()));
        EXPECT_EQ(PixelsOf(together), PixelsOf(picture));
    }
}

TEST(Runs, AnAreaBoundsTheWorkAndMayNotLieOutside)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_GREY, 32, 32);
    const std::vector<uint8_t> before = PixelsOf(picture),
                               after = PixelsOf(Applied(picture, {"solarize --area 8,8,8x8"}));
    EXPECT_NE(before, after);
    for (size_t y = 0; y < 32; ++y)
        for (size_t x = 0; x < 32; ++x) {
            const bool inside = x >= 8 && x < 16 && y >= 8 && y < 16;
            if (inside) continue;
            EXPECT_EQ(before[4 * (32 * y + x)], after[4 * (32 * y + x)]);
        }
    const PicturePointer copy = CopyOf(picture);
    EXPECT_FAILS(vlm_apply(StepsOf({"wave --area 40,0,3x3"}).get(), copy.get(), nullptr), VLM_UNFIT_PICTURE,
                 "the area lies outside its 32 x 32 pixels");
    EXPECT_EQ(PixelsOf(copy), before);
}

TEST(Runs, AnObjectIsWorkedOnAndPasted)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 32, 32), object = Sample(VLM_LAYOUT_RGB, 8, 8, 9);
    StepsPointer steps = StepsOf({"blocks"});
    ASSERT_EQ(vlm_steps_add_object(steps.get(), 0, object.get(), 4, 20), VLM_OK);
    const PicturePointer copy = CopyOf(picture);
    ASSERT_EQ(vlm_apply(steps.get(), copy.get(), nullptr), VLM_OK) << vlm_error_line();
    const std::vector<uint8_t> before = PixelsOf(picture), after = PixelsOf(copy);
    for (size_t y = 0; y < 32; ++y)
        for (size_t x = 0; x < 32; ++x) {
            const bool inside = x >= 4 && x < 12 && y >= 20 && y < 28;
            if (inside) continue;
            EXPECT_EQ(memcmp(&before[4 * (32 * y + x)], &after[4 * (32 * y + x)], 4), 0);
        }
    EXPECT_NE(before, after);
}

TEST(Runs, AnEffectRefusesTypesThatItDoesNotWorkOn)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_BITS, 20, 20);
    EXPECT_FAILS(vlm_apply(StepsOf({"noise"}).get(), picture.get(), nullptr), VLM_UNFIT_PICTURE,
                 "noise works on RGB and grey pictures; its command is greyed for this 1-bit one");
}

TEST(Runs, TheSameSeedMakesTheSamePictureAndIsTold)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 64, 64);
    RunPointer run(vlm_run_new());
    const StepsPointer steps = StepsOf({"wave", "noise", "melt --seed 3"});
    const PicturePointer once = CopyOf(picture), again = CopyOf(picture), other = CopyOf(picture);
    ASSERT_EQ(vlm_apply(steps.get(), once.get(), run.get()), VLM_OK) << vlm_error_line();
    uint32_t seed = 0, of = 0;
    EXPECT_EQ(vlm_run_seed(run.get(), 0, &seed), 0);
    ASSERT_NE(vlm_run_seed(run.get(), 1, &seed), 0);
    ASSERT_NE(vlm_run_seed(run.get(), 2, &of), 0);
    EXPECT_EQ(of, 3u);
    vlm_run_set_seed(run.get(), seed);
    ASSERT_EQ(vlm_apply(steps.get(), again.get(), run.get()), VLM_OK);
    EXPECT_EQ(PixelsOf(once), PixelsOf(again));
    vlm_run_clear_seed(run.get());
    ASSERT_EQ(vlm_apply(steps.get(), other.get(), run.get()), VLM_OK);
    EXPECT_NE(PixelsOf(once), PixelsOf(other));
}

struct Seen {
    std::vector<int> steps;
    std::vector<int> tenths;
    int stopAt = -1;   // tenths of the second step
    std::thread::id thread;
};

static int See(void *context, int step, int steps, int tenths)
{
    auto &seen = *static_cast<Seen *>(context);
    EXPECT_EQ(steps, 2);
    seen.steps.push_back(step);
    seen.tenths.push_back(tenths);
    seen.thread = std::this_thread::get_id();
    return step == 1 && seen.stopAt >= 0 && tenths >= seen.stopAt;
}

TEST(Runs, ProgressIsToldOnTheCallersThreadStepByStep)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 300, 300);
    RunPointer run(vlm_run_new());
    Seen seen;
    vlm_run_set_progress(run.get(), See, &seen);
    ASSERT_EQ(vlm_apply(StepsOf({"oil-painting", "median"}).get(), picture.get(), run.get()), VLM_OK);
    EXPECT_EQ(seen.thread, std::this_thread::get_id());
    ASSERT_FALSE(seen.steps.empty());
    EXPECT_TRUE(std::is_sorted(seen.steps.begin(), seen.steps.end()));
    EXPECT_EQ(seen.steps.back(), 1);
}

TEST(Runs, AnAnswerAbortsAndLeavesThePictureAsItWas)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 2000, 2000), copy = CopyOf(picture);
    RunPointer run(vlm_run_new());
    Seen seen;
    seen.stopAt = 1;
    vlm_run_set_progress(run.get(), See, &seen);
    EXPECT_EQ(vlm_apply(StepsOf({"wave", "oil-painting --brush-size 30"}).get(), copy.get(), run.get()), VLM_ABORTED);
    EXPECT_EQ(vlm_run_failed_step(run.get()), 1);
    EXPECT_EQ(PixelsOf(copy), PixelsOf(picture));
}

#ifndef _WIN32   // where an exception cannot pass from one library into another

static int FailAtOnce(void *, int, int, int) { throw std::bad_alloc(); }

// The run is over before the exception passes on: neither of the two threads has lost what it works with.
TEST(Runs, AProgressRoutineWithoutMemoryEndsTheCall)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 400, 300), copy = CopyOf(picture);
    RunPointer run(vlm_run_new());
    vlm_run_set_progress(run.get(), FailAtOnce, nullptr);
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(vlm_apply(StepsOf({"oil-painting", "wave"}).get(), copy.get(), run.get()), VLM_NO_MEMORY);
        EXPECT_EQ(PixelsOf(copy), PixelsOf(picture));
    }
    vlm_run_set_progress(run.get(), nullptr, nullptr);
    EXPECT_EQ(vlm_apply(StepsOf({"wave"}).get(), copy.get(), run.get()), VLM_OK);
}

#endif

static int StopInTheMiddle(void *, int, int, int tenths) { return tenths >= 1 && tenths <= 9; }

// Nothing is kept to bring back: what is left can be freed, and other calls go on.
TEST(Runs, OneThatRestoresNothingIsAbortedInEveryEffect)
{
    int aborted = 0;
    for (int i = 0; i < vlm_effect_count(); ++i) {
        const char *name = vlm_effect_at(i)->name;
        for (const vlm_layout layout : {VLM_LAYOUT_RGB, VLM_LAYOUT_INDEX, VLM_LAYOUT_RGBA}) {
            PicturePointer picture = Sample(layout, 400, 300);
            RunPointer run(vlm_run_new());
            vlm_run_set_restoring(run.get(), 0);
            vlm_run_set_progress(run.get(), StopInTheMiddle, nullptr);
            const vlm_code code = vlm_apply(StepsOf({name}).get(), picture.get(), run.get());
            const bool expected = code == VLM_OK || code == VLM_ABORTED || code == VLM_UNFIT_PICTURE;
            EXPECT_TRUE(expected) << name << ": " << vlm_error_line();
            aborted += code == VLM_ABORTED;
        }
    }
    EXPECT_GT(aborted, 0);
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 40, 30);
    EXPECT_EQ(vlm_apply(StepsOf({"wave"}).get(), picture.get(), nullptr), VLM_OK);
}

TEST(Runs, AnotherThreadAborts)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 1500, 1500), copy = CopyOf(picture);
    RunPointer run(vlm_run_new());
    vlm_code code = VLM_OK;
    std::thread worker([&] {
        code = vlm_apply(StepsOf({"melt", "oil-painting --brush-size 50"}).get(), copy.get(), run.get());
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    const auto asked = std::chrono::steady_clock::now();
    vlm_run_cancel(run.get());
    worker.join();
    EXPECT_EQ(code, VLM_ABORTED);
    EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::seconds(20));
    EXPECT_EQ(PixelsOf(copy), PixelsOf(picture));
    EXPECT_EQ(vlm_apply(StepsOf({"wave"}).get(), copy.get(), run.get()), VLM_ABORTED) << "until it is armed again";
    vlm_run_rearm(run.get());
    EXPECT_EQ(vlm_apply(StepsOf({"wave"}).get(), copy.get(), run.get()), VLM_OK);
}

//---- Files

TEST(Files, BytesAreEncodedAndDecodedWithoutAFile)
{
    for (const char *format : {"png", "bmp", "tiff", "pnm"}) {
        for (const vlm_layout layout : {VLM_LAYOUT_BITS, VLM_LAYOUT_GREY, VLM_LAYOUT_RGB}) {
            const PicturePointer picture = Sample(layout, 21, 9);
            vlm_writing writing = {};
            writing.size = sizeof writing;
            writing.format = format;
            void *bytes = nullptr;
            size_t count = 0;
            ASSERT_EQ(vlm_picture_encode(picture.get(), &writing, &bytes, &count), VLM_OK) << vlm_error_line();
            vlm_picture *decoded = nullptr;
            ASSERT_EQ(vlm_picture_decode(bytes, count, &decoded), VLM_OK) << vlm_error_line();
            vlm_free(bytes);
            const PicturePointer back(decoded);
            EXPECT_EQ(vlm_picture_type(decoded), vlm_picture_type(picture.get()));
            EXPECT_EQ(PixelsOf(back), PixelsOf(picture)) << format;
            EXPECT_STREQ(vlm_picture_format(decoded)->name, format);
        }
    }
}

TEST(Files, APageIsTakenOutWorkedOnAndPutBack)
{
    const PicturePointer whole = Sample(VLM_LAYOUT_RGB, 21, 9), second = Sample(VLM_LAYOUT_GREY, 8, 6);
    const uint64_t alone = vlm_picture_sum(whole.get());
    ASSERT_EQ(vlm_picture_add_page(whole.get(), second.get()), VLM_OK);
    const uint64_t before = vlm_picture_sum(whole.get());
    EXPECT_NE(before, alone);
    vlm_picture *page = nullptr;
    ASSERT_EQ(vlm_picture_page(whole.get(), 1, &page), VLM_OK);
    const PicturePointer owner(page);
    ASSERT_EQ(vlm_apply(StepsOf({"blocks"}).get(), page, nullptr), VLM_OK);
    EXPECT_EQ(vlm_picture_sum(whole.get()), before) << "a copy was taken";
    ASSERT_EQ(vlm_picture_set_page(whole.get(), 1, page), VLM_OK);
    EXPECT_NE(vlm_picture_sum(whole.get()), before);
    EXPECT_EQ(vlm_picture_pages(whole.get()), 2);
    ASSERT_EQ(vlm_picture_set_page(whole.get(), 1, second.get()), VLM_OK);
    EXPECT_EQ(vlm_picture_sum(whole.get()), before);
    EXPECT_FAILS(vlm_picture_set_page(whole.get(), 2, page), VLM_BAD_ARGUMENT, "picture, page or from");
    EXPECT_FAILS(vlm_picture_set_page(whole.get(), 0, nullptr), VLM_BAD_ARGUMENT, "picture, page or from");

    vlm_writing writing = {};
    writing.size = sizeof writing;
    writing.format = "tiff";
    void *bytes = nullptr;
    size_t count = 0;
    ASSERT_EQ(vlm_picture_encode(whole.get(), &writing, &bytes, &count), VLM_OK);
    vlm_reading reading = {};
    reading.size = sizeof reading;
    reading.page = 2;
    vlm_picture *one = nullptr;
    ASSERT_EQ(vlm_picture_decode_with(bytes, count, &reading, &one), VLM_OK);
    vlm_free(bytes);
    const PicturePointer read(one);
    EXPECT_EQ(vlm_picture_pages(one), 1);
    EXPECT_EQ(vlm_picture_file_pages(one), 2);
    EXPECT_EQ(vlm_picture_file_pages(whole.get()), 1);
    EXPECT_EQ(vlm_picture_file_pages(nullptr), 0);
    EXPECT_EQ(vlm_picture_is_lossy(one), 0);
    EXPECT_EQ(vlm_picture_sum(nullptr), 0u);
}

TEST(Files, FaultsNameTheFile)
{
    vlm_picture *picture = nullptr;
    EXPECT_FAILS(vlm_picture_read("no/such.png", &picture), VLM_CANNOT_READ, "no/such.png: ");
    EXPECT_FAILS(vlm_picture_decode("junk", 4, &picture), VLM_BAD_FILE, "not a picture file that is known here");
    EXPECT_FAILS(vlm_picture_write(Sample(VLM_LAYOUT_RGB, 3, 3).get(), "no/such/folder.png", nullptr), VLM_CANNOT_WRITE,
                 "no/such/folder.png: ");
    EXPECT_EQ(vlm_format_of_file("a.xyz"), nullptr);
    EXPECT_STREQ(vlm_format_of_file("a/b.TIF")->name, "tiff");
    EXPECT_STREQ(vlm_format_named("jpg")->name, "jpeg");
}

//---- Coming and going

TEST(Library, StartsAgainAfterTheLastRelease)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 16, 16);
    for (int i = 0; i < 3; ++i) {
        vlm_retain();
        EXPECT_EQ(vlm_apply(StepsOf({"wave"}).get(), picture.get(), nullptr), VLM_OK) << vlm_error_line();
        vlm_release();
    }
    vlm_release();
    EXPECT_EQ(vlm_apply(StepsOf({"wave"}).get(), picture.get(), nullptr), VLM_OK) << vlm_error_line();
}
