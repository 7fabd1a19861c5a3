// TIFF files, read: what their fields mean for a picture: 1-bit, grey, palette and RGB with strips or tiles, samples
// together or apart; the first sample beyond the colours is the mask. The container is tiff_fields.cpp's, the samples are
// tiff_samples.cpp's, unpacking strips a codec's (see codecs.h), and so is all of a picture whose colours need a
// conversion of their own (YCbCr, Lab, logarithmic). Writing stands in tiff_writing.cpp.
//
// A TIFF file cannot be read front to back, so what comes from a pipe is gathered first.

#include "host/documents/files/codecs.h"
#include "host/documents/files/exif.h"
#include "host/documents/files/iptc.h"
#include "host/documents/files/jpeg_form.h"
#include "host/documents/files/kept.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

static const size_t MOST_PARTS = 1024;                      // unpacked at a time
static const uint64_t MOST_PART_BYTES = 16 * 1024 * 1024;   // of them, packed, but for one that is longer by itself
static const uint64_t LONGEST_PART = 48 * 1024 * 1024;
static const int MOST_SAMPLES = 64;   // per pixel
static const size_t LONGEST_PROFILE = 16 * 1024 * 1024;
static const size_t LONGEST_WORDS = 8 * 1024 * 1024;
static const size_t MOST_PAGES = 10000;
static const int64_t MOST_PIXELS = 512 * 1000 * 1000;   // of all pages, unless huge ones are allowed
static const size_t JPEG_HEAD = 64 * 1024;              // of a strip, that is looked at for how it is packed

static const char COPIES_LEFT_OUT[] = "smaller copies of the picture are left out: they show it as it was";

//---- Reading: what the file holds

struct TiffReader {
    Reading &reading;
    TiffFile file = {reading};
    TiffDirectory directory = {};
    TiffShape shape = {reading};
    TiffPacking packing = {};
    int64_t rowsDone = 0;
};

static bool FailTiff(TiffReader &reader, const std::string &words)
{
    std::string &error = reader.reading.error;
    if (reader.rowsDone > 0 && reader.rowsDone < reader.shape.height) {
        FailShort(error, reader.shape.height, reader.rowsDone);
        error += words.empty() ? "" : " (" + words + ")";
        return false;
    }
    return Fail(error, "damaged or unknown TIFF data" + (words.empty() ? "" : " (" + words + ")"));
}

static uint64_t Number(TiffReader &reader, int tag, uint64_t otherwise)
{
    return TakeNumber(reader.file, reader.directory, tag, otherwise);
}

static std::vector<uint64_t> Numbers(TiffReader &reader, int tag, uint64_t most)
{
    const TiffField *field = FieldOf(reader.directory, tag);
    return field ? TakeNumbers(reader.file, *field, 0, most) : std::vector<uint64_t>();
}

static bool TakeShape(TiffReader &reader)
{
    TiffShape &shape = reader.shape;
    const std::vector<uint64_t> bits = Numbers(reader, TIFF_BITS, UINT16_MAX);
    const uint64_t width = Number(reader, TIFF_WIDTH, 0), height = Number(reader, TIFF_HEIGHT, 0);
    if (!width || !height) return Fail(reader.reading.error, "the file lacks a width or a height");
    shape.width = uint32_t(std::min<uint64_t>(width, UINT32_MAX));
    shape.height = uint32_t(std::min<uint64_t>(height, UINT32_MAX));
    shape.bits = uint16_t(bits.empty() ? 1 : bits[0]);
    shape.samples = uint16_t(Number(reader, TIFF_SAMPLES, 1));
    shape.format = uint16_t(Number(reader, TIFF_SAMPLE_FORMAT, SAMPLES_UNSIGNED));
    shape.planes = uint16_t(Number(reader, TIFF_LAYOUT, SAMPLES_TOGETHER));
    shape.compression = uint16_t(Number(reader, TIFF_COMPRESSION, TIFF_NOT_PACKED));
    shape.photometric = uint16_t(Number(reader, TIFF_PHOTOMETRIC, shape.samples >= 3 ? TIFF_RGB : TIFF_BLACK_IS_ZERO));
    shape.colours = CountTiffColours(shape);
    if (std::any_of(bits.begin(), bits.end(), [&](uint64_t other) { return other != bits[0]; })) {
        return FailTiff(reader, "its samples have different depths");
    }
    if (shape.samples < 1 || (shape.planes != SAMPLES_TOGETHER && shape.planes != SAMPLES_APART)) {
        return FailTiff(reader, "its samples are laid out in a way not known here");
    }
    const bool fax = shape.compression >= TIFF_FAX2 && shape.compression <= TIFF_FAX4;
    if (shape.samples > (fax ? 1 : MOST_SAMPLES)) {   // all of them are unpacked, though few are kept
        return FailTiff(reader, std::to_string(shape.samples) + " samples per pixel are more than are known here");
    }
    if (KnowsSamples(shape)) return true;
    return Fail(reader.reading.error, std::to_string(shape.bits) + " bits per sample of this kind are not known here");
}

