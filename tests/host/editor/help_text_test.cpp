#include "host/editor/help_text.h"

#include <gtest/gtest.h>

static bool Has(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

TEST(HelpText, TellsWhatTheEffectDoesAndWhatEachSettingMeans)
{
    const DialogTemplate &wave = *FindEffectTemplate("wave");
    const std::string text = HelpText(wave);
    EXPECT_TRUE(text.starts_with("Wave\n\n" + std::string(wave.about) + "\n")) << text;
    EXPECT_TRUE(Has(text, "\nAmplitude: how far the wave swings")) << text;
    EXPECT_TRUE(Has(text, "\nBackground: colour of what the wave uncovers")) << text;
    EXPECT_TRUE(Has(text, "\nRows shift sideways: rows shift sideways;")) << text;
}

TEST(HelpText, HasALineForEverySettingOfEveryEffectAndNoneForWhatAllShare)
{
    for (int32_t i = 0; i < DialogTemplateCount(); ++i) {
        const DialogTemplate &effect = *DialogTemplateAt(i);
        if (!effect.effect) continue;
        const std::string text = HelpText(effect);
        EXPECT_EQ(text.find('&'), std::string::npos) << text;
        EXPECT_FALSE(Has(text, "\n: ")) << text;
        EXPECT_FALSE(Has(text, "Priority:")) << text;
        EXPECT_FALSE(Has(text, "floating object")) << effect.effect;
        EXPECT_TRUE(Has(text.substr(text.find(effect.about)), ": ")) << effect.effect;
    }
}
