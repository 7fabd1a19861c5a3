#include "host/editor/true_size.h"

#include "host/acting/acting.h"

#include <cstdlib>
#include <cstring>

static TrueSize MirroredSize(HWND dialog, const DialogTemplate &table, TrueSize size)
{
    if (ShownOption(dialog, table, "scope") != "all") return size;
    const std::string direction = ShownOption(dialog, table, "direction");
    if (direction == "left" || direction == "right") return {2 * size.width, size.height};
    return {size.width, 2 * size.height};
}

static TrueSize ShearedSize(HWND dialog, const DialogTemplate &table, TrueSize size)
{
    const std::string scope = ShownOption(dialog, table, "scope");
    if (scope != "all" && scope != "image") return size;
    const int32_t angle = std::atoi(ShownOption(dialog, table, "angle").c_str());
    if (ShownOption(dialog, table, "direction") == "horizontal") {
        return {size.width + MiscShearGrowth(size.height, angle), size.height};
    }
    return {size.width, size.height + MiscShearGrowth(size.width, angle)};
}

TrueSize SizeAfterRun(HWND dialog, TrueSize size)
{
    const DialogTemplate *table = FindDialogTemplate(HostDialogTemplate(dialog));
    if (!table || !table->changesSize) return size;
    const bool mirrors = strcmp(table->effect, "mirror") == 0;
    return mirrors ? MirroredSize(dialog, *table, size) : ShearedSize(dialog, *table, size);
}

void PutOnRecord(ImageRecord *image, TrueSize size)
{
    image->width = size.width;
    image->height = size.height;
    BasePicture &base = image->base;
    if (base.pixels) {
        base.width = size.width;
        base.height = size.height;
        KPZ_FreeMem(image->pixels);
        const auto bytes = uint32_t(RowStride(image->bitsPerPixel, size.width)) * uint32_t(size.height);
        KPZ_AllocMem(&image->pixels, bytes, 0);
    }
    MiscShowObjects(image);
}
