// Cleans the border of a mask by a second picture, whose colours are multiplied by the mask: mixed by the effect as the
// mask is, and divided by it again, it tells what the pixels of the border should be. With p a pixel's colour, m its mask
// and w its share in the mixture, the colour is
//     sum(w m p) / sum(w m)        instead of        sum(w p)
// Which pixels an effect mixes is not known here, and nothing is run.

#include "host/library/fringe.h"

#include <algorithm>
#include <cstdlib>

static bool IsOfWholePicture(const Step &step)
{
    const GivenSetting *scope = FindSetting(step, "scope");
    static const char *const words[] = {"image", "all", "6940", "6950"};
    return !scope || std::find(std::begin(words), std::end(words), scope->value) != std::end(words);
}

vlm_code FailCleanFringe() { return Fail(VLM_AT_ODDS, "--fringe", "clean is for pictures on which no objects float"); }

vlm_code CheckFringe(const Step &step)
{
    const GivenSetting *given = FindSetting(step, FRINGE_OPTION);
    if (!given || given->value == "as-is") return VLM_OK;
    if (given->value != "clean")
        return Fail(VLM_BAD_VALUE, "--fringe", "'" + given->value + "' is not one of clean, as-is");
    if (step.objects.empty() && IsOfWholePicture(step)) return VLM_OK;
    return FailCleanFringe();
}

bool WantsCleanFringe(const Step &step, bool usual)
{
    const GivenSetting *given = FindSetting(step, FRINGE_OPTION);
    return given ? given->value == "clean" : usual;
}

bool HasFringe(const Step &step, int32_t colourType, int32_t maskBitsPerPixel)
{
    return step.effect->mixes && IsOfWholePicture(step) && maskBitsPerPixel == 8 &&
           (colourType == RGB || colourType == GREY);
}

Picture SeenColours(const uint8_t *pixels, const uint8_t *mask, int32_t colourType, int32_t width, int32_t height)
{
    Picture seen = NewPicture(colourType, width, height);
    const size_t stride = size_t(RowStride(seen.bitsPerPixel, seen.width)),
                 maskStride = size_t(RowStride(8, seen.width));
    const int32_t channels = seen.bitsPerPixel / 8;
    for (int32_t y = 0; y < seen.height; ++y) {
        const uint8_t *row = pixels + stride * size_t(y), *levels = mask + maskStride * size_t(y);
        uint8_t *to = seen.pixels.get() + stride * size_t(y);
        for (int32_t i = 0; i < seen.width * channels; ++i)
            to[i] = uint8_t((row[i] * levels[channels == 3 ? i / 3 : i] + 127) / 255);
    }
    return seen;
}

static uint8_t Mended(int colour, int level, int seen)
{
    if (abs((colour * level + 127) / 255 - seen) <= 1) return uint8_t(colour);
    return uint8_t(std::min(255, (seen * 255 + level / 2) / level));
}

void MendFringe(uint8_t *pixels, int32_t width, int32_t height, int32_t bitsPerPixel, const uint8_t *mask,
                const uint8_t *seen)
{
    const size_t stride = size_t(RowStride(bitsPerPixel, width)), maskStride = size_t(RowStride(8, width));
    const int32_t channels = bitsPerPixel / 8;
    for (int32_t y = 0; y < height; ++y) {
        uint8_t *row = pixels + stride * size_t(y);
        const uint8_t *levels = mask + maskStride * size_t(y), *seenRow = seen + stride * size_t(y);
        for (int32_t x = 0; x < width; ++x) {
            if (levels[x] == 0 || levels[x] == 255) continue;
            for (int32_t i = x * channels; i < (x + 1) * channels; ++i) row[i] = Mended(row[i], levels[x], seenRow[i]);
        }
    }
}
