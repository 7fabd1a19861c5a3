#include "tests/reference/reference.h"

#include <algorithm>
#include <math.h>

void ReferenceRipple(Picture &picture, bool maskInUse, int amplitude, int phase, int wavelength, bool fade)
{
    const double centreX = picture.width * 0.5, centreY = picture.height * 0.5;
    const double radius = std::min(centreX, centreY);
    const double length = 0.01 * wavelength * radius, swing = 0.01 * amplitude * radius;
    const double start = phase * 3.1415927 * (1.0 / 180);
    FetchEachPixel(picture, maskInUse, nullptr, [&](int x, int y, double &fromX, double &fromY) {
        const double dx = x - centreX, dy = y - centreY, distance = sqrt(dx * dx + dy * dy);
        double angle = 0;
        if (fade && distance > radius) {
            angle = atan2(dy, dx);
        } else if (dx != 0 || dy != 0) {
            const double size = fade ? swing * (1 - distance / radius) : swing;
            angle = atan2(dy, dx) + 6.2831854 + sin(6.2831854 * distance / length + start) * size / distance;
        }
        fromX = cos(angle) * distance + centreX;
        fromY = sin(angle) * distance + centreY;
        return true;
    });
}
