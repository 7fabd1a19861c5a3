// Puts the help pages together from the dialogs' tables: names, choices and ranges of the controls beside what the tables
// say of their meaning. How a page looks is help_window.h's.

#include "host/editor/help_text.h"

#include "host/acting/known_words.h"

#include <algorithm>
#include <ctype.h>
#include <string.h>

//---- Names of controls

// Without the mark of its accelerator and the colon that leads to a field.
static std::string Plain(std::string label)
{
    std::erase(label, '&');
    if (label.ends_with(':')) label.pop_back();
    return label;
}

static std::string Capital(std::string text)
{
    text[0] = char(toupper(text[0]));
    return text;
}

static const ControlTemplate *FrameBefore(const DialogTemplate &effect, int32_t index)
{
    while (index >= 0 && effect.controls[index].kind != GROUP_BOX) --index;
    return index >= 0 ? &effect.controls[index] : nullptr;
}

static bool StandsIn(const ControlTemplate &frame, const ControlTemplate &row)
{
    return row.x >= frame.x && row.x + row.width <= frame.x + frame.width && row.y >= frame.y &&
           row.y + row.height <= frame.y + frame.height;
}

// The frame that a control stands in; empty outside of all frames.
static std::string HeadingOf(const DialogTemplate &effect, int32_t index)
{
    const ControlTemplate *frame = FrameBefore(effect, index);
    return frame && StandsIn(*frame, effect.controls[index]) ? Plain(frame->label) : "";
}

// Buttons have labels of their own, a field's stands before it. Where there is none, the frame's heading says it all.
static std::string CaptionOf(const DialogTemplate &effect, int32_t index)
{
    if (effect.controls[index].label[0]) return Plain(effect.controls[index].label);
    for (int32_t i = index - 1; i >= 0 && effect.controls[i].kind != GROUP_BOX; --i)
        if (effect.controls[i].kind == LABEL) return Plain(effect.controls[i].label);
    return "";
}

//---- Pages

static bool IsShared(int32_t id)
{
    static constexpr int32_t shared[] = {
        SCOPE_IMAGE_RADIO, SCOPE_ALL_RADIO, SCOPE_OBJECTS_RADIO, SCOPE_NEW_OBJECT_RADIO, PREVIEW_CHECK,
        PREVIEW_ZOOM_OUT,  PREVIEW_ZOOM_IN, PREVIEW_ZOOM_FIT,    PRIORITY_TRACKBAR,      APPLY_BUTTON,
        ABORT_BUTTON,      CLOSE_BUTTON,    HELP_BUTTON};
    return (id >= HOST_COMMAND_FIRST && id <= HOST_COMMAND_LAST) ||
           std::find(std::begin(shared), std::end(shared), id) != std::end(shared);
}

// A heading where another frame begins.
static void AddControls(std::vector<HelpParagraph> &page, const DialogTemplate &effect, bool shared)
{
    std::string heading;
    for (int32_t i = 0; i < effect.controlCount; ++i) {
        const ControlTemplate &row = effect.controls[i];
        if (!row.meaning || row.kind == GROUP_BOX || IsShared(row.id) != shared) continue;
        std::string own = HeadingOf(effect, i);
        if (own.empty()) own = "In every dialog";
        if (own != heading) page.push_back({HelpKind::HEADING, own, ""});
        heading = own;
        const std::string caption = CaptionOf(effect, i);
        if (caption.empty()) page.push_back({HelpKind::BODY, Capital(row.meaning) + ".", ""});
        else page.push_back({HelpKind::TERM, caption, row.meaning});
    }
}

// What people call it who look for it under another name; kernels are told by theirs.
static void AddWords(std::vector<HelpParagraph> &page, const DialogTemplate &effect)
{
    std::string words;
    for (const KnownWord &known : KnownWords())
        if (!strcmp(known.effect, effect.effect)) words += (words.empty() ? "" : ", ") + std::string(known.word);
    if (words.empty()) return;
    page.push_back({HelpKind::HEADING, "Other words for it", ""});
    page.push_back({HelpKind::BODY, Capital(words) + ".", ""});
}

std::vector<HelpParagraph> HelpPage(const DialogTemplate &effect)
{
    std::vector<HelpParagraph> page = {{HelpKind::TITLE, effect.title, ""},
                                       {HelpKind::SUMMARY, Capital(effect.summary) + ".", ""},
                                       {HelpKind::BODY, effect.about, ""}};
    AddControls(page, effect, false);
    AddWords(page, effect);
    AddControls(page, effect, true);
    page.push_back({HelpKind::HEADING, PROTECTING_HEADING, ""});
    page.push_back(
        {HelpKind::BODY,
         "An effect keeps to the selected area where one is selected. Menu Mask, Paint Protection (Ctrl+P): what "
         "is painted over stays as it is; the right button frees it again. A mask is something else: the "
         "picture's transparency, which effects change as they change the colours.",
         ""});
    return page;
}

//---- Examples

// "Down" is "down" within a sentence.
static std::string Lower(std::string label)
{
    label[0] = char(tolower(label[0]));
    return label;
}

// What stands behind a spin box's arrows, unless that leads to the next field.
static std::string UnitOf(const DialogTemplate &effect, int32_t index)
{
    if (effect.controls[index].kind != SPIN_ARROWS || index + 1 == effect.controlCount) return "";
    const ControlTemplate &next = effect.controls[index + 1];
    const bool unit = next.kind == LABEL && next.y > effect.controls[index].y &&
                      next.y < effect.controls[index].y + effect.controls[index].height;
    return unit ? std::string(" ") + next.label : "";
}

// An option and its value as the dialog names them: "Angle 20 degrees", "Direction down".
static std::string SettingText(const DialogTemplate &effect, const std::string &option, const std::string &value)
{
    for (int32_t i = 0; i < effect.controlCount; ++i) {
        const ControlTemplate &row = effect.controls[i];
        if (!row.option || option != row.option || (row.word && value != row.word)) continue;
        if (row.word) return HeadingOf(effect, i) + " " + Lower(CaptionOf(effect, i));
        const std::string caption = CaptionOf(effect, i);
        return (caption.empty() ? HeadingOf(effect, i) : caption) + " " + value + UnitOf(effect, i);
    }
    return "";
}

std::string TextOfSettings(const DialogTemplate &effect, const std::vector<GivenOption> &settings)
{
    std::string text;
    for (const GivenOption &option : settings) {
        text += (text.empty() ? "" : ", ") + SettingText(effect, option.name, option.value);
    }
    return text;
}

std::string ExampleText(const DialogTemplate &effect) { return TextOfSettings(effect, ExampleOptions(effect)); }
