// An effect's settings as its open dialog shows them, in the words of the command line: read, put back, drawn by lot,
// and told as a line. Scope, priority and what names files are no part of it: they belong to the picture and the day.

#pragma once

#include "host/acting/acting.h"
#include "host/acting/example.h"

// In the order of the dialog's table, each name once.
typedef std::vector<GivenOption> Settings;

bool SameSettings(const Settings &one, const Settings &other);
// What the dialog shows for the active picture; a control that is greyed is left out unless all are wanted. [ui]
enum class Which { ALL, USABLE };
Settings SettingsIn(HWND dialog, const DialogTemplate &effect, Which which);
// Works the dialog's controls: kernels first, then choices, then numbers, since each may change what the next one's range
// is. Shares ("2%") are those of a picture's smaller edge. What is not named stays. False with a line for each value that
// the dialog does not take; the others are put all the same. [ui]
bool PutSettings(HWND dialog, const DialogTemplate &effect, const Settings &settings, int32_t edge, std::string &fault);
// Each setting anywhere within its range; a kernel is one of the ready-made ones. `draw` answers with a number of
// 0..`most`. [ui]
Settings RandomSettings(HWND dialog, const DialogTemplate &effect, const std::function<uint32_t(uint32_t most)> &draw);

// A step's line, as recipes and presets have it, taken apart; false when it is none.
bool ReadStep(const std::string &line, std::string &effect, Settings &settings);
std::string StepLine(const DialogTemplate &effect, const Settings &settings);
// What a line needs besides to give, of a picture with alpha, the pixels that the dialog has made; empty where nothing.
std::string FringeOfDialogs(const DialogTemplate &effect);

// What else decides what a run makes.
struct RunWords {
    std::string input, output;   // files
    std::string area;            // "X,Y,WIDTHxHEIGHT", empty for none
    std::string seed;            // empty for none
};
// The line that makes on the command line what the run makes: "velmorant apply wave "lake.png" ...". What has blanks is
// in double quotes, which shells of every system know.
std::string CommandLine(const DialogTemplate &effect, const Settings &settings, const RunWords &words);

// The name of a setting's number field as its dialog shows it, without marks: "Amplitude".
std::string NameOfField(const DialogTemplate &effect, const ControlTemplate &field);
// "1 to 100". [ui]
std::string RangeOfField(HWND dialog, const DialogTemplate &effect, const ControlTemplate &field);
// A number field's text that does not count as it stands, told: "Amplitude: 300 is outside 1 to 100". Empty when it
// does. [ui]
std::string FaultOfField(HWND dialog, const DialogTemplate &effect, const ControlTemplate &field,
                         const std::string &text);
