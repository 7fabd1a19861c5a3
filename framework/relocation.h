// Setting pixels from elsewhere in the picture through the host's Relocate: the planes are copied, and every pixel of
// picture and mask is fetched from its own position in the copies. An effect that moves pixels so has only the
// positions to work out, a row at a time.

#pragma once

#include "framework/bands.h"

// A plane's next pixel to set. The request is filled but for the pixel's place and position.
struct RelocatedPlane {
    RelocateRequest request;
    uint8_t *pixels;     // null: no such plane
    int bytesPerPixel;   // from one destination to the next; 0 for one-bit pixels, which are told by x and y
    int columnStep;      // from one x to the next: 1 for one-bit pixels, else 0
};

// The view's planes and, as sources, copies of how they stand now.
struct Relocation {
    PlaneCopies sources;
    RelocatedPlane picture, mask;

    explicit Relocation(const ImageView &view);
};

// What one thread sets pixels by.
struct RowRelocation {
    RelocatedPlane picture, mask;
    double *sourceX, *sourceY;   // for one row: where the pixel of each column is fetched from
};
constexpr size_t RelocationBytes(int width) { return 2 * sizeof(double) * size_t(width); }
// `memory` is of RelocationBytes and the caller's.
RowRelocation OnRows(const Relocation &relocation, uint8_t *memory);

// How rows are shared of which each pixel takes so many nanoseconds and Relocate's own: under a host whose Relocate may
// not be called from several threads the run's own does it all. `memory` is a thread's besides RelocationBytes.
RowSharing RelocationSharing(const ImageView &view, double cost, size_t memory);

// Sets `count` pixels of row y from column x on, each from the position that stands for its column: first the
// picture's pixel, then the mask's. Positions lie within 0..width - 1 and 0..height - 1.
void RelocateRun(RowRelocation &relocation, int y, int x, int count);

// Brings a position into 0..last; what is not a number becomes 0.
inline double WithinPlane(double position, double last)
{
    return !(position >= 0) ? 0 : position > last ? last : position;
}
