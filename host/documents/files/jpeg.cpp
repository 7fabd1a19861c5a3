// JPEG: what the segments of a file mean for a picture, and the segments that a picture becomes; grey and RGB, other
// pictures are stored as one of the two, inks (CMYK) become RGB. The container is jpeg_segments.cpp's, packing and
// unpacking a codec's (see codecs.h).

#include "host/documents/files/codecs.h"
#include "host/documents/files/inks.h"
#include "host/documents/files/iptc.h"
#include "host/documents/files/jpeg_form.h"
#include "host/documents/files/words.h"

#include <algorithm>
#include <cmath>
#include <cstring>

static const char EXIF_MARK[] = {'E', 'x', 'i', 'f', 0, 0};
static const char PROFILE_MARK[] = "ICC_PROFILE";   // with its zero byte; then the part's number and how many there are
static const size_t PROFILE_HEAD = sizeof PROFILE_MARK + 2;
static const char XMP_MARK[] = "http://ns.adobe.com/xap/1.0/";              // with its zero byte
static const char LONG_XMP_MARK[] = "http://ns.adobe.com/xmp/extension/";   // of what did not fit into one segment
static const char RESOURCES_MARK[] = "Photoshop 3.0";
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
        if (!Begins(segment, JPEG_MARK_APP0, "JFIF", 5) || bytes.size() < 12 || bytes[7] > 2) continue;
        const uint32_t x = High16(bytes.data() + 8), y = High16(bytes.data() + 10);
        if (bytes[7] == 0 && x > 0 && y > 0) extras.aspectX = x, extras.aspectY = y;
        if (bytes[7] == 0) continue;
        const double perInch = bytes[7] == 2 ? 2.54 : 1.0;
        extras.dotsPerInchX = x * perInch;
        extras.dotsPerInchY = y * perInch;
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

static void TakeXmp(const JpegFile &file, Reading &reading)
{
    bool more = false;
    for (const JpegSegment &segment : file.metadata) {
        Bytes &xmp = reading.picture.extras.xmp;
        more = more || Begins(segment, JPEG_MARK_APP1, LONG_XMP_MARK, sizeof LONG_XMP_MARK);
        if (!xmp.empty() || !Begins(segment, JPEG_MARK_APP1, XMP_MARK, sizeof XMP_MARK)) continue;
        xmp.assign(segment.bytes.begin() + sizeof XMP_MARK, segment.bytes.end());
    }
    if (more) reading.notices.push_back("what stands beside the XMP data's first part is left out");
}

static void TakeIptc(const JpegFile &file, Reading &reading)
{
    Bytes resources;
    for (const JpegSegment &segment : file.metadata) {
        if (!Begins(segment, JPEG_MARK_APP13, RESOURCES_MARK, sizeof RESOURCES_MARK)) continue;
        AddBytes(resources, segment.bytes.data() + sizeof RESOURCES_MARK, segment.bytes.size() - sizeof RESOURCES_MARK);
    }
    ResourcesLeft left;
    reading.picture.extras.iptc = IptcOfResources(resources, left);
    TellResourcesLeft(left, reading.notices);
}

static void TakeComments(const JpegFile &file, PictureExtras &extras)
{
    for (const JpegSegment &segment : file.metadata) {
        if (segment.mark != JPEG_MARK_COM || segment.bytes.empty()) continue;
        extras.texts.push_back({COMMENT, TextInUtf8(segment.bytes)});
    }
}

