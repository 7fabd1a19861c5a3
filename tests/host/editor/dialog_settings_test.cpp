// Settings read from an open dialog, put back, drawn by lot and told as lines: for every effect there is.

#include "host/editor/dialog_settings.h"
#include "host/editor/refusals.h"

#include <gtest/gtest.h>
#include <random>

namespace
{

struct DialogSettings : testing::Test {
    Host host;
    std::mt19937 random{7};
    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(StartHost(host, "", error)) << error;
        OpenImage(host, NewPicture(RGB, 40, 30));
    }
    void TearDown() override { EndHost(host); }
    std::function<uint32_t(uint32_t)> Draw()
    {
        return [this](uint32_t most) { return uint32_t(random() % (uint64_t(most) + 1)); };
    }
    void InEveryDialog(const std::function<void(HWND dialog, const DialogTemplate &effect)> &act)
    {
        for (int32_t i = 0; i < DialogTemplateCount(); ++i) {
            const DialogTemplate &effect = *DialogTemplateAt(i);
            if (!effect.effect) continue;
            SCOPED_TRACE(effect.effect);
            ASSERT_TRUE(ActInDialog(host, effect.commandOffset, [&](HWND dialog) {
                act(dialog, effect);
                Press(dialog, CLOSE_BUTTON);
            }));
        }
    }
};

}   // namespace

TEST_F(DialogSettings, WhatIsDrawnIsInRangeAndIsBroughtBackByItsLine)
{
    InEveryDialog([&](HWND dialog, const DialogTemplate &effect) {
        std::string fault, name;
        const Settings before = SettingsIn(dialog, effect, Which::ALL);
        EXPECT_FALSE(before.empty());
        EXPECT_TRUE(PutSettings(dialog, effect, RandomSettings(dialog, effect, Draw()), 30, fault)) << fault;
        const Settings drawn = SettingsIn(dialog, effect, Which::ALL);
        Settings read;
        EXPECT_TRUE(ReadStep(StepLine(effect, drawn), name, read));
        EXPECT_EQ(name, effect.effect);
        EXPECT_TRUE(SameSettings(read, drawn));
        EXPECT_TRUE(PutSettings(dialog, effect, before, 30, fault)) << fault;
        EXPECT_TRUE(SameSettings(SettingsIn(dialog, effect, Which::ALL), before));
        EXPECT_TRUE(PutSettings(dialog, effect, read, 30, fault)) << fault;
        EXPECT_TRUE(SameSettings(SettingsIn(dialog, effect, Which::ALL), drawn));
    });
}

TEST_F(DialogSettings, ANumberBeyondItsRangeIsNamedAndTheOthersArePut)
{
    const DialogTemplate &noise = *FindEffectTemplate("noise");
    ASSERT_TRUE(ActInDialog(host, noise.commandOffset, [&](HWND dialog) {
        std::string fault;
        EXPECT_FALSE(PutSettings(dialog, noise, {{"amount", "300"}, {"variation", "9"}}, 30, fault));
        EXPECT_NE(fault.find("amount: 300 is outside 1..100"), std::string::npos) << fault;
        EXPECT_EQ(ShownOption(dialog, noise, "variation"), "9");
        const ControlTemplate &field = *FindControl(&noise, 1300);
        EXPECT_EQ(NameOfField(noise, field), "Amount");
        EXPECT_EQ(RangeOfField(dialog, noise, field), "1 to 100");
        EXPECT_EQ(FaultOfField(dialog, noise, field, "400"), "Amount: 400 is outside 1 to 100");
        EXPECT_EQ(FaultOfField(dialog, noise, field, ""), "Amount: a number of 1 to 100 is wanted");
        EXPECT_EQ(FaultOfField(dialog, noise, field, "50"), "");
        Press(dialog, CLOSE_BUTTON);
    }));
}

TEST(CommandLines, QuoteWhatHasBlanksAsEveryShellDoes)
{
    const DialogTemplate &wave = *FindEffectTemplate("wave");
    EXPECT_EQ(CommandLine(wave, {{"amplitude", "20"}, {"background", "#FF0000"}},
                          {"C:\\my pictures\\a.png", "b.png", "1,2,3x4", "5"}),
              "velmorant apply wave \"C:\\my pictures\\a.png\" b.png --amplitude 20 --background \"#FF0000\" "
              "--fringe as-is --area 1,2,3x4 --seed 5");
    EXPECT_EQ(CommandLine(*FindEffectTemplate("noise"), {}, {"a.png", "b.png", "", ""}),
              "velmorant apply noise a.png b.png");
}

TEST(Refusals, SayWhatAnEffectLeavesAndWhatHelps)
{
    const auto of = [](const char *effect, int32_t type, bool editing = false) {
        return RefusalOf(*FindEffectTemplate(effect), type, editing);
    };
    EXPECT_EQ(of("wave", ONE_BIT).why, "");
    EXPECT_EQ(of("filters", ONE_BIT).why, "Filters leaves black and white pictures as they are");
    EXPECT_EQ(of("noise", PALETTE).helps, "convert it to RGB or grey");
    EXPECT_TRUE(of("median", ONE_BIT).converting);
    EXPECT_EQ(of("median", PALETTE).why, "");
    EXPECT_FALSE(of("mirror", RGB, true).converting);
    EXPECT_NE(of("mirror", RGB, true).why, "");
}
