// BMP: headers of every age (12, 40, 52, 56, 64, 108 and 124 bytes), 1 to 8 bits with a palette, 16 to 32 bits with
// or without colour masks, either row order, RLE4 and RLE8. An alpha mask becomes the picture's mask. Files are
// written with the 40-byte header, or the 124-byte one when there is a mask or a colour profile to keep.

#include "host/documents/files/formats.h"

#include <algorithm>
#include <cmath>
#include <cstring>

static const uint32_t FILE_HEADER = 14, CORE_HEADER = 12, INFO_HEADER = 40, OS2_HEADER = 64, V5_HEADER = 124;
enum { PLAIN = 0, RLE8 = 1, RLE4 = 2, FIELDS = 3, ALPHA_FIELDS = 6 };
static const uint32_t EMBEDDED_PROFILE = 0x4D424544, LINKED_PROFILE = 0x4C494E4B, STANDARD_COLOURS = 0x73524742;
static const uint32_t LARGEST_PROFILE = 16 * 1024 * 1024;

struct BmpHeader {
    uint32_t pixelsAt = 0, bytes = 0;   // from the file's start; the information header's length
    int64_t width = 0, height = 0;
    bool topDown = false;
    int bits = 0;
    uint32_t compression = 0;
    int32_t perMetreX = 0, perMetreY = 0;
    uint32_t coloursUsed = 0;
    uint32_t masks[4] = {};                     // red, green, blue, alpha
    uint32_t profileAt = 0, profileBytes = 0;   // from the information header's start
    uint32_t colourSpace = 0;
};

static uint32_t Number16(const uint8_t *bytes) { return uint32_t(bytes[0] | bytes[1] << 8); }
static uint32_t Number32(const uint8_t *bytes) { return Number16(bytes) | Number16(bytes + 2) << 16; }

//---- Header

static void SetCoreFields(BmpHeader &header, const uint8_t *bytes)
{
    header.width = Number16(bytes + 4);
    header.height = Number16(bytes + 6);
    header.bits = int(Number16(bytes + 10));
}

// Shorter headers than the longest count as filled up with zeros.
static void SetInfoFields(BmpHeader &header, const uint8_t *bytes)
{
    header.width = int32_t(Number32(bytes + 4));
    header.height = int32_t(Number32(bytes + 8));
    header.topDown = header.height < 0;
    if (header.topDown) header.height = -header.height;
    header.bits = int(Number16(bytes + 14));
    header.compression = Number32(bytes + 16);
    header.perMetreX = int32_t(Number32(bytes + 24));
    header.perMetreY = int32_t(Number32(bytes + 28));
    header.coloursUsed = Number32(bytes + 32);
    if (header.bytes == OS2_HEADER) return;
    for (int c = 0; c < 4; ++c) header.masks[c] = Number32(bytes + 40 + 4 * c);
    header.colourSpace = Number32(bytes + 56);
    header.profileAt = Number32(bytes + 112);
    header.profileBytes = Number32(bytes + 116);
}

static bool TakeHeader(Reading &reading, BmpHeader &header)
{
    uint8_t file[FILE_HEADER + 4], info[V5_HEADER] = {};
    if (!Take(reading.source, file, sizeof file)) return Fail(reading.error, HEADER_IS_NOT_COMPLETE);
    header.pixelsAt = Number32(file + 10);
    header.bytes = Number32(file + 14);
    if (header.bytes != CORE_HEADER && (header.bytes < 16 || header.bytes > V5_HEADER)) {
        return Fail(reading.error, "a BMP header of " + std::to_string(header.bytes) + " bytes is not known here");
    }
    memcpy(info, file + FILE_HEADER, 4);
    if (!Take(reading.source, info + 4, header.bytes - 4)) return Fail(reading.error, HEADER_IS_NOT_COMPLETE);
    if (header.bytes == CORE_HEADER) SetCoreFields(header, info);
    else SetInfoFields(header, info);
    return true;
}

static bool FitsCompression(const BmpHeader &header)
{
    const int bits = header.bits;
    switch (header.compression) {
    case PLAIN: return bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
    case RLE8: return bits == 8 && !header.topDown;
    case RLE4: return bits == 4 && !header.topDown;
    case FIELDS:
    case ALPHA_FIELDS: return (bits == 16 || bits == 32) && header.bytes != OS2_HEADER;
    default: return false;
    }
}

