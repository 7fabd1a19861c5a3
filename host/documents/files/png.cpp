// PNG: what the samples and chunks of a file mean for a picture, and the chunks that a picture becomes. The container
// is png_chunks.cpp's, packing and unpacking a codec's (see codecs.h). Interlaced files are put together here where
// the codec hands them over in parts, so that one with an alpha channel needs no room beside the planes.

#include "host/documents/files/codecs.h"
#include "host/documents/files/deflate.h"
#include "host/documents/files/iptc.h"
#include "host/documents/files/kept.h"
#include "host/documents/files/words.h"

#include <algorithm>
#include <cmath>
#include <cstring>

static const uint32_t MOST_GROWTH = 1032;   // bytes that a packed byte can become
static const size_t LONGEST_PROFILE = 16 * 1024 * 1024;
static const size_t LONGEST_TEXT = 8 * 1024 * 1024;   // unpacked; of all texts together
static const char XMP_NAME[] = "XML:com.adobe.xmp";
static const char RAW_NAME[] = "Raw profile type ";   // how other programs keep what had no chunk of its own

//---- Profiles

// A profile that goes with grey, or with colours: whole, and for the right kind of pixels.
static bool ProfileFits(const Bytes &profile, bool grey)
{
    if (profile.size() < 132 || High32(profile.data()) != profile.size()) return false;
    if (memcmp(profile.data() + 36, "acsp", 4) != 0 || memcmp(profile.data() + 16, grey ? "GRAY" : "RGB ", 4) != 0) {
        return false;
    }
    const uint64_t parts = High32(profile.data() + 128);
    if (132 + 12 * parts > profile.size()) return false;
    for (size_t i = 0; i < parts; ++i) {
        const uint8_t *part = profile.data() + 132 + 12 * i;
        if (uint64_t(High32(part + 4)) + High32(part + 8) > profile.size()) return false;
    }
    return true;
}

// A name of at most 79 letters that ends with a zero, the way of packing, the packed profile.
static bool ProfileOf(const PngChunk &chunk, bool grey, Bytes &profile)
{
    const Bytes &bytes = chunk.bytes;
    const size_t name = size_t(std::find(bytes.begin(), bytes.end(), 0) - bytes.begin());
    if (name < 1 || name > 79 || name + 2 > bytes.size() || bytes[name + 1] != 0) return false;
    return Inflate({bytes.data() + name + 2, bytes.size() - name - 2}, LONGEST_PROFILE, profile) &&
           ProfileFits(profile, grey);
}

//---- Reading: what the chunks tell

struct PngReader {
    Reading &reading;
    PngFile file = {reading};
    uint32_t key[3] = {};   // the colour that counts as transparent
    bool hasKey = false;
    int32_t rowsDone = 0;
    Bytes narrow = {};           // samples of 16 bits as bytes
    Bytes row = {}, mask = {};   // a part of a row of an interlaced file
};

static bool IsGrey(const PngHeader &header) { return !(header.colours & PNG_HAS_COLOUR); }

static void TakeTransparency(PngReader &reader)
{
    const PngHeader &header = reader.file.header;
    const PngChunk *chunk = FindChunk(reader.file, "tRNS");
    if (!chunk) return;
    const Bytes &bytes = chunk->bytes;
    if (header.colours == PNG_PALETTE) {
        const size_t count = std::min(bytes.size(), size_t(reader.file.palette.entries));
        reader.reading.picture.extras.paletteAlpha.assign(bytes.begin(), bytes.begin() + ptrdiff_t(count));
    } else if (!(header.colours & PNG_HAS_ALPHA) && bytes.size() == (IsGrey(header) ? 2u : 6u)) {
        reader.hasKey = true;
        for (size_t i = 0; i < bytes.size() / 2; ++i) reader.key[i] = High16(bytes.data() + 2 * i);
    }
}