static void TakePacking(TiffReader &reader)
{
    TiffPacking &packing = reader.packing;
    const uint32_t compression = reader.shape.compression;
    packing.compression = compression;
    packing.fillOrder = uint32_t(Number(reader, TIFF_FILL_ORDER, 1));
    packing.fax3 = uint32_t(Number(reader, TIFF_FAX3_OPTIONS, 0));
    packing.fax4 = uint32_t(Number(reader, TIFF_FAX4_OPTIONS, 0));
    // These ways of packing know no differences, whatever a file says.
    const bool predicts = compression != TIFF_NOT_PACKED && compression != TIFF_RUNS && compression != TIFF_JPEG &&
                          (compression < TIFF_FAX2 || compression > TIFF_FAX4);
    if (predicts) packing.predictor = uint32_t(Number(reader, TIFF_PREDICTOR, TIFF_NO_PREDICTION));
    if (const TiffField *tables = FieldOf(reader.directory, TIFF_JPEG_TABLES)) {
        packing.jpegTables = TakeBytes(reader.file, *tables, UINT16_MAX);
    }
}

static bool TakePalette(TiffReader &reader, FilePalette &palette)
{
    const size_t entries = reader.shape.bits <= 8 ? size_t(1) << reader.shape.bits : 0;
    const std::vector<uint64_t> numbers = Numbers(reader, TIFF_COLOUR_MAP, 3 * entries);
    const std::vector<uint16_t> colours(numbers.begin(), numbers.end());
    if (entries == 0 || colours.size() < 3 * entries) return PaletteOfMaps(reader.shape, nullptr, palette);
    const uint16_t *const maps[3] = {colours.data(), colours.data() + entries, colours.data() + 2 * entries};
    return PaletteOfMaps(reader.shape, maps, palette);
}

//---- Reading: strips and tiles

// How many bytes one packed byte can become.
static uint64_t LargestGrowth(const TiffShape &shape)
{
    switch (shape.compression) {
    case TIFF_NOT_PACKED: return 1;
    case TIFF_RUNS: return 64;
    case TIFF_LZW: return 2600;
    case TIFF_DEFLATE:
    case TIFF_OLD_DEFLATE: return 1032;
    case TIFF_JPEG: return 1536;   // a bit for a block of each channel
    default:
        // A row of a fax may be a bit: as the row above.
        if (shape.compression <= TIFF_FAX4) return 8 * std::max<uint64_t>(1, TiffRowBytes(shape, shape.width));
        return 100000;
    }
}

// Packed data cannot make a picture of any size.
static bool PlausibleSize(const TiffReader &reader)
{
    const TiffShape &shape = reader.shape;
    const uint64_t bytes = TiffRowBytes(shape, shape.width) * shape.height;
    return bytes / LargestGrowth(shape) <= uint64_t(reader.reading.source.size);
}

// The strips or tiles of one plane.
struct TiffGrid {
    uint32_t width, rowsEach;   // of a part
    uint32_t across, down;      // parts
    uint64_t first;             // the number of the first
    const TiffField *places, *counts;
};

static bool FindGrid(TiffReader &reader, int sample, TiffGrid &grid)
{
    const TiffShape &shape = reader.shape;
    const bool tiled = FieldOf(reader.directory, TIFF_TILES);
    grid.width = shape.width;
    grid.rowsEach = uint32_t(std::clamp<uint64_t>(Number(reader, TIFF_STRIP_ROWS, shape.height), 1, shape.height));
    if (tiled) {
        const uint64_t width = Number(reader, TIFF_TILE_WIDTH, 0), height = Number(reader, TIFF_TILE_HEIGHT, 0);
        if (!width || !height || width % 8 || width > 0xFFFFFF || height > 0xFFFF) {
            return FailTiff(reader, "its tiles have no size");
        }
        grid.width = uint32_t(width);
        grid.rowsEach = uint32_t(height);
    }
    grid.across = TiffPartsIn(shape.width, grid.width);
    grid.down = TiffPartsIn(shape.height, grid.rowsEach);
    grid.first = uint64_t(sample) * grid.across * grid.down;
    grid.places = FieldOf(reader.directory, tiled ? TIFF_TILES : TIFF_STRIPS);
    grid.counts = FieldOf(reader.directory, tiled ? TIFF_TILE_BYTES : TIFF_STRIP_BYTES);
    if (grid.places && TiffRowBytes(shape, grid.width) <= INT32_MAX) return true;
    return FailTiff(reader, grid.places ? "its rows are too long" : "parts of the picture are missing");
}

