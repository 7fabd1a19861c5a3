// Every function with every argument null or senseless: an error line or nothing, never an end.

#include "tests/host/library/pictures.h"

#include <climits>
#include <unistd.h>

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
    vlm_found found[2] = {};
    EXPECT_EQ(vlm_effects_find(nothing, found, 2), 0);
    EXPECT_EQ(vlm_effects_find("", found, 2), 0);
    EXPECT_EQ(vlm_effects_find("blur", nullptr, 2), 0);
    for (const int room : {-1, INT_MIN}) EXPECT_EQ(vlm_effects_find("blur", found, room), 0);
    EXPECT_EQ(found[0].effect, nullptr);
    EXPECT_GT(vlm_effects_find("blur", nullptr, 0), 0);
    for (const int count : {vlm_effect_count(), vlm_kernel_count(), vlm_format_count()}) EXPECT_GT(count, 0);
}

TEST(Arguments, WhatTheLibraryIsNeedsNone)
{
    EXPECT_EQ(vlm_version(), VLM_VERSION);
    for (const char *text : {vlm_version_text(), vlm_build_text(), vlm_kernel_folder(), vlm_preset_folder()})
        EXPECT_STRNE(text, "");
    for (int i = 0; i < 3; ++i) vlm_release();   // of which there are too many
    vlm_retain();
    vlm_release();
    EXPECT_EQ(vlm_start(), VLM_OK);
    EXPECT_GE(vlm_notice_count(), 0);
    EXPECT_EQ(vlm_notice(vlm_notice_count()), nullptr);
}

#if GTEST_HAS_DEATH_TEST && !defined(_WIN32)
TEST(ArgumentsDeathTest, UnfinishedFilesMayBeDroppedWhereThereAreNone)
{
    EXPECT_EXIT((vlm_drop_unfinished_files(), _exit(3)), testing::ExitedWithCode(3), "");
}
#endif

