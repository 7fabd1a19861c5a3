// PNM: 1-bit (P1, P4), grey (P2, P5), RGB (P3, P6), and PAM (P7) for grey and RGB with an alpha channel, which is the
// mask. PBM counts from white. A largest value other than 255 is spread to 0..255. There are no palettes: they become
// RGB. PAM is written to names that end in .pam.

#include "host/documents/files/formats.h"

#include <algorithm>
#include <cctype>
#include <cstring>

struct PnmHeader {
    int kind = 0;   // the digit after the P
    int64_t width = -1, height = -1;
    int64_t channels = -1, largest = -1;   // largest sample, 1..65535
    std::string tuple;                     // PAM's name for its kind of pixels
};

static const uint64_t LONGEST_HEADER = 64 * 1024;   // bytes, comments and all; and of what separates two numbers

static const int64_t FREE_PIXELS = 16 * 1024 * 1024;   // of a plain picture whose file may turn out too short

static bool IsPlain(const PnmHeader &header) { return header.kind <= 3; }
static bool IsOneBit(const PnmHeader &header) { return header.kind == 1 || header.kind == 4; }

//---- Header

// The next byte that is not part of a comment; -1 behind `end` too.
static int TextByte(Source &source, uint64_t end)
{
    int byte = source.taken < end ? TakeByte(source) : -1;
    if (byte != '#') return byte;
    do byte = source.taken < end ? TakeByte(source) : -1;
    while (byte >= 0 && byte != '\n' && byte != '\r');
    return byte;
}

// Takes a number and the byte after it. -1 when there is none, or one beyond 32 bits, or none for too long.
static int64_t TakeNumber(Source &source)
{
    const uint64_t end = source.taken + LONGEST_HEADER;
    int byte = TextByte(source, end);
    while (byte >= 0 && isspace(byte)) byte = TextByte(source, end);
    if (byte < '0' || byte > '9') return -1;
    int64_t number = 0;
    for (; byte >= '0' && byte <= '9'; byte = TextByte(source, end)) {
        number = number * 10 + (byte - '0');
        if (number > 0x7FFFFFFF) return -1;
    }
    return byte < 0 || isspace(byte) ? number : -1;
}

static bool TakeLine(Source &source, std::string &line)
{
    line.clear();
    int byte = TakeByte(source);
    for (; byte >= 0 && byte != '\n'; byte = TakeByte(source)) {
        if (line.size() > 1000) return false;
        line += char(byte);
    }
    while (!line.empty() && isspace(static_cast<unsigned char>(line.back()))) line.pop_back();
    return byte >= 0;
}

static int64_t NumberIn(const std::string &text)
{
    if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos) return -1;
    return std::stol(text);
}

static void SetPamField(PnmHeader &header, const std::string &line)
{
    const size_t space = line.find_first_of(" \t");
    const std::string word = line.substr(0, space);
    const size_t start = line.find_first_not_of(" \t", space);
    const std::string value = space == std::string::npos || start == std::string::npos ? "" : line.substr(start);
    if (word == "WIDTH") header.width = NumberIn(value);
    if (word == "HEIGHT") header.height = NumberIn(value);
    if (word == "DEPTH") header.channels = NumberIn(value);
    if (word == "MAXVAL") header.largest = NumberIn(value);
    if (word == "TUPLTYPE") header.tuple = value;
}

static bool TakePamHeader(Source &source, PnmHeader &header)
{
    std::string line;
    while (source.taken < LONGEST_HEADER && TakeLine(source, line)) {
        if (line == "ENDHDR") return true;
        if (!line.empty() && line[0] != '#') SetPamField(header, line);
    }
    return false;
}

static bool TakeHeader(Reading &reading, PnmHeader &header)
{
    Source &source = reading.source;
    TakeByte(source);
    header.kind = TakeByte(source) - '0';
    if (header.kind == 7) {
        const bool whole = TakePamHeader(source, header);
        if (!whole && source.taken < LONGEST_HEADER) return Fail(reading.error, HEADER_IS_NOT_COMPLETE);
    } else {
        header.width = TakeNumber(source);
        header.height = TakeNumber(source);
        header.largest = IsOneBit(header) ? 1 : TakeNumber(source);
        header.channels = header.kind == 3 || header.kind == 6 ? 3 : 1;
    }
    if (source.taken >= LONGEST_HEADER) {
        return Fail(reading.error, "the header is longer than " + std::to_string(LONGEST_HEADER) + " bytes");
    }
    if (header.width < 0 || header.height < 0 || header.largest < 0) {
        return Fail(reading.error, "the header lacks a width, a height or a largest value");
    }
    if (header.largest < 1 || header.largest > 65535) {
        return Fail(reading.error, "the largest value is " + std::to_string(header.largest) + ", not 1 to 65535");
    }
    if (header.channels < 1 || header.channels > 4) {
        return Fail(reading.error, std::to_string(header.channels) + " channels are not known here (1 to 4 are)");
    }
    return true;
}

