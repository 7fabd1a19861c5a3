// The plain version of every worker. Each changes the picture as the worker's run to its end would, and those that
// draw random numbers draw them from `rand` as the caller has seeded it. Row padding stays as it was. A colour is
// 0x00BBGGRR, and a direction or mode is the id of its radio button.

#pragma once

#include "host/documents/picture.h"
#include "tests/reference/raster.h"

#include <functional>
#include <string>

//---- Tones and neighbourhoods

void ReferenceNoise(Picture &picture, int amount, int variation);
void ReferenceSolarize(Picture &picture, int threshold, int mode);
void ReferenceAcid(Picture &picture, int level);
void ReferenceDoubleVision(Picture &picture, int distance, int direction);
void ReferenceOilPainting(Picture &picture, int brushSize);
// Of pixels with equal keys (the sum of the squared channels) the one first in reading order counts as the lower.
// A sort that orders them otherwise may pick another pixel of the same key: compare MedianKey then.
void ReferenceMedian(Picture &picture, int radius, int mode);
int MedianKey(const Picture &picture, Pixel pixel);

//---- Moving pixels and areas

// A mask of 8 bits is blended, one of 1 bit moved.
void ReferenceWave(Picture &picture, bool maskInUse, int amplitude, uint32_t background, int wavelength, int phase,
                   bool columns);
void ReferenceRandomShear(Picture &picture, uint32_t fillColour);
void ReferenceMelt(Picture &picture, int amount, int direction);
void ReferenceSlices(Picture &picture, uint32_t background, int maxShift, int minWidth, int maxWidth);
void ReferenceTiles(Picture &picture, int tileSize, uint32_t background, int offset);
void ReferenceBlocks(Picture &picture, int blockWidth, int blockHeight);

//---- Fetching pixels from elsewhere

// The pixel at a place between pixels. `smooth` interpolates between four, weighed by `weights` when not null, else
// the nearest is taken.
Pixel SampleAt(const Raster &source, const Raster *weights, bool smooth, double x, double y);
void ReferenceRelocate(const RelocateRequest &request);
void ReferenceRipple(Picture &picture, bool maskInUse, int amplitude, int phase, int wavelength, bool fade);
void ReferencePolarCoordinates(Picture &picture, bool maskInUse, uint32_t fillColour);
void ReferenceFisheye(Picture &picture, bool maskInUse, int lensPower);
void ReferenceConeHead(Picture &picture, bool maskInUse, int conePower);
void ReferenceSwirl(Picture &picture, bool maskInUse, int amount);

// Fetches every pixel of a picture, and of its mask, from the place that `place` finds for it, brought into the
// picture. Where it finds none (false) a pixel keeps its value, or takes `fill` where that is not null (a mask 0).
typedef std::function<bool(int x, int y, double &sourceX, double &sourceY)> PlaceRoutine;
void FetchEachPixel(Picture &picture, bool maskInUse, const Pixel *fill, const PlaceRoutine &place);

//---- Changing the size

Raster ReferenceMirror(const Raster &raster, int direction);
Raster ReferenceFlip(const Raster &raster, int direction);   // 0 left-right, 1 top-bottom
Raster ReferenceShear(const Raster &raster, int colourType, int angle, uint32_t fill, bool edgesToFill,
                      bool horizontal);

//---- The filter matrix

struct MatrixSettings {
    std::array<int32_t, 49> kernel = {};   // row by row from the top
    int32_t bias = 0, divisor = 1;
    int32_t passMode = 1270;      // 1270 plain, 940 difference, 950 iterative
    int32_t combineMode = 5160;   // 5140 subtract, 5150 add, 5160 replace
    int32_t iterations = 1;
    int32_t useRed = 1, useGreen = 1, useBlue = 1;
};
// The side of the smallest centred square that the kernel needs: 1, 3, 5 or 7.
int ReferenceKernelSize(const MatrixSettings &settings);
void ReferenceConvolve(Picture &picture, const MatrixSettings &settings);
void ReferenceMatrix(Picture &picture, const MatrixSettings &settings);
void ReferenceParseKernelText(MatrixSettings &settings, const std::string &text);
