// What the effects module relies on: the controls of every dialog by id, and what the command line calls them.

#include "host/dialogs/dialogs.h"
#include "interface/effect_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

using Words = std::map<std::string, int>;   // an option's words, each with the id of its radio button

struct SpinBox {
    int arrows, field;
};

// What a dialog must have beyond the controls that all share.
struct ExpectedDialog {
    int id, commandOffset, helpContext;
    std::string title, effect;
    std::vector<SpinBox> spinBoxes;
    std::map<std::string, int> options;     // option names of spin boxes, colours and check boxes
    std::map<std::string, Words> choices;   // option names of radio buttons, without the scope
    std::vector<int> others = {};           // controls without an option
    Words scope = {{"image", 6940}, {"all", 6950}, {"objects", 6960}, {"new-object", 2170}};
};

static std::vector<int> KernelFieldsAndMore()
{
    std::vector<int> ids = {960};
    for (int id = 4021; id <= 4068; ++id) ids.push_back(id);
    return ids;
}

// In the chooser's order.
static const std::vector<ExpectedDialog> &ExpectedDialogs()
{
    static const std::vector<ExpectedDialog> expected = {
        {4010,
         1,
         74,
         "Filters",
         "filters",
         {{990, 1000}, {980, 970}, {920, 930}},
         {{"kernel", 4020},
          {"divisor", 990},
          {"bias", 980},
          {"iterations", 920},
          {"use-red", 6600},
          {"use-green", 6550},
          {"use-blue", 6540},
          {"load", 2640},
          {"save", 2630}},
         {{"combine-mode", {{"subtract", 5140}, {"add", 5150}, {"replace", 5160}}},
          {"pass-mode", {{"plain", 1270}, {"difference", 940}, {"iterative", 950}}}},
         KernelFieldsAndMore()},
        {4660, 19, 85, "Acid", "acid", {{1420, 1430}}, {{"acid-level", 1420}}, {}},
        {4630,
         7,
         84,
         "Blocks",
         "blocks",
         {{7210, 1180}, {7220, 1190}},
         {{"block-width", 7210}, {"block-height", 7220}},
         {}},
        {3930, 14, 72, "Cone Head", "cone-head", {{1840, 1850}}, {{"cone-power", 1840}}, {}},
        {3970,
         20,
         73,
         "Double Vision",
         "double-vision",
         {{1210, 1220}},
         {{"distance", 1210}},
         {{"direction", {{"rows", 5530}, {"columns", 1200}}}}},
        {4870, 13, 90, "Fisheye", "fisheye", {{1840, 1850}}, {{"lens-power", 1840}}, {}},
        {4100,
         2,
         75,
         "Median",
         "median",
         {{1540, 1550}},
         {{"radius", 1540}},
         {{"select-mode", {{"median", 1520}, {"maximum", 1510}, {"minimum", 1470}}}}},
        {4720,
         16,
         87,
         "Melting",
         "melt",
         {{6450, 1010}},
         {{"amount", 6450}},
         {{"direction", {{"down", 1230}, {"up", 1240}, {"left", 1250}, {"right", 1260}}}}},
        {4150,
         5,
         76,
         "Mirror",
         "mirror",
         {},
         {},
         {{"direction", {{"up", 1230}, {"down", 1240}, {"right", 1250}, {"left", 1260}}}},
         {6940},
         {{"all", 6950}, {"objects", 6960}, {"new-object", 2170}}},
        {4240, 3, 77, "Noise", "noise", {{1290, 1300}, {1310, 1320}}, {{"amount", 1290}, {"variation", 1310}}, {}},
        {4330, 12, 78, "Oil Painting", "oil-painting", {{1450, 1460}}, {{"brush-size", 1450}}, {}},
        {4880, 17, 91, "Polar Coordinates", "polar-coordinates", {}, {{"fill-colour", 1130}}, {}},
        {4890, 15, 92, "Random Shear", "random-shear", {}, {{"fill-colour", 1130}}, {}},
        {4370,
         9,
         79,
         "Ripple",
         "ripple",
         {{1070, 1080}, {1060, 1050}, {1030, 1040}},
         {{"amplitude", 1070}, {"phase", 1060}, {"wavelength", 1030}, {"fade", 1020}},
         {}},
        {4680,
         6,
         86,
         "Shear",
         "shear",
         {{6140, 910}},
         {{"fill-colour", 1130}, {"angle", 6140}},
         {{"direction", {{"horizontal", 900}, {"vertical", 890}}}},
         {2170},
         {{"all", 6940}, {"image", 6950}, {"objects", 6960}}},
        {4740,
         18,
         88,
         "Slices",
         "slices",
         {{1110, 1120}, {1090, 1100}, {1160, 1170}},
         {{"background", 1130}, {"max-shift", 1110}, {"min-width", 1090}, {"max-width", 1160}},
         {}},
        {4530,
         22,
         82,
         "Solarize",
         "solarize",
         {{6380, 1280}},
         {{"threshold", 6380}},
         {{"solarize-mode",
           {{"below-down", 1230},
            {"above-down", 1240},
            {"below-right", 1250},
            {"above-right", 1260},
            {"constant", 1270}}}}},
        {1330, 10, 56, "Swirl", "swirl", {{6440, 1440}}, {{"swirl-amount", 6440}}, {}},
        {4900,
         21,
         93,
         "Tiles",
         "tiles",
         {{1150, 1140}, {1110, 1120}},
         {{"tile-size", 1150}, {"background", 1130}, {"offset", 1110}},
         {}},
        {4610,
         8,
         83,
         "Wave",
         "wave",
         {{1070, 1080}, {1030, 1040}, {1060, 1050}},
         {{"amplitude", 1070}, {"background", 1130}, {"wavelength", 1030}, {"phase", 1060}},
         {{"orientation", {{"rows", 1200}, {"columns", 5530}}}}},
    };
    return expected;
}

