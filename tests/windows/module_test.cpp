// The module as Windows sees it: sizes that hosts of other makers rely on, its entry routine, its resources.

#include "effects/effects.h"
#include "host/documents/library.h"
#include "tests/framework/stage.h"

#include <gtest/gtest.h>
#include <map>

//---- Sizes

#ifndef _WIN64   // hosts of other makers have 32 bits

TEST(Records, HaveTheBytesThatHostsRelyOn)
{
    EXPECT_EQ(sizeof(RelocateRequest), 64u);
    EXPECT_EQ(sizeof(ImageView), 64u);
    EXPECT_EQ(sizeof(FilterHeader), 64u);
    EXPECT_EQ(sizeof(EffectBlock), 132u);
    EXPECT_EQ(sizeof(ChooserRecord), 1308u);
}

TEST(Blocks, HaveTheBytesThatHostsRelyOn)
{
    const std::map<int, int32_t> bytes = {
        {FILTERS_COMMAND, 360},      {MEDIAN_COMMAND, 140},   {NOISE_COMMAND, 140},
        {MIRROR_COMMAND, 136},       {SHEAR_COMMAND, 144},    {BLOCKS_COMMAND, 140},
        {WAVE_COMMAND, 152},         {RIPPLE_COMMAND, 148},   {SWIRL_COMMAND, 136},
        {OIL_PAINTING_COMMAND, 136}, {FISHEYE_COMMAND, 136},  {CONE_HEAD_COMMAND, 136},
        {RANDOM_SHEAR_COMMAND, 136}, {MELT_COMMAND, 140},     {POLAR_COORDINATES_COMMAND, 136},
        {SLICES_COMMAND, 148},       {ACID_COMMAND, 136},     {DOUBLE_VISION_COMMAND, 140},
        {TILES_COMMAND, 144},        {SOLARIZE_COMMAND, 140},
    };
#define EFFECT(name, ...) &name,
    for (const EffectDescriptor *effect : {
#include "interface/effect_table.inc"
         }) {
        const auto known = bytes.find(effect->commandOffset);   // later effects' blocks are nobody's yet
        if (known == bytes.end()) continue;
        EXPECT_EQ(effect->blockSize, known->second) << effect->name;
    }
}

#endif

//---- The loaded module

struct TheLibrary : testing::Test {
    HMODULE module;

    TheLibrary()
    {
        std::string error;
        module = static_cast<HMODULE>(OpenLibrary(MODULE_FILE, error));
        EXPECT_NE(module, nullptr) << error;
    }
    ~TheLibrary() override { CloseLibrary(module); }

    std::string StringOf(UINT id) const
    {
        char text[4096] = "";
        const int length = LoadStringA(module, id, text, sizeof text);
        return std::string(text, size_t(length));
    }
};

TEST_F(TheLibrary, AnswersItsEntryRoutineWith1)
{
    const auto *start = reinterpret_cast<const uint8_t *>(module);
    const auto *dos = reinterpret_cast<const IMAGE_DOS_HEADER *>(start);
    const auto *headers = reinterpret_cast<const IMAGE_NT_HEADERS *>(start + dos->e_lfanew);
    typedef BOOL(WINAPI * EntryRoutine)(HINSTANCE, DWORD, LPVOID);
    const auto entry =
        reinterpret_cast<EntryRoutine>(const_cast<uint8_t *>(start + headers->OptionalHeader.AddressOfEntryPoint));
    EXPECT_EQ(entry(module, DLL_THREAD_ATTACH, nullptr), 1);
    EXPECT_EQ(entry(module, DLL_THREAD_DETACH, nullptr), 1);
}

//---- What it leaves behind

// A host with the module, one run of which is shared among threads; the lowest slot that is free when all has gone.
static DWORD FreeSlotBehindARun()
{
    {
        Stage stage(0);
        ImageRecord *image = Open(stage, AnyPicture(RGB, 500, 400));
        InDialog(stage, OIL_PAINTING_COMMAND, [&](HWND dialog) { ApplyAndWait(dialog); });
        EXPECT_EQ(MiscUndoCount(image), 1);
    }
    const DWORD slot = TlsAlloc();
    TlsFree(slot);
    return slot;
}

// 1,088 slots are all that a process has for what threads have of their own.
TEST(TheModule, GivesBackItsSlotEachTimeThatItIsLetGo)
{
    HostAllowThreads(2);
    const DWORD slot = FreeSlotBehindARun();
    for (int i = 0; i < 4; ++i) EXPECT_EQ(FreeSlotBehindARun(), slot);
    HostAllowThreads(0);
}

//---- Texts

struct ModuleText {
    int32_t id;
    const char *text;
};
#define STRING(id, text) {id, text},
static const ModuleText moduleTexts[] = {
#include "resources/strings.inc"
};
#undef STRING

TEST_F(TheLibrary, HasItsStringsAsResources)
{
    for (const ModuleText &entry : moduleTexts) EXPECT_EQ(StringOf(UINT(entry.id)), entry.text) << entry.id;
}

TEST_F(TheLibrary, HasNoOtherStrings)
{
    for (const UINT id : {0u, 15u, 72u, 99u, 156u, 5101u}) EXPECT_EQ(StringOf(id), "") << id;
}
