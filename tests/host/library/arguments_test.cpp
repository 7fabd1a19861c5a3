// Every function with every argument null or senseless: an error line or nothing, never an end.

#include "tests/host/library/pictures.h"

#include <climits>

#define REFUSES(call) EXPECT_FAILS(call, VLM_BAD_ARGUMENT, "")

static const char *const nothing = nullptr;

TEST(Arguments, ListsAnswerNothingToSenselessQuestions)
{
    for (const int index : {-1, INT_MIN, INT_MAX, 1000}) {
        EXPECT_EQ(vlm_effect_at(index), nullptr);
        EXPECT_EQ(vlm_kernel_at(index), nullptr);
        EXPECT_EQ(vlm_format_at(index), nullptr);
        EXPECT_EQ(vlm_notice(index), nullptr);
        EXPECT_EQ(vlm_effect_setting(vlm_effect_at(0), index), nullptr);
        EXPECT_EQ(vlm_setting_choice(vlm_effect_setting_named(vlm_effect_named("wave"), "scope"), index), nullptr);
        EXPECT_EQ(vlm_type_name(vlm_type(index)), nullptr);
    }
    vlm_effect foreign = {};
    vlm_setting stranger = {};
    for (const vlm_effect *effect :
         {static_cast<const vlm_effect *>(nullptr), const_cast<const vlm_effect *>(&foreign)}) {
        EXPECT_EQ(vlm_effect_setting(effect, 0), nullptr);
        EXPECT_EQ(vlm_effect_setting_named(effect, "amplitude"), nullptr);
    }
    EXPECT_EQ(vlm_setting_choice(nullptr, 0), nullptr);
    EXPECT_EQ(vlm_setting_choice(&stranger, 0), nullptr);
    EXPECT_EQ(vlm_effect_named(nothing), nullptr);
    EXPECT_EQ(vlm_effect_named(""), nullptr);
    EXPECT_EQ(vlm_effect_setting_named(vlm_effect_at(0), nothing), nullptr);
    EXPECT_EQ(vlm_kernel_named(nothing), nullptr);
    EXPECT_EQ(vlm_format_named(nothing), nullptr);
    EXPECT_EQ(vlm_format_of_file(nothing), nullptr);
    EXPECT_EQ(vlm_effects_json("no such"), nullptr);
    EXPECT_EQ(vlm_kernels_json("no such"), nullptr);
    vlm_free(nullptr);
}

TEST(Arguments, PlanesMustMakeSense)
{
    std::vector<uint8_t> pixels(4096);
    vlm_picture *picture = nullptr;
    const vlm_planes good = PlanesOf(VLM_LAYOUT_RGB, 8, 8, pixels.data());
    REFUSES(vlm_picture_from_planes(nullptr, &picture));
    REFUSES(vlm_picture_from_planes(&good, nullptr));
    const PicturePointer whole = Sample(VLM_LAYOUT_RGB, 8, 8);
    REFUSES(vlm_picture_to_planes(nullptr, &good));
    REFUSES(vlm_picture_to_planes(whole.get(), nullptr));

    std::vector<vlm_planes> bad(18, good);
    size_t count = 0;
    bad[count++].size = 0;
    bad[count++].size = 8;
    bad[count++].width = 0;
    bad[count++].width = -5;
    bad[count++].height = 0;
    bad[count++].width = INT_MAX;
    bad[count++].layout = vlm_layout(-1);
    bad[count++].layout = vlm_layout(99);
    bad[count++].pixels = nullptr;
    bad[count++].stride = 23;
    bad[count++].stride = -23;
    bad[count++].height = 1'000'000;
    bad[count - 1].width = 1'000'000;
    bad[count].mask = pixels.data();
    bad[count++].mask_bits = 0;
    bad[count].mask = pixels.data();
    bad[count++].mask_bits = 4;
    bad[count].mask = pixels.data();
    bad[count].mask_bits = 8;
    bad[count++].mask_stride = 3;
    bad[count++].flags = 4;
    bad[count++].flags = UINT_MAX;
    for (size_t i = 0; i < count; ++i) {
        REFUSES(vlm_picture_from_planes(&bad[i], &picture));
        EXPECT_EQ(picture, nullptr);
        REFUSES(vlm_picture_to_planes(whole.get(), &bad[i]));
    }
    vlm_planes other = good;
    other.width = 7;
    REFUSES(vlm_picture_to_planes(whole.get(), &other));
    other = PlanesOf(VLM_LAYOUT_GREY, 8, 8, pixels.data());
    REFUSES(vlm_picture_to_planes(whole.get(), &other));
    other = PlanesOf(VLM_LAYOUT_INDEX, 8, 8, pixels.data());
    REFUSES(vlm_picture_from_planes(&other, &picture));
    REFUSES(vlm_picture_view(nullptr, &other));
    REFUSES(vlm_picture_view(whole.get(), nullptr));
}

