// Recipes: steps as text, a line each. Reads them line by line, so that every fault has a line's number, and has the
// dialogs check the values before anything runs; writes what the dialogs show once a step has been given. Where presets
// are kept is presets.cpp's.

#include "host/library/recipes.h"

#include "host/acting/preset_files.h"
#include "host/documents/files/streams.h"
#include "host/library/calls.h"
#include "host/library/settings.h"
#include "host/paths/paths.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string.h>

static constexpr size_t MOST_BYTES = size_t(1) << 20;
static_assert(RECIPE_VERSION == VLM_RECIPE_VERSION);

//---- Reading

// Says where a fault is; the code stays.
static vlm_code FailAt(const std::string &name, size_t line, vlm_code code, const std::string &text)
{
    const std::string place = "line " + std::to_string(line) + ": " + text;
    return Fail(code, name.empty() ? place : name + ": " + place);
}

static vlm_code CheckHead(const std::string &whole, const std::string &name, size_t number)
{
    std::string line = whole.substr(0, whole.find(" #"));   // behind which a comment may stand
    line.erase(line.find_last_not_of(" \t") + 1);
    const std::string right = RECIPE_HEAD + std::to_string(VLM_RECIPE_VERSION);
    if (line == right) return VLM_OK;
    if (line.starts_with(RECIPE_HEAD)) {
        return FailAt(name, number, VLM_BAD_TEXT,
                      "is a recipe of version " + line.substr(sizeof RECIPE_HEAD - 1) + "; version " +
                          std::to_string(VLM_RECIPE_VERSION) + " can be read");
    }
    return FailAt(name, number, VLM_BAD_TEXT, "a recipe begins with the line " + right);
}

// What a recipe must not hold, and what people write who know the command line.
static std::string FaultOfWords(const std::vector<std::string> &words)
{
    if (words[0] == "velmorant" || words[0] == "apply")
        return "a step begins with its effect, as in wave --amplitude 20";
    for (size_t i = 1; i < words.size(); ++i) {
        const std::string option = words[i].substr(0, words[i].find('='));
        if (option == "--load") return "--load: a recipe names no files; give the kernel itself: --kernel 'N N ...'";
        for (const char *file : {"--save", "--mask", "--mask-output", "--object"})
            if (option == file) return option + ": a recipe names no files; give it on the command line";
        for (const char *file : {"--quality", "--compression", "--subsampling", "--progressive", "--strip", "--page",
                                 "--format", "--as-stored", "--reduce-depth", "--threads"})
            if (option == file) return option + ": is of files and runs, not of steps; give it on the command line";
        if (option == "--then") return "--then: a recipe has one step a line; begin a new one";
    }
    return "";
}

static vlm_code ReadLine(const std::string &line, const std::string &name, size_t number, vlm_steps &steps,
                         std::string &comment)
{
    std::vector<std::string> words;
    std::string error;
    if (!SplitWords(line, words, error, &comment)) return FailAt(name, number, VLM_BAD_TEXT, error);
    if (words.empty()) return VLM_OK;
    error = FaultOfWords(words);
    if (!error.empty()) return FailAt(name, number, VLM_BAD_TEXT, error);
    const vlm_code code = AddStep(&steps, words);
    if (code == VLM_OK) return VLM_OK;
    error = vlm_error_line();
    if (code == VLM_BAD_TEXT && !comment.empty() && error.ends_with("needs a value")) {
        error += "; a # begins a comment, so a colour stands in quotes: '#FF8000'";
    }
    return FailAt(name, number, code, error);
}

static vlm_code CheckValues(const vlm_steps &steps, const std::vector<size_t> &lines, const std::string &name)
{
    int failed = -1;
    const vlm_code code = vlm_steps_check(&steps, &failed);
    if (code == VLM_OK || failed < 0) return code;
    return FailAt(name, lines[size_t(failed)], code, std::string(vlm_error_line()));
}

static void SpreadSeed(vlm_steps &steps)
{
    if (steps.steps.empty() || !steps.steps[0].seed) return;
    for (Step &step : steps.steps)
        if (step.effect->draws && !step.seed) step.seed = steps.steps[0].seed;
}

static std::string TextOf(const std::string &comment)
{
    const size_t start = comment.find_first_not_of("# \t");
    return start == std::string::npos ? "" : comment.substr(start);
}

vlm_code ParseRecipe(const std::string &text, const std::string &name, vlm_steps &steps, std::string *comment)
{
    constexpr char BYTE_ORDER_MARK[] = "\xEF\xBB\xBF";
    std::istringstream stream(text.starts_with(BYTE_ORDER_MARK) ? text.substr(3) : text);
    bool begun = false;
    size_t number = 1;
    std::vector<size_t> lines;   // of the steps
    for (std::string line; std::getline(stream, line); ++number) {
        while (!line.empty() && strchr(" \t\r", line.back())) line.pop_back();
        const size_t start = line.find_first_not_of(" \t");
        if (start == std::string::npos) continue;
        std::string remark;
        vlm_code code = VLM_OK;
        if (line[start] == '#') remark = line.substr(start);
        else if (begun) code = ReadLine(line, name, number, steps, remark);
        else code = CheckHead(line, name, number);
        if (code != VLM_OK) return code;
        begun = begun || line[start] != '#';
        if (comment && comment->empty() && line[start] == '#') *comment = TextOf(remark);
        while (lines.size() < steps.steps.size()) lines.push_back(number);
    }
    if (!begun) return FailAt(name, 1, VLM_BAD_TEXT, std::string("a recipe begins with the line ") + RECIPE_HEAD + "1");
    if (lines.empty()) return FailAt(name, number, VLM_BAD_TEXT, "there are no steps; one is as wave --amplitude 20");
    SpreadSeed(steps);
    return CheckValues(steps, lines, name);
}