//---- Pixels

static bool TakePlainBits(Source &source, int64_t width, std::vector<uint8_t> &packed)
{
    packed.assign(size_t(width + 7) / 8, 0);
    for (int64_t x = 0; x < width; ++x) {
        const uint64_t end = source.taken + LONGEST_HEADER;
        int byte = TextByte(source, end);
        while (byte >= 0 && isspace(byte)) byte = TextByte(source, end);
        if (byte != '0' && byte != '1') return false;
        packed[size_t(x) / 8] |= uint8_t((byte - '0') << (7 - x % 8));
    }
    return true;
}

static bool ReadBits(Reading &reading, const PnmHeader &header)
{
    Picture &picture = reading.picture;
    picture.extras.whiteIsZero = true;
    const size_t rowBytes = size_t(header.width + 7) / 8;
    std::vector<uint8_t> room;
    for (int32_t y = 0; y < picture.height; ++y) {
        const bool plain = IsPlain(header) && TakePlainBits(reading.source, header.width, room);
        const uint8_t *row = plain ? room.data() : IsPlain(header) ? nullptr : TakeRow(reading.source, rowBytes, room);
        if (!row) return FailShort(reading.error, picture.height, y);
        PutPacked(picture, row, 1, picture.width, RowToFill(picture, y));
    }
    return true;
}

static uint8_t Spread(int64_t value, int64_t largest)
{
    return uint8_t((std::min(value, largest) * 255 + largest / 2) / largest);
}

// How a row of samples is taken: as text, as words, or as bytes that a table spreads.
struct SampleReader {
    int64_t largest = 255;
    bool plain = false;
    uint8_t spread[256] = {};
    std::vector<uint8_t> room, samples;
};

static bool TakePlainSamples(Source &source, SampleReader &reader, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        const int64_t value = TakeNumber(source);
        if (value < 0) return false;
        reader.samples[i] = Spread(value, reader.largest);
    }
    return true;
}

// `count` samples as 8 bits; null when the file ends before.
static const uint8_t *TakeSamples(Source &source, SampleReader &reader, size_t count)
{
    if (!reader.plain && reader.largest == 255) return TakeRow(source, count, reader.room);
    reader.samples.resize(count);
    if (reader.plain) return TakePlainSamples(source, reader, count) ? reader.samples.data() : nullptr;
    const bool words = reader.largest > 255;
    const uint8_t *from = TakeRow(source, count * (words ? 2 : 1), reader.room);
    if (!from) return nullptr;
    for (size_t i = 0; i < count; ++i) {
        reader.samples[i] = words ? Spread(from[2 * i] << 8 | from[2 * i + 1], reader.largest) : reader.spread[from[i]];
    }
    return reader.samples.data();
}

static void PutGreyAlpha(const uint8_t *samples, int32_t count, uint8_t *row, uint8_t *mask)
{
    for (int32_t x = 0; x < count; ++x) {
        row[x] = samples[2 * x];
        mask[x] = samples[2 * x + 1];
    }
}

static void PutSamples(Picture &picture, int64_t channels, int32_t y, const uint8_t *samples)
{
    uint8_t *row = RowToFill(picture, y);
    uint8_t *mask = picture.mask ? MaskRowToFill(picture, y) : nullptr;
    if (channels == 1) memcpy(row, samples, size_t(picture.width));
    if (channels == 2) PutGreyAlpha(samples, picture.width, row, mask);
    if (channels == 3) SwapRedBlue(samples, row, picture.width);
    if (channels == 4) SplitAlpha(samples, picture.width, row, mask);
}

