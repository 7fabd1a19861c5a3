// Makes pictures for files of any format to be read into, moves rows between packed samples and pixels, and finds
// what a picture needs of a format when it is saved. Tells what got lost on the way. Reads and writes no file, and
// has no rule that holds for one format alone.

#include "host/documents/files/type_rules.h"

#include "host/documents/files/words.h"

#include "host/api/host_api.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <mutex>

static const int64_t LONGEST_EDGE = 1000000;
static const int64_t LARGEST_PLANE = 0x7FFFFFFF;
static const int64_t LONGEST_UNASKED_EDGE = 32767, MOST_UNASKED_PIXELS = 512'000'000;

static size_t PixelBytes(int bits, int32_t width) { return (size_t(bits) * size_t(width) + 7) / 8; }

//---- Starting and finishing pictures

static bool SizeFits(int64_t width, int64_t height, int bits, std::string &error)
{
    const std::string size = std::to_string(width) + " x " + std::to_string(height) + " pixels";
    if (width < 1 || height < 1) {
        error = "there is no picture of " + size;
        return false;
    }
    if (width > LONGEST_EDGE || height > LONGEST_EDGE ||
        int64_t(RowStride(bits, int32_t(width))) * height > LARGEST_PLANE) {
        error = size + " are more than can be opened";
        return false;
    }
    return true;
}

static bool MayBeOpened(int64_t width, int64_t height, bool allowHuge, std::string &error)
{
    if (allowHuge) return true;
    if (width <= LONGEST_UNASKED_EDGE && height <= LONGEST_UNASKED_EDGE && width * height <= MOST_UNASKED_PIXELS) {
        return true;
    }
    error = std::to_string(width) + " x " + std::to_string(height) +
            " pixels: beyond 32767 an edge or 512 megapixels a picture is opened only with --allow-huge";
    return false;
}

// Undo steps are not given up for a picture that does not fit even so: what is there is looked at before. Pictures that
// are read side by side do so one after the other.
static bool NewPlane(int bits, int32_t width, int32_t height, PlaneBytes &plane, std::string &error)
{
    static std::mutex lock;
    const std::lock_guard guard(lock);
    const uint32_t bytes = uint32_t(RowStride(bits, width)) * uint32_t(height);
    if (HostMemoryHolds(1, bytes)) plane.reset(static_cast<uint8_t *>(HostTryAllocate(bytes)));
    if (plane) return true;
    error = "there is not enough memory for its " + std::to_string(width) + " x " + std::to_string(height) + " pixels";
    return false;
}

static void SetOwnPalette(Picture &picture)
{
    picture.paletteEntries = picture.colourType == GREY ? 256 : picture.colourType == ONE_BIT ? 2 : 0;
    for (int i = 0; i < 256; ++i) {
        const int value = picture.colourType == GREY ? i : picture.colourType == ONE_BIT && i == 1 ? 255 : 0;
        picture.red[i] = picture.green[i] = picture.blue[i] = uint8_t(value);
    }
}

bool StartPicture(Picture &picture, int32_t colourType, int64_t width, int64_t height, bool allowHuge,
                  std::string &error)
{
    const int bits = colourType == RGB ? 24 : colourType == ONE_BIT ? 1 : 8;
    if (!SizeFits(width, height, bits, error) || !MayBeOpened(width, height, allowHuge, error)) return false;
    picture.width = int32_t(width);
    picture.height = int32_t(height);
    picture.bitsPerPixel = bits;
    picture.colourType = colourType;
    SetOwnPalette(picture);
    return NewPlane(bits, picture.width, picture.height, picture.pixels, error);
}

bool StartMask(Picture &picture, std::string &error)
{
    if (!SizeFits(picture.width, picture.height, 8, error)) return false;
    picture.maskBitsPerPixel = 8;
    return NewPlane(8, picture.width, picture.height, picture.mask, error);
}

static bool EntryIs(const FilePalette &palette, int i, int value)
{
    return palette.red[i] == value && palette.green[i] == value && palette.blue[i] == value;
}

static bool IsRamp(const FilePalette &palette)
{
    for (int i = 0; i < 256; ++i) {
        if (!EntryIs(palette, i, i)) return false;
    }
    return palette.entries == 256;
}

static int32_t TypeOfPalette(const FilePalette &palette, int bits)
{
    if (bits == 8) return IsRamp(palette) ? GREY : PALETTE;
    const bool blackWhite = EntryIs(palette, 0, 0) && EntryIs(palette, 1, 255);
    const bool whiteBlack = EntryIs(palette, 0, 255) && EntryIs(palette, 1, 0);
    return bits == 1 && palette.entries == 2 && (blackWhite || whiteBlack) ? ONE_BIT : PALETTE;
}