static std::string NameOfFile(const std::string &file) { return file == "-" ? "standard input" : file; }

static bool ReadAll(FILE *file, std::string &text)
{
    char bytes[4096];
    for (size_t count; (count = fread(bytes, 1, sizeof bytes, file)) > 0 && text.size() <= MOST_BYTES;)
        text.append(bytes, count);
    return !ferror(file);
}

bool ReadRecipeText(const std::string &file, std::string &text)
{
    std::error_code ignored;
    const std::string name = NameOfFile(file);
    if (file != "-" && std::filesystem::is_directory(PathOf(file), ignored)) {
        return Fail(VLM_CANNOT_READ, name, "is a folder, not a recipe"), false;
    }
    FILE *stream = file == "-" ? stdin : OpenByName(file, "rb");
    if (!stream) return Fail(VLM_CANNOT_READ, name, strerror(errno)), false;
    const bool read = ReadAll(stream, text);
    if (stream != stdin) fclose(stream);
    if (!read) return Fail(VLM_CANNOT_READ, name, "cannot be read"), false;
    if (text.size() > MOST_BYTES) return Fail(VLM_BAD_TEXT, name, "is longer than any recipe (1 MiB)"), false;
    if (text.find('\0') != std::string::npos) return Fail(VLM_BAD_TEXT, name, "is not a text"), false;
    return true;
}

//---- Writing

// What the dialog shows after all has been given.
static vlm_code AddLine(const Step &step, std::string &text)
{
    if (const vlm_code code = CheckOdds(step)) return code;
    Call call;
    SettingFault fault;
    std::vector<GivenSetting> shown;
    call.effect = step.effect;
    call.task = [&](Host &, HWND dialog) {
        if (GiveSettings(dialog, step, Purpose::TRIAL, TRIAL_EDGE, call.boxes, fault))
            shown = ShownSettings(dialog, step);
    };
    if (const vlm_code code = Perform(call)) return code;
    if (fault.code != VLM_OK) return Fail(fault.code, fault.subject, fault.text);
    text += LineOf(step, shown) + "\n";
    return VLM_OK;
}

vlm_code FormatRecipe(const vlm_steps &steps, const std::string &comment, std::string &text)
{
    text = RECIPE_HEAD + std::to_string(VLM_RECIPE_VERSION) + "\n";
    std::string remark = comment;
    std::replace_if(
        remark.begin(), remark.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    if (!remark.empty()) text += "# " + remark + "\n";
    for (const Step &step : steps.steps)
        if (const vlm_code code = AddLine(step, text)) return code;
    return VLM_OK;
}

vlm_code WriteRecipeText(const std::string &file, const std::string &text)
{
    Sink sink;
    std::vector<std::string> notices;
    std::string error;
    const bool written =
        OpenSink(sink, file, false, error) && (Put(sink, text.data(), text.size()), FinishSink(sink, notices, error));
    return written ? VLM_OK : Fail(VLM_CANNOT_WRITE, file == "-" ? "standard output" : file, error);
}

//---- Through the door

vlm_code vlm_recipe_parse(const char *text, const char *name, vlm_steps **steps)
{
    return Guarded([&] {
        if (steps) *steps = nullptr;
        if (!text || !steps) return FailArgument("text or steps");
        auto made = std::make_unique<vlm_steps>();
        if (const vlm_code code = ParseRecipe(text, name ? name : "", *made)) return code;
        *steps = made.release();
        return VLM_OK;
    });
}

vlm_code vlm_recipe_read(const char *file, vlm_steps **steps)
{
    return Guarded([&] {
        if (steps) *steps = nullptr;
        if (!file || !steps) return FailArgument("file or steps");
        std::string text;
        if (!ReadRecipeText(file, text)) return vlm_error_code();
        return vlm_recipe_parse(text.c_str(), NameOfFile(file).c_str(), steps);
    });
}

char *vlm_recipe_text(const vlm_steps *steps)
{
    char *made = nullptr;
    Guarded([&] {
        if (!steps) return FailArgument("steps");
        std::string text;
        if (const vlm_code code = FormatRecipe(*steps, "", text)) return code;
        made = strdup(text.c_str());
        return made ? VLM_OK : FailMemory();
    });
    return made;
}

vlm_code vlm_recipe_write(const vlm_steps *steps, const char *file)
{
    return Guarded([&] {
        if (!steps || !file) return FailArgument("steps or file");
        std::string text;
        if (const vlm_code code = FormatRecipe(*steps, "", text)) return code;
        return WriteRecipeText(file, text);
    });
}