// Parts from the one at `next` on, as many as are taken at a time: those of a strip's width below each other, tiles in
// the order in which they are counted.
static bool TakeParts(TiffReader &reader, const TiffGrid &grid, uint64_t next, TiffParts &parts)
{
    const TiffShape &shape = reader.shape;
    const uint64_t size = uint64_t(reader.reading.source.size), all = uint64_t(grid.across) * grid.down;
    const uint64_t count = std::min<uint64_t>(MOST_PARTS, all - next), first = grid.first + next;
    const std::vector<uint64_t> places = TakeNumbers(reader.file, *grid.places, first, count);
    std::vector<uint64_t> counts;
    if (grid.counts) counts = TakeNumbers(reader.file, *grid.counts, first, count);
    uint64_t bytes = 0;
    parts = {};
    parts.width = grid.width;
    parts.rowsEach = grid.rowsEach;
    for (size_t i = 0; i < places.size() && (i == 0 || bytes < MOST_PART_BYTES); ++i) {
        const bool tiled = grid.across > 1 || FieldOf(reader.directory, TIFF_TILES);
        const uint64_t top = (next + i) / grid.across * grid.rowsEach;
        const uint32_t rows = tiled ? grid.rowsEach : uint32_t(std::min<uint64_t>(grid.rowsEach, shape.height - top));
        // Files of careless writers do not say how long a part is.
        const uint64_t plain = TiffRowBytes(shape, grid.width) * rows;
        uint64_t length = i < counts.size() ? counts[i] : 0;
        if (!length) length = shape.compression == TIFF_NOT_PACKED ? plain : size - std::min(size, places[i]);
        if (places[i] > size || length > size - places[i]) {
            return Fail(reader.reading.error, ENDS_BEFORE_ITS_PICTURE);
        }
        if (shape.compression != TIFF_NOT_PACKED && length > LONGEST_PART) {
            return FailTiff(reader, "a part of " + std::to_string(length) + " bytes is longer than can be unpacked");
        }
        parts.parts.push_back({places[i], length});
        parts.rows += rows;
        bytes += length;
    }
    return !parts.parts.empty() || FailTiff(reader, "parts of the picture are missing");
}

// Puts row y of the parts from the one at `next` on at its place.
static void PutPartRow(TiffReader &reader, const TiffGrid &grid, uint64_t next, uint32_t y, const uint8_t *row,
                       int sample)
{
    const TiffShape &shape = reader.shape;
    const uint64_t part = next + y / grid.rowsEach;
    const uint64_t left = part % grid.across * grid.width, top = part / grid.across * grid.rowsEach + y % grid.rowsEach;
    if (top >= shape.height) return;
    const uint32_t count = std::min(grid.width, shape.width - uint32_t(left));
    PutTiffPart(reader.shape, uint32_t(top), uint32_t(left), int32_t(count), row, sample);
    if (sample == 0 && left == 0) reader.rowsDone = std::max(reader.rowsDone, int64_t(top));
}

static bool ReadPlane(TiffReader &reader, int sample)
{
    TiffGrid grid;
    if (!FindGrid(reader, sample, grid)) return false;
    for (uint64_t next = 0; next < uint64_t(grid.across) * grid.down;) {
        TiffParts parts;
        std::string problem;
        if (!TakeParts(reader, grid, next, parts)) return false;
        const auto takesRow = [&](uint32_t y, const uint8_t *row) { PutPartRow(reader, grid, next, y, row, sample); };
        if (!UnpackTiff(reader.file, reader.packing, reader.shape, parts, takesRow, problem)) {
            return FailTiff(reader, problem);
        }
        next += parts.parts.size();
    }
    return true;
}

