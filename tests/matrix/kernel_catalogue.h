// The ready-made kernels as a person would write them down, to hold the module's texts against.

#pragma once

#include "tests/reference/reference.h"

struct CatalogueKernel {
    const char *name;
    int size;           // of the core
    const char *core;   // rows from the top, separated by "/"
    int divisor, bias;
    char mode;   // R, A or S
};
constexpr int CATALOGUE_KERNELS = 56;
extern const CatalogueKernel catalogue[CATALOGUE_KERNELS];

// The full 7 x 7 kernel with its core in the middle; the other settings as a fresh dialog has them.
MatrixSettings SettingsOf(const CatalogueKernel &kernel);
// The text that the module should hold for kernel `index`.
std::string TextOf(int index);
