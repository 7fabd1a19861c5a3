// EXIF data: the directories of fields that cameras and programs write, taken apart and put together, whether they stand
// as a block of their own (JPEG, PNG, WebP) or in a TIFF file's directory. What must not outlive a change of the picture
// is left out: the small picture, previews among a maker's notes, places in the old file.
//
// A block is not trusted: what it says is held against its length, and fields never take more memory than it has bytes.

#pragma once

#include "host/documents/files/tiff_fields.h"

#include <span>

enum ExifTag {
    EXIF_CHANGED = 0x0132,   // when the picture was last changed
    EXIF_DESCRIPTION = 0x010E,
    EXIF_MAKE = 0x010F,
    EXIF_MODEL = 0x0110,
    EXIF_SOFTWARE = 0x0131,
    EXIF_ARTIST = 0x013B,
    EXIF_SMALL_PICTURE = 0x0201,
    EXIF_SMALL_PICTURE_BYTES = 0x0202,
    EXIF_COPYRIGHT = 0x8298,
    EXIF_FIELDS = 0x8769,
    EXIF_GPS_FIELDS = 0x8825,
    EXIF_PACKED_BITS = 0x9102,
    EXIF_MAKER_NOTE = 0x927C,
    EXIF_WIDTH = 0xA002,
    EXIF_HEIGHT = 0xA003,
    EXIF_INTEROPERABILITY = 0xA005
};

struct ExifField {
    int tag = 0, type = 0;   // a TiffType of at most 12
    Bytes bytes = {};        // in the block's order
    uint64_t at = 0;         // where they stood
};
typedef std::vector<ExifField> ExifFields;

struct Exif {
    bool lowFirst = true;
    ExifFields picture = {}, camera = {}, place = {}, interoperability = {};
    bool smallPicture = false;   // there was one; it is not kept
    bool preview = false;        // something else held one, and was left out
};

// False when it is none, or has no field.
bool TakeExif(std::span<const uint8_t> block, Exif &exif);
// From the first directory of a TIFF file, of which fields about how it is stored are left out. `others` are the tags
// of those that are not known here.
void TakeExif(TiffFile &file, const TiffDirectory &directory, Exif &exif, std::vector<int> &others);
// The block, with a small picture (a whole JPEG file) or without. A maker's note, whose numbers may be places in the
// block, stands where it stood or is left out, and then `noteDropped`.
Bytes ExifBlock(const Exif &exif, std::span<const uint8_t> smallPicture, bool &noteDropped);
// The same fields as a TIFF file's own: entries of its first directory; those of others are added to `bytes`, which
// stand at `fileAt` of a file of low bytes first. A maker's note is left out.
std::vector<TiffEntry> ExifEntries(const Exif &exif, Bytes &bytes, uint64_t fileAt, bool &noteDropped);

const ExifField *FieldOf(const ExifFields &fields, int tag);
// `otherwise` when there is none.
uint32_t NumberOf(const Exif &exif, const ExifFields &fields, int tag, uint32_t otherwise);
double FractionOf(const Exif &exif, const ExifFields &fields, int tag);
// Gives a field that is there another number; does nothing when it is missing.
void ChangeNumber(const Exif &exif, ExifFields &fields, int tag, uint32_t number);
void ChangeFraction(const Exif &exif, ExifFields &fields, int tag, double value);
// Puts a field in its place, or adds it.
void SetNumber(const Exif &exif, ExifFields &fields, int tag, int type, uint32_t number);
void SetText(ExifFields &fields, int tag, const std::string &text);
void DropField(ExifFields &fields, int tag);
