// Steps through the door: made, read from words, told again.

#include "host/library/steps.h"

#include "host/acting/known_words.h"
#include "host/acting/suggestion.h"
#include "host/library/edges.h"
#include "host/library/fringe.h"
#include "host/library/picture_handle.h"
#include "host/library/settings.h"

#include <algorithm>
#include <cctype>
#include <stdlib.h>
#include <string.h>

// Far beyond any picture's edge.
static constexpr int64_t FARTHEST_PIXEL = 10'000'000;

//---- Steps

const GivenSetting *FindSetting(const Step &step, const std::string &name)
{
    for (const GivenSetting &given : step.settings)
        if (given.name == name) return &given;
    return nullptr;
}

std::string FaultOfArea(const Step &step, int32_t width, int32_t height)
{
    if (!step.area) return "";
    const GivenArea &area = *step.area;
    const bool besideX = area.left >= width || area.left + area.width <= 0;
    const bool besideY = area.top >= height || area.top + area.height <= 0;
    if (!besideX && !besideY) return "";
    return "the area lies outside its " + std::to_string(width) + " x " + std::to_string(height) + " pixels";
}

static vlm_code NoSuchStep() { return Fail(VLM_BAD_ARGUMENT, "there is no step of that number"); }

// Null, with the error noted, when there is none.
static Step *StepToChange(vlm_steps *steps, int step)
{
    if (steps && step >= 0 && size_t(step) < steps->steps.size()) return &steps->steps[size_t(step)];
    NoSuchStep();
    return nullptr;
}

static const Step *StepAt(const vlm_steps *steps, int step)
{
    return steps && step >= 0 && size_t(step) < steps->steps.size() ? &steps->steps[size_t(step)] : nullptr;
}

static std::vector<std::string> TableNames()
{
    std::vector<std::string> names;
    for (int32_t i = 0; i < DialogTemplateCount(); ++i)
        if (DialogTemplateAt(i)->effect) names.push_back(DialogTemplateAt(i)->effect);
    return names;
}

static vlm_code FindEffect(const std::string &name, const DialogTemplate *&effect)
{
    effect = FindEffectTemplate(name.c_str());
    if (effect) return VLM_OK;
    const std::string known = KnownWordHint(name);
    return Fail(VLM_NO_SUCH_EFFECT, name, "no such effect" + (known.empty() ? Suggestion(name, TableNames()) : known));
}

//---- Settings

static vlm_code NoSuchSetting(const DialogTemplate &effect, const std::string &name)
{
    std::vector<std::string> known = {"--seed", "--area"};
    if (effect.reachOption) known.push_back(std::string("--") + EDGES_OPTION);
    if (effect.mixes) known.push_back(std::string("--") + FRINGE_OPTION);
    for (const ControlTemplate *row : SettingRows(effect)) known.push_back(std::string("--") + row->option);
    return Fail(VLM_NO_SUCH_SETTING, "--" + name, "no such option" + Suggestion("--" + name, known));
}

static vlm_code GiveSetting(Step &step, const std::string &name, const char *value)
{
    const bool own =
        (name == EDGES_OPTION && step.effect->reachOption) || (name == FRINGE_OPTION && step.effect->mixes);
    if (!own && !FindSettingRow(*step.effect, name)) return NoSuchSetting(*step.effect, name);
    std::erase_if(step.settings, [&name](const GivenSetting &given) { return given.name == name; });
    if (value) step.settings.push_back({name, value});
    return VLM_OK;
}

//---- Seeds and areas in words

// Takes a whole number off the text's front; false when none stands there.
static bool TakeNumber(std::string &text, int64_t low, int32_t &number)
{
    char *end;
    const bool begun = !text.empty() && (isdigit(static_cast<unsigned char>(text[0])) || text[0] == '-');
    const long long value = strtoll(text.c_str(), &end, 10);
    if (!begun || end == text.c_str() || value < low || value > FARTHEST_PIXEL) return false;
    number = int32_t(value);
    text.erase(0, size_t(end - text.c_str()));
    return true;
}

static bool TakeMark(std::string &text, char mark)
{
    if (text.empty() || text[0] != mark) return false;
    text.erase(0, 1);
    return true;
}

