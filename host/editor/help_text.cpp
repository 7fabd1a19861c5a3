#include "host/editor/help_text.h"

#include <algorithm>
#include <ctype.h>

// Without the mark of its accelerator and the colon that leads to a field.
static std::string Plain(std::string label)
{
    std::erase(label, '&');
    if (label.ends_with(':')) label.pop_back();
    return label;
}

// Buttons have labels of their own; what a field is stands before it.
static std::string CaptionOf(const DialogTemplate &effect, int32_t index)
{
    const ControlTemplate &row = effect.controls[index];
    if (row.kind == CHECK_BOX || row.kind == RADIO_BUTTON) return Plain(row.label);
    for (int32_t i = index - 1; i >= 0; --i) {
        if (effect.controls[i].kind == LABEL) return Plain(effect.controls[i].label);
    }
    std::string option = row.option ? row.option : "";
    if (!option.empty()) option[0] = char(toupper(option[0]));
    return option;
}

// Scope and priority are every dialog's.
static bool IsShared(int32_t id)
{
    static constexpr int32_t shared[] = {SCOPE_IMAGE_RADIO, SCOPE_ALL_RADIO, SCOPE_OBJECTS_RADIO,
                                         SCOPE_NEW_OBJECT_RADIO, PRIORITY_TRACKBAR};
    return std::find(std::begin(shared), std::end(shared), id) != std::end(shared);
}

std::string HelpText(const DialogTemplate &effect)
{
    std::string text = std::string(effect.title) + "\n\n" + effect.about + "\n";
    for (int32_t i = 0; i < effect.controlCount; ++i) {
        const ControlTemplate &row = effect.controls[i];
        if (row.meaning && !IsShared(row.id)) text += "\n" + CaptionOf(effect, i) + ": " + row.meaning;
    }
    return text;
}
