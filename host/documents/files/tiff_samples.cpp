// Turns unpacked TIFF samples of every kind that is known into a picture's rows and mask, part by part, and a
// picture's rows into samples to pack. Reads no file and unpacks nothing: that is the business of whatever codec
// hands the samples in.

#include "host/documents/files/tiff_samples.h"

#include <algorithm>
#include <cmath>
#include <cstring>

//---- What the file holds

int CountTiffColours(const TiffShape &shape)
{
    switch (shape.photometric) {
    case TIFF_WHITE_IS_ZERO:
    case TIFF_BLACK_IS_ZERO:
    case TIFF_MASK:
    case TIFF_PALETTE: return 1;
    case TIFF_RGB: return shape.samples >= 3 ? 3 : 0;
    case TIFF_INKS: return shape.samples >= 4 && !SamplesApart(shape) ? 4 : 0;
    default: return 0;
    }
}

bool KnowsSamples(const TiffShape &shape)
{
    const int bits = shape.bits;
    switch (shape.format) {
    case SAMPLES_FLOAT: return bits == 16 || bits == 32 || bits == 64;
    case SAMPLES_SIGNED: return bits == 8 || bits == 16 || bits == 32;
    case SAMPLES_UNSIGNED:
    case SAMPLES_UNTYPED: return (bits >= 1 && bits <= 16) || bits == 32;
    default: return false;
    }
}

uint64_t TiffRowBytes(const TiffShape &shape, uint64_t pixels)
{
    return (pixels * (SamplesApart(shape) ? 1u : shape.samples) * shape.bits + 7) / 8;
}

// Files from careless writers have 8-bit values in the 16-bit colour map.
bool PaletteOfMaps(const TiffShape &shape, const uint16_t *const *maps, FilePalette &palette)
{
    if (!maps || shape.bits > 8) return Fail(shape.reading.error, "there is no palette of at most 256 colours");
    palette.entries = 1 << shape.bits;
    int largest = 0;
    for (int c = 0; c < 3; ++c) largest = std::max<int>(largest, *std::max_element(maps[c], maps[c] + palette.entries));
    uint8_t *tables[3] = {palette.red, palette.green, palette.blue};
    for (int c = 0; c < 3; ++c) {
        for (int i = 0; i < palette.entries; ++i) tables[c][i] = uint8_t(largest > 255 ? maps[c][i] >> 8 : maps[c][i]);
    }
    return true;
}

static bool StartTiffMask(TiffShape &shape, bool alphaMultiplied)
{
    if (shape.samples <= shape.colours) return true;
    shape.multiplied = alphaMultiplied && !IsPalette(shape);
    if (shape.samples > shape.colours + 1) {
        shape.reading.notices.push_back("of several channels beyond the colours only the first is kept, as mask");
    }
    return StartMask(shape.reading.picture, shape.reading.error);
}

static void TellChanges(const TiffShape &shape)
{
    Notices &notices = shape.reading.notices;
    if (shape.format == SAMPLES_FLOAT) notices.push_back("floating-point samples 0..1 are brought to 8 bits");
    else if (shape.format == SAMPLES_SIGNED) notices.push_back("signed samples are brought to 8 bits from 0 up");
    else if (shape.bits > 8) notices.push_back(std::to_string(shape.bits) + " bits per sample are brought to 8");
    if (shape.colours == 4) {
        notices.push_back(shape.inks.transform ? "CMYK is turned into RGB (sRGB) through its colour profile"
                                               : "CMYK is turned into RGB, without regard to a colour profile");
    }
    if (shape.multiplied) notices.push_back("colours that were multiplied by their alpha are divided by it");
}

bool StartTiffPicture(TiffShape &shape, const FilePalette &palette, bool alphaMultiplied)
{
    Picture &picture = shape.reading.picture;
    std::string &error = shape.reading.error;
    bool started;
    if (IsPalette(shape)) {
        if (shape.samples > 1 && shape.bits != 8) return Fail(error, "a palette picture with a mask needs 8 bits");
        started = StartPalettePicture(picture, palette, shape.bits, shape.width, shape.height, shape.reading.allowHuge,
                                      error);
    } else {
        const bool oneBit = shape.colours == 1 && shape.bits == 1 && shape.samples == 1;
        picture.extras.whiteIsZero = shape.photometric == TIFF_WHITE_IS_ZERO;
        const int32_t type = oneBit ? ONE_BIT : shape.colours == 1 ? GREY : RGB;
        started = StartPicture(picture, type, shape.width, shape.height, shape.reading.allowHuge, error);
    }
    if (!started || !StartTiffMask(shape, alphaMultiplied)) return false;
    if (shape.colours == 4 && !shape.profile.empty()) StartInks(shape.profile, shape.inks);
    TellChanges(shape);
    return true;
}

//---- Samples