static void TakeProfile(PngReader &reader)
{
    const PngChunk *chunk = FindChunk(reader.file, "iCCP");
    Bytes &profile = reader.reading.picture.extras.colourProfile;
    if (!chunk || ProfileOf(*chunk, IsGrey(reader.file.header), profile)) return;
    profile.clear();
    reader.reading.notices.push_back("the colour profile is damaged and left out");
}

// A name of at most 79 letters that ends with a zero; what stands behind it.
static bool TakeName(std::span<const uint8_t> &bytes, std::string &name)
{
    const size_t end = size_t(std::find(bytes.begin(), bytes.end(), 0) - bytes.begin());
    if (end == bytes.size()) return false;
    name.assign(bytes.begin(), bytes.begin() + ptrdiff_t(end));
    bytes = bytes.subspan(end + 1);
    return true;
}

// A text of any of the three kinds. `room` is what texts may still take.
static bool TextOf(const PngChunk &chunk, size_t room, FileText &text)
{
    std::span<const uint8_t> bytes = chunk.bytes;
    if (!TakeName(bytes, text.name) || text.name.empty() || text.name.size() > 79) return false;
    const bool wide = Is(chunk, "iTXt");
    bool packed = Is(chunk, "zTXt");
    if (packed || wide) {
        if (bytes.size() < (wide ? 2u : 1u) || bytes[wide ? 1 : 0] != 0) return false;
        packed = packed || bytes[0] != 0;
        bytes = bytes.subspan(wide ? 2 : 1);
    }
    std::string ignored;   // the language, and the name in it
    if (wide && (!TakeName(bytes, ignored) || !TakeName(bytes, ignored))) return false;
    Bytes plain(bytes.begin(), bytes.end());
    if (packed && !Inflate(bytes, room, plain)) return false;
    if (plain.size() > room) return false;
    text.text = TextInUtf8(plain);
    return true;
}

// A name, how many bytes, and those in hexadecimal digits, apart by line ends.
static Bytes RawProfile(const std::string &text)
{
    size_t at = text.find_first_not_of('\n');
    at = at == std::string::npos ? at : text.find('\n', at);
    if (at == std::string::npos) return {};
    char *end;
    const unsigned long count = strtoul(text.c_str() + at, &end, 10);
    Bytes bytes;
    int high = -1;
    for (at = size_t(end - text.c_str()); at < text.size(); ++at) {
        const char letter = char(text[at] | 0x20);
        const int digit = letter >= 'a' && letter <= 'f'       ? letter - 'a' + 10
                          : text[at] >= '0' && text[at] <= '9' ? text[at] - '0'
                                                               : -1;
        if (digit < 0) continue;
        if (high >= 0) bytes.push_back(uint8_t(high << 4 | digit));
        high = high >= 0 ? -1 : digit;
    }
    return bytes.size() == count ? bytes : Bytes();
}

// What other programs have put into a text: it is no text, and is kept by its own name.
static bool TakeRawProfile(const FileText &text, PictureExtras &extras, ResourcesLeft &left)
{
    const std::string kind = text.name.substr(sizeof RAW_NAME - 1);
    Bytes bytes = RawProfile(text.text);
    static const char mark[] = {'E', 'x', 'i', 'f', 0, 0};
    const bool exif = bytes.size() > sizeof mark && memcmp(bytes.data(), mark, sizeof mark) == 0;
    if (kind == "xmp" && extras.xmp.empty()) extras.xmp = std::move(bytes);
    else if ((kind == "exif" || kind == "APP1") && exif && extras.exif.empty()) {
        extras.exif.assign(bytes.begin() + sizeof mark, bytes.end());
    } else if (kind == "iptc" || kind == "8bim") {
        const bool wrapped = bytes.size() > 12 && memcmp(bytes.data(), "8BIM", 4) == 0;
        const Bytes iptc = wrapped ? IptcOfResources(bytes, left) : kind == "iptc" ? bytes : Bytes();
        if (extras.iptc.empty()) extras.iptc = iptc;
        return !bytes.empty();
    } else return false;
    return true;
}

