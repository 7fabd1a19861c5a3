// Where everything stands. Dialogs are put together from frames (a heading, then its settings below each other), the
// preview column and the button column, which all effects have alike.

#include "host/dialogs/sheets.h"

#include <algorithm>
#include <array>

// Inside a frame.
static constexpr int HEADING_HEIGHT = 12;   // from a frame's top edge to its first row
static constexpr int FRAME_PADDING = 6;     // left and right of the rows
static constexpr int FRAME_BOTTOM = 4;
static constexpr int SETTING_HEIGHT = 16;   // from one field's top to the next
static constexpr int CHOICE_HEIGHT = 12;    // from one radio button or check box to the next
static constexpr int FIELD_WIDTH = 34, ARROWS_WIDTH = 10, FIELD_HEIGHT = 12;
static constexpr int UNIT_WIDTH = 32;
static constexpr int LABEL_HEIGHT = 8, LABEL_DROP = 2;   // lower than its field by this, so that both share a line
static constexpr int LABEL_GAP = 2;                      // between a label and its field

void AddRow(Layout &layout, ControlKind kind, int id, Box place, const char *label, bool startsGroup)
{
    layout.rows.push_back({kind, int16_t(id), int16_t(place.x), int16_t(place.y), int16_t(place.width),
                           int16_t(place.height), startsGroup, label, nullptr, nullptr, nullptr});
}

void FitSize(Layout &layout)
{
    for (const ControlTemplate &row : layout.rows) {
        layout.width = std::max(layout.width, row.x + row.width + MARGIN);
        layout.height = std::max(layout.height, row.y + row.height + MARGIN);
    }
}

//---- Settings

static int HeightOf(const Setting &setting)
{
    return setting.kind == SPIN_ARROWS || setting.kind == COLOUR_CONTROL ? SETTING_HEIGHT : CHOICE_HEIGHT;
}

// Gives the row added last its words for the command line.
static void NameOption(Layout &layout, const Setting &setting, const char *option)
{
    ControlTemplate &row = layout.rows.back();
    row.option = option;
    row.word = setting.word;
    row.meaning = setting.meaning;
}

static void AddSpinBox(Layout &layout, const Setting &setting, int x, int y, int width)
{
    const int unitWidth = setting.unit ? UNIT_WIDTH + 4 : 0;
    const int fieldX = x + width - unitWidth - ARROWS_WIDTH - FIELD_WIDTH;
    AddRow(layout, LABEL, -1, {x, y + LABEL_DROP, fieldX - LABEL_GAP - x, LABEL_HEIGHT}, setting.label);
    AddRow(layout, NUMBER_FIELD, setting.fieldId, {fieldX, y, FIELD_WIDTH, FIELD_HEIGHT}, "");
    AddRow(layout, SPIN_ARROWS, setting.id, {fieldX + FIELD_WIDTH, y, ARROWS_WIDTH, FIELD_HEIGHT}, "", false);
    NameOption(layout, setting, setting.option);
    if (unitWidth > 0 && setting.unit[0]) {
        AddRow(layout, LABEL, -1, {x + width - UNIT_WIDTH, y + LABEL_DROP, UNIT_WIDTH, LABEL_HEIGHT}, setting.unit);
    }
}

static void AddColour(Layout &layout, const Setting &setting, int x, int y, int width)
{
    const int fieldX = x + width - UNIT_WIDTH - 4 - ARROWS_WIDTH - FIELD_WIDTH;   // in line with the spin boxes
    AddRow(layout, LABEL, -1, {x, y + LABEL_DROP, fieldX - LABEL_GAP - x, LABEL_HEIGHT}, setting.label);
    AddRow(layout, COLOUR_CONTROL, setting.id, {fieldX, y, FIELD_WIDTH + ARROWS_WIDTH, FIELD_HEIGHT}, "");
    NameOption(layout, setting, setting.option);
}

// A radio button or a check box. Neighbours of one kind are one group: arrow keys move within it.
static void AddChoice(Layout &layout, const Setting &setting, const char *frameOption, int x, int y, int width)
{
    const bool startsGroup = layout.rows.back().kind != setting.kind;
    AddRow(layout, setting.kind, setting.id, {x, y, width, 10}, setting.label, startsGroup);
    if (setting.kind == CHECK_BOX) NameOption(layout, setting, setting.option);
    else NameOption(layout, setting, setting.word ? frameOption : nullptr);
}

