// A picture outside the editor: what a file holds, what an open image is made from and turned back into, and what
// tests compare. Planes are laid out as in interface/records.h (rows padded to 32 bits, top row first, blue-green-red)
// and live in KPZ_AllocMem memory, so that an image takes a picture's planes over without a copy.

#pragma once

#include "interface/host_interface.h"
#include "maths/pixels.h"

#include <memory>
#include <string>
#include <vector>

struct KpzFree {
    void operator()(uint8_t *memory) const { KPZ_FreeMem(memory); }
};
typedef std::unique_ptr<uint8_t[], KpzFree> PlaneBytes;

// The grey of a colour, 0..255, as the effects weigh it: of the bytes red, green, blue, which is the order of files, not
// that of planes.
inline int GreyOf(const uint8_t *colour) { return Brightness(colour[0], colour[1], colour[2]); }

// A text with its name, both UTF-8.
struct FileText {
    std::string name, text;
};

// A frame of an animation as its file stored it: a part of the screen.
struct FrameShape {
    int left = 0, top = 0, width = 0, height = 0;
    int disposal = 0, delay = 0, transparent = -1;   // the file's own numbers; hundredths of a second; an index
    bool ownPalette = false, interlaced = false;
    std::vector<uint8_t> palette = {}, indices = {};
    uint64_t seen = 0;   // tells the picture that it made from another
};

// How a file holds its picture, beyond what the picture's type says. A file of the same format is written alike.
struct FileShape {
    int bits = 0;              // per sample, where they were not 8: fewer, or 16 and more that were brought to 8
    bool interlaced = false;   // PNG
    bool lossy = false;        // its pixels were not what was once stored
    int pages = 0;             // or frames, that the file has besides this one and with it; 0: it holds one
    // TIFF: the file's numbers; 0 where it was another format.
    uint32_t compression = 0, predictor = 0, faxOptions = 0;
    uint32_t rowsEach = 0, tileWidth = 0;   // of a strip, UINT32_MAX where it is the only one, or of a tile
    bool oneOfSeveral = false;              // marked as a page of several
    bool pam = false;                       // PNM: of the kind that has alpha
    // JPEG
    struct Channel {
        uint8_t across = 1, down = 1, table = 0;
    };
    std::vector<std::vector<uint16_t>> tables = {};   // of quantisation, 64 numbers each in the order of rows
    std::vector<Channel> channels = {};
    bool progressive = false;
    uint32_t restartInterval = 0;   // units; 0 for none
    // Animations: how long the picture is shown, milliseconds; how often all are, 0 for ever, -1 not said.
    int delay = 0, loops = -1;
    std::shared_ptr<const FrameShape> frame = {};   // GIF
    int64_t background = -1;                        // WebP: the screen's colour as the file has it; -1 for none
    int backgroundIndex = 0;                        // GIF: among the palette for all
};

// What files carry besides pixels; kept as it was read and written back where the format has a place for it.
struct PictureExtras {
    std::vector<uint8_t> colourProfile;               // ICC
    std::vector<uint8_t> exif;                        // the TIFF structure itself, without "Exif\0\0"
    std::vector<uint8_t> xmp;                         // the packet, UTF-8
    std::vector<uint8_t> iptc;                        // records, each of which begins with 0x1C
    std::vector<FileText> texts;                      // those of PNG; a comment is called "Comment"
    std::vector<std::vector<uint8_t>> colourChunks;   // PNG's gAMA, cHRM, sRGB, cICP, mDCV: the type, then the contents
    std::vector<uint8_t> background, place;           // contents of PNG's bKGD, for samples of shape.bits, and oFFs
    bool dated = false;                               // the file told when it was last changed, as PNG's tIME does
    FileShape shape;
    double dotsPerInchX = 0, dotsPerInchY = 0;   // 0: not known
    uint32_t aspectX = 0, aspectY = 0;           // dots along edges of one length, where nobody knows which; 0: square
    std::vector<uint8_t> paletteAlpha;           // at most one byte per palette entry; the rest is opaque
    bool wasOneBit = false;     // a 1-bit file with other colours than black and white: goes back to 1 bit
                                // while only entries 0 and 1 are in use
    bool whiteIsZero = false;   // a 1-bit or grey file that counts from white
};

struct Picture {
    int32_t width = 0, height = 0;                            // pixels, at least 1 in a picture that is open
    int32_t bitsPerPixel = 0;                                 // 1, 8 or 24: 1 exactly for ONE_BIT, 24 exactly for RGB
    int32_t colourType = 0;                                   // a ColourType
    int32_t paletteEntries = 0;                               // as in ImageRecord
    uint8_t red[256] = {}, green[256] = {}, blue[256] = {};   // unused entries are 0
    PlaneBytes pixels;
    PlaneBytes mask;                // null when there is none
    int32_t maskBitsPerPixel = 0;   // 8 or 1; 0 without a mask
    PictureExtras extras;
};

// From the first call on, planes that there is no memory for end in std::bad_alloc, wherever they are made: for what must
// not end its program. Before that they end it, as KPZ_AllocMem does. [any]
void LetPicturesBeRefused();

// An empty picture of a type, pixels cleared to 0, with the type's own palette (GREY the ramp, ONE_BIT black and
// white; PALETTE has none yet).
Picture NewPicture(int32_t colourType, int32_t width, int32_t height);
// Adds a cleared mask plane of 8 or 1 bits.
void AddMask(Picture &picture, int32_t bitsPerPixel);
// A copy of all of it.
Picture CopyOf(const Picture &picture);
