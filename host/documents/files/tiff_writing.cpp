// TIFF files, written: the fields that a picture becomes, page after page, and its pixels cut into strips or tiles as in
// its own file. The container is tiff_fields.cpp's, the samples are tiff_samples.cpp's, packing strips a codec's (see
// codecs.h); strips of JPEG are whole files of it, so that they keep tables of their own. Reading stands in tiff.cpp.

#include "host/documents/files/codecs.h"
#include "host/documents/files/exif.h"
#include "host/documents/files/jpeg_form.h"
#include "host/documents/files/kept.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

static const uint64_t LARGEST_STRIP = 16 * 1024 * 1024;   // bytes of pixels
static const uint64_t LARGEST_TILES = 48 * 1024 * 1024;   // of those beside each other

//---- Fields

static void AddResolution(const PictureExtras &extras, std::vector<TiffEntry> &entries)
{
    const double x = std::round(extras.dotsPerInchX * 1000), y = std::round(extras.dotsPerInchY * 1000);
    const bool known = x > 0 && y > 0 && x < 4e9 && y < 4e9;
    if (!known && extras.aspectX == extras.aspectY) return;
    const uint64_t per = known ? 1000 : 1;
    entries.push_back({TIFF_X_RESOLUTION, TIFF_FRACTIONS, {known ? uint64_t(x) : extras.aspectX, per}});
    entries.push_back({TIFF_Y_RESOLUTION, TIFF_FRACTIONS, {known ? uint64_t(y) : extras.aspectY, per}});
    entries.push_back({TIFF_RESOLUTION_UNIT, TIFF_SHORTS, {uint64_t(known ? INCHES : NO_UNIT)}});
}

static void AddPalette(const Picture &picture, int bits, std::vector<TiffEntry> &entries)
{
    uint16_t maps[3][256];
    FillColourMaps(picture, bits, maps);
    TiffEntry entry = {TIFF_COLOUR_MAP, TIFF_SHORTS};
    for (const auto &map : maps) entry.numbers.insert(entry.numbers.end(), map, map + (1 << bits));
    entries.push_back(entry);
}

// How the pixels of a page are stored: packed, and cut into strips or tiles.
struct TiffStored {
    TiffStrips strips = {};
    uint32_t tileWidth = 0;     // 0: in strips
    bool yCbCr = false;         // RGB as brightness and colours
    int across = 1, down = 1;   // samples of brightness per sample of those
};

