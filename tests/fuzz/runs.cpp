// Every effect as the library runs it: settings within and beyond their ranges, pictures of every type with and without
// mask, areas, aborts. A run ends well or with a line, and what fails or is aborted leaves the picture as it was.

#include "host/library/velmorant.h"
#include "tests/fuzz/given.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

static void WantLine(vlm_code code)
{
    if (code != VLM_OK && (!*vlm_error_line() || strchr(vlm_error_line(), '\n'))) abort();
}

static vlm_picture *Make(Given &given)
{
    static constexpr vlm_type TYPES[] = {VLM_ONE_BIT, VLM_GREY, VLM_PALETTE, VLM_RGB};
    const vlm_type type = TYPES[given.Next() & 3];
    const int width = 1 + given.Next() % 64, height = 1 + given.Next() % 64, mask = given.Next() % 3;
    vlm_picture *picture = nullptr, *plane = nullptr;
    if (vlm_picture_new(type, width, height, &picture) != VLM_OK) abort();
    if (mask && vlm_picture_new(mask == 1 ? VLM_GREY : VLM_ONE_BIT, width, height, &plane) != VLM_OK) abort();
    if (plane && vlm_picture_set_mask(picture, plane) != VLM_OK) abort();
    vlm_picture_free(plane);
    return picture;
}

static std::string ValueOf(const vlm_setting &setting, Given &given)
{
    if (setting.choice_count > 0) {
        const vlm_choice *choice = vlm_setting_choice(&setting, given.Next() % setting.choice_count);
        if (choice) return choice->word;
    }
    if (given.Next() % 8 == 0) return std::to_string(int8_t(given.Next()) * 1000);
    const int64_t range = int64_t(setting.high) - setting.low + 1;
    return std::to_string(setting.low + (given.Next() << 8 | given.Next()) % (range > 0 ? range : 1));
}

static void Set(vlm_steps *steps, const vlm_effect &effect, Given &given)
{
    for (int i = 0; i < effect.setting_count; ++i) {
        const vlm_setting &setting = *vlm_effect_setting(&effect, i);
        if (setting.kind == VLM_FILE || given.Next() & 1) continue;
        const std::string value = ValueOf(setting, given);
        WantLine(vlm_steps_set(steps, vlm_steps_count(steps) - 1, setting.name, value.c_str()));
    }
    if (given.Next() % 4 == 0) {
        const int left = given.Next() % 64, top = given.Next() % 64, width = given.Next() % 64;
        WantLine(vlm_steps_set_area(steps, vlm_steps_count(steps) - 1, left, top, width, given.Next() % 64));
    }
}

static std::vector<uint8_t> BytesOf(const vlm_picture *picture)
{
    void *bytes = nullptr;
    size_t count = 0;
    vlm_writing writing = {};
    writing.size = sizeof writing;
    writing.format = "pnm";
    if (vlm_picture_type(picture) == VLM_PALETTE || vlm_picture_mask_bits(picture)) writing.format = "bmp";
    if (vlm_picture_encode(picture, &writing, &bytes, &count) != VLM_OK) return {};
    std::vector<uint8_t> copy(static_cast<uint8_t *>(bytes), static_cast<uint8_t *>(bytes) + count);
    vlm_free(bytes);
    return copy;
}

static int Ends(void *, int, int, int) { return 1; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Given given = {data, size};
    vlm_picture *picture = Make(given);
    vlm_steps *steps = vlm_steps_new();
    vlm_run *run = vlm_run_new();
    for (int step = given.Next() % 3; step >= 0; --step) {
        const vlm_effect &effect = *vlm_effect_at(given.Next() % vlm_effect_count());
        if (vlm_steps_add(steps, effect.name) != VLM_OK) abort();
        Set(steps, effect, given);
    }
    vlm_run_set_seed(run, uint32_t(given.Next()));
    vlm_run_set_threads(run, 1 + given.Next() % 3);
    if (given.Next() % 8 == 0) vlm_run_set_progress(run, Ends, nullptr);
    const std::vector<uint8_t> before = BytesOf(picture);
    const vlm_code code = vlm_apply(steps, picture, run);
    WantLine(code);
    if (code != VLM_OK && BytesOf(picture) != before) abort();
    vlm_run_free(run);
    vlm_steps_free(steps);
    vlm_picture_free(picture);
    return 0;
}
