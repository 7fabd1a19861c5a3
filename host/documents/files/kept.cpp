// Turns pictures upright and mends what their files said, see kept.h. Reads and writes no file itself but the small
// picture within EXIF data, which is a JPEG file of its own.

#include "host/documents/files/kept.h"

#include "host/documents/files/codecs.h"
#include "host/documents/files/exif.h"
#include "host/documents/files/iptc.h"
#include "host/documents/files/words.h"
#include "host/documents/files/xmp.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <utility>

static const int32_t SMALL_WIDTH = 160, SMALL_HEIGHT = 120;   // of the picture within EXIF data, at most
static const int SMALL_QUALITY = 75;

//---- Time

FileTime TimeOfChange()
{
    const char *given = getenv("SOURCE_DATE_EPOCH");
    const time_t now = given && *given ? time_t(strtoll(given, nullptr, 10)) : time(nullptr);
    struct tm parts = {};
#ifdef _WIN32
    gmtime_s(&parts, &now);
#else
    gmtime_r(&now, &parts);
#endif
    return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec};
}

static std::string TimeText(const char *form)
{
    const FileTime time = TimeOfChange();
    char text[80];
    snprintf(text, sizeof text, form, time.year, time.month, time.day, time.hour, time.minute, time.second);
    return text;
}

//---- XMP and IPTC

static std::string TextOf(const Bytes &bytes) { return std::string(bytes.begin(), bytes.end()); }

static const char XMP_SPACE[] = "http://ns.adobe.com/xap/1.0/", TIFF_SPACE[] = "http://ns.adobe.com/tiff/1.0/",
                  EXIF_SPACE[] = "http://ns.adobe.com/exif/1.0/";

// What is not true of the result, or shows the picture as it was.
static std::vector<XmpChange> XmpChangesFor(const Picture &picture)
{
    const std::string width = std::to_string(picture.width), height = std::to_string(picture.height);
    const std::string now = TimeText("%04d-%02d-%02dT%02d:%02d:%02dZ");
    return {{TIFF_SPACE, "ImageWidth", XmpChange::SET, width},
            {EXIF_SPACE, "PixelXDimension", XmpChange::SET, width},
            {TIFF_SPACE, "ImageLength", XmpChange::SET, height},
            {EXIF_SPACE, "PixelYDimension", XmpChange::SET, height},
            {XMP_SPACE, "ModifyDate", XmpChange::SET, now},
            {XMP_SPACE, "MetadataDate", XmpChange::SET, now},
            {XMP_SPACE, "Thumbnails", XmpChange::DROP_PREVIEW},
            {"http://ns.adobe.com/xap/1.0/g/img/", "image", XmpChange::DROP_PREVIEW},
            {"http://ns.google.com/photos/1.0/image/", "Data", XmpChange::DROP_PREVIEW},
            {"http://ns.google.com/photos/1.0/depthmap/", "Data", XmpChange::DROP_PREVIEW},
            {"http://ns.google.com/photos/1.0/depthmap/", "Confidence", XmpChange::DROP_PREVIEW},
            // They tell of further parts and files behind the picture, which are not written.
            {"http://ns.adobe.com/xmp/note/", "HasExtendedXMP", XmpChange::DROP},
            {"http://ns.google.com/photos/1.0/camera/", "MicroVideo*", XmpChange::DROP},
            {"http://ns.google.com/photos/1.0/camera/", "MotionPhoto*", XmpChange::DROP},
            {"http://ns.google.com/photos/1.0/container/", nullptr, XmpChange::DROP},
            {"http://ns.adobe.com/hdr-gain-map/1.0/", nullptr, XmpChange::DROP}};
}

static void MendXmp(PictureExtras &extras, const Picture &picture, Notices &notices)
{
    if (extras.xmp.empty()) return;
    std::string text = TextOf(extras.xmp);
    bool preview = false;
    // Of 16 bits a letter, say, or broken: what is in it cannot be told.
    if (text.find("RDF") == std::string::npos || !ChangeXmp(text, XmpChangesFor(picture), &preview)) {
        extras.xmp.clear();
        notices.push_back("the XMP data are left out: they are written in a way not known here");
        return;
    }
    extras.xmp.assign(text.begin(), text.end());
    if (preview) notices.push_back("previews among the XMP data are left out: they show the picture as it was");
}

static void MendIptc(PictureExtras &extras, Notices &notices)
{
    const IptcMended mended = MendIptc(extras.iptc);
    if (mended.preview) notices.push_back("a preview among the IPTC data is left out: it shows the picture as it was");
    if (mended.damaged) notices.push_back("damaged IPTC data are left out");
}

//---- Orientation