static bool CheckKind(const BmpHeader &header, std::string &error)
{
    if (FitsCompression(header)) return true;
    return Fail(error, std::to_string(header.bits) + " bits per pixel with compression " +
                           std::to_string(header.compression) + " are not known here");
}

// Colour masks stand behind the 40-byte header; longer headers have them inside. Without masks of its own a file
// has 5 bits per colour, or 8.
static bool TakeMasks(Reading &reading, BmpHeader &header)
{
    if (header.compression == PLAIN) {
        static const uint32_t small[4] = {0x7C00, 0x03E0, 0x001F, 0}, large[4] = {0xFF0000, 0xFF00, 0xFF, 0};
        memcpy(header.masks, header.bits == 16 ? small : large, sizeof header.masks);
        return true;
    }
    if ((header.compression != FIELDS && header.compression != ALPHA_FIELDS) || header.bytes > INFO_HEADER) return true;
    uint8_t bytes[16] = {};
    if (!Take(reading.source, bytes, header.compression == FIELDS ? 12 : 16)) {
        return Fail(reading.error, HEADER_IS_NOT_COMPLETE);
    }
    for (int c = 0; c < 4; ++c) header.masks[c] = Number32(bytes + 4 * c);
    return true;
}

// Takes what there is of the palette before the pixels.
static bool TakePalette(Reading &reading, const BmpHeader &header, FilePalette &palette)
{
    const uint32_t entryBytes = header.bytes == CORE_HEADER ? 3 : 4, most = 1u << header.bits;
    uint32_t entries = header.coloursUsed && header.coloursUsed < most ? header.coloursUsed : most;
    const uint64_t taken = reading.source.taken;
    if (header.pixelsAt < taken) return Fail(reading.error, "the pixels are said to begin inside the header");
    entries = std::min(entries, uint32_t((header.pixelsAt - taken) / entryBytes));
    if (entries == 0) return Fail(reading.error, "there is no palette");
    for (uint32_t i = 0; i < entries; ++i) {
        uint8_t entry[4];
        if (!Take(reading.source, entry, entryBytes)) return Fail(reading.error, "the palette is not complete");
        palette.blue[i] = entry[0];
        palette.green[i] = entry[1];
        palette.red[i] = entry[2];
    }
    palette.entries = int32_t(entries);
    return true;
}

//---- Pixels as they are

static int32_t RowOfFile(const BmpHeader &header, int32_t i)
{
    return header.topDown ? i : int32_t(header.height) - 1 - i;
}

static size_t FileRowBytes(const BmpHeader &header)
{
    return size_t((uint64_t(header.bits) * uint64_t(header.width) + 31) / 32 * 4);
}

// Rows that need no change: 8 bits, and 24.
static bool ReadWholeRows(Reading &reading, const BmpHeader &header)
{
    Picture &picture = reading.picture;
    const size_t bytes = size_t(picture.width) * size_t(header.bits / 8), padding = FileRowBytes(header) - bytes;
    for (int32_t i = 0; i < picture.height; ++i) {
        uint8_t *row = RowToFill(picture, RowOfFile(header, i));
        if (!Take(reading.source, row, bytes) || !Skip(reading.source, padding)) {
            return FailShort(reading.error, picture.height, i);
        }
    }
    return true;
}

static bool ReadPackedRows(Reading &reading, const BmpHeader &header)
{
    Picture &picture = reading.picture;
    std::vector<uint8_t> room;
    for (int32_t i = 0; i < picture.height; ++i) {
        const uint8_t *packed = TakeRow(reading.source, FileRowBytes(header), room);
        if (!packed) return FailShort(reading.error, picture.height, i);
        PutPacked(picture, packed, header.bits, picture.width, RowToFill(picture, RowOfFile(header, i)));
    }
    return true;
}

//---- Pixels with colour masks

struct ColourField {
    uint32_t mask = 0;
    int shift = 0;   // down to the field's highest 8 bits
    int bits = 0;
    uint8_t spread[256] = {};   // to 0..255; all 255 for an alpha that is not there
};

