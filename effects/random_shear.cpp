// Random Shear: jitters the picture along two random walks. Every row slides sideways by a walk that goes one step, +1
// or -1, per row; every column slides up or down by its own value of a walk that goes one step per column:
//     pixel (x, y) takes (x + walk of row y, y + walk of column x)
// What has no source takes the fill colour. The mask plane moves with the pixels; without a source it keeps its value.
// The draws: one per column from the left, then one per row, each just before its row. An even number steps up.

#include "effects/effects.h"
#include "framework/bands.h"
#include "framework/random.h"

#include <algorithm>

enum { FILL_COLOUR = 1130 };

struct RandomShearParameters {
    uint32_t fillColour = 0;   // 0x00BBGGRR
};
struct RandomShearBlock {
    EffectBlock common;
    RandomShearParameters own;
};
BLOCK_SIZE(RandomShearBlock, 136);

static constexpr RandomShearParameters defaults;

static constexpr ControlBinding controls[] = {
    ConfiguredColour(FILL_COLOUR, FIELD(RandomShearBlock, own.fillColour)),
};

static INT_PTR KPZAPI RandomShearDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(randomShear, dialog, message, word, extra);
}

//---- Worker

static int Step() { return DrawNumber() % 2 == 0 ? 1 : -1; }

// The walks of all columns, and the least and the greatest of every SEGMENT of them.
constexpr int SEGMENT = 32;
struct Bounds {
    int32_t lowest, highest;
};
struct ColumnWalks {
    Scratch memory;
    int32_t *walks;
    Bounds *bounds;

    explicit ColumnWalks(int width);   // seeds and draws
};

ColumnWalks::ColumnWalks(int width)
    : memory(size_t(width) * sizeof(int32_t) + size_t(width / SEGMENT + 1) * sizeof(Bounds)),
      walks(reinterpret_cast<int32_t *>(memory.bytes)), bounds(reinterpret_cast<Bounds *>(walks + width))
{
    KPZ_srand();
    for (int x = 0, walk = 0; x < width; ++x) walks[x] = walk += Step();
    for (int x = 0; x < width; x += SEGMENT) {
        const auto [lowest, highest] = std::minmax_element(walks + x, walks + std::min(x + SEGMENT, width));
        bounds[x / SEGMENT] = {*lowest, *highest};
    }
}

// A plane as it was and as it becomes.
struct ShearedPlane {
    const uint8_t *source;
    uint8_t *pixels;
    int width, height;
    size_t stride;
};

// Pixels of row y from first to end - 1, each from the row its column's walk leads to and `rowWalk` to the side.
struct ShearedRow {
    int first, end, y, rowWalk;
};

template <int BYTES> static void ShearPixels(const ShearedPlane &plane, const int32_t *walks, const ShearedRow &part)
{
    uint8_t *row = plane.pixels + part.y * plane.stride;
    for (int x = part.first; x < part.end; ++x) {
        const unsigned from = unsigned(part.y + walks[x]);   // above the picture it becomes very large
        if (from >= unsigned(plane.height)) continue;
        memcpy(row + BYTES * x, plane.source + from * plane.stride + BYTES * (x + part.rowWalk), BYTES);
    }
}

// The same where no column's walk leads out of the picture. A pixel of three bytes is copied as four, of which the next
// takes one back; the last alone as three.
template <int BYTES>
static void ShearPixelsInside(const ShearedPlane &plane, const int32_t *walks, const ShearedRow &part)
{
    uint8_t *row = plane.pixels + part.y * plane.stride;
    const uint8_t *const from = plane.source + part.y * plane.stride + ptrdiff_t(BYTES) * part.rowWalk;
    const auto sourceOf = [&](int x) { return from + walks[x] * ptrdiff_t(plane.stride) + BYTES * x; };
    for (int x = part.first; x < part.end - 1; ++x) memcpy(row + BYTES * x, sourceOf(x), BYTES == 1 ? 1 : 4);
    memcpy(row + BYTES * (part.end - 1), sourceOf(part.end - 1), BYTES);
}