// One frame around settings that hold no GROUP_BOX. Returns where the next frame goes.
static int AddFrame(Layout &layout, Box top, const Setting &frame, std::span<const Setting> settings)
{
    const size_t frameRow = layout.rows.size();
    AddRow(layout, GROUP_BOX, -1, top, frame.label);
    layout.rows.back().meaning = frame.meaning;
    const int x = top.x + FRAME_PADDING, width = top.width - 2 * FRAME_PADDING;
    int y = top.y + HEADING_HEIGHT;
    for (const Setting &setting : settings) {
        if (setting.kind == SPIN_ARROWS) {
            AddSpinBox(layout, setting, x, y, width);
        } else if (setting.kind == COLOUR_CONTROL) {
            AddColour(layout, setting, x, y, width);
        } else {
            AddChoice(layout, setting, frame.option, x, y, width);
        }
        y += HeightOf(setting);
    }
    layout.rows[frameRow].height = int16_t(y + FRAME_BOTTOM - top.y);
    return y + FRAME_BOTTOM + GAP;
}

int AddFrames(Layout &layout, int x, int y, int width, std::span<const Setting> settings)
{
    static constexpr Setting untitled = Frame("Settings");
    while (!settings.empty()) {
        const bool titled = settings[0].kind == GROUP_BOX;
        const Setting &frame = titled ? settings[0] : untitled;
        if (titled) settings = settings.subspan(1);
        size_t count = 0;
        while (count < settings.size() && settings[count].kind != GROUP_BOX) ++count;
        y = AddFrame(layout, {x, y, width, 0}, frame, settings.first(count));
        settings = settings.subspan(count);
    }
    return y;
}

//---- What all effects share

struct ScopeChoice {
    const char *label, *word, *meaning;
};

// The same four buttons in every dialog.
static constexpr std::array<Setting, 5> ScopeFrame(ScopeChoice image, ScopeChoice all, ScopeChoice objects,
                                                   ScopeChoice newObject)
{
    return {Frame("Apply &to", "scope", "what the effect changes"),
            Radio(SCOPE_IMAGE_RADIO, image.label, image.word, image.meaning),
            Radio(SCOPE_ALL_RADIO, all.label, all.word, all.meaning),
            Radio(SCOPE_OBJECTS_RADIO, objects.label, objects.word, objects.meaning),
            Radio(SCOPE_NEW_OBJECT_RADIO, newObject.label, newObject.word, newObject.meaning)};
}

static constexpr auto familyScope =
    ScopeFrame({"Image only", "image", "the image and its mask"},
               {"Image and all objects", "all", "the image, then every floating object"},
               {"Selected objects", "objects", "only the selected floating objects, each with its own mask"},
               {"New object from the selection", "new-object",
                "the selected area becomes a floating object, and the effect changes that; the image stays"});

// Mirror's first button takes an undo step and changes nothing, so the command line leaves it out.
static constexpr auto mirrorScope =
    ScopeFrame({"Nothing", nullptr, "takes an undo step and changes nothing"},
               {"Image and all objects", "all", "the image, and the floating objects move along"},
               {"Selected objects", "objects", "only the selected floating objects, each by itself"},
               {"New object from the selection", "new-object",
                "the mirror image of the selected area becomes a floating object beside it"});

// Shear's fourth button does the same nothing.
static constexpr auto shearScope =
    ScopeFrame({"Image and all objects", "all", "the image and every floating object"},
               {"Image; objects only move", "image", "the image; floating objects move along but stay upright"},
               {"Selected objects", "objects", "only the selected floating objects, as one group"},
               {"Nothing", nullptr, "takes an undo step and changes nothing"});

int AddScope(Layout &layout, int x, int y, int width, ScopeKind scope)
{
    static constexpr std::span<const Setting> scopes[] = {familyScope, mirrorScope, shearScope};
    return AddFrames(layout, x, y, width, scopes[scope]);
}

