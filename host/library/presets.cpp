// Presets: one step under a name, from the table of those that come with the library and from recipes in the user's own
// folder, a file each. Reads the folder anew at every question, since other programs keep presets there too. What a
// recipe holds is recipes.cpp's.

#include "host/acting/preset_files.h"
#include "host/acting/shipped_presets.h"
#include "host/acting/suggestion.h"
#include "host/library/recipes.h"
#include "host/library/user_places.h"
#include "host/paths/paths.h"

#include <algorithm>
#include <deque>
#include <string.h>

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

static std::vector<std::string> SavedFiles() { return FilesOf(PRESET_FILES); }

static std::string NameOfPreset(const std::string &file) { return NameOfUserFile(PRESET_FILES, file); }

// The file of a saved one; empty when there is none.
static std::string SavedFile(const std::string &name) { return FindUserFile(PRESET_FILES, name); }

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

static vlm_code TakePreset(const std::string &name, Preset &preset, vlm_steps &steps)
{
    const std::string file = SavedFile(name);
    const ShippedPreset *shipped = FindShipped(name);
    if (file.empty() && !shipped) return NoSuchPreset(name);
    preset = file.empty() ? Shipped(*shipped) : ReadPreset(file, name);
    return preset.fault ? vlm_error_code() : vlm_steps_add_line(&steps, preset.line.c_str());
}

vlm_code vlm_preset_steps(const char *name, vlm_steps **steps)
{
    return Guarded([&] {
        if (steps) *steps = nullptr;
        if (!name || !steps) return FailArgument("name or steps");
        auto made = std::make_unique<vlm_steps>();
        Preset preset;
        if (const vlm_code code = TakePreset(name, preset, *made)) return code;
        *steps = made.release();
        return VLM_OK;
    });
}

static vlm_code Taken(const std::string &name) { return Fail(VLM_BAD_VALUE, name, "is a preset already"); }

vlm_code vlm_preset_save(const char *name, const vlm_steps *steps, const char *summary, int replace)
{
    return Guarded([&] {
        if (!name || !steps) return FailArgument("name or steps");
        if (const vlm_code code = CheckUserName(PRESET_FILES, name)) return code;
        if (steps->steps.size() != 1) {
            return Fail(VLM_BAD_VALUE, name,
                        "a preset has one step, and this has " + std::to_string(steps->steps.size()));
        }
        const std::string before = SavedFile(name);
        if (!replace && (!before.empty() || FindShipped(name))) return Taken(name);
        std::string text;
        if (const vlm_code code = FormatRecipe(*steps, summary ? summary : "", text)) return code;
        std::string file = before;
        if (file.empty())
            if (const vlm_code code = PlaceForUserFile(PRESET_FILES, name, file)) return code;
        return WriteRecipeText(file, text);
    });
}

vlm_code vlm_preset_export(const char *name, const char *file)
{
    return Guarded([&] {
        if (!name || !file) return FailArgument("name or file");
        Preset preset;
        vlm_steps steps;
        std::string text;
        if (const vlm_code code = TakePreset(name, preset, steps)) return code;
        if (const vlm_code code = FormatRecipe(steps, preset.summary, text)) return code;
        return WriteRecipeText(file, text);
    });
}

vlm_code vlm_preset_import(const char *file, const char *name, const char *summary, int replace)
{
    return Guarded([&] {
        if (!file || !name) return FailArgument("file or name");
        std::string text, own;
        vlm_steps steps;
        if (!ReadRecipeText(file, text)) return vlm_error_code();
        const std::string called = file == std::string("-") ? "standard input" : file;
        if (const vlm_code code = ParseRecipe(text, called, steps, &own)) return code;
        return vlm_preset_save(name, &steps, summary && *summary ? summary : own.c_str(), replace);
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
        if (const vlm_code code = CheckUserName(PRESET_FILES, to)) return code;
        const std::string other = SavedFile(to);
        if ((!other.empty() && other != file) || (FindShipped(to) && !SameName(from, to))) return Taken(to);
        std::error_code failure;
        std::string place;
        if (const vlm_code code = PlaceForUserFile(PRESET_FILES, to, place)) return code;
        std::filesystem::rename(PathOf(file), PathOf(place), failure);
        return failure ? Fail(VLM_CANNOT_WRITE, place, failure.message()) : VLM_OK;
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
        snprintf(kept, sizeof kept, "%s", FolderOf(PRESET_FILES).c_str());
        return VLM_OK;
    });
    return kept;
}
