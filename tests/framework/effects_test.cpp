// What each effect brings to the family: titles, help page, words of its refusal to close, ranges and defaults.

#include "tests/framework/stage.h"

#include <algorithm>
#include <gtest/gtest.h>

struct SpinRow {
    int id, low, high, value;
};

struct EffectRow {
    const char *name;   // in messages
    int offset;
    const char *title;       // the block's
    const char *openTitle;   // the host's
    int help;
    std::vector<SpinRow> spins;
    std::vector<int> checked;   // radio buttons and check boxes
    bool configuresColour;
};

static void PrintTo(const EffectRow &row, std::ostream *out) { *out << row.name; }

static const EffectRow rows[] = {
    {"Matrix",
     1,
     "Filters",
     "Filters",
     74,
     {{990, 1, 1000, 1}, {980, -255, 255, 0}, {920, 1, 50, 1}, {4020, -50, 50, 0}, {4044, -50, 50, 1}},
     {5160, 1270},
     false},
    {"Median", 2, "Median", "Median Filter", 75, {{1540, 1, 30, 1}}, {1520}, false},
    {"Noise", 3, "Noise", "Noise", 77, {{1290, 1, 100, 15}, {1310, 1, 255, 10}}, {}, false},
    {"Mirror", 5, "", "", 76, {}, {1260, 6950}, false},
    {"Shear", 6, "", "Shear", 86, {{6140, -75, 75, 0}}, {900, 6940}, true},
    {"Block", 7, "Blocks", "Blocks", 84, {{7210, 1, 500, 10}, {7220, 1, 500, 10}}, {}, false},
    {"Wave", 8, "Wave", "Wave", 83, {{1070, 1, 50, 10}, {1030, 1, 1000, 20}, {1060, 0, 360, 0}}, {1200}, false},
    {"Ripple",
     9,
     "Ripple",
     "Ripple",
     79,
     {{1060, -360, 360, 0}, {1070, 1, 100, 10}, {1030, 1, 100, 10}},
     {1020},
     false},
    {"Swirl", 10, "Swirl", "Swirl", 56, {{6440, -8000, 8000, 45}}, {}, false},
    {"Oil Painting", 12, "Oil Painting", "Oil Painting", 78, {{1450, 1, 50, 3}}, {}, false},
    {"Fish Eye", 13, "Fishing", "Fisheye", 90, {{1840, 1, 100, 20}}, {}, false},
    {"Cone", 14, "Cone Head", "Cone", 72, {{1840, 1, 100, 20}}, {}, false},
    {"Random Shear", 15, "Random Shear", "Random Shear", 92, {}, {}, true},
    {"Melt", 16, "Melt", "Melting", 87, {{6450, 1, 100, 100}}, {1260}, false},
    {"Polar", 17, "Polar Coord", "Polar Coord", 91, {}, {}, true},
    {"Slices", 18, "Slices", "Slices", 88, {{1110, 1, 1000, 32}, {1090, 1, 1000, 8}, {1160, 1, 1000, 40}}, {}, true},
    {"Acid", 19, "Acid", "Acid", 85, {{1420, 0, 2000, 128}}, {}, false},
    {"DV", 20, "Double Vision", "Double Vision", 73, {{1210, 1, 300, 20}}, {5530}, false},
    {"Tile", 21, "Tiles", "Tiles", 93, {{1110, 1, 1000, 32}, {1150, 1, 1000, 32}}, {}, true},
    {"Solarize", 22, "Solarize", "Solarize", 82, {{6380, 0, 255, 128}}, {1270}, false},
};

// Which control changes which of an effect's own parameters, counted in 32-bit fields.
enum ControlType { SPIN, RADIO, CHECK, COLOUR };
struct OwnControl {
    int offset;
    ControlType type;
    int id, fieldId, parameter;
};