static bool MakeField(uint32_t mask, uint8_t missing, ColourField &field)
{
    field.mask = mask;
    if (mask == 0) {
        memset(field.spread, missing, 256);
        return true;
    }
    int low = 0;
    while (!(mask >> low & 1)) ++low;
    while (low + field.bits < 32 && mask >> (low + field.bits) & 1) ++field.bits;
    if (field.bits + low < 32 && mask >> (low + field.bits)) return false;   // a mask with a gap
    field.shift = low + std::max(0, field.bits - 8);
    const int largest = (1 << std::min(field.bits, 8)) - 1;
    for (int v = 0; v <= largest; ++v) field.spread[v] = uint8_t((v * 255 + largest / 2) / largest);
    return true;
}

static uint8_t FieldOf(const ColourField &field, uint32_t pixel)
{
    return field.spread[(pixel & field.mask) >> field.shift];
}

static void PutFields(const ColourField *fields, const uint8_t *from, int bits, int32_t count, uint8_t *row,
                      uint8_t *mask)
{
    for (int32_t x = 0; x < count; ++x) {
        const uint32_t pixel = bits == 16 ? Number16(from + 2 * x) : Number32(from + 4 * x);
        row[3 * x] = FieldOf(fields[2], pixel);
        row[3 * x + 1] = FieldOf(fields[1], pixel);
        row[3 * x + 2] = FieldOf(fields[0], pixel);
        if (mask) mask[x] = FieldOf(fields[3], pixel);
    }
}

static bool ReadFieldRows(Reading &reading, const BmpHeader &header)
{
    Picture &picture = reading.picture;
    ColourField fields[4];
    bool deep = false;
    for (int c = 0; c < 4; ++c) {
        const uint32_t mask = header.bits == 16 ? header.masks[c] & 0xFFFF : header.masks[c];
        if (!MakeField(mask, c == 3 ? 255 : 0, fields[c])) return Fail(reading.error, "a colour mask has a gap");
        deep = deep || fields[c].bits > 8;
    }
    if (deep) reading.picture.extras.shape.bits = 10;   // of formats in use those are the only ones
    if (deep) reading.notices.push_back("more than 8 bits per sample are brought to 8");
    if (fields[3].mask && !StartMask(picture, reading.error)) return false;
    std::vector<uint8_t> room;
    for (int32_t i = 0; i < picture.height; ++i) {
        const uint8_t *from = TakeRow(reading.source, FileRowBytes(header), room);
        if (!from) return FailShort(reading.error, picture.height, i);
        const int32_t y = RowOfFile(header, i);
        PutFields(fields, from, header.bits, picture.width, RowToFill(picture, y),
                  picture.mask ? MaskRowToFill(picture, y) : nullptr);
    }
    return true;
}

//---- Run lengths

// What may be left out, so that a few bytes cannot become a picture of any size: codes fill 255 pixels with 2 bytes.
static const uint64_t FREE_PIXELS = 16 * 1024 * 1024, PIXELS_PER_BYTE = 128;

static bool PlausibleRuns(uint64_t pixels, uint64_t bytes)
{
    return pixels <= FREE_PIXELS || (pixels - FREE_PIXELS) / PIXELS_PER_BYTE <= bytes;
}

// Where the next pixel goes. Rows count from the picture's bottom; what is left out stays index 0.
struct RunPlace {
    Picture &picture;
    const Source &source;
    uint64_t start;            // bytes taken before the codes
    int32_t x = 0, rows = 0;   // rows begun: the current one is the last of them
    uint8_t *row = nullptr;
};

static bool NextRow(RunPlace &place)
{
    if (place.rows == place.picture.height) return false;
    const uint64_t pixels = uint64_t(place.picture.width) * uint64_t(place.rows);
    if (!PlausibleRuns(pixels, place.source.taken - place.start)) return false;
    ++place.rows;
    place.row = RowToFill(place.picture, place.picture.height - place.rows);
    memset(place.row, 0, size_t(place.picture.width));
    return true;
}

// What goes beyond the row's end is dropped, as some writers round odd runs up.
static void PutPixel(RunPlace &place, int index)
{
    if (place.x < place.picture.width) place.row[place.x++] = uint8_t(index);
}