static bool ReadUnpacked(TiffReader &reader)
{
    FilePalette palette;
    TiffShape &shape = reader.shape;
    if (IsPalette(shape) && !TakePalette(reader, palette)) return false;
    const bool multiplied = Number(reader, TIFF_EXTRA_SAMPLES, 0) == TIFF_MULTIPLIED_ALPHA;
    if (!StartTiffPicture(shape, palette, multiplied)) return false;
    const int planes = SamplesApart(shape) ? std::min<int>(shape.samples, shape.colours + 1) : 1;
    for (int sample = 0; sample < planes; ++sample) {
        if (!ReadPlane(reader, sample)) return false;
    }
    FinishTiffPicture(shape);
    return true;
}

// All of it left to the codec.
static bool ReadConverted(TiffReader &reader)
{
    Reading &reading = reader.reading;
    const TiffShape &shape = reader.shape;
    if (!StartPicture(reading.picture, RGB, shape.width, shape.height, reading.allowHuge, reading.error)) {
        return false;
    }
    const bool plain = shape.compression == TIFF_JPEG && shape.samples == 3;   // which are as good as RGB
    if (!plain) reading.notices.push_back("the file's colours are turned into 8-bit RGB");
    std::string problem;
    const auto takesRow = [&](uint32_t y, const uint8_t *row) {
        memcpy(RowToFill(reading.picture, int32_t(y)), row, size_t(shape.width) * 3);
        reader.rowsDone = y;
    };
    return ConvertTiff(reader.file, reader.directory.at, shape, takesRow, problem) || FailTiff(reader, problem);
}

//---- Reading: the whole

static void TakeResolution(TiffReader &reader)
{
    const double x = TakeFraction(reader.file, reader.directory, TIFF_X_RESOLUTION);
    const double y = TakeFraction(reader.file, reader.directory, TIFF_Y_RESOLUTION);
    const uint64_t unit = Number(reader, TIFF_RESOLUTION_UNIT, INCHES);
    PictureExtras &extras = reader.reading.picture.extras;
    if (unit == NO_UNIT && x > 0.001 && y > 0.001 && x < 1e6 && y < 1e6) {
        extras.aspectX = uint32_t(std::round(x * 1000));
        extras.aspectY = uint32_t(std::round(y * 1000));
    }
    if ((unit != INCHES && unit != CENTIMETRES) || !(x > 0 && y > 0 && x < 1e9 && y < 1e9)) return;
    const double perInch = unit == CENTIMETRES ? 2.54 : 1.0;
    extras.dotsPerInchX = x * perInch;
    extras.dotsPerInchY = y * perInch;
}

// The directory's words as a block of EXIF data, of its mark how to turn it too.
static void TakeWords(TiffReader &reader)
{
    PictureExtras &extras = reader.reading.picture.extras;
    Notices &notices = reader.reading.notices;
    Exif exif;
    std::vector<int> others;
    TakeExif(reader.file, reader.directory, exif, others);
    // What colours mean holds for red, green and blue and for grey alone.
    const bool converted =
        reader.shape.colours == 4 || (!reader.shape.colours && reader.shape.photometric != TIFF_YCBCR);
    for (int tag : {TIFF_TRANSFER, TIFF_WHITE_POINT, TIFF_PRIMARIES}) {
        if (converted) DropField(exif.picture, tag);   // of a conversion a notice tells already
    }
    if (NumberOf(exif, exif.picture, TIFF_ORIENTATION, 1) == 1) DropField(exif.picture, TIFF_ORIENTATION);
    bool noteDropped = false;
    const bool any = !exif.picture.empty() || !exif.camera.empty() || !exif.place.empty();
    if (any) extras.exif = ExifBlock(exif, {}, noteDropped);
    if (const TiffField *xmp = FieldOf(reader.directory, TIFF_XMP))
        extras.xmp = TakeBytes(reader.file, *xmp, LONGEST_WORDS);
    if (const TiffField *iptc = FieldOf(reader.directory, TIFF_IPTC)) {
        // Counted as longs by some, and then filled up with zeros.
        extras.iptc = TakeBytes(reader.file, *iptc, LONGEST_WORDS);
        while (!extras.iptc.empty() && extras.iptc.back() == 0) extras.iptc.pop_back();
    }
    if (const TiffField *resources = FieldOf(reader.directory, TIFF_RESOURCES)) {
        ResourcesLeft left;
        const Bytes iptc = IptcOfResources(TakeBytes(reader.file, *resources, LONGEST_WORDS), left);
        if (iptc.size() > extras.iptc.size()) extras.iptc = iptc;   // some cut the other one short
        TellResourcesLeft(left, notices);
    }
    if (noteDropped) notices.push_back(MAKERS_NOTES_ARE_DROPPED);
    if (exif.preview) notices.push_back("previews among the EXIF data are left out: they show the picture as it was");
    std::string tags;
    for (int tag : others) tags += (tags.empty() ? "" : ", ") + std::to_string(tag);
    if (FieldOf(reader.directory, TIFF_FURTHER)) notices.push_back(COPIES_LEFT_OUT);
    if (!tags.empty()) notices.push_back("fields that are not known here are left out: " + tags);
}

