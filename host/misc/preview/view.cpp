// Where a picture lies in a window at a scale, which pixel is under a position, and how zooming and moving change that.
// Arithmetic alone; rendering.cpp draws.

#include "host/misc/preview/view.h"

#include <algorithm>
#include <cmath>
#include <iterator>

static constexpr double scales[] = {1.0 / 128, 1.0 / 96, 1.0 / 64, 1.0 / 48, 1.0 / 32, 1.0 / 24, 1.0 / 16,
                                    1.0 / 12,  1.0 / 8,  1.0 / 6,  1.0 / 4,  1.0 / 3,  1.0 / 2,  2.0 / 3,
                                    1,         1.5,      2,        3,        4,        6,        8,
                                    12,        16,       24,       32};

static int32_t Shown(double scale, int32_t length) { return std::max(1, int32_t(std::lround(length * scale))); }

Extent ShownExtent(const View &view, Extent picture)
{
    return {Shown(view.scale, picture.width), Shown(view.scale, picture.height)};
}

double NextScale(double scale, int steps)
{
    constexpr double HAIR = 1e-9;   // a scale beside a usual one is that one
    for (; steps > 0; --steps) {
        const double *next = std::find_if(std::begin(scales), std::end(scales),
                                          [=](double usual) { return usual > scale * (1 + HAIR); });
        if (next != std::end(scales)) scale = *next;
    }
    for (; steps < 0; ++steps) {
        const double *next = std::find_if(std::begin(scales), std::end(scales),
                                          [=](double usual) { return usual >= scale * (1 - HAIR); });
        if (next != std::begin(scales)) scale = *(next - 1);
    }
    return scale;
}

double FittingScale(Extent picture, Extent window)
{
    return std::min({1.0, double(window.width) / picture.width, double(window.height) / picture.height});
}

void ClampView(View &view, Extent picture, Extent window)
{
    const Extent shown = ShownExtent(view, picture);
    view.left = std::clamp(view.left, 0, std::max(0, shown.width - window.width));
    view.top = std::clamp(view.top, 0, std::max(0, shown.height - window.height));
}

POINT OriginOf(const View &view, Extent picture, Extent window)
{
    const Extent shown = ShownExtent(view, picture);
    return {shown.width < window.width ? (window.width - shown.width) / 2 : -view.left,
            shown.height < window.height ? (window.height - shown.height) / 2 : -view.top};
}

void ZoomAbout(View &view, double scale, POINT fixed, Extent picture, Extent window)
{
    const POINT origin = OriginOf(view, picture, window);
    const double x = (fixed.x - origin.x) / view.scale, y = (fixed.y - origin.y) / view.scale;
    view.scale = std::clamp(scale, std::min(LEAST_SCALE, FittingScale(picture, window)), MOST_SCALE);
    view.left = int32_t(std::lround(x * view.scale)) - fixed.x;
    view.top = int32_t(std::lround(y * view.scale)) - fixed.y;
    ClampView(view, picture, window);
}

POINT PixelAt(const View &view, Extent picture, Extent window, POINT position)
{
    const POINT origin = OriginOf(view, picture, window);
    return {LONG(std::floor((position.x - origin.x) / view.scale)),
            LONG(std::floor((position.y - origin.y) / view.scale))};
}

POINT CornerOf(const View &view, Extent picture, Extent window, POINT pixel)
{
    const POINT origin = OriginOf(view, picture, window);
    return {LONG(origin.x + std::lround(pixel.x * view.scale)), LONG(origin.y + std::lround(pixel.y * view.scale))};
}

void ShowPixel(View &view, Extent picture, Extent window, POINT pixel)
{
    const auto from = [&](LONG at) { return int32_t(std::floor(at * view.scale)); };
    const auto to = [&](LONG at) { return int32_t(std::ceil((at + 1) * view.scale)); };
    view.left = std::min(std::max(view.left, to(pixel.x) - window.width), from(pixel.x));
    view.top = std::min(std::max(view.top, to(pixel.y) - window.height), from(pixel.y));
    ClampView(view, picture, window);
}
