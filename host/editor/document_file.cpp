// See document_file.h. Pages and note are written and read here; what a page is in the file is host/documents/files'.
//
// The note, a line each, pages in the order of the lines that bring one:
//
//     velmorant 1
//     type T ENTRIES       a ColourType and the number of palette entries
//     alpha HEX            of palette entries, two digits each
//     next N               the number that the next object gets
//     selection X Y ...    the outline's points
//     mask BITS            a page: the mask, grey or 1-bit
//     base                 a page: the picture beneath the objects
//     object X Y S N       two pages: the object's pixels and its mask; whether it is selected, its number

#include "host/editor/document_file.h"

#include "host/documents/documents.h"
#include "host/paths/paths.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <utility>

static constexpr size_t MOST_OBJECTS = 1000, MOST_POINTS = 1000000;
static constexpr int32_t FARTHEST = 10000000;   // pixels from the picture's corner

static size_t PlaneBytesOf(int32_t bits, int32_t width, int32_t height)
{
    return size_t(RowStride(bits, width)) * size_t(height);
}

//---- Writing

bool NeedsDocument(const ImageRecord &image)
{
    return image.objectList.count > 0 || image.mask || image.selection.pointCount > 0 || image.colourType == PALETTE;
}

// Pages whose planes are the image's own.
struct LentPages {
    std::vector<Picture> pages = {};
    LentPages() = default;
    LentPages(const LentPages &) = delete;
    LentPages &operator=(const LentPages &) = delete;
    ~LentPages()
    {
        for (Picture &page : pages) (void)page.pixels.release();
    }
    Picture &Add(int32_t colourType, int32_t width, int32_t height, uint8_t *pixels)
    {
        Picture &page = pages.emplace_back();
        page.width = width;
        page.height = height;
        page.colourType = colourType;
        page.bitsPerPixel = colourType == RGB ? 24 : colourType == ONE_BIT ? 1 : 8;
        page.pixels.reset(pixels);
        const Picture usual = colourType == GREY || colourType == ONE_BIT ? NewPicture(colourType, 1, 1) : Picture();
        CopyPalette(page, usual);
        return page;
    }
    void AddMask(int32_t bits, int32_t width, int32_t height, uint8_t *mask)
    {
        Add(bits == 8 ? GREY : ONE_BIT, width, height, mask);
    }
    void AddLike(const ImageRecord &image, int32_t width, int32_t height, uint8_t *pixels)
    {
        CopyPalette(Add(image.colourType, width, height, pixels), image);
    }
};

static void NotePalette(const PictureExtras &extras, std::ostringstream &note)
{
    if (extras.paletteAlpha.empty()) return;
    char digits[8];
    note << "alpha ";
    for (const uint8_t alpha : extras.paletteAlpha) {
        snprintf(digits, sizeof digits, "%02x", alpha);
        note << digits;
    }
    note << '\n';
}

static std::string NoteAndPages(const ImageRecord &image, const PictureExtras &extras, LentPages &lent)
{
    std::ostringstream note;
    note.imbue(std::locale::classic());
    note << "velmorant 1\ntype " << image.colourType << ' ' << image.paletteEntries << '\n';
    if (image.colourType == PALETTE) NotePalette(extras, note);
    note << "next " << image.nextObjectNumber << '\n';
    const Selection &selection = image.selection;
    if (selection.pointCount > 0) note << "selection";
    for (int32_t i = 0; i < selection.pointCount; ++i)
        note << ' ' << selection.points[i].x << ' ' << selection.points[i].y;
    if (selection.pointCount > 0) note << '\n';
    if (image.mask) {
        note << "mask " << image.maskBitsPerPixel << '\n';
        lent.AddMask(image.maskBitsPerPixel, image.width, image.height, image.mask);
    }
    if (image.objectList.count > 0) {
        note << "base\n";
        lent.AddLike(image, image.width, image.height, image.base.pixels);
    }
    for (int32_t i = 0; i < image.objectList.count; ++i) {
        const FloatingObject &object = *image.objectList.objects[i];
        const int32_t width = object.width, height = object.height;
        note << "object " << object.x << ' ' << object.y << ' ' << (object.selected ? 1 : 0) << ' ' << object.number
             << '\n';
        lent.AddLike(image, width, height, object.pixels);
        lent.AddMask(MaskBitsOf(image.colourType), width, height,
                     object.pixels + PlaneBytesOf(image.bitsPerPixel, width, height));
    }
    return note.str();
}

