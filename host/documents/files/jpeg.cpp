// JPEG: what the segments of a file mean for a picture, and the segments that a picture becomes; grey and RGB, other
// pictures are stored as one of the two, inks (CMYK) become RGB. The container is jpeg_segments.cpp's, packing and
// unpacking a codec's (see codecs.h).

#include "host/documents/files/codecs.h"

#include <algorithm>
#include <cmath>
#include <cstring>

static const char EXIF_MARK[] = {'E', 'x', 'i', 'f', 0, 0};
static const char PROFILE_MARK[] = "ICC_PROFILE";   // with its zero byte; then the part's number and how many there are
static const size_t PROFILE_HEAD = sizeof PROFILE_MARK + 2;
static const int32_t LONGEST_EDGE = 65500;

//---- Reading

static bool Begins(const JpegSegment &segment, int mark, const char *begins, size_t length)
{
    return segment.mark == mark && segment.bytes.size() > length && memcmp(segment.bytes.data(), begins, length) == 0;
}

static void TakeResolution(const JpegFile &file, PictureExtras &extras)
{
    for (const JpegSegment &segment : file.metadata) {
        const Bytes &bytes = segment.bytes;
        if (!Begins(segment, JPEG_MARK_APP0, "JFIF", 5) || bytes.size() < 12 || bytes[7] < 1 || bytes[7] > 2) continue;
        const double perInch = bytes[7] == 2 ? 2.54 : 1.0;
        extras.dotsPerInchX = High16(bytes.data() + 8) * perInch;
        extras.dotsPerInchY = High16(bytes.data() + 10) * perInch;
    }
}

static void TakeExif(const JpegFile &file, PictureExtras &extras)
{
    for (const JpegSegment &segment : file.metadata) {
        if (!extras.exif.empty() || !Begins(segment, JPEG_MARK_APP1, EXIF_MARK, sizeof EXIF_MARK)) continue;
        extras.exif.assign(segment.bytes.begin() + sizeof EXIF_MARK, segment.bytes.end());
    }
}

// The parts of a profile in the order of their numbers; nothing where one is missing.
static Bytes ProfileOf(const JpegFile &file)
{
    std::vector<const Bytes *> parts;
    for (const JpegSegment &segment : file.metadata) {
        if (!Begins(segment, JPEG_MARK_APP2, PROFILE_MARK, sizeof PROFILE_MARK)) continue;
        if (segment.bytes.size() <= PROFILE_HEAD) continue;
        const size_t number = segment.bytes[sizeof PROFILE_MARK], count = segment.bytes[sizeof PROFILE_MARK + 1];
        if (number < 1 || number > count) continue;
        parts.resize(std::max(count, parts.size()));
        parts[number - 1] = &segment.bytes;
    }
    Bytes profile;
    for (const Bytes *part : parts) {
        if (!part) return {};
        AddBytes(profile, part->data() + PROFILE_HEAD, part->size() - PROFILE_HEAD);
    }
    return profile;
}

static void TakeExtras(const JpegFile &file, Reading &reading)
{
    PictureExtras &extras = reading.picture.extras;
    TakeResolution(file, extras);
    TakeExif(file, extras);
    const Bytes profile = ProfileOf(file);
    if (file.frame.channels != 4) extras.colourProfile = profile;
    else if (!profile.empty()) reading.notices.push_back("the colour profile is left out: it is one for CMYK");
}

static bool FailPixels(JpegFile &file, int32_t rowsDone, const std::string &problem)
{
    std::string &error = file.reading.error;
    const int32_t height = file.reading.picture.height;
    if (file.ended && rowsDone > 0 && rowsDone < height) return FailShort(error, height, rowsDone);
    if (file.ended || file.problem) return FailJpegData(file);
    return Fail(error, "damaged or unknown JPEG data (" + problem + ")");
}

bool ReadJpeg(Reading &reading)
{
    JpegFile file = {reading};
    if (!TakeJpegHead(file)) return false;
    const int channels = file.frame.channels;
    Picture &picture = reading.picture;
    if (!StartPicture(picture, channels == 1 ? GREY : RGB, file.frame.width, file.frame.height, reading.allowHuge,
                      reading.error)) {
        return false;
    }
    if (channels == 4) reading.notices.push_back("CMYK is turned into RGB, without regard to a colour profile");
    TakeExtras(file, reading);
    bool damaged = false;
    int32_t rowsDone = 0;
    std::string problem;
    const auto takesRow = [&](uint32_t y, const uint8_t *samples) {
        uint8_t *row = RowToFill(picture, int32_t(y));
        if (channels == 4) PutInks(samples, picture.width, 4, row);
        else memcpy(row, samples, size_t(picture.width) * size_t(channels));
        ++rowsDone;
    };
    if (!UnpackJpeg(file, takesRow, damaged, problem)) return FailPixels(file, rowsDone, problem);
    if (damaged) reading.notices.push_back("the file is damaged: parts of the picture may be wrong");
    return true;
}

