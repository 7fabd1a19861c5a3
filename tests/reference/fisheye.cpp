#include "tests/reference/reference.h"

#include <math.h>

void ReferenceFisheye(Picture &picture, bool maskInUse, int lensPower)
{
    const double centreX = picture.width * 0.5, centreY = picture.height * 0.5;
    const double k = lensPower * 0.1;
    const double a = (picture.width - 1) * (picture.width - 1) / 4, b = (picture.height - 1) * (picture.height - 1) / 4;
    FetchEachPixel(picture, maskInUse, nullptr, [&](int x, int y, double &fromX, double &fromY) {
        const double dx = x - centreX, dy = y - centreY;
        if (dx == 0 && dy == 0) return false;
        const double distance = sqrt(dy * dy + dx * dx), angle = atan2(dy, dx);
        const double c = cos(angle), s = sin(angle);
        const double edge = sqrt(a * b / (c * (c * b) + s * (s * a)));   // the ellipse's radius this way
        if (!(distance < edge)) return false;
        const double scale = pow(edge, k - 1);
        const double radius = lensPower == 20 ? distance / scale * distance : pow(distance, k) / scale;
        fromX = c * radius + centreX;
        fromY = s * radius + centreY;
        return true;
    });
}
