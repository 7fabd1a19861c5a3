// A picture as the screen wants it: rows of 32-bit words 0x00RRGGBB, enlarged pixel by pixel or reduced with its
// neighbours averaged (4, and 16 below a third), the mask laid over it in red while it is edited.

#pragma once

#include "host/misc/preview/view.h"
#include "interface/records.h"

struct Rendering {
    const ImageRecord *picture;   // planes, size, type and palette are read
    View view;
    Extent window;
    uint32_t background;        // around the picture
    bool maskShown;             // what the mask leaves out gets a red veil
    bool maskIsAlpha = false;   // a chessboard shows through where the mask leaves something out
};

// Fills the part left..right - 1, top..bottom - 1 of the window, row by row from `words` on.
void Render(const Rendering &rendering, const RECT &part, uint32_t *words);