static bool IsPrintable(const std::string &name)
{
    return !name.empty() && name.size() <= 79 &&
           std::all_of(name.begin(), name.end(), [](char letter) { return letter >= ' ' && letter < 0x7F; });
}

static void TakeTexts(PngReader &reader)
{
    PictureExtras &extras = reader.reading.picture.extras;
    size_t room = LONGEST_TEXT;
    ResourcesLeft left;
    std::vector<std::string> leftOut;
    for (const PngChunk &chunk : reader.file.chunks) {
        if (!Is(chunk, "tEXt") && !Is(chunk, "zTXt") && !Is(chunk, "iTXt")) continue;
        FileText text;
        if (!TextOf(chunk, room, text)) {
            leftOut.push_back(text.name);
            continue;
        }
        room -= text.text.size();
        if (text.name == XMP_NAME) extras.xmp.assign(text.text.begin(), text.text.end());
        else if (!text.name.starts_with(RAW_NAME)) extras.texts.push_back(std::move(text));
        else if (!TakeRawProfile(text, extras, left)) leftOut.push_back(text.name);
    }
    TellResourcesLeft(left, reader.reading.notices);
    if (leftOut.empty()) return;
    std::string names;
    for (const std::string &name : leftOut)
        if (IsPrintable(name)) names += (names.empty() ? ": " : ", ") + name;
    reader.reading.notices.push_back("texts that are damaged or not known here are left out" + names);
}

// What sample values mean, in other words than a profile's.
static void TakeColourChunks(PngReader &reader)
{
    static const struct {
        const char *type;
        size_t bytes;
    } kinds[] = {{"gAMA", 4}, {"cHRM", 32}, {"sRGB", 1}, {"cICP", 4}, {"mDCV", 24}};
    for (const auto &kind : kinds) {
        const PngChunk *chunk = FindChunk(reader.file, kind.type);
        if (!chunk || chunk->bytes.size() != kind.bytes) continue;
        Bytes &kept = reader.reading.picture.extras.colourChunks.emplace_back(kind.type, kind.type + 4);
        AddBytes(kept, chunk->bytes.data(), chunk->bytes.size());
    }
}

// How many bits of a sample are ones that a picture once had; where that is all there are nothing is said.
static bool SaysNothing(const PngHeader &header, const Bytes &bits)
{
    const int all = header.colours == PNG_PALETTE ? 8 : std::min(header.bits, 8);
    return std::all_of(bits.begin(), bits.end(), [=](uint8_t one) { return one >= all; });
}

// What holds for other pixels than the file's, or is not known here, is not kept.
static void TellLeftOut(const PngReader &reader, Notices &notices)
{
    static const char *const taken[] = {"iCCP", "tEXt", "zTXt", "iTXt", "tIME", "eXIf", "tRNS", "gAMA", "cHRM",
                                        "sRGB", "cICP", "mDCV", "bKGD", "oFFs", "acTL", "fcTL", "fdAT"};
    std::string names;
    for (const PngChunk &chunk : reader.file.chunks) {
        const std::string name(chunk.type, 4);
        if (std::find(std::begin(taken), std::end(taken), name) != std::end(taken)) continue;
        if (name == "sBIT" && SaysNothing(reader.file.header, chunk.bytes)) continue;
        if (name == "pHYs" && chunk.bytes.size() == 9 && chunk.bytes[8] <= 1) continue;
        if (names.find(name) == std::string::npos) names += (names.empty() ? "" : ", ") + name;
    }
    if (names.empty()) return;
    notices.push_back("parts of the file that do not hold for other pixels or are not known here are left out: " +
                      names);
}

