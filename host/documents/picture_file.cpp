// Which format a file has, by its name or its first bytes, and the way to the format's own reader or writer in files/.
// Also the lines for a person that all formats share.

#include "host/documents/picture_file.h"

#include "host/documents/files/formats.h"
#include "host/documents/files/kept.h"
#include "host/documents/files/see_through.h"

#include <algorithm>
#include <cassert>
#include <cctype>
#include <cstring>
#include <new>

struct FormatEntry {
    FileFormat format;
    bool (*read)(Reading &);
    bool (*write)(Writing &);
    bool seeks;   // its writer goes back in the file
    const char *endings[6];
};

static const FormatEntry formats[] = {
    {FileFormat::PNG, ReadPng, WritePng, false, {"png"}},
    {FileFormat::BMP, ReadBmp, WriteBmp, false, {"bmp"}},
    {FileFormat::TIFF, ReadTiff, WriteTiff, true, {"tif", "tiff"}},
    {FileFormat::JPEG, ReadJpeg, WriteJpeg, false, {"jpg", "jpeg"}},
    {FileFormat::GIF, ReadGif, WriteGif, false, {"gif"}},
    {FileFormat::WEBP, ReadWebP, WriteWebP, false, {"webp"}},
    {FileFormat::PNM, ReadPnm, WritePnm, false, {"pnm", "pbm", "pgm", "ppm", "pam"}},
};

// Pages or frames.
static bool HoldsSeveral(FileFormat format)
{
    return format == FileFormat::TIFF || format == FileFormat::GIF || format == FileFormat::WEBP;
}

static const FormatEntry *EntryOf(FileFormat format)
{
    for (const FormatEntry &entry : formats) {
        if (entry.format == format) return &entry;
    }
    return nullptr;
}

bool Fail(std::string &error, const std::string &line)
{
    error = line;
    return false;
}

bool FailShort(std::string &error, int64_t rowsPromised, int64_t rowsFound)
{
    return Fail(error, std::to_string(rowsPromised) + (rowsPromised == 1 ? " row" : " rows") + " promised, " +
                           std::to_string(rowsFound) + " found");
}

bool EndsWith(const std::string &name, const char *ending)
{
    const size_t length = strlen(ending);
    if (name.size() <= length || name[name.size() - length - 1] != '.') return false;
    return std::equal(name.end() - ptrdiff_t(length), name.end(), ending,
                      [](char a, char b) { return tolower(static_cast<unsigned char>(a)) == b; });
}

FileFormat FormatOfName(const std::string &name)
{
    for (const FormatEntry &entry : formats) {
        for (const char *ending : entry.endings) {
            if (ending && EndsWith(name, ending)) return entry.format;
        }
    }
    return FileFormat::UNKNOWN;
}

std::string KnownEndings()
{
    std::string list;
    for (const FormatEntry &entry : formats) {
        for (const char *ending : entry.endings) {
            if (ending) list += (list.empty() ? "" : ", ") + std::string(ending);
        }
    }
    return list;
}

std::vector<std::string> EndingsOf(FileFormat format)
{
    std::vector<std::string> endings;
    const FormatEntry *entry = EntryOf(format);
    for (const char *ending : entry->endings)
        if (ending) endings.push_back(ending);
    return endings;
}

static bool Begins(Source &source, const char *bytes, size_t count)
{
    const uint8_t *start = Peek(source, count);
    return start && memcmp(start, bytes, count) == 0;
}

static FileFormat FormatOfContents(Source &source)
{
    if (Begins(source, "\x89PNG\r\n\x1A\n", 8)) return FileFormat::PNG;
    if (Begins(source, "BM", 2)) return FileFormat::BMP;
    if (Begins(source, "II*\0", 4) || Begins(source, "MM\0*", 4)) return FileFormat::TIFF;
    if (Begins(source, "II+\0", 4) || Begins(source, "MM\0+", 4)) return FileFormat::TIFF;
    if (Begins(source, "\xFF\xD8\xFF", 3)) return FileFormat::JPEG;
    if (Begins(source, "GIF87a", 6) || Begins(source, "GIF89a", 6)) return FileFormat::GIF;
    const uint8_t *riff = Peek(source, 12);
    if (riff && memcmp(riff, "RIFF", 4) == 0 && memcmp(riff + 8, "WEBP", 4) == 0) return FileFormat::WEBP;
    const uint8_t *start = Peek(source, 3);
    if (start && start[0] == 'P' && start[1] >= '1' && start[1] <= '7' && (isspace(start[2]) || start[2] == '#')) {
        return FileFormat::PNM;
    }
    return FileFormat::UNKNOWN;
}

const char NOT_ENOUGH_MEMORY[] = "there is not enough memory";
const char ONLY_THE_FIRST[] = "only the first of the file's pictures is read";
const char ONLY_THE_FIRST_FRAME[] = "only the first picture of the animation is read";

static bool OutOfMemory(std::string &error) { return Fail(error, NOT_ENOUGH_MEMORY + std::string(" for it")); }