int OrientationOf(const PictureExtras &extras)
{
    Exif exif;
    if (extras.exif.empty() || !TakeExif(extras.exif, exif)) return 1;
    const uint32_t mark = NumberOf(exif, exif.picture, TIFF_ORIENTATION, 1);
    return mark >= 1 && mark <= 8 ? int(mark) : 1;
}

// The place in the stored plane of what stands at x, y of the upright one: along + x * right + y * down.
struct Way {
    int32_t x, y;             // where the upright picture's first pixel is stored
    int32_t rightX, rightY;   // from one to that at its right
    int32_t downX, downY;
};

static Way WayOf(int orientation, int32_t width, int32_t height)
{
    const int32_t right = width - 1, bottom = height - 1;
    switch (orientation) {
    case 2: return {right, 0, -1, 0, 0, 1};
    case 3: return {right, bottom, -1, 0, 0, -1};
    case 4: return {0, bottom, 1, 0, 0, -1};
    case 5: return {0, 0, 0, 1, 1, 0};
    case 6: return {0, bottom, 0, -1, 1, 0};
    case 7: return {right, bottom, 0, -1, -1, 0};
    case 8: return {right, 0, 0, 1, -1, 0};
    default: return {0, 0, 1, 0, 0, 1};
    }
}

static void TurnPlane(const uint8_t *from, int32_t bits, int32_t width, const Way &way, Picture &to, uint8_t *plane)
{
    const ptrdiff_t stride = RowStride(bits, width);
    for (int32_t y = 0; y < to.height; ++y) {
        uint8_t *row = plane + ptrdiff_t(RowStride(bits, to.width)) * y;
        int32_t storedX = way.x + y * way.downX, storedY = way.y + y * way.downY;
        for (int32_t x = 0; x < to.width; ++x, storedX += way.rightX, storedY += way.rightY) {
            const uint8_t *stored = from + stride * storedY;
            if (bits == 1) SetBit(row, x, BitAt(stored, storedX));
            else memcpy(row + ptrdiff_t(x) * (bits / 8), stored + ptrdiff_t(storedX) * (bits / 8), size_t(bits / 8));
        }
    }
}

static void MarkUpright(PictureExtras &extras, bool across)
{
    Exif exif;
    if (TakeExif(extras.exif, exif)) {
        // In its place: a block that is not written again keeps all that it has.
        const size_t entries = exif.lowFirst ? Low32(extras.exif.data() + 4) : High32(extras.exif.data() + 4);
        for (size_t at = entries + 2; at + 12 <= extras.exif.size(); at += 12) {
            uint8_t *field = extras.exif.data() + at;
            if ((exif.lowFirst ? Low16(field) : High16(field)) != TIFF_ORIENTATION) continue;
            const bool shorts = (exif.lowFirst ? Low16(field + 2) : High16(field + 2)) == TIFF_SHORTS;
            memset(field + 8, 0, 4);
            field[exif.lowFirst ? 8 : shorts ? 9 : 11] = 1;
            break;
        }
    }
    std::string xmp = TextOf(extras.xmp);
    const XmpChange upright = {TIFF_SPACE, "Orientation", XmpChange::SET, "1"};
    if (ChangeXmp(xmp, {&upright, 1}, nullptr)) extras.xmp.assign(xmp.begin(), xmp.end());
    if (across) std::swap(extras.dotsPerInchX, extras.dotsPerInchY);
    if (across) std::swap(extras.aspectX, extras.aspectY);
}

bool TurnUpright(Picture &picture, std::string &error)
{
    const int orientation = OrientationOf(picture.extras);
    if (orientation == 1) return true;
    const bool across = orientation >= 5;
    const Way way = WayOf(orientation, picture.width, picture.height);
    Picture turned;
    CopyDescription(turned, picture);
    turned.extras = std::move(picture.extras);
    if (across) std::swap(turned.width, turned.height);
    const auto room = [&](int32_t bits) {
        Picture plane;
        const int32_t type = bits == 1 ? ONE_BIT : bits == 24 ? RGB : GREY;
        return StartPicture(plane, type, turned.width, turned.height, true, error) ? std::move(plane.pixels) : nullptr;
    };
    const auto turn = [&](PlaneBytes &plane, int32_t bits) {
        PlaneBytes made = room(bits);
        if (!made) return false;
        memset(made.get(), 0, size_t(RowStride(bits, turned.width)) * size_t(turned.height));
        TurnPlane(plane.get(), bits, picture.width, way, turned, made.get());
        plane = std::move(made);
        return true;
    };
    if (!turn(picture.pixels, picture.bitsPerPixel)) return false;
    if (picture.mask && !turn(picture.mask, picture.maskBitsPerPixel)) return false;
    turned.pixels = std::move(picture.pixels);
    turned.mask = std::move(picture.mask);
    turned.maskBitsPerPixel = picture.maskBitsPerPixel;
    picture = std::move(turned);
    MarkUpright(picture.extras, across);
    return true;
}

