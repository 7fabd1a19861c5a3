// What a number field's text counts as, and the messages by which a spin box's number and range are read and set.

#pragma once

#include "host/api/backend.h"

#include <string>

struct NumberField {
    int32_t low = 0, high = 100;
    bool typed = true;   // the text is not by code: it counts as the nearest number in range
};

// The whole text has to be one number; else it reads as 0 and the answer is false.
bool ReadNumber(const std::string &text, long long &number);
// A person's text is brought into the range, what code has set stays.
int32_t NumberOf(const NumberField &field, const std::string &text);
// UDM_SETRANGE32, UDM_GETRANGE32, UDM_SETPOS32 and UDM_GETPOS32.
bool IsAboutNumber(UINT message);
// The answer to these; 0 to others. The dialog may close on a new number.
LRESULT NumberMessage(HWND handle, NumberField &field, const std::string &text, UINT message, WPARAM word,
                      LPARAM extra);

// What WM_NOTIFY carries when arrows ask for a step, laid out as the system's NMUPDOWN.
enum { NOTIFY = 0x004E };
constexpr UINT STEP_ASKED = UINT(-722);
struct StepNotice {
    struct {
        HWND window;
        UINT_PTR id;
        UINT code;
    } from;
    int32_t value, step;
};
// Writes the number that a step leads to, unless it is there already. A dialog does so when it has not refused the
// step's notice; it may close on it.
void TakeStep(const StepNotice &notice);