static void TakeExtras(PngReader &reader)
{
    PictureExtras &extras = reader.reading.picture.extras;
    const PngHeader &header = reader.file.header;
    TakeProfile(reader);
    TakeColourChunks(reader);
    TakeTexts(reader);
    extras.dated = FindChunk(reader.file, "tIME");
    extras.shape.bits = header.bits;
    extras.shape.interlaced = header.interlaced;
    if (const PngChunk *exif = FindChunk(reader.file, "eXIf")) extras.exif = exif->bytes;
    const PngChunk *size = FindChunk(reader.file, "pHYs");
    if (size && size->bytes.size() == 9 && size->bytes[8] == 1) {   // per metre
        extras.dotsPerInchX = High32(size->bytes.data()) * 0.0254;
        extras.dotsPerInchY = High32(size->bytes.data() + 4) * 0.0254;
    } else if (size && size->bytes.size() == 9 && size->bytes[8] == 0) {
        extras.aspectX = High32(size->bytes.data());
        extras.aspectY = High32(size->bytes.data() + 4);
    }
    if (const PngChunk *place = FindChunk(reader.file, "oFFs")) extras.place = place->bytes;
    const PngChunk *background = FindChunk(reader.file, "bKGD");
    const size_t wanted = header.colours == PNG_PALETTE ? 1 : IsGrey(header) ? 2 : 6;
    if (background && background->bytes.size() == wanted) extras.background = background->bytes;
    TellLeftOut(reader, reader.reading.notices);
    if (!FindChunk(reader.file, "acTL")) return;
    reader.reading.notices.push_back(ONLY_THE_FIRST_FRAME);
}

//---- Reading: rows

static uint32_t SampleAt(const uint8_t *samples, int bits, size_t index)
{
    if (bits == 16) return Low16(samples + 2 * index);
    const size_t bit = index * size_t(bits);
    return uint32_t(samples[bit >> 3] >> (8 - bits - int(bit & 7)) & ((1 << bits) - 1));
}

// The colour that counts as transparent is compared at the file's own depth.
static void PutKeyMask(const PngReader &reader, const uint8_t *samples, int32_t count, uint8_t *mask)
{
    const PngHeader &header = reader.file.header;
    const size_t each = IsGrey(header) ? 1 : 3;
    const bool turned = each == 3 && header.bits == 8;
    for (size_t x = 0; x < size_t(count); ++x) {
        bool equal = true;
        for (size_t c = 0; c < each; ++c) {
            equal = equal && SampleAt(samples, header.bits, x * each + c) == reader.key[turned ? 2 - c : c];
        }
        mask[x] = equal ? 0 : 255;
    }
}

// The last of each pixel's samples is the mask. Of 16-bit colours red came first.
static void PutWithAlpha(const PngHeader &header, const uint8_t *samples, int32_t count, uint8_t *row, uint8_t *mask)
{
    const size_t colours = IsGrey(header) ? 1 : 3;
    const bool turned = colours == 3 && header.bits == 16;
    for (size_t x = 0; x < size_t(count); ++x, samples += colours + 1) {
        for (size_t c = 0; c < colours; ++c) row[colours * x + c] = samples[turned ? 2 - c : c];
        mask[x] = samples[colours];
    }
}

static void PutPngRow(PngReader &reader, const uint8_t *samples, int32_t count, uint8_t *row, uint8_t *mask)
{
    const PngHeader &header = reader.file.header;
    if (reader.hasKey) PutKeyMask(reader, samples, count, mask);
    if (header.bits == 16) {
        const size_t all = size_t(count) * size_t(PngSamples(header));
        for (size_t i = 0; i < all; ++i) reader.narrow[i] = Narrow16(Low16(samples + 2 * i));
        samples = reader.narrow.data();
    }
    if (header.colours & PNG_HAS_ALPHA) PutWithAlpha(header, samples, count, row, mask);
    else if (header.colours != PNG_RGB) {
        PutPacked(reader.reading.picture, samples, std::min(header.bits, 8), count, row);
    } else if (header.bits == 16) SwapRedBlue(samples, row, count);
    else memcpy(row, samples, size_t(count) * 3);
}

