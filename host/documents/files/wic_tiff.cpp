// Packing and unpacking of TIFF's strips through the Windows Imaging Component. It is shown them as grey pictures as
// wide as a row has bytes, since it has no pixel format for much of what files hold: grey or a palette with a mask, 2
// and 12 bits, samples apart, colours that count from white. Differences are added up here. Only what needs a
// conversion of its own (YCbCr, Lab) is left to it as a whole.

#include "host/documents/files/deflate.h"
#include "host/documents/files/wic.h"

#include <algorithm>
#include <cstring>

static const uint8_t WIC_NOT_PACKED = 1, WIC_LZW = 3;   // of the component's TiffCompressionMethod

static bool IsFax(const TiffPacking &packing)
{
    return packing.compression >= TIFF_FAX2 && packing.compression <= TIFF_FAX4;
}

bool UnpacksTiff(const TiffPacking &packing, const TiffShape &shape)
{
    const int bits = shape.bits;
    switch (packing.compression) {
    case TIFF_NOT_PACKED:
    case TIFF_RUNS: return true;
    case TIFF_LZW:
    case TIFF_DEFLATE:
    case TIFF_OLD_DEFLATE:
        return packing.predictor == TIFF_NO_PREDICTION ||
               (packing.predictor == TIFF_FROM_THE_LEFT && (bits == 8 || bits == 16 || bits == 32));
    default: return IsFax(packing) && bits == 1 && shape.samples == 1;
    }
}

//---- Unpacking

// Samples as they were before each but a row's first was stored as the difference from its neighbour.
template <typename Sample> static void AddUp(uint8_t *row, size_t bytes, size_t step)
{
    for (size_t i = step; i < bytes / sizeof(Sample); ++i) {
        Sample sample, left;
        memcpy(&sample, row + i * sizeof sample, sizeof sample);
        memcpy(&left, row + (i - step) * sizeof left, sizeof left);
        sample = Sample(sample + left);
        memcpy(row + i * sizeof sample, &sample, sizeof sample);
    }
}

static void TurnSamples(uint8_t *row, size_t bytes, size_t each)
{
    for (size_t i = 0; i + each <= bytes; i += each) std::reverse(row + i, row + i + each);
}

// A row's samples in this machine's order: the row itself, or `room`.
static const uint8_t *PlainRow(const TiffFile &file, const TiffPacking &packing, const TiffShape &shape,
                               const uint8_t *row, Bytes &room)
{
    const int bits = shape.bits;
    const bool turned = !file.lowFirst && (bits == 16 || bits == 32 || bits == 64);
    if (!turned && packing.predictor != TIFF_FROM_THE_LEFT) return row;
    memcpy(room.data(), row, room.size());
    if (turned) TurnSamples(room.data(), room.size(), size_t(bits) / 8);
    const size_t step = SamplesApart(shape) ? 1 : shape.samples;
    if (packing.predictor != TIFF_FROM_THE_LEFT) return room.data();
    if (bits == 8) AddUp<uint8_t>(room.data(), room.size(), step);
    else if (bits == 16) AddUp<uint16_t>(room.data(), room.size(), step);
    else AddUp<uint32_t>(room.data(), room.size(), step);
    return room.data();
}

