#include "tests/reference/reference.h"

#include <algorithm>
#include <math.h>
#include <numbers>

void ReferenceSwirl(Picture &picture, bool maskInUse, int amount)
{
    const double centreX = picture.width * 0.5, centreY = picture.height * 0.5, radius = std::min(centreX, centreY);
    FetchEachPixel(picture, maskInUse, nullptr, [&](int x, int y, double &fromX, double &fromY) {
        const double dx = x - centreX, dy = y - centreY, distance = sqrt(dx * dx + dy * dy);
        if (distance >= radius) return false;
        const double inwards = 1 - distance / radius;
        const double turn = amount * std::numbers::pi / 180 * inwards * inwards;
        fromX = centreX + dx * cos(turn) - dy * sin(turn);
        fromY = centreY + dx * sin(turn) + dy * cos(turn);
        return true;
    });
}