// The controls of a dialog, labels and frames left out.
static std::vector<int> IdsOf(const DialogTemplate &dialog)
{
    std::vector<int> ids;
    for (int i = 0; i < dialog.controlCount; ++i) {
        if (dialog.controls[i].id != -1) ids.push_back(dialog.controls[i].id);
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

static std::vector<int> ExpectedIds(const ExpectedDialog &expected)
{
    std::vector<int> ids = {1, 20, 37, 38, 39, 40, 700, 740, 750, 2610, 2620, 2660, 6900, 6930};
    for (const SpinBox &spin : expected.spinBoxes) ids.push_back(spin.field);
    for (const auto &[option, id] : expected.options) ids.push_back(id);
    for (const auto &[word, id] : expected.scope) ids.push_back(id);
    for (const auto &[option, words] : expected.choices) {
        for (const auto &[word, id] : words) ids.push_back(id);
    }
    ids.insert(ids.end(), expected.others.begin(), expected.others.end());
    std::sort(ids.begin(), ids.end());
    return ids;
}

TEST(Dialogs, EffectsStandInTheChoosersOrderAndTheChooserLast)
{
    ASSERT_EQ(DialogTemplateCount(), EFFECT_COUNT + 1);
    for (int i = 0; i < EFFECT_COUNT; ++i) EXPECT_STREQ(DialogTemplateAt(i)->title, effectTable[i].title);
    EXPECT_EQ(DialogTemplateAt(EFFECT_COUNT)->id, 9100);
    EXPECT_EQ(DialogTemplateAt(-1), nullptr);
    EXPECT_EQ(DialogTemplateAt(EFFECT_COUNT + 1), nullptr);
}

TEST(Dialogs, EveryRowOfTheTableHasASheetThatTellsOfTheEffect)
{
    for (const EffectEntry &effect : effectTable) {
        SCOPED_TRACE(effect.word);
        const DialogTemplate *dialog = FindEffectTemplate(effect.word);
        ASSERT_NE(dialog, nullptr);
        EXPECT_EQ(dialog, FindDialogTemplate(effect.templateId));
        EXPECT_EQ(dialog->commandOffset, effect.offset);
        EXPECT_EQ(dialog->helpContext, effect.helpContext);
        EXPECT_TRUE(dialog->summary && dialog->summary[0]) << "its sheet has no summary";
        EXPECT_TRUE(dialog->about && std::string(dialog->about).size() > 80)
            << "its sheet has no text for the help page";
        EXPECT_TRUE(dialog->example && std::string(dialog->example).starts_with("--")) << "its sheet has no example";
    }
}

TEST(Dialogs, EveryEffectIsFoundByItsTemplateIdAndByItsName)
{
    for (const ExpectedDialog &expected : ExpectedDialogs()) {
        SCOPED_TRACE(expected.effect);
        const DialogTemplate *dialog = FindDialogTemplate(expected.id);
        ASSERT_NE(dialog, nullptr);
        EXPECT_EQ(FindEffectTemplate(expected.effect.c_str()), dialog);
        EXPECT_EQ(dialog->effect, expected.effect);
        EXPECT_EQ(dialog->title, expected.title);
        EXPECT_EQ(dialog->commandOffset, expected.commandOffset);
        EXPECT_EQ(dialog->helpContext, expected.helpContext);
    }
    EXPECT_EQ(FindDialogTemplate(4011), nullptr);
    EXPECT_EQ(FindEffectTemplate("Noise"), nullptr);
    EXPECT_EQ(FindEffectTemplate(nullptr), nullptr);
}

TEST(Dialogs, EveryControlIsThereExactlyOnceAndNoOther)
{
    for (const ExpectedDialog &expected : ExpectedDialogs()) {
        SCOPED_TRACE(expected.effect);
        EXPECT_EQ(IdsOf(*FindDialogTemplate(expected.id)), ExpectedIds(expected));
    }
}

TEST(Dialogs, TheSharedControlsHaveTheirKinds)
{
    const std::map<int, ControlKind> kinds = {
        {1, PUSH_BUTTON},     {20, PUSH_BUTTON},      {37, PUSH_BUTTON},    {38, PUSH_BUTTON},  {39, PUSH_BUTTON},
        {40, PUSH_BUTTON},    {700, PUSH_BUTTON},     {740, PUSH_BUTTON},   {750, PUSH_BUTTON}, {2610, CHECK_BOX},
        {2620, PUSH_BUTTON},  {2660, PREVIEW_WINDOW}, {6900, PUSH_BUTTON},  {6930, TRACKBAR},   {6940, RADIO_BUTTON},
        {6950, RADIO_BUTTON}, {6960, RADIO_BUTTON},   {2170, RADIO_BUTTON},
    };
    for (const ExpectedDialog &expected : ExpectedDialogs()) {
        SCOPED_TRACE(expected.effect);
        for (const auto &[id, kind] : kinds) EXPECT_EQ(FindControl(FindDialogTemplate(expected.id), id)->kind, kind);
    }
}

TEST(Dialogs, ASpinBoxIsAFieldFollowedByItsArrows)
{
    for (const ExpectedDialog &expected : ExpectedDialogs()) {
        SCOPED_TRACE(expected.effect);
        const DialogTemplate *dialog = FindDialogTemplate(expected.id);
        size_t arrowCount = 0;
        for (int i = 0; i < dialog->controlCount; ++i) arrowCount += dialog->controls[i].kind == SPIN_ARROWS;
        EXPECT_EQ(arrowCount, expected.spinBoxes.size());
        for (const SpinBox &spin : expected.spinBoxes) {
            SCOPED_TRACE(spin.arrows);
            const ControlTemplate *field = FindControl(dialog, spin.field);
            ASSERT_NE(field, nullptr);
            EXPECT_EQ(field->kind, NUMBER_FIELD);
            EXPECT_EQ(field + 1, FindControl(dialog, spin.arrows));
            EXPECT_EQ(field[1].kind, SPIN_ARROWS);
            EXPECT_EQ(field->option, nullptr);
        }
    }
}

TEST(Dialogs, OptionsNameTheirControls)
{
    for (const ExpectedDialog &expected : ExpectedDialogs()) {
        SCOPED_TRACE(expected.effect);
        std::map<std::string, int> options;
        std::map<std::string, Words> choices;
        const DialogTemplate *dialog = FindDialogTemplate(expected.id);
        for (const ControlTemplate *row = dialog->controls; row < dialog->controls + dialog->controlCount; ++row) {
            if (!row->option) continue;
            EXPECT_EQ(row->kind == RADIO_BUTTON, row->word != nullptr);
            bool isNew;
            if (row->word) isNew = choices[row->option].insert({row->word, row->id}).second;
            else isNew = options.insert({row->option, row->id}).second;
            EXPECT_TRUE(isNew) << row->option;
        }
        EXPECT_EQ(options.extract("priority").mapped(), 6930);
        EXPECT_EQ(choices.extract("scope").mapped(), expected.scope);
        EXPECT_EQ(options, expected.options);
        EXPECT_EQ(choices, expected.choices);
    }
}

TEST(Dialogs, ControlsBoundToOptionsHaveTheKindTheModuleWorks)
{
    for (const ExpectedDialog &expected : ExpectedDialogs()) {
        SCOPED_TRACE(expected.effect);
        const DialogTemplate *dialog = FindDialogTemplate(expected.id);
        for (const auto &[option, id] : expected.options) {
            ControlKind kind = SPIN_ARROWS;
            if (id == 1130) kind = COLOUR_CONTROL;
            if (option.starts_with("use-") || option == "fade") kind = CHECK_BOX;
            if (option == "kernel") kind = NUMBER_FIELD;
            if (option == "load" || option == "save") kind = PUSH_BUTTON;
            EXPECT_EQ(FindControl(dialog, id)->kind, kind) << option;
        }
    }
}

TEST(Dialogs, OptionsAndWordsAreKebabCaseAndCarryAMeaning)
{
    const auto isKebabCase = [](const std::string &text) {
        const auto fits = [](char c) { return (c >= 'a' && c <= 'z') || c == '-'; };
        return !text.empty() && std::all_of(text.begin(), text.end(), fits) && text.front() != '-' &&
               text.back() != '-';
    };
    for (int i = 0; i < DialogTemplateCount(); ++i) {
        const DialogTemplate *dialog = DialogTemplateAt(i);
        SCOPED_TRACE(dialog->title);
        for (const ControlTemplate *row = dialog->controls; row < dialog->controls + dialog->controlCount; ++row) {
            EXPECT_TRUE(!row->option || row->meaning) << row->id;
            EXPECT_TRUE(!row->option || isKebabCase(row->option)) << row->option;
            EXPECT_TRUE(!row->word || (row->option && isKebabCase(row->word))) << row->word;
            EXPECT_TRUE(!row->meaning || std::string(row->meaning).size() >= 5) << row->id;
        }
    }
}

TEST(Dialogs, WhateverAPersonWorksInAnEffectHasAMeaning)
{
    for (const ExpectedDialog &expected : ExpectedDialogs()) {
        SCOPED_TRACE(expected.effect);
        const DialogTemplate *dialog = FindDialogTemplate(expected.id);
        for (const ControlTemplate *row = dialog->controls; row < dialog->controls + dialog->controlCount; ++row) {
            const bool partOfAnother = row->kind == NUMBER_FIELD && row->id != 4020;   // a spin box's, the kernel's
            // A frame tells of what is chosen in it.
            const bool frame = row->kind == GROUP_BOX && row[1].kind == RADIO_BUTTON;
            const bool worked = row->kind != LABEL && row->kind != GROUP_BOX && row->kind != PREVIEW_WINDOW;
            EXPECT_EQ(row->meaning != nullptr, frame || (worked && !partOfAnother)) << row->id;
        }
    }
}

TEST(Dialogs, RadioButtonsOfOneOptionAreExactlyOneGroup)
{
    for (const ExpectedDialog &expected : ExpectedDialogs()) {
        SCOPED_TRACE(expected.effect);
        const DialogTemplate *dialog = FindDialogTemplate(expected.id);
        std::vector<std::set<int>> groups;
        for (int i = 0; i < dialog->controlCount; ++i) {
            const ControlTemplate &row = dialog->controls[i];
            if (row.startsGroup) groups.emplace_back();
            ASSERT_FALSE(groups.empty());
            if (row.kind == RADIO_BUTTON) groups.back().insert(row.id);
            EXPECT_TRUE(row.kind == RADIO_BUTTON || groups.back().empty()) << row.id << " among radio buttons";
        }
        std::set<std::set<int>> expectedGroups = {{6940, 6950, 6960, 2170}};
        for (const auto &[option, words] : expected.choices) {
            std::set<int> ids;
            for (const auto &[word, id] : words) ids.insert(id);
            expectedGroups.insert(ids);
        }
        groups.erase(std::remove(groups.begin(), groups.end(), std::set<int>{}), groups.end());
        EXPECT_EQ(std::set<std::set<int>>(groups.begin(), groups.end()), expectedGroups);
    }
}

TEST(Dialogs, AControlIsFoundByIdAndLabelsAreNot)
{
    const DialogTemplate *noise = FindEffectTemplate("noise");
    EXPECT_EQ(FindControl(noise, 1290)->kind, SPIN_ARROWS);
    EXPECT_EQ(FindControl(noise, 1300)->kind, NUMBER_FIELD);
    EXPECT_EQ(FindControl(noise, 4711), nullptr);
    EXPECT_EQ(FindControl(noise, -1), nullptr);
    EXPECT_EQ(FindControl(nullptr, 1), nullptr);
}

TEST(Dialogs, TheKernelIsSevenBySevenFieldsInRowOrder)
{
    const DialogTemplate *filters = FindEffectTemplate("filters");
    const ControlTemplate *first = FindControl(filters, 4020);
    for (int i = 0; i < 49; ++i) {
        const ControlTemplate &field = first[i];
        EXPECT_EQ(field.id, 4020 + i);
        EXPECT_EQ(field.kind, NUMBER_FIELD);
        EXPECT_EQ(field.x, first[i % 7].x);
        EXPECT_EQ(field.y, first[i - i % 7].y);
        EXPECT_TRUE(i % 7 == 0 || field.x > first[i - 1].x);
        EXPECT_TRUE(i < 7 || field.y > first[i - 7].y);
    }
}

TEST(Chooser, HasAListAndTwoButtons)
{
    const DialogTemplate *chooser = FindDialogTemplate(9100);
    EXPECT_EQ(IdsOf(*chooser), (std::vector<int>{1, 2, 960}));
    EXPECT_EQ(FindControl(chooser, 960)->kind, LIST_BOX);
    EXPECT_EQ(FindControl(chooser, 1)->kind, PUSH_BUTTON);
    EXPECT_EQ(FindControl(chooser, 2)->kind, PUSH_BUTTON);
    EXPECT_EQ(chooser->effect, nullptr);
    EXPECT_EQ(chooser->commandOffset, 0);
    EXPECT_EQ(chooser->helpContext, 0);
}

TEST(HostStrings, NameTheEffectsInTheChoosersOrder)
{
    const ModuleString *strings = HostStrings();
    for (int i = 0; i < 21; ++i) {
        EXPECT_EQ(strings[i].id, 5101 + i);
        EXPECT_STREQ(strings[i].text, i < EFFECT_COUNT ? effectTable[i].title : "");
        EXPECT_LT(std::string(strings[i].text).size(), 50u);
    }
    EXPECT_EQ(strings[21].id, 0);
    EXPECT_EQ(strings[21].text, nullptr);
}
