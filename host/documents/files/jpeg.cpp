// JPEG, through libjpeg, for grey and RGB; other pictures are stored as one of the two. Rows go straight between the
// library and the plane. Inks (CMYK, and YCCK that the library turns into them) become RGB.
//
// The library reports errors by a jump back to Guarded. What is jumped over keeps plain locals only; all that owns
// memory lives in the records JpegReader and JpegWriter, outside.

#include "host/documents/files/formats.h"

#include <cstdio>   // before jpeglib.h, which needs FILE

#include <jpeglib.h>

#include <jerror.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdlib>
#include <cstring>

static const char EXIF_MARK[] = {'E', 'x', 'i', 'f', 0, 0};
static const size_t LONGEST_MARKER = 65533;
static const int MOST_SCANS = 500;   // a small file must not keep a large picture busy for hours

// The parts of both directions that the library's error routines need.
struct JpegErrors {
    jpeg_error_mgr manager;   // first: the library's pointer to it is a pointer to this
    jmp_buf jump;
    char problem[JMSG_LENGTH_MAX];
    bool ended, damaged;
};

template <typename State> static bool Guarded(State &state, void (*step)(State &))
{
    if (setjmp(state.errors.jump)) return false;
    step(state);
    return true;
}

static JpegErrors &ErrorsOf(j_common_ptr jpeg) { return *reinterpret_cast<JpegErrors *>(jpeg->err); }

[[noreturn]] static void JumpOut(j_common_ptr jpeg)
{
    JpegErrors &errors = ErrorsOf(jpeg);
    jpeg->err->format_message(jpeg, errors.problem);
    longjmp(errors.jump, 1);
}

// Level -1 is a warning: the data are damaged but can be shown.
static void NoteMessage(j_common_ptr jpeg, int level)
{
    if (level < 0) ErrorsOf(jpeg).damaged = true;
}

static void StaySilent(j_common_ptr) {}

static void PrepareErrors(JpegErrors &errors)
{
    jpeg_std_error(&errors.manager);
    errors.manager.error_exit = JumpOut;
    errors.manager.emit_message = NoteMessage;
    errors.manager.output_message = StaySilent;
}

//---- Reading

struct JpegReader {
    Reading &reading;
    jpeg_decompress_struct jpeg = {};
    JpegErrors errors = {};
    jpeg_source_mgr source = {};
    jpeg_progress_mgr progress = {};
    std::vector<uint8_t> inks = {};
    int32_t rowsDone = 0;
    bool whole = false;   // up to the end mark
    ~JpegReader() { jpeg_destroy_decompress(&jpeg); }
};

static JpegReader &ReaderOf(j_decompress_ptr jpeg) { return *static_cast<JpegReader *>(jpeg->client_data); }

static void NothingToDo(j_decompress_ptr) {}

static boolean FillInput(j_decompress_ptr jpeg)
{
    const uint8_t *bytes = nullptr;
    jpeg->src->bytes_in_buffer = TakeBuffer(ReaderOf(jpeg).reading.source, bytes);
    jpeg->src->next_input_byte = bytes;
    if (jpeg->src->bytes_in_buffer > 0) return TRUE;
    ErrorsOf(reinterpret_cast<j_common_ptr>(jpeg)).ended = true;
    ERREXIT(jpeg, JERR_INPUT_EOF);
    return FALSE;
}

static void SkipInput(j_decompress_ptr jpeg, long count)
{
    while (count > long(jpeg->src->bytes_in_buffer)) {
        count -= long(jpeg->src->bytes_in_buffer);
        FillInput(jpeg);
    }
    if (count <= 0) return;
    jpeg->src->next_input_byte += count;
    jpeg->src->bytes_in_buffer -= size_t(count);
}

static void LimitScans(j_common_ptr jpeg)
{
    if (reinterpret_cast<j_decompress_ptr>(jpeg)->input_scan_number > MOST_SCANS) ERREXIT(jpeg, JERR_BAD_PROGRESSION);
}

static void ReadHeader(JpegReader &reader)
{
    jpeg_decompress_struct &jpeg = reader.jpeg;
    jpeg_create_decompress(&jpeg);
    jpeg.client_data = &reader;
    reader.source.init_source = NothingToDo;
    reader.source.fill_input_buffer = FillInput;
    reader.source.skip_input_data = SkipInput;
    reader.source.resync_to_restart = jpeg_resync_to_restart;
    reader.source.term_source = NothingToDo;
    reader.progress.progress_monitor = LimitScans;
    jpeg.src = &reader.source;
    jpeg.progress = &reader.progress;
    jpeg_save_markers(&jpeg, JPEG_APP0 + 1, 0xFFFF);
    jpeg_save_markers(&jpeg, JPEG_APP0 + 2, 0xFFFF);
    jpeg_read_header(&jpeg, TRUE);
    const J_COLOR_SPACE space = jpeg.jpeg_color_space;
    if (space == JCS_GRAYSCALE) jpeg.out_color_space = JCS_GRAYSCALE;
    else jpeg.out_color_space = space == JCS_CMYK || space == JCS_YCCK ? JCS_CMYK : JCS_EXT_BGR;
}

