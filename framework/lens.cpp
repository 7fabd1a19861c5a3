// With e = r / R, a pixel's radius in parts of the ellipse's, its place from the centre is multiplied by e^exponent, and
//     e² = dx² / a + dy² / b        a, b: the squares of the ellipse's half axes
// needs neither an angle nor a root. Where e² is not between 0 and 1 the pixel stays.

#include "framework/lens.h"

#include "framework/relocation.h"

#include <math.h>

//---- Powers

// Powers of numbers between 0 and 1 to one exponent, by tables: a number is 2^-octave * middle * (1 + rest), where
// `middle` is that of one of PARTS steps from 1 to 2 and `rest` is within 1/256, which the binomial series takes to the
// last bit. There are more octaves than e² needs: none of its two parts but 0 is below 2^-33, and where they differ in
// sign their sum is 0 or at least the last bit of such a number.
constexpr int OCTAVES = 128, PARTS = 128;
constexpr int FRACTION_BITS = 52, PART_BITS = 7, EXPONENT_BIAS = 1023;
static_assert(PARTS == 1 << PART_BITS);

struct PowerTable {
    double octaves[OCTAVES];
    struct Part {
        double middle, inverse, power;
    } parts[PARTS];
    double c1, c2, c3, c4, c5;   // the series' coefficients
};

static PowerTable MakePowerTable(double exponent)
{
    PowerTable table;
    for (int i = 0; i < OCTAVES; ++i) table.octaves[i] = pow(2, -i * exponent);
    for (int i = 0; i < PARTS; ++i) {
        const double middle = 1 + (i + 0.5) / PARTS;
        table.parts[i] = {middle, 1 / middle, pow(middle, exponent)};
    }
    table.c1 = exponent;
    table.c2 = table.c1 * (exponent - 1) / 2;
    table.c3 = table.c2 * (exponent - 2) / 3;
    table.c4 = table.c3 * (exponent - 3) / 4;
    table.c5 = table.c4 * (exponent - 4) / 5;
    return table;
}

static inline double Power(const PowerTable &table, double value)
{
    constexpr uint64_t FRACTION = (uint64_t(1) << FRACTION_BITS) - 1;
    const uint64_t bits = __builtin_bit_cast(uint64_t, value);
    const unsigned octave = EXPONENT_BIAS - unsigned(bits >> FRACTION_BITS);
    const auto &part = table.parts[bits >> (FRACTION_BITS - PART_BITS) & (PARTS - 1)];
    const double number = __builtin_bit_cast(double, (bits & FRACTION) | uint64_t(EXPONENT_BIAS) << FRACTION_BITS);
    const double rest = (number - part.middle) * part.inverse;
    const double series =
        1 + rest * (table.c1 + rest * (table.c2 + rest * (table.c3 + rest * (table.c4 + rest * table.c5))));
    return table.octaves[octave % OCTAVES] * part.power * series;
}

//---- One row

// How e² becomes a pixel's factor. The defaults of both effects need no more than roots.
enum class Bending { ROOT, INVERSE_FOURTH_ROOT, POWER };

static Bending BendingFor(double exponent)
{
    return exponent == 1 ? Bending::ROOT : exponent == -0.5 ? Bending::INVERSE_FOURTH_ROOT : Bending::POWER;
}

// In place.
static void TurnIntoFactors(double *values, int count, Bending bending, const PowerTable &table)
{
    switch (bending) {
    case Bending::ROOT:
        for (int i = 0; i < count; ++i) values[i] = sqrt(values[i]);
        break;
    case Bending::INVERSE_FOURTH_ROOT:
        for (int i = 0; i < count; ++i) values[i] = 1 / sqrt(sqrt(values[i]));
        break;
    case Bending::POWER:
        for (int i = 0; i < count; ++i) values[i] = Power(table, values[i]);
        break;
    }
}

struct InscribedEllipse {
    double centreX, centreY;
    double squareX, squareY;   // of the half axes
    double lastX, lastY;       // the picture's last column and row
};

// The centre is at half the extent, the half axes are half of one less: the two do not quite fit, which is part of the
// effects, and so is that the squares are worked out in 32 bits. A square of 0 makes e² infinite or no number.
static InscribedEllipse EllipseOf(const ImageView &view)
{
    const auto squareOf = [](int32_t extent) { return int32_t(uint32_t(extent - 1) * uint32_t(extent - 1)) / 4; };
    return {view.width * 0.5, view.height * 0.5, double(squareOf(view.width)), double(squareOf(view.height)),
            view.width - 1.0, view.height - 1.0};
}

// Where the pixels from..to - 1 of a row are fetched from.
static void PlaceRun(const InscribedEllipse &ellipse, double dy, int from, int to, const double *factors,
                     double *sourceX, double *sourceY)
{
    for (int x = from; x < to; ++x) {
        const double dx = x - ellipse.centreX;
        sourceX[x] = WithinPlane(dx * factors[x] + ellipse.centreX, ellipse.lastX);
        sourceY[x] = WithinPlane(dy * factors[x] + ellipse.centreY, ellipse.lastY);
    }
}

// `squares` are the columns' shares of e², dx² / a; `factors` has room for as many.
static void BendRow(const InscribedEllipse &ellipse, const double *squares, Bending bending, const PowerTable &table,
                    int y, double *factors, RowRelocation &relocation)
{
    const int width = relocation.picture.request.width;
    const auto stays = [&](int x) { return !(factors[x] > 0 && factors[x] < 1); };
    const double dy = y - ellipse.centreY, square = dy * dy / ellipse.squareY;
    for (int x = 0; x < width; ++x) factors[x] = squares[x] + square;   // e² at first
    for (int from = 0, to; from < width; from = to) {
        to = from + 1;
        if (stays(from)) continue;
        while (to < width && !stays(to)) ++to;
        TurnIntoFactors(factors + from, to - from, bending, table);
        PlaceRun(ellipse, dy, from, to, factors, relocation.sourceX, relocation.sourceY);
        RelocateRun(relocation, y, from, to - from);
    }
}

void BendRays(const ImageView &view, double exponent)
{
    if (IsEmpty(view)) return;
    const size_t width = size_t(view.width);
    Scratch memory(width * sizeof(double));
    auto *squares = reinterpret_cast<double *>(memory.bytes);

    const InscribedEllipse ellipse = EllipseOf(view);
    for (int x = 0; x < view.width; ++x) {
        const double dx = x - ellipse.centreX;
        squares[x] = dx * dx / ellipse.squareX;
    }
    const Bending bending = BendingFor(exponent);
    const PowerTable table = MakePowerTable(exponent / 2);

    const Relocation relocation(view);
    ShareRows(view, RelocationSharing(view, 9, width * sizeof(double)), [&](const Rows &rows) {
        RowRelocation own = OnRows(relocation, rows.memory);
        auto *factors = reinterpret_cast<double *>(rows.memory + RelocationBytes(view.width));
        for (int y = rows.first; rows.GoesOn(y); ++y) BendRow(ellipse, squares, bending, table, y, factors, own);
    });
}