static bool PutRun(RunPlace &place, int count, int value, bool halves)
{
    for (int i = 0; i < count; ++i) PutPixel(place, !halves ? value : i % 2 ? value & 15 : value >> 4);
    return true;
}

static bool PutLiteral(Source &source, RunPlace &place, int count, bool halves)
{
    const int bytes = halves ? (count + 1) / 2 : count;
    for (int i = 0; i < bytes; ++i) {
        const int value = TakeByte(source);
        if (value < 0) return false;
        if (halves) PutPixel(place, value >> 4);
        if (!halves || 2 * i + 1 < count) PutPixel(place, halves ? value & 15 : value);
    }
    return bytes % 2 == 0 || TakeByte(source) >= 0;
}

static bool MoveBy(Source &source, RunPlace &place)
{
    const int right = TakeByte(source), up = TakeByte(source);
    if (right < 0 || up < 0) return false;
    place.x = std::min(place.x + right, place.picture.width);
    for (int i = 0; i < up; ++i) {
        if (!NextRow(place)) return false;
    }
    return true;
}

// Takes one code. False at a damaged or missing one; `ended` at the end mark.
static bool TakeCode(Source &source, RunPlace &place, bool halves, bool &lineEnded, bool &ended)
{
    const int count = TakeByte(source), value = TakeByte(source);
    if (count < 0 || value < 0) return false;
    if (count == 0 && value == 1) return ended = true;
    if (lineEnded && !NextRow(place)) return false;
    lineEnded = false;
    if (count > 0) return PutRun(place, count, value, halves);
    if (value > 2) return PutLiteral(source, place, value, halves);
    if (value == 2) return MoveBy(source, place);
    place.x = 0;
    return lineEnded = true;
}

static bool ReadRuns(Reading &reading, const BmpHeader &header)
{
    RunPlace place = {reading.picture, reading.source, reading.source.taken};
    bool lineEnded = true, ended = false;   // a row begins with its first code: the last line may have its end marked
    while (!ended) {
        if (TakeCode(reading.source, place, header.compression == RLE4, lineEnded, ended)) continue;
        const int32_t height = reading.picture.height;
        return place.rows < height || !Peek(reading.source, 1)
                   ? FailShort(reading.error, height, std::max(0, place.rows - 1))
                   : Fail(reading.error, "the compressed rows are more than " + std::to_string(height));
    }
    while (NextRow(place)) {}
    return place.rows == reading.picture.height || FailShort(reading.error, reading.picture.height, place.rows);
}

//---- The whole

static bool TakeProfile(Reading &reading, const BmpHeader &header)
{
    if (header.bytes < V5_HEADER || header.profileBytes == 0) return true;
    if (header.colourSpace != EMBEDDED_PROFILE && header.colourSpace != LINKED_PROFILE) return true;
    const uint64_t start = uint64_t(FILE_HEADER) + header.profileAt;
    if (header.colourSpace == LINKED_PROFILE || header.profileBytes > LARGEST_PROFILE || start < reading.source.taken) {
        reading.notices.push_back("the colour profile is left out: it is not stored behind the pixels");
        return true;
    }
    std::vector<uint8_t> &profile = reading.picture.extras.colourProfile;
    profile.resize(header.profileBytes);
    if (Skip(reading.source, start - reading.source.taken) && Take(reading.source, profile.data(), profile.size())) {
        return true;
    }
    return Fail(reading.error, "the colour profile is not complete");
}

static bool SkipToPixels(Reading &reading, const BmpHeader &header)
{
    Source &source = reading.source;
    if (header.pixelsAt < source.taken) return Fail(reading.error, "the pixels are said to begin inside the header");
    if (!Skip(source, header.pixelsAt - source.taken)) return FailShort(reading.error, header.height, 0);
    if (header.width < 1 || header.height < 1) return true;
    if (header.compression == RLE4 || header.compression == RLE8) {
        const uint64_t left =
            source.size < 0 ? UINT64_MAX : uint64_t(source.size) - std::min(uint64_t(source.size), source.taken);
        return PlausibleRuns(uint64_t(header.width) * uint64_t(header.height), left) ||
               Fail(reading.error, TOO_SHORT_FOR_ITS_PICTURE);
    }
    if (MayHold(source, FileRowBytes(header) * uint64_t(header.height))) return true;
    return FailShort(reading.error, header.height,
                     int64_t((uint64_t(source.size) - source.taken) / FileRowBytes(header)));
}