// A JPEG strip's tables and samples: those that it shares with others stand in a field of their own.
static void TakeJpegPacking(TiffReader &reader)
{
    TiffGrid grid;
    TiffParts parts;
    Reading &real = reader.reading;
    std::string error = real.error;
    Bytes &tables = reader.packing.jpegTables;
    if (!FindGrid(reader, 0, grid) || !TakeParts(reader, grid, 0, parts)) {
        real.error = error;
        return;
    }
    Bytes head = {0xFF, JPEG_SOI}, strip(size_t(std::min<uint64_t>(parts.parts[0].count, JPEG_HEAD)));
    strip.resize(TakeAt(real.source, parts.parts[0].at, strip.data(), strip.size()));
    if (strip.size() < 2) return;
    if (tables.size() > 4)
        AddBytes(head, tables.data() + 2, tables.size() - 4);   // without their marks of start and end
    AddBytes(head, strip.data() + 2, strip.size() - 2);
    Source source;
    Picture none;
    Notices notices;
    OpenBytes(source, head);
    Reading reading = {source, none, notices, error};
    JpegFile file = {reading};
    (void)TakeJpegHead(file);   // which is all but sure to miss the pixels
    FileShape &shape = real.picture.extras.shape;
    if (file.frame.channels == reader.shape.samples && !file.scanHead.empty()) TakeJpegForm(file, shape);
    shape.progressive = false;
}

static void TakeExtras(TiffReader &reader)
{
    Notices &notices = reader.reading.notices;
    PictureExtras &extras = reader.reading.picture.extras;
    TakeResolution(reader);
    if (const TiffField *profile = FieldOf(reader.directory, TIFF_PROFILE)) {
        const bool fits = reader.shape.colours == 1 || reader.shape.colours == 3;
        if (fits) extras.colourProfile = TakeBytes(reader.file, *profile, LONGEST_PROFILE);
        else if (!reader.shape.inks.transform)
            notices.push_back("the colour profile is left out: it is not one for RGB");
    }
    TakeWords(reader);
    extras.shape.bits = reader.shape.bits;
    extras.shape.compression = reader.packing.compression;
    extras.shape.predictor = reader.packing.predictor;
    extras.shape.faxOptions = reader.packing.fax3;
    extras.shape.lossy = reader.shape.compression == TIFF_JPEG || reader.shape.compression == TIFF_OLD_JPEG;
    extras.shape.oneOfSeveral = Number(reader, TIFF_KIND, 0) & ONE_OF_SEVERAL;
    const bool tiled = FieldOf(reader.directory, TIFF_TILES);
    if (tiled) extras.shape.tileWidth = uint32_t(std::min<uint64_t>(Number(reader, TIFF_TILE_WIDTH, 0), 0xFFFFFF));
    const uint64_t rows = Number(reader, tiled ? TIFF_TILE_HEIGHT : TIFF_STRIP_ROWS, UINT32_MAX);
    extras.shape.rowsEach =
        !tiled && rows >= reader.shape.height ? UINT32_MAX : uint32_t(std::min<uint64_t>(rows, UINT32_MAX));
    const int photometric = reader.shape.photometric;
    if (reader.shape.compression == TIFF_JPEG && (photometric == TIFF_YCBCR || reader.shape.colours == 1))
        TakeJpegPacking(reader);
}

// The picture of the directory that has been taken.
static bool ReadPage(TiffReader &reader)
{
    if (!TakeShape(reader)) return false;
    if (!PlausibleSize(reader)) return Fail(reader.reading.error, TOO_SHORT_FOR_ITS_PICTURE);
    TakePacking(reader);
    const TiffField *profile = reader.shape.colours == 4 ? FieldOf(reader.directory, TIFF_PROFILE) : nullptr;
    if (profile) reader.shape.profile = TakeBytes(reader.file, *profile, LONGEST_PROFILE);
    const bool unpacks = reader.shape.colours > 0 && UnpacksTiff(reader.packing, reader.shape);
    if (!(unpacks ? ReadUnpacked(reader) : ReadConverted(reader))) return false;
    TakeExtras(reader);
    return true;
}