// Spreads pixels over the columns first, first + step, ...
static void ScatterPixels(int bits, const uint8_t *from, int32_t count, int32_t first, int32_t step, uint8_t *row)
{
    const int32_t bytes = bits / 8;
    for (int32_t i = 0; i < count; ++i) {
        const int32_t x = first + i * step;
        if (bits == 1) SetBit(row, x, BitAt(from, i));
        else memcpy(row + ptrdiff_t(x) * bytes, from + ptrdiff_t(i) * bytes, size_t(bytes));
    }
}

static void TakePngRow(PngReader &reader, uint32_t y, uint32_t first, uint32_t step, const uint8_t *samples)
{
    Picture &picture = reader.reading.picture;
    if (step == 1) {
        PutPngRow(reader, samples, picture.width, RowToFill(picture, int32_t(y)),
                  picture.mask ? MaskRowToFill(picture, int32_t(y)) : nullptr);
        ++reader.rowsDone;
        return;
    }
    const int32_t count = int32_t((uint32_t(picture.width) - first + step - 1) / step);
    PutPngRow(reader, samples, count, reader.row.data(), reader.mask.data());
    ScatterPixels(picture.bitsPerPixel, reader.row.data(), count, int32_t(first), int32_t(step),
                  picture.pixels.get() + ptrdiff_t(RowStride(picture.bitsPerPixel, picture.width)) * y);
    if (!picture.mask) return;
    ScatterPixels(8, reader.mask.data(), count, int32_t(first), int32_t(step),
                  picture.mask.get() + ptrdiff_t(RowStride(8, picture.width)) * y);
}

//---- Reading: the whole

// A packed picture cannot be larger than its file lets it grow.
static bool PlausibleSize(const PngFile &file)
{
    const PngHeader &header = file.header;
    const uint64_t bits = uint64_t(header.width) * uint64_t(PngSamples(header)) * uint64_t(header.bits);
    return MayHold(file.reading.source, bits / 8 * header.height / MOST_GROWTH);
}

static bool StartPngPicture(PngReader &reader)
{
    Reading &reading = reader.reading;
    const PngHeader &header = reader.file.header;
    bool started;
    if (header.colours == PNG_PALETTE) {
        started = StartPalettePicture(reading.picture, reader.file.palette, header.bits, header.width, header.height,
                                      reading.allowHuge, reading.error);
    } else {
        const bool oneBit = header.colours == PNG_GREY && header.bits == 1;
        const int32_t type = oneBit ? ONE_BIT : IsGrey(header) ? GREY : RGB;
        started = StartPicture(reading.picture, type, header.width, header.height, reading.allowHuge, reading.error);
    }
    if (!started) return false;
    if (header.bits == 16) reading.notices.push_back("16 bits per sample are brought to 8");
    return !(reader.hasKey || header.colours & PNG_HAS_ALPHA) || StartMask(reading.picture, reading.error);
}

static void MakeRoom(PngReader &reader)
{
    Picture &picture = reader.reading.picture;
    const PngHeader &header = reader.file.header;
    if (header.bits == 16) reader.narrow.resize(size_t(header.width) * size_t(PngSamples(header)));
    if (!header.interlaced) return;
    reader.row.resize(size_t(RowStride(picture.bitsPerPixel, picture.width)));
    reader.mask.resize(size_t(picture.width));
    if (picture.bitsPerPixel != 1) return;   // single bits are added to what is there
    memset(picture.pixels.get(), 0, size_t(RowStride(1, picture.width)) * size_t(picture.height));
}

// Of an interlaced file's rows. Not before its pixels have come: memory is taken with them, not with the file's word.
static void ClearPadding(uint8_t *plane, int32_t bits, int32_t width, int32_t height)
{
    const ptrdiff_t stride = RowStride(bits, width), used = ptrdiff_t(bits) * width / 8;
    for (ptrdiff_t y = 0; bits > 1 && y < height; ++y) memset(plane + stride * y + used, 0, size_t(stride - used));
}