static bool ReadSamples(Reading &reading, const PnmHeader &header)
{
    Picture &picture = reading.picture;
    SampleReader reader;
    reader.largest = header.largest;
    reader.plain = IsPlain(header);
    for (int v = 0; v < 256; ++v) reader.spread[v] = Spread(v, header.largest);
    picture.extras.shape.bits = header.largest > 255 ? 16 : 8;
    if (header.largest > 255) reading.notices.push_back("16 bits per sample are brought to 8");
    const size_t count = size_t(header.width * header.channels);
    for (int32_t y = 0; y < picture.height; ++y) {
        const uint8_t *samples = TakeSamples(reading.source, reader, count);
        if (!samples) return FailShort(reading.error, picture.height, y);
        PutSamples(picture, header.channels, y, samples);
    }
    return true;
}

// A PAM picture that is black and white has a byte for each bit, 1 for white.
static bool ReadByteBits(Reading &reading)
{
    Picture &picture = reading.picture;
    std::vector<uint8_t> room;
    for (int32_t y = 0; y < picture.height; ++y) {
        const uint8_t *samples = TakeRow(reading.source, size_t(picture.width), room);
        if (!samples) return FailShort(reading.error, picture.height, y);
        uint8_t *row = RowToFill(picture, y);
        memset(row, 0, size_t(RowStride(1, picture.width)));
        for (int32_t x = 0; x < picture.width; ++x) row[x / 8] |= uint8_t((samples[x] != 0) << (7 - x % 8));
    }
    return true;
}

// The bytes that the pixels of a file must have at least, per row: of plain ones a digit, and something between numbers.
static uint64_t RowBytes(const PnmHeader &header)
{
    if (IsPlain(header)) {
        const uint64_t samples = uint64_t(header.width) * uint64_t(header.channels);
        return header.kind == 1 ? samples : 2 * samples - 1;
    }
    if (header.kind == 4) return uint64_t(header.width + 7) / 8;
    return uint64_t(header.width) * uint64_t(header.channels) * (header.largest > 255 ? 2 : 1);
}

bool ReadPnm(Reading &reading)
{
    PnmHeader header;
    if (!TakeHeader(reading, header)) return false;
    const bool byteBits = header.tuple == "BLACKANDWHITE" && header.channels == 1 && header.largest == 1;
    const int32_t type = IsOneBit(header) || byteBits ? ONE_BIT : header.channels <= 2 ? GREY : RGB;
    const Source &source = reading.source;
    if (header.width > 0 && header.height < 0x7FFFFFFF / 2 &&
        !MayHold(source, RowBytes(header) * uint64_t(header.height))) {
        const uint64_t left = uint64_t(source.size) - source.taken;
        if (!IsPlain(header)) return FailShort(reading.error, header.height, int64_t(left / RowBytes(header)));
        // What there is of a small picture counts its rows as they come.
        if (header.width * header.height > FREE_PIXELS) { return Fail(reading.error, TOO_SHORT_FOR_ITS_PICTURE); }
    }
    Picture &picture = reading.picture;
    if (!StartPicture(picture, type, header.width, header.height, reading.allowHuge, reading.error)) return false;
    if (header.channels % 2 == 0 && !StartMask(picture, reading.error)) return false;
    picture.extras.shape.pam = header.kind == 7;
    const bool done = IsOneBit(header) ? ReadBits(reading, header)
                      : byteBits       ? ReadByteBits(reading)
                                       : ReadSamples(reading, header);
    if (done && Peek(reading.source, 2) && *Peek(reading.source, 1) == 'P') {
        reading.notices.push_back(ONLY_THE_FIRST);
    }
    return done;
}

//---- Writing

static void TellNameDiffers(const Writing &writing, int kind)
{
    static const struct {
        const char *ending;
        int kind;
    } names[] = {{"pbm", 4}, {"pgm", 5}, {"ppm", 6}};
    for (const auto &name : names) {
        if (name.kind == kind || !EndsWith(writing.name, name.ending)) continue;
        writing.notices.push_back("the file holds " +
                                  std::string(kind == 4   ? "PBM"
                                              : kind == 5 ? "PGM"
                                                          : "PPM") +
                                  " data, as its picture asks for, whatever its ending says");
    }
}

static bool PutHeader(Writing &writing, int kind)
{
    const Picture &picture = writing.picture;
    char header[60];
    const int length = snprintf(header, sizeof header, "P%d\n%d %d\n%s", kind, int(picture.width), int(picture.height),
                                kind == 4 ? "" : "255\n");
    return Put(writing.sink, header, size_t(length));
}