static void TakeResolution(const jpeg_decompress_struct &jpeg, PictureExtras &extras)
{
    if (!jpeg.saw_JFIF_marker || jpeg.density_unit < 1 || jpeg.density_unit > 2) return;
    const double perInch = jpeg.density_unit == 2 ? 2.54 : 1.0;
    extras.dotsPerInchX = jpeg.X_density * perInch;
    extras.dotsPerInchY = jpeg.Y_density * perInch;
}

static void TakeExtras(JpegReader &reader)
{
    PictureExtras &extras = reader.reading.picture.extras;
    TakeResolution(reader.jpeg, extras);
    for (jpeg_saved_marker_ptr marker = reader.jpeg.marker_list; marker; marker = marker->next) {
        if (marker->marker != JPEG_APP0 + 1 || marker->data_length <= sizeof EXIF_MARK) continue;
        if (memcmp(marker->data, EXIF_MARK, sizeof EXIF_MARK) != 0 || !extras.exif.empty()) continue;
        extras.exif.assign(marker->data + sizeof EXIF_MARK, marker->data + marker->data_length);
    }
    JOCTET *profile = nullptr;
    unsigned int count = 0;
    if (!jpeg_read_icc_profile(&reader.jpeg, &profile, &count)) return;
    extras.colourProfile.assign(profile, profile + count);
    free(profile);
}

// Files whose inks carry an Adobe mark store them turned over: 255 is no ink.
static void PutInkRow(JpegReader &reader, uint8_t *row)
{
    if (reader.jpeg.saw_Adobe_marker) TurnOver(reader.inks.data(), reader.inks.size());
    PutInks(reader.inks.data(), reader.reading.picture.width, 4, row);
}

static void ReadRows(JpegReader &reader)
{
    Picture &picture = reader.reading.picture;
    jpeg_start_decompress(&reader.jpeg);
    while (reader.jpeg.output_scanline < reader.jpeg.output_height) {
        uint8_t *row = RowToFill(picture, int32_t(reader.jpeg.output_scanline));
        JSAMPROW to = reader.inks.empty() ? row : reader.inks.data();
        jpeg_read_scanlines(&reader.jpeg, &to, 1);
        if (!reader.inks.empty()) PutInkRow(reader, row);
        ++reader.rowsDone;
    }
    jpeg_finish_decompress(&reader.jpeg);
    reader.whole = true;
}

static bool FailJpeg(JpegReader &reader)
{
    const int32_t height = reader.reading.picture.height;
    std::string &error = reader.reading.error;
    if (reader.errors.ended && reader.rowsDone > 0 && reader.rowsDone < height) {
        return FailShort(error, height, reader.rowsDone);
    }
    if (reader.errors.ended) return Fail(error, "the file ends before its picture does");
    return Fail(error, "damaged or unknown JPEG data (" + std::string(reader.errors.problem) + ")");
}

bool ReadJpeg(Reading &reading)
{
    JpegReader reader = {reading};
    PrepareErrors(reader.errors);
    reader.jpeg.err = &reader.errors.manager;
    if (!Guarded(reader, ReadHeader)) return FailJpeg(reader);
    const int32_t type = reader.jpeg.out_color_space == JCS_GRAYSCALE ? GREY : RGB;
    if (!StartPicture(reading.picture, type, reader.jpeg.image_width, reader.jpeg.image_height, reading.error)) {
        return false;
    }
    if (reader.jpeg.out_color_space == JCS_CMYK) {
        reader.inks.resize(size_t(reading.picture.width) * 4);
        reading.notices.push_back("CMYK is turned into RGB, without regard to a colour profile");
    }
    if (!Guarded(reader, TakeExtras)) return FailJpeg(reader);
    if (reader.jpeg.out_color_space == JCS_CMYK && !reading.picture.extras.colourProfile.empty()) {
        reading.picture.extras.colourProfile.clear();
        reading.notices.push_back("the colour profile is left out: it is one for CMYK");
    }
    if (!Guarded(reader, ReadRows)) return FailJpeg(reader);
    if (reader.errors.damaged) reading.notices.push_back("the file is damaged: parts of the picture may be wrong");
    return true;
}

//---- Writing

static const size_t CHUNK_BYTES = 64 * 1024;

struct JpegWriter {
    Writing &writing;
    jpeg_compress_struct jpeg = {};
    JpegErrors errors = {};
    jpeg_destination_mgr destination = {};
    std::vector<uint8_t> chunk = {}, row = {}, exif = {};
    ~JpegWriter() { jpeg_destroy_compress(&jpeg); }
};

static JpegWriter &WriterOf(j_compress_ptr jpeg) { return *static_cast<JpegWriter *>(jpeg->client_data); }

static void StartChunk(j_compress_ptr jpeg)
{
    jpeg->dest->next_output_byte = WriterOf(jpeg).chunk.data();
    jpeg->dest->free_in_buffer = CHUNK_BYTES;
}

static boolean PutChunk(j_compress_ptr jpeg)
{
    JpegWriter &writer = WriterOf(jpeg);
    if (!Put(writer.writing.sink, writer.chunk.data(), CHUNK_BYTES)) ERREXIT(jpeg, JERR_FILE_WRITE);
    StartChunk(jpeg);
    return TRUE;
}

