// The five routines that the host finds by name. They keep no state: everything that lasts lives in the open
// dialogs.

#include "interface/host_interface.h"
#include "module/menu_tables.h"

#include <stdio.h>

static void AppendCommand(HMENU menu, int32_t base, const MenuLabel &item)
{
    AppendMenuA(menu, MF_STRING, UINT_PTR(base + item.offset), item.label);
}

KPZ_EXPORT int32_t KPZAPI KPZInitialize(HMENU menu, int32_t base)
{
    AppendCommand(menu, base, FILTERS_LABEL);
    AppendMenuA(menu, MF_SEPARATOR, 0, nullptr);
    for (const MenuLabel &item : menuLabels) AppendCommand(menu, base, item);
    AppendMenuA(menu, MF_SEPARATOR, 0, nullptr);
    AppendCommand(menu, base, HELP_LABEL);
    return 0;
}

// The image's address is itself the first enable value, so that without an image everything is greyed.
KPZ_EXPORT int32_t KPZAPI KPZSetupMenus(HMENU menu, int32_t base, ImageRecord *active)
{
    const auto enable = [&](int offset, INT_PTR on) { KPZ_EnableMenuItem(menu, base + offset, on); };
    for (int offset : chooserOffsets) enable(offset, reinterpret_cast<INT_PTR>(active));
    enable(CHOOSER_COMMAND, reinterpret_cast<INT_PTR>(active));
    if (!active) return 0;

    const int32_t type = active->colourType;
    const bool greyOrRgb = type == RGB || type == GREY;
    enable(ACID_COMMAND, greyOrRgb);
    enable(MEDIAN_COMMAND, type != ONE_BIT);
    enable(MELT_COMMAND, type != ONE_BIT);
    enable(MIRROR_COMMAND, active->maskEditing == 0);
    enable(NOISE_COMMAND, greyOrRgb);
    enable(OIL_PAINTING_COMMAND, type != ONE_BIT);
    enable(SOLARIZE_COMMAND, greyOrRgb);
    return 0;
}

//---- Commands

static void FillChooser(ChooserRecord &record, HostContext *host)
{
    record.resourceModule = host->resourceModule;
    snprintf(record.title, sizeof record.title, "Effects Helper");
    record.host = host;
    record.entryCount = 21;
    for (int i = 0; i < 22; ++i) record.ids[i] = 911 + i;
    snprintf(record.names[0], sizeof record.names[0], "Original Image");
    for (int i = 1; i < 22; ++i)
        KPZ_LoadString(host->window, host->resourceModule, 5100 + i, record.names[i], sizeof record.names[i]);
}

KPZ_EXPORT INT_PTR KPZAPI KPZCommandProcessor(HostContext *host, int32_t command, INT_PTR opaque, int32_t base,
                                              INT_PTR alsoOpaque);

// Lets the person choose among all effects, then goes on as if the chosen one's command had been given.
static INT_PTR RunChooser(HostContext *host, ModuleHandle resources, INT_PTR opaque, int32_t base, INT_PTR alsoOpaque)
{
    ChooserRecord record = {};
    FillChooser(record, host);
    const INT_PTR chosen = KPZ_RunDialogBox(KPZ_GetDesktopWindow(), HelperDialog, resources, CHOOSER_TEMPLATE, &record);
    if (chosen == CHOOSER_CANCELLED) return 0;
    return KPZCommandProcessor(host, uint16_t(base + chooserOffsets[chosen]), opaque, base, alsoOpaque);
}

KPZ_EXPORT INT_PTR KPZAPI KPZCommandProcessor(HostContext *host, int32_t command, INT_PTR opaque, int32_t base,
                                              INT_PTR alsoOpaque)
{
    ModuleHandle resources = KPZ_GetLoadedModuleHandle(host->resourceModule);
    if (!host->activeImage) return 0;

    const int offset = int16_t(command) - base;
    if (offset == CHOOSER_COMMAND) return RunChooser(host, resources, opaque, base, alsoOpaque);
    const EffectDescriptor *effect = EffectOfCommand(offset);
    if (!effect) return 0;
    return KPZ_RunDialogBox(KPZ_GetDesktopWindow(), effect->dialog, resources, effect->templateId, host);
}

KPZ_EXPORT int32_t KPZAPI KPZNewImageProcessor(INT_PTR, INT_PTR) { return 0; }

KPZ_EXPORT int32_t KPZAPI KPZExitProcessor() { return 0; }
