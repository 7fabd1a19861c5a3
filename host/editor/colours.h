// The colours of what the editor draws itself and of what WM_CTLCOLOR reaches: the system's, or dark ones where the system is
// set to dark programs. High contrast is the system's own choice of colours, and goes before that.

#pragma once

#include "interface/windows_calls.h"

// As GetSysColor and GetSysColorBrush take them: COLOR_WINDOW, ... The brush stays the editor's.
COLORREF Colour(int index);
HBRUSH ColourBrush(int index);
bool IsDark();
// To be called when the system has told of new settings or colours; true when the colours have changed.
bool LookForColours();

// For a window's procedure: true when the message asks for colours, which `result` then tells. In light colours, which
// are the system's own, it never is.
bool TakeColourMessage(HWND window, UINT message, WPARAM word, LRESULT &result);
// A window's controls as the colours want them. To be called when it has been made, and when colours have changed.
void DressControls(HWND window);
// Its caption too, as far as the system has dark ones.
void DressCaption(HWND window);