bool StartPalettePicture(Picture &picture, const FilePalette &palette, int bits, int64_t width, int64_t height,
                         bool allowHuge, std::string &error)
{
    const int32_t type = picture.extras.paletteAlpha.empty() ? TypeOfPalette(palette, bits) : PALETTE;
    if (!StartPicture(picture, type, width, height, allowHuge, error)) return false;
    if (type == ONE_BIT) picture.extras.whiteIsZero = palette.red[0] != 0;
    if (type != PALETTE) return true;
    picture.extras.wasOneBit = bits == 1;
    picture.paletteEntries = std::clamp(palette.entries, 1, 256);
    const size_t count = size_t(picture.paletteEntries);
    memcpy(picture.red, palette.red, count);
    memcpy(picture.green, palette.green, count);
    memcpy(picture.blue, palette.blue, count);
    return true;
}

static int HighestIndex(const Picture &picture)
{
    uint8_t highest = 0;
    for (int32_t y = 0; y < picture.height && highest < 255; ++y) {
        const uint8_t *row = RowAt(picture, y);
        for (int32_t x = 0; x < picture.width; ++x) highest = std::max(highest, row[x]);
    }
    return highest;
}

void FinishPalettePicture(Picture &picture, Notices &notices)
{
    if (picture.colourType != PALETTE || picture.paletteEntries == 256) return;
    const int named = HighestIndex(picture) + 1;
    if (named <= picture.paletteEntries) return;
    notices.push_back("pixels name colour " + std::to_string(named - 1) + " of a palette of " +
                      std::to_string(picture.paletteEntries) + ": the missing colours are black");
    picture.paletteEntries = named;
}

void TrimPalette(Picture &picture)
{
    if (picture.colourType != PALETTE) return;
    const int named = HighestIndex(picture) + 1;
    int &entries = picture.paletteEntries;
    while (entries > named && !picture.red[entries - 1] && !picture.green[entries - 1] && !picture.blue[entries - 1]) {
        --entries;
    }
}

//---- Rows in

static uint8_t *FillableRow(uint8_t *plane, int bits, int32_t width, int32_t y)
{
    const int32_t stride = RowStride(bits, width);
    uint8_t *row = plane + ptrdiff_t(stride) * y;
    memset(row + stride - 4, 0, 4);
    return row;
}

uint8_t *RowToFill(Picture &picture, int32_t y)
{
    return FillableRow(picture.pixels.get(), picture.bitsPerPixel, picture.width, y);
}

uint8_t *MaskRowToFill(Picture &picture, int32_t y)
{
    return FillableRow(picture.mask.get(), picture.maskBitsPerPixel, picture.width, y);
}

const uint8_t *RowAt(const Picture &picture, int32_t y)
{
    return picture.pixels.get() + ptrdiff_t(RowStride(picture.bitsPerPixel, picture.width)) * y;
}

void TurnOver(uint8_t *bytes, size_t count)
{
    for (size_t i = 0; i < count; ++i) bytes[i] = uint8_t(~bytes[i]);
}

static void Unpack(const uint8_t *packed, int bits, int32_t count, int scale, uint8_t *row)
{
    const int mask = (1 << bits) - 1;
    for (int32_t x = 0; x < count; ++x) {
        const int32_t bit = x * bits;
        row[x] = uint8_t((packed[bit >> 3] >> (8 - bits - (bit & 7)) & mask) * scale);
    }
}

void PutPacked(const Picture &picture, const uint8_t *packed, int bits, int32_t count, uint8_t *row)
{
    const bool oneBit = picture.colourType == ONE_BIT, grey = picture.colourType == GREY;
    assert((!oneBit || bits == 1) && "one-bit pictures come from one-bit files");
    const size_t bytes = PixelBytes(oneBit ? 1 : 8, count);
    if (oneBit || bits == 8) memcpy(row, packed, bytes);
    else Unpack(packed, bits, count, grey ? 255 / ((1 << bits) - 1) : 1, row);
    if (picture.extras.whiteIsZero && (oneBit || grey)) TurnOver(row, bytes);
    if (oneBit && count % 8) row[bytes - 1] = uint8_t(row[bytes - 1] & 0xFF00 >> count % 8);
}

