// See taken_steps.h. Words and lines alone; no dialog is asked.

#include "host/editor/taken_steps.h"

#include "host/editor/help_text.h"

#include <algorithm>

std::string AreaInWords(const Selection &selection)
{
    if (selection.pointCount == 0) return "";
    return std::to_string(selection.left) + "," + std::to_string(selection.top) + "," +
           std::to_string(selection.right - selection.left + 1) + "x" +
           std::to_string(selection.bottom - selection.top + 1);
}

std::vector<TakenStep> StepsTo(const std::vector<TakenStep> &all, uint64_t state)
{
    std::vector<TakenStep> steps;
    for (size_t i = all.size(); i-- > 0;) {
        if (all[i].after != state) continue;
        steps.push_back(all[i]);
        state = all[i].before;
    }
    std::reverse(steps.begin(), steps.end());
    return steps;
}

std::string NameOfStep(const TakenStep &step)
{
    if (step.effect) return step.effect->title;
    return step.label.empty() ? "Change" : step.label;
}

std::string DetailsOfStep(const TakenStep &step)
{
    std::string text = step.effect ? TextOfSettings(*step.effect, step.settings) : "";
    const auto add = [&text](const std::string &more) { text += (text.empty() ? "" : ", ") + more; };
    if (!step.area.empty()) add("area " + step.area);
    if (!step.seed.empty()) add("seed " + step.seed);
    if (!step.unfit.empty()) add(step.unfit);
    return text;
}

StepsAsRecipe RecipeOf(const std::vector<TakenStep> &steps)
{
    StepsAsRecipe recipe;
    for (const TakenStep &step : steps) {
        if (!step.effect || !step.unfit.empty()) {
            recipe.leftOut.push_back(NameOfStep(step) + (step.unfit.empty() ? "" : " (" + step.unfit + ")"));
            continue;
        }
        std::string line = StepLine(*step.effect, step.settings) + FringeOfDialogs(*step.effect);
        if (!step.area.empty()) line += " --area " + step.area;
        if (!step.seed.empty()) line += " --seed " + step.seed;
        recipe.lines.push_back(line);
        recipe.names.push_back(step.effect->title);
    }
    return recipe;
}

std::string TextOfLeftOut(const StepsAsRecipe &recipe)
{
    std::string text;
    for (const std::string &name : recipe.leftOut) text += (text.empty() ? "" : ", ") + name;
    return text.empty() ? "" : "Left out: " + text + ".";
}
