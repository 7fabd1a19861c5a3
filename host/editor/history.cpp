// See history.h. Steps are noted when they are looked for, since many routines record them; the chain of states tells which
// of them belong to what the picture is.

#include "host/editor/history.h"

#include <algorithm>

//---- What a run is about

static std::string UnfitFor(const DialogTemplate &effect, HWND dialog, const ImageRecord &image)
{
    const std::string scope = ShownOption(dialog, effect, "scope");
    if (image.maskEditing) return "while the mask was edited";
    if (scope == "new-object") return "made a floating object";
    if (scope == "objects") return "on floating objects";
    return scope == "all" && image.objectList.count > 0 ? "with floating objects" : "";
}

TakenStep StepAbout(HWND dialog, const DialogTemplate &effect, const PictureWindow &picture)
{
    const ImageRecord &image = *picture.image;
    TakenStep step = {.effect = &effect};
    step.settings = SettingsIn(dialog, effect, Which::USABLE);
    step.unfit = UnfitFor(effect, dialog, image);
    if (!effect.changesSize) step.area = AreaInWords(image.selection);
    if (effect.draws) step.seed = std::to_string(MiscSeed(&image));
    return step;
}

//---- Noting

static TakenStep *FindStep(PictureWindow &picture, uint64_t after)
{
    const auto found = std::find_if(picture.steps.begin(), picture.steps.end(),
                                    [after](const TakenStep &step) { return step.after == after; });
    return found == picture.steps.end() ? nullptr : &*found;
}

void NoteSteps(PictureWindow &picture)
{
    HistoryStep told;
    for (int32_t i = 0; MiscStepAt(picture.image, i, &told); ++i)
        if (!FindStep(picture, told.after))
            picture.steps.push_back({.before = told.before, .after = told.after, .label = told.label});
}

void NoteRun(PictureWindow &picture, bool finished)
{
    std::optional<TakenStep> begun;
    std::swap(begun, picture.begun);
    NoteSteps(picture);
    TakenStep *step = finished && begun ? FindStep(picture, MiscStateNumber(picture.image)) : nullptr;
    if (!step) return;
    begun->before = step->before;
    begun->after = step->after;
    begun->label = step->label;
    *step = *begun;
}

//---- Looking

StepList StepsOf(const PictureWindow &picture)
{
    StepList list;
    const uint64_t current = MiscStateNumber(picture.image);
    list.steps = StepsTo(picture.steps, current);
    list.current = list.steps.size();
    const auto undone = size_t(MiscUndoCount(picture.image));
    list.reached = list.current - std::min(list.current, undone);
    HistoryStep told;
    for (auto i = int32_t(undone); MiscStepAt(picture.image, i, &told); ++i)
        for (const TakenStep &step : picture.steps)
            if (step.after == told.after) list.steps.push_back(step);
    return list;
}
