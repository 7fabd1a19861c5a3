// What a run and the undo history share within VLMMISC.

#pragma once

#include "interface/host_interface.h"

// Brings the 8-bit display copy and the palette in line with a changed picture. The caller holds the image lock. [any]
void MakeDisplayCurrent(ImageRecord *image);
// Takes the step back that this thread has recorded, if it has. [run]
void TakeRunBack(ImageRecord *image, bool aborted);
// A run begins: the one before no longer counts as the image's last. [run]
void ForgetLastAbort(const ImageRecord *image);