// A file of its own with copies of the strips.
static bool CopyStrips(TiffFile &file, const TiffPacking &packing, const TiffParts &parts, uint32_t width, bool fax,
                       Bytes &copy)
{
    TiffEntry places = {TIFF_STRIPS, TIFF_LONGS}, counts = {TIFF_STRIP_BYTES, TIFF_LONGS};
    copy = TiffHeader({}, 0);
    for (const TiffParts::Part &part : parts.parts) {
        const size_t at = copy.size(), count = size_t(part.count);
        places.numbers.push_back(at);
        counts.numbers.push_back(count);
        copy.resize(at + count);
        if (TakeAt(file.reading.source, part.at, copy.data() + at, count) != count) return false;
    }
    copy.resize(copy.size() + copy.size() % 2);
    const Bytes header = TiffHeader({}, copy.size());
    std::copy(header.begin(), header.end(), copy.begin());
    std::vector<TiffEntry> entries = {places,
                                      counts,
                                      {TIFF_STRIP_ROWS, TIFF_LONGS, {parts.rowsEach}},
                                      {TIFF_COMPRESSION, TIFF_SHORTS, {packing.compression}},
                                      {TIFF_FILL_ORDER, TIFF_SHORTS, {packing.fillOrder}},
                                      {TIFF_WIDTH, TIFF_LONGS, {width}},
                                      {TIFF_HEIGHT, TIFF_LONGS, {parts.rows}},
                                      {TIFF_BITS, TIFF_SHORTS, {fax ? 1u : 8u}},
                                      {TIFF_SAMPLES, TIFF_SHORTS, {1}},
                                      {TIFF_PHOTOMETRIC, TIFF_SHORTS, {TIFF_BLACK_IS_ZERO}}};
    if (packing.fax3) entries.push_back({TIFF_FAX3_OPTIONS, TIFF_LONGS, {packing.fax3}});
    if (packing.fax4) entries.push_back({TIFF_FAX4_OPTIONS, TIFF_LONGS, {packing.fax4}});
    AddDirectory(copy, {}, 0, entries);
    return true;
}

bool UnpackTiff(TiffFile &file, const TiffPacking &packing, const TiffShape &shape, const TiffParts &parts,
                const TakesRow &takesRow, std::string &problem)
{
    const bool fax = IsFax(packing);
    const size_t bytes = size_t(TiffRowBytes(shape, parts.width));
    const uint32_t width = fax ? parts.width : uint32_t(bytes);
    Bytes copy, room(bytes);
    if (!CopyStrips(file, packing, parts, width, fax, copy)) {
        problem = "it cannot be read";
        return false;
    }
    const auto takes = [&](uint32_t y, const uint8_t *row) { takesRow(y, PlainRow(file, packing, shape, row, room)); };
    const WicPixels pixels = fax ? WicPixels::PACKED1 : WicPixels::PACKED8;
    return WicUnpack({WicContainer::TIFF, pixels, width, parts.rows}, copy, takes, problem);
}

bool ConvertTiff(TiffFile &file, uint64_t directory, const TiffShape &shape, const TakesRow &takesRow,
                 std::string &problem)
{
    Source &source = file.reading.source;
    Bytes all(static_cast<size_t>(source.size));
    if (TakeAt(source, 0, all.data(), all.size()) != all.size()) {
        problem = "it cannot be read";
        return false;
    }
    const Bytes header = TiffHeader({file.lowFirst, file.wide}, directory);   // the component takes the first it finds
    std::copy(header.begin(), header.end(), all.begin());
    return WicUnpack({WicContainer::TIFF, WicPixels::BGR24, shape.width, shape.height}, all, takesRow, problem);
}

//---- Packing

// The strips of the component's file. False when they cannot stand for other samples than its own.
static bool FindStrips(const Bytes &packed, bool bytesAlone, TiffStrips &strips, std::vector<uint64_t> &places)
{
    Source source;
    Picture none;
    Notices notices;
    std::string error;
    OpenBytes(source, packed);
    Reading reading = {source, none, notices, error};
    TiffFile file = {reading};
    TiffDirectory directory;
    if (!OpenTiff(file) || !TakeDirectory(file, file.first, directory)) return false;
    const TiffField *at = FieldOf(directory, TIFF_STRIPS), *counts = FieldOf(directory, TIFF_STRIP_BYTES);
    if (!at || !counts) return false;
    places = TakeNumbers(file, *at, 0, at->count);
    strips.counts = TakeNumbers(file, *counts, 0, counts->count);
    strips.compression = uint32_t(TakeNumber(file, directory, TIFF_COMPRESSION, TIFF_NOT_PACKED));
    strips.predictor = uint32_t(TakeNumber(file, directory, TIFF_PREDICTOR, TIFF_NO_PREDICTION));
    strips.rowsEach = uint32_t(TakeNumber(file, directory, TIFF_STRIP_ROWS, UINT32_MAX));
    if (TakeNumber(file, directory, TIFF_FILL_ORDER, 1) != 1) return false;
    if (strips.predictor != TIFF_NO_PREDICTION && !bytesAlone) return false;
    if (places.empty() || places.size() != strips.counts.size()) return false;
    for (size_t i = 0; i < places.size(); ++i) {
        if (places[i] > packed.size() || strips.counts[i] > packed.size() - places[i]) return false;
    }
    return true;
}