static constexpr OwnControl ownControls[] = {
    {2, SPIN, 1540, 1550, 0},  {2, RADIO, 1510, 0, 1},    {2, RADIO, 1470, 0, 1},    {2, RADIO, 1520, 0, 1},
    {3, SPIN, 1290, 1300, 0},  {3, SPIN, 1310, 1320, 1},  {5, RADIO, 1230, 0, 0},    {5, RADIO, 1240, 0, 0},
    {5, RADIO, 1250, 0, 0},    {5, RADIO, 1260, 0, 0},    {6, COLOUR, 1130, 0, 0},   {6, SPIN, 6140, 910, 1},
    {6, RADIO, 890, 0, 2},     {6, RADIO, 900, 0, 2},     {7, SPIN, 7210, 1180, 0},  {7, SPIN, 7220, 1190, 1},
    {8, SPIN, 1070, 1080, 0},  {8, COLOUR, 1130, 0, 1},   {8, SPIN, 1030, 1040, 2},  {8, SPIN, 1060, 1050, 3},
    {8, RADIO, 5530, 0, 4},    {8, RADIO, 1200, 0, 4},    {9, SPIN, 1070, 1080, 0},  {9, SPIN, 1060, 1050, 1},
    {9, SPIN, 1030, 1040, 2},  {9, CHECK, 1020, 0, 3},    {10, SPIN, 6440, 1440, 0}, {12, SPIN, 1450, 1460, 0},
    {13, SPIN, 1840, 1850, 0}, {14, SPIN, 1840, 1850, 0}, {15, COLOUR, 1130, 0, 0},  {16, SPIN, 6450, 1010, 0},
    {16, RADIO, 1230, 0, 1},   {16, RADIO, 1240, 0, 1},   {16, RADIO, 1250, 0, 1},   {16, RADIO, 1260, 0, 1},
    {17, COLOUR, 1130, 0, 0},  {18, COLOUR, 1130, 0, 0},  {18, SPIN, 1110, 1120, 1}, {18, SPIN, 1090, 1100, 2},
    {18, SPIN, 1160, 1170, 3}, {19, SPIN, 1420, 1430, 0}, {20, SPIN, 1210, 1220, 0}, {20, RADIO, 1200, 0, 1},
    {20, RADIO, 5530, 0, 1},   {21, SPIN, 1150, 1140, 0}, {21, COLOUR, 1130, 0, 1},  {21, SPIN, 1110, 1120, 2},
    {22, SPIN, 6380, 1280, 0}, {22, RADIO, 1230, 0, 1},   {22, RADIO, 1240, 0, 1},   {22, RADIO, 1250, 0, 1},
    {22, RADIO, 1260, 0, 1},   {22, RADIO, 1270, 0, 1},
};

struct AnEffect : testing::TestWithParam<EffectRow> {
};
INSTANTIATE_TEST_SUITE_P(Built, AnEffect, testing::ValuesIn(rows));

TEST_P(AnEffect, NamesItselfInItsBlockAndToTheHost)
{
    Stage stage;
    std::string open;
    InDialog(stage, GetParam().offset, [&](HWND dialog) {
        EXPECT_STREQ(CurrentBlock(dialog)->header.title, GetParam().title);
        open = stage.host.context.openEffectTitle;
    });
    EXPECT_EQ(open, GetParam().openTitle);
    EXPECT_STREQ(stage.host.context.openEffectTitle, "");
}

TEST_P(AnEffect, OpensItsOwnHelpPage)
{
    Stage stage;
    InDialog(stage, GetParam().offset, [](HWND dialog) { Command(dialog, HELP_BUTTON); });
    EXPECT_EQ(stage.helpPages, std::vector<int32_t>{GetParam().help});
}

TEST_P(AnEffect, RefusesToCloseInItsOwnWords)
{
    Stage stage;
    const std::string name = GetParam().name;
    InDialog(stage, GetParam().offset, [&](HWND dialog) {
        // As while a run is under way.
        SharedWrite(stage.images[0]->effectThread, reinterpret_cast<ThreadHandle>(&stage));
        Command(dialog, CLOSE_BUTTON);
        SharedWrite(stage.images[0]->effectThread, nullptr);
        EXPECT_TRUE(IsOpen(dialog));
    });
    ASSERT_EQ(stage.boxes.size(), 1u);
    EXPECT_EQ(stage.boxes[0].text,
              "The " + name + " function is running on some images, abort those images or wait for them to finish");
    EXPECT_EQ(stage.boxes[0].title, name + " Error");
    EXPECT_EQ(stage.boxes[0].style, 0x10);
}