static bool FailPixels(PngReader &reader, const std::string &problem)
{
    const int32_t height = reader.reading.picture.height;
    const PngFile &file = reader.file;
    if (file.state == PngFile::ENDS_TOO_SOON && !file.header.interlaced && reader.rowsDone > 0 &&
        reader.rowsDone < height) {
        return FailShort(reader.reading.error, height, reader.rowsDone);
    }
    if (file.state != PngFile::SOUND) return FailPngState(reader.file);
    return Fail(reader.reading.error, "damaged PNG data (" + problem + ")");
}

bool ReadPng(Reading &reading)
{
    PngReader reader = {reading};
    if (!TakePngHead(reader.file)) return false;
    if (!PlausibleSize(reader.file)) return Fail(reading.error, TOO_SHORT_FOR_ITS_PICTURE);
    TakeTransparency(reader);
    if (!StartPngPicture(reader)) return false;
    MakeRoom(reader);
    std::string problem;
    const auto takesRow = [&](uint32_t y, uint32_t first, uint32_t step, const uint8_t *samples) {
        TakePngRow(reader, y, first, step, samples);
    };
    if (!UnpackPng(reader.file, takesRow, problem)) return FailPixels(reader, problem);
    if (!TakePngTail(reader.file)) return false;
    if (reader.file.header.interlaced) {
        const Picture &picture = reading.picture;
        ClearPadding(picture.pixels.get(), picture.bitsPerPixel, picture.width, picture.height);
        if (picture.mask) ClearPadding(picture.mask.get(), 8, picture.width, picture.height);
    }
    TakeExtras(reader);
    FinishPalettePicture(reading.picture, reading.notices);
    return true;
}

//---- Writing

static PngHeader HeaderFor(const Picture &picture)
{
    PngHeader header;
    header.width = uint32_t(picture.width);
    header.height = uint32_t(picture.height);
    header.bits = 8;
    if (picture.colourType == RGB) header.colours = picture.mask ? PNG_RGB_ALPHA : PNG_RGB;
    else if (picture.colourType == GREY) header.colours = picture.mask ? PNG_GREY_ALPHA : PNG_GREY;
    else {
        header.colours = picture.colourType == PALETTE ? PNG_PALETTE : PNG_GREY;
        header.bits = picture.colourType == ONE_BIT ? 1 : BitsForSaving(picture);
        if (header.bits == 8) header.bits = FewestBits(picture);
    }
    if (header.colours == PNG_GREY && header.bits == 8) header.bits = FewestBits(picture);
    header.interlaced = picture.extras.shape.interlaced && PACKS_PNG_INTERLACED;
    return header;
}

static void FillPngRow(const Picture &picture, const PngHeader &header, int32_t y, uint8_t *row, Bytes &room)
{
    const size_t width = size_t(picture.width);
    if (!(header.colours & PNG_HAS_ALPHA)) {
        const bool whole = header.colours == PNG_RGB;
        const uint8_t *from = whole ? RowAt(picture, y) : PackedRow(picture, y, header.bits, room);
        memcpy(row, from, (width * size_t(PngSamples(header)) * size_t(header.bits) + 7) / 8);
        return;
    }
    const size_t colours = IsGrey(header) ? 1 : 3;
    const uint8_t *from = RowAt(picture, y);
    room.resize(width);
    AlphaRow(picture, y, room.data());
    for (size_t x = 0; x < width; ++x, row += colours + 1) {
        for (size_t c = 0; c < colours; ++c) row[c] = from[colours * x + c];
        row[colours] = room[x];
    }
}

static void AddProfile(Bytes &file, const Bytes &profile, bool grey, Notices &notices)
{
    if (profile.empty()) return;
    if (!ProfileFits(profile, grey)) {
        notices.push_back("the colour profile is not stored: it does not fit the picture");
        return;
    }
    static const char name[] = "ICC profile";
    Bytes chunk;
    AddBytes(chunk, name, sizeof name);
    chunk.push_back(0);
    const Bytes packed = Deflate(profile);
    AddBytes(chunk, packed.data(), packed.size());
    AddChunk(file, "iCCP", chunk);
}

