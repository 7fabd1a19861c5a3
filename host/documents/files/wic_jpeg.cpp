// Packing and unpacking of JPEG's pixels through the Windows Imaging Component, which turns YCbCr and YCCK into RGB and
// CMYK by itself. It takes a file that breaks off for one that is grey from there on, so files are gathered up to their
// end mark first.

#include "host/documents/files/wic.h"

//---- Unpacking

static WicPixels PixelsOf(int channels)
{
    return channels == 1 ? WicPixels::PACKED8 : channels == 3 ? WicPixels::BGR24 : WicPixels::CMYK32;
}

bool UnpackJpeg(JpegFile &file, const TakesRow &takesRow, bool &damaged, std::string &problem)
{
    damaged = false;
    Bytes all;
    const uint8_t *part = nullptr;
    while (const size_t count = TakeJpegData(file, part)) AddBytes(all, part, count);
    if (file.place != JpegFile::DONE) return false;
    const JpegFrame &frame = file.frame;
    return WicUnpack({WicContainer::JPEG, PixelsOf(frame.channels), frame.width, frame.height}, all, takesRow, problem);
}

//---- Packing

const bool PACKS_JPEG_AS_TOLD = false;

static std::vector<WicOption> OptionsOf(const JpegForm &form)
{
    enum { QUARTER = 1, HALF_ACROSS = 2, FULL_RESOLUTION = 3 };
    const uint8_t colours = form.down > 1 ? QUARTER : form.across > 1 ? HALF_ACROSS : FULL_RESOLUTION;
    return {{L"ImageQuality", true, float(form.quality) / 100, 0}, {L"JpegYCrCbSubsampling", false, 0, colours}};
}

// The component's file from behind its start mark and application segments on.
static bool PutPixels(const Bytes &packed, const PutsBytes &puts, std::string &problem)
{
    size_t at = 2;
    while (at + 4 <= packed.size() && packed[at] == 0xFF && (packed[at + 1] & 0xF0) == JPEG_MARK_APP0) {
        at += 2 + High16(packed.data() + at + 2);
    }
    if (at + 4 > packed.size()) {
        problem = "no picture came";
        return false;
    }
    if (puts(packed.data() + at, packed.size() - at)) return true;
    problem = CANNOT_BE_WRITTEN;
    return false;
}

bool PackJpeg(const JpegForm &form, const FillsRow &fillsRow, const PutsBytes &puts, std::string &problem)
{
    Bytes packed;
    const WicPicture picture = {WicContainer::JPEG, PixelsOf(form.channels), form.width, form.height};
    return WicPack(picture, OptionsOf(form), fillsRow, packed, problem) && PutPixels(packed, puts, problem);
}
