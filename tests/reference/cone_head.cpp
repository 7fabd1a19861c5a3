#include "tests/reference/reference.h"

#include <math.h>

void ReferenceConeHead(Picture &picture, bool maskInUse, int conePower)
{
    const double centreX = picture.width * 0.5, centreY = picture.height * 0.5;
    const double k = conePower * 0.1;
    const double a = (picture.width - 1) * (picture.width - 1) / 4, b = (picture.height - 1) * (picture.height - 1) / 4;
    FetchEachPixel(picture, maskInUse, nullptr, [&](int x, int y, double &fromX, double &fromY) {
        const double dx = x - centreX, dy = y - centreY, distance = sqrt(dy * dy + dx * dx);
        const double angle = dx == 0 && dy == 0 ? 0 : atan2(dy, dx), c = cos(angle), s = sin(angle);
        const double edge = sqrt(a * b / (c * (c * b) + s * (s * a)));   // the ellipse's radius this way
        if (!(distance > 0 && distance < edge)) return false;
        const double radius = conePower == 20 ? sqrt(distance * edge) : pow(distance * pow(edge, k - 1), 1 / k);
        fromX = c * radius + centreX;
        fromY = s * radius + centreY;
        return true;
    });
}