static std::vector<TiffEntry> EntriesFor(const Picture &picture, const TiffRows &rows, const TiffStored &stored,
                                         uint64_t stripsAt)
{
    const TiffStrips &strips = stored.strips;
    const uint64_t samples = uint64_t(rows.colours) + rows.withAlpha;
    const bool tiled = stored.tileWidth > 0;
    TiffEntry places = {tiled ? TIFF_TILES : TIFF_STRIPS, TIFF_LONGS};
    for (uint64_t count : strips.counts) {
        places.numbers.push_back(stripsAt);
        stripsAt += count;
    }
    const uint64_t photometric = uint64_t(stored.yCbCr ? int(TIFF_YCBCR) : TiffPhotometricFor(picture));
    std::vector<TiffEntry> entries = {places,
                                      {tiled ? TIFF_TILE_BYTES : TIFF_STRIP_BYTES, TIFF_LONGS, strips.counts},
                                      {tiled ? TIFF_TILE_HEIGHT : TIFF_STRIP_ROWS, TIFF_LONGS, {strips.rowsEach}},
                                      {TIFF_COMPRESSION, TIFF_SHORTS, {strips.compression}},
                                      {TIFF_WIDTH, TIFF_LONGS, {uint64_t(picture.width)}},
                                      {TIFF_HEIGHT, TIFF_LONGS, {uint64_t(picture.height)}},
                                      {TIFF_BITS, TIFF_SHORTS, std::vector<uint64_t>(samples, uint64_t(rows.bits))},
                                      {TIFF_PHOTOMETRIC, TIFF_SHORTS, {photometric}},
                                      {TIFF_ORIENTATION, TIFF_SHORTS, {uint64_t(OrientationOf(picture.extras))}},
                                      {TIFF_SAMPLES, TIFF_SHORTS, {samples}},
                                      {TIFF_LAYOUT, TIFF_SHORTS, {SAMPLES_TOGETHER}}};
    if (tiled) entries.push_back({TIFF_TILE_WIDTH, TIFF_LONGS, {stored.tileWidth}});
    if (strips.predictor != TIFF_NO_PREDICTION) entries.push_back({TIFF_PREDICTOR, TIFF_SHORTS, {strips.predictor}});
    if (strips.compression == 3) entries.push_back({TIFF_FAX3_OPTIONS, TIFF_LONGS, {strips.faxOptions}});
    if (stored.yCbCr) {
        entries.push_back({TIFF_SUBSAMPLING, TIFF_SHORTS, {uint64_t(stored.across), uint64_t(stored.down)}});
        entries.push_back({TIFF_REFERENCE, TIFF_FRACTIONS, {0, 1, 255, 1, 128, 1, 255, 1, 128, 1, 255, 1}});
    }
    if (rows.withAlpha) entries.push_back({TIFF_EXTRA_SAMPLES, TIFF_SHORTS, {TIFF_PLAIN_ALPHA}});
    if (picture.colourType == PALETTE) AddPalette(picture, rows.bits, entries);
    AddResolution(picture.extras, entries);
    const PictureExtras &extras = picture.extras;
    if (!extras.colourProfile.empty()) entries.push_back({TIFF_PROFILE, TIFF_PLAIN_BYTES, {}, extras.colourProfile});
    if (!extras.xmp.empty()) entries.push_back({TIFF_XMP, TIFF_BYTES, {}, extras.xmp});
    if (!extras.iptc.empty()) entries.push_back({TIFF_IPTC, TIFF_BYTES, {}, extras.iptc});
    return entries;
}

//---- How strips are packed

static const char *NameOfPacking(uint32_t compression)
{
    switch (compression) {
    case TIFF_NOT_PACKED: return "no packing";
    case TIFF_LZW: return "LZW";
    case TIFF_DEFLATE:
    case TIFF_OLD_DEFLATE: return "Deflate";
    case TIFF_RUNS: return "PackBits";
    case TIFF_OLD_JPEG:
    case TIFF_JPEG: return "JPEG";
    default: return compression >= TIFF_FAX2 && compression <= TIFF_FAX4 ? "fax packing" : "another packing";
    }
}

// As the picture's own file, where that is for such pixels.
static TiffStrips StripsFor(const Picture &picture, const TiffRows &rows)
{
    const FileShape &shape = picture.extras.shape;
    const bool neighbours = rows.bits == 8 && picture.colourType != PALETTE;   // worth being stored as differences
    TiffStrips strips;
    strips.faxOptions =
        shape.faxOptions & 5;   // in two dimensions, and filled up to bytes; plain modes are not written
    bool differences = shape.predictor != TIFF_NO_PREDICTION;   // where nothing is said, too
    switch (shape.compression) {
    case TIFF_NOT_PACKED:
    case TIFF_LZW:
    case TIFF_RUNS: strips.compression = shape.compression; break;
    case TIFF_DEFLATE:
    case TIFF_OLD_DEFLATE: strips.compression = TIFF_DEFLATE; break;
    case TIFF_JPEG:
        if (neighbours && !rows.withAlpha) strips.compression = TIFF_JPEG;
        break;
    default:
        if (shape.compression >= TIFF_FAX2 && shape.compression <= TIFF_FAX4 && rows.bits == 1) {
            strips.compression = shape.compression;
        }
        differences = true;
    }
    const bool predicts = strips.compression == TIFF_LZW || strips.compression == TIFF_DEFLATE;
    if (predicts && differences && neighbours) strips.predictor = TIFF_FROM_THE_LEFT;
    return strips;
}

static uint64_t RowBytes(const TiffRows &rows, uint64_t pixels)
{
    return (pixels * uint64_t(rows.colours + rows.withAlpha) * uint64_t(rows.bits) + 7) / 8;
}