//---- Writing

static void AddResolution(Bytes &file, const PictureExtras &extras)
{
    const double x = std::round(extras.dotsPerInchX), y = std::round(extras.dotsPerInchY);
    const bool known = x >= 1 && y >= 1 && x <= 65535 && y <= 65535;
    Bytes segment = {'J', 'F', 'I', 'F', 0, 1, 1, uint8_t(known)};
    AddHigh16(segment, known ? uint32_t(x) : 1);
    AddHigh16(segment, known ? uint32_t(y) : 1);
    AddHigh16(segment, 0);   // no small picture
    AddSegment(file, JPEG_MARK_APP0, segment);
}

static void AddExif(Bytes &file, const Bytes &exif, Notices &notices)
{
    if (exif.size() + sizeof EXIF_MARK > JPEG_LONGEST_SEGMENT) {
        notices.push_back("the EXIF data are not stored: they are longer than a JPEG file can hold");
    } else if (!exif.empty()) {
        Bytes segment(EXIF_MARK, EXIF_MARK + sizeof EXIF_MARK);
        AddBytes(segment, exif.data(), exif.size());
        AddSegment(file, JPEG_MARK_APP1, segment);
    }
}

static void AddProfile(Bytes &file, const Bytes &profile, Notices &notices)
{
    const size_t partBytes = JPEG_LONGEST_SEGMENT - PROFILE_HEAD, parts = (profile.size() + partBytes - 1) / partBytes;
    if (parts > 255) notices.push_back("the colour profile is not stored: it is longer than a JPEG file can hold");
    for (size_t i = 0; parts <= 255 && i < parts; ++i) {
        Bytes segment(PROFILE_MARK, PROFILE_MARK + sizeof PROFILE_MARK);
        segment.push_back(uint8_t(i + 1));
        segment.push_back(uint8_t(parts));
        AddBytes(segment, profile.data() + i * partBytes, std::min(partBytes, profile.size() - i * partBytes));
        AddSegment(file, JPEG_MARK_APP2, segment);
    }
}

static bool IsGrey(const Picture &picture) { return picture.colourType == GREY || picture.colourType == ONE_BIT; }

static void FillJpegRow(const Picture &picture, int32_t y, uint8_t *row)
{
    if (IsGrey(picture)) {
        GreyRow(picture, y, row);
    } else if (picture.colourType == RGB) {
        memcpy(row, RowAt(picture, y), size_t(picture.width) * 3);
    } else {
        ColourRow(picture, y, row);
        SwapRedBlue(row, row, picture.width);
    }
}

bool WriteJpeg(Writing &writing)
{
    const Picture &picture = writing.picture;
    if (picture.width > LONGEST_EDGE || picture.height > LONGEST_EDGE) {
        return Fail(writing.error, "a JPEG picture has at most 65500 rows and columns");
    }
    if (picture.colourType == PALETTE) writing.notices.push_back("JPEG has no palette pictures: stored as RGB");
    if (picture.colourType == ONE_BIT) writing.notices.push_back("JPEG has no 1-bit pictures: stored as grey");
    TellLeftOut(picture, "JPEG", KEEPS_PROFILE | KEEPS_EXIF | KEEPS_RESOLUTION, writing.notices);
    Bytes head = {0xFF, JPEG_SOI};
    AddResolution(head, picture.extras);
    AddExif(head, picture.extras.exif, writing.notices);
    AddProfile(head, picture.extras.colourProfile, writing.notices);
    const JpegForm form = {uint32_t(picture.width), uint32_t(picture.height), IsGrey(picture) ? 1 : 3,
                           std::clamp(writing.options.quality, 1, 100)};
    std::string problem = "the file cannot be written";
    const auto fillsRow = [&](uint32_t y, uint8_t *row) { FillJpegRow(picture, int32_t(y), row); };
    const auto puts = [&](const uint8_t *bytes, size_t count) { return Put(writing.sink, bytes, count); };
    const bool done = puts(head.data(), head.size()) && PackJpeg(form, fillsRow, puts, problem);
    return done || Fail(writing.error, "cannot be written as JPEG (" + problem + ")");
}
