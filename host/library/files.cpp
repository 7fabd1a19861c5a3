// Picture files through the door: reading, writing, formats.

#include "host/acting/suggestion.h"
#include "host/library/picture_handle.h"
#include "host/paths/paths.h"
#include "host/paths/replacement.h"

#include <algorithm>

#include <stddef.h>
#include <stdlib.h>
#include <string.h>

//---- Formats

struct FormatRecord {
    FileFormat format;
    std::string endings;
    vlm_format record;
};

static std::vector<FormatRecord> *MakeFormats()
{
    auto *formats = new std::vector<FormatRecord>{
        {FileFormat::PNG, "", {"png", nullptr, "image/png", 0, 0}},
        {FileFormat::BMP, "", {"bmp", nullptr, "image/bmp", 0, 0}},
        {FileFormat::TIFF, "", {"tiff", nullptr, "image/tiff", 0, 1}},
        {FileFormat::JPEG, "", {"jpeg", nullptr, "image/jpeg", 1, 0}},
        {FileFormat::GIF, "", {"gif", nullptr, "image/gif", 0, 1}},
        {FileFormat::WEBP, "", {"webp", nullptr, "image/webp", 1, 1}},
        {FileFormat::PNM, "", {"pnm", nullptr, "image/x-portable-anymap", 0, 0}},
    };
    for (FormatRecord &entry : *formats) {
        for (const std::string &ending : EndingsOf(entry.format))
            entry.endings += (entry.endings.empty() ? "" : " ") + ending;
        entry.record.endings = entry.endings.c_str();
    }
    return formats;
}

static const std::vector<FormatRecord> &Formats()
{
    static const std::vector<FormatRecord> &formats = *MakeFormats();
    return formats;
}

static const vlm_format *RecordOf(FileFormat format)
{
    for (const FormatRecord &entry : Formats())
        if (entry.format == format) return &entry.record;
    return nullptr;
}

static FileFormat FormatNamed(const std::string &name)
{
    for (const FormatRecord &entry : Formats())
        if (LowerCase(name) == entry.record.name) return entry.format;
    return FormatOfName("." + name);   // an ending names its format too
}

int vlm_format_count(void) { return int(Formats().size()); }

const vlm_format *vlm_format_at(int index)
{
    return index >= 0 && index < vlm_format_count() ? &Formats()[size_t(index)].record : nullptr;
}

const vlm_format *vlm_format_named(const char *name)
{
    const vlm_format *found = nullptr;
    Guarded([&] {
        if (!name) return FailArgument("name");
        found = RecordOf(FormatNamed(name));
        return found ? VLM_OK
                     : Fail(VLM_NO_SUCH_FORMAT, name, "no picture format goes by this name (" + KnownEndings() + ")");
    });
    return found;
}

const vlm_format *vlm_format_of_file(const char *file)
{
    const vlm_format *found = nullptr;
    Guarded([&] {
        if (!file) return FailArgument("file");
        found = RecordOf(FormatOfName(file));
        return found ? VLM_OK : Fail(VLM_NO_SUCH_FORMAT, file, "its ending is none of " + KnownEndings());
    });
    return found;
}

const vlm_format *vlm_picture_format(const vlm_picture *picture)
{
    return HoldsPicture(picture) ? RecordOf(picture->format) : nullptr;
}

//---- Reading

// What a person calls it: the standard streams for "-".
static std::string InputName(const std::string &file) { return file == "-" ? "standard input" : file; }
static std::string OutputName(const std::string &file) { return file == "-" ? "standard output" : file; }

static bool TellsOfMemory(const std::string &error) { return error.rfind(NOT_ENOUGH_MEMORY, 0) == 0; }

static vlm_code ReadFault(const std::string &file, const std::string &error)
{
    if (TellsOfMemory(error)) return VLM_NO_MEMORY;
    std::error_code ignored;
    const bool there = file == "-" || std::filesystem::is_regular_file(PathOf(file), ignored);
    return there ? VLM_BAD_FILE : VLM_CANNOT_READ;
}

// Of all pages.
static int MostBitsOf(const vlm_picture &picture)
{
    int bits = vlm_picture_file_bits(&picture);
    for (const Picture &page : picture.further) bits = std::max(bits, page.extras.shape.bits);
    return bits;
}

