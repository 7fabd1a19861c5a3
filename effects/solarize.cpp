// Solarize: inverts the pixels whose level lies on one side of a threshold, as an over-exposed plate does.
//     level = brightness of a 24-bit pixel, else the byte itself
//     constant:       inverted where level < threshold
//     ramp downwards: limit = threshold * y / (height - 1); rightwards: threshold * x / (width - 1)
//                     inverted where level < limit ("below") or level > limit ("above")
// A ramp over a single row or column is 0 throughout. Palette and one-bit pictures stay as they are, and so does the
// mask plane.

#include "effects/effects.h"

#include <algorithm>

enum {
    THRESHOLD = 6380, THRESHOLD_EDIT = 1280,
    BELOW_DOWN = 1230, ABOVE_DOWN = 1240, BELOW_RIGHT = 1250, ABOVE_RIGHT = 1260, CONSTANT = 1270,
};

struct SolarizeParameters {
    int32_t threshold = 128;           // 0..255: the limit, or a ramp's end
    int32_t solarizeMode = CONSTANT;   // the id of the checked radio button
};
struct SolarizeBlock { EffectBlock common; SolarizeParameters own; };
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

static int Ramp(int threshold, int at, int count) { return count > 1 ? threshold * at / (count - 1) : 0; }

// All bits set where a level is on the inverted side.
template <bool ABOVE> static uint32_t InvertedBits(int level, int limit)
{
    return uint32_t(-int(ABOVE ? level > limit : level < limit));
}

template <bool ABOVE> static void SolarizeLevels(uint8_t *row, int width, const int32_t *limits)
{
    for (int x = 0; x < width; ++x) row[x] ^= uint8_t(InvertedBits<ABOVE>(row[x], limits[x]));
}

// Four pixels are three words of 32 bits: fewer loads and stores than their twelve bytes.
template <bool ABOVE> static void SolarizeColours(uint8_t *row, int width, const int32_t *limits)
{
    int x = 0;
    for (; x + 4 <= width; x += 4, row += 12) {
        uint32_t bits[4], words[3];
        for (int i = 0; i < 4; ++i) bits[i] = InvertedBits<ABOVE>(Brightness(row + 3 * i), limits[x + i]);
        memcpy(words, row, sizeof words);
        words[0] ^= (bits[0] & 0x00FFFFFF) | (bits[1] & 0xFF000000);
        words[1] ^= (bits[1] & 0x0000FFFF) | (bits[2] & 0xFFFF0000);
        words[2] ^= (bits[2] & 0x000000FF) | (bits[3] & 0xFFFFFF00);
        memcpy(row, words, sizeof words);
    }
    for (; x < width; ++x, row += 3) {
        const uint8_t bits = uint8_t(InvertedBits<ABOVE>(Brightness(row), limits[x]));
        for (int c = 0; c < 3; ++c) row[c] ^= bits;
    }
}

// Every limit of a row. Those of a ramp to the right are the same in all rows.
static void FillLimits(int32_t *limits, const SolarizeParameters &own, const ImageView &view, int y)
{
    switch (own.solarizeMode) {
    case CONSTANT: std::fill_n(limits, view.width, own.threshold); break;
    case BELOW_DOWN:
    case ABOVE_DOWN: std::fill_n(limits, view.width, Ramp(own.threshold, y, view.height)); break;
    default:
        if (y > 0) return;
        for (int x = 0; x < view.width; ++x) limits[x] = Ramp(own.threshold, x, view.width);
    }
}

static void KPZAPI SolarizeWorker(EffectBlock *shared)
{
    const SolarizeBlock block = BlockOf<SolarizeBlock>(shared);
    const ImageView &view = block.common.view;
    if (view.bitsPerPixel == 1 || view.colourType == PALETTE) return;

    const bool above = block.own.solarizeMode == ABOVE_DOWN || block.own.solarizeMode == ABOVE_RIGHT;
    const auto invert = view.bitsPerPixel == 24 ? (above ? SolarizeColours<true> : SolarizeColours<false>)
                                                  : (above ? SolarizeLevels<true> : SolarizeLevels<false>);
    Scratch memory(size_t(view.width) * sizeof(int32_t));
    auto *limits = reinterpret_cast<int32_t *>(memory.bytes);
    for (int y = 0; y < view.height && !AbortRequested(view); ++y) {
        ReportRow(view, y);
        FillLimits(limits, block.own, view, y);
        invert(RowOf(view, y), view.width, limits);
    }
}

const EffectDescriptor solarize = {
    .name = "Solarize", .title = "Solarize", .templateId = 4530, .help = 82, .blockSize = sizeof(SolarizeBlock),
    .defaults = defaults, .controls = controls, .worker = SolarizeWorker, .dialog = SolarizeDialog,
};