// Strips or tiles as in the picture's own file, where such can be written.
static TiffStored StoredFor(const Picture &picture, const TiffRows &rows)
{
    const FileShape &shape = picture.extras.shape;
    const uint32_t width = uint32_t(picture.width), height = uint32_t(picture.height);
    TiffStored stored = {StripsFor(picture, rows)};
    if (!PacksTiffRowsAsTold(stored.strips.compression) && stored.strips.compression != TIFF_JPEG) return stored;
    const uint32_t tile = shape.tileWidth;
    const uint64_t across = tile ? TiffPartsIn(width, tile) : 0;
    if (tile && tile % 16 == 0 && shape.rowsEach % 16 == 0 && shape.rowsEach > 0 &&
        RowBytes(rows, across * tile) * shape.rowsEach <= LARGEST_TILES) {
        stored.tileWidth = tile;
        stored.strips.rowsEach = shape.rowsEach;
    } else if (!tile && shape.rowsEach > 0) {
        const uint32_t each = std::min(shape.rowsEach, height);
        if (RowBytes(rows, width) * each <= LARGEST_STRIP) stored.strips.rowsEach = each;
    }
    return stored;
}

static void TellPacking(const FileShape &shape, const TiffStored &stored, Notices &notices)
{
    const TiffStrips &strips = stored.strips;
    const std::string plain = "stored in strips: tiles of that size are not written here";
    const bool cut = shape.tileWidth > 0 && stored.tileWidth == 0;
    if (cut && std::find(notices.begin(), notices.end(), plain) == notices.end()) notices.push_back(plain);
    const std::string wanted = NameOfPacking(shape.compression), done = NameOfPacking(strips.compression);
    if (shape.compression == 0 || wanted == done) return;
    const std::string line = "stored with " + done + ": " + wanted + " is not for such pixels, or not written here";
    if (std::find(notices.begin(), notices.end(), line) == notices.end()) notices.push_back(line);
}

//---- Pages

struct TiffWriter {
    Writing &writing;
    uint64_t end = 0;      // bytes written
    uint64_t nextAt = 4;   // where the place of the next directory is to be written
    std::string problem = CANNOT_BE_WRITTEN;
};

static bool PutBytes(TiffWriter &writer, const uint8_t *bytes, size_t count)
{
    writer.end += count;
    return Put(writer.writing.sink, bytes, count);
}

// A number of 32 bits at a place that has been left for it.
static bool PutPlace(TiffWriter &writer, uint64_t at, uint64_t place)
{
    Bytes bytes;
    AddLow32(bytes, uint32_t(place));
    Sink &sink = writer.writing.sink;
    return SeekSink(sink, at) && Put(sink, bytes.data(), bytes.size()) && SeekSink(sink, writer.end);
}

// Rows of strips or of tiles, which are strips as wide as one of them: those beside each other follow each other, each
// filled up at the picture's right and lower edges with what is nearest.
struct TiffCutter {
    const Picture &picture;
    const TiffRows &rows;
    uint32_t tileWidth, rowsEach;   // of a tile; 0 for strips
    Bytes alpha, band = {};         // the rows of the tiles beside each other
    uint64_t bandTop = UINT64_MAX;
};

static void FillRow(TiffCutter &cutter, uint32_t y, uint8_t *to)
{
    FillTiffRow(cutter.picture, int32_t(y), cutter.rows, to, cutter.alpha);
}