static bool ReadArea(std::string text, GivenArea &area)
{
    return TakeNumber(text, -FARTHEST_PIXEL, area.left) && TakeMark(text, ',') &&
           TakeNumber(text, -FARTHEST_PIXEL, area.top) && TakeMark(text, ',') && TakeNumber(text, 1, area.width) &&
           TakeMark(text, 'x') && TakeNumber(text, 1, area.height) && text.empty();
}

static vlm_code GiveArea(Step &step, const std::string &text)
{
    GivenArea area;
    if (!ReadArea(text, area)) {
        return Fail(VLM_BAD_VALUE, "--area", "'" + text + "' is not an area as X,Y,WIDTHxHEIGHT in whole pixels");
    }
    step.area = area;
    return VLM_OK;
}

static vlm_code GiveSeed(Step &step, const std::string &text)
{
    const bool digits = !text.empty() && text.size() <= 10 && text.find_first_not_of("0123456789") == std::string::npos;
    const int64_t seed = digits ? std::stoll(text) : -1;
    if (seed < 0 || seed > int64_t(UINT32_MAX)) {
        return Fail(VLM_BAD_VALUE, "--seed",
                    "'" + text + "' is not a whole number of 0.." + std::to_string(UINT32_MAX));
    }
    step.seed = uint32_t(seed);
    return VLM_OK;
}

static vlm_code GiveOption(Step &step, const std::string &name, const std::string &value)
{
    if (FindSettingRow(*step.effect, name) || name == EDGES_OPTION || name == FRINGE_OPTION)
        return GiveSetting(step, name, value.c_str());
    if (name == "seed") return GiveSeed(step, value);
    if (name == "area") return GiveArea(step, value);
    return NoSuchSetting(*step.effect, name);
}

static vlm_code ReadStep(const std::vector<std::string> &words, Step &step)
{
    if (words.empty()) return Fail(VLM_BAD_TEXT, "an effect is missing, as in wave --amplitude 20");
    if (const vlm_code code = FindEffect(words[0], step.effect)) return code;
    for (size_t i = 1; i < words.size(); ++i) {
        const std::string &word = words[i];
        if (word.size() < 3 || !word.starts_with("--")) {
            return Fail(VLM_BAD_TEXT, word, "is not an option, as --amplitude is");
        }
        const size_t equals = word.find('=');
        const std::string name = word.substr(2, equals == std::string::npos ? equals : equals - 2);
        if (equals == std::string::npos && i + 1 == words.size()) return Fail(VLM_BAD_TEXT, word, "needs a value");
        const std::string value = equals == std::string::npos ? words[++i] : word.substr(equals + 1);
        if (const vlm_code code = GiveOption(step, name, value)) return code;
    }
    return VLM_OK;
}

vlm_code AddStep(vlm_steps *steps, const std::vector<std::string> &words)
{
    Step step;
    if (const vlm_code code = ReadStep(words, step)) return code;
    steps->steps.push_back(std::move(step));
    steps->checked = CheckedNotices();
    return VLM_OK;
}

//---- Through the door

vlm_steps *vlm_steps_new(void)
{
    vlm_steps *steps = nullptr;
    Guarded([&] {
        steps = new vlm_steps;
        return VLM_OK;
    });
    return steps;
}

void vlm_steps_free(vlm_steps *steps) { delete steps; }

vlm_code vlm_steps_copy(const vlm_steps *steps, vlm_steps **copy)
{
    return Guarded([&] {
        if (copy) *copy = nullptr;
        if (!steps || !copy) return FailArgument("steps or copy");
        auto made = std::make_unique<vlm_steps>();
        made->steps = steps->steps;
        made->checked = steps->checked.load();
        *copy = made.release();
        return VLM_OK;
    });
}

void vlm_steps_clear(vlm_steps *steps)
{
    if (steps) steps->steps.clear();
}

int vlm_steps_count(const vlm_steps *steps) { return steps ? int(steps->steps.size()) : 0; }

vlm_code vlm_steps_add(vlm_steps *steps, const char *effect)
{
    return Guarded([&] {
        if (!steps || !effect) return FailArgument("steps or effect");
        return AddStep(steps, {effect});
    });
}

