// Steps in a row, in words and as a recipe.

#include "host/editor/taken_steps.h"

#include <gtest/gtest.h>

static TakenStep Edit(uint64_t before, uint64_t after, const std::string &label)
{
    return {.before = before, .after = after, .label = label};
}

static TakenStep Wave(uint64_t before, uint64_t after)
{
    return {.before = before,
            .after = after,
            .label = "Wave",
            .effect = FindEffectTemplate("wave"),
            .settings = {{"amplitude", "25"}, {"background", "#FF8000"}}};
}

static TakenStep Noise(uint64_t before, uint64_t after)
{
    TakenStep step = {.before = before, .after = after, .label = "Noise", .effect = FindEffectTemplate("noise")};
    step.settings = {{"amount", "40"}};
    step.area = "3,4,10x20";
    step.seed = "77";
    return step;
}

TEST(TakenSteps, ThoseAreListedThatHaveLedToAState)
{
    // 1 and 2 are one way, 3 is another one that was begun after 2 had been undone.
    const std::vector<TakenStep> all = {Edit(0, 1, "Crop"), Edit(1, 2, "Resize"), Edit(1, 3, "Paint Mask")};
    const auto names = [&](uint64_t state) {
        std::string text;
        for (const TakenStep &step : StepsTo(all, state)) text += NameOfStep(step) + ";";
        return text;
    };
    EXPECT_EQ(names(0), "");
    EXPECT_EQ(names(2), "Crop;Resize;");
    EXPECT_EQ(names(3), "Crop;Paint Mask;");
    EXPECT_EQ(names(9), "") << "not known";
}

TEST(TakenSteps, AreToldInTheDialogsWords)
{
    EXPECT_EQ(NameOfStep(Wave(0, 1)), "Wave");
    EXPECT_EQ(DetailsOfStep(Wave(0, 1)).find("Amplitude 25"), 0u) << DetailsOfStep(Wave(0, 1));
    const std::string noise = DetailsOfStep(Noise(0, 1));
    EXPECT_NE(noise.find("Amount 40"), std::string::npos) << noise;
    EXPECT_NE(noise.find(", area 3,4,10x20, seed 77"), std::string::npos) << noise;
    EXPECT_EQ(NameOfStep(Edit(0, 1, "Crop")), "Crop");
    EXPECT_EQ(DetailsOfStep(Edit(0, 1, "Crop")), "");
    EXPECT_EQ(NameOfStep(Edit(0, 1, "")), "Change");
}

TEST(TakenSteps, EffectsBecomeARecipeAndTheRestIsNamed)
{
    TakenStep unfit = Wave(3, 4);
    unfit.unfit = "on floating objects";
    const StepsAsRecipe recipe = RecipeOf({Wave(0, 1), Edit(1, 2, "Crop"), Noise(2, 3), unfit});
    ASSERT_EQ(recipe.lines.size(), 2u);
    EXPECT_EQ(recipe.lines[0], "wave --amplitude 25 --background '#FF8000' --fringe as-is");
    EXPECT_EQ(recipe.lines[1], "noise --amount 40 --area 3,4,10x20 --seed 77");
    EXPECT_EQ(recipe.names, (std::vector<std::string>{"Wave", "Noise"}));
    EXPECT_EQ(TextOfLeftOut(recipe), "Left out: Crop, Wave (on floating objects).");
    EXPECT_EQ(TextOfLeftOut(RecipeOf({Wave(0, 1)})), "");
}

TEST(TakenSteps, TheSelectedAreaIsItsBounds)
{
    Selection selection = {};
    EXPECT_EQ(AreaInWords(selection), "");
    selection = {4, 3, 4, 12, 23, nullptr};
    EXPECT_EQ(AreaInWords(selection), "3,4,10x20");
}
