// PNG on Windows. The chunks are read and written here; the Windows Imaging Component packs and unpacks the pixels,
// and interlaced files too. It is shown samples rather than colours wherever the two have the same bytes (a palette's
// indices as greys), so that depths and palettes stay what they are.

#include "host/documents/files/wic.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

enum { PNG_GREY = 0, PNG_RGB = 2, PNG_PALETTE = 3, PNG_GREY_ALPHA = 4, PNG_RGB_ALPHA = 6 };
enum { HAS_COLOUR = 2, HAS_ALPHA = 4 };   // bits of these
static const uint8_t SIGNATURE[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
static const uint8_t FILTER_UP = 3;   // of the component's filters, one that has the same bytes for pixels of any size

//---- Chunks

static uint32_t Checksum(const uint8_t *bytes, size_t count)
{
    static const auto table = [] {
        std::array<uint32_t, 256> values = {};
        for (uint32_t i = 0; i < 256; ++i) {
            uint32_t value = i;
            for (int bit = 0; bit < 8; ++bit) value = value >> 1 ^ (value & 1 ? 0xEDB88320 : 0);
            values[i] = value;
        }
        return values;
    }();
    uint32_t sum = ~0u;
    for (size_t i = 0; i < count; ++i) sum = sum >> 8 ^ table[(sum ^ bytes[i]) & 0xFF];
    return ~sum;
}

static void AddChunk(FileBytes &file, const char *type, const uint8_t *bytes, size_t count)
{
    AddHigh32(file, uint32_t(count));
    const size_t start = file.size();
    AddBytes(file, type, 4);
    AddBytes(file, bytes, count);
    AddHigh32(file, Checksum(file.data() + start, count + 4));
}

static void AddChunk(FileBytes &file, const char *type, const FileBytes &bytes)
{
    AddChunk(file, type, bytes.data(), bytes.size());
}

struct Chunk {
    const uint8_t *type, *bytes;
    uint32_t count;
    bool sound;   // its checksum holds
    bool is(const char *name) const { return memcmp(type, name, 4) == 0; }
};

// The chunk at `position`, which moves on behind it. False at the file's end and for one that is not complete.
static bool NextChunk(const FileBytes &file, size_t &position, Chunk &chunk)
{
    if (file.size() - position < 12) return false;
    const uint8_t *start = file.data() + position;
    chunk.count = High32(start);
    if (chunk.count > file.size() - position - 12) return false;
    chunk.type = start + 4;
    chunk.bytes = start + 8;
    chunk.sound = Checksum(chunk.type, size_t(chunk.count) + 4) == High32(chunk.bytes + chunk.count);
    position += size_t(chunk.count) + 12;
    return true;
}

// Bytes in the form of packed ones, without being packed: profiles are small.
static FileBytes StoredStream(const FileBytes &bytes)
{
    FileBytes stream = {0x78, 0x01};
    uint32_t low = 1, high = 0;
    for (size_t start = 0; start < bytes.size(); start += 0xFFFF) {
        const size_t count = std::min<size_t>(bytes.size() - start, 0xFFFF);
        const uint8_t head[5] = {start + count == bytes.size(), uint8_t(count), uint8_t(count >> 8), uint8_t(~count),
                                 uint8_t(~count >> 8)};
        AddBytes(stream, head, sizeof head);
        AddBytes(stream, bytes.data() + start, count);
    }
    for (uint8_t byte : bytes) {
        low = (low + byte) % 65521;
        high = (high + low) % 65521;
    }
    AddHigh32(stream, high << 16 | low);
    return stream;
}

//---- Reading: the chunks

struct PngReader {
    Reading &reading;
    FileBytes file = {};
    uint32_t width = 0, height = 0;
    int bits = 0, colours = -1;
    bool interlaced = false, animated = false, hasProfile = false, hasKey = false;
    uint32_t key[3] = {};   // the colour that counts as transparent
    FilePalette palette = {};
    FileBytes header = {}, data = {}, profile = {};   // as the component is shown them; the data are whole chunks
    size_t dataBytes = 0;
    FileBytes narrow = {}, row = {};
};

static bool Damaged(PngReader &reader, const std::string &words)
{
    return Fail(reader.reading.error, "damaged PNG data (" + words + ")");
}

static bool TakeHeader(PngReader &reader, const Chunk &chunk)
{
    if (!chunk.is("IHDR") || chunk.count != 13) return Damaged(reader, "the header is not complete");
    reader.width = High32(chunk.bytes);
    reader.height = High32(chunk.bytes + 4);
    reader.bits = chunk.bytes[8];
    reader.colours = chunk.bytes[9];
    reader.interlaced = chunk.bytes[12] != 0;
    const int bits = reader.bits, colours = reader.colours;
    const bool few = bits == 1 || bits == 2 || bits == 4;
    const bool known = colours == PNG_GREY ? few || bits == 8 || bits == 16
                       : colours == PNG_PALETTE
                           ? few || bits == 8
                           : (colours == PNG_RGB || colours == PNG_GREY_ALPHA || colours == PNG_RGB_ALPHA) &&
                                 (bits == 8 || bits == 16);
    if (!known || chunk.bytes[10] || chunk.bytes[11] || chunk.bytes[12] > 1) {
        return Damaged(reader, "its kind of samples is not known");
    }
    reader.header.assign(chunk.bytes, chunk.bytes + 13);
    if (colours == PNG_PALETTE) reader.header[9] = PNG_GREY;
    return true;
}

static bool TakePalette(PngReader &reader, const Chunk &chunk)
{
    if (chunk.count == 0 || chunk.count % 3 || chunk.count > 768) return Damaged(reader, "its palette is not one");
    reader.palette.entries = int32_t(std::min(chunk.count / 3, 1u << std::min(reader.bits, 8)));
    for (int i = 0; i < reader.palette.entries; ++i) {
        reader.palette.red[i] = chunk.bytes[3 * i];
        reader.palette.green[i] = chunk.bytes[3 * i + 1];
        reader.palette.blue[i] = chunk.bytes[3 * i + 2];
    }
    return true;
}

static void TakeTransparency(PngReader &reader, const Chunk &chunk)
{
    if (reader.colours == PNG_PALETTE) {
        const auto count = std::min(chunk.count, uint32_t(reader.palette.entries));
        reader.reading.picture.extras.paletteAlpha.assign(chunk.bytes, chunk.bytes + count);
    } else if (!(reader.colours & HAS_ALPHA) && chunk.count == (reader.colours == PNG_RGB ? 6u : 2u)) {
        reader.hasKey = true;
        for (uint32_t i = 0; i < chunk.count / 2; ++i) reader.key[i] = High16(chunk.bytes + 2 * i);
    }
}

static void TakeExtra(PngReader &reader, const Chunk &chunk)
{
    PictureExtras &extras = reader.reading.picture.extras;
    if (chunk.is("tRNS")) {
        TakeTransparency(reader, chunk);
    } else if (chunk.is("iCCP")) {
        reader.hasProfile = true;
        reader.profile.assign(chunk.bytes, chunk.bytes + chunk.count);
    } else if (chunk.is("eXIf")) {
        extras.exif.assign(chunk.bytes, chunk.bytes + chunk.count);
    } else if (chunk.is("pHYs") && chunk.count == 9 && chunk.bytes[8] == 1) {   // per metre
        extras.dotsPerInchX = High32(chunk.bytes) * 0.0254;
        extras.dotsPerInchY = High32(chunk.bytes + 4) * 0.0254;
    } else if (chunk.is("acTL")) {
        reader.animated = true;
    }
}

static bool TakeChunk(PngReader &reader, const Chunk &chunk)
{
    const bool critical = !(chunk.type[0] & 0x20);
    if (!critical) {
        if (chunk.sound) TakeExtra(reader, chunk);
        return true;
    }
    if (!chunk.sound) return Damaged(reader, "a checksum does not hold");
    if (chunk.is("PLTE")) return TakePalette(reader, chunk);
    if (!chunk.is("IDAT")) return Damaged(reader, "a part of it is not known here");
    AddChunk(reader.data, "IDAT", chunk.bytes, chunk.count);
    reader.dataBytes += chunk.count;
    return true;
}

static bool TakeChunks(PngReader &reader)
{
    size_t position = sizeof SIGNATURE;
    Chunk chunk;
    const char *const tooShort = "the file ends before its picture does";
    if (!NextChunk(reader.file, position, chunk)) return Fail(reader.reading.error, tooShort);
    if (!chunk.sound) return Damaged(reader, "a checksum does not hold");
    if (!TakeHeader(reader, chunk)) return false;
    do {
        if (!NextChunk(reader.file, position, chunk)) return Fail(reader.reading.error, tooShort);
        if (!chunk.is("IEND") && !TakeChunk(reader, chunk)) return false;
    } while (!chunk.is("IEND"));
    if (reader.data.empty()) return Damaged(reader, "there are no pixels in it");
    if (reader.colours == PNG_PALETTE && !reader.palette.entries) return Damaged(reader, "it lacks its palette");
    return true;
}

// A packed picture cannot be larger than its data let it grow: at most 1032 bytes from each.
static bool PlausibleSize(const PngReader &reader)
{
    const uint64_t samples = reader.colours & HAS_COLOUR && reader.colours != PNG_PALETTE ? 3 : 1;
    const uint64_t bits = uint64_t(reader.width) * samples * uint64_t(reader.bits);
    return bits / 8 * reader.height / 1032 <= reader.dataBytes;
}

//---- Reading: the picture

static bool StartPngPicture(PngReader &reader)
{
    Picture &picture = reader.reading.picture;
    std::string &error = reader.reading.error;
    bool started;
    if (reader.colours == PNG_PALETTE) {
        started = StartPalettePicture(picture, reader.palette, reader.bits, reader.width, reader.height, error);
    } else {
        const bool grey = !(reader.colours & HAS_COLOUR), oneBit = reader.colours == PNG_GREY && reader.bits == 1;
        started = StartPicture(picture, oneBit ? ONE_BIT : grey ? GREY : RGB, reader.width, reader.height, error);
    }
    if (!started) return false;
    if (reader.bits == 16) reader.reading.notices.push_back("16 bits per sample are brought to 8");
    return !(reader.hasKey || reader.colours & HAS_ALPHA) || StartMask(picture, error);
}

static WicPixels PixelsOf(const PngReader &reader)
{
    const bool wide = reader.bits == 16;
    if (reader.colours & HAS_ALPHA) return wide ? WicPixels::RGBA64 : WicPixels::BGRA32;
    if (reader.colours == PNG_RGB) return wide ? WicPixels::RGB48 : WicPixels::BGR24;
    switch (reader.bits) {
    case 1: return WicPixels::PACKED1;
    case 2: return WicPixels::PACKED2;
    case 4: return WicPixels::PACKED4;
    case 8: return WicPixels::PACKED8;
    default: return WicPixels::GREY16;
    }
}

static uint32_t SampleAt(const uint8_t *row, int bits, size_t index)
{
    if (bits == 16) return uint32_t(row[2 * index] | row[2 * index + 1] << 8);
    const size_t bit = index * size_t(bits);
    return uint32_t(row[bit >> 3] >> (8 - bits - int(bit & 7)) & ((1 << bits) - 1));
}

// The colour that counts as transparent is compared at the file's own depth. Only 8-bit colours stand blue first.
static void PutKeyMask(const PngReader &reader, const uint8_t *row, uint8_t *mask)
{
    const size_t samples = reader.colours == PNG_RGB ? 3 : 1;
    const bool turned = samples == 3 && reader.bits == 8;
    for (size_t x = 0; x < reader.width; ++x) {
        bool equal = true;
        for (size_t c = 0; c < samples; ++c) {
            equal = equal && SampleAt(row, reader.bits, x * samples + c) == reader.key[turned ? 2 - c : c];
        }
        mask[x] = equal ? 0 : 255;
    }
}

static void NarrowLowFirst(const uint8_t *from, uint8_t *to, size_t count)
{
    for (size_t i = 0; i < count; ++i) to[i] = Narrow16(uint32_t(from[2 * i] | from[2 * i + 1] << 8));
}

// Four samples per pixel: the last is the mask. Of 8-bit ones blue stands first, of 16-bit ones red; grey has its
// level in all three.
static void PutWithAlpha(const PngReader &reader, const uint8_t *samples, uint8_t *row, uint8_t *mask)
{
    const bool grey = reader.colours == PNG_GREY_ALPHA, redFirst = reader.bits == 16;
    for (size_t x = 0; x < reader.width; ++x) {
        const uint8_t *from = samples + 4 * x;
        if (grey) row[x] = from[0];
        for (size_t c = 0; !grey && c < 3; ++c) row[3 * x + c] = from[redFirst ? 2 - c : c];
        mask[x] = from[3];
    }
}

static void PutPngRow(PngReader &reader, uint32_t y, const uint8_t *samples)
{
    Picture &picture = reader.reading.picture;
    uint8_t *row = RowToFill(picture, int32_t(y)), *mask = picture.mask ? MaskRowToFill(picture, int32_t(y)) : nullptr;
    if (reader.hasKey) PutKeyMask(reader, samples, mask);
    if (reader.bits == 16) {
        NarrowLowFirst(samples, reader.narrow.data(), reader.narrow.size());
        samples = reader.narrow.data();
    }
    if (reader.colours & HAS_ALPHA) PutWithAlpha(reader, samples, row, mask);
    else if (reader.colours != PNG_RGB) PutPacked(picture, samples, std::min(reader.bits, 8), picture.width, row);
    else if (reader.bits == 16) SwapRedBlue(samples, row, picture.width);
    else memcpy(row, samples, size_t(picture.width) * 3);
}

// What the component is shown: the pixels and what it needs for them.
static FileBytes BareFile(const PngReader &reader)
{
    FileBytes file(SIGNATURE, SIGNATURE + sizeof SIGNATURE);
    AddChunk(file, "IHDR", reader.header);
    AddBytes(file, reader.data.data(), reader.data.size());
    AddChunk(file, "IEND", {});
    return file;
}

// A file of one pixel is enough to have the profile unpacked. Grey pictures need one of another kind than colours do.
static void TakeProfile(PngReader &reader)
{
    if (!reader.hasProfile) return;
    const bool grey = !(reader.colours & HAS_COLOUR);
    const FileBytes header = {0, 0, 0, 1, 0, 0, 0, 1, 8, uint8_t(grey ? PNG_GREY : PNG_RGB), 0, 0, 0};
    FileBytes file(SIGNATURE, SIGNATURE + sizeof SIGNATURE);
    AddChunk(file, "IHDR", header);
    AddChunk(file, "iCCP", reader.profile);
    AddChunk(file, "IDAT", StoredStream(FileBytes(grey ? 2 : 4)));
    AddChunk(file, "IEND", {});
    PictureExtras &extras = reader.reading.picture.extras;
    extras.colourProfile = WicProfile(WicContainer::PNG, file);
    if (extras.colourProfile.empty()) reader.reading.notices.push_back("the colour profile is damaged and left out");
}

bool ReadPng(Reading &reading)
{
    PngReader reader = {reading};
    if (!TakeAll(reading, reader.file) || !TakeChunks(reader)) return false;
    if (!PlausibleSize(reader)) return Fail(reading.error, "the file is too short for the picture it promises");
    if (!StartPngPicture(reader)) return false;
    const WicPicture unpacked = {WicContainer::PNG, PixelsOf(reader), reader.width, reader.height};
    if (reader.bits == 16) reader.narrow.resize(size_t(BitsOf(unpacked.pixels)) / 16 * reader.width);
    std::string problem;
    const auto takesRow = [&](uint32_t y, const uint8_t *row) { PutPngRow(reader, y, row); };
    if (!WicUnpack(unpacked, BareFile(reader), takesRow, problem)) return Damaged(reader, problem);
    TakeProfile(reader);
    if (reader.animated) reading.notices.push_back("only the first picture of the animation is read");
    FinishPalettePicture(reading.picture, reading.notices);
    return true;
}

//---- Writing

// How a picture is shown to the component, and what it really is.
struct PngForm {
    int bits = 8, colours = PNG_GREY;
    WicPicture packed = {WicContainer::PNG, WicPixels::PACKED8};
    std::vector<WicOption> options = {};
};

static PngForm FormOf(const Picture &picture)
{
    PngForm form;
    form.packed.width = uint32_t(picture.width);
    form.packed.height = uint32_t(picture.height);
    if (picture.colourType == RGB) {
        form.colours = picture.mask ? PNG_RGB_ALPHA : PNG_RGB;
        form.packed.pixels = picture.mask ? WicPixels::BGRA32 : WicPixels::BGR24;
    } else if (picture.colourType == GREY && picture.mask) {
        // Greys and mask in turn, as a grey picture of twice the width.
        form.colours = PNG_GREY_ALPHA;
        form.packed.width *= 2;
        form.options.push_back({L"FilterOption", false, 0, FILTER_UP});
    } else {
        form.colours = picture.colourType == PALETTE ? PNG_PALETTE : PNG_GREY;
        form.bits = BitsForSaving(picture);
        if (form.bits == 1) form.packed.pixels = WicPixels::PACKED1;
    }
    return form;
}

static void FillPngRow(const Picture &picture, const PngForm &form, int32_t y, uint8_t *row, FileBytes &room)
{
    const size_t width = size_t(picture.width);
    if (form.colours == PNG_RGB) {
        memcpy(row, RowAt(picture, y), width * 3);
    } else if (!(form.colours & HAS_ALPHA)) {
        memcpy(row, PackedRow(picture, y, form.bits, room), (width * size_t(form.bits) + 7) / 8);
    } else {
        const size_t colours = form.colours == PNG_RGB_ALPHA ? 3 : 1;
        const uint8_t *from = RowAt(picture, y);
        room.resize(width);
        AlphaRow(picture, y, room.data());
        for (size_t x = 0; x < width; ++x, row += colours + 1) {
            memcpy(row, from + colours * x, colours);
            row[colours] = room[x];
        }
    }
}

static void AddHeader(FileBytes &file, const Picture &picture, const PngForm &form)
{
    FileBytes header;
    AddHigh32(header, uint32_t(picture.width));
    AddHigh32(header, uint32_t(picture.height));
    const uint8_t rest[5] = {uint8_t(form.bits == 1 ? 1 : 8), uint8_t(form.colours), 0, 0, 0};
    AddBytes(header, rest, sizeof rest);
    AddChunk(file, "IHDR", header);
}

static void AddExtras(FileBytes &file, const PictureExtras &extras)
{
    if (!extras.colourProfile.empty()) {
        static const char name[] = "ICC profile";
        FileBytes chunk;
        AddBytes(chunk, name, sizeof name);
        chunk.push_back(0);
        const FileBytes profile = StoredStream(extras.colourProfile);
        AddBytes(chunk, profile.data(), profile.size());
        AddChunk(file, "iCCP", chunk);
    }
    const double x = std::round(extras.dotsPerInchX / 0.0254), y = std::round(extras.dotsPerInchY / 0.0254);
    if (x > 0 && y > 0 && x < 1e9 && y < 1e9) {
        FileBytes chunk;
        AddHigh32(chunk, uint32_t(x));
        AddHigh32(chunk, uint32_t(y));
        chunk.push_back(1);
        AddChunk(file, "pHYs", chunk);
    }
    if (!extras.exif.empty()) AddChunk(file, "eXIf", extras.exif);
}

static void AddPalette(FileBytes &file, const Picture &picture, int bits)
{
    const int32_t entries = std::min(EntriesForSaving(picture), bits == 1 ? 2 : 256);
    FileBytes palette;
    for (int32_t i = 0; i < entries; ++i) {
        const uint8_t colour[3] = {picture.red[i], picture.green[i], picture.blue[i]};
        AddBytes(palette, colour, 3);
    }
    AddChunk(file, "PLTE", palette);
    const FileBytes &alpha = picture.extras.paletteAlpha;
    if (!alpha.empty()) AddChunk(file, "tRNS", alpha.data(), std::min(alpha.size(), size_t(entries)));
}

// The component's file with its pixels kept and everything else made anew.
static bool Reframe(const FileBytes &packed, const Picture &picture, const PngForm &form, FileBytes &file)
{
    file.assign(SIGNATURE, SIGNATURE + sizeof SIGNATURE);
    AddHeader(file, picture, form);
    AddExtras(file, picture.extras);
    if (picture.colourType == PALETTE) AddPalette(file, picture, form.bits);
    bool anyData = false;
    size_t position = sizeof SIGNATURE;
    for (Chunk chunk; NextChunk(packed, position, chunk);) {
        if (!chunk.is("IDAT")) continue;
        AddChunk(file, "IDAT", chunk.bytes, chunk.count);
        anyData = true;
    }
    AddChunk(file, "IEND", {});
    return anyData;
}

bool WritePng(Writing &writing)
{
    const Picture &picture = writing.picture;
    const PngForm form = FormOf(picture);
    TellLeftOut(picture, "PNG", ~0u & ~(form.colours & HAS_ALPHA ? 0u : unsigned(KEEPS_MASK)), writing.notices);
    FileBytes packed, file, room;
    std::string problem;
    const auto fillsRow = [&](uint32_t y, uint8_t *row) { FillPngRow(picture, form, int32_t(y), row, room); };
    if (!WicPack(form.packed, form.options, fillsRow, packed, problem)) {
        return Fail(writing.error, "cannot be written as PNG (" + problem + ")");
    }
    if (!Reframe(packed, picture, form, file)) return Fail(writing.error, "cannot be written as PNG (no pixels came)");
    return PutAll(writing, file);
}