static void AddPalette(Bytes &file, const Picture &picture, int bits)
{
    const int32_t entries = std::min(EntriesForSaving(picture), bits == 1 ? 2 : 256);
    Bytes palette;
    for (int32_t i = 0; i < entries; ++i) {
        const uint8_t colour[3] = {picture.red[i], picture.green[i], picture.blue[i]};
        AddBytes(palette, colour, 3);
    }
    AddChunk(file, "PLTE", palette);
    const Bytes &alpha = picture.extras.paletteAlpha;
    if (!alpha.empty()) AddChunk(file, "tRNS", {alpha.data(), std::min(alpha.size(), size_t(entries))});
}

static void AddResolution(Bytes &file, const PictureExtras &extras)
{
    const double x = std::round(extras.dotsPerInchX / 0.0254), y = std::round(extras.dotsPerInchY / 0.0254);
    const bool known = x > 0 && y > 0 && x < 1e9 && y < 1e9;
    if (!known && extras.aspectX == extras.aspectY) return;
    Bytes chunk;
    AddHigh32(chunk, known ? uint32_t(x) : extras.aspectX);
    AddHigh32(chunk, known ? uint32_t(y) : extras.aspectY);
    chunk.push_back(known);   // per metre
    AddChunk(file, "pHYs", chunk);
}

// At the file's depth, which may be another than that of the file it came from. False where it is for other samples.
static bool AddBackground(Bytes &file, const Picture &picture, const PngHeader &header)
{
    const Bytes &from = picture.extras.background;
    const uint32_t bits = uint32_t(picture.extras.shape.bits ? picture.extras.shape.bits : 8);
    const size_t wanted = header.colours == PNG_PALETTE ? 1 : IsGrey(header) ? 2 : 6;
    if (from.empty()) return true;
    if (from.size() != wanted || (wanted == 1 && from[0] >= std::min(EntriesForSaving(picture), 1 << header.bits))) {
        return false;
    }
    Bytes chunk = wanted == 1 ? from : Bytes();
    const uint32_t most = (1u << bits) - 1, whole = (1u << header.bits) - 1;
    for (size_t i = 0; wanted > 1 && i < wanted; i += 2)
        AddHigh16(chunk, (std::min(High16(from.data() + i), most) * whole + most / 2) / most);
    AddChunk(file, "bKGD", chunk);
    return true;
}

static void AddText(Bytes &file, const FileText &text)
{
    Bytes chunk;
    std::string latin;
    const bool narrow = TextInLatin1(text.text, latin);
    AddBytes(chunk, text.name.c_str(), text.name.size() + 1);
    if (!narrow) chunk.insert(chunk.end(), {0, 0, 0, 0});   // not packed, in no language
    AddBytes(chunk, narrow ? latin.data() : text.text.data(), narrow ? latin.size() : text.text.size());
    AddChunk(file, narrow ? "tEXt" : "iTXt", chunk);
}

static void AddRawProfile(Bytes &file, const char *kind, const Bytes &bytes)
{
    static const char digits[] = "0123456789abcdef";
    std::string count = std::to_string(bytes.size()), text = std::string("\n") + kind + "\n";
    text += std::string(count.size() < 8 ? 8 - count.size() : 0, ' ') + count + "\n";
    for (size_t i = 0; i < bytes.size(); ++i) {
        text += {digits[bytes[i] >> 4], digits[bytes[i] & 15]};
        if (i % 36 == 35) text += '\n';
    }
    text += '\n';
    Bytes chunk;
    AddBytes(chunk, RAW_NAME, sizeof RAW_NAME - 1);
    AddBytes(chunk, kind, strlen(kind) + 1);
    chunk.push_back(0);
    const Bytes packed = Deflate({reinterpret_cast<const uint8_t *>(text.data()), text.size()});
    AddBytes(chunk, packed.data(), packed.size());
    AddChunk(file, "zTXt", chunk);
}

