// Takes PNG files apart into chunks, with their order, lengths and checksums looked at, and puts chunks together for
// writing. Critical chunks must be sound; of the others damaged ones are left out. Unpacks no pixels and knows
// nothing of colour types beyond which of them are allowed.

#include "host/documents/files/png_chunks.h"

#include "host/documents/files/deflate.h"

#include <algorithm>
#include <cstring>

const uint8_t PNG_SIGNATURE[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

int PngSamples(const PngHeader &header)
{
    if (header.colours == PNG_PALETTE) return 1;
    return (header.colours & PNG_HAS_COLOUR ? 3 : 1) + (header.colours & PNG_HAS_ALPHA ? 1 : 0);
}

const PngChunk *FindChunk(const PngFile &file, const char *type)
{
    for (const PngChunk &chunk : file.chunks) {
        if (Is(chunk, type)) return &chunk;
    }
    return nullptr;
}

//---- Chunk by chunk

static bool Damaged(PngFile &file, const char *words)
{
    return Fail(file.reading.error, std::string("damaged PNG data (") + words + ")");
}

bool FailPngState(PngFile &file)
{
    if (file.state == PngFile::BAD_NAME) return Damaged(file, "a part of it is not known here");
    if (file.state == PngFile::BAD_CHECKSUM) return Damaged(file, "a checksum does not hold");
    return Fail(file.reading.error, ENDS_BEFORE_ITS_PICTURE);
}

static bool EndsTooSoon(PngFile &file)
{
    file.state = PngFile::ENDS_TOO_SOON;
    return false;
}

// What the chunk has left, and no more of it than can be handed out at once.
static bool PassPart(PngFile &file, const uint8_t *&bytes, size_t &count)
{
    Source &source = file.reading.source;
    if (!Refill(source)) return EndsTooSoon(file);
    count = std::min<size_t>(file.left, source.end - source.next);
    bytes = source.bytes + source.next;
    source.next += count;
    source.taken += count;
    file.sum = Checksum(file.sum, bytes, count);
    file.left -= uint32_t(count);
    return true;
}

// The next chunk's length and type. The one before has been closed.
static bool OpenChunk(PngFile &file)
{
    uint8_t head[8];
    if (!Take(file.reading.source, head, sizeof head)) return EndsTooSoon(file);
    file.left = High32(head);
    memcpy(file.type, head + 4, 4);
    file.sum = Checksum(0, head + 4, 4);
    for (char letter : {file.type[0], file.type[1], file.type[2], file.type[3]}) {
        if ((letter | 0x20) >= 'a' && (letter | 0x20) <= 'z') continue;
        file.state = PngFile::BAD_NAME;
        return false;
    }
    // What is promised beyond the file's end need not be looked for, but in pixels the rows that there are count.
    const bool pixels = memcmp(file.type, "IDAT", 4) == 0;
    return pixels || MayHold(file.reading.source, uint64_t(file.left) + 4) || EndsTooSoon(file);
}

// Passes over what is left. `sound` tells whether the checksum holds.
static bool CloseChunk(PngFile &file, bool &sound)
{
    const uint8_t *bytes;
    size_t count;
    while (file.left > 0) {
        if (!PassPart(file, bytes, count)) return false;
    }
    uint8_t sum[4];
    if (!Take(file.reading.source, sum, sizeof sum)) return EndsTooSoon(file);
    sound = High32(sum) == file.sum;
    return true;
}

static bool IsOpen(const PngFile &file, const char *type) { return memcmp(file.type, type, 4) == 0; }
static bool IsCritical(const PngFile &file) { return !(file.type[0] & 0x20); }

// All of the open chunk's bytes.
static bool TakeWhole(PngFile &file, Bytes &bytes, bool &sound)
{
    const uint8_t *part;
    size_t count;
    while (file.left > 0) {
        if (!PassPart(file, part, count)) return false;
        AddBytes(bytes, part, count);
    }
    return CloseChunk(file, sound);
}

//---- The critical chunks

static bool KnowsKind(int bits, int colours)
{
    const bool few = bits == 1 || bits == 2 || bits == 4, whole = bits == 8 || bits == 16;
    switch (colours) {
    case PNG_GREY: return few || whole;
    case PNG_PALETTE: return few || bits == 8;
    case PNG_RGB:
    case PNG_GREY_ALPHA:
    case PNG_RGB_ALPHA: return whole;
    default: return false;
    }
}

static bool TakeHeader(PngFile &file)
{
    uint8_t signature[8];
    if (!Take(file.reading.source, signature, sizeof signature) || !OpenChunk(file)) return FailPngState(file);
    if (!IsOpen(file, "IHDR") || file.left != 13) return Damaged(file, HEADER_IS_NOT_COMPLETE);
    Bytes bytes;
    bool sound = false;
    if (!TakeWhole(file, bytes, sound)) return FailPngState(file);
    if (!sound) return Damaged(file, "a checksum does not hold");
    PngHeader &header = file.header;
    header.width = High32(bytes.data());
    header.height = High32(bytes.data() + 4);
    header.bits = bytes[8];
    header.colours = bytes[9];
    header.interlaced = bytes[12] != 0;
    if (!KnowsKind(header.bits, header.colours) || bytes[10] || bytes[11] || bytes[12] > 1) {
        return Damaged(file, "its kind of samples is not known");
    }
    return true;
}

static bool TakePalette(PngFile &file)
{
    Bytes bytes;
    bool sound = false;
    if (file.left == 0 || file.left % 3 || file.left > 768) return Damaged(file, "its palette is not one");
    if (!TakeWhole(file, bytes, sound)) return FailPngState(file);
    if (!sound) return Damaged(file, "a checksum does not hold");
    FilePalette &palette = file.palette;
    palette.entries = int32_t(std::min(bytes.size() / 3, size_t(1) << std::min(file.header.bits, 8)));
    for (int i = 0; i < palette.entries; ++i) {
        palette.red[i] = bytes[3 * size_t(i)];
        palette.green[i] = bytes[3 * size_t(i) + 1];
        palette.blue[i] = bytes[3 * size_t(i) + 2];
    }
    return true;
}

//---- The others

// Keeps the open chunk while there is room for it. A damaged one is left out, as one that is not known would be.
static bool TakeOther(PngFile &file)
{
    bool sound = false;
    if (file.left > PNG_MOST_METADATA - file.chunkBytes) {
        const std::string line = "a chunk of " + std::to_string(file.left) + " bytes (" + file.type +
                                 ") is left out: it is longer than is kept";
        if (!CloseChunk(file, sound)) return FailPngState(file);
        file.reading.notices.push_back(line);
        return true;
    }
    PngChunk chunk;
    memcpy(chunk.type, file.type, 4);
    if (!TakeWhole(file, chunk.bytes, sound)) return FailPngState(file);
    file.chunkBytes += sound ? chunk.bytes.size() : 0;
    if (sound) file.chunks.push_back(std::move(chunk));
    return true;
}

bool TakePngHead(PngFile &file)
{
    if (!TakeHeader(file)) return false;
    for (;;) {
        if (!OpenChunk(file)) return FailPngState(file);
        if (IsOpen(file, "IDAT")) break;
        if (IsOpen(file, "IEND")) return Damaged(file, "there are no pixels in it");
        const bool palette = IsOpen(file, "PLTE");   // that of colours is a proposal only
        if (IsCritical(file) && !palette) return Damaged(file, "a part of it is not known here");
        if (!(palette && file.header.colours == PNG_PALETTE ? TakePalette(file) : TakeOther(file))) return false;
    }
    if (file.header.colours == PNG_PALETTE && !file.palette.entries) return Damaged(file, "it lacks its palette");
    return true;
}

size_t TakePngData(PngFile &file, uint8_t *bytes, size_t count)
{
    size_t done = 0;
    while (done < count && file.state == PngFile::SOUND && IsOpen(file, "IDAT")) {
        if (file.left == 0) {
            bool sound = false;
            if (!CloseChunk(file, sound)) break;
            if (!sound) file.state = PngFile::BAD_CHECKSUM;
            else OpenChunk(file);
            continue;
        }
        const size_t part = TakeSome(file.reading.source, bytes + done, std::min<size_t>(count - done, file.left));
        if (part == 0) EndsTooSoon(file);
        file.sum = Checksum(file.sum, bytes + done, part);
        file.left -= uint32_t(part);
        done += part;
    }
    return done;
}

bool TakePngTail(PngFile &file)
{
    bool sound = false, open = true;   // the chunk that ended the pixels, or the pixels themselves
    for (;;) {
        if (file.state != PngFile::SOUND || (!open && !OpenChunk(file))) return FailPngState(file);
        open = false;
        if (IsOpen(file, "IEND")) return CloseChunk(file, sound) || FailPngState(file);
        if (!IsCritical(file)) {
            if (!TakeOther(file)) return false;
            continue;
        }
        if (!CloseChunk(file, sound)) return FailPngState(file);
        if (!sound) file.state = PngFile::BAD_CHECKSUM;
        else if (memcmp(file.type, "IDAT", 4) != 0) return Damaged(file, "a part of it is not known here");
    }
}

//---- Writing

Bytes PngHeaderBytes(const PngHeader &header)
{
    Bytes bytes;
    AddHigh32(bytes, header.width);
    AddHigh32(bytes, header.height);
    const uint8_t rest[5] = {uint8_t(header.bits), uint8_t(header.colours), 0, 0, header.interlaced};
    AddBytes(bytes, rest, sizeof rest);
    return bytes;
}

void AddChunk(Bytes &file, const char *type, std::span<const uint8_t> bytes)
{
    AddHigh32(file, uint32_t(bytes.size()));
    AddBytes(file, type, 4);
    AddBytes(file, bytes.data(), bytes.size());
    AddHigh32(file, Checksum(Checksum(0, type, 4), bytes.data(), bytes.size()));
}
