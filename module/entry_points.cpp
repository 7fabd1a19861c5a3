// The five routines that the host finds by name. They keep no state: everything that lasts lives in the open
// dialogs.

#include "effects/effects.h"
#include "interface/host_interface.h"

#include <span>
#include <stdio.h>

// In the table's order.
#define EFFECT(name, ...) &name,
static const EffectDescriptor *const descriptors[] = {
#include "interface/effect_table.inc"
};

//---- The menu

static void AppendCommand(HMENU menu, int32_t base, int offset, const char *label)
{
    AppendMenuA(menu, MF_STRING, UINT_PTR(base + offset), label);
}

// Filters and Effects Help stand apart from the others.
KPZ_EXPORT int32_t KPZAPI KPZInitialize(HMENU menu, int32_t base)
{
    AppendCommand(menu, base, effectTable[0].offset, effectTable[0].label);
    AppendMenuA(menu, MF_SEPARATOR, 0, nullptr);
    for (const EffectEntry &effect : std::span(effectTable).subspan(1))
        AppendCommand(menu, base, effect.offset, effect.label);
    AppendMenuA(menu, MF_SEPARATOR, 0, nullptr);
    AppendCommand(menu, base, CHOOSER_COMMAND, "Effects &Help");
    return 0;
}

// The image's address is itself the first enable value, so that without an image everything is greyed.
KPZ_EXPORT int32_t KPZAPI KPZSetupMenus(HMENU menu, int32_t base, ImageRecord *active)
{
    const auto enable = [&](int offset, INT_PTR on) { KPZ_EnableMenuItem(menu, base + offset, on); };
    for (const EffectEntry &effect : effectTable) enable(effect.offset, reinterpret_cast<INT_PTR>(active));
    enable(CHOOSER_COMMAND, reinterpret_cast<INT_PTR>(active));
    if (!active) return 0;
    for (const EffectEntry &effect : effectTable)
        if (effect.rule != MenuRule::ALWAYS)
            enable(effect.offset, IsOffered(effect.rule, active->colourType, active->maskEditing != 0));
    return 0;
}

//---- Commands

// All places have numbers and names, also the one beyond the last effect.
static void FillChooser(ChooserRecord &record, HostContext *host)
{
    enum { FIRST_ID = 911, NAME_BEFORE_FIRST = 5100 };
    record.resourceModule = host->resourceModule;
    snprintf(record.title, sizeof record.title, "Effects Helper");
    record.host = host;
    record.entryCount = 1 + EFFECT_COUNT;
    for (int i = 0; i <= CHOOSER_ROOM; ++i) record.ids[i] = FIRST_ID + i;
    snprintf(record.names[0], sizeof record.names[0], "Original Image");
    for (int i = 1; i <= CHOOSER_ROOM; ++i)
        KPZ_LoadString(host->window, host->resourceModule, NAME_BEFORE_FIRST + i, record.names[i],
                       sizeof record.names[i]);
}

KPZ_EXPORT INT_PTR KPZAPI KPZCommandProcessor(HostContext *host, int32_t command, INT_PTR opaque, int32_t base,
                                              INT_PTR alsoOpaque);

// Lets the person choose among all effects, then goes on as if the chosen one's command had been given.
static INT_PTR RunChooser(HostContext *host, ModuleHandle resources, INT_PTR opaque, int32_t base, INT_PTR alsoOpaque)
{
    ChooserRecord record = {};
    FillChooser(record, host);
    const INT_PTR chosen = KPZ_RunDialogBox(KPZ_GetDesktopWindow(), HelperDialog, resources, CHOOSER_TEMPLATE, &record);
    if (chosen == CHOOSER_CANCELLED || chosen < 0 || chosen >= EFFECT_COUNT) return 0;
    return KPZCommandProcessor(host, uint16_t(base + effectTable[chosen].offset), opaque, base, alsoOpaque);
}

KPZ_EXPORT INT_PTR KPZAPI KPZCommandProcessor(HostContext *host, int32_t command, INT_PTR opaque, int32_t base,
                                              INT_PTR alsoOpaque)
{
    ModuleHandle resources = KPZ_GetLoadedModuleHandle(host->resourceModule);
    if (!host->activeImage) return 0;

    const int offset = int16_t(command) - base;
    if (offset == CHOOSER_COMMAND) return RunChooser(host, resources, opaque, base, alsoOpaque);
    const EffectEntry *effect = EffectOfCommand(offset);
    if (!effect) return 0;
    const DLGPROC dialog = descriptors[effect - effectTable]->dialog;
    return KPZ_RunDialogBox(KPZ_GetDesktopWindow(), dialog, resources, effect->templateId, host);
}

KPZ_EXPORT int32_t KPZAPI KPZNewImageProcessor(INT_PTR, INT_PTR) { return 0; }

KPZ_EXPORT int32_t KPZAPI KPZExitProcessor() { return 0; }
