// Wave: bends the picture along a sine. Every row slides sideways (or every column up and down) and is squeezed so that
// all of it still fits; what is uncovered takes the background colour.
//     a     = amplitude percent of the extent / 2, squeezed length n = extent - 2a
//     shift = a * (sin(line * 2 pi / wavelength + phase) + 1)                 0 .. 2a
// "Extent" is the width when rows slide and the height when columns do. Grey and 24-bit pictures blend neighbours by
// the shift's fraction, in 4096ths; palette and one-bit pictures move by whole pixels, so no new colours arise. The
// mask plane moves along, with 0 where it is uncovered.

#include "effects/effects.h"
#include "framework/bands.h"

#include <algorithm>
#include <math.h>

enum {
    WAVELENGTH = 1030,
    WAVELENGTH_EDIT = 1040,
    PHASE = 1060,
    PHASE_EDIT = 1050,
    AMPLITUDE = 1070,
    AMPLITUDE_EDIT = 1080,
    BACKGROUND = 1130,
    ROWS = 1200,
    COLUMNS = 5530,
};

struct WaveParameters {
    int32_t amplitude = 10;       // percent of the extent, 1..50
    uint32_t background = 0;      // 0x00BBGGRR
    int32_t wavelength = 20;      // percent of the extent, 1..1000
    int32_t phase = 0;            // degrees, 0..360
    int32_t orientation = ROWS;   // the id of the checked radio button: which lines slide
};
struct WaveBlock {
    EffectBlock common;
    WaveParameters own;
};
BLOCK_SIZE(WaveBlock, 152);

static constexpr WaveParameters defaults;

static constexpr ControlBinding controls[] = {
    Spin(AMPLITUDE, AMPLITUDE_EDIT, FIELD(WaveBlock, own.amplitude), 1, 50),
    Spin(WAVELENGTH, WAVELENGTH_EDIT, FIELD(WaveBlock, own.wavelength), 1, 1000),
    Spin(PHASE, PHASE_EDIT, FIELD(WaveBlock, own.phase), 0, 360),
    ClearedRadio(ROWS, FIELD(WaveBlock, own.orientation)),
    ClearedRadio(COLUMNS, FIELD(WaveBlock, own.orientation)),
    Colour(BACKGROUND, FIELD(WaveBlock, own.background)),
};

static INT_PTR KPZAPI WaveDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(wave, dialog, message, word, extra);
}

//---- One line

// A plane to be bent. A line is a row or a column of it, worked on as contiguous bytes: three per pixel for 24 bits,
// else one, one-bit pixels as 0 and 1.
struct WavePlane {
    uint8_t *pixels;
    uint8_t *bent;   // what it becomes, until all of it is done
    int width, height, stride;
    int bitsPerPixel;
    int bytesPerPixel;       // in a line
    bool blends;             // by the fraction of a shift
    bool edgesBlend;         // a line's ends blend with the background instead of standing as they are
    uint8_t background[3];   // in a line's own bytes

    bool columns;        // columns slide
    int lines, extent;   // how many lines slide, and how many pixels each has
    int amplitude;       // pixels; 0 or less in very small pictures
    int squeezed;        // pixels of a squeezed line
    int wavelength;      // lines
    double phase;        // radians
};

// Where a line lies after its slide: whole pixels, and the rest in 4096ths.
struct Shift {
    int whole, fraction;
};

// The constants are part of the effect and deliberately short of full precision.
static Shift ShiftOf(const WavePlane &plane, int line)
{
    const double angle = line * 6.2831854 / plane.wavelength + plane.phase;
    const double shift = plane.amplitude * (sin(angle) + 1.0);
    const int whole = int(shift);
    return {whole, int((shift - whole) * 4096)};
}

// In very small pictures a fraction may be negative: sums are divided towards zero and keep their low 8 bits.
static uint8_t Blend(int a, int aWeight, int b, int bWeight)
{
    return uint8_t((a * aWeight + b * bWeight + 2048) / 4096);
}

// The same for fractions of 0..4095: without a sign to mind it runs several bytes at a time.
static void BlendRun(uint8_t *line, const uint8_t *squeezed, int count, int step, Shift shift)
{
    const unsigned f = unsigned(shift.fraction), g = 4096 - f;
    for (int i = 0; i < count; ++i) line[i] = uint8_t((squeezed[i - step] * f + squeezed[i] * g + 2048) >> 12);
}

