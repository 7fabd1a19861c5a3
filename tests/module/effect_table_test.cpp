// The numbers, labels and the order that hosts and people know of the first twenty effects. Later effects add rows of
// their own and change none of these.

#include "interface/effect_table.h"

#include <gtest/gtest.h>

struct KnownEffect {
    int offset;
    const char *label;
    int templateId, helpContext;
    MenuRule rule = MenuRule::ALWAYS;
};

static constexpr KnownEffect known[] = {
    {1, "&Filters", 4010, 74},
    {19, "&Acid", 4660, 85, MenuRule::GREY_OR_RGB},
    {7, "&Blocks", 4630, 84},
    {14, "&Cone", 3930, 72},
    {20, "&Double Vision", 3970, 73},
    {13, "Fish&eye", 4870, 90},
    {2, "&Median", 4100, 75, MenuRule::NOT_ONE_BIT},
    {16, "Meltin&g", 4720, 87, MenuRule::NOT_ONE_BIT},
    {5, "M&irror", 4150, 76, MenuRule::NO_MASK_EDITING},
    {3, "&Noise", 4240, 77, MenuRule::GREY_OR_RGB},
    {12, "&Oil Painting", 4330, 78, MenuRule::NOT_ONE_BIT},
    {17, "&Polar Coordinates", 4880, 91},
    {15, "Random S&hear", 4890, 92},
    {9, "&Ripple", 4370, 79},
    {6, "&Shear", 4680, 86},
    {18, "S&lices", 4740, 88},
    {22, "Solari&ze", 4530, 82, MenuRule::GREY_OR_RGB},
    {10, "S&wirl", 1330, 56},
    {21, "&Tiles", 4900, 93},
    {8, "Wa&ve", 4610, 83},
};

TEST(TheTable, KeepsTheFirstTwentyEffectsInTheirOrder)
{
    const KnownEffect *expected = known;
    for (const EffectEntry &effect : effectTable) {
        if (effect.offset > CHOOSER_COMMAND) continue;
        ASSERT_NE(expected, std::end(known)) << effect.label;
        EXPECT_EQ(effect.offset, expected->offset) << expected->label;
        EXPECT_STREQ(effect.label, expected->label);
        EXPECT_EQ(effect.templateId, expected->templateId) << expected->label;
        EXPECT_EQ(effect.helpContext, expected->helpContext) << expected->label;
        EXPECT_EQ(effect.rule, expected->rule) << expected->label;
        ++expected;
    }
    EXPECT_EQ(expected, std::end(known));
}

TEST(TheTable, FindsItsEffectsByTheirCommands)
{
    for (const EffectEntry &effect : effectTable) EXPECT_EQ(EffectOfCommand(effect.offset), &effect);
    for (int offset : {0, 4, 11, 23, -1, 1000}) EXPECT_EQ(EffectOfCommand(offset), nullptr) << offset;
    EXPECT_TRUE(IsModuleCommand(23));
    for (int offset : {0, 4, 11, -1, 1000}) EXPECT_FALSE(IsModuleCommand(offset)) << offset;
}