TEST_P(AnEffect, ShowsItsRangesAndDefaults)
{
    Stage stage;
    InDialog(stage, GetParam().offset, [&](HWND dialog) {
        for (const SpinRow &spin : GetParam().spins) {
            int32_t low = 0, high = 0;
            HostSpinRange(dialog, spin.id, &low, &high);
            EXPECT_EQ(low, spin.low) << spin.id;
            EXPECT_EQ(high, spin.high) << spin.id;
            EXPECT_EQ(KPZ_GetSpinBoxIntValue(dialog, spin.id), spin.value) << spin.id;
        }
        const std::vector<int> &checked = GetParam().checked;
        for (int id : checked) EXPECT_TRUE(KPZ_IsButtonChecked(dialog, id)) << id;
        for (const OwnControl &control : ownControls) {
            if (control.offset != GetParam().offset) continue;
            if (control.type == COLOUR) { EXPECT_EQ(HostShownColour(dialog, control.id), 0u); }
            if (control.type != RADIO || std::count(checked.begin(), checked.end(), control.id)) continue;
            EXPECT_FALSE(KPZ_IsButtonChecked(dialog, control.id)) << control.id;
        }
    });
}

static std::vector<int32_t> OwnParameters(HWND dialog)
{
    const EffectBlock *block = CurrentBlock(dialog);
    const auto *own = reinterpret_cast<const int32_t *>(block + 1);
    return {own, own + (size_t(block->view.blockSize) - sizeof(EffectBlock)) / sizeof(int32_t)};
}

// A person's hand on a control; what its parameter becomes.
static int32_t Change(HWND dialog, const OwnControl &control, int32_t before)
{
    switch (control.type) {
    case SPIN: HostTypeNumber(dialog, control.fieldId, "7"); return 7;
    case COLOUR: HostPickColour(dialog, control.id, 0x123456); return 0x123456;
    case RADIO: KPZ_SendDlgItemMsg(dialog, control.id, BM_CLICK, 0, 0); return control.id;
    case CHECK: break;
    }
    KPZ_SendDlgItemMsg(dialog, control.id, BM_CLICK, 0, 0);
    return 1 - before;
}

TEST_P(AnEffect, TakesEachControlIntoItsOwnParameterAlone)
{
    Stage stage;
    InDialog(stage, GetParam().offset, [&](HWND dialog) {
        for (const OwnControl &control : ownControls) {
            if (control.offset != GetParam().offset) continue;
            std::vector<int32_t> expected = OwnParameters(dialog);
            int32_t &parameter = expected.at(size_t(control.parameter));
            parameter = Change(dialog, control, parameter);
            EXPECT_EQ(OwnParameters(dialog), expected) << control.id;
            if (control.type != SPIN) continue;
            HostClickArrows(dialog, control.id, 1);
            ++parameter;
            EXPECT_EQ(OwnParameters(dialog), expected) << control.id;
        }
    });
}

TEST_P(AnEffect, ConfiguresItsColourControlOrLeavesItAlone)
{
    Stage stage;
    const Messages messages = MessagesTo(1130, [&] { InDialog(stage, GetParam().offset, [](HWND) {}); });
    Messages settings;
    for (const Message &message : messages)
        if (message.message == COLOUR_SETTING && message.word != COLOUR_SHOWN) settings.push_back(message);
    const Messages both = {{COLOUR_SETTING, 4, 0}, {COLOUR_SETTING, 5, 1}};
    EXPECT_EQ(settings, GetParam().configuresColour ? both : Messages{});
}

//---- Acid alone refuses pictures