// Null: the reader does not ask for it, and is told of what it misses.
static void TakeNote(TiffReader &reader, std::string *note)
{
    const TiffField *field = FieldOf(reader.directory, TIFF_NOTE);
    if (!field) return;
    if (!note) {
        reader.reading.notices.push_back("floating objects and selected area are not read: the picture shows them");
        return;
    }
    const Bytes bytes = TakeBytes(reader.file, *field, LONGEST_WORDS);
    note->assign(bytes.begin(), bytes.end());
    while (!note->empty() && note->back() == 0) note->pop_back();
}

// The pages' directories in their order, but for those that are only a copy or a mask of another.
struct TiffPages {
    std::vector<uint64_t> at = {};
    bool copies = false, masks = false;   // there were such
    bool damaged = false;
};

static TiffPages PagesOf(TiffFile &file, uint64_t first)
{
    TiffPages pages;
    std::vector<uint64_t> seen;
    TiffDirectory directory;
    for (uint64_t at = first; at && seen.size() < MOST_PAGES; at = directory.next) {
        pages.damaged = std::find(seen.begin(), seen.end(), at) != seen.end();   // a circle
        if (pages.damaged) break;
        seen.push_back(at);
        TakeSoundFields(file, at, directory);
        pages.damaged = directory.fields.empty();
        const uint64_t kind = TakeNumber(file, directory, TIFF_KIND, 0);
        if (kind & SMALL_COPY) pages.copies = true;
        else if (kind & MASK_OF_ANOTHER) pages.masks = true;
        else if (at == first || !directory.fields.empty()) pages.at.push_back(at);
    }
    if (!pages.at.empty()) return pages;
    pages.at = {first};   // which is all there is
    pages.copies = pages.masks = false;
    return pages;
}

static void TellLeftOutPages(const TiffPages &pages, Notices &notices)
{
    if (pages.damaged) notices.push_back("further pages are damaged and left out");
    if (pages.copies) notices.push_back(COPIES_LEFT_OUT);
    if (pages.masks) notices.push_back("pages that are masks of others are left out");
}

static bool ReadFurtherPages(Reading &first, TiffFile &file, const std::vector<uint64_t> &pages)
{
    int64_t pixels = int64_t(first.picture.width) * first.picture.height;
    for (size_t i = 1; i < pages.size(); ++i) {
        Picture picture;
        Notices notices;
        Reading reading = {first.source, picture, notices, first.error, first.allowHuge};
        TiffReader reader = {reading};
        reader.file.lowFirst = file.lowFirst;
        reader.file.wide = file.wide;
        const std::string page = "page " + std::to_string(i + 1) + ": ";
        const bool done = TakeDirectory(reader.file, pages[i], reader.directory) && ReadPage(reader) &&
                          (first.asStored || TurnUpright(picture, first.error));
        if (!done) return Fail(first.error, page + first.error);
        pixels += int64_t(picture.width) * picture.height;
        if (pixels > MOST_PIXELS && !first.allowHuge) {
            return Fail(first.error,
                        "its pages have more than 512 megapixels together, which is only done when asked for");
        }
        for (const std::string &notice : notices) {
            const auto known = std::find(first.notices.begin(), first.notices.end(), notice);
            if (known == first.notices.end()) first.notices.push_back(notice);
        }
        first.further->push_back(std::move(picture));
    }
    return true;
}

bool ReadTiff(Reading &reading)
{
    TiffReader reader = {reading};
    if (!OpenTiff(reader.file)) return false;
    const TiffPages pages = PagesOf(reader.file, reader.file.first);
    const size_t wanted = size_t(std::max(reading.page, 1)), count = pages.at.size();
    if (wanted > count) {
        return Fail(reading.error, "has " + std::to_string(count) + (count == 1 ? " page" : " pages") + ", not " +
                                       std::to_string(wanted));
    }
    if (!TakeDirectory(reader.file, pages.at[wanted - 1], reader.directory) || !ReadPage(reader)) return false;
    reading.picture.extras.shape.pages = int(count);
    if (wanted == 1) TakeNote(reader, reading.note);
    TellLeftOutPages(pages, reading.notices);
    if (count == 1 || reading.page > 0) return true;
    if (reading.note && !reading.note->empty()) return true;   // who asked for it reads the pages by what it says
    if (reading.further) return ReadFurtherPages(reading, reader.file, pages.at);
    reading.notices.push_back(ONLY_THE_FIRST);
    return true;
}
