// The templates, put together once when one is first asked for, and the ways to find them.

#include "host/dialogs/sheets.h"

#include <cstring>

// The layouts own the rows that the templates point to.
struct BuiltDialogs {
    std::vector<Layout> layouts;
    std::vector<DialogTemplate> templates;
};

// In the table's order.
#define EFFECT(name, ...) &name##Sheet,
static const EffectSheet *const sheets[] = {
#include "interface/effect_table.inc"
};

static void AddTemplate(BuiltDialogs &built, const EffectEntry &entry, const EffectSheet &sheet, Layout layout)
{
    // Moving a layout leaves its rows where they are.
    const Layout &kept = built.layouts.emplace_back(std::move(layout));
    built.templates.push_back({entry.templateId, entry.title, entry.word, entry.offset, entry.helpContext,
                               sheet.summary, sheet.about, sheet.example, int16_t(kept.width), int16_t(kept.height),
                               kept.rows.data(), int32_t(kept.rows.size()), sheet.scope != FAMILY_SCOPE, sheet.draws,
                               sheet.contradictions.data(), int32_t(sheet.contradictions.size()), sheet.reachOption,
                               sheet.reach, sheet.mixes});
}

static BuiltDialogs BuildDialogs()
{
    BuiltDialogs built;
    for (int i = 0; i < EFFECT_COUNT; ++i)
        AddTemplate(built, effectTable[i], *sheets[i], sheets[i]->layOut(*sheets[i]));
    const EffectEntry chooser = {0, "", CHOOSER_TEMPLATE, 0, nullptr, "Effects Helper", MenuRule::ALWAYS};
    AddTemplate(built, chooser, {"lists the effects and opens the one that is chosen", "", ""}, LayOutChooser());
    return built;
}

static const std::vector<DialogTemplate> &Templates()
{
    // Never destroyed: a thread of dialogs may be at work while the program ends.
    static const BuiltDialogs &built = *new BuiltDialogs(BuildDialogs());
    return built.templates;
}

int32_t KPZAPI DialogTemplateCount(void) { return int32_t(Templates().size()); }

const DialogTemplate *KPZAPI DialogTemplateAt(int32_t index)
{
    return index >= 0 && index < DialogTemplateCount() ? &Templates()[size_t(index)] : nullptr;
}

const DialogTemplate *KPZAPI FindDialogTemplate(int32_t id)
{
    for (const DialogTemplate &dialog : Templates()) {
        if (dialog.id == id) return &dialog;
    }
    return nullptr;
}

const DialogTemplate *KPZAPI FindEffectTemplate(const char *effect)
{
    for (const DialogTemplate &dialog : Templates()) {
        if (dialog.effect && effect && std::strcmp(dialog.effect, effect) == 0) return &dialog;
    }
    return nullptr;
}

const ControlTemplate *KPZAPI FindControl(const DialogTemplate *dialog, int32_t id)
{
    if (!dialog || id < 0) return nullptr;   // labels and frames share -1
    for (int32_t i = 0; i < dialog->controlCount; ++i) {
        if (dialog->controls[i].id == id) return &dialog->controls[i];
    }
    return nullptr;
}