// The first page, with an alpha channel where such a page can have one: other programs see through it.
static void FillFirstPage(const Picture &seen, Picture &page)
{
    CopyDescription(page, seen);
    page.extras = seen.extras;
    page.extras.wasOneBit = false;
    page.extras.paletteAlpha.clear();
    page.extras.shape = {};   // packed without loss
    page.pixels.reset(seen.pixels.get());
    if (seen.colourType == ONE_BIT) return;
    page.maskBitsPerPixel = seen.maskBitsPerPixel;
    page.mask.reset(seen.mask.get());
}

bool WriteDocument(const std::string &file, const ImageRecord *image, std::vector<std::string> &notices,
                   std::string &error)
{
    bool done = false;
    LendPicture(image, image, [&](const Picture &seen) {
        LentPages lent;
        lent.pages.reserve(3 + 2 * size_t(image->objectList.count));
        SaveOptions options;
        options.note = NoteAndPages(*image, seen.extras, lent);
        options.further = &lent.pages;
        Picture first;
        FillFirstPage(seen, first);
        done = WritePicture(file, first, FileFormat::TIFF, options, notices, error);
        (void)first.pixels.release();
        (void)first.mask.release();
    });
    return done;
}

//---- Reading

struct NoteReader {
    const std::string &file;
    const Picture &first;
    int32_t colourType = 0, paletteEntries = 0;
    int page = 1;   // that was read last
};

static bool ReadPage(NoteReader &reader, Picture &page)
{
    FileFormat format;
    std::vector<std::string> ignored;
    std::string error, note;
    ReadOptions options;
    options.page = ++reader.page;
    options.note = &note;
    return ReadPicture(reader.file, page, format, ignored, error, options);
}

// What was written as this type, whatever it looks like by itself: a palette of greys looks like grey.
static bool BecomesType(Picture &page, int32_t colourType)
{
    const int32_t bits = colourType == RGB ? 24 : colourType == ONE_BIT ? 1 : 8;
    if (page.bitsPerPixel != bits || page.extras.whiteIsZero) return false;
    page.colourType = colourType;
    return true;
}

static bool ReadLikePicture(NoteReader &reader, Picture &page)
{
    if (!ReadPage(reader, page) || !BecomesType(page, reader.colourType)) return false;
    CopyPalette(page, reader.first);
    return true;
}

static bool ReadMask(NoteReader &reader, int32_t bits, int32_t width, int32_t height, Picture &mask)
{
    if ((bits != 8 && bits != 1) || !ReadPage(reader, mask)) return false;
    return BecomesType(mask, bits == 8 ? GREY : ONE_BIT) && mask.width == width && mask.height == height;
}

static bool TakePalette(std::istringstream &words, std::vector<uint8_t> &alpha)
{
    std::string digits;
    if (!(words >> digits) || digits.size() % 2 || digits.size() > 512) return false;
    if (digits.find_first_not_of("0123456789abcdef") != std::string::npos) return false;
    for (size_t i = 0; i < digits.size(); i += 2) alpha.push_back(uint8_t(std::stoi(digits.substr(i, 2), nullptr, 16)));
    return true;
}

static bool TakeType(NoteReader &reader, std::istringstream &words, Picture &picture)
{
    if (!(words >> reader.colourType >> reader.paletteEntries)) return false;
    const int32_t type = reader.colourType, entries = reader.paletteEntries;
    if (type != ONE_BIT && type != GREY && type != PALETTE && type != RGB) return false;
    const int32_t least = type == PALETTE ? picture.paletteEntries : type == GREY ? 256 : type == ONE_BIT ? 2 : 0;
    const int32_t most = type == PALETTE ? 256 : least;
    const bool greys = type == PALETTE && picture.colourType == GREY;   // all 256 by what they look like
    if (entries > most || entries < (greys ? 256 : least)) return false;
    const bool turned = picture.extras.whiteIsZero;   // the picture's own way
    picture.extras.whiteIsZero = false;
    const bool becomes = BecomesType(picture, type);
    picture.extras.whiteIsZero = turned;
    picture.paletteEntries = entries;
    return becomes;
}

