// The container of TIFF files: directories of fields, each a tag with its values, for files of 32 and of 64 bits and
// either order of bytes. Read at any place of a file, and written. What the fields mean for a picture stands in
// tiff.cpp, what its samples mean in tiff_samples.cpp.
//
// A directory keeps where values are, not the values: those are fetched as they are asked for, as many as wanted and
// never more than the file has.

#pragma once

#include "host/documents/files/bytes.h"
#include "host/documents/files/formats.h"

enum TiffTag {
    TIFF_KIND = 254,   // of a page
    TIFF_WIDTH = 256,
    TIFF_HEIGHT = 257,
    TIFF_BITS = 258,
    TIFF_COMPRESSION = 259,
    TIFF_PHOTOMETRIC = 262,
    TIFF_FILL_ORDER = 266,
    TIFF_STRIPS = 273,
    TIFF_ORIENTATION = 274,
    TIFF_SAMPLES = 277,
    TIFF_STRIP_ROWS = 278,
    TIFF_STRIP_BYTES = 279,
    TIFF_X_RESOLUTION = 282,
    TIFF_Y_RESOLUTION = 283,
    TIFF_LAYOUT = 284,
    TIFF_FAX3_OPTIONS = 292,
    TIFF_FAX4_OPTIONS = 293,
    TIFF_RESOLUTION_UNIT = 296,
    TIFF_PAGE_NUMBER = 297,
    TIFF_TRANSFER = 301,
    TIFF_PREDICTOR = 317,
    TIFF_WHITE_POINT = 318,
    TIFF_PRIMARIES = 319,
    TIFF_COLOUR_MAP = 320,
    TIFF_TILE_WIDTH = 322,
    TIFF_TILE_HEIGHT = 323,
    TIFF_TILES = 324,
    TIFF_TILE_BYTES = 325,
    TIFF_FURTHER = 330,   // where copies of the picture are
    TIFF_EXTRA_SAMPLES = 338,
    TIFF_SAMPLE_FORMAT = 339,
    TIFF_JPEG_TABLES = 347,
    TIFF_SUBSAMPLING = 530,
    TIFF_REFERENCE = 532,
    TIFF_XMP = 700,
    TIFF_IPTC = 33723,
    TIFF_RESOURCES = 34377,
    TIFF_EXIF_FIELDS = 34665,
    TIFF_PROFILE = 34675,
    TIFF_NOTE = 65010,   // of this project: what the pages of a file are. From 65000 on tags are free to all
};
enum TiffType {
    TIFF_BYTES = 1,
    TIFF_TEXT = 2,
    TIFF_SHORTS = 3,
    TIFF_LONGS = 4,
    TIFF_FRACTIONS = 5,
    TIFF_PLAIN_BYTES = 7,
    TIFF_PLACES = 13,
    TIFF_WIDE = 16,
    TIFF_WIDE_PLACES = 18
};
size_t BytesOfType(int type);                                       // of one value; 0 for a type that is not known
enum { NO_UNIT = 1, INCHES = 2, CENTIMETRES = 3 };                  // of TIFF_RESOLUTION_UNIT
enum { SMALL_COPY = 1, ONE_OF_SEVERAL = 2, MASK_OF_ANOTHER = 4 };   // of TIFF_KIND
// Strips or tiles along an edge.
inline uint32_t TiffPartsIn(uint64_t whole, uint64_t part) { return uint32_t((whole + part - 1) / part); }

//---- Reading

struct TiffField {
    uint16_t tag = 0, type = 0;
    uint64_t count = 0;   // values
    uint64_t at = 0;      // of the first, in the file
};

struct TiffDirectory {
    std::vector<TiffField> fields = {};   // of known types, whose values the file has
    uint64_t at = 0;                      // where it is
    uint64_t next = 0;                    // where the next directory is; 0 for none
};

// A file on its way in: its source can be read at any place.
struct TiffFile {
    Reading &reading;
    bool lowFirst = true;
    bool wide = false;    // places and counts of 64 bits
    uint64_t first = 0;   // where the first directory is
    Bytes window = {};    // a part of the file that single values are taken from
    uint64_t windowAt = 0;
};

// Makes the source readable at any place and takes the header. False with a line.
bool OpenTiff(TiffFile &file);
// The directory at a place. False with a line when the file has not got all of it. Directories may follow each other in
// a circle: who goes through them counts.
bool TakeDirectory(TiffFile &file, uint64_t at, TiffDirectory &directory);
// The same for metadata: fields that the file has not got are left out, and where no directory is there are none.
void TakeSoundFields(TiffFile &file, uint64_t at, TiffDirectory &directory);
// Null when there is none.
const TiffField *FieldOf(const TiffDirectory &directory, int tag);
// Up to `count` whole numbers from the one at `first` on; fewer where the field has no more, none where it has others.
std::vector<uint64_t> TakeNumbers(TiffFile &file, const TiffField &field, uint64_t first, uint64_t count);
// The first number of a field; `otherwise` when there is none.
uint64_t TakeNumber(TiffFile &file, const TiffDirectory &directory, int tag, uint64_t otherwise);
// 0 when there is none.
double TakeFraction(TiffFile &file, const TiffDirectory &directory, int tag);
// A field's bytes as they stand in the file, at most `most`; empty when there are more, or none.
Bytes TakeBytes(TiffFile &file, const TiffField &field, size_t most);

//---- Writing

struct TiffEntry {
    int tag = 0, type = 0;
    std::vector<uint64_t> numbers = {};   // of fractions two each
    Bytes bytes = {};                     // instead of numbers: values in the file's own order of bytes
};

// Numbers in the order and the width of a file.
struct TiffForm {
    bool lowFirst = true, wide = false;
};
// The first bytes of a file, with the place of its first directory.
Bytes TiffHeader(const TiffForm &form, uint64_t first);
// Adds a directory to what stands at `fileAt` of the file, with its entries in the order of their tags, the values
// behind them, and no directory to follow.
void AddDirectory(Bytes &bytes, const TiffForm &form, uint64_t fileAt, std::vector<TiffEntry> entries);