// Every segment zigzags over some rows, which no processor foresees: the lowest that it reaches a few rows further on
// is fetched now.
template <int BYTES>
static void ShearBytes(const ShearedPlane &plane, const ColumnWalks &columns, const ShearedRow &sheared)
{
    constexpr int ROWS_AHEAD = 6, LINE = 64;
    for (int x = 0; x < plane.width; x += SEGMENT) {
        const auto [lowest, highest] = columns.bounds[x / SEGMENT];
        const unsigned ahead = unsigned(sheared.y + highest + ROWS_AHEAD);
        if (ahead < unsigned(plane.height)) {
            const uint8_t *pixels = plane.source + ahead * plane.stride + BYTES * x;
            __builtin_prefetch(pixels);
            if (BYTES * SEGMENT > LINE) __builtin_prefetch(pixels + LINE);
        }
        const ShearedRow part = {std::max(sheared.first, x), std::min(sheared.end, x + SEGMENT), sheared.y,
                                 sheared.rowWalk};
        if (part.first >= part.end) continue;
        if (part.y + lowest >= 0 && part.y + highest < plane.height)
            ShearPixelsInside<BYTES>(plane, columns.walks, part);
        else ShearPixels<BYTES>(plane, columns.walks, part);
    }
}

static void ShearBits(const ShearedPlane &plane, const ColumnWalks &columns, const ShearedRow &sheared)
{
    uint8_t *row = plane.pixels + sheared.y * plane.stride;
    for (int x = sheared.first; x < sheared.end; ++x) {
        const unsigned from = unsigned(sheared.y + columns.walks[x]);
        if (from < unsigned(plane.height))
            SetBit(row, x, BitAt(plane.source + from * plane.stride, x + sheared.rowWalk));
    }
}

static void ShearRow(const ImageView &view, const uint8_t *source, uint8_t *pixels, int bitsPerPixel,
                     const ColumnWalks &columns, const ShearedRow &sheared)
{
    const auto move = bitsPerPixel == 24 ? ShearBytes<3> : bitsPerPixel == 8 ? ShearBytes<1> : ShearBits;
    move({source, pixels, view.width, view.height, size_t(RowStride(bitsPerPixel, view.width))}, columns, sheared);
}

static void KPZAPI RandomShearWorker(EffectBlock *shared)
{
    const RandomShearBlock block = BlockOf<RandomShearBlock>(randomShear, shared);
    const ImageView &view = block.common.view;
    if (IsEmpty(view)) return;

    const PlaneCopies source(view);
    FillWithColour(view, block.own.fillColour);
    const ColumnWalks columns(view.width);

    // A row's step is drawn as the row is reported.
    Scratch memory(size_t(view.height) * sizeof(int32_t));
    auto *rowWalks = reinterpret_cast<int32_t *>(memory.bytes);
    const auto reportAndStep = [&](int y) {
        if (!ReportAndAsk(view, y)) return false;
        rowWalks[y] = (y > 0 ? rowWalks[y - 1] : 0) + Step();
        return true;
    };
    const auto shearRow = [&](int y) {
        const int walk = rowWalks[y];
        const ShearedRow sheared = {std::max(0, -walk), std::min(view.width, view.width - walk), y, walk};
        if (view.mask) ShearRow(view, source.mask, view.mask, view.maskBitsPerPixel, columns, sheared);
        ShearRow(view, source.pixels, view.pixels, view.bitsPerPixel, columns, sheared);
    };
    ShareAmongBands({{view.height, 2.8 * view.width}}, reportAndStep, [&](const Band &band, uint8_t *) {
        for (int y = band.first; band.GoesOn(y); ++y) shearRow(y);
    });
}

const EffectDescriptor randomShear = {
    .name = "Random Shear",
    .title = "Random Shear",
    .commandOffset = RANDOM_SHEAR_COMMAND,
    .blockSize = sizeof(RandomShearBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = RandomShearWorker,
    .dialog = RandomShearDialog,
};
