// Presets: one step under a name, from the table of those that come with the library and from recipes in the user's own
// folder, a file each. Reads the folder anew at every question, since other programs keep presets there too. What a
// recipe holds is recipes.cpp's.

#include "host/acting/suggestion.h"
#include "host/library/recipes.h"
#include "host/library/shipped_presets.h"
#include "host/paths/paths.h"
#include "host/paths/user_folder.h"

#include <algorithm>
#include <deque>
#include <string.h>

static constexpr char ENDING[] = ".recipe";
static constexpr size_t LONGEST_NAME = 60;   // letters

struct Preset {
    std::string name, effect, summary, line, file;   // no file: shipped
    bool fault = false;
};

struct PresetEntry {
    Preset preset;
    vlm_preset record;
};

struct vlm_presets {
    std::deque<PresetEntry> entries;
};

//---- Names

static std::string Folder()
{
    const std::string own = UserFolder();
    return own.empty() ? "" : NameOf(PathOf(own) / "presets");
}

static std::string FileOf(const std::string &name) { return NameOf(PathOf(Folder()) / PathOf(name + ENDING)); }

static size_t LettersOf(const std::string &text)
{
    return size_t(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

// A name becomes a file's on every system.
static vlm_code CheckName(const std::string &name)
{
    const auto odd = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 127 || strchr("/\\:*?\"<>|", c); };
    const bool ends = name.empty() || strchr(". -", name.front()) || strchr(". ", name.back());
    if (!ends && LettersOf(name) <= LONGEST_NAME && name.size() <= 200 && std::none_of(name.begin(), name.end(), odd))
        return VLM_OK;
    return Fail(VLM_BAD_VALUE, name.empty() ? "''" : name,
                "is not a preset's name: 1..60 letters, none of / \\ : * ? \" < > |, no dot, dash or blank first, "
                "no dot or blank last");
}

//---- What there is

static Preset Shipped(const ShippedPreset &entry)
{
    const std::string line = entry.line;
    return {entry.name, line.substr(0, line.find(' ')), entry.summary, line, "", false};
}

static Preset ReadPreset(const std::string &file, const std::string &name)
{
    Preset preset = {name, "", "", "", file, true};
    std::string text;
    vlm_steps steps;
    if (ReadRecipeText(file, text) && ParseRecipe(text, file, steps, &preset.summary) == VLM_OK) {
        if (steps.steps.size() == 1) {
            preset.effect = steps.steps[0].effect->effect;
            preset.line = LineOf(steps.steps[0], steps.steps[0].settings);
            preset.fault = false;
            return preset;
        }
        Fail(VLM_BAD_TEXT, file, "a preset has one step, and this has " + std::to_string(steps.steps.size()));
    }
    preset.line = vlm_error_line();
    return preset;
}

static std::vector<std::string> SavedFiles()
{
    std::vector<std::string> files;
    const std::string folder = Folder();
    if (folder.empty()) return files;
    std::error_code failure;
    for (std::filesystem::directory_iterator entry(PathOf(folder), failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const std::string name = WithoutFolder(NameOf(entry->path()));
        if (name.ends_with(ENDING) && name.size() > sizeof ENDING - 1) files.push_back(NameOf(entry->path()));
    }
    std::sort(files.begin(), files.end());
    return files;
}

static std::string NameOfPreset(const std::string &file)
{
    const std::string name = WithoutFolder(file);
    return name.substr(0, name.size() - (sizeof ENDING - 1));
}

static bool SameName(const std::string &one, const std::string &other) { return LowerCase(one) == LowerCase(other); }

// The file of a saved one, whatever its letters' case; empty when there is none.
static std::string SavedFile(const std::string &name)
{
    for (const std::string &file : SavedFiles())
        if (SameName(NameOfPreset(file), name)) return file;
    return "";
}

static const ShippedPreset *FindShipped(const std::string &name)
{
    for (const ShippedPreset &entry : ShippedPresets())
        if (SameName(entry.name, name)) return &entry;
    return nullptr;
}

static std::vector<std::string> AllNames()
{
    std::vector<std::string> names;
    for (const ShippedPreset &entry : ShippedPresets()) names.push_back(entry.name);
    for (const std::string &file : SavedFiles()) names.push_back(NameOfPreset(file));
    return names;
}

static vlm_code NoSuchPreset(const std::string &name)
{
    const std::string suggestion = Suggestion(name, AllNames());
    return Fail(VLM_NO_SUCH_PRESET, name,
                "no such preset" + (suggestion.empty() ? " (velmorant presets lists them)" : suggestion));
}

//---- Through the door

vlm_code vlm_presets_read(vlm_presets **presets)
{
    return Guarded([&] {
        if (presets) *presets = nullptr;
        if (!presets) return FailArgument("presets");
        auto made = std::make_unique<vlm_presets>();
        const std::vector<std::string> files = SavedFiles();
        const auto hidden = [&files](const ShippedPreset &entry) {
            return std::any_of(files.begin(), files.end(),
                               [&entry](const std::string &file) { return SameName(NameOfPreset(file), entry.name); });
        };
        for (const ShippedPreset &entry : ShippedPresets())
            if (!hidden(entry)) made->entries.push_back({Shipped(entry), {}});
        for (const std::string &file : files) made->entries.push_back({ReadPreset(file, NameOfPreset(file)), {}});
        for (PresetEntry &entry : made->entries) {
            const Preset &preset = entry.preset;
            entry.record = {preset.name.c_str(), preset.effect.c_str(), preset.summary.c_str(),
                            preset.line.c_str(), preset.file.empty(),   preset.fault};
        }
        *presets = made.release();
        return VLM_OK;
    });
}

void vlm_presets_free(vlm_presets *presets) { delete presets; }

int vlm_presets_count(const vlm_presets *presets) { return presets ? int(presets->entries.size()) : 0; }

const vlm_preset *vlm_presets_at(const vlm_presets *presets, int index)
{
    if (!presets || index < 0 || size_t(index) >= presets->entries.size()) return nullptr;
    return &presets->entries[size_t(index)].record;
}

const vlm_preset *vlm_presets_named(const vlm_presets *presets, const char *name)
{
    const vlm_preset *found = nullptr;
    Guarded([&] {
        if (!presets || !name) return FailArgument("presets or name");
        for (const PresetEntry &entry : presets->entries)
            if (SameName(entry.preset.name, name)) found = &entry.record;
        return found ? VLM_OK : NoSuchPreset(name);
    });
    return found;
}

vlm_code vlm_preset_steps(const char *name, vlm_steps **steps)
{
    return Guarded([&] {
        if (steps) *steps = nullptr;
        if (!name || !steps) return FailArgument("name or steps");
        auto made = std::make_unique<vlm_steps>();
        const std::string file = SavedFile(name);
        const ShippedPreset *shipped = FindShipped(name);
        if (file.empty() && !shipped) return NoSuchPreset(name);
        const Preset preset = file.empty() ? Shipped(*shipped) : ReadPreset(file, name);
        if (preset.fault) return vlm_error_code();
        if (const vlm_code code = vlm_steps_add_line(made.get(), preset.line.c_str())) return code;
        *steps = made.release();
        return VLM_OK;
    });
}

static vlm_code MakeFolder()
{
    std::error_code failure;
    if (Folder().empty()) return Fail(VLM_CANNOT_WRITE, "presets", "the system names no folder of the user's own");
    std::filesystem::create_directories(PathOf(Folder()), failure);
    return failure ? Fail(VLM_CANNOT_WRITE, Folder(), failure.message()) : VLM_OK;
}

static vlm_code Taken(const std::string &name) { return Fail(VLM_BAD_VALUE, name, "is a preset already"); }

vlm_code vlm_preset_save(const char *name, const vlm_steps *steps, const char *summary, int replace)
{
    return Guarded([&] {
        if (!name || !steps) return FailArgument("name or steps");
        if (const vlm_code code = CheckName(name)) return code;
        if (steps->steps.size() != 1) {
            return Fail(VLM_BAD_VALUE, name,
                        "a preset has one step, and this has " + std::to_string(steps->steps.size()));
        }
        const std::string before = SavedFile(name);
        if (!replace && (!before.empty() || FindShipped(name))) return Taken(name);
        std::string text;
        if (const vlm_code code = FormatRecipe(*steps, summary ? summary : "", text)) return code;
        if (const vlm_code code = MakeFolder()) return code;
        return WriteRecipeText(before.empty() ? FileOf(name) : before, text);
    });
}

// The file of a saved one, for what changes it.
static vlm_code FileToChange(const std::string &name, std::string &file)
{
    file = SavedFile(name);
    if (!file.empty()) return VLM_OK;
    if (FindShipped(name)) return Fail(VLM_BAD_VALUE, name, "comes with the program and stays as it is");
    return NoSuchPreset(name);
}

vlm_code vlm_preset_rename(const char *from, const char *to)
{
    return Guarded([&] {
        if (!from || !to) return FailArgument("from or to");
        std::string file;
        if (const vlm_code code = FileToChange(from, file)) return code;
        if (const vlm_code code = CheckName(to)) return code;
        const std::string other = SavedFile(to);
        if ((!other.empty() && other != file) || (FindShipped(to) && !SameName(from, to))) return Taken(to);
        std::error_code failure;
        std::filesystem::rename(PathOf(file), PathOf(FileOf(to)), failure);
        return failure ? Fail(VLM_CANNOT_WRITE, FileOf(to), failure.message()) : VLM_OK;
    });
}

vlm_code vlm_preset_delete(const char *name)
{
    return Guarded([&] {
        if (!name) return FailArgument("name");
        std::string file;
        if (const vlm_code code = FileToChange(name, file)) return code;
        std::error_code failure;
        std::filesystem::remove(PathOf(file), failure);
        return failure ? Fail(VLM_CANNOT_WRITE, file, failure.message()) : VLM_OK;
    });
}

const char *vlm_preset_folder(void)
{
    static thread_local char kept[1000];
    Guarded([] {
        snprintf(kept, sizeof kept, "%s", Folder().c_str());
        return VLM_OK;
    });
    return kept;
}