// What a segment that is not taken is called; empty for those that are, or say only how the file was packed.
static std::string NameOfLeftOut(const JpegSegment &segment)
{
    const auto begins = [&segment](int mark, const char *start) { return Begins(segment, mark, start, strlen(start)); };
    if (segment.mark == JPEG_MARK_COM || begins(JPEG_MARK_APP0, "JFIF") || begins(JPEG_MARK_APP14, "Adobe") ||
        begins(JPEG_MARK_APP1, "Exif") || begins(JPEG_MARK_APP1, XMP_MARK) || begins(JPEG_MARK_APP1, LONG_XMP_MARK) ||
        begins(JPEG_MARK_APP2, PROFILE_MARK) || begins(JPEG_MARK_APP13, RESOURCES_MARK) ||
        begins(JPEG_MARK_APP0 + 12, "Ducky") || segment.bytes.empty()) {
        return {};
    }
    std::string name = "APP" + std::to_string(segment.mark - JPEG_MARK_APP0);
    const auto letter = [](uint8_t byte) { return byte > ' ' && byte < 0x7F; };
    const bool jumbf = begins(JPEG_MARK_APP0 + 11, "JP");
    const auto end = std::find_if_not(segment.bytes.begin(), segment.bytes.end(), letter);
    const std::string own = jumbf ? "JUMBF" : std::string(segment.bytes.begin(), end);
    return own.size() >= 3 && own.size() <= 20 ? name + " " + own : name;
}

