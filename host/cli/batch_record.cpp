// The record beside a batch's results. Settings are told apart by a sum over the steps' recipe and over all options that
// have to do with what is written. Which pictures are left out is decided elsewhere.

#include "host/cli/batch_record.h"

#include "host/paths/paths.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <fstream>
#include <iterator>
#include <new>
#include <sstream>

typedef nlohmann::ordered_json Json;

static constexpr char NAME[] = ".velmorant-batch";

BatchRecord::~BatchRecord()
{
    if (file) fclose(file);
}

//---- Settings

// Seeds stand last in a recipe's lines; those that were drawn are no part of what was asked for.
static std::string WithoutSeeds(const std::string &recipe)
{
    std::istringstream lines(recipe);
    std::string text;
    for (std::string line; std::getline(lines, line);) text += line.substr(0, line.rfind(" --seed ")) + "\n";
    return text;
}

static std::string RecipeText(const vlm_steps *steps)
{
    char *text = vlm_recipe_text(steps);
    if (!text) throw std::bad_alloc();   // the steps have been found right
    std::string recipe = WithoutSeeds(text);
    vlm_free(text);
    return recipe;
}

static std::string TextOf(const CommandLine &line, const vlm_steps *steps)
{
    std::string text = RecipeText(steps);
    for (size_t i = 0; i < line.steps.size(); ++i) {
        const GivenStep &step = line.steps[i];
        const std::string of = "step " + std::to_string(i + 1) + ": ";
        if (step.seed) text += of + "seed " + std::to_string(*step.seed) + "\n";
        for (const NamedObject &object : step.objects)
            text += of + object.file + "@" + std::to_string(object.x) + "," + std::to_string(object.y) + "\n";
    }
    const std::pair<const char *, int> options[] = {{"--quality", line.quality},
                                                    {"--compression", line.compression},
                                                    {"--subsampling", line.subsampling},
                                                    {"--progressive", line.progressive},
                                                    {"--strip", line.strip},
                                                    {"--page", line.page},
                                                    {"--as-stored", line.asStored},
                                                    {"--same-seed", line.sameSeed}};
    for (const auto &[option, value] : options)
        if (value) text += option + std::string(" ") + std::to_string(value) + "\n";
    return line.format.empty() ? text : text + "--format " + vlm_format_named(line.format.c_str())->name + "\n";
}

static std::string SumOf(const std::string &text)
{
    uint64_t sum = 14695981039346656037u;
    for (const char letter : text) sum = (sum ^ static_cast<unsigned char>(letter)) * 1099511628211u;
    char words[16];
    return std::string(words, std::to_chars(words, std::end(words), sum, 16).ptr);
}

//---- The file

static void TakeLine(const std::string &line, BatchRecord &record)
{
    const Json json = Json::parse(line, nullptr, false);   // a line that was cut off counts for nothing
    if (!json.is_object() || !json.contains("output") || !json.contains("settings")) return;
    if (json["output"].is_string() && json["settings"].is_string()) record.known[json["output"]] = json["settings"];
}

void ReadBatchRecord(const CommandLine &line, const vlm_steps *steps, BatchRecord &record)
{
    record.text = TextOf(line, steps);
    record.settings = SumOf(record.text);
    record.place = NameOf(PathOf(line.outputFolder) / NAME);
    std::ifstream file(PathOf(record.place), std::ios::binary);
    for (std::string text; std::getline(file, text); ++record.lines) TakeLine(text, record);
}

bool WasMadeOtherwise(const BatchRecord &record, const std::string &name)
{
    const auto found = record.known.find(name);
    return found != record.known.end() && found->second != record.settings;
}

static void Put(const BatchRecord &record, const Json &json)
{
    if (!record.file) return;
    fprintf(record.file, "%s\n", json.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
    fflush(record.file);
}

static void PutMade(const BatchRecord &record, const std::string &name, const std::string &settings)
{
    Put(record, {{"output", name}, {"settings", settings}});
}

// One that says the same again and again is written anew.
static void Begin(BatchRecord &record)
{
    const bool anew = record.lines > 4 * record.known.size() + 1000;
    record.begun = true;
    record.file = OpenByName(record.place, anew ? "wb" : "ab");
    if (anew)
        for (const auto &[name, settings] : record.known) PutMade(record, name, settings);
    Put(record, {{"settings", record.settings}, {"made-with", record.text}});
}

void NoteMade(BatchRecord &record, const std::string &name)
{
    if (!record.begun) Begin(record);
    PutMade(record, name, record.settings);
}
