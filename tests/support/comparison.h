// Comparing pictures: the answer to a difference names the first pixel that differs.

#pragma once

#include "tests/support/pictures.h"

#include <gtest/gtest.h>

// Type, size, palette, pixels and mask. Row padding may differ.
testing::AssertionResult SamePicture(const Picture &actual, const Picture &expected);
// The same, and row padding byte for byte.
testing::AssertionResult SameBytes(const Picture &actual, const Picture &expected);
// Row padding alone, of pixels and mask: what a worker that leaves padding alone keeps.
testing::AssertionResult SamePadding(const Picture &actual, const Picture &expected);

// Where a picture comes from a computation in floating point, one sample in 100,000 may be one level off. Samples are
// bytes of pixels and mask; for palette and one-bit planes a sample that differs counts as one level off.
struct Closeness {
    int64_t samples = 0;
    int64_t different = 0;
    int64_t farOff = 0;   // more than one level apart
    std::string firstDifference;
};
// Adds what two pictures of one type and size differ in; `name` tells which picture it was.
void AddDifferences(Closeness &closeness, const Picture &actual, const Picture &expected, const std::string &name);
testing::AssertionResult CloseEnough(const Closeness &closeness);

// So that pictures can be compared with EXPECT_EQ: as SamePicture, printed in full up to 24 x 24 pixels.
bool operator==(const Picture &left, const Picture &right);
void PrintTo(const Picture &picture, std::ostream *out);
