// Puts a border around a picture that goes on as the words wrap, mirror and clamp say, and takes it away again; its mask
// goes along. What the effect does within is not known here, only how far it looks.

#include "host/library/edges.h"

#include "host/library/settings.h"

#include <algorithm>
#include <cstdlib>
#include <string.h>

static constexpr const char *words[] = {"", "wrap", "mirror", "clamp"};

Edges EdgesOf(const Step &step)
{
    const GivenSetting *given = FindSetting(step, EDGES_OPTION);
    for (int i = 1; given && i < 4; ++i)
        if (given->value == words[i]) return Edges(i);
    return Edges::OWN;
}

vlm_code CheckEdges(const Step &step)
{
    const GivenSetting *given = FindSetting(step, EDGES_OPTION);
    if (!given) return VLM_OK;
    if (EdgesOf(step) == Edges::OWN)
        return Fail(VLM_BAD_VALUE, "--edges", "'" + given->value + "' is not one of wrap, mirror, clamp");
    const GivenSetting *scope = FindSetting(step, "scope");
    if (!step.area && step.objects.empty() && (!scope || scope->value == "image")) return VLM_OK;
    return Fail(VLM_AT_ODDS, "--edges", "is for whole pictures, without an area, objects or another scope");
}

Reach ReachOf(const Step &step)
{
    if (!step.effect->reachOption) return {};
    const vlm_effect *effect = vlm_effect_named(step.effect->effect);
    const vlm_setting *setting = effect ? vlm_effect_setting_named(effect, step.effect->reachOption) : nullptr;
    return setting ? Reach{step.effect->reach, setting->default_number, setting->high} : Reach{};
}

int32_t PixelsReached(const Step &step, const Reach &reach, int32_t width, int32_t height)
{
    const GivenSetting *given = FindSetting(step, step.effect->reachOption);
    int32_t value = reach.standard;
    if (given && !ShareOfEdge(given->value, std::min(width, height), value)) value = atoi(given->value.c_str());
    return reach.times * std::clamp(value, 1, std::max(reach.high, 1));
}

static bool IsOfWholePicture(const Step &step)
{
    return !step.area && step.objects.empty() && !FindSetting(step, "scope") && EdgesOf(step) == Edges::OWN;
}

int32_t vlm_steps_reach(const vlm_steps *steps, int step, int32_t width, int32_t height)
{
    int32_t pixels = -1;
    Guarded([&] {
        if (!steps || step < 0 || size_t(step) >= steps->steps.size()) return FailArgument("steps or step");
        if (width < 1 || height < 1) return FailArgument("width or height");
        const Step &asked = steps->steps[size_t(step)];
        const Reach reach = IsOfWholePicture(asked) ? ReachOf(asked) : Reach{};
        if (reach.times) pixels = PixelsReached(asked, reach, width, height);
        return VLM_OK;
    });
    return pixels;
}

//---- Places beyond the border

static int32_t PlaceFor(int32_t place, int32_t count, Edges edges)
{
    if (edges == Edges::CLAMP) return std::clamp(place, 0, count - 1);
    const int32_t period = edges == Edges::WRAP ? count : 2 * count;
    const int32_t within = (place % period + period) % period;
    return within < count ? within : period - 1 - within;
}

static void CopyPixel(const uint8_t *from, int32_t fromX, uint8_t *to, int32_t toX, int32_t bits)
{
    if (bits == 1) return SetBit(to, toX, BitAt(from, fromX));
    const int32_t bytes = bits / 8;
    for (int32_t i = 0; i < bytes; ++i) to[toX * bytes + i] = from[fromX * bytes + i];
}

// A plane of another size, whose pixel (x, y) is the one of (x - border, y - border); a negative border cuts.
static void FillPlane(const uint8_t *from, int32_t fromWidth, int32_t fromHeight, uint8_t *to, int32_t border,
                      int32_t bits, Edges edges)
{
    const int32_t width = fromWidth + 2 * border, height = fromHeight + 2 * border;
    std::vector<int32_t> columns(static_cast<size_t>(width));
    for (int32_t x = 0; x < width; ++x) columns[size_t(x)] = PlaceFor(x - border, fromWidth, edges);
    for (int32_t y = 0; y < height; ++y) {
        const int32_t row = PlaceFor(y - border, fromHeight, edges);
        const uint8_t *source = from + size_t(row) * size_t(RowStride(bits, fromWidth));
        uint8_t *target = to + size_t(y) * size_t(RowStride(bits, width));
        for (int32_t x = 0; x < width; ++x) CopyPixel(source, columns[size_t(x)], target, x, bits);
    }
}

static Picture Resized(const Picture &from, int32_t border, Edges edges)
{
    Picture to = NewPicture(from.colourType, from.width + 2 * border, from.height + 2 * border);
    to.paletteEntries = from.paletteEntries;
    memcpy(to.red, from.red, sizeof to.red);
    memcpy(to.green, from.green, sizeof to.green);
    memcpy(to.blue, from.blue, sizeof to.blue);
    to.extras = from.extras;
    FillPlane(from.pixels.get(), from.width, from.height, to.pixels.get(), border, from.bitsPerPixel, edges);
    if (!from.mask) return to;
    AddMask(to, from.maskBitsPerPixel);
    FillPlane(from.mask.get(), from.width, from.height, to.mask.get(), border, from.maskBitsPerPixel, edges);
    return to;
}

Picture WithBorder(const Picture &picture, int32_t border, Edges edges) { return Resized(picture, border, edges); }

Picture WithoutBorder(const Picture &picture, int32_t border) { return Resized(picture, -border, Edges::CLAMP); }