static bool ReadPixels(Reading &reading, const BmpHeader &header)
{
    if (header.compression == RLE4 || header.compression == RLE8) return ReadRuns(reading, header);
    if (header.bits < 8) return ReadPackedRows(reading, header);
    return header.bits == 8 || header.bits == 24 ? ReadWholeRows(reading, header) : ReadFieldRows(reading, header);
}

bool ReadBmp(Reading &reading)
{
    BmpHeader header;
    FilePalette palette;
    Picture &picture = reading.picture;
    if (!TakeHeader(reading, header) || !CheckKind(header, reading.error) || !TakeMasks(reading, header)) return false;
    if (header.bits <= 8 && !TakePalette(reading, header, palette)) return false;
    if (!SkipToPixels(reading, header)) return false;
    const bool started =
        header.bits <= 8 ? StartPalettePicture(picture, palette, header.bits, header.width, header.height,
                                               reading.allowHuge, reading.error)
                         : StartPicture(picture, RGB, header.width, header.height, reading.allowHuge, reading.error);
    if (!started || !ReadPixels(reading, header) || !TakeProfile(reading, header)) return false;
    FinishPalettePicture(picture, reading.notices);
    if (header.perMetreX > 0 && header.perMetreY > 0) {
        picture.extras.dotsPerInchX = header.perMetreX * 0.0254;
        picture.extras.dotsPerInchY = header.perMetreY * 0.0254;
    }
    return true;
}

//---- Writing

static void Append16(std::vector<uint8_t> &bytes, uint32_t value)
{
    bytes.push_back(uint8_t(value));
    bytes.push_back(uint8_t(value >> 8));
}

static void Append32(std::vector<uint8_t> &bytes, uint32_t value)
{
    Append16(bytes, value);
    Append16(bytes, value >> 16);
}

static uint32_t PerMetre(double dotsPerInch)
{
    const double perMetre = std::round(dotsPerInch / 0.0254);
    return perMetre > 0 && perMetre < 1e9 ? uint32_t(perMetre) : 0;
}

static void AppendPalette(std::vector<uint8_t> &bytes, const Picture &picture, uint32_t entries)
{
    const bool turned = picture.colourType == ONE_BIT && picture.extras.whiteIsZero;
    for (uint32_t i = 0; i < entries; ++i) {
        const uint32_t from = turned ? 1 - i : i;
        const uint8_t entry[4] = {picture.blue[from], picture.green[from], picture.red[from], 0};
        bytes.insert(bytes.end(), entry, entry + 4);
    }
}

struct BmpLayout {
    int bits = 0;
    bool withAlpha = false, longHeader = false;
    uint32_t entries = 0;
    uint64_t rowBytes = 0, pixelsAt = 0, profileAt = 0, fileBytes = 0;
};

static BmpLayout LayoutFor(const Picture &picture)
{
    BmpLayout layout;
    layout.withAlpha = picture.colourType == RGB && picture.mask;
    layout.longHeader = layout.withAlpha || !picture.extras.colourProfile.empty();
    layout.bits = layout.withAlpha ? 32 : BitsForSaving(picture);
    if (picture.colourType != RGB) layout.entries = uint32_t(layout.bits == 1 ? 2 : 256);
    if (picture.colourType == PALETTE) {
        layout.entries = std::min(layout.entries, uint32_t(EntriesForSaving(picture)));
    }
    layout.rowBytes = (uint64_t(layout.bits) * uint64_t(picture.width) + 31) / 32 * 4;
    layout.pixelsAt = FILE_HEADER + (layout.longHeader ? V5_HEADER : INFO_HEADER) + 4 * layout.entries;
    layout.profileAt = layout.pixelsAt + layout.rowBytes * uint64_t(picture.height);
    layout.fileBytes = layout.profileAt + picture.extras.colourProfile.size();
    return layout;
}