static bool WritePlain(Writing &writing)
{
    const Picture &picture = writing.picture;
    const int kind = picture.colourType == ONE_BIT ? 4 : picture.colourType == GREY ? 5 : 6;
    TellNameDiffers(writing, kind);
    if (!PutHeader(writing, kind)) return false;
    const size_t width = size_t(picture.width), rowBytes = kind == 4 ? (width + 7) / 8 : kind == 5 ? width : 3 * width;
    std::vector<uint8_t> room(rowBytes);
    for (int32_t y = 0; y < picture.height; ++y) {
        const uint8_t *row = RowAt(picture, y);
        if (kind == 6) ColourRow(picture, y, room.data());
        if (kind == 4) {
            memcpy(room.data(), row, rowBytes);
            TurnOver(room.data(), rowBytes);
            if (width % 8) room[rowBytes - 1] = uint8_t(room[rowBytes - 1] & 0xFF00 >> width % 8);
        }
        if (!Put(writing.sink, kind == 5 ? row : room.data(), rowBytes)) return false;
    }
    return true;
}

// One row of a PAM file: the colours or greys, each with its alpha when there is one.
static void PutPamRow(const Picture &picture, int32_t y, int colours, std::vector<uint8_t> &samples,
                      std::vector<uint8_t> &alpha, bool withAlpha)
{
    if (colours == 3) ColourRow(picture, y, samples.data());
    else GreyRow(picture, y, samples.data());
    if (!withAlpha) return;
    AlphaRow(picture, y, alpha.data());
    const size_t each = size_t(colours) + 1;
    for (size_t x = size_t(picture.width); x-- > 0;) {
        samples[x * each + each - 1] = alpha[x];
        for (size_t c = each - 1; c-- > 0;) samples[x * each + c] = samples[x * size_t(colours) + c];
    }
}

static bool WritePam(Writing &writing)
{
    const Picture &picture = writing.picture;
    const bool oneBit = picture.colourType == ONE_BIT, withAlpha = picture.mask && !oneBit;
    const int colours = oneBit || picture.colourType == GREY ? 1 : 3;
    const std::string tuple = std::string(oneBit         ? "BLACKANDWHITE"
                                          : colours == 1 ? "GRAYSCALE"
                                                         : "RGB") +
                              (withAlpha ? "_ALPHA" : "");
    const std::string header = "P7\nWIDTH " + std::to_string(picture.width) + "\nHEIGHT " +
                               std::to_string(picture.height) + "\nDEPTH " + std::to_string(colours + withAlpha) +
                               "\nMAXVAL " + (oneBit ? "1" : "255") + "\nTUPLTYPE " + tuple + "\nENDHDR\n";
    if (!Put(writing.sink, header.data(), header.size())) return false;
    const size_t width = size_t(picture.width), rowBytes = width * size_t(colours + withAlpha);
    std::vector<uint8_t> samples(rowBytes), alpha(width);
    for (int32_t y = 0; y < picture.height; ++y) {
        PutPamRow(picture, y, colours, samples, alpha, withAlpha);
        if (oneBit) {
            for (uint8_t &sample : samples) sample &= 1;
        }
        if (!Put(writing.sink, samples.data(), rowBytes)) return false;
    }
    return true;
}

// What is asked for, else what the name says, else what the picture came as.
static bool WantsPam(const Writing &writing)
{
    const auto named = [&writing](const char *ending) {
        return writing.options.kind == ending || EndsWith(writing.name, ending);
    };
    for (const char *plain : {"pbm", "pgm", "ppm"})
        if (writing.options.kind == plain) return false;
    if (named("pam")) return true;
    for (const char *plain : {"pbm", "pgm", "ppm", "pnm"})
        if (EndsWith(writing.name, plain)) return false;
    return writing.picture.extras.shape.pam;
}

bool WritePnm(Writing &writing)
{
    const Picture &picture = writing.picture;
    const bool pam = WantsPam(writing);
    if (picture.colourType == PALETTE) writing.notices.push_back("PNM has no palette pictures: stored as RGB");
    TellLeftOut(picture, pam ? "PAM" : "PNM", pam && picture.colourType != ONE_BIT ? KEEPS_MASK : 0, writing.notices);
    return pam ? WritePam(writing) : WritePlain(writing);
}
