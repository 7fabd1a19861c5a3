// Settings as a step gives them, and the controls of a dialog that take them: which rows of a dialog's table are
// settings, which of them are more than a value (Filters' kernel and its files), and working and reading them in an open
// dialog.

#pragma once

#include "host/acting/acting.h"
#include "host/library/steps.h"

// What a setting is besides a value that its control takes.
enum class SettingRole {
    VALUE,
    KERNEL,   // takes a ready-made kernel's name too, and then brings other settings with it
    LOADS,    // a kernel's file, likewise
    SAVES,    // a file that takes what stands in the dialog when all else has been set
};
SettingRole RoleOf(const ControlTemplate &row);

// The rows of a dialog's table that are settings, one per setting; buttons that ask for a file stand last.
std::vector<const ControlTemplate *> SettingRows(const DialogTemplate &effect);
// Null when the effect has no such setting.
const ControlTemplate *FindSettingRow(const DialogTemplate &effect, const std::string &name);
// Whether a setting, as it is given here, sets others too: a kernel by name, a kernel's file.
bool BringsKernel(const DialogTemplate &effect, const GivenSetting &given);

// What can be told of a step without its dialog: settings that exclude each other. VLM_OK, or the noted error.
vlm_code CheckOdds(const Step &step);
// Empty, or what a person should hear of a step that does nothing.
std::string NoticeOfScope(const Step &step);

// Whether a setting is one of pixels, which may be given as shares of an edge (ShareOfEdge): its dialog's unit tells.
bool IsInPixels(const DialogTemplate &effect, const ControlTemplate &row);

// What went wrong with which setting or file.
struct SettingFault {
    vlm_code code = VLM_OK;
    std::string subject, text;
};
// What a person should hear of settings that stand in the open dialog and contradict each other. [ui]
std::vector<std::string> Contradictions(HWND dialog, const Step &step);
// A trial leaves no file behind. A mask takes no colours: it is filled with 0, whatever colour was given.
enum class Purpose { TRIAL, PICTURE, MASK };
// Works the step's settings in its dialog, for the active image. `boxes` is where the texts of the module's message boxes
// come in meanwhile; the one that is a fault is taken out. False when one is not taken. [ui]
// `edge` is the picture's smaller one, of which shares are taken.
bool GiveSettings(HWND dialog, const Step &step, Purpose purpose, int32_t edge, std::vector<std::string> &boxes,
                  SettingFault &fault);
constexpr int32_t TRIAL_EDGE = 640;   // where there is no picture yet
// What stands in a step's dialog, once it has been given: every setting that says something of pixels, a kernel in
// numbers; the scope where the step has one, and no files. [ui]
std::vector<GivenSetting> ShownSettings(HWND dialog, const Step &step);
