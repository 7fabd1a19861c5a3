// The steps that a picture has come by, as far as the editor has seen them: which led to what the picture is, how a person
// reads one, and the recipe that does the effects among them again. What can be undone is the host's to know; the list
// on the screen is history_window.h's.

#pragma once

#include "host/editor/dialog_settings.h"

struct TakenStep {
    uint64_t before = 0, after = 0;           // MiscStateNumber on its two sides
    std::string label = {};                   // the undo step's
    const DialogTemplate *effect = nullptr;   // null: no effect's
    Settings settings = {};
    std::string area = {}, seed = {};   // the command line's words; empty for none
    std::string unfit = {};   // why a recipe cannot have it, for people: "on floating objects"; empty where it can
};

// "X,Y,WIDTHxHEIGHT", the bounds of what is selected; empty when nothing is.
std::string AreaInWords(const Selection &selection);

// Those that have led from the file to a state, the oldest first: an unbroken row, since states' numbers only grow.
std::vector<TakenStep> StepsTo(const std::vector<TakenStep> &all, uint64_t state);
// "Wave", and behind it all that it was done with: "Amplitude 25 pixels, ...".
std::string NameOfStep(const TakenStep &step);
std::string DetailsOfStep(const TakenStep &step);

struct StepsAsRecipe {
    std::vector<std::string> lines;     // as recipes have them
    std::vector<std::string> names;     // of the effects, in the same order
    std::vector<std::string> leftOut;   // what is no effect's, or not to be done to another picture, with the reason
};
StepsAsRecipe RecipeOf(const std::vector<TakenStep> &steps);
// "Left out: Crop, Wave (on floating objects)."; empty when nothing is.
std::string TextOfLeftOut(const StepsAsRecipe &recipe);
