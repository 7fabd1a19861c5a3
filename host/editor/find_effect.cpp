// See find_effect.h. Which effects a word means is effect_search.h's.

#include "host/editor/find_effect.h"

#include "host/acting/kernels.h"
#include "host/editor/effect_search.h"
#include "host/editor/forms.h"
#include "host/editor/run_commands.h"

enum { WORDS = 1, EFFECTS };

static std::string LineOf(const Editor &editor, const DialogTemplate &effect)
{
    const bool usable = CommandEnabled(editor.host, effect.commandOffset);
    return std::string(effect.title) + ": " + effect.summary + (usable ? "" : " (not for this type of picture)");
}

void FindEffect(Editor &editor)
{
    std::vector<std::string> kernels;
    for (const Kernel &kernel : ReadyMadeKernels()) kernels.push_back(kernel.name);
    std::vector<const DialogTemplate *> shown;
    Form form = {"Find an Effect",
                 {{FormKind::FIELD, WORDS, "&What it does, or its name:"}, {FormKind::LIST, EFFECTS, ""}},
                 "Open"};
    bool first = true;
    std::string words;
    form.changed = [&](HWND window, Form &now) {
        if (!first && now.rows[0].text == words) return;   // the arrows have moved in the list
        first = false;
        words = now.rows[0].text;
        shown = FindEffects(words, kernels);
        std::vector<std::string> lines;
        for (const DialogTemplate *effect : shown) lines.push_back(LineOf(editor, *effect));
        FillList(window, now, EFFECTS, lines, lines.empty() ? -1 : 0);
    };
    if (!ShowForm(editor, form)) return;
    const int chosen = form.rows[1].value;
    if (chosen >= 0 && size_t(chosen) < shown.size()) RunEffect(editor, shown[size_t(chosen)]->commandOffset);
}
