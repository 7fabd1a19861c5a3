// Recipes and presets for Python: the library reads, checks and writes them, and what comes back are its steps, from which
// velmorant/_recipes.py takes the lines.

#include "doors/python/native/calls.h"

// Calls a routine that makes steps, without the interpreter's lock.
template <typename Call> static NativeSteps MadeSteps(Call call)
{
    vlm_steps *steps = nullptr;
    std::string line;
    vlm_code code;
    {
        const Unlocked others;
        code = call(&steps);
        if (code != VLM_OK) line = vlm_error_line();
    }
    if (code != VLM_OK) throw Failure{code, line};
    return Own(steps);
}

static std::string Bytes(const py::bytes &file)
{
    std::string name = file;
    Text(name);
    return name;
}

static NativeSteps ReadRecipe(const py::bytes &file)
{
    const std::string name = Bytes(file);
    return MadeSteps([&](vlm_steps **steps) { return vlm_recipe_read(name.c_str(), steps); });
}

static NativeSteps ParseRecipe(const std::string &text)
{
    Text(text);
    return MadeSteps([&](vlm_steps **steps) { return vlm_recipe_parse(text.c_str(), nullptr, steps); });
}

static std::string RecipeText(const NativeSteps &steps) { return Taken(vlm_recipe_text(steps.handle.get())); }

static void WriteRecipe(const NativeSteps &steps, const py::bytes &file)
{
    Hold(vlm_recipe_write(steps.handle.get(), Bytes(file).c_str()));
}

//---- Presets

static py::list Presets()
{
    vlm_presets *read = nullptr;
    Hold(vlm_presets_read(&read));
    const std::unique_ptr<vlm_presets, void (*)(vlm_presets *)> presets(read, vlm_presets_free);
    py::list records;
    for (int i = 0; i < vlm_presets_count(read); ++i) {
        const vlm_preset &preset = *vlm_presets_at(read, i);
        py::dict record;
        record["name"] = preset.name;
        record["effect"] = preset.effect;
        record["summary"] = preset.summary;
        record["line"] = preset.line;
        record["shipped"] = preset.shipped != 0;
        record["fault"] = preset.fault != 0;
        records.append(record);
    }
    return records;
}

static NativeSteps PresetSteps(const std::string &name)
{
    Text(name);
    return MadeSteps([&](vlm_steps **steps) { return vlm_preset_steps(name.c_str(), steps); });
}

static void SavePreset(const std::string &name, const NativeSteps &steps, const std::optional<std::string> &summary,
                       bool replace)
{
    Hold(vlm_preset_save(Text(name), steps.handle.get(), summary ? Text(*summary) : nullptr, replace));
}

void DefineRecipes(py::module_ &module)
{
    module.def("read_recipe", ReadRecipe);
    module.def("parse_recipe", ParseRecipe);
    module.def("recipe_text", RecipeText);
    module.def("write_recipe", WriteRecipe);
    module.def("presets", Presets);
    module.def("preset_steps", PresetSteps);
    module.def("save_preset", SavePreset);
    module.def("rename_preset",
               [](const std::string &from, const std::string &to) { Hold(vlm_preset_rename(Text(from), Text(to))); });
    module.def("delete_preset", [](const std::string &name) { Hold(vlm_preset_delete(Text(name))); });
}