// The squeezed line's pixels with their shift: the first, those between two neighbours, and one after the last. Those
// that would land outside the line are dropped.
static void WriteBlended(const WavePlane &plane, const uint8_t *squeezed, Shift shift, uint8_t *line)
{
    const int n = plane.squeezed, step = plane.bytesPerPixel;
    const int f = shift.fraction, g = 4096 - f;
    const auto lands = [&](int i) { return shift.whole + i >= 0 && shift.whole + i < plane.extent; };
    const auto at = [&](int i) { return line + step * (shift.whole + i); };
    const uint8_t *last = squeezed + step * (n - 1);

    for (int c = 0; c < step && lands(0); ++c)
        at(0)[c] = plane.edgesBlend ? Blend(squeezed[c], g, plane.background[c], f) : squeezed[c];
    if (f >= 0 && lands(0) && lands(n - 1)) {
        BlendRun(at(1), squeezed + step, step * (n - 1), step, shift);
    } else {
        for (int i = 1; i < n; ++i)
            for (int c = 0; c < step && lands(i); ++c)
                at(i)[c] = Blend(squeezed[step * (i - 1) + c], f, squeezed[step * i + c], g);
    }
    for (int c = 0; c < step && f > 0 && lands(n); ++c)
        at(n)[c] = plane.edgesBlend ? Blend(last[c], f, plane.background[c], g) : last[c];
}

static void WriteNearest(const WavePlane &plane, const uint8_t *squeezed, Shift shift, uint8_t *line)
{
    const int first = shift.whole < 0 ? -shift.whole : 0;
    const int room = plane.extent - shift.whole;
    const int end = plane.squeezed < room ? plane.squeezed : room;
    if (first < end) memcpy(line + shift.whole + first, squeezed + first, size_t(end - first));
}

static void FillLine(const WavePlane &plane, uint8_t *line)
{
    const int bytes = plane.extent * plane.bytesPerPixel;
    if (plane.bytesPerPixel == 1) {
        memset(line, plane.background[0], size_t(bytes));
    } else {
        for (int i = 0; i < bytes; i += 3) memcpy(line + i, plane.background, 3);
    }
}

// The finished line, from its squeezed pixels.
static void WriteLine(const WavePlane &plane, const uint8_t *squeezed, int index, uint8_t *line)
{
    const Shift shift = ShiftOf(plane, index);
    FillLine(plane, line);
    if (plane.blends) WriteBlended(plane, squeezed, shift, line);
    else WriteNearest(plane, squeezed, shift, line);
}

//---- Many lines

// Columns are worked on this many at a time, so that every part of a row that is fetched is used at once. A multiple
// of 8: one-bit strips begin at a byte.
constexpr int STRIP = 16;

// Which pixel of a line each squeezed pixel shows.
static void FillSources(const WavePlane &plane, int32_t *sources)
{
    sources[0] = 0;
    for (int i = 1; i < plane.squeezed; ++i)
        sources[i] = int32_t((int64_t(i) * plane.extent - 1) / (plane.squeezed - 1));
}

static void SqueezeRow(const WavePlane &plane, const int32_t *sources, const uint8_t *row, uint8_t *squeezed)
{
    if (plane.bytesPerPixel == 1) {
        for (int i = 0; i < plane.squeezed; ++i) squeezed[i] = row[sources[i]];
    } else {
        for (int i = 0; i < plane.squeezed; ++i) memcpy(squeezed + 3 * i, row + 3 * sources[i], 3);
    }
}

// Columns first .. first + count - 1, each squeezed into a line of its own.
static void SqueezeColumns(const WavePlane &plane, const int32_t *sources, int first, int count, uint8_t *squeezed)
{
    const int step = plane.bytesPerPixel, lineBytes = plane.squeezed * step;
    for (int i = 0; i < plane.squeezed; ++i) {
        const uint8_t *row = plane.pixels + size_t(sources[i]) * plane.stride;
        uint8_t *to = squeezed + i * step;
        if (plane.bitsPerPixel == 1) {
            uint8_t bits[STRIP];
            UnpackBits(row + first / 8, count, bits);
            for (int k = 0; k < count; ++k) to[k * lineBytes] = bits[k];
        } else if (step == 1) {
            for (int k = 0; k < count; ++k) to[k * lineBytes] = row[first + k];
        } else {
            for (int k = 0; k < count; ++k) memcpy(to + k * lineBytes, row + 3 * (first + k), 3);
        }
    }
}