static ReadOptions OptionsOf(const vlm_reading *reading)
{
    ReadOptions options;
    if (!reading) return options;
    vlm_reading all = {};
    memcpy(&all, reading, std::min(reading->size, sizeof all));
    options.allowHuge = all.allow_huge;
    options.asStored = all.as_stored;
    options.page = all.page;
    return options;
}

static bool IsSound(const vlm_reading *reading)
{
    if (!reading) return true;
    if (reading->size < offsetof(vlm_reading, as_stored)) return false;
    return reading->size < sizeof(vlm_reading) || reading->page >= 0;
}

vlm_code vlm_picture_read(const char *file, vlm_picture **picture)
{
    return vlm_picture_read_with(file, nullptr, picture);
}

vlm_code vlm_picture_decode(const void *bytes, size_t count, vlm_picture **picture)
{
    return vlm_picture_decode_with(bytes, count, nullptr, picture);
}

vlm_code vlm_picture_read_with(const char *file, const vlm_reading *reading, vlm_picture **picture)
{
    return Guarded([&] {
        if (picture) *picture = nullptr;
        if (!file || !picture) return FailArgument("file or picture");
        if (!IsSound(reading)) return FailArgument("reading: its size");
        auto made = std::make_unique<vlm_picture>();
        std::vector<std::string> notices;
        std::string error;
        ReadOptions options = OptionsOf(reading);
        options.further = &made->further;
        const bool read = ReadPicture(file, made->picture, made->format, notices, error, options);
        if (MostBitsOf(*made) > 8) made->file = file;
        SetNotices(notices);
        if (!read) return Fail(ReadFault(file, error), InputName(file), error);
        *picture = made.release();
        return VLM_OK;
    });
}

vlm_code vlm_picture_decode_with(const void *bytes, size_t count, const vlm_reading *reading, vlm_picture **picture)
{
    return Guarded([&] {
        if (picture) *picture = nullptr;
        if (!bytes || !picture) return FailArgument("bytes or picture");
        if (!IsSound(reading)) return FailArgument("reading: its size");
        auto made = std::make_unique<vlm_picture>();
        std::vector<std::string> notices;
        std::string error;
        const std::span<const uint8_t> all(static_cast<const uint8_t *>(bytes), count);
        ReadOptions options = OptionsOf(reading);
        options.further = &made->further;
        const bool read = ReadPictureBytes(all, made->picture, made->format, notices, error, options);
        SetNotices(notices);
        if (!read) return Fail(TellsOfMemory(error) ? VLM_NO_MEMORY : VLM_BAD_FILE, error);
        *picture = made.release();
        return VLM_OK;
    });
}

//---- Writing

// What an earlier header did not have counts as 0.
static vlm_writing AllOf(const vlm_writing *writing)
{
    vlm_writing all = {};
    if (writing) memcpy(&all, writing, std::min(writing->size, sizeof all));
    return all;
}

static bool IsSubsampling(int subsampling)
{
    static const int known[] = {0, 411, 420, 422, 440, 444};
    return std::find(std::begin(known), std::end(known), subsampling) != std::end(known);
}

static vlm_code CheckWriting(const vlm_writing *given)
{
    if (!given) return VLM_OK;
    if (given->size < offsetof(vlm_writing, subsampling)) return FailArgument("writing: its size");
    const vlm_writing writing = AllOf(given);
    if (writing.quality < 0 || writing.quality > 100) return FailArgument("writing: its quality");
    if (!IsSubsampling(writing.subsampling)) return FailArgument("writing: its subsampling");
    if (writing.progressive < -1 || writing.progressive > 1) return FailArgument("writing: its progressive");
    if (writing.compression < 0 || writing.compression > 9) return FailArgument("writing: its compression");
    if (writing.strip < 0 || writing.strip > 2) return FailArgument("writing: its strip");
    if (!writing.format || FormatNamed(writing.format) != FileFormat::UNKNOWN) return VLM_OK;
    return Fail(VLM_NO_SUCH_FORMAT, writing.format, "no picture format goes by this name (" + KnownEndings() + ")");
}

static SaveOptions OptionsOf(const vlm_picture &picture, const vlm_writing *given)
{
    const vlm_writing writing = AllOf(given);
    SaveOptions options;
    options.quality = writing.quality;
    options.compression = writing.compression;
    options.progressive = writing.progressive == 0 ? -1 : writing.progressive > 0;
    options.across = writing.subsampling == 411                                 ? 4
                     : writing.subsampling == 420 || writing.subsampling == 422 ? 2
                     : writing.subsampling                                      ? 1
                                                                                : 0;
    options.down = writing.subsampling == 420 || writing.subsampling == 440 ? 2 : 1;
    options.strip = writing.strip == 0 ? Strip::NOTHING : writing.strip == 1 ? Strip::METADATA : Strip::ALL;
    options.further = &picture.further;
    if (writing.format) options.kind = LowerCase(writing.format);
    return options;
}

