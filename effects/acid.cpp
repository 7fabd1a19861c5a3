// Acid: lays garish rings over the picture. Every byte is combined with a value that falls off with the square of the
// distance from one point:
//     v = level - (x - level)^2 - (y - level)^2
//     b = b xor the low 8 bits of (b * v) >> 17
// The one number is both the rings' centre, in x and y, and the value there. The product may wrap in 32 bits, far from
// the centre, and the shift keeps its sign. Palette and one-bit pictures stay as they are, and so does the mask plane.

#include "effects/effects.h"
#include "framework/bands.h"

#include <algorithm>

enum { ACID_LEVEL = 1420, ACID_LEVEL_EDIT = 1430 };

struct AcidParameters {
    int32_t acidLevel = 128;   // pixels from left and top to the centre, and the value there; 0..2000
};
struct AcidBlock {
    EffectBlock common;
    AcidParameters own;
};
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

static uint32_t Square(int distance) { return uint32_t(distance) * uint32_t(distance); }

// Only bits 17 to 24 of a product show, so it can be put together in 16 bits: from bit 9 on of v's upper part, below it of
// the lower nine bits, which stand six bits up. Parts are subtracted each by itself; so that no lower part gets negative,
// what is subtracted from has one less above and 512 more below.
struct Parts {
    uint16_t upper, lower;
};

static Parts PartsOf(uint32_t value) { return {uint16_t(value >> 9), uint16_t((value & 511) << 6)}; }

// The parts of (x - level)^2 for every byte of a row.
struct Squares {
    uint16_t *uppers, *lowers;
};

static inline __attribute__((always_inline)) void AcidBytes(uint8_t *row, int first, int end, const Squares &squares,
                                                            uint32_t rowValue)
{
    const uint16_t *const uppers = squares.uppers, *const lowers = squares.lowers;
    const Parts own = PartsOf(rowValue);
    const uint16_t rowUpper = uint16_t(own.upper - 1), rowLower = uint16_t(own.lower + (512 << 6));
    for (int i = first; i < end; ++i) {
        const uint16_t byte = row[i], twice = uint16_t(byte << 1);
        const uint16_t upper = uint16_t(rowUpper - uppers[i]), lower = uint16_t(rowLower - lowers[i]);
        const uint16_t product = uint16_t(uint16_t(byte * upper) + uint16_t(uint32_t(twice) * lower >> 16));
        row[i] = uint8_t(byte ^ product >> 8);
    }
}

// What a row's bytes are read with is worked on faster than it comes from memory: those of the next row are fetched now.
static inline __attribute__((always_inline)) void AcidRowAndFetch(uint8_t *row, int bytes, const Squares &squares,
                                                                  uint32_t rowValue)
{
    constexpr int PIECE = 1024, LINE = 64;
    for (int first = 0; first < bytes; first += PIECE) {
        for (int i = 0; i < PIECE; i += LINE) __builtin_prefetch(row + bytes + first + i, 1);
        AcidBytes(row, first, std::min(first + PIECE, bytes), squares, rowValue);
    }
}

// The same loop for every processor and for those with AVX2.
static void AcidRow(uint8_t *row, int bytes, const Squares &squares, uint32_t rowValue)
{
    AcidRowAndFetch(row, bytes, squares, rowValue);
}

FOR_AVX2 static void AcidRowAvx2(uint8_t *row, int bytes, const Squares &squares, uint32_t rowValue)
{
    AcidRowAndFetch(row, bytes, squares, rowValue);
}

static void KPZAPI AcidWorker(EffectBlock *shared)
{
    const AcidBlock block = BlockOf<AcidBlock>(acid, shared);
    const ImageView &view = block.common.view;
    if (view.bitsPerPixel == 1 || view.colourType == PALETTE || IsEmpty(view)) return;

    const int level = block.own.acidLevel;
    const int bytesPerPixel = view.bitsPerPixel == 8 ? 1 : 3, bytes = view.width * bytesPerPixel;
    Scratch memory(size_t(bytes) * sizeof(Parts));
    auto *numbers = reinterpret_cast<uint16_t *>(memory.bytes);
    const Squares squares = {numbers, numbers + bytes};
    for (int i = 0; i < bytes; ++i) {
        const Parts parts = PartsOf(Square(i / bytesPerPixel - level));
        squares.uppers[i] = parts.upper;
        squares.lowers[i] = parts.lower;
    }

    const auto acidRow = MayUseAvx2() ? AcidRowAvx2 : AcidRow;
    ShareRows(view, {.cost = 0.8}, [&](const Rows &rows) {
        for (int y = rows.first; rows.GoesOn(y); ++y)
            acidRow(RowOf(view, y), bytes, squares, uint32_t(level) - Square(y - level));
    });
}

const EffectDescriptor acid = {
    .name = "Acid",
    .title = "Acid",
    .commandOffset = ACID_COMMAND,
    .blockSize = sizeof(AcidBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = AcidWorker,
    .dialog = AcidDialog,
    .beforeRun = AcidBeforeRun,
};
