// Compares pictures for tests: type, size, palette, every pixel, padding where asked for, and says where the first
// difference lies.

#include "tests/support/comparison.h"

#include <iomanip>
#include <ostream>
#include <stdlib.h>

// One plane of a picture: its pixels or its mask.
struct Plane {
    const char *name;
    const uint8_t *bytes;
    int32_t width, height, bitsPerPixel;
    uint32_t (*value)(const Picture &, int32_t, int32_t);
};

static Plane PixelPlane(const Picture &picture)
{
    return {"pixel", picture.pixels.get(), picture.width, picture.height, picture.bitsPerPixel, PixelOf};
}

static Plane MaskPlane(const Picture &picture)
{
    return {"mask pixel", picture.mask.get(), picture.width, picture.height, picture.maskBitsPerPixel, MaskPixelOf};
}

static std::string InWords(uint32_t value, int32_t bitsPerPixel)
{
    if (bitsPerPixel != 24) return std::to_string(value);
    return "red " + std::to_string(value & 0xFF) + " green " + std::to_string(value >> 8 & 0xFF) + " blue " +
           std::to_string(value >> 16 & 0xFF);
}

static std::string FormOf(const Picture &picture)
{
    return "type " + std::to_string(picture.colourType) + ", " + std::to_string(picture.width) + " x " +
           std::to_string(picture.height) + ", " + std::to_string(picture.bitsPerPixel) + " bits, " +
           std::to_string(picture.paletteEntries) + " palette entries, mask of " +
           std::to_string(picture.mask ? picture.maskBitsPerPixel : 0) + " bits";
}

static testing::AssertionResult SameForm(const Picture &actual, const Picture &expected)
{
    if (FormOf(actual) != FormOf(expected)) {
        return testing::AssertionFailure() << FormOf(actual) << "; expected " << FormOf(expected);
    }
    for (int i = 0; i < 256; ++i) {
        if (actual.red[i] != expected.red[i] || actual.green[i] != expected.green[i] ||
            actual.blue[i] != expected.blue[i]) {
            return testing::AssertionFailure() << "palette entry " << i << " differs";
        }
    }
    return testing::AssertionSuccess();
}

static testing::AssertionResult SameValues(const Picture &actual, const Picture &expected, const Plane &plane)
{
    int64_t different = 0;
    std::string first;
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x) {
            const uint32_t found = plane.value(actual, x, y), wanted = plane.value(expected, x, y);
            if (found == wanted || different++ > 0) continue;
            first = std::string(plane.name) + " (" + std::to_string(x) + ", " + std::to_string(y) + ") is " +
                    InWords(found, plane.bitsPerPixel) + ", expected " + InWords(wanted, plane.bitsPerPixel);
        }
    }
    if (different == 0) return testing::AssertionSuccess();
    return testing::AssertionFailure() << first << "; " << different << " of " << int64_t(plane.width) * plane.height
                                       << " differ";
}

testing::AssertionResult SamePicture(const Picture &actual, const Picture &expected)
{
    testing::AssertionResult same = SameForm(actual, expected);
    if (same) same = SameValues(actual, expected, PixelPlane(actual));
    if (same && actual.mask) same = SameValues(actual, expected, MaskPlane(actual));
    return same;
}

static testing::AssertionResult SamePlanePadding(const Plane &actual, const Plane &expected)
{
    const int32_t stride = RowStride(actual.bitsPerPixel, actual.width);
    const int32_t bits = actual.bitsPerPixel * actual.width;
    for (int y = 0; y < actual.height; ++y) {
        for (int32_t i = bits / 8; i < stride; ++i) {
            const uint8_t padding = uint8_t(i == bits / 8 ? 0xFF >> bits % 8 : 0xFF);
            const size_t at = size_t(y) * stride + i;
            if (((actual.bytes[at] ^ expected.bytes[at]) & padding) == 0) continue;
            return testing::AssertionFailure() << "padding after " << actual.name << "s of row " << y << ", byte " << i
                                               << " of " << stride << ", differs";
        }
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult SamePadding(const Picture &actual, const Picture &expected)
{
    testing::AssertionResult same = SamePlanePadding(PixelPlane(actual), PixelPlane(expected));
    if (same && actual.mask) same = SamePlanePadding(MaskPlane(actual), MaskPlane(expected));
    return same;
}

testing::AssertionResult SameBytes(const Picture &actual, const Picture &expected)
{
    testing::AssertionResult same = SamePicture(actual, expected);
    return same ? SamePadding(actual, expected) : same;
}

//---- Nearly the same

static void AddSample(Closeness &closeness, int found, int wanted, bool isLevel, const std::string &place)
{
    ++closeness.samples;
    if (found == wanted) return;
    if (closeness.different++ == 0) {
        closeness.firstDifference = place + ": " + std::to_string(found) + ", expected " + std::to_string(wanted);
    }
    if (isLevel && abs(found - wanted) > 1) ++closeness.farOff;
}

static void AddPlaneDifferences(Closeness &closeness, const Picture &actual, const Picture &expected,
                                const Plane &plane, bool levels, const std::string &name)
{
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x) {
            const uint32_t found = plane.value(actual, x, y), wanted = plane.value(expected, x, y);
            std::string place;
            if (found != wanted) {
                place = name + ", " + plane.name + " (" + std::to_string(x) + ", " + std::to_string(y) + ")";
            }
            for (int c = 0; c < (plane.bitsPerPixel + 7) / 8; ++c) {
                AddSample(closeness, found >> 8 * c & 0xFF, wanted >> 8 * c & 0xFF, levels, place);
            }
        }
    }
}

void AddDifferences(Closeness &closeness, const Picture &actual, const Picture &expected, const std::string &name)
{
    if (!SameForm(actual, expected)) {
        ADD_FAILURE() << name << ": " << SameForm(actual, expected).message();
        return;
    }
    const bool levels = actual.colourType == GREY || actual.colourType == RGB;
    AddPlaneDifferences(closeness, actual, expected, PixelPlane(actual), levels, name);
    if (!actual.mask) return;
    AddPlaneDifferences(closeness, actual, expected, MaskPlane(actual), actual.maskBitsPerPixel == 8, name);
}

testing::AssertionResult CloseEnough(const Closeness &closeness)
{
    if (closeness.farOff == 0 && closeness.different * 100000 <= closeness.samples) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << closeness.different << " of " << closeness.samples << " samples differ, "
                                       << closeness.farOff << " by more than one level; first "
                                       << closeness.firstDifference;
}

//---- For EXPECT_EQ

bool operator==(const Picture &left, const Picture &right) { return bool(SamePicture(left, right)); }

static void PrintPlane(const Picture &picture, const Plane &plane, std::ostream *out)
{
    for (int y = 0; y < plane.height; ++y) {
        *out << "\n   ";
        for (int x = 0; x < plane.width; ++x) {
            const int digits = plane.bitsPerPixel == 24 ? 6 : plane.bitsPerPixel == 8 ? 3 : 1;
            *out << ' ' << std::setw(digits) << (plane.bitsPerPixel == 24 ? std::hex : std::dec)
                 << plane.value(picture, x, y) << std::dec;
        }
    }
}

void PrintTo(const Picture &picture, std::ostream *out)
{
    *out << FormOf(picture);
    if (picture.width > 24 || picture.height > 24) return;
    PrintPlane(picture, PixelPlane(picture), out);
    if (!picture.mask) return;
    *out << "\n    mask";
    PrintPlane(picture, MaskPlane(picture), out);
}