static void StoreColumns(const WavePlane &plane, const uint8_t *lines, int first, int count)
{
    const int step = plane.bytesPerPixel, lineBytes = plane.extent * step;
    for (int y = 0; y < plane.extent; ++y) {
        uint8_t *row = plane.bent + size_t(y) * plane.stride;
        const uint8_t *from = lines + y * step;
        if (plane.bitsPerPixel == 1) {
            uint8_t bits[STRIP];
            for (int k = 0; k < count; ++k) bits[k] = from[k * lineBytes];
            PackBits(bits, count, row + first / 8);
        } else if (step == 1) {
            for (int k = 0; k < count; ++k) row[first + k] = from[k * lineBytes];
        } else {
            for (int k = 0; k < count; ++k) memcpy(row + 3 * (first + k), from + k * lineBytes, 3);
        }
    }
}

// Rows that hold a byte or more per pixel are read where they stand; one-bit rows are unpacked into `unpacked`.
static void Squeeze(const WavePlane &plane, const int32_t *sources, int first, int count, uint8_t *unpacked,
                    uint8_t *squeezed)
{
    const uint8_t *row = plane.pixels + size_t(first) * plane.stride;
    if (plane.columns) {
        SqueezeColumns(plane, sources, first, count, squeezed);
    } else if (plane.bitsPerPixel == 1) {
        UnpackBits(row, plane.extent, unpacked);
        SqueezeRow(plane, sources, unpacked, squeezed);
    } else {
        SqueezeRow(plane, sources, row, squeezed);
    }
}

static void Store(const WavePlane &plane, const uint8_t *lines, int first, int count)
{
    uint8_t *row = plane.bent + size_t(first) * plane.stride;
    if (plane.columns) StoreColumns(plane, lines, first, count);
    else if (plane.bitsPerPixel == 1) PackBits(lines, plane.extent, row);
    else memcpy(row, lines, size_t(plane.extent) * plane.bytesPerPixel);
}

// Lines that an abort was met before are background.
static void FillUnreached(const WavePlane &plane, int reached)
{
    const int firstRow = plane.columns ? 0 : reached, firstColumn = plane.columns ? reached : 0;
    for (int y = firstRow; y < plane.height; ++y) {
        uint8_t *row = plane.bent + size_t(y) * plane.stride;
        for (int x = firstColumn; x < plane.width; ++x) {
            if (plane.bitsPerPixel == 1) SetBit(row, x, plane.background[0]);
            else memcpy(row + plane.bytesPerPixel * x, plane.background, size_t(plane.bytesPerPixel));
        }
    }
}

static void BendBand(const WavePlane &plane, const int32_t *sources, const Band &band, uint8_t *memory)
{
    const int strip = plane.columns ? STRIP : 1, step = plane.bytesPerPixel;
    uint8_t *squeezed = memory, *lines = memory + size_t(strip) * plane.squeezed * step;
    int k = 0;
    for (int first = band.first, count; first < band.end; first += k) {
        count = std::min(strip, band.end - first);
        Squeeze(plane, sources, first, count, lines, squeezed);
        for (k = 0; k < count && band.GoesOn(first + k); ++k) {
            const size_t from = size_t(k) * plane.squeezed * step, to = size_t(k) * plane.extent * step;
            WriteLine(plane, squeezed + from, first + k, lines + to);
        }
        Store(plane, lines, first, k);
        if (k < count) return;
    }
}

// Bends a plane and puts the result in its place at the end.
static void BendPlane(const ImageView &view, WavePlane &plane)
{
    Scratch bent(size_t(plane.stride) * plane.height), sources(plane.squeezed * sizeof(int32_t));
    plane.bent = bent.bytes;
    auto *sourceOf = reinterpret_cast<int32_t *>(sources.bytes);
    FillSources(plane, sourceOf);

    const int strip = plane.columns ? STRIP : 1;
    const size_t lineBytes = size_t(plane.squeezed + plane.extent) * size_t(plane.bytesPerPixel);
    const LineSharing sharing = {{plane.lines, (plane.columns ? 5.0 : 3.0) * plane.extent, strip}, strip * lineBytes};
    const auto report = [&](int line) {
        if (AbortRequested(view)) return false;
        IncrementProgress(view.progressWindow, view.progress, Tenths(line, plane.lines));
        return true;
    };
    const int reached = ShareAmongBands(
        sharing, report, [&](const Band &band, uint8_t *memory) { BendBand(plane, sourceOf, band, memory); });
    FillUnreached(plane, reached);
    CopyPlane(plane.bent, plane.pixels, plane.width, plane.height, plane.bitsPerPixel);
}

