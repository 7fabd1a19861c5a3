// What a host gives without a dialog: memory, locks, draws, its record, its menu, and the records of its pictures.

#include "host/check/watching/watch.h"

#include <cstdlib>
#include <cstring>

//---- Memory, locks, draws

static void LookAtBlock(uint8_t *block, uint32_t size)
{
    if (!Expect(block != nullptr, Rule::HOST_ALLOC, std::to_string(size) + " bytes: null was stored")) return;
    // What malloc aligns to is twice a pointer everywhere but in small blocks of old runtimes; half of it holds for all.
    Expect(reinterpret_cast<uintptr_t>(block) % sizeof(double) == 0, Rule::HOST_ALLOC,
           std::to_string(size) + " bytes: the block is not aligned");
}

static void Memory()
{
    static constexpr uint32_t sizes[] = {0, 1, 7, 100, 4096, 70000, 16 << 20};
    std::vector<uint8_t *> blocks;
    for (const uint32_t size : sizes) {
        Doing("called KPZ_AllocMem for " + std::to_string(size) + " bytes with the flags 0x301");
        auto *block = reinterpret_cast<uint8_t *>(uintptr_t(1));
        KPZ_AllocMem(&block, size, 0x301);
        LookAtBlock(block, size);
        if (block) memset(block, int(blocks.size() + 1), size);
        blocks.push_back(block);
    }
    for (size_t i = 0; i < blocks.size(); ++i)
        for (uint32_t at = 0; blocks[i] && at < sizes[i]; ++at)
            if (!Expect(blocks[i][at] == i + 1, Rule::HOST_ALLOC, "two blocks share their bytes")) break;
    Doing("called KPZ_FreeMem on another thread");
    std::thread([&] {
        for (uint8_t *block : blocks)
            if (block) KPZ_FreeMem(block);
    }).join();
}

static void LookAtLock(SemaphoreHandle lock, const char *name)
{
    const std::string which = std::string("the ") + name + ": ";
    Doing("took the " + std::string(name) + " of an image twice and released it twice");
    Expect(KPZ_GetMutexSem(lock, 0), Rule::HOST_LOCK, which + "it is free and was refused");
    Expect(!OtherGets(lock), Rule::HOST_LOCK, which + "another thread got it too");
    const bool again = KPZ_GetMutexSem(lock, 1000) != 0;
    Expect(again, Rule::HOST_LOCK, which + "the thread that holds it was refused");
    if (again) KPZ_ReleaseMutexSem(lock);
    Expect(!OtherGets(lock), Rule::HOST_LOCK, which + "taken twice, it was free after one release");
    KPZ_ReleaseMutexSem(lock);
    Expect(OtherGets(lock), Rule::HOST_LOCK, which + "it is still held after its last release");

    Doing("waited for the " + std::string(name) + " on another thread while this one held it");
    KPZ_GetMutexSem(lock, 0);
    bool got = false;
    std::thread waiting([&] {
        got = KPZ_GetMutexSem(lock, 20000) != 0;
        if (got) KPZ_ReleaseMutexSem(lock);
    });
    ComesToHold(20, [] { return false; });
    KPZ_ReleaseMutexSem(lock);
    waiting.join();
    Expect(got, Rule::HOST_LOCK, which + "who waited for it did not get it when it was released");
}

static void Locks()
{
    Doing("opened an RGB picture of 8 x 8");
    ImageRecord *image = watch.driver->openImage(8, 8, RGB);
    if (!Expect(image != nullptr, Rule::HOST_PICTURE, "an RGB picture of 8 x 8 could not be opened")) return;
    Expect(image->imageLock != image->objectLock, Rule::HOST_PICTURE, "its two locks are one");
    if (image->imageLock && image->objectLock) {
        LookAtLock(image->imageLock, "image lock");
        LookAtLock(image->objectLock, "object lock");
    }
    watch.driver->closeImage(image);
}

static void Draws()
{
    Doing("called KPZ_srand and drew, twice");
    int first[8], second[8];
    KPZ_srand();
    for (int &number : first) number = rand();
    KPZ_srand();
    for (int &number : second) number = rand();
    Expect(memcmp(first, second, sizeof first) == 0, Rule::HOST_SEED, "the second draws are not the first again");
    Doing("called KPZ_GetDisplayDepth");
    const int32_t depth = KPZ_GetDisplayDepth();
    Expect(depth >= 1 && depth <= 64, Rule::HOST_DEPTH, "it answered " + std::to_string(depth));
}

//---- Menu and record

