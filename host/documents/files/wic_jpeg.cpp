// JPEG on Windows. The markers before the picture are read and written here; the Windows Imaging Component packs and
// unpacks it. Grey and RGB; other pictures are stored as one of the two. Inks (CMYK) become RGB.

#include "host/documents/files/wic.h"

#include <algorithm>
#include <cmath>
#include <cstring>

enum {
    SOF0 = 0xC0,
    DHT = 0xC4,
    JPG = 0xC8,
    DAC = 0xCC,
    SOF15 = 0xCF,
    RST0 = 0xD0,
    RST7 = 0xD7,
    SOI = 0xD8,
    EOI = 0xD9,
    SOS = 0xDA,
    APP0 = 0xE0,
    APP1 = 0xE1,
    APP2 = 0xE2
};
static const char EXIF_MARK[] = {'E', 'x', 'i', 'f', 0, 0};
static const char PROFILE_MARK[] = "ICC_PROFILE";   // with its zero byte; then the part's number and how many there are
static const size_t PROFILE_HEAD = sizeof PROFILE_MARK + 2;
static const size_t LONGEST_MARKER = 65533;
static const int32_t LONGEST_EDGE = 65500;
static const int MOST_SCANS = 500;   // a small file must not keep a large picture busy for hours

//---- Reading: the markers

struct JpegReader {
    Reading &reading;
    FileBytes file = {};
    uint32_t width = 0, height = 0;
    int channels = 0;
    int scans = 0;
    std::vector<FileBytes> profileParts = {};
};

static bool Damaged(JpegReader &reader, const std::string &words)
{
    return Fail(reader.reading.error, "damaged or unknown JPEG data (" + words + ")");
}

static bool EndsTooSoon(JpegReader &reader)
{
    return Fail(reader.reading.error, "the file ends before its picture does");
}

static bool TakeFrame(JpegReader &reader, const uint8_t *bytes, size_t count)
{
    if (reader.channels) return Damaged(reader, "it has two sizes");
    if (count < 6 || bytes[0] != 8) return Damaged(reader, "its samples do not have 8 bits");
    reader.height = High16(bytes + 1);
    reader.width = High16(bytes + 3);
    reader.channels = bytes[5];
    if (reader.channels == 1 || reader.channels == 3 || reader.channels == 4) return true;
    return Damaged(reader, std::to_string(reader.channels) + " channels are not known here");
}

static bool Begins(const uint8_t *bytes, size_t count, const char *mark, size_t length)
{
    return count > length && memcmp(bytes, mark, length) == 0;
}

static void TakeExtra(JpegReader &reader, int marker, const uint8_t *bytes, size_t count)
{
    PictureExtras &extras = reader.reading.picture.extras;
    if (marker == APP0 && count >= 12 && memcmp(bytes, "JFIF", 5) == 0 && (bytes[7] == 1 || bytes[7] == 2)) {
        const double perInch = bytes[7] == 2 ? 2.54 : 1.0;
        extras.dotsPerInchX = High16(bytes + 8) * perInch;
        extras.dotsPerInchY = High16(bytes + 10) * perInch;
    } else if (marker == APP1 && extras.exif.empty() && Begins(bytes, count, EXIF_MARK, sizeof EXIF_MARK)) {
        extras.exif.assign(bytes + sizeof EXIF_MARK, bytes + count);
    } else if (marker == APP2 && count > PROFILE_HEAD && Begins(bytes, count, PROFILE_MARK, sizeof PROFILE_MARK)) {
        const size_t number = bytes[sizeof PROFILE_MARK], parts = bytes[sizeof PROFILE_MARK + 1];
        if (number < 1 || number > parts) return;
        reader.profileParts.resize(std::max(parts, reader.profileParts.size()));
        reader.profileParts[number - 1].assign(bytes + PROFILE_HEAD, bytes + count);
    }
}