static double HalfFloat(uint16_t value)
{
    const int exponent = value >> 10 & 31, fraction = value & 1023;
    const double size = exponent == 0 ? std::ldexp(fraction, -24) : std::ldexp(1024 + fraction, exponent - 25);
    return value & 0x8000 ? -size : size;
}

static uint8_t FromFloat(double value) { return value >= 1 ? 255 : value > 0 ? uint8_t(value * 255 + 0.5) : 0; }

template <typename Value> static Value At(const uint8_t *raw, size_t index)
{
    Value value;
    memcpy(&value, raw + index * sizeof value, sizeof value);
    return value;
}

static uint8_t FloatAt(const uint8_t *raw, int bits, size_t index)
{
    if (bits == 16) return FromFloat(HalfFloat(At<uint16_t>(raw, index)));
    return FromFloat(bits == 32 ? double(At<float>(raw, index)) : At<double>(raw, index));
}

// A sample of fewer bits than 16, most significant bit first. Of no bits there is nothing to scale.
static uint8_t BitsAt(const uint8_t *raw, int bits, size_t index)
{
    if (bits < 1) return 0;
    uint32_t value = 0;
    for (size_t bit = index * size_t(bits), end = bit + size_t(bits); bit < end; ++bit) {
        value = value << 1 | (raw[bit / 8] >> (7 - bit % 8) & 1u);
    }
    const uint32_t largest = (1u << bits) - 1;
    return uint8_t((value * 255 + largest / 2) / largest);
}

static void ToBytes(const TiffShape &shape, const uint8_t *raw, size_t count, uint8_t *bytes)
{
    const int bits = shape.bits;
    const bool isSigned = shape.format == SAMPLES_SIGNED;
    for (size_t i = 0; i < count; ++i) {
        if (shape.format == SAMPLES_FLOAT) bytes[i] = FloatAt(raw, bits, i);
        else if (bits == 8 && isSigned) bytes[i] = uint8_t(std::max(0, At<int8_t>(raw, i) * 255 / 127));
        else if (bits == 8) bytes[i] = raw[i];
        else if (bits == 16 && isSigned) bytes[i] = Narrow16(uint32_t(std::max<int>(0, At<int16_t>(raw, i))) * 2);
        else if (bits == 16) bytes[i] = Narrow16(At<uint16_t>(raw, i));
        else if (bits == 32 && isSigned) bytes[i] = uint8_t(std::max(0, At<int32_t>(raw, i)) >> 23);
        else if (bits == 32) bytes[i] = uint8_t(At<uint32_t>(raw, i) >> 24);
        else bytes[i] = BitsAt(raw, bits, i);
    }
}

static const uint8_t *SamplesOf(TiffShape &shape, const uint8_t *raw, size_t count)
{
    if (shape.bits == 8 && shape.format != SAMPLES_SIGNED) return raw;
    shape.bytes.resize(count);
    ToBytes(shape, raw, count, shape.bytes.data());
    return shape.bytes.data();
}

// A part of a row that starts at x. Its first part and first sample clear the padding.
static uint8_t *PlaceAt(Picture &picture, uint32_t y, uint32_t x, bool first)
{
    uint8_t *row = picture.pixels.get() + ptrdiff_t(RowStride(picture.bitsPerPixel, picture.width)) * ptrdiff_t(y);
    if (x == 0 && first) row = RowToFill(picture, int32_t(y));
    return row + size_t(x) * size_t(picture.bitsPerPixel) / 8;
}

static uint8_t *MaskPlaceAt(Picture &picture, uint32_t y, uint32_t x)
{
    uint8_t *row = picture.mask.get() + ptrdiff_t(RowStride(8, picture.width)) * ptrdiff_t(y);
    if (x == 0) row = MaskRowToFill(picture, int32_t(y));
    return row + x;
}

static bool IsPacked(const TiffShape &shape)
{
    return shape.colours == 1 && shape.samples == 1 && shape.format != SAMPLES_SIGNED &&
           shape.format != SAMPLES_FLOAT && (shape.bits <= 2 || shape.bits == 4 || shape.bits == 8);
}

// Four of each pixel's samples.
static void PutInks(const TiffShape &shape, const uint8_t *samples, int32_t count, uint8_t *row)
{
    const size_t each = shape.samples;
    if (!shape.inks.transform) return PutInks(samples, count, int(each), row);
    if (each == 4) return ConvertInks(shape.inks, samples, count, row);
    Bytes inks(4 * size_t(count));
    for (size_t i = 0; i < size_t(count); ++i) memcpy(&inks[4 * i], samples + each * i, 4);
    ConvertInks(shape.inks, inks.data(), count, row);
}