int AddPreview(Layout &layout, int x)
{
    AddRow(layout, PREVIEW_WINDOW, PREVIEW_CONTROL, {x, MARGIN, PREVIEW_WIDTH, 130}, "");
    const int buttonsY = MARGIN + 130 + 4, right = x + PREVIEW_WIDTH;
    AddRow(layout, CHECK_BOX, PREVIEW_CHECK, {x, buttonsY + 2, 56, 10}, "&Preview");
    layout.rows.back().meaning = "shows what the effect would do as it is set, before anything is changed";
    AddRow(layout, PUSH_BUTTON, PREVIEW_ZOOM_OUT, {right - 76, buttonsY, 24, BUTTON_HEIGHT}, "-");
    layout.rows.back().meaning = "shows the preview smaller, and more of the picture";
    AddRow(layout, PUSH_BUTTON, PREVIEW_ZOOM_IN, {right - 50, buttonsY, 24, BUTTON_HEIGHT}, "+");
    layout.rows.back().meaning = "shows the preview larger, and less of the picture";
    AddRow(layout, PUSH_BUTTON, PREVIEW_ZOOM_FIT, {right - 24, buttonsY, 24, BUTTON_HEIGHT}, "Fit");
    layout.rows.back().meaning = "shows the whole picture in the preview";

    constexpr int TRACKBAR_HEIGHT = 18;   // room for the marks under its thumb
    const int priorityY = buttonsY + BUTTON_HEIGHT + 6;
    AddRow(layout, LABEL, -1, {x, priorityY + 3, 36, LABEL_HEIGHT}, "Priorit&y:");
    AddRow(layout, TRACKBAR, PRIORITY_TRACKBAR, {x + 52, priorityY, PREVIEW_WIDTH - 72, TRACKBAR_HEIGHT}, "");
    layout.rows.back().option = "priority";
    layout.rows.back().meaning = "how much of the processor a run may claim: 0 lowest, 2 normal, 4 highest";
    AddRow(layout, LABEL, -1, {x + 36, priorityY + 3, 16, LABEL_HEIGHT}, "low");
    AddRow(layout, LABEL, -1, {x + PREVIEW_WIDTH - 18, priorityY + 3, 18, LABEL_HEIGHT}, "high");
    return priorityY + TRACKBAR_HEIGHT + GAP;
}

// Abort is seen during a run only: it stands in the gap between two groups, which is none without it. Undo, Redo and
// the two pictures have keys of their own in the host, so they need no letter.
void AddButtons(Layout &layout, int x)
{
    struct {
        int id, y;
        const char *label, *meaning;
    } const buttons[] = {
        {APPLY_BUTTON, 7, "&Apply", "changes the picture, in the background; the dialog stays open"},
        {CLOSE_BUTTON, 25, "&Close", "closes the dialog"},
        {HELP_BUTTON, 43, "&Help", "tells of the effect and its settings"},
        {ABORT_BUTTON, 66, "Ab&ort", "ends the run and leaves the picture as it was before"},
        {HOST_COMMAND_FIRST, 89, "Undo", "takes back the last change of the active picture (Ctrl+Z)"},
        {HOST_COMMAND_FIRST + 1, 107, "Redo", "makes the change again that was taken back (Ctrl+Y)"},
        {HOST_COMMAND_FIRST + 2, 125, "Previous", "goes to the picture that was opened before this one (Ctrl+Page Up)"},
        {HOST_COMMAND_FIRST + 3, 143, "Next", "goes to the picture that was opened after this one (Ctrl+Page Down)"},
    };
    for (const auto &button : buttons) {
        AddRow(layout, PUSH_BUTTON, button.id, {x, button.y, BUTTON_WIDTH, BUTTON_HEIGHT}, button.label);
        layout.rows.back().meaning = button.meaning;
    }
}

//---- Whole dialogs

Layout LayOutEffect(const EffectSheet &sheet)
{
    constexpr int SETTINGS_WIDTH = 160, PREVIEW_X = MARGIN + SETTINGS_WIDTH + MARGIN;
    Layout layout;
    const int scopeY = AddFrames(layout, MARGIN, MARGIN, SETTINGS_WIDTH, sheet.settings);
    AddScope(layout, MARGIN, scopeY, SETTINGS_WIDTH, sheet.scope);
    AddPreview(layout, PREVIEW_X);
    AddButtons(layout, PREVIEW_X + PREVIEW_WIDTH + MARGIN);
    FitSize(layout);
    return layout;
}

Layout LayOutChooser()
{
    enum { OK_BUTTON = 1, CANCEL_BUTTON = 2, EFFECT_LIST = 960 };
    constexpr int LIST_WIDTH = 130, LIST_HEIGHT = 172, BUTTON_X = MARGIN + LIST_WIDTH + MARGIN;
    Layout layout;
    AddRow(layout, LABEL, -1, {MARGIN, MARGIN, LIST_WIDTH, LABEL_HEIGHT}, "&Effects:");
    AddRow(layout, LIST_BOX, EFFECT_LIST, {MARGIN, MARGIN + 11, LIST_WIDTH, LIST_HEIGHT}, "");
    AddRow(layout, PUSH_BUTTON, OK_BUTTON, {BUTTON_X, MARGIN + 11, BUTTON_WIDTH, BUTTON_HEIGHT}, "&OK");
    AddRow(layout, PUSH_BUTTON, CANCEL_BUTTON, {BUTTON_X, MARGIN + 29, BUTTON_WIDTH, BUTTON_HEIGHT}, "&Cancel");
    FitSize(layout);
    return layout;
}
