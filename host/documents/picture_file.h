// Reading and writing picture files: PNG, BMP, TIFF, JPEG, PNM, GIF, WebP. A picture keeps its type on the way in and out.
//
// A routine that can fail returns false and fills `error` with one line meant for a person, without the file's name
// (the caller has it). Anything that could not be kept is told in `notices`, a line each.

#pragma once

#include "host/documents/picture.h"

#include <span>

enum class FileFormat { UNKNOWN, PNG, BMP, TIFF, JPEG, PNM, GIF, WEBP };

struct ReadOptions {
    bool allowHuge = false;   // pictures beyond 32,767 pixels an edge or 512 megapixels
    int page = 0;   // which of several pages or frames is read, from 1; 0: the first, and the others into `further`
    std::vector<Picture> *further = nullptr;   // null: they are left out, with a notice
    bool asStored = false;                     // not turned upright; the mark that says how it is to be turned stays
    std::string *note = nullptr;   // TIFF: takes the note that was saved with the picture, empty where there was none
};

enum class Strip { NOTHING, METADATA, ALL };   // ALL: colour profile and resolution too

struct SaveOptions {
    int quality = 0;   // JPEG, 1..100; 0: that of the picture's own file, else 90
    // JPEG: samples of brightness per sample of colour, across and down, 1, 2 or 4; 0: as the picture's own file, else
    // by the quality. Progressive: -1: as its own file.
    int across = 0, down = 0;
    int progressive = -1;
    int compression = 0;     // PNG, zlib's level 1..9; 0: the usual one
    std::string kind = {};   // PNM: the ending that tells what kind of it is wanted; empty: as the file's name says
    Strip strip = Strip::NOTHING;
    const std::vector<Picture> *further = nullptr;   // the pages or frames behind the picture; null for none
    // TIFF: a text for whoever reads it again, in a field of this project's own: what the pages behind are. ASCII.
    std::string note = {};
};

// By a file's ending (.png, .bmp, .tif, .tiff, .jpg, .jpeg, .pbm, .pgm, .ppm, .pnm, .pam, .gif, .webp; letters' case ignored).
FileFormat FormatOfName(const std::string &name);
// The endings of all formats, for a message: "png, bmp, ...".
std::string KnownEndings();

// The endings of one format.
std::vector<std::string> EndingsOf(FileFormat format);

// The libraries that files' pixels go through, with their versions, in one line.
std::string CodecVersions();

// How a reader's line begins when it is memory that is missing.
extern const char NOT_ENOUGH_MEMORY[];
// The notices of a file of several pictures of which one was read.
extern const char ONLY_THE_FIRST[], ONLY_THE_FIRST_FRAME[];

// "-" reads standard input. The format is found by the file's first bytes.
//
// A file is not trusted: what it says of its size is held against its length before memory is taken, and beside the
// picture's planes at most 64 MiB are, but for what a codec must keep of a JPEG picture that comes in several scans (2
// bytes a sample), for a GIF file's indices and an animation's screen (1 and 4 bytes a pixel) and, on Windows, for a PNG
// or JPEG file's own bytes. A picture that does not fit into memory is an
// error like any other.
bool ReadPicture(const std::string &name, Picture &picture, FileFormat &format, std::vector<std::string> &notices,
                 std::string &error, const ReadOptions &options = {});
// The same from a file's bytes, which are not copied.
bool ReadPictureBytes(std::span<const uint8_t> bytes, Picture &picture, FileFormat &format,
                      std::vector<std::string> &notices, std::string &error, const ReadOptions &options = {});
// Writes beside the target and renames, so that a failed write leaves what stood there before. "-" writes standard
// output. A picture whose type the format cannot hold is converted with a notice, or refused when that would lose
// what a person needs.
bool WritePicture(const std::string &name, const Picture &picture, FileFormat format, const SaveOptions &options,
                  std::vector<std::string> &notices, std::string &error);
// The bytes that such a file would have. `name` need not be one: its ending tells PNM files apart.
bool WritePictureBytes(const std::string &name, const Picture &picture, FileFormat format, const SaveOptions &options,
                       std::vector<uint8_t> &bytes, std::vector<std::string> &notices, std::string &error);
