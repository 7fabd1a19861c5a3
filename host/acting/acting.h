// Acting as a person: what someone does with a dialog, as routines that the command line and the tests share. They
// work the controls through the host's windows, on the dialogs' thread, and know nothing of the module behind them.

#pragma once

#include "host/documents/documents.h"

#include <string>

// Opens an effect's dialog by its menu command, runs `script` once it stands ready, and returns when the dialog has
// gone. False when the command opened no dialog. A script closes its dialog before it ends, and may open others. The
// host's observer (HostObserve) is taken meanwhile.
bool ActInDialog(Host &host, int32_t commandOffset, const std::function<void(HWND dialog)> &script);

// A person cannot work a control that is greyed, and neither do these.
void Press(HWND dialog, int32_t id);                                  // a push button
void Tick(HWND dialog, int32_t id, bool on);                          // a check box, clicked only when it differs
void Choose(HWND dialog, int32_t id);                                 // a radio button
void Type(HWND dialog, int32_t fieldId, const std::string &number);   // into a number field, replacing its text
void SpinTo(HWND dialog, int32_t spinId, int32_t value);              // by the arrows
void Slide(HWND dialog, int32_t trackbarId, int32_t position);
void PickColour(HWND dialog, int32_t id, uint32_t colour);   // 0x00BBGGRR
void DoubleClick(HWND dialog, int32_t listId, int32_t entry);
// A button that asks for a file, without one: loads this text, or answers with the text that would be saved, empty when
// nothing was.
void PressAndGive(HWND dialog, int32_t id, const std::string &text);
std::string PressAndTake(HWND dialog, int32_t id);

// Whether a run of this image is under way: from an Apply within ActInDialog that started it until the dialog has
// been told that it has finished.
bool RunUnderWay(const ImageRecord *image);
// Waits, handling messages, until the dialog has been told that this image's run has finished. Returns at once when
// none is under way.
void WaitForRun(ImageRecord *image);
// Handles messages until `done` holds; it is asked first and after every message.
void WaitUntil(const std::function<bool()> &done);

//---- By the words of the command line

// The row that carries an option: its spin arrows, trackbar, colour, check box, the first of its radio buttons, or the
// first of several number fields that take one value of as many numbers, apart by blanks or commas.
// Null when the dialog has no such option.
const ControlTemplate *FindOption(const DialogTemplate &table, const std::string &option);
// The numbers that a spin box, a number field or the trackbar takes, as the open dialog has set them.
void OptionRange(HWND dialog, const ControlTemplate &row, int32_t &low, int32_t &high);
// Whether the option's control can be worked: it is there and not greyed.
bool CanSetOption(HWND dialog, const ControlTemplate &row);
// Works the control that the dialog's table names for `option`. False with one line, which does not repeat the
// option, when there is none, or the value is not one of its words, not a number, or outside its range.
bool SetOption(HWND dialog, const DialogTemplate &table, const std::string &option, const std::string &value,
               std::string &error);
// What the dialog shows for an option, in the words SetOption takes; empty when there is no such option.
std::string ShownOption(HWND dialog, const DialogTemplate &table, const std::string &option);
