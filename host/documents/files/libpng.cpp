// Packing and unpacking of PNG's pixels through libpng, which is shown a file of header and pixels only, and a
// palette's indices as greys. It hands over rows as they are in the file, pass by pass where that is interlaced.
//
// libpng reports errors by a jump back to Guarded. What is jumped over keeps plain locals only; all that owns memory
// lives in the records PngUnpacker and PngPacker, outside.

#include "host/documents/files/codecs.h"

#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstring>

static const size_t PART_BYTES = 64 * 1024;   // of packed pixels that are shown at once

template <typename State> static bool Guarded(State &state, void (*step)(State &))
{
    if (setjmp(state.jump)) return false;
    step(state);
    return true;
}

static int ColoursShown(const PngHeader &header) { return header.colours == PNG_PALETTE ? PNG_GREY : header.colours; }

static void SetOrder(png_structp png, const PngHeader &header)
{
    if (header.bits == 16) png_set_swap(png);
    else if (header.colours & PNG_HAS_COLOUR && header.colours != PNG_PALETTE) png_set_bgr(png);
}

//---- Unpacking

struct PngUnpacker {
    PngFile &file;
    const TakesPngRow &takesRow;
    std::string &problem;
    png_structp png = nullptr;
    png_infop info = nullptr;
    jmp_buf jump = {};
    Bytes shown = {};   // what libpng has still to read; then comes the next part of the pixels
    size_t next = 0;
    Bytes row = {};
    ~PngUnpacker() { png_destroy_read_struct(&png, &info, nullptr); }
};

[[noreturn]] static void UnpackerError(png_structp png, const char *text)
{
    auto *unpacker = static_cast<PngUnpacker *>(png_get_error_ptr(png));
    unpacker->problem.assign(text);
    longjmp(unpacker->jump, 1);
}

static void DropWarning(png_structp, const char *) {}

// The next part of the pixels as a chunk of its own. Its checksum is not looked at: that of the file's own holds.
static bool ShowPart(PngUnpacker &unpacker)
{
    unpacker.shown.resize(8 + PART_BYTES + 4);   // there is room for it already
    const size_t count = TakePngData(unpacker.file, unpacker.shown.data() + 8, PART_BYTES);
    if (unpacker.file.state != PngFile::SOUND && count == 0) return false;
    const uint8_t head[8] = {0, 0, uint8_t(count >> 8), uint8_t(count), 'I', 'D', 'A', 'T'};
    memcpy(unpacker.shown.data(), head, sizeof head);
    unpacker.shown[1] = uint8_t(count >> 16);
    unpacker.shown.resize(8 + count + 4);
    unpacker.next = 0;
    return count > 0;
}

static void UnpackerBytes(png_structp png, png_bytep bytes, size_t count)
{
    auto *unpacker = static_cast<PngUnpacker *>(png_get_io_ptr(png));
    while (count > 0) {
        if (unpacker->next == unpacker->shown.size() && !ShowPart(*unpacker))
            png_error(png, "there is too little of it");
        const size_t part = std::min(count, unpacker->shown.size() - unpacker->next);
        memcpy(bytes, unpacker->shown.data() + unpacker->next, part);
        unpacker->next += part;
        bytes += part;
        count -= part;
    }
}

static void UnpackPass(PngUnpacker &unpacker, int pass)
{
    const PngHeader &header = unpacker.file.header;
    const uint32_t columns = PNG_PASS_COLS(header.width, pass), rows = PNG_PASS_ROWS(header.height, pass);
    for (uint32_t i = 0; columns > 0 && i < rows; ++i) {
        png_read_row(unpacker.png, unpacker.row.data(), nullptr);
        unpacker.takesRow(uint32_t(PNG_ROW_FROM_PASS_ROW(i, pass)), uint32_t(PNG_PASS_START_COL(pass)),
                          1u << PNG_PASS_COL_SHIFT(pass), unpacker.row.data());
    }
}

static void UnpackRows(PngUnpacker &unpacker)
{
    const PngHeader &header = unpacker.file.header;
    png_set_user_limits(unpacker.png, 1000000, 1000000);
    png_set_crc_action(unpacker.png, PNG_CRC_QUIET_USE, PNG_CRC_QUIET_USE);
    png_set_read_fn(unpacker.png, &unpacker, UnpackerBytes);
    png_read_info(unpacker.png, unpacker.info);
    SetOrder(unpacker.png, header);
    png_read_update_info(unpacker.png, unpacker.info);
    for (int pass = 0; header.interlaced && pass < PNG_INTERLACE_ADAM7_PASSES; ++pass) UnpackPass(unpacker, pass);
    for (uint32_t y = 0; !header.interlaced && y < header.height; ++y) {
        png_read_row(unpacker.png, unpacker.row.data(), nullptr);
        unpacker.takesRow(y, 0, 1, unpacker.row.data());
    }
}