static void AppendLongHeader(std::vector<uint8_t> &bytes, const Picture &picture, const BmpLayout &layout)
{
    const uint32_t masks[4] = {0xFF0000, 0xFF00, 0xFF, 0xFF000000},
                   profileBytes = uint32_t(picture.extras.colourProfile.size());
    for (uint32_t mask : masks) Append32(bytes, layout.withAlpha ? mask : 0);
    Append32(bytes, profileBytes ? EMBEDDED_PROFILE : STANDARD_COLOURS);
    bytes.insert(bytes.end(), 48, 0);   // end points and gamma
    Append32(bytes, 4);                 // rendering intent: pictures
    Append32(bytes, profileBytes ? uint32_t(layout.profileAt - FILE_HEADER) : 0);
    Append32(bytes, profileBytes);
    Append32(bytes, 0);
}

static std::vector<uint8_t> HeaderBytes(const Picture &picture, const BmpLayout &layout)
{
    std::vector<uint8_t> bytes = {'B', 'M'};
    Append32(bytes, uint32_t(layout.fileBytes));
    Append32(bytes, 0);
    Append32(bytes, uint32_t(layout.pixelsAt));
    Append32(bytes, layout.longHeader ? V5_HEADER : INFO_HEADER);
    Append32(bytes, uint32_t(picture.width));
    Append32(bytes, uint32_t(picture.height));
    Append16(bytes, 1);
    Append16(bytes, uint32_t(layout.bits));
    Append32(bytes, layout.withAlpha ? FIELDS : PLAIN);
    Append32(bytes, uint32_t(layout.rowBytes * uint64_t(picture.height)));
    Append32(bytes, PerMetre(picture.extras.dotsPerInchX));
    Append32(bytes, PerMetre(picture.extras.dotsPerInchY));
    Append32(bytes, layout.entries);
    Append32(bytes, 0);
    if (layout.longHeader) AppendLongHeader(bytes, picture, layout);
    AppendPalette(bytes, picture, layout.entries);
    return bytes;
}

static void JoinAlpha(const uint8_t *row, const uint8_t *alpha, int32_t count, uint8_t *to)
{
    for (int32_t x = 0; x < count; ++x) {
        memcpy(to + 4 * size_t(x), row + 3 * size_t(x), 3);
        to[4 * size_t(x) + 3] = alpha[x];
    }
}

// Rows as they lie in memory are rows of the file, padding and all, but for 1 bit and alpha.
static bool PutRows(Writing &writing, const BmpLayout &layout)
{
    const Picture &picture = writing.picture;
    const bool turned = picture.colourType == ONE_BIT && picture.extras.whiteIsZero;
    std::vector<uint8_t> room, alpha(size_t(picture.width)), joined(layout.withAlpha ? layout.rowBytes : 0);
    for (int32_t y = picture.height - 1; y >= 0; --y) {
        const uint8_t *row = layout.withAlpha ? joined.data() : PackedRow(picture, y, layout.bits, room);
        if (layout.withAlpha) {
            AlphaRow(picture, y, alpha.data());
            JoinAlpha(RowAt(picture, y), alpha.data(), picture.width, joined.data());
        }
        if (turned) {
            room.assign(row, row + layout.rowBytes);
            TurnOver(room.data(), size_t(picture.width + 7) / 8);
            row = room.data();
        }
        if (!Put(writing.sink, row, layout.rowBytes)) return false;
    }
    return true;
}

bool WriteBmp(Writing &writing)
{
    const Picture &picture = writing.picture;
    const BmpLayout layout = LayoutFor(picture);
    if (layout.fileBytes > 0xFFFFFFFF) return Fail(writing.error, "the picture is larger than a BMP file can be");
    const unsigned kept = KEEPS_PROFILE | KEEPS_RESOLUTION | (layout.withAlpha ? unsigned(KEEPS_MASK) : 0u);
    TellLeftOut(picture, "BMP", kept, writing.notices);
    const std::vector<uint8_t> header = HeaderBytes(picture, layout), &profile = picture.extras.colourProfile;
    return Put(writing.sink, header.data(), header.size()) && PutRows(writing, layout) &&
           Put(writing.sink, profile.data(), profile.size());
}
