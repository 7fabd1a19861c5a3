// The texts of the help pages and of the examples, as the dialogs' tables give them. How a page looks is not tried
// here.

#include "host/editor/help_text.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>

static std::string TextOf(const std::vector<HelpParagraph> &page)
{
    std::string text;
    for (const HelpParagraph &paragraph : page) {
        text += paragraph.text + (paragraph.kind == HelpKind::TERM ? ": " + paragraph.meaning : "") + "\n";
    }
    return text;
}

static bool Has(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

static std::vector<const DialogTemplate *> Effects()
{
    std::vector<const DialogTemplate *> effects;
    for (int32_t i = 0; i < DialogTemplateCount(); ++i)
        if (DialogTemplateAt(i)->effect) effects.push_back(DialogTemplateAt(i));
    return effects;
}

TEST(HelpPage, BeginsWithTitleSummaryAndWhatTheEffectDoes)
{
    for (const DialogTemplate *effect : Effects()) {
        const std::vector<HelpParagraph> page = HelpPage(*effect);
        ASSERT_GT(page.size(), 3u);
        EXPECT_EQ(page[0].kind, HelpKind::TITLE);
        EXPECT_EQ(page[0].text, effect->title);
        EXPECT_EQ(page[1].kind, HelpKind::SUMMARY);
        EXPECT_EQ(page[1].text.substr(1), std::string(effect->summary).substr(1) + ".");
        EXPECT_EQ(page[2].kind, HelpKind::BODY);
        EXPECT_EQ(page[2].text, effect->about);
        EXPECT_EQ(page[3].kind, HelpKind::HEADING);
    }
}

TEST(HelpPage, WaveHasItsFramesAsHeadingsAndItsControlsAsTerms)
{
    const std::string text = TextOf(HelpPage(*FindEffectTemplate("wave")));
    EXPECT_TRUE(Has(text, "\nBends the picture along a sine curve.\n")) << text;
    EXPECT_TRUE(Has(text, "\nSettings\nAmplitude: how far the wave swings")) << text;
    EXPECT_TRUE(Has(text, "\nBackground: colour of what the wave uncovers\n")) << text;
    EXPECT_TRUE(Has(text, "\nOrientation\nRows shift sideways: rows shift sideways;")) << text;
    EXPECT_TRUE(Has(text, "\nApply to\nImage only: the image and its mask\n")) << text;
    EXPECT_TRUE(Has(text, "\nIn every dialog\nPreview: ")) << text;
}

TEST(HelpPage, LeadsThereByTheWordsThatPeopleKnow)
{
    const std::string filters = TextOf(HelpPage(*FindEffectTemplate("filters")));
    EXPECT_TRUE(Has(filters, "\nOther words for it\nBlur, gaussian, ")) << filters;
    EXPECT_TRUE(Has(TextOf(HelpPage(*FindEffectTemplate("blocks"))), "\nOther words for it\nPixelate, ")) << filters;
    for (const DialogTemplate *effect : Effects())
        for (const HelpParagraph &paragraph : HelpPage(*effect))
            EXPECT_FALSE(Has(paragraph.text, ", .")) << effect->effect;
}

TEST(HelpPage, AFrameThatIsOneSettingTellsOfItWithoutATerm)
{
    const std::string text = TextOf(HelpPage(*FindEffectTemplate("filters")));
    EXPECT_TRUE(Has(text, "\nKernel\nThe 49 weights, row by row from the top left.\nSettings\nDivisor: ")) << text;
    EXPECT_TRUE(Has(text, "\nChannels\nRed: filter the red channel\n")) << text;
    EXPECT_TRUE(Has(text, "\nSave...: keeps kernel")) << text;
}

TEST(HelpPage, HasEveryMeaningOfEveryDialogUnderItsCaption)
{
    for (const DialogTemplate *effect : Effects()) {
        SCOPED_TRACE(effect->effect);
        const std::vector<HelpParagraph> page = HelpPage(*effect);
        size_t told = 0;
        for (int32_t i = 0; i < effect->controlCount; ++i) {
            const ControlTemplate &row = effect->controls[i];
            if (!row.meaning || row.kind == GROUP_BOX) continue;   // a heading, which needs no words
            ++told;
            const std::string sentence = std::string(row.meaning + 1) + ".";
            const auto tells = [&](const HelpParagraph &paragraph) {
                return paragraph.kind == HelpKind::BODY ? paragraph.text.substr(1) == sentence
                                                        : paragraph.meaning == row.meaning;
            };
            EXPECT_TRUE(std::any_of(page.begin(), page.end(), tells)) << row.meaning;
        }
        size_t explained = 0;
        std::set<std::string> captions;
        for (size_t i = 3; i < page.size(); ++i) {
            const HelpParagraph &paragraph = page[i];
            EXPECT_FALSE(paragraph.text.empty());
            EXPECT_EQ(paragraph.text.find('&'), std::string::npos) << paragraph.text;
            const bool words = page[i - 1].text == "Other words for it" || page[i - 1].text == PROTECTING_HEADING;
            explained += paragraph.kind != HelpKind::HEADING && !words;
            if (paragraph.kind == HelpKind::TERM) {
                EXPECT_TRUE(captions.insert(paragraph.text).second) << paragraph.text << " twice";
            }
        }
        EXPECT_EQ(explained, told);
    }
}

TEST(HelpPage, WhatEveryDialogHasIsToldLastAndAlike)
{
    const auto shared = [](const DialogTemplate &effect) {
        const std::string text = TextOf(HelpPage(effect));
        return text.substr(text.find("\nIn every dialog\n"));
    };
    const std::string told = shared(*FindEffectTemplate("wave"));
    for (const char *caption :
         {"\nPreview: ", "\nPriority: ", "\nApply: ", "\nAbort: ", "\nUndo: ", "\nRedo: ", "Paint Protection"})
        EXPECT_TRUE(Has(told, caption)) << told;
    for (const DialogTemplate *effect : Effects()) EXPECT_EQ(shared(*effect), told) << effect->effect;
}

TEST(HelpExample, IsToldInTheDialogsWords)
{
    const auto example = [](const char *effect) { return ExampleText(*FindEffectTemplate(effect)); };
    EXPECT_EQ(example("wave"), "Amplitude 16 %, Background #202830, Wavelength 45 %");
    EXPECT_EQ(example("shear"), "Angle 20 degrees, Fill colour #202830");
    EXPECT_EQ(example("acid"), "Acid level 180");
    EXPECT_EQ(example("melt"), "Amount 60 %, Direction down");
    EXPECT_EQ(example("mirror"), "Put the mirror image to the right");
    EXPECT_EQ(example("filters"), "Kernel Contour North West");
}

TEST(HelpExample, NamesASettingForEveryOptionAndShowsNoOption)
{
    for (const DialogTemplate *effect : Effects()) {
        const std::string text = ExampleText(*effect), options = effect->example;
        size_t settings = 1, dashes = 0;
        for (size_t i = text.find(", "); i != std::string::npos; i = text.find(", ", i + 1)) ++settings;
        for (size_t i = options.find("--"); i != std::string::npos; i = options.find("--", i + 1)) ++dashes;
        EXPECT_EQ(settings, dashes) << text;
        EXPECT_FALSE(Has(text, "--") || Has(text, ", ,") || Has(text, "  ") || text.starts_with(",")) << text;
        EXPECT_TRUE(isupper(text[0])) << text;
    }
}

TEST(HelpPictures, StandByForEveryEffect)
{
    const std::string folder = EFFECT_PICTURES;
    EXPECT_TRUE(std::filesystem::exists(folder + "/before.png"));
    for (const DialogTemplate *effect : Effects())
        EXPECT_TRUE(std::filesystem::exists(folder + "/" + effect->effect + ".png")) << effect->effect;
}
