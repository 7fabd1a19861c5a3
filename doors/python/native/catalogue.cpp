// The library's list of effects and kernels as dictionaries, told field by field; names in Python's manner and what they
// teach are made of them in velmorant/_catalogue.py.

#include "doors/python/native/calls.h"

static py::dict ChoiceRecord(const vlm_choice &choice)
{
    py::dict record;
    record["word"] = choice.word;
    record["label"] = choice.label;
    record["meaning"] = choice.meaning;
    record["number"] = choice.number;
    return record;
}

static py::dict SettingRecord(const vlm_setting &setting)
{
    py::dict record;
    py::list choices;
    for (int i = 0; i < setting.choice_count; ++i) choices.append(ChoiceRecord(*vlm_setting_choice(&setting, i)));
    record["name"] = setting.name;
    record["label"] = setting.label;
    record["meaning"] = setting.meaning;
    record["unit"] = setting.unit;
    record["kind"] = int(setting.kind);
    record["low"] = setting.low;
    record["high"] = setting.high;
    record["default_number"] = setting.default_number;
    record["default_value"] = setting.default_value;
    record["choices"] = choices;
    record["writes"] = setting.writes != 0;
    record["in_pixels"] = setting.in_pixels != 0;
    return record;
}

static py::dict EffectRecord(const vlm_effect &effect)
{
    py::dict record;
    py::list types, settings;
    for (int type = 0; vlm_type_name(vlm_type(type)); ++type)
        if (effect.types >> type & 1) types.append(vlm_type_name(vlm_type(type)));
    for (int i = 0; i < effect.setting_count; ++i) settings.append(SettingRecord(*vlm_effect_setting(&effect, i)));
    record["name"] = effect.name;
    record["title"] = effect.title;
    record["summary"] = effect.summary;
    record["about"] = effect.about;
    record["example"] = effect.example;
    record["types"] = types;
    record["changes_size"] = effect.changes_size != 0;
    record["draws"] = effect.draws != 0;
    record["takes_edges"] = effect.takes_edges != 0;
    record["takes_fringe"] = effect.takes_fringe != 0;
    record["settings"] = settings;
    return record;
}

static void Start()
{
    vlm_code code = VLM_OK;
    std::string line;
    {
        const Unlocked others;
        code = vlm_start();
        if (code != VLM_OK) line = vlm_error_line();
    }
    if (code != VLM_OK) throw Failure{code, line};
}

static py::list Effects()
{
    Start();
    py::list records;
    for (int i = 0; i < vlm_effect_count(); ++i) records.append(EffectRecord(*vlm_effect_at(i)));
    return records;
}

// The line with its suggestions is the library's.
static void RefuseEffect(const std::string &name)
{
    if (!vlm_effect_named(Text(name))) ThrowFailure(vlm_error_code());
}

static py::list Kernels()
{
    Start();
    py::list records;
    for (int i = 0; i < vlm_kernel_count(); ++i) {
        const vlm_kernel &kernel = *vlm_kernel_at(i);
        py::tuple elements(std::size(kernel.elements));
        for (size_t k = 0; k < std::size(kernel.elements); ++k) elements[k] = kernel.elements[k];
        py::dict record;
        record["id"] = kernel.id;
        record["name"] = kernel.name;
        record["mode"] = kernel.mode;
        record["elements"] = elements;
        record["divisor"] = kernel.divisor;
        record["bias"] = kernel.bias;
        record["size"] = kernel.size;
        records.append(record);
    }
    return records;
}

static py::list Formats()
{
    py::list records;
    for (int i = 0; i < vlm_format_count(); ++i) {
        py::dict record;
        record["name"] = vlm_format_at(i)->name;
        record["endings"] = vlm_format_at(i)->endings;
        records.append(record);
    }
    return records;
}

static py::object FormatNamed(const std::string &name)
{
    const vlm_format *format = vlm_format_named(Text(name));
    if (!format) ThrowFailure(vlm_error_code());
    return py::str(format->name);
}

static py::object FormatOfFile(const std::string &file)
{
    const vlm_format *format = vlm_format_of_file(Text(file));
    if (!format) ThrowFailure(vlm_error_code());
    return py::str(format->name);
}

void DefineCatalogue(py::module_ &module)
{
    module.def("effects", Effects);
    module.def("refuse_effect", RefuseEffect);
    module.def("kernels", Kernels);
    module.def("formats", Formats);
    module.def("format_named", FormatNamed);
    module.def("format_of_file", FormatOfFile);
    module.def("version", [] { return vlm_version_text(); });
}
