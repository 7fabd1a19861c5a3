// What each effect brings to the family: titles, help page, words of its refusal to close, ranges and defaults, as
// host/check/effect_facts.h has them.

#include "host/check/effect_facts.h"
#include "tests/framework/stage.h"

#include <algorithm>
#include <gtest/gtest.h>

void PrintTo(const EffectFacts &row, std::ostream *out) { *out << row.name; }

struct AnEffect : testing::TestWithParam<EffectFacts> {
};
INSTANTIATE_TEST_SUITE_P(Built, AnEffect, testing::ValuesIn(AllEffectFacts()));

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
        for (const SpinFact &spin : GetParam().spins) {
            int32_t low = 0, high = 0;
            HostSpinRange(dialog, spin.id, &low, &high);
            EXPECT_EQ(low, spin.low) << spin.id;
            EXPECT_EQ(high, spin.high) << spin.id;
            EXPECT_EQ(KPZ_GetSpinBoxIntValue(dialog, spin.id), spin.value) << spin.id;
        }
        const std::vector<int> &checked = GetParam().checked;
        for (int id : checked) EXPECT_TRUE(KPZ_IsButtonChecked(dialog, id)) << id;
        for (const ParameterFact &control : AllParameterFacts()) {
            if (control.offset != GetParam().offset) continue;
            if (control.type == ParameterControl::COLOUR) { EXPECT_EQ(HostShownColour(dialog, control.id), 0u); }
            if (control.type != ParameterControl::RADIO || std::count(checked.begin(), checked.end(), control.id))
                continue;
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
static int32_t Change(HWND dialog, const ParameterFact &control, int32_t before)
{
    switch (control.type) {
    case ParameterControl::SPIN: HostTypeNumber(dialog, control.fieldId, "7"); return 7;
    case ParameterControl::COLOUR: HostPickColour(dialog, control.id, 0x123456); return 0x123456;
    case ParameterControl::RADIO: KPZ_SendDlgItemMsg(dialog, control.id, BM_CLICK, 0, 0); return control.id;
    case ParameterControl::CHECK: break;
    }
    KPZ_SendDlgItemMsg(dialog, control.id, BM_CLICK, 0, 0);
    return 1 - before;
}

TEST_P(AnEffect, TakesEachControlIntoItsOwnParameterAlone)
{
    Stage stage;
    InDialog(stage, GetParam().offset, [&](HWND dialog) {
        for (const ParameterFact &control : AllParameterFacts()) {
            if (control.offset != GetParam().offset) continue;
            std::vector<int32_t> expected = OwnParameters(dialog);
            int32_t &parameter = expected.at(size_t(control.parameter));
            parameter = Change(dialog, control, parameter);
            EXPECT_EQ(OwnParameters(dialog), expected) << control.id;
            if (control.type != ParameterControl::SPIN) continue;
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
