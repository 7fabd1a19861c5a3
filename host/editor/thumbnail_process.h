// The process that makes the thumbnails: this program once more, without a window. It is handed the reduced picture and
// hands back thumbnail after thumbnail until it is done or ended; it never outlives the editor.

#pragma once

#include "host/editor/thumbnails.h"

// The switch that this program starts itself with.
constexpr char THUMBNAILS_SWITCH[] = "--thumbnails";

struct MadeThumbnail {
    int32_t effect;   // its place in the chooser, 0..19
    Thumbnail thumbnail;
};

// What the window's thread and the one that speaks with the process share.
struct ThumbnailWork;
// Starts the process for a picture. `message` is posted to the window whenever there is something to take. Where no
// process can be started none ever comes. Returns at once. [ui]
std::shared_ptr<ThumbnailWork> StartThumbnails(Picture picture, Extent room, HWND window, UINT message);
// What has come since the last call. [ui]
std::vector<MadeThumbnail> TakeThumbnails(ThumbnailWork &work);
// Ends the process; nothing comes any more. Returns at once. [ui]
void EndThumbnails(ThumbnailWork &work);

// The process itself: its whole run, from the picture on standard input to the end. Returns the exit code.
int MakeThumbnails();
