// The help pages of the effects, paragraph by paragraph. All words are the dialog tables' own.

#pragma once

#include "host/acting/example.h"

#include <string>
#include <vector>

enum class HelpKind { TITLE, SUMMARY, HEADING, BODY, TERM };

struct HelpParagraph {
    HelpKind kind;
    std::string text;      // of a TERM: the control, as the dialog labels it
    std::string meaning;   // of a TERM
};

// The last paragraph's heading: how parts of a picture are kept from an effect.
constexpr char PROTECTING_HEADING[] = "What stays as it is";
// Title, summary, what the effect does; then under the headings of the dialog's frames what each control means, the
// effect's own first, then what every dialog has, and last how parts of a picture are kept from it.
std::vector<HelpParagraph> HelpPage(const DialogTemplate &effect);
// Settings as the dialog names them: "Brush size 5 pixels, Direction down".
std::string TextOfSettings(const DialogTemplate &effect, const std::vector<GivenOption> &settings);
// The settings that the effect's picture is made with, as the dialog names them: "Brush size 5 pixels".
std::string ExampleText(const DialogTemplate &effect);