static bool TakeSelection(std::istringstream &words, std::vector<POINT> &points)
{
    POINT point = {};
    while (words >> point.x >> point.y) {
        if (std::abs(point.x) > FARTHEST || std::abs(point.y) > FARTHEST || points.size() == MOST_POINTS) return false;
        points.push_back(point);
    }
    return words.eof() && !points.empty();
}

static bool TakeMask(NoteReader &reader, std::istringstream &words, Picture &picture)
{
    int32_t bits = 0;
    Picture mask;
    if (!(words >> bits) || !ReadMask(reader, bits, picture.width, picture.height, mask)) return false;
    picture.mask = std::move(mask.pixels);
    picture.maskBitsPerPixel = bits;
    return true;
}

// The picture that is opened is the one beneath the objects; what was seen of both is kept to be compared.
static bool TakeBase(NoteReader &reader, Picture &picture, Picture &seen)
{
    Picture base;
    if (seen.pixels || !ReadLikePicture(reader, base)) return false;
    if (base.width != picture.width || base.height != picture.height) return false;
    CopyDescription(seen, picture);
    seen.pixels = std::exchange(picture.pixels, std::move(base.pixels));
    return true;
}

static bool TakeObject(NoteReader &reader, std::istringstream &words, Document &document)
{
    Document::Object object;
    int selected = 0;
    if (document.objects.size() == MOST_OBJECTS || !document.seen.pixels) return false;
    if (!(words >> object.x >> object.y >> selected >> object.number)) return false;
    if (std::abs(object.x) > FARTHEST || std::abs(object.y) > FARTHEST) return false;
    object.selected = selected != 0;
    Picture &picture = object.picture;
    if (!ReadLikePicture(reader, picture)) return false;
    if (picture.width > MOST_OBJECT_EDGE || picture.height > MOST_OBJECT_EDGE) return false;
    if (!ReadMask(reader, MaskBitsOf(reader.colourType), picture.width, picture.height, object.mask)) return false;
    document.objects.push_back(std::move(object));
    return true;
}

static bool TakeLine(NoteReader &reader, const std::string &line, Picture &picture, Document &document)
{
    std::istringstream words(line);
    words.imbue(std::locale::classic());
    std::string word;
    words >> word;
    if (word == "type") return TakeType(reader, words, picture);
    if (word == "alpha") return TakePalette(words, picture.extras.paletteAlpha);
    if (word == "next") return words >> document.nextObjectNumber && document.nextObjectNumber > 0;
    if (word == "selection") return TakeSelection(words, document.selection);
    if (word == "mask") return TakeMask(reader, words, picture);
    if (word == "base") return TakeBase(reader, picture, document.seen);
    return word == "object" && TakeObject(reader, words, document);
}

static bool TakeNote(const std::string &file, const std::string &note, Picture &picture, Document &document)
{
    std::istringstream lines(note);
    std::string line;
    if (!std::getline(lines, line) || line != "velmorant 1") return false;
    NoteReader reader = {file, picture};
    while (std::getline(lines, line))
        if (!TakeLine(reader, line, picture, document)) return false;
    return reader.colourType != 0 && document.objects.empty() == !document.seen.pixels;
}

bool ReadDocument(const std::string &file, Picture &picture, FileFormat &format, Document &document,
                  std::vector<std::string> &notices, std::string &error)
{
    std::string note;
    ReadOptions options;
    options.note = &note;
    document = {};
    if (!ReadPicture(file, picture, format, notices, error, options)) return false;
    if (note.empty() || TakeNote(file, note, picture, document)) return true;
    document = {};
    notices.clear();
    if (!ReadPicture(file, picture, format, notices, error, options)) return false;
    notices.push_back("floating objects, mask and selected area are damaged and left out");
    return true;
}

//---- Putting it on the image