static void Subtract(uint8_t *row, size_t bytes, size_t step)
{
    for (size_t i = bytes; i-- > step;) row[i] = uint8_t(row[i] - row[i - step]);
}

// Strips that need no component.
static bool PackPlainly(const TiffRows &rows, uint32_t rowBytes, uint32_t height, const FillsRow &fillsRow,
                        const PutsBytes &puts, TiffStrips &strips)
{
    if (!strips.rowsEach) strips.rowsEach = std::max(1u, 256 * 1024 / rowBytes);
    Bytes row(size_t(rowBytes) + 64), strip;
    const bool differences = strips.predictor == TIFF_FROM_THE_LEFT && rows.bits == 8;
    strips.predictor = differences && strips.compression == TIFF_DEFLATE ? TIFF_FROM_THE_LEFT : TIFF_NO_PREDICTION;
    for (uint32_t y = 0; y < height; ++y) {
        fillsRow(y, row.data());
        if (strips.predictor == TIFF_FROM_THE_LEFT)
            Subtract(row.data(), rowBytes, size_t(rows.colours + rows.withAlpha));
        AddBytes(strip, row.data(), rowBytes);
        if ((y + 1) % strips.rowsEach != 0 && y + 1 < height) continue;
        if (strips.compression == TIFF_DEFLATE) strip = Deflate(strip);
        if (!puts(strip.data(), strip.size())) return false;
        strips.counts.push_back(strip.size());
        strip.clear();
    }
    return true;
}

bool PacksTiffRowsAsTold(uint32_t compression)
{
    return compression == TIFF_NOT_PACKED || compression == TIFF_DEFLATE;   // which the component is not asked for
}

bool PackTiff(const TiffRows &rows, uint32_t width, uint32_t height, const FillsRow &fillsRow, const PutsBytes &puts,
              TiffStrips &strips, std::string &problem)
{
    const uint32_t bits = uint32_t(rows.colours + rows.withAlpha) * uint32_t(rows.bits);
    const uint32_t rowBytes = uint32_t((uint64_t(width) * bits + 7) / 8);
    Bytes row(size_t(width) * 4);
    const auto fills = [&](uint32_t y, uint8_t *to) {
        fillsRow(y, row.data());
        memcpy(to, row.data(), rowBytes);
    };
    if (strips.compression == TIFF_NOT_PACKED || strips.compression == TIFF_DEFLATE) {
        problem = CANNOT_BE_WRITTEN;
        return PackPlainly(rows, rowBytes, height, fills, puts, strips);
    }
    problem = "no pixels came";
    for (uint8_t method : {WIC_LZW, WIC_NOT_PACKED}) {
        Bytes packed;
        std::vector<uint64_t> places;
        const WicPicture form = {WicContainer::TIFF, WicPixels::PACKED8, rowBytes, height};
        if (!WicPack(form, {{L"TiffCompressionMethod", false, 0, method}}, fills, packed, problem)) return false;
        if (!FindStrips(packed, bits == 8, strips, places)) continue;
        for (size_t i = 0; i < places.size(); ++i) {
            if (puts(packed.data() + places[i], size_t(strips.counts[i]))) continue;
            problem = CANNOT_BE_WRITTEN;
            return false;
        }
        return true;
    }
    return false;
}