// What stands behind a name, or behind a stream that a shell has opened for it.
static bool AreOneOpenFile(const std::string &output, const std::string &input)
{
    std::error_code ignored;
    const std::filesystem::path to = PathOf(output == "-" ? "/dev/stdout" : output),
                                from = PathOf(input == "-" ? "/dev/stdin" : input);
    return std::filesystem::is_regular_file(from, ignored) && std::filesystem::equivalent(to, from, ignored);
}

// A picture of more than 8 bits a sample keeps 8 of them: its own file is not to lose the others by the way.
static bool SparesDepth(const vlm_picture &picture, const std::string &file, const vlm_writing *writing)
{
    if (MostBitsOf(picture) <= 8 || picture.file.empty() || AllOf(writing).reduce_depth) return true;
    return !AreOneOpenFile(file, picture.file);
}

static vlm_code CheckPlace(const vlm_picture &picture, const std::string &file, const vlm_writing *writing)
{
    if (SparesDepth(picture, file, writing)) return VLM_OK;
    return Fail(VLM_CANNOT_WRITE, OutputName(file),
                "has " + std::to_string(MostBitsOf(picture)) +
                    " bits per sample, of which 8 would be left; --reduce-depth allows it");
}

static FileFormat FormatFor(const vlm_picture &picture, const std::string &file, const vlm_writing *writing)
{
    if (writing && writing->format) return FormatNamed(writing->format);
    const FileFormat told = file == "-" ? FileFormat::UNKNOWN : FormatOfName(file);
    if (told != FileFormat::UNKNOWN) return told;
    return picture.format != FileFormat::UNKNOWN ? picture.format : FileFormat::PNG;
}

vlm_code vlm_picture_check_writing(const vlm_picture *picture, const char *file, const vlm_writing *writing)
{
    return Guarded([&] {
        if (!HoldsPicture(picture) || !file) return FailArgument("picture or file");
        if (const vlm_code code = CheckWriting(writing)) return code;
        return CheckPlace(*picture, file, writing);
    });
}

vlm_code vlm_picture_write(const vlm_picture *picture, const char *file, const vlm_writing *writing)
{
    return Guarded([&] {
        if (!HoldsPicture(picture) || !file) return FailArgument("picture or file");
        if (const vlm_code code = CheckWriting(writing)) return code;
        if (const vlm_code code = CheckPlace(*picture, file, writing)) return code;
        std::vector<std::string> notices;
        std::string error;
        const bool written = WritePicture(file, picture->picture, FormatFor(*picture, file, writing),
                                          OptionsOf(*picture, writing), notices, error);
        SetNotices(notices);
        return written ? VLM_OK
                       : Fail(TellsOfMemory(error) ? VLM_NO_MEMORY : VLM_CANNOT_WRITE, OutputName(file), error);
    });
}

void vlm_drop_unfinished_files(void) { DropAllReplacements(); }

vlm_code vlm_picture_encode(const vlm_picture *picture, const vlm_writing *writing, void **bytes, size_t *count)
{
    return Guarded([&] {
        if (bytes) *bytes = nullptr;
        if (count) *count = 0;
        if (!HoldsPicture(picture) || !bytes || !count) return FailArgument("picture, bytes or count");
        if (const vlm_code code = CheckWriting(writing)) return code;
        std::vector<uint8_t> encoded;
        std::vector<std::string> notices;
        std::string error;
        const FileFormat format = FormatFor(*picture, "", writing);
        const std::string name = writing && writing->format ? std::string(".") + writing->format : "";
        const bool written =
            WritePictureBytes(name, picture->picture, format, OptionsOf(*picture, writing), encoded, notices, error);
        SetNotices(notices);
        if (!written) return Fail(TellsOfMemory(error) ? VLM_NO_MEMORY : VLM_NO_SUCH_FORMAT, error);
        *bytes = malloc(encoded.size());
        if (!*bytes) return FailMemory();
        memcpy(*bytes, encoded.data(), encoded.size());
        *count = encoded.size();
        return VLM_OK;
    });
}