TEST(Arguments, PicturesMustBeThere)
{
    vlm_picture *made = nullptr;
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 8, 8);
    double resolution = 1;
    size_t bytes = 1;
    void *encoded = nullptr;
    uint8_t palette[3] = {};
    REFUSES(vlm_picture_new(vlm_type(-1), 4, 4, &made));
    REFUSES(vlm_picture_new(vlm_type(4), 4, 4, &made));
    REFUSES(vlm_picture_new(VLM_RGB, 0, 4, &made));
    REFUSES(vlm_picture_new(VLM_RGB, 4, -1, &made));
    REFUSES(vlm_picture_new(VLM_RGB, INT_MAX, INT_MAX, &made));
    REFUSES(vlm_picture_new(VLM_RGB, 4, 4, nullptr));
    REFUSES(vlm_picture_copy(nullptr, &made));
    REFUSES(vlm_picture_copy(picture.get(), nullptr));
    vlm_picture_free(nullptr);
    EXPECT_EQ(vlm_picture_width(nullptr), 0);
    EXPECT_EQ(vlm_picture_height(nullptr), 0);
    EXPECT_EQ(vlm_picture_mask_bits(nullptr), 0);
    EXPECT_EQ(vlm_picture_palette_entries(nullptr), 0);
    EXPECT_EQ(vlm_picture_palette(nullptr), nullptr);
    EXPECT_EQ(vlm_picture_format(nullptr), nullptr);
    vlm_picture_type(nullptr);
    REFUSES(vlm_picture_set_palette(nullptr, palette, 1));
    REFUSES(vlm_picture_set_palette(picture.get(), nullptr, 1));
    REFUSES(vlm_picture_set_palette(picture.get(), palette, 0));
    REFUSES(vlm_picture_set_palette(picture.get(), palette, 257));
    EXPECT_FAILS(vlm_picture_set_palette(picture.get(), palette, 1), VLM_UNFIT_PICTURE, "palette");
    REFUSES(vlm_picture_set_mask(nullptr, picture.get()));
    EXPECT_EQ(vlm_picture_set_mask(picture.get(), nullptr), VLM_OK);
    EXPECT_FAILS(vlm_picture_set_mask(picture.get(), Sample(VLM_LAYOUT_GREY, 7, 8).get()), VLM_BAD_VALUE, "7 x 8");
    REFUSES(vlm_picture_get_mask(nullptr, &made));
    REFUSES(vlm_picture_get_mask(picture.get(), nullptr));
    EXPECT_FAILS(vlm_picture_get_mask(picture.get(), &made), VLM_UNFIT_PICTURE, "no mask");
    EXPECT_EQ(vlm_picture_metadata(nullptr, VLM_EXIF, &bytes), nullptr);
    EXPECT_EQ(bytes, 0u);
    EXPECT_EQ(vlm_picture_metadata(picture.get(), vlm_metadata(9), &bytes), nullptr);
    EXPECT_EQ(vlm_picture_metadata(picture.get(), VLM_EXIF, nullptr), nullptr);
    REFUSES(vlm_picture_set_metadata(nullptr, VLM_EXIF, palette, 3));
    REFUSES(vlm_picture_set_metadata(picture.get(), vlm_metadata(-1), palette, 3));
    REFUSES(vlm_picture_set_metadata(picture.get(), VLM_EXIF, nullptr, 3));
    vlm_picture_resolution(nullptr, &resolution, nullptr);
    EXPECT_EQ(resolution, 0);
    REFUSES(vlm_picture_set_resolution(nullptr, 1, 1));
    REFUSES(vlm_picture_set_resolution(picture.get(), -1, 1));
    REFUSES(vlm_picture_set_resolution(picture.get(), 1, 0.0 / 0.0));
    REFUSES(vlm_picture_take_metadata(nullptr, picture.get()));
    REFUSES(vlm_picture_take_metadata(picture.get(), nullptr));
    REFUSES(vlm_picture_read(nothing, &made));
    REFUSES(vlm_picture_read("x.png", nullptr));
    REFUSES(vlm_picture_decode(nullptr, 4, &made));
    REFUSES(vlm_picture_decode("junk", 4, nullptr));
    vlm_reading small = {};
    small.size = sizeof small.size;
    REFUSES(vlm_picture_read_with("x.png", &small, &made));
    REFUSES(vlm_picture_read_with(nothing, nullptr, &made));
    REFUSES(vlm_picture_decode_with("junk", 4, &small, &made));
    EXPECT_FAILS(vlm_picture_decode("", 0, &made), VLM_BAD_FILE, "empty");
    REFUSES(vlm_picture_write(nullptr, "x.png", nullptr));
    REFUSES(vlm_picture_write(picture.get(), nothing, nullptr));
    REFUSES(vlm_picture_encode(nullptr, nullptr, &encoded, &bytes));
    REFUSES(vlm_picture_encode(picture.get(), nullptr, nullptr, &bytes));
    REFUSES(vlm_picture_encode(picture.get(), nullptr, &encoded, nullptr));
    vlm_writing writing = {};
    REFUSES(vlm_picture_encode(picture.get(), &writing, &encoded, &bytes));
    writing.size = sizeof writing;
    writing.quality = 101;
    REFUSES(vlm_picture_encode(picture.get(), &writing, &encoded, &bytes));
    writing.quality = 0;
    writing.compression = 10;
    REFUSES(vlm_picture_encode(picture.get(), &writing, &encoded, &bytes));
    writing.compression = 0;
    writing.format = "no such";
    EXPECT_FAILS(vlm_picture_encode(picture.get(), &writing, &encoded, &bytes), VLM_NO_SUCH_FORMAT, "no such");
}

