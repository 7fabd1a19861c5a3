// Solarize: inverts the pixels whose level lies on one side of a threshold, as an over-exposed plate does.
//     level = brightness of a 24-bit pixel, else the byte itself
//     constant:       inverted where level < threshold
//     ramp downwards: limit = threshold * y / (height - 1); rightwards: threshold * x / (width - 1)
//                     inverted where level < limit ("below") or level > limit ("above")
// A ramp over a single row or column is 0 throughout. Palette and one-bit pictures stay as they are, and so does the
// mask plane.

#include "effects/effects.h"
#include "framework/bands.h"

#include <algorithm>

enum {
    THRESHOLD = 6380,
    THRESHOLD_EDIT = 1280,
    BELOW_DOWN = 1230,
    ABOVE_DOWN = 1240,
    BELOW_RIGHT = 1250,
    ABOVE_RIGHT = 1260,
    CONSTANT = 1270,
};

struct SolarizeParameters {
    int32_t threshold = 128;           // 0..255: the limit, or a ramp's end
    int32_t solarizeMode = CONSTANT;   // the id of the checked radio button
};
struct SolarizeBlock {
    EffectBlock common;
    SolarizeParameters own;
};
BLOCK_SIZE(SolarizeBlock, 140);

static constexpr SolarizeParameters defaults;

static constexpr ControlBinding controls[] = {
    Spin(THRESHOLD, THRESHOLD_EDIT, FIELD(SolarizeBlock, own.threshold), 0, 255),
    Radio(BELOW_DOWN, FIELD(SolarizeBlock, own.solarizeMode)),
    Radio(ABOVE_DOWN, FIELD(SolarizeBlock, own.solarizeMode)),
    Radio(BELOW_RIGHT, FIELD(SolarizeBlock, own.solarizeMode)),
    Radio(ABOVE_RIGHT, FIELD(SolarizeBlock, own.solarizeMode)),
    Radio(CONSTANT, FIELD(SolarizeBlock, own.solarizeMode)),
};

static INT_PTR KPZAPI SolarizeDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(solarize, dialog, message, word, extra);
}

//---- Worker

static int Ramp(int threshold, int at, int count) { return count > 1 ? int(int64_t(threshold) * at / (count - 1)) : 0; }

// Marks the bytes of a row at which an inverted pixel begins. Every byte is looked at as if a 24-bit pixel began there,
// which lets the loop go over neighbouring bytes; where none does, the limit is one that no level passes.
template <bool ABOVE, int BYTES>
static void FindInverted(const uint8_t *row, int bytes, const int16_t *limits, uint8_t *inverted)
{
    for (int i = 0; i < bytes; ++i) {
        const int16_t level = BYTES == 1 ? row[i] : int16_t(Brightness(row + i));
        inverted[i] = (ABOVE ? level > limits[i] : level < limits[i]) ? 0xFF : 0;
    }
}

// A mark holds for the two bytes after it as well. Two bytes before the row's marks are 0.
static void InvertColours(uint8_t *row, int bytes, const uint8_t *inverted)
{
    for (int i = 0; i < bytes; ++i) row[i] ^= uint8_t(inverted[i] | inverted[i - 1] | inverted[i - 2]);
}

static void InvertLevels(uint8_t *row, int bytes, const uint8_t *inverted)
{
    for (int i = 0; i < bytes; ++i) row[i] ^= inverted[i];
}

// The limit at every byte of a row; `again` when there are those of the row before. Those of a ramp to the right are the
// same in all rows.
static void FillLimits(int16_t *limits, int bytesPerPixel, const SolarizeParameters &own, const ImageView &view, int y,
                       bool again)
{
    const int mode = own.solarizeMode;
    const bool rightwards = mode != CONSTANT && mode != BELOW_DOWN && mode != ABOVE_DOWN;
    const int even = mode == CONSTANT ? own.threshold : Ramp(own.threshold, y, view.height);
    if (again && (rightwards || limits[0] == even)) return;
    for (int x = 0; x < view.width; ++x)
        limits[x * bytesPerPixel] = int16_t(rightwards ? Ramp(own.threshold, x, view.width) : even);
}

static void KPZAPI SolarizeWorker(EffectBlock *shared)
{
    const SolarizeBlock block = BlockOf<SolarizeBlock>(solarize, shared);
    const ImageView &view = block.common.view;
    if (view.bitsPerPixel == 1 || view.colourType == PALETTE || IsEmpty(view)) return;

    const bool above = block.own.solarizeMode == ABOVE_DOWN || block.own.solarizeMode == ABOVE_RIGHT;
    const bool colours = view.bitsPerPixel == 24;
    const int bytesPerPixel = colours ? 3 : 1, bytes = view.width * bytesPerPixel;
    const auto find = colours ? (above ? FindInverted<true, 3> : FindInverted<false, 3>)
                              : (above ? FindInverted<true, 1> : FindInverted<false, 1>);
    const auto invert = colours ? InvertColours : InvertLevels;

    const size_t limitBytes = size_t(bytes) * sizeof(int16_t), markBytes = size_t(bytes) + 2;
    ShareRows(view, {.cost = 0.85, .memory = limitBytes + markBytes}, [&](const Rows &rows) {
        auto *limits = reinterpret_cast<int16_t *>(rows.memory);
        std::fill_n(limits, bytes, int16_t(above ? 255 : 0));
        memset(rows.memory + limitBytes, 0, markBytes);
        uint8_t *inverted = rows.memory + limitBytes + 2;
        for (int y = rows.first; rows.GoesOn(y); ++y) {
            FillLimits(limits, bytesPerPixel, block.own, view, y, y > rows.first);
            find(RowOf(view, y), colours ? bytes - 2 : bytes, limits, inverted);
            invert(RowOf(view, y), bytes, inverted);
        }
    });
}

const EffectDescriptor solarize = {
    .name = "Solarize",
    .title = "Solarize",
    .commandOffset = SOLARIZE_COMMAND,
    .blockSize = sizeof(SolarizeBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = SolarizeWorker,
    .dialog = SolarizeDialog,
};