//---- Worker

// The sizes in pixels. Amplitude is raised to 1 first and held below half the extent after that, which makes it 0 or
// less where the extent is under 22.
static void Measure(WavePlane &plane, const WaveParameters &own)
{
    plane.columns = own.orientation == COLUMNS;
    plane.lines = plane.columns ? plane.width : plane.height;
    plane.extent = plane.columns ? plane.height : plane.width;

    int amplitude = int(int64_t(own.amplitude) * plane.extent / 100) / 2;
    if (amplitude < 1) amplitude = 1;
    if (amplitude > plane.extent / 2 - 10) amplitude = plane.extent / 2 - 10;
    plane.amplitude = amplitude;
    plane.squeezed = plane.extent - 2 * amplitude;

    const int wavelength = int(int64_t(own.wavelength) * plane.extent / 100);
    plane.wavelength = wavelength == 0 ? 1 : wavelength;   // a wave of no length is taken as one of a single line
    plane.phase = own.phase * 3.1415927 * (1.0 / 180);
}

// A plane of a colour type: the picture itself, or the mask as grey or one-bit.
static WavePlane PlaneOf(const ImageView &view, uint8_t *pixels, int colourType, const WaveParameters &own)
{
    WavePlane plane = {};
    plane.pixels = pixels;
    plane.width = view.width;
    plane.height = view.height;
    plane.bitsPerPixel = colourType == ONE_BIT ? 1 : colourType == PALETTE || colourType == GREY ? 8 : 24;
    plane.bytesPerPixel = plane.bitsPerPixel == 24 ? 3 : 1;
    plane.stride = RowStride(plane.bitsPerPixel, plane.width);
    plane.blends = plane.bitsPerPixel == 24 || colourType == GREY;
    Measure(plane, own);
    return plane;
}

static void SetBackground(WavePlane &plane, const ImageView &view, uint32_t colour)
{
    if (plane.bitsPerPixel == 24) {
        plane.background[0] = uint8_t(BlueOf(colour));
        plane.background[1] = uint8_t(GreenOf(colour));
        plane.background[2] = uint8_t(RedOf(colour));
    } else if (view.colourType == PALETTE) {
        plane.background[0] = uint8_t(FindClosestColor(colour, view.red, view.green, view.blue, *view.paletteEntries));
    } else if (plane.bitsPerPixel == 8) {
        plane.background[0] = uint8_t(Brightness(colour));
    } else {
        plane.background[0] = Brightness(colour) > 128;
    }
}

static void KPZAPI WaveWorker(EffectBlock *shared)
{
    const WaveBlock block = BlockOf<WaveBlock>(wave, shared);
    const ImageView &view = block.common.view;
    if (IsEmpty(view)) return;

    WavePlane picture = PlaneOf(view, view.pixels, view.colourType, block.own);
    SetBackground(picture, view, block.own.background);
    picture.edgesBlend = view.maskInUse == 0;
    BendPlane(view, picture);
    if (!view.mask || AbortRequested(view)) return;

    ResetProgress(view.progressWindow, view.progress);
    const bool greyMask = (view.colourType == RGB || view.colourType == GREY) && view.maskBitsPerPixel == 8;
    WavePlane mask = PlaneOf(view, view.mask, greyMask ? GREY : ONE_BIT, block.own);
    // The other way round than for the picture: the mask's ends blend exactly when the mask is in use.
    mask.edgesBlend = view.maskInUse != 0;
    BendPlane(view, mask);
}

const EffectDescriptor wave = {
    .name = "Wave",
    .title = "Wave",
    .commandOffset = WAVE_COMMAND,
    .blockSize = sizeof(WaveBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = WaveWorker,
    .dialog = WaveDialog,
};
