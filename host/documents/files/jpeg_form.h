// How the pixels of a JPEG file are packed, its tables of quantisation and how its colours are sampled: taken from a file,
// and made for one that is to be written. The same for JPEG files and for the strips of TIFF files, which are such.

#pragma once

#include "host/documents/files/codecs.h"

// From a file's head. Of grey and of usual colours: such as are stored otherwise are not stored that way again.
void TakeJpegForm(const JpegFile &file, FileShape &shape);
// For 1 or 3 channels: as the options say, else as the picture's own file was packed, else the usual.
JpegForm JpegFormFor(const Picture &picture, const SaveOptions &options, int channels);
// What of it this system's codec does not heed, once.
void TellJpegForm(const JpegForm &form, Notices &notices);
// Samples of brightness per sample of colour in a file that PackJpeg has made, start mark first; false where it is none.
bool JpegSampling(std::span<const uint8_t> file, int &across, int &down);