// The marker at `position`, found behind a scan's packed pixels as well; -1 at the file's end.
static int NextMarker(const FileBytes &file, size_t &position)
{
    for (; position + 1 < file.size(); ++position) {
        const int code = file[position + 1];
        if (file[position] != 0xFF || code == 0 || code == 0xFF || (code >= RST0 && code <= RST7)) continue;
        position += 2;
        return code;
    }
    return -1;
}

// Up to the mark that ends the picture: the component takes a file that breaks off for one that is grey from there on.
static bool TakeMarkers(JpegReader &reader)
{
    size_t position = 2;
    for (;;) {
        const int marker = NextMarker(reader.file, position);
        if (marker < 0) return EndsTooSoon(reader);
        if (marker == EOI) break;
        if (reader.file.size() - position < 2) return EndsTooSoon(reader);
        const size_t length = High16(reader.file.data() + position);
        if (length < 2) return Damaged(reader, "a marker is shorter than can be");
        if (length > reader.file.size() - position) return EndsTooSoon(reader);
        const uint8_t *bytes = reader.file.data() + position + 2;
        const bool isFrame = marker >= SOF0 && marker <= SOF15 && marker != DHT && marker != JPG && marker != DAC;
        if (isFrame && !TakeFrame(reader, bytes, length - 2)) return false;
        if (marker == SOS && ++reader.scans > MOST_SCANS) return Damaged(reader, "too many passes over the picture");
        TakeExtra(reader, marker, bytes, length - 2);
        position += length;
    }
    return (reader.channels && reader.scans) || Damaged(reader, "there is no picture in it");
}

//---- Reading: the picture

static WicPixels PixelsOf(const JpegReader &reader)
{
    return reader.channels == 1 ? WicPixels::PACKED8 : reader.channels == 3 ? WicPixels::BGR24 : WicPixels::CMYK32;
}

static void PutJpegRow(JpegReader &reader, uint32_t y, const uint8_t *from)
{
    Picture &picture = reader.reading.picture;
    uint8_t *row = RowToFill(picture, int32_t(y));
    if (reader.channels == 4) PutInks(from, picture.width, 4, row);
    else memcpy(row, from, size_t(picture.width) * size_t(reader.channels));
}

static void TakeProfile(JpegReader &reader)
{
    FileBytes profile;
    for (const FileBytes &part : reader.profileParts) {
        if (part.empty()) return;
        AddBytes(profile, part.data(), part.size());
    }
    if (reader.channels != 4) reader.reading.picture.extras.colourProfile = profile;
    else if (!profile.empty()) reader.reading.notices.push_back("the colour profile is left out: it is one for CMYK");
}

bool ReadJpeg(Reading &reading)
{
    JpegReader reader = {reading};
    if (!TakeAll(reading, reader.file) || !TakeMarkers(reader)) return false;
    const int32_t type = reader.channels == 1 ? GREY : RGB;
    if (!StartPicture(reading.picture, type, reader.width, reader.height, reading.error)) return false;
    if (reader.channels == 4) {
        reading.notices.push_back("CMYK is turned into RGB, without regard to a colour profile");
    }
    TakeProfile(reader);
    const WicPicture unpacked = {WicContainer::JPEG, PixelsOf(reader), reader.width, reader.height};
    std::string problem;
    const auto takesRow = [&](uint32_t y, const uint8_t *row) { PutJpegRow(reader, y, row); };
    return WicUnpack(unpacked, reader.file, takesRow, problem) || Damaged(reader, problem);
}

//---- Writing

static void AddMarker(FileBytes &file, int marker, const FileBytes &bytes)
{
    file.push_back(0xFF);
    file.push_back(uint8_t(marker));
    AddHigh16(file, uint32_t(bytes.size() + 2));
    AddBytes(file, bytes.data(), bytes.size());
}

static void AddResolution(FileBytes &file, const PictureExtras &extras)
{
    const double x = std::round(extras.dotsPerInchX), y = std::round(extras.dotsPerInchY);
    const bool known = x >= 1 && y >= 1 && x <= 65535 && y <= 65535;
    FileBytes marker = {'J', 'F', 'I', 'F', 0, 1, 1, uint8_t(known)};
    AddHigh16(marker, known ? uint32_t(x) : 1);
    AddHigh16(marker, known ? uint32_t(y) : 1);
    AddHigh16(marker, 0);   // no small picture
    AddMarker(file, APP0, marker);
}

