// What the chooser shows of each effect: what it makes of the picture, with the options of its help page's picture.
//
// The work is done on a reduced copy in the effects' own dialogs. That wants a host of its own, of which a process has
// one, so the editor leaves it to a second process (thumbnail_process.h); the copy and the results go between the two
// as bytes.

#pragma once

#include "host/documents/documents.h"
#include "host/misc/preview/view.h"

// The longer edge of the copy at most.
constexpr int32_t THUMBNAIL_SOURCE_EDGE = 360;

// A copy of the same type that fits into `room`, never enlarged, without mask, objects and what its file said of it.
// RGB and grey are averaged, palette and 1-bit pictures take the nearest pixel. At most 4 x 4 pixels are looked at for
// each of the copy's, so that the largest picture takes no longer than a middling one.
Picture Reduced(const ImageRecord &image, Extent room);

// Runs every effect whose command the picture's type allows on a copy of the picture, in the chooser's order, and
// hands over what came of it, which may have another size. Effects that draw random numbers come out the same each
// time. `take` answers false to end the work. The host has no picture open. [ui]
typedef std::function<bool(int32_t effect, const Picture &result)> TakeResult;
void RunAllEffects(Host &host, const Picture &picture, const TakeResult &take);

//---- Between processes

// Writes, or reads, all of the bytes; false when the other end has gone.
typedef std::function<bool(const void *bytes, size_t count)> WriteBytes;
typedef std::function<bool(void *bytes, size_t count)> ReadBytes;
// A picture without its mask, and a number to know it by.
bool SendPicture(const WriteBytes &write, int32_t number, const Picture &picture);
bool ReceivePicture(const ReadBytes &read, int32_t &number, Picture &picture);

//---- On the screen

struct Thumbnail {
    Extent extent = {0, 0};
    std::vector<uint32_t> words;   // 0x00RRGGBB, row by row
};

// Reduced to fit into `room`, palettes and bits averaged as colours.
Thumbnail ThumbnailOf(const Picture &picture, Extent room);
// Faded into a background colour.
Thumbnail Dimmed(Thumbnail thumbnail, uint32_t background);
