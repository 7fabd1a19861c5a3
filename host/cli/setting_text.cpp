#include "host/cli/setting_text.h"

#include <algorithm>

static std::string RangeText(const vlm_setting &setting)
{
    return std::to_string(setting.low) + ".." + std::to_string(setting.high);
}

std::string ValueText(const vlm_setting &setting)
{
    switch (setting.kind) {
    case VLM_NUMBER: return RangeText(setting);
    case VLM_NUMBERS: return "N,N,...";
    case VLM_KERNEL: return "NAME|N,N,...";
    case VLM_FILE: return "FILE";
    case VLM_SWITCH: return "on|off";
    case VLM_COLOUR: return "#RRGGBB";
    case VLM_CHOICE: break;
    }
    return "WORD";
}

static std::string ChoiceLines(const vlm_setting &setting)
{
    size_t width = 0;
    for (int i = 0; i < setting.choice_count; ++i)
        width = std::max(width, std::string(vlm_setting_choice(&setting, i)->word).size());
    std::string lines;
    for (int i = 0; i < setting.choice_count; ++i) {
        const vlm_choice &choice = *vlm_setting_choice(&setting, i);
        const std::string word = choice.word, gap(width - word.size() + 2, ' ');
        lines.append("\n  ").append(word).append(gap).append(choice.meaning);
    }
    return lines;
}

std::string MeaningText(const vlm_setting &setting)
{
    std::string meaning = setting.meaning;
    if (setting.kind == VLM_FILE) return meaning;
    if (setting.kind == VLM_KERNEL) {
        return "a ready-made kernel's name, or " + meaning + ", each " + RangeText(setting) +
               " (default: keeps the picture)";
    }
    const std::string standard = std::string(" (default ") + setting.default_value + ")";
    if (setting.kind == VLM_CHOICE) return meaning + ", one of these" + standard + ":" + ChoiceLines(setting);
    const bool several = setting.kind == VLM_NUMBERS;
    return meaning + (several ? ", each " + RangeText(setting) : "") + standard;
}
