// sample-picture WIDTH HEIGHT FILE: draws the picture that the demonstration and the gallery work on. A lake under
// mountains shows what an effect does to soft tones; the tiled terrace in front shows what it does to straight lines.
// Everything is computed from the coordinates, so the same call always draws the same picture.
// sample-picture FROM TO: brings a picture of one's own into the format that TO's ending names.

#include "host/documents/picture_file.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

struct Colour {
    double red, green, blue;
};   // 0..1

static Colour Mix(Colour a, Colour b, double share)
{
    const double t = std::clamp(share, 0.0, 1.0);
    return {a.red + (b.red - a.red) * t, a.green + (b.green - a.green) * t, a.blue + (b.blue - a.blue) * t};
}

//---- Smooth random values

static double Lattice(int x, int y)
{
    uint32_t n = uint32_t(x) * 374761393u + uint32_t(y) * 668265263u;
    n = (n ^ (n >> 13)) * 1274126177u;
    return ((n ^ (n >> 16)) & 0xFFFF) / 65535.0;
}

static double Smooth(double x, double y)
{
    const double x0 = std::floor(x), y0 = std::floor(y);
    const auto ease = [](double t) { return t * t * (3 - 2 * t); };
    const double fx = ease(x - x0), fy = ease(y - y0);
    const int ix = int(x0), iy = int(y0);
    const double top = Lattice(ix, iy) * (1 - fx) + Lattice(ix + 1, iy) * fx;
    const double bottom = Lattice(ix, iy + 1) * (1 - fx) + Lattice(ix + 1, iy + 1) * fx;
    return top * (1 - fy) + bottom * fy;
}

// Several layers of Smooth, each twice as fine and half as strong; 0..1.
static double Rough(double x, double y, int layers)
{
    double sum = 0, weight = 0.5;
    for (int i = 0; i < layers; ++i, x *= 2, y *= 2, weight /= 2) sum += weight * Smooth(x, y);
    return sum;
}

//---- The scene, in coordinates 0..1 across and down

constexpr double SHORE = 0.58, TERRACE = 0.76;

static double RidgeHeight(double x, int range)
{
    const double rough = Rough(3.1 * x + 17 * range, range * 7.3, 6);
    return SHORE - 0.05 - 0.09 * range - 0.30 * (0.4 + 0.2 * range) * rough;
}

static Colour Sky(double x, double y)
{
    const Colour sky = Mix({0.20, 0.42, 0.78}, {0.98, 0.80, 0.58}, y / SHORE);
    const double cloud = Rough(4 * x + 3, 11 * y, 5) - 0.42;
    const double sun = std::hypot((x - 0.72) * 1.33, y - 0.30);
    const Colour lit = Mix(sky, {1, 0.96, 0.90}, 3.0 * cloud);
    return sun < 0.055 ? Colour{1, 0.95, 0.72} : Mix(lit, {1, 0.86, 0.55}, 0.6 * std::exp(-14 * (sun - 0.055)));
}

static Colour Land(double x, double y)
{
    static const Colour ranges[] = {{0.24, 0.38, 0.28}, {0.34, 0.42, 0.50}, {0.55, 0.58, 0.70}};
    for (int range = 0; range < 3; ++range) {
        const double top = RidgeHeight(x, range);
        if (y < top) continue;
        const double shade = Rough(26 * x, 26 * y + 40 * range, 4) - 0.25;
        const Colour rock = Mix(ranges[range], {0.12, 0.16, 0.16}, 0.7 * shade);
        const bool snow = range == 2 && y < top + 0.035 * (0.4 + Rough(30 * x, 4, 3));
        return snow ? Mix({0.97, 0.97, 1}, rock, shade) : rock;
    }
    return Sky(x, y);
}

static bool InTriangle(double x, double y, double left, double right, double top, double bottom)
{
    const double share = (y - top) / (bottom - top);
    return share >= 0 && share <= 1 && x >= left * share + right * (1 - share) && x <= right;
}