static void FillTileRow(TiffCutter &cutter, uint32_t y, uint8_t *to)
{
    const uint32_t width = uint32_t(cutter.picture.width), height = uint32_t(cutter.picture.height);
    const uint32_t across = TiffPartsIn(width, cutter.tileWidth), tile = y / cutter.rowsEach;
    const uint64_t top = uint64_t(tile / across) * cutter.rowsEach;
    const size_t stride = size_t(RowBytes(cutter.rows, uint64_t(across) * cutter.tileWidth)) + 8;
    if (cutter.bandTop != top) {
        cutter.band.resize(stride * cutter.rowsEach);
        for (uint32_t i = 0; i < cutter.rowsEach; ++i) {
            uint8_t *row = cutter.band.data() + stride * i;
            FillRow(cutter, uint32_t(std::min<uint64_t>(top + i, height - 1)), row);
            const size_t used = size_t(RowBytes(cutter.rows, width)), each = size_t(RowBytes(cutter.rows, 1));
            for (size_t at = used; at < stride - 8; ++at) row[at] = cutter.rows.bits == 8 ? row[at - each] : 0;
        }
        cutter.bandTop = top;
    }
    const size_t bytes = size_t(RowBytes(cutter.rows, cutter.tileWidth));
    memcpy(to, cutter.band.data() + stride * (y % cutter.rowsEach) + bytes * (tile % across), bytes);
}

// Each strip or tile is a JPEG file with tables of its own, without what tells of its colours.
static bool PackJpegParts(JpegForm form, const FillsRow &fillsRow, const PutsBytes &puts, TiffStored &stored,
                          std::string &problem)
{
    TiffStrips &strips = stored.strips;
    const uint32_t height = form.height, block = 8 * uint32_t(form.down);
    strips.compression = TIFF_JPEG;
    stored.yCbCr = form.channels == 3;
    if (!strips.rowsEach) strips.rowsEach = std::max(1u, 1024 * 1024 / (form.width * uint32_t(form.channels)));
    if (!stored.tileWidth && strips.rowsEach < height) strips.rowsEach = (strips.rowsEach + block - 1) / block * block;
    for (uint32_t top = 0; top < height; top += form.height) {
        Bytes part = {0xFF, JPEG_SOI};
        form.height = std::min(strips.rowsEach, height - top);
        const auto fills = [&](uint32_t y, uint8_t *row) {
            fillsRow(top + y, row);
            if (form.channels == 3) SwapRedBlue(row, row, int32_t(form.width));
        };
        const auto gathers = [&](const uint8_t *bytes, size_t count) {
            AddBytes(part, bytes, count);
            return true;
        };
        if (!PackJpeg(form, fills, gathers, problem)) return false;
        if (stored.yCbCr) (void)JpegSampling(part, stored.across, stored.down);
        strips.counts.push_back(part.size());
        if (puts(part.data(), part.size())) continue;
        problem = CANNOT_BE_WRITTEN;
        return false;
    }
    return true;
}

static bool PackPage(TiffWriter &writer, const Picture &picture, const TiffRows &rows, TiffStored &stored)
{
    TiffStrips &strips = stored.strips;
    TiffCutter cutter = {picture, rows, stored.tileWidth, strips.rowsEach, Bytes(size_t(picture.width))};
    uint32_t width = uint32_t(picture.width), height = uint32_t(picture.height);
    if (stored.tileWidth) {
        height = TiffPartsIn(width, stored.tileWidth) * TiffPartsIn(height, strips.rowsEach) * strips.rowsEach;
        width = stored.tileWidth;
    }
    const auto fillsRow = [&](uint32_t y, uint8_t *to) {
        if (stored.tileWidth) FillTileRow(cutter, y, to);
        else FillRow(cutter, y, to);
    };
    const auto puts = [&](const uint8_t *bytes, size_t count) { return PutBytes(writer, bytes, count); };
    if (strips.compression != TIFF_JPEG) return PackTiff(rows, width, height, fillsRow, puts, strips, writer.problem);
    JpegForm form = JpegFormFor(picture, writer.writing.options, rows.colours);
    form.width = width;
    form.height = height;
    form.progressive = false;
    TellJpegForm(form, writer.writing.notices);
    return PackJpegParts(form, fillsRow, puts, stored, writer.problem);
}

// The number of a page, which others of the file may have before they were written with this one.
static void MendPageNumber(Exif &exif, size_t number, size_t count)
{
    for (ExifField &field : exif.picture) {
        if (field.tag != TIFF_PAGE_NUMBER || count < 2) continue;
        field = {TIFF_PAGE_NUMBER, TIFF_SHORTS};
        for (const size_t value : {number, count}) {
            if (exif.lowFirst) AddLow16(field.bytes, uint32_t(value));
            else AddHigh16(field.bytes, uint32_t(value));
        }
    }
}

