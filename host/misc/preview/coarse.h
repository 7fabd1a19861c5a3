// A preview that is there soon where the exact one takes its time: the same effect on every so many-th pixel of every so
// many-th row, each of which then stands for its neighbours.

#pragma once

#include "host/dialogs/dialogs.h"
#include "host/misc/pictures/image_copy.h"

// Whether a smaller picture looks the same with an effect's settings: not where one of them counts pixels, and not where
// random numbers are drawn one after the other. [any]
bool LooksTheSameReduced(const DialogTemplate &effect);
// One pixel of so many in each direction is enough for a picture of this size; 1 where all of it is. [any]
int32_t CoarseStep(const ImageRecord &picture);
// Fills an empty record with the reduced picture: 8 or 24 bits, no mask, no objects. [any]
void Reduce(ImageRecord &to, const ImageRecord &from, int32_t step);
// Fills an empty record with a picture as large as `whole`, made of the reduced one's pixels. [any]
void Enlarge(ImageRecord &to, const ImageRecord &reduced, const ImageRecord &whole, int32_t step);
