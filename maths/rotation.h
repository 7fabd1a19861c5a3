// Cosine and sine of an angle together, about ten times as fast as asking for both: the angle is brought to the nearest
// of 256 directions, whose values stand in a table, and turned on by the small rest with a few terms of the series.

#pragma once

#include <array>
#include <math.h>
#include <stdint.h>
#include <string.h>

struct Rotation {
    double cosine, sine;
};

constexpr int DIRECTIONS = 256;   // to a whole turn

// By the series, for angles of at most half a turn.
constexpr Rotation RotationBySeries(long double angle)
{
    long double term = 1, sums[2] = {0, 0};   // of the even and the odd powers
    for (int i = 0; i < 40; ++i) {
        sums[i & 1] += i & 2 ? -term : term;
        term *= angle / (i + 1);
    }
    return {double(sums[0]), double(sums[1])};
}

constexpr std::array<Rotation, DIRECTIONS> directions = [] {
    std::array<Rotation, DIRECTIONS> table = {};
    for (int i = 0; i < DIRECTIONS; ++i) {
        const int turned = i < DIRECTIONS / 2 ? i : i - DIRECTIONS;
        table[size_t(i)] = RotationBySeries(turned * (2 * 3.14159265358979323846264338327950288L / DIRECTIONS));
    }
    return table;
}();

// Beyond this many radians either way an angle is taken by the runtime's own functions.
constexpr double LARGE_ANGLE = 262144;

// An angle as a number of directions, in the lowest bits of `sum`, and the cosine and sine of the rest.
struct SplitAngle {
    double sum;
    Rotation rest;
};

inline SplitAngle SplitOf(double angle)
{
    constexpr double directionsPerRadian = 40.743665431525206;
    // The angle between two directions in two parts: times a whole number below 2 to the 24th the first is exact.
    constexpr double stepHigh = 0x1.921fb54p-6, stepLow = 1.5501462182508444e-11;
    constexpr double whole = 0x1.8p52;   // added and taken away again it leaves the nearest whole number
    const double sum = angle * directionsPerRadian + whole, steps = sum - whole;
    const double rest = angle - steps * stepHigh - steps * stepLow, square = rest * rest;
    const double sine = rest * (1 - square * (1.0 / 6 - square * (1.0 / 120)));
    const double cosine = 1 - square * (1.0 / 2 - square * (1.0 / 24 - square * (1.0 / 720)));
    return {sum, {cosine, sine}};
}

inline Rotation Joined(const SplitAngle &split)
{
    uint64_t bits;
    memcpy(&bits, &split.sum, sizeof bits);
    const Rotation &direction = directions[bits % DIRECTIONS], &rest = split.rest;
    return {direction.cosine * rest.cosine - direction.sine * rest.sine,
            direction.sine * rest.cosine + direction.cosine * rest.sine};
}

// Within 1e-15 of the exact values, and exact for 0. Angles in radians, of any size.
inline Rotation RotationBy(double angle)
{
    if (!(fabs(angle) < LARGE_ANGLE)) return {cos(angle), sin(angle)};
    return Joined(SplitOf(angle));
}

// The same for many angles, several at a time.
inline void RotateEach(const double *angles, int count, double *__restrict cosines, double *__restrict sines)
{
    constexpr int CHUNK = 64;
    for (int first = 0; first < count; first += CHUNK) {
        const int end = count - first < CHUNK ? count : first + CHUNK;
        double sums[CHUNK];
        for (int i = first; i < end; ++i) {
            const SplitAngle split = SplitOf(angles[i]);
            sums[i - first] = split.sum;
            cosines[i] = split.rest.cosine;
            sines[i] = split.rest.sine;
        }
        for (int i = first; i < end; ++i) {
            const bool large = !(fabs(angles[i]) < LARGE_ANGLE);
            const Rotation turn = large ? RotationBy(angles[i]) : Joined({sums[i - first], {cosines[i], sines[i]}});
            cosines[i] = turn.cosine;
            sines[i] = turn.sine;
        }
    }
}
