// The seeds of images within VLMMISC: what an undo step keeps of them, and a run's beginning and end.

#pragma once

#include "interface/host_interface.h"

struct ImageSeeds {
    uint32_t current;   // what the next run and its preview seed with
    uint32_t used;      // by the run that made the picture what it is
    bool drew;          // whether that run called KPZ_srand; `used` counts only then
};

// An image that is not known yet gets a fresh seed. [any]
ImageSeeds SeedsOf(const ImageRecord *image);
void SetSeeds(const ImageRecord *image, const ImageSeeds &seeds);
void ForgetSeeds(const ImageRecord *image);
// A run begins on this thread: KPZ_srand takes the image's seed. [run]
void BeginSeededRun(const ImageRecord *image);
// The run has come to its end and was not aborted: notes what it used and draws the image's next seed. A thread that
// has begun no seeded run, or ended it already, does nothing. [run]
void EndSeededRun(const ImageRecord *image);
