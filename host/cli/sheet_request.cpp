// Reads the words of `velmorant sheet`: options of its own, an effect's parameters, and the one of them that runs through
// several values. Opens nothing; the effect itself is asked about values later.

#include "host/cli/sheet_request.h"

#include "host/cli/report.h"
#include "host/library/velmorant.h"

#include <algorithm>
#include <cstdlib>

static constexpr int USUAL_COUNT = 12, USUAL_FRAMES = 24, MOST_COUNT = 400;

static int Fail(int exitCode, const std::string &subject, const std::string &text)
{
    Report(subject, text);
    return exitCode;
}

static int UsageError(const std::string &subject, const std::string &text)
{
    return Fail(EXIT_USAGE, subject, text + " (velmorant sheet --help tells more)");
}

struct Words {
    std::vector<std::string> files;
    std::vector<GivenParameter> parameters;   // what is none of sheet's own options
    bool presets = false;
    int count = 0;
    int frames = 0;   // of the input
};

//---- Values

static bool ReadNumber(const std::string &text, int64_t &number)
{
    char *end;
    number = strtoll(text.c_str(), &end, 10);
    return !text.empty() && !*end && text[0] != ' ';
}

// From one number to the other in even steps; each value once.
static std::vector<std::string> ValuesBetween(int64_t from, int64_t to, int count)
{
    std::vector<std::string> values;
    for (int i = 0; i < count; ++i) {
        const int64_t way = (to - from) * i, steps = std::max(count - 1, 1);
        const int64_t value = from + (2 * way + (way < 0 ? -steps : steps)) / (2 * steps);
        if (values.empty() || values.back() != std::to_string(value)) values.push_back(std::to_string(value));
    }
    return values;
}