TEST(Arguments, StepsMustBeThere)
{
    const StepsPointer steps(vlm_steps_new());
    vlm_steps *made = nullptr;
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 8, 8);
    const char *const words[] = {"wave", nullptr};
    REFUSES(vlm_steps_copy(nullptr, &made));
    REFUSES(vlm_steps_copy(steps.get(), nullptr));
    vlm_steps_free(nullptr);
    vlm_steps_clear(nullptr);
    EXPECT_EQ(vlm_steps_count(nullptr), 0);
    REFUSES(vlm_steps_add(nullptr, "wave"));
    REFUSES(vlm_steps_add(steps.get(), nothing));
    EXPECT_FAILS(vlm_steps_add(steps.get(), ""), VLM_NO_SUCH_EFFECT, "''");
    REFUSES(vlm_steps_add_line(nullptr, "wave"));
    REFUSES(vlm_steps_add_line(steps.get(), nothing));
    REFUSES(vlm_steps_add_words(nullptr, 1, words));
    REFUSES(vlm_steps_add_words(steps.get(), 1, nullptr));
    REFUSES(vlm_steps_add_words(steps.get(), -1, words));
    REFUSES(vlm_steps_add_words(steps.get(), 2, words));
    EXPECT_EQ(vlm_steps_count(steps.get()), 0);
    ASSERT_EQ(vlm_steps_add(steps.get(), "wave"), VLM_OK);
    for (const int step : {-1, 1, INT_MAX, INT_MIN}) {
        REFUSES(vlm_steps_set(steps.get(), step, "phase", "3"));
        REFUSES(vlm_steps_set_number(steps.get(), step, "phase", 3));
        REFUSES(vlm_steps_set_seed(steps.get(), step, 3));
        REFUSES(vlm_steps_set_area(steps.get(), step, 0, 0, 1, 1));
        REFUSES(vlm_steps_add_object(steps.get(), step, picture.get(), 0, 0));
        EXPECT_EQ(vlm_steps_effect(steps.get(), step), nullptr);
        EXPECT_EQ(vlm_steps_value(steps.get(), step, "phase"), nullptr);
        EXPECT_EQ(vlm_steps_seed(steps.get(), step, nullptr), 0);
        EXPECT_EQ(vlm_steps_line(steps.get(), step, 0), nullptr);
    }
    REFUSES(vlm_steps_set(nullptr, 0, "phase", "3"));
    REFUSES(vlm_steps_set(steps.get(), 0, nothing, "3"));
    EXPECT_FAILS(vlm_steps_set(steps.get(), 0, "", "3"), VLM_NO_SUCH_SETTING, "--");
    REFUSES(vlm_steps_set_number(steps.get(), 0, nothing, 3));
    EXPECT_FAILS(vlm_steps_set_area(steps.get(), 0, 0, 0, -1, 4), VLM_BAD_VALUE, "--area");
    EXPECT_FAILS(vlm_steps_set_area(steps.get(), 0, INT_MIN, 0, 4, 4), VLM_BAD_VALUE, "--area");
    REFUSES(vlm_steps_add_object(steps.get(), 0, nullptr, 0, 0));
    REFUSES(vlm_steps_add_object(steps.get(), 0, picture.get(), INT_MAX, 0));
    EXPECT_EQ(vlm_steps_effect(nullptr, 0), nullptr);
    EXPECT_EQ(vlm_steps_value(nullptr, 0, "phase"), nullptr);
    EXPECT_EQ(vlm_steps_value(steps.get(), 0, nothing), nullptr);
    EXPECT_EQ(vlm_steps_line(nullptr, 0, 0), nullptr);
    REFUSES(vlm_steps_check(nullptr, nullptr));
}

TEST(Arguments, RunsMayBeMissingAndPicturesAndStepsNot)
{
    const StepsPointer steps(vlm_steps_new());
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 8, 8);
    REFUSES(vlm_apply(nullptr, picture.get(), nullptr));
    REFUSES(vlm_apply(steps.get(), nullptr, nullptr));
    EXPECT_EQ(vlm_apply(steps.get(), picture.get(), nullptr), VLM_OK) << "no steps change nothing";
    vlm_run_free(nullptr);
    vlm_run_set_progress(nullptr, nullptr, nullptr);
    vlm_run_set_seed(nullptr, 1);
    vlm_run_clear_seed(nullptr);
    vlm_run_set_threads(nullptr, 1);
    vlm_run_set_restoring(nullptr, 1);
    vlm_run_cancel(nullptr);
    vlm_run_rearm(nullptr);
    EXPECT_EQ(vlm_run_failed_step(nullptr), -1);
    EXPECT_EQ(vlm_run_seed(nullptr, 0, nullptr), 0);
    const RunPointer run(vlm_run_new());
    vlm_run_set_threads(run.get(), -5);
    for (const int step : {-1, 0, INT_MAX}) EXPECT_EQ(vlm_run_seed(run.get(), step, nullptr), 0);
}