// A table of another depth would be one of other samples.
static void MendTransfer(Exif &exif, const TiffRows &rows, Notices &notices)
{
    const ExifField *field = FieldOf(std::as_const(exif.picture), TIFF_TRANSFER);
    const size_t entries = field ? field->bytes.size() / 2 >> rows.bits : 0;
    if (!field || ((entries == 1 || entries == 3) && field->bytes.size() == entries * 2 << rows.bits)) return;
    DropField(exif.picture, TIFF_TRANSFER);
    notices.push_back("the transfer function is not stored: it is one for samples of another depth");
}

// Its strips, what its directory points to, and the directory, whose place goes to the one before it.
static bool PutPage(TiffWriter &writer, const Picture &picture, const std::string &note, size_t number)
{
    const TiffRows rows = TiffRowsFor(picture);
    const auto puts = [&](const uint8_t *bytes, size_t count) { return PutBytes(writer, bytes, count); };
    Writing &writing = writer.writing;
    const size_t pages = 1 + writing.further.size();
    TellLeftOut(picture, "TIFF",
                KEEPS_PROFILE | KEEPS_RESOLUTION | KEEPS_ASPECT | KEEPS_EXIF | KEEPS_XMP | KEEPS_IPTC |
                    (rows.withAlpha ? KEEPS_MASK : 0),
                writing.notices);
    const uint64_t stripsAt = writer.end;
    TiffStored stored = StoredFor(picture, rows);
    if (!PackPage(writer, picture, rows, stored)) return false;
    TellPacking(picture.extras.shape, stored, writing.notices);
    Bytes rest(writer.end % 2), directory;   // a directory begins at an even place
    std::vector<TiffEntry> entries = EntriesFor(picture, rows, stored, stripsAt);
    if (!note.empty()) entries.push_back({TIFF_NOTE, TIFF_TEXT, {}, Bytes(note.begin(), note.end())});
    if (!note.empty()) entries.back().bytes.push_back(0);
    if (pages > 1 && picture.extras.shape.oneOfSeveral) entries.push_back({TIFF_KIND, TIFF_LONGS, {ONE_OF_SEVERAL}});
    Exif exif;
    bool noteDropped = false;
    if (!picture.extras.exif.empty() && TakeExif(picture.extras.exif, exif)) {
        MendPageNumber(exif, number, pages);
        MendTransfer(exif, rows, writing.notices);
        const uint64_t at = writer.end + rest.size();
        for (TiffEntry &entry : ExifEntries(exif, directory, at, noteDropped)) entries.push_back(std::move(entry));
        AddBytes(rest, directory.data(), directory.size());
        directory.clear();
    }
    if (noteDropped) writing.notices.push_back(MAKERS_NOTES_ARE_DROPPED);
    const uint64_t first = writer.end + rest.size();
    const size_t count = entries.size();
    AddDirectory(directory, {}, first, std::move(entries));
    AddBytes(rest, directory.data(), directory.size());
    if (first + directory.size() > UINT32_MAX) {
        writer.problem = "it is larger than 4 GB";
        return false;
    }
    if (!puts(rest.data(), rest.size()) || !PutPlace(writer, writer.nextAt, first)) return false;
    writer.nextAt = first + 2 + 12 * count;
    return true;
}

static void TellTimes(Writing &writing)
{
    if (writing.further.empty() || writing.picture.extras.shape.delay <= 0) return;
    writing.notices.push_back("how long and how often the frames are shown is not stored: a TIFF file has pages");
}

bool WriteTiff(Writing &writing)
{
    TellTimes(writing);
    TiffWriter writer = {writing};
    const Bytes header = TiffHeader({}, 0);
    bool done =
        PutBytes(writer, header.data(), header.size()) && PutPage(writer, writing.picture, writing.options.note, 0);
    for (size_t i = 0; done && i < writing.further.size(); ++i) done = PutPage(writer, writing.further[i], "", i + 1);
    return done || Fail(writing.error, "cannot be written as TIFF (" + writer.problem + ")");
}