static void TellLeftOut(const JpegFile &file, Notices &notices)
{
    std::vector<std::string> names;
    bool preview = false;
    for (const JpegSegment &segment : file.metadata) {
        const bool extension = Begins(segment, JPEG_MARK_APP0, "JFXX", 5);
        const bool jfif = Begins(segment, JPEG_MARK_APP0, "JFIF", 5) && segment.bytes.size() > 14;
        preview = preview || extension || (jfif && segment.bytes[12] && segment.bytes[13]);
        const std::string name = extension ? "" : NameOfLeftOut(segment);
        if (!name.empty() && std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
    }
    std::string list;
    for (const std::string &name : names) list += (list.empty() ? "" : ", ") + name;
    if (!list.empty()) notices.push_back(UNKNOWN_PARTS_ARE_DROPPED + list);
    if (preview) notices.push_back("a preview in the file's head is left out: it shows the picture as it was");
}

// Further pictures, a film, a program's own data. Of a pipe only what has come: one that stays open is not waited for.
static void TellTail(Source &source, Notices &notices)
{
    uint64_t count = 0;
    const uint8_t *bytes;
    while (source.next < source.end || source.size >= 0) {
        const size_t part = TakeBuffer(source, bytes);
        if (part == 0) break;
        const bool blank = std::all_of(bytes, bytes + part, [](uint8_t byte) { return byte == 0 || byte == 0xFF; });
        if (!blank || count > 0) count += part;
    }
    if (count == 0) return;
    notices.push_back("what stands behind the picture is left out (" + std::to_string(count) +
                      " bytes: further pictures, a film or other data)");
}

static void TakeExtras(const JpegFile &file, Reading &reading)
{
    PictureExtras &extras = reading.picture.extras;
    TakeXmp(file, reading);
    TakeIptc(file, reading);
    TakeComments(file, extras);
    TakeJpegForm(file, extras.shape);
    TakeResolution(file, extras);
    TakeExif(file, extras);
    if (file.frame.channels != 4) extras.colourProfile = ProfileOf(file);
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
    InkConversion conversion;
    const bool converts = channels == 4 && StartInks(ProfileOf(file), conversion);
    if (channels == 4) {
        reading.notices.push_back(converts ? "CMYK is turned into RGB (sRGB) through its colour profile"
                                           : "CMYK is turned into RGB, without regard to a colour profile");
    }
    TakeExtras(file, reading);
    bool damaged = false;
    int32_t rowsDone = 0;
    std::string problem;
    const auto takesRow = [&](uint32_t y, const uint8_t *samples) {
        uint8_t *row = RowToFill(picture, int32_t(y));
        if (converts) ConvertInks(conversion, samples, picture.width, row);
        else if (channels == 4) PutInks(samples, picture.width, 4, row);
        else memcpy(row, samples, size_t(picture.width) * size_t(channels));
        ++rowsDone;
    };
    if (!UnpackJpeg(file, takesRow, damaged, problem)) return FailPixels(file, rowsDone, problem);
    if (damaged) reading.notices.push_back("the file is damaged: parts of the picture may be wrong");
    TellLeftOut(file, reading.notices);
    if (file.place == JpegFile::DONE) TellTail(reading.source, reading.notices);
    return true;
}

//---- Writing

static void AddResolution(Bytes &file, const PictureExtras &extras)
{
    const double x = std::round(extras.dotsPerInchX), y = std::round(extras.dotsPerInchY);
    const bool known = x >= 1 && y >= 1 && x <= 65535 && y <= 65535;
    Bytes segment = {'J', 'F', 'I', 'F', 0, 1, 1, uint8_t(known)};
    uint32_t across = extras.aspectX == extras.aspectY ? 1 : extras.aspectX,
             down = extras.aspectX == extras.aspectY ? 1 : extras.aspectY;
    while (std::max(across, down) > UINT16_MAX) across = std::max(across / 2, 1u), down = std::max(down / 2, 1u);
    AddHigh16(segment, known ? uint32_t(x) : across);
    AddHigh16(segment, known ? uint32_t(y) : down);
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

static void AddWords(Bytes &file, const PictureExtras &extras, Notices &notices)
{
    if (extras.xmp.size() + sizeof XMP_MARK > JPEG_LONGEST_SEGMENT) {
        notices.push_back("the XMP data are not stored: they are longer than a JPEG file can hold");
    } else if (!extras.xmp.empty()) {
        Bytes segment(XMP_MARK, XMP_MARK + sizeof XMP_MARK);
        AddBytes(segment, extras.xmp.data(), extras.xmp.size());
        AddSegment(file, JPEG_MARK_APP1, segment);
    }
    if (extras.iptc.size() + sizeof RESOURCES_MARK + 13 > JPEG_LONGEST_SEGMENT) {
        notices.push_back("the IPTC data are not stored: they are longer than a JPEG file can hold");
    } else if (!extras.iptc.empty()) {
        Bytes segment(RESOURCES_MARK, RESOURCES_MARK + sizeof RESOURCES_MARK);
        const Bytes resource = ResourceOfIptc(extras.iptc);
        AddBytes(segment, resource.data(), resource.size());
        AddSegment(file, JPEG_MARK_APP13, segment);
    }
    for (const FileText &text : extras.texts) {
        if (!IsComment(text)) continue;
        const size_t count = std::min(text.text.size(), JPEG_LONGEST_SEGMENT);
        AddSegment(file, JPEG_MARK_COM, {reinterpret_cast<const uint8_t *>(text.text.data()), count});
    }
}

//---- Writing: the whole

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
    TellLeftOut(picture, "JPEG",
                KEEPS_PROFILE | KEEPS_EXIF | KEEPS_RESOLUTION | KEEPS_XMP | KEEPS_IPTC | KEEPS_COMMENT | KEEPS_ASPECT,
                writing.notices);
    Bytes head = {0xFF, JPEG_SOI};
    AddResolution(head, picture.extras);
    AddExif(head, picture.extras.exif, writing.notices);
    AddWords(head, picture.extras, writing.notices);
    AddProfile(head, picture.extras.colourProfile, writing.notices);
    const JpegForm form = JpegFormFor(picture, writing.options, IsGrey(picture) ? 1 : 3);
    TellJpegForm(form, writing.notices);
    std::string problem = CANNOT_BE_WRITTEN;
    const auto fillsRow = [&](uint32_t y, uint8_t *row) { FillJpegRow(picture, int32_t(y), row); };
    const auto puts = [&](const uint8_t *bytes, size_t count) { return Put(writing.sink, bytes, count); };
    const bool done = puts(head.data(), head.size()) && PackJpeg(form, fillsRow, puts, problem);
    return done || Fail(writing.error, "cannot be written as JPEG (" + problem + ")");
}
