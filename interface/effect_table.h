// The table of effects as constant records, for module and host alike: each reads the columns it needs. It knows
// numbers and words only; what an effect does and what its dialog shows stand behind the names of its row.

#pragma once

#include "interface/records.h"

#include <iterator>
#include <string_view>

enum class MenuRule { ALWAYS, GREY_OR_RGB, NOT_ONE_BIT, NO_MASK_EDITING };

struct EffectEntry {
    int32_t offset;   // of its command, from the host's base id
    const char *label;
    int32_t templateId, helpContext;
    const char *word, *title;
    MenuRule rule;
};

// In the order of menu and chooser.
inline constexpr EffectEntry effectTable[] = {
#define EFFECT(name, COMMAND, offset, label, template, help, word, title, rule) \
    {offset, label, template, help, word, title, MenuRule::rule},
#include "interface/effect_table.inc"
};
inline constexpr int EFFECT_COUNT = int(std::size(effectTable));

enum CommandOffset {
#define EFFECT(name, COMMAND, offset, label, template, help, word, title, rule) COMMAND##_COMMAND = (offset),
#include "interface/effect_table.inc"
    CHOOSER_COMMAND = 23,   // Effects Help
};

// The effect behind a command; null for the chooser's and for what is no command.
constexpr const EffectEntry *EffectOfCommand(int offset)
{
    for (const EffectEntry &effect : effectTable)
        if (effect.offset == offset) return &effect;
    return nullptr;
}
constexpr bool IsModuleCommand(int offset) { return offset == CHOOSER_COMMAND || EffectOfCommand(offset); }

// Whether a picture's menu offers the effect.
constexpr bool IsOffered(MenuRule rule, int32_t colourType, bool maskEditing)
{
    switch (rule) {
    case MenuRule::GREY_OR_RGB: return colourType == GREY || colourType == RGB;
    case MenuRule::NOT_ONE_BIT: return colourType != ONE_BIT;
    case MenuRule::NO_MASK_EDITING: return !maskEditing;
    default: return true;
    }
}

//---- What every row keeps to

// The chooser's record has a place for the original image, and one for each effect.
inline constexpr int CHOOSER_ROOM = int(std::size(ChooserRecord{}.names)) - 1;
static_assert(EFFECT_COUNT <= CHOOSER_ROOM, "the chooser's record holds 21 effects");
static_assert(effectTable[0].offset == FILTERS_COMMAND, "the menu has Filters first, above a separator");

constexpr bool OffsetsAreCommands()
{
    for (const EffectEntry &effect : effectTable)
        if (effect.offset < 1 || effect.offset == 4 || effect.offset == 11 || effect.offset == CHOOSER_COMMAND)
            return false;
    return true;
}
static_assert(OffsetsAreCommands(), "0, 4, 11 and 23 are no effect's offset: a new effect takes 24 and up");

constexpr bool RowsDiffer()
{
    for (const EffectEntry *one = effectTable; one != std::end(effectTable); ++one)
        for (const EffectEntry *other = effectTable; other != one; ++other)
            if (one->offset == other->offset || one->templateId == other->templateId ||
                one->helpContext == other->helpContext || std::string_view(one->word) == other->word)
                return false;
    return true;
}
static_assert(RowsDiffer(), "two rows share an offset, a template, a help page or a word");