static void AddExif(FileBytes &file, const FileBytes &exif, Notices &notices)
{
    if (exif.size() + sizeof EXIF_MARK > LONGEST_MARKER) {
        notices.push_back("the EXIF data are not stored: they are longer than a JPEG file can hold");
    } else if (!exif.empty()) {
        FileBytes marker(EXIF_MARK, EXIF_MARK + sizeof EXIF_MARK);
        AddBytes(marker, exif.data(), exif.size());
        AddMarker(file, APP1, marker);
    }
}

static void AddProfile(FileBytes &file, const FileBytes &profile, Notices &notices)
{
    const size_t partBytes = LONGEST_MARKER - PROFILE_HEAD, parts = (profile.size() + partBytes - 1) / partBytes;
    if (parts > 255) notices.push_back("the colour profile is not stored: it is longer than a JPEG file can hold");
    for (size_t i = 0; parts <= 255 && i < parts; ++i) {
        FileBytes marker(PROFILE_MARK, PROFILE_MARK + sizeof PROFILE_MARK);
        marker.push_back(uint8_t(i + 1));
        marker.push_back(uint8_t(parts));
        AddBytes(marker, profile.data() + i * partBytes, std::min(partBytes, profile.size() - i * partBytes));
        AddMarker(file, APP2, marker);
    }
}

// The component's file with markers of our own in place of its application markers.
static bool Reframe(const FileBytes &packed, Writing &writing, FileBytes &file)
{
    const PictureExtras &extras = writing.picture.extras;
    file = {0xFF, SOI};
    AddResolution(file, extras);
    AddExif(file, extras.exif, writing.notices);
    AddProfile(file, extras.colourProfile, writing.notices);
    size_t position = 2;
    while (packed.size() - position >= 4 && packed[position] == 0xFF && (packed[position + 1] & 0xF0) == APP0) {
        position += 2 + High16(packed.data() + position + 2);
        if (position > packed.size()) return false;
    }
    AddBytes(file, packed.data() + position, packed.size() - position);
    return packed.size() - position >= 4;
}

static bool IsGrey(const Picture &picture) { return picture.colourType == GREY || picture.colourType == ONE_BIT; }

static void FillJpegRow(const Picture &picture, int32_t y, uint8_t *row)
{
    if (IsGrey(picture)) {
        GreyRow(picture, y, row);
    } else {
        ColourRow(picture, y, row);
        SwapRedBlue(row, row, picture.width);
    }
}

// From quality 90 up colours are stored at full resolution too.
static std::vector<WicOption> OptionsOf(const SaveOptions &options)
{
    enum { HALF_RESOLUTION = 1, FULL_RESOLUTION = 3 };
    const int quality = std::clamp(options.quality, 1, 100);
    return {{L"ImageQuality", true, float(quality) / 100, 0},
            {L"JpegYCrCbSubsampling", false, 0, uint8_t(quality >= 90 ? FULL_RESOLUTION : HALF_RESOLUTION)}};
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
    const WicPicture form = {WicContainer::JPEG, IsGrey(picture) ? WicPixels::PACKED8 : WicPixels::BGR24,
                             uint32_t(picture.width), uint32_t(picture.height)};
    FileBytes packed, file;
    std::string problem;
    const auto fillsRow = [&](uint32_t y, uint8_t *row) { FillJpegRow(picture, int32_t(y), row); };
    if (!WicPack(form, OptionsOf(writing.options), fillsRow, packed, problem)) {
        return Fail(writing.error, "cannot be written as JPEG (" + problem + ")");
    }
    if (!Reframe(packed, writing, file)) return Fail(writing.error, "cannot be written as JPEG (no picture came)");
    return PutAll(writing, file);
}