void SwapRedBlue(const uint8_t *from, uint8_t *to, int32_t count)
{
    for (int32_t x = 0; x < count; ++x) {
        const uint8_t first = from[3 * x], second = from[3 * x + 1], third = from[3 * x + 2];
        to[3 * x] = third;
        to[3 * x + 1] = second;
        to[3 * x + 2] = first;
    }
}

void SplitAlpha(const uint8_t *redGreenBlueAlpha, int32_t count, uint8_t *row, uint8_t *mask)
{
    for (int32_t x = 0; x < count; ++x) {
        const uint8_t *from = redGreenBlueAlpha + 4 * size_t(x);
        row[3 * x] = from[2];
        row[3 * x + 1] = from[1];
        row[3 * x + 2] = from[0];
        mask[x] = from[3];
    }
}

void Unmultiply(uint8_t *row, const uint8_t *mask, int32_t count, int channels)
{
    for (int32_t x = 0; x < count; ++x) {
        const int alpha = mask[x];
        for (int c = 0; alpha > 0 && c < channels; ++c) {
            uint8_t &value = row[x * channels + c];
            value = uint8_t(std::min(255, (value * 255 + alpha / 2) / alpha));
        }
    }
}

void PutInks(const uint8_t *inks, int32_t count, int inksPerPixel, uint8_t *row)
{
    for (int32_t x = 0; x < count; ++x, inks += inksPerPixel) {
        for (int c = 0; c < 3; ++c) { row[3 * x + 2 - c] = uint8_t(((255 - inks[c]) * (255 - inks[3]) + 127) / 255); }
    }
}

//---- Rows out

int BitsForSaving(const Picture &picture)
{
    if (picture.colourType != PALETTE) return picture.bitsPerPixel;
    return picture.extras.wasOneBit && HighestIndex(picture) <= 1 ? 1 : 8;
}

int32_t EntriesForSaving(const Picture &picture)
{
    return std::clamp(std::max(picture.paletteEntries, HighestIndex(picture) + 1), 1, 256);
}

int FewestBits(const Picture &picture)
{
    int bits = picture.extras.shape.bits;
    if (bits != 1 && bits != 2 && bits != 4) return 8;
    if (picture.colourType == PALETTE) {
        const int32_t entries = EntriesForSaving(picture);
        while (bits < 8 && entries > 1 << bits) bits *= 2;
        return bits;
    }
    for (int32_t y = 0; y < picture.height && bits < 8; ++y) {
        const uint8_t *row = RowAt(picture, y);
        for (int32_t x = 0; x < picture.width && bits < 8; ++x)
            while (bits < 8 && row[x] % (255 / ((1 << bits) - 1))) bits *= 2;
    }
    return bits;
}

const uint8_t *PackedRow(const Picture &picture, int32_t y, int bits, std::vector<uint8_t> &room)
{
    const uint8_t *row = RowAt(picture, y);
    if (bits == picture.bitsPerPixel) return row;
    room.assign(size_t(RowStride(bits, picture.width)), 0);
    const int step = picture.colourType == GREY ? 255 / ((1 << bits) - 1) : 1, most = (1 << bits) - 1;
    for (int32_t x = 0; x < picture.width; ++x) {
        const size_t bit = size_t(x) * size_t(bits);
        room[bit / 8] |= uint8_t((row[x] / step & most) << (8 - bits - int(bit % 8)));
    }
    return room.data();
}

void ColourRow(const Picture &picture, int32_t y, uint8_t *redGreenBlue)
{
    const uint8_t *row = RowAt(picture, y);
    if (picture.colourType == RGB) {
        SwapRedBlue(row, redGreenBlue, picture.width);
        return;
    }
    for (int32_t x = 0; x < picture.width; ++x) {
        const int index = picture.bitsPerPixel == 1 ? BitAt(row, x) : row[x];
        redGreenBlue[3 * x] = picture.red[index];
        redGreenBlue[3 * x + 1] = picture.green[index];
        redGreenBlue[3 * x + 2] = picture.blue[index];
    }
}

void GreyRow(const Picture &picture, int32_t y, uint8_t *greys)
{
    const uint8_t *row = RowAt(picture, y);
    if (picture.bitsPerPixel == 8) memcpy(greys, row, size_t(picture.width));
    else Unpack(row, 1, picture.width, 255, greys);
}

void AlphaRow(const Picture &picture, int32_t y, uint8_t *alpha)
{
    const uint8_t *row = picture.mask.get() + ptrdiff_t(RowStride(picture.maskBitsPerPixel, picture.width)) * y;
    if (picture.maskBitsPerPixel == 8) memcpy(alpha, row, size_t(picture.width));
    else Unpack(row, 1, picture.width, 255, alpha);
}

