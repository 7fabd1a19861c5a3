// How a dialog is told inside this folder: one EffectSheet for each row of interface/effect_table.inc, a file of its own in
// effects/. Every control that is not the effect's own (scope, preview, priority, buttons) and every place comes from
// layout.cpp.
//
// A sheet's settings stand below each other in its table's order, which is the tab order too. Ids are those that the
// effects module works with, ranges and defaults are the module's to set. Percentages, pixels and degrees are whole
// numbers. Letters taken by the shared controls are A, C, H, O, P, T and Y; a frame's letter leads to the button that
// is chosen in it.

#pragma once

#include "host/dialogs/dialogs.h"
#include "interface/effect_table.h"

#include <span>
#include <vector>

// One setting as a person meets it; made by the routines below.
struct Setting {
    ControlKind kind;   // SPIN_ARROWS, COLOUR_CONTROL, CHECK_BOX, RADIO_BUTTON, or GROUP_BOX for a frame
    int16_t id = -1;
    int16_t fieldId = -1;   // spin box: its edit field
    const char *label = "";
    const char *unit = nullptr;     // spin box: shown behind the field; empty: its room only; null: no room either
    const char *option = nullptr;   // of a frame: the option that its radio buttons choose among
    const char *word = nullptr;     // radio button: null when the command line does not offer it
    const char *meaning = nullptr;
};

constexpr Setting Spin(int16_t id, int16_t fieldId, const char *label, const char *unit, const char *option,
                       const char *meaning)
{
    return {SPIN_ARROWS, id, fieldId, label, unit, option, nullptr, meaning};
}

constexpr Setting Colour(const char *label, const char *option, const char *meaning)
{
    return {COLOUR_CONTROL, 1130, -1, label, nullptr, option, nullptr, meaning};
}

constexpr Setting Check(int16_t id, const char *label, const char *option, const char *meaning)
{
    return {CHECK_BOX, id, -1, label, nullptr, option, nullptr, meaning};
}

// Opens a frame for the settings that follow; what stands before the first one gets a frame "Settings". With an option
// goes what its radio buttons choose.
constexpr Setting Frame(const char *heading, const char *option = nullptr, const char *meaning = nullptr)
{
    return {GROUP_BOX, -1, -1, heading, nullptr, option, nullptr, meaning};
}

// A radio button of the frame it stands in.
constexpr Setting Radio(int16_t id, const char *label, const char *word, const char *meaning)
{
    return {RADIO_BUTTON, id, -1, label, nullptr, nullptr, word, meaning};
}

// The four scope buttons mean other things to Mirror and to Shear, which change the picture's size, than to the family.
enum ScopeKind { FAMILY_SCOPE, MIRROR_SCOPE, SHEAR_SCOPE };

// A finished dialog: its controls in window order, and the size that holds them.
struct Layout {
    std::vector<ControlTemplate> rows;
    int width = 0, height = 0;
};

struct EffectSheet;
// Settings and scope in a column on the left, the preview in the middle, buttons on the right.
Layout LayOutEffect(const EffectSheet &sheet);

// What one effect brings to its dialog, and to its help.
struct EffectSheet {
    const char *summary;   // one line: what a person sees happen to a picture
    const char *about;     // the help page's text. What single controls mean stands in the settings
    const char *example;   // options that show it well: for the command line's help and the gallery's picture
    std::span<const Setting> settings = {};
    ScopeKind scope = FAMILY_SCOPE;
    Layout (*layOut)(const EffectSheet &sheet) = LayOutEffect;
    bool draws = false;   // random numbers: no two runs are the same
    std::span<const Contradiction> contradictions = {};
    const char *reachOption = nullptr;   // it looks around each pixel, as far as so many times this setting
    int32_t reach = 0;
    bool mixes = false;   // fetches between pixels, and moves the mask along: what the mask hides is mixed in too
};

#define EFFECT(name, ...) extern const EffectSheet name##Sheet;
#include "interface/effect_table.inc"

//---- Pieces that dialogs are put together from, in layout.cpp

// In dialog units, as all lengths here.
constexpr int MARGIN = 7, GAP = 5, PREVIEW_WIDTH = 140, BUTTON_WIDTH = 50, BUTTON_HEIGHT = 14;

struct Box {
    int x, y, width, height;
};

void AddRow(Layout &layout, ControlKind kind, int id, Box place, const char *label, bool startsGroup = true);
// Frames below each other from `y` on; they return where the next one goes.
int AddFrames(Layout &layout, int x, int y, int width, std::span<const Setting> settings);
int AddScope(Layout &layout, int x, int y, int width, ScopeKind scope);
// Preview picture with its zoom buttons, and the run's priority. Returns where the next thing below it goes.
int AddPreview(Layout &layout, int x);
void AddButtons(Layout &layout, int x);
// The size that holds all rows and the margin.
void FitSize(Layout &layout);

Layout LayOutChooser();