// A boat with a red and a white sail; false where it is not.
static bool Boat(double x, double y, Colour &colour)
{
    const double u = (x - 0.30) * 1.33, v = y - 0.655;
    if (v > 0 && v < 0.022 && std::abs(u) < 0.075 - v) return colour = {0.30, 0.16, 0.10}, true;
    if (InTriangle(u, v, -0.062, -0.004, -0.17, -0.012)) return colour = {0.82, 0.16, 0.14}, true;
    if (InTriangle(-u, v, -0.050, -0.004, -0.14, -0.012)) return colour = {0.96, 0.94, 0.88}, true;
    return false;
}

static Colour Lake(double x, double y)
{
    const double depth = (y - SHORE) / (TERRACE - SHORE);
    const double ripple = (Smooth(18 * x, 160 * y) - 0.5) * (0.01 + 0.02 * depth);
    const Colour mirrored = Land(x + ripple, 2 * SHORE - y + ripple);
    return Mix(mirrored, {0.08, 0.24, 0.36}, 0.35 + 0.35 * depth);
}

// Tiles in perspective, warm and pale in turn, with a dark joint.
static Colour Terrace(double x, double y)
{
    const double distance = 0.14 / (y - TERRACE + 0.035);
    const double u = (x - 0.5) * distance * 4.2, v = distance * 4.2;
    const double du = u - std::floor(u), dv = v - std::floor(v);
    if (std::min(du, dv) < 0.06) return {0.22, 0.20, 0.19};
    const bool warm = (int(std::floor(u)) + int(std::floor(v))) & 1;
    const double grain = 0.3 * Rough(60 * u, 60 * v, 2);
    return Mix(warm ? Colour{0.78, 0.42, 0.28} : Colour{0.90, 0.86, 0.76}, {0.4, 0.3, 0.25}, grain);
}

static Colour ColourAt(double x, double y)
{
    Colour boat;
    if (y > TERRACE) return Terrace(x, y);
    if (Boat(x, y, boat)) return boat;
    return y > SHORE ? Lake(x, y) : Land(x, y);
}

//---- The picture

static void DrawRow(Picture &picture, int y)
{
    constexpr int SAMPLES = 3;   // across and down each pixel
    uint8_t *pixel = picture.pixels.get() + size_t(y) * RowStride(24, picture.width);
    for (int x = 0; x < picture.width; ++x, pixel += 3) {
        Colour sum = {0, 0, 0};
        for (int s = 0; s < SAMPLES * SAMPLES; ++s) {
            const int across = s % SAMPLES, down = s / SAMPLES;
            const Colour colour =
                ColourAt((x + (across + 0.5) / SAMPLES) / picture.width, (y + (down + 0.5) / SAMPLES) / picture.height);
            sum = {sum.red + colour.red, sum.green + colour.green, sum.blue + colour.blue};
        }
        const auto level = [](double v) { return uint8_t(255 * std::clamp(v / (SAMPLES * SAMPLES), 0.0, 1.0)); };
        pixel[0] = level(sum.blue);
        pixel[1] = level(sum.green);
        pixel[2] = level(sum.red);
    }
}

static bool Save(const char *name, const Picture &picture, std::string &error)
{
    std::vector<std::string> notices;
    return WritePicture(name, picture, FormatOfName(name), {}, notices, error);
}

static bool Draw(int width, int height, const char *name, std::string &error)
{
    if (width < 1 || height < 1 || width > 20000 || height > 20000) {
        error = "a drawn picture has 1 to 20000 pixels each way";
        return false;
    }
    Picture picture = NewPicture(RGB, width, height);
    for (int y = 0; y < height; ++y) DrawRow(picture, y);
    return Save(name, picture, error);
}

static bool Convert(const char *from, const char *to, std::string &error)
{
    Picture picture;
    FileFormat format;
    std::vector<std::string> notices;
    return ReadPicture(from, picture, format, notices, error) && Save(to, picture, error);
}

int main(int count, char **arguments)
{
    std::string error = "sample-picture WIDTH HEIGHT FILE draws a landscape, sample-picture FROM TO converts a picture";
    if (count == 4 && Draw(atoi(arguments[1]), atoi(arguments[2]), arguments[3], error)) return 0;
    if (count == 3 && Convert(arguments[1], arguments[2], error)) return 0;
    fprintf(stderr, "sample-picture: %s\n", error.c_str());
    return 1;
}
