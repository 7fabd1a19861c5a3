// The module's parameters and the plain version's settings say the same in different records.

#pragma once

#include "matrix/matrix.h"
#include "tests/reference/reference.h"

#include <algorithm>
#include <ostream>
#include <random>

inline MatrixParameters ParametersOf(const MatrixSettings &settings)
{
    MatrixParameters own = {};
    std::copy(settings.kernel.begin(), settings.kernel.end(), own.kernel);
    own.bias = settings.bias;
    own.divisor = settings.divisor;
    own.passMode = settings.passMode;
    own.combineMode = settings.combineMode;
    own.iterations = settings.iterations;
    own.useRed = settings.useRed;
    own.useGreen = settings.useGreen;
    own.useBlue = settings.useBlue;
    return own;
}

inline bool SameKernel(const MatrixParameters &own, const MatrixSettings &settings)
{
    return std::equal(settings.kernel.begin(), settings.kernel.end(), own.kernel) && own.bias == settings.bias &&
           own.divisor == settings.divisor && own.combineMode == settings.combineMode;
}

inline bool SameSettings(const MatrixParameters &own, const MatrixSettings &settings)
{
    return SameKernel(own, settings) && own.passMode == settings.passMode && own.iterations == settings.iterations &&
           own.useRed == settings.useRed && own.useGreen == settings.useGreen && own.useBlue == settings.useBlue;
}

inline std::ostream &operator<<(std::ostream &out, const MatrixSettings &settings)
{
    out << "kernel";
    for (size_t i = 0; i < 49; ++i) out << (i % 7 == 0 ? " / " : " ") << settings.kernel[i];
    return out << ", divisor " << settings.divisor << ", bias " << settings.bias << ", pass " << settings.passMode
               << ", combine " << settings.combineMode << ", iterations " << settings.iterations << ", channels "
               << settings.useRed << settings.useGreen << settings.useBlue;
}

// The same everywhere, which the standard's distributions are not.
inline int32_t Between(int32_t low, int32_t high, std::mt19937 &generator)
{
    return int32_t(low + int64_t(uint64_t(generator()) * uint64_t(int64_t(high) - low + 1) >> 32));
}