static void PutLastChunk(j_compress_ptr jpeg)
{
    JpegWriter &writer = WriterOf(jpeg);
    const size_t count = CHUNK_BYTES - jpeg->dest->free_in_buffer;
    if (!Put(writer.writing.sink, writer.chunk.data(), count)) ERREXIT(jpeg, JERR_FILE_WRITE);
}

static bool IsGrey(const Picture &picture) { return picture.colourType == GREY || picture.colourType == ONE_BIT; }

static void SetResolution(jpeg_compress_struct &jpeg, const PictureExtras &extras)
{
    const double x = std::round(extras.dotsPerInchX), y = std::round(extras.dotsPerInchY);
    if (x < 1 || y < 1 || x > 65535 || y > 65535) return;
    jpeg.density_unit = 1;
    jpeg.X_density = UINT16(x);
    jpeg.Y_density = UINT16(y);
}

// From quality 90 up colours are stored at full resolution too.
static void SetQuality(jpeg_compress_struct &jpeg, int quality)
{
    jpeg_set_quality(&jpeg, std::clamp(quality, 1, 100), TRUE);
    if (quality >= 90) jpeg.comp_info[0].h_samp_factor = jpeg.comp_info[0].v_samp_factor = 1;
}

static void StartFile(JpegWriter &writer)
{
    const Picture &picture = writer.writing.picture;
    jpeg_compress_struct &jpeg = writer.jpeg;
    jpeg_create_compress(&jpeg);
    jpeg.client_data = &writer;
    writer.destination.init_destination = StartChunk;
    writer.destination.empty_output_buffer = PutChunk;
    writer.destination.term_destination = PutLastChunk;
    jpeg.dest = &writer.destination;
    jpeg.image_width = JDIMENSION(picture.width);
    jpeg.image_height = JDIMENSION(picture.height);
    jpeg.input_components = IsGrey(picture) ? 1 : 3;
    jpeg.in_color_space = IsGrey(picture) ? JCS_GRAYSCALE : picture.colourType == RGB ? JCS_EXT_BGR : JCS_RGB;
    jpeg_set_defaults(&jpeg);
    SetQuality(jpeg, writer.writing.options.quality);
    SetResolution(jpeg, picture.extras);
    jpeg_start_compress(&jpeg, TRUE);
    if (!writer.exif.empty()) {
        jpeg_write_marker(&jpeg, JPEG_APP0 + 1, writer.exif.data(), unsigned(writer.exif.size()));
    }
    const std::vector<uint8_t> &profile = picture.extras.colourProfile;
    if (!profile.empty()) jpeg_write_icc_profile(&jpeg, profile.data(), unsigned(profile.size()));
}

static void WriteRows(JpegWriter &writer)
{
    const Picture &picture = writer.writing.picture;
    for (int32_t y = 0; y < picture.height; ++y) {
        JSAMPROW row = writer.row.data();
        if (picture.colourType == ONE_BIT) GreyRow(picture, y, row);
        else if (picture.colourType == PALETTE) ColourRow(picture, y, row);
        else row = const_cast<uint8_t *>(RowAt(picture, y));
        jpeg_write_scanlines(&writer.jpeg, &row, 1);
    }
    jpeg_finish_compress(&writer.jpeg);
}

static void PrepareExif(JpegWriter &writer)
{
    const std::vector<uint8_t> &exif = writer.writing.picture.extras.exif;
    if (exif.size() + sizeof EXIF_MARK > LONGEST_MARKER) {
        writer.writing.notices.push_back("the EXIF data are not stored: they are longer than a JPEG file can hold");
    } else if (!exif.empty()) {
        writer.exif.assign(EXIF_MARK, EXIF_MARK + sizeof EXIF_MARK);
        writer.exif.insert(writer.exif.end(), exif.begin(), exif.end());
    }
}

bool WriteJpeg(Writing &writing)
{
    const Picture &picture = writing.picture;
    if (picture.width > JPEG_MAX_DIMENSION || picture.height > JPEG_MAX_DIMENSION) {
        return Fail(writing.error, "a JPEG picture has at most 65500 rows and columns");
    }
    if (picture.colourType == PALETTE) writing.notices.push_back("JPEG has no palette pictures: stored as RGB");
    if (picture.colourType == ONE_BIT) writing.notices.push_back("JPEG has no 1-bit pictures: stored as grey");
    TellLeftOut(picture, "JPEG", KEEPS_PROFILE | KEEPS_EXIF | KEEPS_RESOLUTION, writing.notices);
    JpegWriter writer = {writing};
    writer.chunk.resize(CHUNK_BYTES);
    writer.row.resize(size_t(picture.width) * 3);
    PrepareExif(writer);
    PrepareErrors(writer.errors);
    writer.jpeg.err = &writer.errors.manager;
    if (Guarded(writer, StartFile) && Guarded(writer, WriteRows)) return true;
    return Fail(writing.error, "cannot be written as JPEG (" + std::string(writer.errors.problem) + ")");
}
