// The images that are open in the host. This keeps the host's side of the protocol: who is told what, in which order,
// when images open, close and change places. Files are picture_file.h's; objects and selected areas image_parts.h's.

#pragma once

#include "host/documents/host.h"
#include "host/documents/picture.h"

#include <functional>

// Puts a picture at the end of the image list: an image window, locks, progress; tells the dialogs (IMAGE_OPENED)
// and the menus. It does not become active unless it is the first. Null when 500 are open. `furnish` is called before
// anyone is told: it may give the image objects and a selected area (image_parts.h).
ImageRecord *OpenImage(Host &host, Picture picture, const std::function<void(ImageRecord *)> &furnish = nullptr);
// Makes an image the active one and tells the dialogs and the menus.
void ActivateImage(Host &host, ImageRecord *image);
// Aborts and waits for a run of this image, takes it off the list, tells the dialogs (IMAGE_CLOSED, then
// ACTIVE_IMAGE_CHANGED), frees it. The next image (else the one before) becomes active.
void CloseImage(Host &host, ImageRecord *image);
// The image before one in the host's list, before null the last one; null when there is none.
ImageRecord *ImageBefore(const Host &host, const ImageRecord *image);
// The host that an image is open in, and the size that its window was last told to have.
Host &HostOf(const ImageRecord *image);
struct WindowSize {
    int32_t width = 0, height = 0;
};
WindowSize WindowSizeOf(const ImageRecord *image);
// The image as a picture, its objects pasted into it, while it does not run: lent for as long as `use` takes, which
// throws nothing; a copy; or the planes themselves, after which the image may only be closed. What is lent are the
// planes of the image's own record, or of one that a LookRoutine was given for it.
void LendPicture(const ImageRecord *image, const ImageRecord *planes, const std::function<void(const Picture &)> &use);
Picture PictureOf(const ImageRecord *image);
Picture TakePicture(ImageRecord *image);
// Puts another picture in the place of the image's own; its objects are gone, its selected area and what its file said
// of it stay. The caller holds the image's locks. [any]
void ReplacePicture(ImageRecord *image, Picture picture);