vlm_code vlm_steps_add_line(vlm_steps *steps, const char *line)
{
    return Guarded([&] {
        if (!steps || !line) return FailArgument("steps or line");
        std::vector<std::string> words;
        std::string error;
        if (!SplitWords(line, words, error)) return Fail(VLM_BAD_TEXT, error);
        return AddStep(steps, words);
    });
}

vlm_code vlm_steps_add_words(vlm_steps *steps, int count, const char *const *words)
{
    return Guarded([&] {
        if (!steps || !words || count < 0) return FailArgument("steps or words");
        std::vector<std::string> copies;
        for (int i = 0; i < count; ++i) {
            if (!words[i]) return FailArgument("one of the words");
            copies.push_back(words[i]);
        }
        return AddStep(steps, copies);
    });
}

vlm_code vlm_steps_set(vlm_steps *steps, int step, const char *setting, const char *value)
{
    return Guarded([&] {
        Step *changed = StepToChange(steps, step);
        if (!changed) return VLM_BAD_ARGUMENT;
        if (!setting) return FailArgument("setting");
        steps->checked = CheckedNotices();   // seeds, areas and objects are no dialog's to look at
        return GiveSetting(*changed, setting, value);
    });
}

vlm_code vlm_steps_set_number(vlm_steps *steps, int step, const char *setting, int32_t value)
{
    char text[16];
    snprintf(text, sizeof text, "%d", int(value));
    return vlm_steps_set(steps, step, setting, text);
}

vlm_code vlm_steps_set_seed(vlm_steps *steps, int step, uint32_t seed)
{
    return Guarded([&] {
        Step *changed = StepToChange(steps, step);
        if (!changed) return VLM_BAD_ARGUMENT;
        changed->seed = seed;
        return VLM_OK;
    });
}

static bool NearEnough(int32_t number) { return number >= -FARTHEST_PIXEL && number <= FARTHEST_PIXEL; }

vlm_code vlm_steps_set_area(vlm_steps *steps, int step, int32_t left, int32_t top, int32_t width, int32_t height)
{
    return Guarded([&] {
        Step *changed = StepToChange(steps, step);
        if (!changed) return VLM_BAD_ARGUMENT;
        if (width == 0 && height == 0) return changed->area.reset(), VLM_OK;
        const bool fits =
            width >= 1 && height >= 1 && NearEnough(left) && NearEnough(top) && NearEnough(width) && NearEnough(height);
        if (!fits) return Fail(VLM_BAD_VALUE, "--area", "an area has at least one pixel, and none is that far away");
        changed->area = GivenArea{left, top, width, height};
        return VLM_OK;
    });
}

vlm_code vlm_steps_add_object(vlm_steps *steps, int step, const vlm_picture *object, int32_t x, int32_t y)
{
    return Guarded([&] {
        Step *changed = StepToChange(steps, step);
        if (!changed) return VLM_BAD_ARGUMENT;
        if (!HoldsPicture(object)) return FailArgument("object");
        if (!NearEnough(x) || !NearEnough(y)) return FailArgument("the object's place");
        const Picture &picture = object->picture;
        if (picture.width > MOST_OBJECT_EDGE || picture.height > MOST_OBJECT_EDGE) {
            return Fail(VLM_BAD_VALUE, "is " + std::to_string(picture.width) + " x " + std::to_string(picture.height) +
                                           " pixels; an object has at most " + std::to_string(MOST_OBJECT_EDGE) +
                                           " a side");
        }
        changed->objects.push_back({std::make_shared<const Picture>(CopyOf(picture)), x, y});
        return VLM_OK;
    });
}

vlm_code vlm_steps_scale_defaults(vlm_steps *steps, int step)
{
    return Guarded([&] {
        constexpr int64_t EDGE = 640, MILLION = 1'000'000;
        Step *changed = StepToChange(steps, step);
        if (!changed) return VLM_BAD_ARGUMENT;
        const vlm_effect *effect = vlm_effect_named(changed->effect->effect);
        for (int i = 0; effect && i < effect->setting_count; ++i) {
            const vlm_setting *setting = vlm_effect_setting(effect, i);
            if (!setting) return vlm_error_code();
            if (!setting->in_pixels || FindSetting(*changed, setting->name)) continue;
            const int64_t share = setting->default_number * 100 * MILLION / EDGE;
            char text[32];
            snprintf(text, sizeof text, "%d.%06d%%", int(share / MILLION), int(share % MILLION));
            changed->settings.push_back({setting->name, text});
            steps->checked = CheckedNotices();
        }
        return effect ? VLM_OK : vlm_error_code();
    });
}