static void AddTime(Bytes &file)
{
    const FileTime time = TimeOfChange();
    Bytes chunk;
    AddHigh16(chunk, uint32_t(time.year));
    for (int part : {time.month, time.day, time.hour, time.minute, time.second}) chunk.push_back(uint8_t(part));
    AddChunk(file, "tIME", chunk);
}

static void AddWords(Bytes &file, const PictureExtras &extras)
{
    if (!extras.exif.empty()) AddChunk(file, "eXIf", extras.exif);
    if (extras.dated) AddTime(file);
    for (const FileText &text : extras.texts) AddText(file, text);
    if (!extras.xmp.empty()) {
        Bytes chunk(XMP_NAME, XMP_NAME + sizeof XMP_NAME);
        chunk.insert(chunk.end(), {0, 0, 0, 0});
        AddBytes(chunk, extras.xmp.data(), extras.xmp.size());
        AddChunk(file, "iTXt", chunk);
    }
    if (extras.iptc.empty()) return;
    AddRawProfile(file, "iptc", ResourceOfIptc(extras.iptc));
}

// A profile says more than the mark for sRGB, and both may not stand in one file.
static void AddColourChunks(Bytes &file, const PictureExtras &extras, bool withProfile)
{
    for (const Bytes &chunk : extras.colourChunks) {
        const std::string type(chunk.begin(), chunk.begin() + 4);
        if (type != "sRGB" || !withProfile) AddChunk(file, type.c_str(), std::span(chunk).subspan(4));
    }
}

// All that stands before the pixels.
static Bytes HeadOf(const Picture &picture, const PngHeader &header, Notices &notices)
{
    Bytes head(PNG_SIGNATURE, PNG_SIGNATURE + sizeof PNG_SIGNATURE);
    AddChunk(head, "IHDR", PngHeaderBytes(header));
    const size_t bare = head.size();
    AddProfile(head, picture.extras.colourProfile, IsGrey(header), notices);
    AddColourChunks(head, picture.extras, head.size() > bare);
    if (header.colours == PNG_PALETTE) AddPalette(head, picture, header.bits);
    AddResolution(head, picture.extras);
    if (!AddBackground(head, picture, header))
        notices.push_back("the background colour is not stored: it is one for another kind of samples");
    if (!picture.extras.place.empty()) AddChunk(head, "oFFs", picture.extras.place);
    AddWords(head, picture.extras);
    return head;
}

bool WritePng(Writing &writing)
{
    const Picture &picture = writing.picture;
    const PngHeader header = HeaderFor(picture);
    const bool withAlpha = header.colours & PNG_HAS_ALPHA;
    TellLeftOut(picture, "PNG", ~0u & ~(withAlpha ? 0u : unsigned(KEEPS_MASK)), writing.notices);
    if (picture.extras.shape.interlaced && !PACKS_PNG_INTERLACED)
        writing.notices.push_back("not stored interlaced: this system's codec cannot");
    const int compression = writing.options.compression;
    if (compression > 0 && !PACKS_PNG_AS_TOLD)
        writing.notices.push_back("compressed as this system's codec does it: it takes no level");
    const Bytes head = HeadOf(picture, header, writing.notices);
    Bytes tail, room;
    AddChunk(tail, "IEND", {});
    std::string problem = CANNOT_BE_WRITTEN;
    const auto fillsRow = [&](uint32_t y, uint8_t *row) { FillPngRow(picture, header, int32_t(y), row, room); };
    const auto puts = [&](const uint8_t *bytes, size_t count) { return Put(writing.sink, bytes, count); };
    const bool done = puts(head.data(), head.size()) &&
                      PackPng(header, compression > 0 ? compression : USUAL_COMPRESSION, fillsRow, puts, problem) &&
                      puts(tail.data(), tail.size());
    return done || Fail(writing.error, "cannot be written as PNG (" + problem + ")");
}