static std::vector<std::string> SplitAtCommas(const std::string &text)
{
    std::vector<std::string> parts;
    for (size_t start = 0; start <= text.size();) {
        const size_t end = std::min(text.find(',', start), text.size());
        parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

static std::vector<std::string> AllChoices(const vlm_setting &setting)
{
    if (setting.kind == VLM_SWITCH) return {"off", "on"};
    std::vector<std::string> words;
    for (int i = 0; i < setting.choice_count; ++i) words.push_back(vlm_setting_choice(&setting, i)->word);
    return words;
}

// One value is no run through several. Lists of numbers hold commas themselves.
static std::vector<std::string> ValuesOf(const vlm_setting &setting, const std::string &text, int count)
{
    const size_t dots = text.find("..");
    int64_t from, to;
    if (setting.kind == VLM_NUMBER && dots != std::string::npos && ReadNumber(text.substr(0, dots), from) &&
        ReadNumber(text.substr(dots + 2), to))
        return ValuesBetween(from, to, count);
    if (text == "all" && (setting.kind == VLM_CHOICE || setting.kind == VLM_SWITCH)) return AllChoices(setting);
    const bool listed = setting.kind == VLM_NUMBER || setting.kind == VLM_CHOICE || setting.kind == VLM_COLOUR;
    return listed ? SplitAtCommas(text) : std::vector<std::string>{text};
}

//---- Entries

static GivenParameter Given(const std::string &name, const std::string &value) { return {name, value}; }

static std::vector<GivenParameter> ParametersOf(const vlm_steps *steps)
{
    std::vector<GivenParameter> parameters;
    const vlm_effect *effect = vlm_effect_named(vlm_steps_effect(steps, 0));
    for (int i = 0; effect && i < effect->setting_count; ++i) {
        const vlm_setting *setting = vlm_effect_setting(effect, i);
        const char *value = setting ? vlm_steps_value(steps, 0, setting->name) : nullptr;
        if (value) parameters.push_back(Given(setting->name, value));
    }
    for (const char *own : {"edges", "fringe"})
        if (const char *value = vlm_steps_value(steps, 0, own)) parameters.push_back(Given(own, value));
    return parameters;
}

// Null steps leave nothing to add.
static void AddLine(const std::string &label, const std::string &line, SheetRequest &request)
{
    vlm_steps *steps = vlm_steps_new();
    if (vlm_steps_add_line(steps, line.c_str()) == VLM_OK)
        request.entries.push_back({label, vlm_steps_effect(steps, 0), ParametersOf(steps)});
    vlm_steps_free(steps);
}

static void AddEffects(SheetRequest &request)
{
    for (int i = 0; i < vlm_effect_count(); ++i) {
        const vlm_effect &effect = *vlm_effect_at(i);
        AddLine(effect.title, std::string(effect.name) + " " + effect.example, request);
    }
}

// Of one effect, or with an empty name of all.
static int AddPresets(const std::string &effect, SheetRequest &request)
{
    vlm_presets *presets = nullptr;
    if (vlm_presets_read(&presets) != VLM_OK) return ReportLine(vlm_error_line()), EXIT_FAILED;
    for (int i = 0; i < vlm_presets_count(presets); ++i) {
        const vlm_preset &preset = *vlm_presets_at(presets, i);
        if (!preset.fault && (effect.empty() || effect == preset.effect)) AddLine(preset.name, preset.line, request);
    }
    vlm_presets_free(presets);
    return EXIT_DONE;
}

static int AddValues(const vlm_effect &effect, const Words &words, SheetRequest &request)
{
    std::vector<GivenParameter> fixed;
    std::string running;
    std::vector<std::string> values;
    const int frames = words.frames > 1 ? words.frames : USUAL_FRAMES;
    const int count = words.count ? words.count : request.frames.empty() ? USUAL_COUNT : frames;
    for (const GivenParameter &given : words.parameters) {
        if ((given.name == "edges" && effect.takes_edges) || (given.name == "fringe" && effect.takes_fringe)) {
            fixed.push_back(given);
            continue;
        }
        const vlm_setting *setting = vlm_effect_setting_named(&effect, given.name.c_str());
        if (!setting) {
            vlm_steps *steps = vlm_steps_new();   // whose line suggests near ones
            vlm_steps_add(steps, effect.name);
            vlm_steps_set(steps, 0, given.name.c_str(), "");
            vlm_steps_free(steps);
            return ReportLine(vlm_error_line()), EXIT_USAGE;
        }
        const std::vector<std::string> own = ValuesOf(*setting, given.value, count);
        if (own.size() <= 1) {
            fixed.push_back(given);
        } else if (!running.empty()) {
            return UsageError("--" + given.name, "runs through several values, and so does --" + running);
        } else {
            running = given.name;
            values = own;
        }
    }
    for (const std::string &value : values) {
        SheetEntry entry = {running + " " + value, effect.name, fixed};
        entry.parameters.push_back(Given(running, value));
        request.entries.push_back(std::move(entry));
    }
    if (!values.empty()) return EXIT_DONE;
    if (!request.frames.empty()) return UsageError("--frames", "a parameter with several values is missing, as 5..50");
    request.entries.push_back({"before", "", {}});
    request.entries.push_back({effect.name + std::string(fixed.empty() ? ", defaults" : ""), effect.name, fixed});
    return fixed.empty() ? AddPresets(effect.name, request) : EXIT_DONE;
}

//---- Words

std::string FrameName(const std::string &pattern, int number)
{
    const size_t mark = pattern.find('%');
    if (mark == std::string::npos || pattern.find('%', mark + 1) != std::string::npos) return "";
    size_t end = mark + 1;
    while (end < pattern.size() && isdigit(static_cast<unsigned char>(pattern[end]))) ++end;
    if (end == pattern.size() || pattern[end] != 'd' || end - mark > 3) return "";
    std::string digits = std::to_string(number);
    const size_t width = size_t(atoi(pattern.substr(mark + 1, end - mark - 1).c_str()));
    if (digits.size() < width) digits.insert(0, width - digits.size(), pattern[mark + 1] == '0' ? '0' : ' ');
    return pattern.substr(0, mark) + digits + pattern.substr(end + 1);
}

static bool IsSettingOfAny(const std::string &name)
{
    bool known = name == "edges" || name == "fringe";
    for (int i = 0; !known && i < vlm_effect_count(); ++i)
        known = vlm_effect_setting_named(vlm_effect_at(i), name.c_str()) != nullptr;
    return known;
}

struct OwnNumber {
    const char *name;
    int64_t low, high;
};

static constexpr OwnNumber ownNumbers[] = {{"columns", 1, 100},    {"width", 200, 10000},  {"count", 2, MOST_COUNT},
                                           {"quality", 1, 100},    {"page", 1, 1'000'000}, {"delay", 10, 60'000},
                                           {"seed", 0, UINT32_MAX}};

// Null for an option of another kind.
static const OwnNumber *OwnNumberNamed(const std::string &name)
{
    const OwnNumber *end = std::end(ownNumbers);
    const OwnNumber *number =
        std::find_if(std::begin(ownNumbers), end, [&name](const OwnNumber &entry) { return name == entry.name; });
    return number == end ? nullptr : number;
}

static bool IsOwn(const std::string &name) { return name == "frames" || OwnNumberNamed(name); }

static int ReadOwn(const std::string &name, const std::string &value, SheetRequest &request, Words &words, bool &own)
{
    own = IsOwn(name);
    if (!own) return EXIT_DONE;
    if (name == "frames") return request.frames = value, EXIT_DONE;
    const OwnNumber *number = OwnNumberNamed(name);
    int64_t read;
    if (!ReadNumber(value, read) || read < number->low || read > number->high)
        return Fail(EXIT_FAILED, "--" + name,
                    "'" + value + "' is not a whole number of " + std::to_string(number->low) + ".." +
                        std::to_string(number->high));
    if (name == "columns") request.columns = int(read);
    else if (name == "width") request.width = int(read);
    else if (name == "count") words.count = int(read);
    else if (name == "quality") request.quality = int(read);
    else if (name == "page") request.page = int(read);
    else if (name == "delay") request.delay = int(read);
    else request.seed = uint32_t(read);
    return EXIT_DONE;
}

static int ReadWords(const std::vector<std::string> &given, SheetRequest &request, Words &words)
{
    for (size_t i = 0; i < given.size(); ++i) {
        const std::string &word = given[i];
        if (word == "--presets") words.presets = true;
        else if (word == "--quiet") request.quiet = true;
        else if (word == "--allow-huge") request.allowHuge = true;
        else if (!word.starts_with("--") || word.size() < 3) words.files.push_back(word);
        else {
            const size_t equals = word.find('=');
            const std::string name = word.substr(2, equals == std::string::npos ? equals : equals - 2);
            if (equals == std::string::npos && i + 1 == given.size())
                return UsageError(word, IsOwn(name) || IsSettingOfAny(name) ? "needs a value" : "no such option");
            const std::string value = equals == std::string::npos ? given[++i] : word.substr(equals + 1);
            bool own = false;
            if (const int exitCode = ReadOwn(name, value, request, words, own)) return exitCode;
            if (!own) words.parameters.push_back({name, value});
        }
    }
    return EXIT_DONE;
}

// One file for all frames, or a name with a place for their number.
static int ReadFrames(SheetRequest &request)
{
    if (request.frames.empty() || !FrameName(request.frames, 1).empty()) return EXIT_DONE;
    const vlm_format *format =
        request.frames.find('%') == std::string::npos ? vlm_format_of_file(request.frames.c_str()) : nullptr;
    request.animation = format && format->holds_several;
    if (request.animation) return EXIT_DONE;
    return UsageError("--frames",
                      "its name has one place for a number, as out-%03d.png, or is an animation's, as out.gif");
}

int ReadSheetRequest(const std::vector<std::string> &given, int frames, SheetRequest &request)
{
    Words words;
    words.frames = frames;
    if (const int exitCode = ReadWords(given, request, words)) return exitCode;
    if (vlm_effect_count() == 0) return ReportLine(vlm_error_line()), EXIT_FAILED;
    const size_t wanted = request.frames.empty() ? 2 : 1;
    const vlm_effect *effect = nullptr;
    if (words.files.size() == wanted + 1) {
        effect = vlm_effect_named(words.files[0].c_str());
        if (!effect) return ReportLine(vlm_error_line()), EXIT_USAGE;
        words.files.erase(words.files.begin());
    }
    for (const GivenParameter &parameter : words.parameters)
        if (!effect && !IsSettingOfAny(parameter.name)) return UsageError("--" + parameter.name, "no such option");
    if (words.files.size() < wanted) return UsageError(words.files.empty() ? "INPUT" : "OUTPUT", "is missing");
    if (words.files.size() > wanted) return UsageError(words.files.back(), "one argument too many");
    request.input = words.files[0];
    if (wanted == 2) request.output = words.files[1];
    if (const int exitCode = ReadFrames(request)) return exitCode;
    if (request.delay && !request.animation) return UsageError("--delay", "is for an animation, as --frames out.gif");
    if (effect) return AddValues(*effect, words, request);
    if (!words.parameters.empty())
        return UsageError("--" + words.parameters[0].name, "belongs to an effect; name it first");
    if (!request.frames.empty()) return UsageError("--frames", "an effect is missing");
    request.small = true;
    request.entries.push_back({"before", "", {}});
    if (words.presets) return AddPresets("", request);
    AddEffects(request);
    return EXIT_DONE;
}