//---- The small picture

// Means of the pixels that each of the small picture's covers, blue first.
static Bytes SmallPixels(const Picture &picture, int32_t width, int32_t height)
{
    Bytes small, row(size_t(picture.width) * 3);
    small.reserve(size_t(width) * size_t(height) * 3);
    std::vector<uint64_t> sums(size_t(width) * 3);
    int32_t y = 0;
    for (int32_t to = 0; to < height; ++to) {
        const int32_t end = int32_t(int64_t(picture.height) * (to + 1) / height);
        const uint64_t rows = uint64_t(end - y);
        std::fill(sums.begin(), sums.end(), 0);
        for (; y < end; ++y) {
            ColourRow(picture, y, row.data());
            for (int32_t x = 0, toX = 0; toX < width; ++toX) {
                const int32_t endX = int32_t(int64_t(picture.width) * (toX + 1) / width);
                for (; x < endX; ++x)
                    for (size_t c = 0; c < 3; ++c) sums[size_t(toX) * 3 + c] += row[size_t(x) * 3 + c];
            }
        }
        for (int32_t x = 0; x < width; ++x) {
            const int64_t first = int64_t(picture.width) * x / width, last = int64_t(picture.width) * (x + 1) / width;
            const uint64_t count = rows * uint64_t(last - first);
            for (size_t c = 3; c-- > 0;) small.push_back(uint8_t((sums[size_t(x) * 3 + c] + count / 2) / count));
        }
    }
    return small;
}

static Bytes SmallPicture(const Picture &picture)
{
    const double scale = std::min({1.0, double(SMALL_WIDTH) / picture.width, double(SMALL_HEIGHT) / picture.height});
    const int32_t width = std::max(1, int32_t(std::lround(picture.width * scale)));
    const int32_t height = std::max(1, int32_t(std::lround(picture.height * scale)));
    const Bytes pixels = SmallPixels(picture, width, height);
    Bytes file = {0xFF, JPEG_SOI};
    JpegForm form;
    form.width = uint32_t(width);
    form.height = uint32_t(height);
    form.channels = 3;
    form.quality = SMALL_QUALITY;
    std::string problem;
    const auto fills = [&](uint32_t y, uint8_t *row) {
        memcpy(row, pixels.data() + size_t(y) * size_t(width) * 3, size_t(width) * 3);
    };
    const auto puts = [&](const uint8_t *bytes, size_t count) {
        AddBytes(file, bytes, count);
        return true;
    };
    return PackJpeg(form, fills, puts, problem) ? file : Bytes();
}

//---- EXIF

// Formats that have EXIF data and no texts with names.
static bool HoldsExifOnly(FileFormat format)
{
    return format == FileFormat::JPEG || format == FileFormat::TIFF || format == FileFormat::WEBP;
}

static void MendExif(PictureExtras &extras, const Picture &picture, bool movesTexts, Notices &notices)
{
    Exif exif;
    if (!extras.exif.empty() && !TakeExif(extras.exif, exif)) {
        extras.exif.clear();
        notices.push_back("the EXIF data are damaged and left out");
    }
    if (movesTexts) MoveTexts(extras.texts, exif);
    if (extras.exif.empty() && exif.picture.empty()) return;
    const uint32_t width = uint32_t(picture.width), height = uint32_t(picture.height);
    ChangeNumber(exif, exif.picture, TIFF_WIDTH, width);
    ChangeNumber(exif, exif.picture, TIFF_HEIGHT, height);
    ChangeNumber(exif, exif.camera, EXIF_WIDTH, width);
    ChangeNumber(exif, exif.camera, EXIF_HEIGHT, height);
    const double perUnit = NumberOf(exif, exif.picture, TIFF_RESOLUTION_UNIT, 2) == 3 ? 2.54 : 1.0;
    ChangeFraction(exif, exif.picture, TIFF_X_RESOLUTION, extras.dotsPerInchX / perUnit);
    ChangeFraction(exif, exif.picture, TIFF_Y_RESOLUTION, extras.dotsPerInchY / perUnit);
    DropField(exif.camera, EXIF_PACKED_BITS);
    if (FieldOf(exif.picture, EXIF_CHANGED)) {
        SetText(exif.picture, EXIF_CHANGED, TimeText("%04d:%02d:%02d %02d:%02d:%02d"));
        for (int tag : {0x9010, 0x9290}) DropField(exif.camera, tag);   // its zone and its fractions of a second
        if (!exif.camera.empty()) SetText(exif.camera, 0x9010, "+00:00");
    }
    bool noteDropped = false;
    extras.exif = ExifBlock(exif, exif.smallPicture ? SmallPicture(picture) : Bytes(), noteDropped);
    if (noteDropped) notices.push_back(MAKERS_NOTES_ARE_DROPPED);
    if (exif.preview) notices.push_back("previews among the EXIF data are left out: they show the picture as it was");
}