const char *vlm_steps_effect(const vlm_steps *steps, int step)
{
    const Step *found = StepAt(steps, step);
    return found ? found->effect->effect : nullptr;
}

const char *vlm_steps_value(const vlm_steps *steps, int step, const char *setting)
{
    const Step *found = StepAt(steps, step);
    if (!found || !setting) return nullptr;
    for (const GivenSetting &given : found->settings)
        if (given.name == setting) return given.value.c_str();
    return nullptr;
}

int vlm_steps_seed(const vlm_steps *steps, int step, uint32_t *seed)
{
    const Step *found = StepAt(steps, step);
    if (!found || !found->seed) return 0;
    if (seed) *seed = *found->seed;
    return 1;
}

int vlm_steps_area(const vlm_steps *steps, int step, int32_t *left, int32_t *top, int32_t *width, int32_t *height)
{
    const Step *found = StepAt(steps, step);
    if (!found || !found->area) return 0;
    if (left) *left = found->area->left;
    if (top) *top = found->area->top;
    if (width) *width = found->area->width;
    if (height) *height = found->area->height;
    return 1;
}

static CheckedNotices BothOf(const CheckedNotices &one, const CheckedNotices &other)
{
    if (!one || !other) return nullptr;
    auto both = std::make_shared<std::vector<std::string>>(*one);
    both->insert(both->end(), other->begin(), other->end());
    return both;
}

vlm_code vlm_steps_append(vlm_steps *steps, const vlm_steps *more)
{
    return Guarded([&] {
        if (!steps || !more) return FailArgument("steps or more");
        const std::vector<Step> copies = more->steps;   // which may be the same steps
        steps->checked = BothOf(steps->checked, more->checked);
        steps->steps.insert(steps->steps.end(), copies.begin(), copies.end());
        return VLM_OK;
    });
}

//---- Told again

static std::string AreaText(const GivenArea &area)
{
    return std::to_string(area.left) + "," + std::to_string(area.top) + "," + std::to_string(area.width) + "x" +
           std::to_string(area.height);
}

// The defaults of what was not given; files have none, and neither has what says nothing of pixels.
static vlm_code AddDefaults(const Step &step, std::vector<GivenSetting> &settings)
{
    const vlm_effect *effect = vlm_effect_named(step.effect->effect);
    if (!effect) return vlm_error_code();
    // What a kernel or its file brings with it is not what a default says.
    const bool brought = std::any_of(step.settings.begin(), step.settings.end(),
                                     [&step](const GivenSetting &given) { return BringsKernel(*step.effect, given); });
    for (int i = 0; i < effect->setting_count; ++i) {
        const vlm_setting *setting = vlm_effect_setting(effect, i);
        if (!setting) return vlm_error_code();
        const bool priority = setting->shared && setting->kind == VLM_NUMBER;
        if (setting->kind == VLM_FILE || priority || FindSetting(step, setting->name)) continue;
        if (brought && !setting->shared && setting->kind != VLM_SWITCH) continue;
        settings.push_back({setting->name, setting->default_value});
    }
    return VLM_OK;
}

std::string LineOf(const Step &step, const std::vector<GivenSetting> &settings)
{
    std::string line = step.effect->effect;
    for (const GivenSetting &given : settings) line += " --" + given.name + " " + Quoted(given.value);
    if (step.area) line += " --area " + AreaText(*step.area);
    if (step.seed) line += " --seed " + std::to_string(*step.seed);
    return line;
}

char *vlm_steps_line(const vlm_steps *steps, int step, int all)
{
    char *text = nullptr;
    Guarded([&] {
        const Step *found = StepAt(steps, step);
        if (!found) return NoSuchStep();
        std::vector<GivenSetting> settings = found->settings;
        if (all) {
            if (const vlm_code code = AddDefaults(*found, settings)) return code;
        }
        text = strdup(LineOf(*found, settings).c_str());
        return text ? VLM_OK : FailMemory();
    });
    return text;
}
