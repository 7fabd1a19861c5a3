// Any text as a recipe, and as a step's line: it is taken, or refused in one line. What is taken is written,
// and reads again.

#include "host/library/velmorant.h"

#include <cstdlib>
#include <cstring>
#include <string>

static void WantLine(vlm_code code)
{
    if (code == VLM_OK) return;
    if (vlm_error_code() != code || !*vlm_error_line() || strchr(vlm_error_line(), '\n')) abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);
    vlm_steps *steps = nullptr;
    WantLine(vlm_recipe_parse(text.c_str(), "recipe", &steps));
    if (steps) {
        char *written = vlm_recipe_text(steps);
        vlm_steps *again = nullptr;
        if (!written || vlm_recipe_parse(written, "recipe", &again) != VLM_OK) abort();
        vlm_steps_free(again);
        vlm_free(written);
    }
    vlm_steps_free(steps);
    vlm_steps *line = vlm_steps_new();
    WantLine(vlm_steps_add_line(line, text.c_str()));
    WantLine(vlm_steps_check(line, nullptr));
    vlm_steps_free(line);
    return 0;
}