bool UnpackPng(PngFile &file, const TakesPngRow &takesRow, std::string &problem)
{
    PngUnpacker unpacker = {file, takesRow, problem};
    PngHeader shown = file.header;
    shown.colours = ColoursShown(file.header);
    unpacker.shown.reserve(8 + PART_BYTES + 4);
    unpacker.shown.assign(PNG_SIGNATURE, PNG_SIGNATURE + sizeof PNG_SIGNATURE);
    AddChunk(unpacker.shown, "IHDR", PngHeaderBytes(shown));
    unpacker.row.resize(size_t((uint64_t(shown.width) * uint64_t(PngSamples(shown) * shown.bits) + 7) / 8));
    problem.reserve(200);
    unpacker.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &unpacker, UnpackerError, DropWarning);
    unpacker.info = unpacker.png ? png_create_info_struct(unpacker.png) : nullptr;
    if (!unpacker.info) {
        problem = "libpng does not start";
        return false;
    }
    return Guarded(unpacker, UnpackRows);
}

//---- Packing

struct PngPacker {
    const PngHeader &header;
    int compression;   // zlib's level
    const FillsRow &fillsRow;
    const PutsBytes &puts;
    std::string &problem;
    png_structp png = nullptr;
    png_infop info = nullptr;
    jmp_buf jump = {};
    size_t toDrop = sizeof PNG_SIGNATURE + 8 + 13 + 4;   // libpng's own signature and header
    Bytes row = {};
    ~PngPacker() { png_destroy_write_struct(&png, &info); }
};

[[noreturn]] static void PackerError(png_structp png, const char *text)
{
    auto *packer = static_cast<PngPacker *>(png_get_error_ptr(png));
    packer->problem.assign(text);
    longjmp(packer->jump, 1);
}

static void PackerBytes(png_structp png, png_bytep bytes, size_t count)
{
    auto *packer = static_cast<PngPacker *>(png_get_io_ptr(png));
    const size_t dropped = std::min(count, packer->toDrop);
    packer->toDrop -= dropped;
    if (!packer->puts(bytes + dropped, count - dropped)) png_error(png, CANNOT_BE_WRITTEN);
}

static void PackerFlush(png_structp) {}

const bool PACKS_PNG_INTERLACED = true;
const bool PACKS_PNG_AS_TOLD = true;

// Indices are no neighbours of each other: filters would only hide what is alike.
static bool Filters(const PngHeader &header) { return header.colours != PNG_PALETTE && header.bits == 8; }

// The end mark is left to the caller.
static void PackRows(PngPacker &packer)
{
    const PngHeader &header = packer.header;
    png_set_user_limits(packer.png, 1000000, 1000000);
    png_set_write_fn(packer.png, &packer, PackerBytes, PackerFlush);
    png_set_compression_level(packer.png, packer.compression);
    if (!Filters(header)) png_set_filter(packer.png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
    png_set_IHDR(packer.png, packer.info, header.width, header.height, header.bits, ColoursShown(header),
                 header.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(packer.png, packer.info);
    SetOrder(packer.png, header);
    const int passes = png_set_interlace_handling(packer.png);
    for (int pass = 0; pass < passes; ++pass) {
        for (uint32_t y = 0; y < header.height; ++y) {
            packer.fillsRow(y, packer.row.data());
            png_write_row(packer.png, packer.row.data());
        }
    }
}

bool PackPng(const PngHeader &header, int compression, const FillsRow &fillsRow, const PutsBytes &puts,
             std::string &problem)
{
    PngPacker packer = {header, compression, fillsRow, puts, problem};
    packer.row.resize(size_t(header.width) * 4);
    problem.reserve(200);
    packer.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &packer, PackerError, DropWarning);
    packer.info = packer.png ? png_create_info_struct(packer.png) : nullptr;
    if (!packer.info) {
        problem = "libpng does not start";
        return false;
    }
    return Guarded(packer, PackRows);
}
