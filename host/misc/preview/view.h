// Where a picture stands in its window: zooming and scrolling as arithmetic. A window smaller than the shown picture
// scrolls, a larger one has the picture in its middle.

#pragma once

#include "interface/windows_calls.h"

struct Extent {
    int32_t width, height;
};

struct View {
    double scale = 1;            // window pixels per picture pixel, LEAST_SCALE..MOST_SCALE; less where that shows all
    int32_t left = 0, top = 0;   // window pixels of the shown picture that are scrolled out; 0 where it all fits
};

constexpr double LEAST_SCALE = 1.0 / 128, MOST_SCALE = 32;   // of the usual ones

// The whole picture's size in window pixels, at least 1.
Extent ShownExtent(const View &view, Extent picture);
// The next scale of the usual ones, larger (steps > 0) or smaller.
double NextScale(double scale, int steps);
// The largest scale up to 1 at which all of the picture is seen.
double FittingScale(Extent picture, Extent window);
// Brings the scroll position into its range.
void ClampView(View &view, Extent picture, Extent window);
// Changes the scale so that the picture's point under `fixed` (window pixels) stays there, as far as the range allows.
void ZoomAbout(View &view, double scale, POINT fixed, Extent picture, Extent window);
// The window position of the picture's top left corner.
POINT OriginOf(const View &view, Extent picture, Extent window);
// The picture's pixel at a window position; may lie outside the picture.
POINT PixelAt(const View &view, Extent picture, Extent window, POINT position);
// The window position of a pixel's top left corner.
POINT CornerOf(const View &view, Extent picture, Extent window, POINT pixel);
// Scrolls as little as is needed to bring a pixel into sight.
void ShowPixel(View &view, Extent picture, Extent window, POINT pixel);