static void PutObject(ImageRecord *image, const Document::Object &from)
{
    const int32_t width = from.picture.width, height = from.picture.height;
    FloatingObject *object = MiscNewObject(image, width, height);
    object->x = from.x;
    object->y = from.y;
    object->selected = from.selected;
    object->number = int16_t(from.number);
    const size_t bytes = PlaneBytesOf(image->bitsPerPixel, width, height);
    memcpy(object->pixels, from.picture.pixels.get(), bytes);
    memcpy(object->pixels + bytes, from.mask.pixels.get(), PlaneBytesOf(from.mask.bitsPerPixel, width, height));
    MiscAddObject(image, object);
}

static void PutSelection(ImageRecord *image, const std::vector<POINT> &points)
{
    Selection &selection = image->selection;
    KPZ_AllocMem(&selection.points, uint32_t(points.size() * sizeof(POINT)), 0x301);
    std::copy(points.begin(), points.end(), selection.points);
    selection.pointCount = int32_t(points.size());
    selection.left = selection.right = points[0].x;
    selection.top = selection.bottom = points[0].y;
    for (const POINT &point : points) {
        selection.left = std::min<int32_t>(selection.left, point.x);
        selection.right = std::max<int32_t>(selection.right, point.x);
        selection.top = std::min<int32_t>(selection.top, point.y);
        selection.bottom = std::max<int32_t>(selection.bottom, point.y);
    }
}

// Bytes between the rows are nobody's.
static bool SamePlane(const uint8_t *one, const uint8_t *other, int32_t bits, int32_t width, int32_t height)
{
    const size_t stride = RowStride(bits, width), whole = size_t(bits) * size_t(width) / 8;
    for (int32_t y = 0; y < height; ++y, one += stride, other += stride)
        if (memcmp(one, other, whole) != 0) return false;
    return true;
}

bool Furnish(ImageRecord *image, Document &document)
{
    if (!document.selection.empty()) PutSelection(image, document.selection);
    for (const Document::Object &object : document.objects) PutObject(image, object);
    image->nextObjectNumber = std::max(image->nextObjectNumber, document.nextObjectNumber);
    if (document.objects.empty()) return true;
    MiscShowObjects(image);
    const uint8_t *seen = document.seen.pixels.get();
    if (SamePlane(image->pixels, seen, image->bitsPerPixel, image->width, image->height)) return true;
    while (image->objectList.count > 0) MiscRemoveObject(image, image->objectList.count - 1);
    memcpy(image->pixels, seen, PlaneBytesOf(image->bitsPerPixel, image->width, image->height));
    MiscShowObjects(image);
    return false;
}

//---- What other formats leave out

static bool KeepsType(FileFormat format, int32_t colourType)
{
    switch (format) {
    case FileFormat::PNG:
    case FileFormat::BMP:
    case FileFormat::TIFF: return true;
    case FileFormat::JPEG: return colourType == GREY || colourType == RGB;
    case FileFormat::PNM: return colourType != PALETTE;
    case FileFormat::GIF: return colourType == PALETTE;
    case FileFormat::WEBP: return colourType == RGB;
    case FileFormat::UNKNOWN: break;
    }
    return false;
}

static bool KeepsMask(FileFormat format, int32_t colourType, const std::string &name)
{
    const std::string ending = NameOf(PathOf(name).extension());
    const bool pam = ending.size() == 4 && tolower(ending[2]) == 'a' && tolower(ending[1]) == 'p';
    switch (format) {
    case FileFormat::TIFF: return true;
    case FileFormat::PNG: return colourType == GREY || colourType == RGB;
    case FileFormat::BMP: return colourType == RGB;
    case FileFormat::PNM: return pam && (colourType == GREY || colourType == RGB);
    case FileFormat::WEBP: return colourType == RGB;
    default: return false;
    }
}

std::vector<std::string> LeftOut(const ImageRecord &image, FileFormat format, const std::string &name)
{
    std::vector<std::string> parts;
    if (image.objectList.count > 0 && format != FileFormat::TIFF) parts.push_back("floating objects");
    if (image.mask && !KeepsMask(format, image.colourType, name)) parts.push_back("the mask");
    if (KeepsType(format, image.colourType)) return parts;
    parts.push_back(image.colourType == PALETTE   ? "the palette"
                    : image.colourType == ONE_BIT ? "that it is black and white"
                    : image.colourType == GREY    ? "that it is grey"
                                                  : "its colours");
    return parts;
}
