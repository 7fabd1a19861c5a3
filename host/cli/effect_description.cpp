#include "host/cli/effect_description.h"

#include "host/acting/kernels.h"

#include <algorithm>
#include <cstdlib>

//---- The sample

constexpr int32_t SAMPLE_SIZE = 32;
static constexpr int32_t TYPES[] = {RGB, GREY, PALETTE, ONE_BIT};

static Picture SamplePicture(int32_t colourType)
{
    Picture sample = NewPicture(colourType, SAMPLE_SIZE, SAMPLE_SIZE);
    if (colourType == PALETTE) sample.paletteEntries = 1;
    return sample;
}

// Opens a sample of each type in turn, as the active image, until `enough`.
static void ForEachSample(Host &host, const std::function<bool(int32_t colourType)> &enough)
{
    bool done = false;
    for (int32_t colourType : TYPES) {
        if (done) return;
        ImageRecord *previous = host.context.activeImage;
        ImageRecord *sample = OpenImage(host, SamplePicture(colourType));
        ActivateImage(host, sample);
        done = enough(colourType);
        CloseImage(host, sample);
        if (previous) ActivateImage(host, previous);
    }
}

bool ActOnSample(Host &host, const DialogTemplate &effect, const std::function<void(HWND dialog)> &script)
{
    bool opened = false;
    ForEachSample(host, [&](int32_t) {
        if (!CommandEnabled(host, effect.commandOffset)) return false;
        opened = ActInDialog(host, effect.commandOffset, [&script](HWND dialog) {
            script(dialog);
            Press(dialog, CLOSE_BUTTON);
        });
        return true;
    });
    return opened;
}

//---- Parameters

// Rows of their own, since a dialog's buttons are no parameters as such.
static constexpr ControlTemplate fileButtons[] = {
    {PUSH_BUTTON, LOAD_KERNEL_BUTTON, 0, 0, 0, 0, false, "", "load", nullptr,
     "a filter file to take kernel, divisor, bias and combine mode from"},
    {PUSH_BUTTON, SAVE_KERNEL_BUTTON, 0, 0, 0, 0, false, "", "save", nullptr,
     "a filter file to keep kernel, divisor, bias and combine mode in"},
};

std::vector<const ControlTemplate *> ParameterRows(const DialogTemplate &table)
{
    std::vector<const ControlTemplate *> rows;
    for (int32_t i = 0; i < table.controlCount; ++i) {
        const ControlTemplate &row = table.controls[i];
        if (row.option && FindOption(table, row.option) == &row) rows.push_back(&row);
    }
    for (const ControlTemplate &button : fileButtons)
        if (FindControl(&table, button.id)) rows.push_back(&button);
    return rows;
}

static ParameterKind KindOf(const ControlTemplate &row)
{
    switch (row.kind) {
    case RADIO_BUTTON: return ParameterKind::CHOICE;
    case CHECK_BOX: return ParameterKind::SWITCH;
    case COLOUR_CONTROL: return ParameterKind::COLOUR;
    case NUMBER_FIELD: return row.option == std::string("kernel") ? ParameterKind::KERNEL : ParameterKind::NUMBERS;
    case PUSH_BUTTON: return ParameterKind::FILE_NAME;
    default: return ParameterKind::NUMBER;
    }
}

bool HasRange(ParameterKind kind)
{
    return kind == ParameterKind::NUMBER || kind == ParameterKind::NUMBERS || kind == ParameterKind::KERNEL;
}

static ParameterDescription DescribeParameter(HWND dialog, const DialogTemplate &table, const ControlTemplate &row)
{
    ParameterDescription parameter = {row.option, KindOf(row), 0, 0, ShownOption(dialog, table, row.option), {}, ""};
    if (HasRange(parameter.kind)) OptionRange(dialog, row, parameter.low, parameter.high);
    if (parameter.kind != ParameterKind::CHOICE) {
        parameter.meaning = row.meaning;
        return parameter;
    }
    for (int32_t i = 0; i < table.controlCount; ++i) {
        const ControlTemplate &button = table.controls[i];
        if (!button.option || parameter.name != button.option) continue;
        parameter.choices.push_back({button.word, button.id, button.meaning});
    }
    return parameter;
}

bool DescribeEffect(Host &host, const DialogTemplate &effect, EffectDescription &description)
{
    description = {effect.effect, effect.summary, effect.about, effect.example, {}};
    return ActOnSample(host, effect, [&](HWND dialog) {
        for (const ControlTemplate *row : ParameterRows(effect)) {
            description.parameters.push_back(DescribeParameter(dialog, effect, *row));
        }
    });
}

std::vector<EffectDescription> DescribeEffects(Host &host)
{
    std::vector<EffectDescription> effects;
    for (int32_t i = 0; i < DialogTemplateCount(); ++i) {
        const DialogTemplate &table = *DialogTemplateAt(i);
        EffectDescription description;
        if (table.effect && DescribeEffect(host, table, description)) effects.push_back(std::move(description));
    }
    return effects;
}

//---- For people

static std::string RangeText(const ParameterDescription &parameter)
{
    return std::to_string(parameter.low) + ".." + std::to_string(parameter.high);
}

std::string ValueText(const ParameterDescription &parameter)
{
    switch (parameter.kind) {
    case ParameterKind::NUMBER: return RangeText(parameter);
    case ParameterKind::NUMBERS: return "N,N,...";
    case ParameterKind::KERNEL: return "NAME|N,N,...";
    case ParameterKind::FILE_NAME: return "FILE";
    case ParameterKind::SWITCH: return "on|off";
    case ParameterKind::COLOUR: return "#RRGGBB";
    case ParameterKind::CHOICE: break;
    }
    return "WORD";
}

static std::string ChoiceLines(const ParameterDescription &parameter)
{
    size_t width = 0;
    for (const ChoiceDescription &choice : parameter.choices) width = std::max(width, choice.word.size());
    std::string lines;
    for (const ChoiceDescription &choice : parameter.choices) {
        const std::string gap(width - choice.word.size() + 2, ' ');
        lines += "\n  " + choice.word + gap + choice.meaning;
    }
    return lines;
}

std::string MeaningText(const ParameterDescription &parameter)
{
    if (parameter.kind == ParameterKind::FILE_NAME) return parameter.meaning;
    if (parameter.kind == ParameterKind::KERNEL) {
        return "a ready-made kernel's name, or " + parameter.meaning + ", each " + RangeText(parameter) +
               " (default: keeps the picture)";
    }
    const std::string standard = " (default " + parameter.shown + ")";
    if (parameter.kind == ParameterKind::CHOICE) return "one of these" + standard + ":" + ChoiceLines(parameter);
    const bool several = parameter.kind == ParameterKind::NUMBERS;
    return parameter.meaning + (several ? ", each " + RangeText(parameter) : "") + standard;
}

//---- Types

const char *TypeName(int32_t colourType)
{
    switch (colourType) {
    case ONE_BIT: return "1-bit";
    case GREY: return "grey";
    case PALETTE: return "palette";
    default: return "RGB";
    }
}

std::string TypesThatWork(Host &host, const DialogTemplate &effect)
{
    std::vector<std::string> types;
    ForEachSample(host, [&](int32_t colourType) {
        if (CommandEnabled(host, effect.commandOffset)) types.push_back(TypeName(colourType));
        return false;
    });
    std::string text;
    for (size_t i = 0; i < types.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == types.size() ? " and " : ", ") + types[i];
    }
    return text.empty() ? "no" : text;
}