TEST(Arguments, LinesStayLinesWhateverIsInTheName)
{
    EXPECT_EQ(vlm_effect_named("wa\nve\t\x7f"), nullptr);
    EXPECT_EQ(vlm_error_code(), VLM_NO_SUCH_EFFECT);
    const std::string line = vlm_error_line();
    EXPECT_EQ(line.find_first_of("\n\t\x7f"), std::string::npos) << line;
    EXPECT_EQ(vlm_effect_named(std::string(100'000, 'w').c_str()), nullptr);
    EXPECT_STRNE(vlm_error_line(), line.c_str());
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
    EXPECT_EQ(vlm_picture_pages(nullptr), 0);
    EXPECT_EQ(vlm_picture_file_pages(nullptr), 0);
    EXPECT_EQ(vlm_picture_file_bits(nullptr), 0);
    EXPECT_EQ(vlm_picture_is_lossy(nullptr), 0);
    EXPECT_EQ(vlm_picture_sum(nullptr), 0u);
    EXPECT_EQ(vlm_picture_type(nullptr), 0);
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
    EXPECT_FAILS(vlm_picture_set_metadata(picture.get(), VLM_EXIF, palette, SIZE_MAX), VLM_NO_MEMORY, "memory");
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
    for (const int progressive : {-2, 2, INT_MIN, INT_MAX}) {
        writing.progressive = progressive;
        REFUSES(vlm_picture_check_writing(picture.get(), "x.jpg", &writing));
    }
    writing.progressive = 0;
    writing.format = "no such";
    EXPECT_FAILS(vlm_picture_encode(picture.get(), &writing, &encoded, &bytes), VLM_NO_SUCH_FORMAT, "no such");
    EXPECT_FAILS(vlm_picture_check_writing(picture.get(), "x", &writing), VLM_NO_SUCH_FORMAT, "no such");
    REFUSES(vlm_picture_check_writing(nullptr, "x.png", nullptr));
    REFUSES(vlm_picture_check_writing(picture.get(), nothing, nullptr));
}

TEST(Arguments, PagesAndSheetsMustMakeSense)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 8, 8), wide = Sample(VLM_LAYOUT_GREY, 9, 8);
    vlm_picture *made = nullptr;
    REFUSES(vlm_picture_add_page(nullptr, picture.get()));
    REFUSES(vlm_picture_add_page(picture.get(), nullptr));
    REFUSES(vlm_picture_page(nullptr, 0, &made));
    REFUSES(vlm_picture_page(picture.get(), 0, nullptr));
    REFUSES(vlm_picture_set_page(nullptr, 0, picture.get()));
    REFUSES(vlm_picture_set_page(picture.get(), 0, nullptr));
    for (const int page : {-1, 1, INT_MAX, INT_MIN}) {
        REFUSES(vlm_picture_page(picture.get(), page, &made));
        REFUSES(vlm_picture_set_page(picture.get(), page, wide.get()));
    }
    REFUSES(vlm_picture_set_animation(nullptr, 0, 0));
    for (const int number : {-1, INT_MIN, INT_MAX}) {
        REFUSES(vlm_picture_set_animation(picture.get(), number, 0));
        REFUSES(vlm_picture_set_animation(picture.get(), 0, number));
    }
    REFUSES(vlm_picture_scale(nullptr, 4, 4, &made));
    REFUSES(vlm_picture_scale(picture.get(), 4, 4, nullptr));
    for (const int edge : {0, -1, 32768, INT_MAX, INT_MIN}) {
        REFUSES(vlm_picture_scale(picture.get(), edge, 4, &made));
        REFUSES(vlm_picture_scale(picture.get(), 4, edge, &made));
    }
    const vlm_tile tile = {picture.get(), nullptr}, empty = {nullptr, "nothing"};
    REFUSES(vlm_sheet_make(nullptr, 1, 0, 0, &made));
    REFUSES(vlm_sheet_make(&empty, 1, 0, 0, &made));
    REFUSES(vlm_sheet_make(&tile, 1, 0, 0, nullptr));
    for (const int count : {0, -1, INT_MIN}) REFUSES(vlm_sheet_make(&tile, count, 0, 0, &made));
    for (const int columns : {-1, 101}) REFUSES(vlm_sheet_make(&tile, 1, columns, 0, &made));
    for (const int width : {-1, 199, 10'001, INT_MAX}) REFUSES(vlm_sheet_make(&tile, 1, 0, width, &made));
    EXPECT_EQ(made, nullptr);
}

TEST(Arguments, AMaskThatDoesNotFitAllPagesLeavesAllOfThemAlone)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 8, 8);
    ASSERT_EQ(vlm_picture_add_page(picture.get(), Sample(VLM_LAYOUT_RGB, 9, 8).get()), VLM_OK);
    EXPECT_FAILS(vlm_picture_set_mask(picture.get(), Sample(VLM_LAYOUT_GREY, 8, 8).get()), VLM_BAD_VALUE, "9 x 8");
    EXPECT_EQ(vlm_picture_mask_bits(picture.get()), 0);
}

TEST(Arguments, KernelsRecipesAndPresetsMustBeThere)
{
    const StepsPointer steps(vlm_steps_new());
    vlm_steps *made = nullptr;
    REFUSES(vlm_kernel_import(nothing, "x", 0));
    EXPECT_FAILS(vlm_kernel_import("1 2 1", "../x", 0), VLM_BAD_VALUE, "../x");
    EXPECT_FAILS(vlm_kernel_import("", "x", 0), VLM_BAD_TEXT, "no numbers");
    REFUSES(vlm_kernel_delete(nothing));
    EXPECT_FAILS(vlm_kernel_delete("../x"), VLM_BAD_VALUE, "../x");
    EXPECT_EQ(vlm_kernel_export(nothing, nothing), nullptr);
    EXPECT_EQ(vlm_error_code(), VLM_BAD_ARGUMENT);
    EXPECT_EQ(vlm_kernel_export("no such", "grid"), nullptr);
    EXPECT_EQ(vlm_kernel_export(vlm_kernel_at(0)->name, "no such"), nullptr);

    REFUSES(vlm_recipe_read(nothing, &made));
    REFUSES(vlm_recipe_read("x", nullptr));
    EXPECT_FAILS(vlm_recipe_read("", &made), VLM_CANNOT_READ, "''");
    REFUSES(vlm_recipe_parse(nothing, nothing, &made));
    REFUSES(vlm_recipe_parse("velmorant recipe 1", nothing, nullptr));
    EXPECT_FAILS(vlm_recipe_parse("", nothing, &made), VLM_BAD_TEXT, "line 1");
    EXPECT_EQ(vlm_recipe_text(nullptr), nullptr);
    EXPECT_EQ(vlm_error_code(), VLM_BAD_ARGUMENT);
    REFUSES(vlm_recipe_write(nullptr, "x"));
    REFUSES(vlm_recipe_write(steps.get(), nothing));
    EXPECT_FAILS(vlm_recipe_write(steps.get(), ""), VLM_CANNOT_WRITE, "''");

    vlm_presets *presets = nullptr;
    REFUSES(vlm_presets_read(nullptr));
    ASSERT_EQ(vlm_presets_read(&presets), VLM_OK);
    EXPECT_GT(vlm_presets_count(presets), 0);
    EXPECT_EQ(vlm_presets_count(nullptr), 0);
    for (const int index : {-1, INT_MIN, INT_MAX}) EXPECT_EQ(vlm_presets_at(presets, index), nullptr);
    EXPECT_EQ(vlm_presets_at(nullptr, 0), nullptr);
    EXPECT_EQ(vlm_presets_named(nullptr, "film-grain"), nullptr);
    EXPECT_EQ(vlm_presets_named(presets, nothing), nullptr);
    EXPECT_EQ(vlm_error_code(), VLM_BAD_ARGUMENT);
    EXPECT_EQ(vlm_presets_named(presets, ""), nullptr);
    EXPECT_EQ(vlm_error_code(), VLM_NO_SUCH_PRESET);
    vlm_presets_free(presets);
    vlm_presets_free(nullptr);

    REFUSES(vlm_preset_steps(nothing, &made));
    REFUSES(vlm_preset_steps("film-grain", nullptr));
    REFUSES(vlm_preset_save(nothing, steps.get(), nothing, 0));
    REFUSES(vlm_preset_save("x", nullptr, nothing, 0));
    EXPECT_FAILS(vlm_preset_save("x", steps.get(), nothing, 0), VLM_BAD_VALUE, "has 0");
    REFUSES(vlm_preset_export(nothing, "x"));
    REFUSES(vlm_preset_export("film-grain", nothing));
    REFUSES(vlm_preset_import(nothing, "x", nothing, 0));
    REFUSES(vlm_preset_import("x", nothing, nothing, 0));
    EXPECT_FAILS(vlm_preset_import("", "x", nothing, 0), VLM_CANNOT_READ, "''");
    REFUSES(vlm_preset_rename(nothing, "x"));
    REFUSES(vlm_preset_rename("film-grain", nothing));
    REFUSES(vlm_preset_delete(nothing));
    EXPECT_FAILS(vlm_preset_delete(""), VLM_NO_SUCH_PRESET, "''");
    EXPECT_EQ(made, nullptr);
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
        REFUSES(vlm_steps_scale_defaults(steps.get(), step));
        EXPECT_EQ(vlm_steps_area(steps.get(), step, nullptr, nullptr, nullptr, nullptr), 0);
        EXPECT_EQ(vlm_steps_reach(steps.get(), step, 8, 8), -1);
        EXPECT_EQ(vlm_steps_reach(steps.get(), 0, step == 1 ? 0 : step, 0), -1);
    }
    REFUSES(vlm_steps_scale_defaults(nullptr, 0));
    EXPECT_EQ(vlm_steps_area(nullptr, 0, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(vlm_steps_reach(nullptr, 0, 8, 8), -1);
    REFUSES(vlm_steps_append(nullptr, steps.get()));
    REFUSES(vlm_steps_append(steps.get(), nullptr));
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
