// Mirror and Shear enlarge the picture and its mask plane, but where there is a mask plane they leave the old size on
// record: whoever reads the rows by that size sees them torn. The editor knows what was asked for, so it puts the size
// that the planes have on record when the run has ended.

#pragma once

#include "interface/host_interface.h"

struct TrueSize {
    int32_t width, height;
};   // pixels

// What the planes of an image of this size measure after a run of this dialog's effect, as its controls stand now; the
// same size where the effect keeps it.
TrueSize SizeAfterRun(HWND dialog, TrueSize size);
// Puts the size of the planes on record and lays the floating objects on the picture again. The caller holds the
// image's lock.
void PutOnRecord(ImageRecord *image, TrueSize size);