TEST(AcidDialog, RefusesPaletteAndOneBitPictures)
{
    for (int32_t type : {PALETTE, ONE_BIT}) {
        Stage stage(0);
        ImageRecord *image = Open(stage, AnyPicture(type));
        InDialog(stage, ACID_COMMAND, [&](HWND dialog) {
            const Calls calls = CallsDuring([&] { Command(dialog, APPLY_BUTTON); });
            EXPECT_EQ(CountOf(calls, "KPZ_CreateThread"), 0);
        });
        EXPECT_EQ(SharedRead(image->effectThread), nullptr);
        ASSERT_EQ(stage.boxes.size(), 1u);
        EXPECT_EQ(stage.boxes[0].text, "This function works only on RGB (24 bit) or Grayscale images");
        EXPECT_EQ(stage.boxes[0].title, "Velmorant: Function Error");
        EXPECT_EQ(stage.boxes[0].style, 0x10);
    }
}

//---- Ripple's and the lenses' controls

struct RippleBlock {
    EffectBlock common;
    int32_t amplitude, phase, wavelength, fade;
};
constexpr int FADE = 1020;

static RippleBlock &CurrentRipple(HWND dialog) { return *reinterpret_cast<RippleBlock *>(CurrentBlock(dialog)); }

TEST(RippleDialog, WritesFadingThenPhaseAmplitudeAndWavelength)
{
    Stage stage;
    InDialog(stage, RIPPLE_COMMAND, [](HWND dialog) {
        RippleBlock &block = CurrentRipple(dialog);
        block.amplitude = 11, block.phase = -22, block.wavelength = 33, block.fade = 0;
        Calls calls = CallsDuring([&] { Send(dialog, ACTIVE_IMAGE_CHANGED); });
        calls = Only(calls, {"KPZ_SetSpinBoxValue", "KPZ_CheckButton"});
        ASSERT_GE(calls.size(), 4u);
        calls.erase(calls.begin(), calls.end() - 4);   // the scopes come before
        EXPECT_EQ(calls,
                  (Calls{Called("KPZ_CheckButton", dialog, FADE, 0), Called("KPZ_SetSpinBoxValue", dialog, PHASE, -22),
                         Called("KPZ_SetSpinBoxValue", dialog, AMPLITUDE, 11),
                         Called("KPZ_SetSpinBoxValue", dialog, WAVELENGTH, 33)}));
    });
}

TEST(RippleDialog, StoresEachFieldAndTheCheckBox)
{
    Stage stage;
    InDialog(stage, RIPPLE_COMMAND, [](HWND dialog) {
        const RippleBlock &block = CurrentRipple(dialog);
        Type(dialog, PHASE_EDIT, "-123");
        Type(dialog, WAVELENGTH_EDIT, "45");
        Type(dialog, AMPLITUDE_EDIT, "67");
        const Messages heard = MessagesTo(PREVIEW_CONTROL, [&] { Tick(dialog, FADE, false); });
        EXPECT_EQ(heard, (Messages{{PREVIEW_CHANGED, 0, 0}}));
        EXPECT_EQ(block.phase, -123);
        EXPECT_EQ(block.wavelength, 45);
        EXPECT_EQ(block.amplitude, 67);
        EXPECT_EQ(block.fade, 0);
    });
}

TEST(RippleDialog, StoresTheCheckBoxSilentlyWithThePreviewOff)
{
    Stage stage;
    InDialog(stage, RIPPLE_COMMAND, [](HWND dialog) {
        Tick(dialog, PREVIEW_CHECK, false);
        EXPECT_EQ(MessagesTo(PREVIEW_CONTROL, [&] { Tick(dialog, FADE, false); }), Messages{});
        EXPECT_EQ(CurrentRipple(dialog).fade, 0);
    });
}

TEST(TheLenses, StoreTheirPower)
{
    struct LensBlock {
        EffectBlock common;
        int32_t power;
    };
    for (int command : {FISHEYE_COMMAND, CONE_HEAD_COMMAND}) {
        Stage stage;
        InDialog(stage, command, [](HWND dialog) {
            Type(dialog, 1850, "77");
            EXPECT_EQ(reinterpret_cast<LensBlock *>(CurrentBlock(dialog))->power, 77);
        });
    }
}