// Whole pixels, `each` samples long.
static void PutTogether(TiffShape &shape, uint32_t y, uint32_t x, int32_t count, const uint8_t *raw)
{
    Picture &picture = shape.reading.picture;
    uint8_t *row = PlaceAt(picture, y, x, true);
    if (IsPacked(shape)) {
        PutPacked(picture, raw, shape.bits, count, row);
        return;
    }
    const size_t each = shape.samples, colours = size_t(shape.colours);
    const uint8_t *samples = SamplesOf(shape, raw, size_t(count) * each);
    if (colours == 4) PutInks(shape, samples, count, row);
    else if (colours == 3 && each == 3) SwapRedBlue(samples, row, count);
    else {
        for (size_t i = 0; i < size_t(count); ++i) {
            for (size_t c = 0; c < colours; ++c) row[i * colours + colours - 1 - c] = samples[i * each + c];
        }
    }
    if (colours == 1 && picture.extras.whiteIsZero) TurnOver(row, size_t(count));
    if (!picture.mask) return;
    uint8_t *mask = MaskPlaceAt(picture, y, x);
    for (size_t i = 0; i < size_t(count); ++i) mask[i] = samples[i * each + colours];
}

// One sample of each pixel, where samples are stored apart.
static void PutApart(TiffShape &shape, uint32_t y, uint32_t x, int32_t count, const uint8_t *raw, int sample)
{
    Picture &picture = shape.reading.picture;
    const uint8_t *samples = SamplesOf(shape, raw, size_t(count));
    const int colours = shape.colours;
    if (sample == colours) {
        memcpy(MaskPlaceAt(picture, y, x), samples, size_t(count));
        return;
    }
    uint8_t *row = PlaceAt(picture, y, x, sample == 0);
    for (int32_t i = 0; i < count; ++i) row[i * colours + colours - 1 - sample] = samples[i];
    if (colours == 1 && picture.extras.whiteIsZero) TurnOver(row, size_t(count));
}

void PutTiffPart(TiffShape &shape, uint32_t y, uint32_t x, int32_t count, const uint8_t *raw, int sample)
{
    if (SamplesApart(shape)) PutApart(shape, y, x, count, raw, sample);
    else PutTogether(shape, y, x, count, raw);
}

void FinishTiffPicture(TiffShape &shape)
{
    Picture &picture = shape.reading.picture;
    for (int32_t y = 0; shape.multiplied && y < picture.height; ++y) {
        uint8_t *row = picture.pixels.get() + ptrdiff_t(RowStride(picture.bitsPerPixel, picture.width)) * y;
        const uint8_t *mask = picture.mask.get() + ptrdiff_t(RowStride(8, picture.width)) * y;
        Unmultiply(row, mask, picture.width, picture.bitsPerPixel / 8);
    }
    if (shape.bits > 1) TrimPalette(picture);
}

//---- Writing

TiffRows TiffRowsFor(const Picture &picture)
{
    TiffRows rows;
    rows.bits = picture.colourType == RGB ? 8 : BitsForSaving(picture);
    rows.colours = picture.colourType == RGB ? 3 : 1;
    if (rows.bits == 8 && rows.colours == 1 && !picture.mask) rows.bits = FewestBits(picture);
    rows.withAlpha = picture.mask && rows.bits == 8;
    return rows;
}

int TiffPhotometricFor(const Picture &picture)
{
    if (picture.colourType == RGB) return TIFF_RGB;
    if (picture.colourType == PALETTE) return TIFF_PALETTE;
    return picture.extras.whiteIsZero ? TIFF_WHITE_IS_ZERO : TIFF_BLACK_IS_ZERO;
}

void FillColourMaps(const Picture &picture, int bits, uint16_t (&maps)[3][256])
{
    for (int i = 0; i < 1 << bits; ++i) {
        maps[0][i] = uint16_t(picture.red[i] * 257);
        maps[1][i] = uint16_t(picture.green[i] * 257);
        maps[2][i] = uint16_t(picture.blue[i] * 257);
    }
}

static void JoinAlpha(const Picture &picture, int32_t y, size_t colours, uint8_t *row, uint8_t *alpha)
{
    AlphaRow(picture, y, alpha);
    const size_t each = colours + 1;
    for (size_t x = size_t(picture.width); x-- > 0;) {
        row[x * each + colours] = alpha[x];
        for (size_t c = colours; c-- > 0;) row[x * each + c] = row[x * colours + c];
    }
}

void FillTiffRow(const Picture &picture, int32_t y, const TiffRows &rows, uint8_t *row, std::vector<uint8_t> &alpha)
{
    const size_t width = size_t(picture.width);
    if (picture.colourType == RGB) {
        ColourRow(picture, y, row);
    } else {
        std::vector<uint8_t> room;
        const uint8_t *from = PackedRow(picture, y, rows.bits, room);
        const size_t bytes = (width * size_t(rows.bits) + 7) / 8;
        memcpy(row, from, bytes);
        if (picture.colourType != PALETTE && picture.extras.whiteIsZero) TurnOver(row, bytes);
    }
    if (rows.withAlpha) JoinAlpha(picture, y, size_t(rows.colours), row, alpha.data());
}
