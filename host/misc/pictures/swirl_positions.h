// Where a swirl fetches the pixels of a row from.

#pragma once

#include <stddef.h>
#include <stdint.h>
#include <vector>

struct SwirlRow {
    int32_t width, height, amount;                // amount in degrees
    std::vector<double> angles, cosines, sines;   // of half a row
    std::vector<double> sourceX, sourceY;         // by column; filled from first to end - 1
    int32_t first = 0, end = 0;                   // the columns within the circle

    SwirlRow(int32_t width_, int32_t height_, int32_t amount_)
        : width(width_), height(height_), amount(amount_), angles(size_t(width / 2 + 1)), cosines(angles.size()),
          sines(angles.size()), sourceX(size_t(width)), sourceY(size_t(width))
    {
    }
};

// The columns of row y that lie within the circle, and their positions, which lie in the picture.
void FindSwirlPositions(SwirlRow &row, int32_t y);