static void Commands()
{
    INT_PTR result = 0;
    Doing("chose &Watch without an open image, which greys it");
    Expect(!watch.driver->chooseCommand("&Watch", &result), Rule::HOST_MENU, "the host gave the command all the same");
    Doing("opened an RGB picture of 30 x 20");
    ImageRecord *image = watch.driver->openImage(30, 20, RGB);
    if (!image) return;
    Expect(watch.setUpFor == image, Rule::HOST_SETUP, "it was not called with the image that was opened last");
    Doing("chose &Greyed, which is greyed");
    Expect(!watch.driver->chooseCommand("&Greyed", &result), Rule::HOST_MENU, "the host gave the command all the same");
    Doing("chose &High, whose enable value has no bit set in its lower half");
    Expect(watch.driver->chooseCommand("&High", &result), Rule::HOST_MENU, "the host does not offer it");
    if (!watch.host) return watch.driver->closeImage(image);
    const HostContext &host = *watch.host;
    Expect(host.resourceModule != nullptr, Rule::HOST_RECORD, "resourceModule is null");
    Expect(host.window != nullptr, Rule::HOST_RECORD, "window is null");
    Expect(host.activeImage == image, Rule::HOST_RECORD, "activeImage is not the image that was opened last");
    Expect(IsLinked(image), Rule::HOST_RECORD, "the open image cannot be reached from firstImage");
    Doing("called ChooseMenus");
    const int before = watch.setUps;
    ChooseMenus(watch.host);
    Expect(watch.setUps > before && watch.setUpFor == image, Rule::HOST_CHOOSE_MENUS,
           "KPZSetupMenus had not been called with the active image when it returned");
    Doing("closed the only image");
    watch.driver->closeImage(image);
    Expect(!host.firstImage && !host.activeImage, Rule::HOST_RECORD, "firstImage or activeImage is not null");
    Expect(!watch.setUpFor, Rule::HOST_SETUP, "it was not called without an image afterwards");
}

//---- Pictures

static void LookAtPalette(const ImageRecord &image)
{
    const int32_t entries = image.paletteEntries;
    const auto is = [&](int index, int level) {
        return image.red[index] == level && image.green[index] == level && image.blue[index] == level;
    };
    const std::string count = "paletteEntries is " + std::to_string(entries);
    switch (image.colourType) {
    case RGB: Expect(entries == 0, Rule::HOST_PICTURE, count + ", and an RGB picture has none"); break;
    case GREY:
        Expect(entries == 256, Rule::HOST_PICTURE, count + ", and a grey picture has 256");
        for (int i = 0; i < 256; ++i)
            if (!Expect(is(i, i), Rule::HOST_PICTURE, "a grey picture's palette is no ramp")) break;
        break;
    case ONE_BIT:
        Expect(entries == 2, Rule::HOST_PICTURE, count + ", and a one-bit picture has 2");
        Expect((is(0, 0) && is(1, 255)) || (is(0, 255) && is(1, 0)), Rule::HOST_PICTURE,
               "a one-bit picture's palette is not black and white");
        break;
    default:
        Expect(entries >= 1 && entries <= 256, Rule::HOST_PICTURE, count);
        for (int i = entries < 0 ? 0 : entries; i < 256; ++i)
            if (!Expect(is(i, 0), Rule::HOST_PICTURE, "an entry beyond paletteEntries is not zero")) break;
        if (image.pixels && entries < 256)
            for (const uint8_t index : BytesOf(image))
                if (!Expect(index < entries, Rule::HOST_PICTURE, "a pixel's index is beyond paletteEntries")) break;
    }
}

static void LookAtPicture(ImageRecord &image, int32_t type)
{
    const int32_t bits = type == RGB ? 24 : type == ONE_BIT ? 1 : 8;
    Expect(image.width == 13 && image.height == 7, Rule::HOST_PICTURE, "width and height are not 13 and 7");
    Expect(image.colourType == type, Rule::HOST_PICTURE, "colourType is " + std::to_string(image.colourType));
    Expect(image.bitsPerPixel == bits, Rule::HOST_PICTURE, "bitsPerPixel is " + std::to_string(image.bitsPerPixel));
    Expect(image.imageLock && image.objectLock, Rule::HOST_PICTURE, "it has no imageLock or no objectLock");
    Expect(image.window != nullptr, Rule::HOST_PICTURE, "window is null");
    Expect(image.cropArea.image == &image, Rule::HOST_PICTURE, "cropArea.image is not the image");
    Expect(!SharedRead(image.effectThread), Rule::HOST_PICTURE, "effectThread is not null, and no run is under way");
    Expect(image.mask ? image.maskBitsPerPixel == MaskBitsOf(type) : image.maskBitsPerPixel == 0, Rule::HOST_PICTURE,
           "maskBitsPerPixel is " + std::to_string(image.maskBitsPerPixel));
    Expect(image.objectList.count == 0 && image.selection.pointCount == 0, Rule::HOST_PICTURE,
           "a new picture has objects or a selection");
    if (!Expect(image.pixels != nullptr, Rule::HOST_PICTURE, "pixels is null")) return;
    LookAtPalette(image);
    const size_t bytes = BytesOf(image).size();
    volatile uint8_t *pixels = image.pixels;
    for (size_t i = 0; i < bytes; ++i) pixels[i] = pixels[i];   // all of its padded rows is there to be written
}

static void Pictures()
{
    static const struct {
        int32_t type;
        const char *name;
    } types[] = {{RGB, "an RGB"}, {GREY, "a grey"}, {PALETTE, "a palette"}, {ONE_BIT, "a one-bit"}};
    for (const auto &type : types) {
        Doing(std::string("opened ") + type.name + " picture of 13 x 7");
        ImageRecord *image = watch.driver->openImage(13, 7, type.type);
        if (!image) Note(std::string("the driver opens no picture of this type: ") + type.name + " one");
        if (!image) continue;
        LookAtPicture(*image, type.type);
        watch.driver->closeImage(image);
    }
}

const HostCheck basicChecks[] = {
    {1, "host/memory", Memory}, {1, "host/pictures", Pictures}, {1, "host/locks", Locks},
    {1, "host/draws", Draws},   {2, "host/commands", Commands}, {0, nullptr, nullptr},
};
