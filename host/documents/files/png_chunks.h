// The container of PNG files: a header and a list of chunks around the packed pixels. Read from front to back, so that
// a pipe is as good as a file, and written likewise. What pixels mean stands in png.cpp; libpng.cpp and wic_png.cpp
// pack and unpack them.
//
// Nothing is allocated because a file says so: memory grows with the bytes that really come, up to a limit.

#pragma once

#include "host/documents/files/bytes.h"
#include "host/documents/files/formats.h"

#include <span>

enum { PNG_GREY = 0, PNG_RGB = 2, PNG_PALETTE = 3, PNG_GREY_ALPHA = 4, PNG_RGB_ALPHA = 6 };
enum { PNG_HAS_COLOUR = 2, PNG_HAS_ALPHA = 4 };   // bits of these

// The first chunk of a file.
struct PngHeader {
    uint32_t width = 0, height = 0;
    int bits = 0, colours = PNG_GREY;   // bits per sample; one of the kinds above
    bool interlaced = false;
};
int PngSamples(const PngHeader &header);   // per pixel, 1 to 4

struct PngChunk {
    char type[5] = {};
    Bytes bytes = {};
};
inline bool Is(const PngChunk &chunk, const char *type)
{
    return std::char_traits<char>::compare(chunk.type, type, 4) == 0;
}

// A file on its way in.
struct PngFile {
    Reading &reading;
    PngHeader header = {};
    FilePalette palette = {};
    std::vector<PngChunk> chunks = {};   // but header, palette, pixels and end: in the file's order, whole and sound
    size_t chunkBytes = 0;               // in all of them
    // The chunk being read: what is left of it, and the checksum so far.
    char type[5] = {};
    uint32_t left = 0, sum = 0;
    enum { SOUND, ENDS_TOO_SOON, BAD_CHECKSUM, BAD_NAME } state = SOUND;
};
const uint32_t PNG_MOST_METADATA = 32 * 1024 * 1024;   // bytes of chunks that are kept; what is beyond is left out

// Everything before the pixels. False with a line.
bool TakePngHead(PngFile &file);
// Up to `count` bytes of the packed pixels, whatever chunks they are cut into; fewer only at their end, and then
// `state` tells whether that is one. Never throws.
size_t TakePngData(PngFile &file, uint8_t *bytes, size_t count);
// What follows the pixels, up to the end mark; what is left of the pixels themselves is passed over. False with a line.
bool TakePngTail(PngFile &file);
// The line for a state that is not SOUND.
bool FailPngState(PngFile &file);
// Null when there is none.
const PngChunk *FindChunk(const PngFile &file, const char *type);

//---- Writing

extern const uint8_t PNG_SIGNATURE[8];

Bytes PngHeaderBytes(const PngHeader &header);
// Adds a whole chunk with its length and checksum.
void AddChunk(Bytes &file, const char *type, std::span<const uint8_t> bytes);
