// Noise: sprinkles colourless grain. A share of the pixels, (amount + 1) / 101, is made lighter or darker by a random
// amount of -variation..variation, the same on a pixel's three bytes, clamped to 0..255.
// One random number decides whether a pixel changes and, only when it does, a second one by how much: a seed then
// always gives the same picture. Palette and one-bit pictures stay as they are, and so does the mask plane.

#include "effects/effects.h"

#include <stdlib.h>

enum { AMOUNT = 1290, AMOUNT_EDIT = 1300, VARIATION = 1310, VARIATION_EDIT = 1320 };

struct NoiseParameters {
    int32_t amount = 15;      // percent of the pixels, 1..100
    int32_t variation = 10;   // largest change of a value, 1..255
};
struct NoiseBlock { EffectBlock common; NoiseParameters own; };
BLOCK_SIZE(NoiseBlock, 140);

static constexpr NoiseParameters defaults;

static constexpr ControlBinding controls[] = {
    Spin(AMOUNT, AMOUNT_EDIT, FIELD(NoiseBlock, own.amount), 1, 100),
    Spin(VARIATION, VARIATION_EDIT, FIELD(NoiseBlock, own.variation), 1, 255),
};

//---- Dialog

// The warning does not hold the run back: the worker leaves such pictures alone.
static bool NoiseBeforeRun(HWND dialog, EffectBlock *block)
{
    const int32_t type = block->header.image->colourType;
    if (type == PALETTE || type == ONE_BIT) {
        ShowError(dialog,
                  "This function works only on RGB (24 bit) or Grayscale images.  Try changing Color Type.",
                  "Velmorant: Function Error");
    }
    return true;
}

static INT_PTR KPZAPI NoiseDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(noise, dialog, message, word, extra);
}

//---- Worker

static void NoiseRow(uint8_t *row, int width, int bytesPerPixel, const NoiseParameters &own)
{
    const int span = 2 * own.variation + 1;
    for (uint8_t *pixel = row; pixel < row + width * bytesPerPixel; pixel += bytesPerPixel) {
        if (rand() % 101 > own.amount) continue;
        const int change = rand() % span - own.variation;
        for (int c = 0; c < bytesPerPixel; ++c) pixel[c] = Clamp255(pixel[c] + change);
    }
}

static void KPZAPI NoiseWorker(EffectBlock *shared)
{
    const NoiseBlock block = BlockOf<NoiseBlock>(shared);
    const ImageView &view = block.common.view;
    if (view.bitsPerPixel == 1 || view.colourType == PALETTE) return;

    KPZ_srand();
    const int bytesPerPixel = view.bitsPerPixel == 24 ? 3 : 1;
    for (int y = 0; y < view.height && !AbortRequested(view); ++y) {
        ReportRow(view, y);
        NoiseRow(RowOf(view, y), view.width, bytesPerPixel, block.own);
    }
}

const EffectDescriptor noise = {
    .name = "Noise", .title = "Noise", .templateId = 4240, .help = 77, .blockSize = sizeof(NoiseBlock),
    .defaults = defaults, .controls = controls, .worker = NoiseWorker, .dialog = NoiseDialog,
    .beforeRun = NoiseBeforeRun,
};
