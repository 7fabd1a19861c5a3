#include "tests/reference/reference.h"

#include <algorithm>
#include <math.h>

void ReferencePolarCoordinates(Picture &picture, bool maskInUse, uint32_t fillColour)
{
    const int width = picture.width, height = picture.height;
    const long double centreX = width * 0.5L, centreY = height * 0.5L, radius = std::min(width, height) * 0.5L;
    const Pixel fill = PixelOfFill(picture, fillColour);
    FetchEachPixel(picture, maskInUse, &fill, [&](int x, int y, double &fromX, double &fromY) {
        const long double dx = x - centreX, dy = y - centreY, distance = sqrtl(dy * dy + dx * dx);
        if (distance >= radius) return false;
        long double angle = dx == 0 && dy == 0 ? 0 : atan2l(dy, dx);
        if (angle < 0) angle += 6.2831854;
        fromX = double((width - 1) * angle / 6.2831854);
        fromY = double((height - 1) * distance / radius);
        return true;
    });
}
