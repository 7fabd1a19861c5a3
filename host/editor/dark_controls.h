// Controls that the system has in light colours whatever it is asked, drawn in dark ones: buttons, circles and boxes with a
// text, the arrows of number fields and of lists that drop down, frames with a text, and sunken edges. In light colours, and in those of high contrast, each
// draws itself as it always does.

#pragma once

#include "interface/windows_calls.h"

// To be called for a control when it has been made, and when colours have changed; often does no harm.
void DressControlInDark(HWND control);