static bool ReadSource(Source &source, Picture &picture, FileFormat &format, std::vector<std::string> &notices,
                       std::string &error, const ReadOptions &options)
{
    format = FormatOfContents(source);
    Picture fresh;
    if (options.further) options.further->clear();
    if (options.note) options.note->clear();
    Reading reading = {source,       fresh,           notices,          error,       options.allowHuge,
                       options.page, options.further, options.asStored, options.note};
    bool done = false;
    const FormatEntry *entry = EntryOf(format);
    const bool single = !HoldsSeveral(format);
    if (entry && single && options.page > 1) Fail(error, "has no page " + std::to_string(options.page));
    else if (entry) done = entry->read(reading);
    else if (Peek(source, 1)) Fail(error, "not a picture file that is known here (" + KnownEndings() + ")");
    else Fail(error, "the file is empty");
    if (done && !options.asStored) done = TurnUpright(fresh, error);
    if (!done && source.readError) error = "cannot be read: " + SystemText(source.readError);
    if (done) picture = std::move(fresh);
    return done;
}

bool ReadPicture(const std::string &name, Picture &picture, FileFormat &format, std::vector<std::string> &notices,
                 std::string &error, const ReadOptions &options)
try {
    Source source;
    format = FileFormat::UNKNOWN;
    return OpenSource(source, name, error) && ReadSource(source, picture, format, notices, error, options);
} catch (const std::bad_alloc &) {
    return OutOfMemory(error);
}

bool ReadPictureBytes(std::span<const uint8_t> bytes, Picture &picture, FileFormat &format,
                      std::vector<std::string> &notices, std::string &error, const ReadOptions &options)
try {
    Source source;
    format = FileFormat::UNKNOWN;
    OpenBytes(source, bytes);
    return ReadSource(source, picture, format, notices, error, options);
} catch (const std::bad_alloc &) {
    return OutOfMemory(error);
}

// Pictures' planes with the extras that are to be written.
struct LentPictures {
    std::vector<Picture> pictures;
    std::vector<PlaneBytes> made;   // planes that the pictures did not have so
    LentPictures() = default;
    LentPictures(const LentPictures &) = delete;
    LentPictures &operator=(const LentPictures &) = delete;
    ~LentPictures()
    {
        for (Picture &picture : pictures) {
            (void)picture.pixels.release();
            (void)picture.mask.release();
        }
    }
    void Lend(const Picture &from, FileFormat format, const SaveOptions &options, Notices &notices)
    {
        Notices own;
        Picture &picture = pictures.emplace_back();
        picture.extras = ExtrasFor(from, format, options, own);
        CopyDescription(picture, from);
        picture.maskBitsPerPixel = from.maskBitsPerPixel;
        picture.pixels.reset(from.pixels.get());
        picture.mask.reset(from.mask.get());
        FitTransparency(picture, format, made, own);
        for (const std::string &notice : own)
            if (std::find(notices.begin(), notices.end(), notice) == notices.end()) notices.push_back(notice);
    }
    void Lend(const Picture &first, FileFormat format, const SaveOptions &options, const std::vector<Picture> *further,
              Notices &notices)
    {
        pictures.reserve(1 + (further ? further->size() : 0));
        Lend(first, format, options, notices);
        for (size_t i = 1; further && i <= further->size(); ++i) Lend((*further)[i - 1], format, options, notices);
    }
};

static void TellFurther(const Writing &writing, FileFormat format)
{
    const size_t count = writing.further.size();
    if (count == 0 || HoldsSeveral(format)) return;
    writing.notices.push_back("only the first of " + std::to_string(count + 1) +
                              " pages or frames is stored: such a file holds one picture");
}

// Pages that are alike are told of once.
static void TellOnce(std::vector<std::string> &notices)
{
    std::vector<std::string> once;
    for (std::string &notice : notices)
        if (std::find(once.begin(), once.end(), notice) == once.end()) once.push_back(std::move(notice));
    notices = std::move(once);
}

bool WritePicture(const std::string &name, const Picture &picture, FileFormat format, const SaveOptions &options,
                  std::vector<std::string> &notices, std::string &error)
try {
    assert(picture.pixels && picture.width > 0 && picture.height > 0 && "only an open picture is written");
    const FormatEntry *entry = EntryOf(format);
    if (!entry) return Fail(error, "no picture format goes by this name (" + KnownEndings() + ")");
    Sink sink;
    if (!OpenSink(sink, name, entry->seeks, error)) return false;
    LentPictures lent;
    lent.Lend(picture, format, options, options.further, notices);
    Writing writing = {sink, lent.pictures[0], std::span(lent.pictures).subspan(1), options, name, notices, error};
    TellFurther(writing, format);
    const bool written = entry->write(writing);
    TellOnce(notices);
    if (!written && sink.failure) error = "cannot be written: " + SystemText(sink.failure);
    return written && FinishSink(sink, notices, error);
} catch (const std::bad_alloc &) {
    return OutOfMemory(error);
}

bool WritePictureBytes(const std::string &name, const Picture &picture, FileFormat format, const SaveOptions &options,
                       std::vector<uint8_t> &bytes, std::vector<std::string> &notices, std::string &error)
{
    const FormatEntry *entry = EntryOf(format);
    if (!entry) return Fail(error, "no picture format goes by this name (" + KnownEndings() + ")");
    Sink sink;
    sink.inMemory = true;
    LentPictures lent;
    lent.Lend(picture, format, options, options.further, notices);
    Writing writing = {sink, lent.pictures[0], std::span(lent.pictures).subspan(1), options, name, notices, error};
    TellFurther(writing, format);
    const bool written = entry->write(writing);
    TellOnce(notices);
    if (!written) return false;
    bytes = std::move(sink.memory);
    return true;
}