//---- What is told

// What sRGB's own numbers are, in the file's words: as every program takes colours of which nothing is said.
static bool SaysSrgb(const Bytes &chunk)
{
    static const uint32_t PRIMARIES[] = {31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000};
    const auto within = [&chunk](size_t at, uint32_t number, uint32_t most) {
        const uint32_t own = High32(chunk.data() + at);
        return own + most >= number && own <= number + most;
    };
    const std::string type(chunk.begin(), chunk.begin() + 4);
    if (type == "gAMA") return within(4, 45455, 500);
    if (type == "cICP") return chunk[4] == 1 && chunk[5] == 13;
    if (type == "mDCV") return false;
    for (size_t i = 0; type == "cHRM" && i < 8; ++i)
        if (!within(4 + 4 * i, PRIMARIES[i], 100)) return false;
    return true;
}

// Other than that they are usual ones. Who knows more than the others is asked first: cICP, then sRGB.
static bool TellsColours(const PictureExtras &extras)
{
    const auto find = [&extras](const char *type) {
        return std::find_if(extras.colourChunks.begin(), extras.colourChunks.end(),
                            [type](const Bytes &chunk) { return memcmp(chunk.data(), type, 4) == 0; });
    };
    if (const auto codes = find("cICP"); codes != extras.colourChunks.end()) return !SaysSrgb(*codes);
    if (find("sRGB") != extras.colourChunks.end()) return false;
    return !std::all_of(extras.colourChunks.begin(), extras.colourChunks.end(), SaysSrgb);
}

const char *NameOfType(int32_t colourType)
{
    return colourType == ONE_BIT ? "1-bit" : colourType == GREY ? "grey" : colourType == PALETTE ? "palette" : "RGB";
}

// The texts that the format has no place for.
static std::string NamesOfTexts(const PictureExtras &extras, unsigned kept)
{
    std::string names;
    for (const FileText &text : extras.texts) {
        if (kept & KEEPS_TEXTS || (kept & KEEPS_COMMENT && IsComment(text))) continue;
        if (("," + names + ",").find(", " + text.name + ",") != std::string::npos || names == text.name) continue;
        names += (names.empty() ? "" : ", ") + text.name;
    }
    return names;
}

void TellLeftOut(const Picture &picture, const char *format, unsigned kept, Notices &notices)
{
    const PictureExtras &extras = picture.extras;
    const std::string texts = NamesOfTexts(extras, kept);
    const struct {
        bool there;
        unsigned flag;
        std::string what;
        bool several;
    } parts[] = {
        {picture.mask != nullptr, KEEPS_MASK, "mask", false},
        {!extras.colourProfile.empty(), KEEPS_PROFILE, "colour profile", false},
        {TellsColours(extras), KEEPS_COLOUR_CHUNKS, "meaning of its colours", false},
        {!extras.exif.empty(), KEEPS_EXIF, "EXIF data", true},
        {!extras.xmp.empty(), KEEPS_XMP, "XMP data", true},
        {!extras.iptc.empty(), KEEPS_IPTC, "IPTC data", true},
        {extras.dotsPerInchX > 0 && extras.dotsPerInchY > 0, KEEPS_RESOLUTION, "resolution", false},
        {extras.aspectX != extras.aspectY, KEEPS_ASPECT, "shape of its pixels", false},
        {!extras.background.empty(), KEEPS_BACKGROUND, "background colour", false},
        {!extras.place.empty(), KEEPS_PLACE, "place on a page", false},
        {picture.colourType == PALETTE && !extras.paletteAlpha.empty(), KEEPS_PALETTE_ALPHA, "palette's alpha", false},
        {!texts.empty(), KEEPS_TEXTS, "texts (" + texts + ")", true},
    };
    std::vector<std::string> named;
    bool several = false;
    for (const auto &part : parts) {
        if (!part.there || kept & part.flag) continue;
        named.push_back("the " + part.what);
        several = part.several || named.size() > 1;
    }
    if (named.empty()) return;
    std::string line;
    for (size_t i = 0; i < named.size(); ++i) line += (i == 0 ? "" : i + 1 == named.size() ? " and " : ", ") + named[i];
    const char *article = picture.colourType == RGB ? "an " : "a ";
    notices.push_back(line + (several ? " are" : " is") + " not stored: " + article + NameOfType(picture.colourType) +
                      " picture in a " + format + " file has no place for " + (several ? "them" : "it"));
}
