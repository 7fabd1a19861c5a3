// Acid: lays garish rings over the picture. Every byte is combined with a value that falls off with the square of the
// distance from one point:
//     v = level - (x - level)^2 - (y - level)^2
//     b = b xor the low 8 bits of (b * v) >> 17
// The one number is both the rings' centre, in x and y, and the value there. The product may wrap in 32 bits, far from
// the centre, and the shift keeps its sign. Palette and one-bit pictures stay as they are, and so does the mask plane.

#include "effects/effects.h"

enum { ACID_LEVEL = 1420, ACID_LEVEL_EDIT = 1430 };

struct AcidParameters {
    int32_t acidLevel = 128;   // pixels from left and top to the centre, and the value there; 0..2000
};
struct AcidBlock { EffectBlock common; AcidParameters own; };
BLOCK_SIZE(AcidBlock, 136);

static constexpr AcidParameters defaults;

static constexpr ControlBinding controls[] = {
    Spin(ACID_LEVEL, ACID_LEVEL_EDIT, FIELD(AcidBlock, own.acidLevel), 0, 2000),
};

//---- Dialog

static bool AcidBeforeRun(HWND dialog, EffectBlock *block)
{
    const ImageRecord *image = block->header.image;
    if (image->bitsPerPixel != 1 && image->colourType != PALETTE) return true;
    ShowError(dialog, "This function works only on RGB (24 bit) or Grayscale images", "Velmorant: Function Error");
    return false;
}

static INT_PTR KPZAPI AcidDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(acid, dialog, message, word, extra);
}

//---- Worker

static uint8_t AcidByte(uint8_t byte, uint32_t v) { return uint8_t(byte ^ (int32_t(byte * v) >> 17)); }

static uint32_t Square(int distance) { return uint32_t(distance) * uint32_t(distance); }

static void AcidLevels(uint8_t *row, int width, int centre, uint32_t rowValue)
{
    for (int x = 0; x < width; ++x) row[x] = AcidByte(row[x], rowValue - Square(x - centre));
}

static void AcidColours(uint8_t *row, int width, int centre, uint32_t rowValue)
{
    for (int x = 0; x < width; ++x, row += 3) {
        const uint32_t v = rowValue - Square(x - centre);
        for (int c = 0; c < 3; ++c) row[c] = AcidByte(row[c], v);
    }
}

static void KPZAPI AcidWorker(EffectBlock *shared)
{
    const AcidBlock block = BlockOf<AcidBlock>(shared);
    const ImageView &view = block.common.view;
    if (view.bitsPerPixel == 1 || view.colourType == PALETTE) return;

    const int level = block.own.acidLevel;
    const auto work = view.bitsPerPixel == 8 ? AcidLevels : AcidColours;
    for (int y = 0; y < view.height && !AbortRequested(view); ++y) {
        ReportRow(view, y);
        work(RowOf(view, y), view.width, level, uint32_t(level) - Square(y - level));
    }
}

const EffectDescriptor acid = {
    .name = "Acid", .title = "Acid", .templateId = 4660, .help = 85, .blockSize = sizeof(AcidBlock),
    .defaults = defaults, .controls = controls, .worker = AcidWorker, .dialog = AcidDialog,
    .beforeRun = AcidBeforeRun,
};
