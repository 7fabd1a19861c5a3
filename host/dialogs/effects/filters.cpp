// The Filters dialog: the family's pieces, with the 7 x 7 kernel above the settings and the ready-made kernels below
// the preview.

#include "host/dialogs/sheets.h"

static constexpr Setting scale[] = {
    Spin(KERNEL_DIVISOR, 1000, "&Divisor:", nullptr, "divisor", "the weighted sum is divided by it"),
    Spin(KERNEL_BIAS, 970, "B&ias:", nullptr, "bias", "added after the division, levels"),
    Spin(920, 930, "It&erations:", nullptr, "iterations", "passes when the pass mode is iterative"),
};

static constexpr Setting channels[] = {
    Frame("Channels"),
    Check(6600, "&Red", "use-red", "filter the red channel"),
    Check(6550, "&Green", "use-green", "filter the green channel"),
    Check(6540, "Bl&ue", "use-blue", "filter the blue channel"),
};

static constexpr Setting combineMode[] = {
    Frame("Com&bine", "combine-mode", "how the result comes into the picture"),
    Radio(SUBTRACT_RADIO, "Subtract", "subtract", "the result is subtracted from the picture"),
    Radio(5150, "Add", "add", "the result is added to the picture"),
    Radio(5160, "Replace", "replace", "the result replaces the picture"),
};

static constexpr Setting passMode[] = {
    Frame("Pass &mode", "pass-mode", "what is made of the passes"),
    Radio(1270, "Plain", "plain", "one pass, kept as it is"),
    Radio(940, "Difference", "difference", "the picture less its filtered self"),
    Radio(950, "Iterative", "iterative", "sharpens: each pass adds back what filtering took away"),
};

// The kernel's fields have no arrows. They are one option: the command line fills all 49 from one text, and the
// first field carries its name.
static void AddKernel(Layout &layout, int x, int y, int width)
{
    constexpr int SIDE = 7, FIELD_STEP_X = 28, FIELD_STEP_Y = 14;
    AddRow(layout, GROUP_BOX, -1, {x, y, width, 12 + SIDE * FIELD_STEP_Y + 4}, "&Kernel");
    const int gridX = x + (width - SIDE * FIELD_STEP_X + 2) / 2;
    for (int i = 0; i < SIDE * SIDE; ++i) {
        const Box place = {gridX + i % SIDE * FIELD_STEP_X, y + 12 + i / SIDE * FIELD_STEP_Y, FIELD_STEP_X - 2, 12};
        AddRow(layout, NUMBER_FIELD, FIRST_KERNEL_FIELD + i, place, "", i == 0);
        if (i > 0) continue;
        layout.rows.back().option = "kernel";
        layout.rows.back().meaning = "the 49 weights, row by row from the top left";
    }
}

static void AddReadyMade(Layout &layout, Box frame)
{
    const int x = frame.x + 6, width = frame.width - 12, buttonsY = frame.y + frame.height - BUTTON_HEIGHT - 6;
    AddRow(layout, GROUP_BOX, -1, frame, "Ker&nels (double click: take)");
    AddRow(layout, LIST_BOX, KERNEL_LIST, {x, frame.y + 12, width, buttonsY - frame.y - 16}, "");
    layout.rows.back().meaning = "the ready-made kernels; a double-click puts one into the fields";
    AddRow(layout, PUSH_BUTTON, SAVE_KERNEL_BUTTON, {x, buttonsY, BUTTON_WIDTH, BUTTON_HEIGHT}, "&Save...");
    layout.rows.back().option = "save";
    layout.rows.back().meaning = "keeps kernel, divisor, bias and combine mode in a filter file";
    AddRow(layout, PUSH_BUTTON, LOAD_KERNEL_BUTTON, {x + width - BUTTON_WIDTH, buttonsY, BUTTON_WIDTH, BUTTON_HEIGHT},
           "&Load...");
    layout.rows.back().option = "load";
    layout.rows.back().meaning = "takes kernel, divisor, bias and combine mode from a filter file";
}

static Layout LayOutFilters(const EffectSheet &sheet)
{
    constexpr int HALF = 103, WIDTH = 2 * HALF + GAP, RIGHT = MARGIN + HALF + GAP, PREVIEW_X = MARGIN + WIDTH + MARGIN;
    Layout layout;
    AddKernel(layout, MARGIN, MARGIN, WIDTH);
    FitSize(layout);
    int y = layout.height - MARGIN + GAP;
    const size_t scaleFrame = layout.rows.size();
    const int belowScale = AddFrames(layout, MARGIN, y, HALF, scale);
    const size_t channelsFrame = layout.rows.size();
    AddFrames(layout, RIGHT, y, HALF, channels);
    layout.rows[channelsFrame].height = layout.rows[scaleFrame].height;
    y = AddFrames(layout, MARGIN, belowScale, HALF, combineMode);
    AddFrames(layout, RIGHT, belowScale, HALF, passMode);
    const int bottom = AddScope(layout, MARGIN, y, WIDTH, sheet.scope) - GAP;

    const int belowPreview = AddPreview(layout, PREVIEW_X);
    AddReadyMade(layout, {PREVIEW_X, belowPreview, PREVIEW_WIDTH, bottom - belowPreview});
    AddButtons(layout, PREVIEW_X + PREVIEW_WIDTH + MARGIN);
    FitSize(layout);
    return layout;
}

static constexpr Contradiction contradictions[] = {
    {Contradiction::NOT_CHOSEN, "iterations", "pass-mode", "iterative", "there is one pass"},
    {Contradiction::ALL_OFF, "use-red", "use-green", "use-blue", "no channel of a colour picture is filtered"},
};

constinit const EffectSheet filtersSheet = {
    .summary = "weighs each pixel with its neighbours: smooths, embosses, finds edges",
    .about =
        "Every pixel becomes a weighted sum of the pixels around it, up to 7 by 7, divided by the divisor and with the "
        "bias added. The list has 56 ready-made kernels that blur, sharpen, emboss, find edges or move the picture; "
        "the "
        "fields take one of your own. It can be saved to a file and loaded again.",
    .example = "--kernel 'Contour North West'",
    .layOut = LayOutFilters,
    .contradictions = contradictions,
    .reachOption = "iterations",
    .reach = 3,
};