// Without all but what tells how the picture is to be turned and, unless all is stripped, what its colours are.
static Bytes BareExif(const Bytes &block, Strip strip)
{
    Exif exif, bare;
    if (block.empty() || !TakeExif(block, exif)) return {};
    bare.lowFirst = exif.lowFirst;
    for (const ExifField &field : exif.picture) {
        const bool colours = field.tag == TIFF_TRANSFER || field.tag == TIFF_WHITE_POINT || field.tag == TIFF_PRIMARIES;
        const bool turns = field.tag == TIFF_ORIENTATION && NumberOf(exif, exif.picture, TIFF_ORIENTATION, 1) != 1;
        if (turns || (colours && strip != Strip::ALL)) bare.picture.push_back(field);
    }
    bool ignored = false;
    return bare.picture.empty() ? Bytes() : ExifBlock(bare, {}, ignored);
}

//---- Texts

// Programs that keep fields of EXIF data and the file's time as texts, too.
static void MendTexts(PictureExtras &extras, const Picture &picture)
{
    const std::string width = std::to_string(picture.width), height = std::to_string(picture.height);
    const struct {
        const char *name;
        std::string text;
    } fields[] = {{"exif:PixelXDimension", width},
                  {"exif:PixelYDimension", height},
                  {"exif:ImageWidth", width},
                  {"exif:ImageLength", height},
                  {"exif:Orientation", std::to_string(OrientationOf(extras))},
                  {"exif:DateTime", TimeText("%04d:%02d:%02d %02d:%02d:%02d")},
                  {"date:modify", TimeText("%04d-%02d-%02dT%02d:%02d:%02d+00:00")}};
    std::erase_if(extras.texts, [](const FileText &text) { return text.name.starts_with("exif:thumbnail:"); });
    for (FileText &text : extras.texts)
        for (const auto &field : fields)
            if (text.name == field.name) text.text = field.text;
}

//---- Profiles

// Files of these formats hold grey pictures as grey; others as colours that are grey.
static bool HoldsGrey(FileFormat format)
{
    return format == FileFormat::PNG || format == FileFormat::JPEG || format == FileFormat::TIFF;
}

// A profile is for grey or for colours: one for the other kind would be no profile of the file's.
static void MendProfile(PictureExtras &extras, const Picture &picture, FileFormat format, Notices &notices)
{
    const Bytes &profile = extras.colourProfile;
    if (format == FileFormat::PNM || profile.size() < 40 || memcmp(profile.data() + 36, "acsp", 4) != 0) return;
    const bool grey = HoldsGrey(format) && (picture.colourType == GREY || picture.colourType == ONE_BIT);
    if (memcmp(profile.data() + 16, grey ? "GRAY" : "RGB ", 4) == 0) return;
    const bool other = memcmp(profile.data() + 16, grey ? "RGB " : "GRAY", 4) == 0;
    extras.colourProfile.clear();
    notices.push_back(std::string("the colour profile is not stored: it ") +
                      (!other ? "does not fit the picture"
                       : grey ? "is one for colours, and the file is grey"
                              : "is one for grey, and such a file holds colours"));
}

//---- Before writing

PictureExtras ExtrasFor(const Picture &picture, FileFormat format, const SaveOptions &options, Notices &notices)
{
    PictureExtras extras = picture.extras;
    if (options.strip != Strip::NOTHING) {
        PictureExtras bare;
        if (options.strip == Strip::METADATA) {
            bare.colourProfile = std::move(extras.colourProfile);
            bare.dotsPerInchX = extras.dotsPerInchX;
            bare.dotsPerInchY = extras.dotsPerInchY;
            bare.aspectX = extras.aspectX;
            bare.aspectY = extras.aspectY;
            bare.colourChunks = std::move(extras.colourChunks);
            MendProfile(bare, picture, format, notices);
        }
        bare.exif = BareExif(extras.exif, options.strip);
        bare.paletteAlpha = std::move(extras.paletteAlpha);
        bare.wasOneBit = extras.wasOneBit;
        bare.whiteIsZero = extras.whiteIsZero;
        bare.shape = std::move(extras.shape);
        return bare;
    }
    MendProfile(extras, picture, format, notices);
    MendExif(extras, picture, HoldsExifOnly(format), notices);
    MendXmp(extras, picture, notices);
    MendIptc(extras, notices);
    MendTexts(extras, picture);
    return extras;
}
