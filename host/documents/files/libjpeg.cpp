// Packing and unpacking of JPEG's pixels through libjpeg, which turns YCbCr and YCCK into RGB and CMYK by itself.
//
// The library reports errors by a jump back to Guarded. What is jumped over keeps plain locals only; all that owns
// memory lives in the records JpegUnpacker and JpegPacker, outside.

#include "host/documents/files/codecs.h"

#include <cstdio>   // before jpeglib.h, which needs FILE

#include <jpeglib.h>

#include <jerror.h>

#include <csetjmp>

// The parts of both directions that the library's error routines need.
struct JpegErrors {
    jpeg_error_mgr manager;   // first: the library's pointer to it is a pointer to this
    jmp_buf jump;
    char problem[JMSG_LENGTH_MAX];
    bool damaged;
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

//---- Unpacking

struct JpegUnpacker {
    JpegFile &file;
    const TakesRow &takesRow;
    jpeg_decompress_struct jpeg = {};
    JpegErrors errors = {};
    jpeg_source_mgr source = {};
    Bytes row = {};
    ~JpegUnpacker() { jpeg_destroy_decompress(&jpeg); }
};

static JpegUnpacker &UnpackerOf(j_decompress_ptr jpeg) { return *static_cast<JpegUnpacker *>(jpeg->client_data); }

static void NothingToDo(j_decompress_ptr) {}

static boolean FillInput(j_decompress_ptr jpeg)
{
    const uint8_t *bytes = nullptr;
    jpeg->src->bytes_in_buffer = TakeJpegData(UnpackerOf(jpeg).file, bytes);
    jpeg->src->next_input_byte = bytes;
    if (jpeg->src->bytes_in_buffer > 0) return TRUE;
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

static void ReadHeader(JpegUnpacker &unpacker)
{
    jpeg_decompress_struct &jpeg = unpacker.jpeg;
    jpeg_create_decompress(&jpeg);
    jpeg.client_data = &unpacker;
    unpacker.source.init_source = NothingToDo;
    unpacker.source.fill_input_buffer = FillInput;
    unpacker.source.skip_input_data = SkipInput;
    unpacker.source.resync_to_restart = jpeg_resync_to_restart;
    unpacker.source.term_source = NothingToDo;
    jpeg.src = &unpacker.source;
    jpeg_read_header(&jpeg, TRUE);
    const J_COLOR_SPACE space = jpeg.jpeg_color_space;
    if (space == JCS_GRAYSCALE) jpeg.out_color_space = JCS_GRAYSCALE;
    else jpeg.out_color_space = space == JCS_CMYK || space == JCS_YCCK ? JCS_CMYK : JCS_EXT_BGR;
}

static void ReadRows(JpegUnpacker &unpacker)
{
    jpeg_decompress_struct &jpeg = unpacker.jpeg;
    jpeg_start_decompress(&jpeg);
    while (jpeg.output_scanline < jpeg.output_height) {
        const uint32_t y = jpeg.output_scanline;
        JSAMPROW row = unpacker.row.data();
        jpeg_read_scanlines(&jpeg, &row, 1);
        // Files whose inks carry an Adobe mark store them turned over: 255 is no ink.
        if (jpeg.out_color_space == JCS_CMYK && jpeg.saw_Adobe_marker) TurnOver(row, unpacker.row.size());
        unpacker.takesRow(y, row);
    }
    jpeg_finish_decompress(&jpeg);
}

bool UnpackJpeg(JpegFile &file, const TakesRow &takesRow, bool &damaged, std::string &problem)
{
    JpegUnpacker unpacker = {file, takesRow};
    PrepareErrors(unpacker.errors);
    unpacker.jpeg.err = &unpacker.errors.manager;
    unpacker.row.resize(size_t(file.frame.width) * size_t(file.frame.channels));
    const bool done = Guarded(unpacker, ReadHeader) && Guarded(unpacker, ReadRows);
    if (!done) problem = unpacker.errors.problem;
    damaged = unpacker.errors.damaged;
    return done;
}

//---- Packing

static const size_t PART_BYTES = 64 * 1024;
static const size_t START_MARK = 2;   // the library's own, which is dropped

struct JpegPacker {
    const JpegForm &form;
    const FillsRow &fillsRow;
    const PutsBytes &puts;
    jpeg_compress_struct jpeg = {};
    JpegErrors errors = {};
    jpeg_destination_mgr destination = {};
    Bytes part = {}, row = {};
    size_t toDrop = START_MARK;
    ~JpegPacker() { jpeg_destroy_compress(&jpeg); }
};

static JpegPacker &PackerOf(j_compress_ptr jpeg) { return *static_cast<JpegPacker *>(jpeg->client_data); }

static void StartPart(j_compress_ptr jpeg)
{
    jpeg->dest->next_output_byte = PackerOf(jpeg).part.data();
    jpeg->dest->free_in_buffer = PART_BYTES;
}

static void PutBytes(j_compress_ptr jpeg, size_t count)
{
    JpegPacker &packer = PackerOf(jpeg);
    const size_t dropped = packer.toDrop;
    packer.toDrop = 0;
    if (!packer.puts(packer.part.data() + dropped, count - dropped)) ERREXIT(jpeg, JERR_FILE_WRITE);
}

static boolean PutPart(j_compress_ptr jpeg)
{
    PutBytes(jpeg, PART_BYTES);
    StartPart(jpeg);
    return TRUE;
}

static void PutLastPart(j_compress_ptr jpeg) { PutBytes(jpeg, PART_BYTES - jpeg->dest->free_in_buffer); }

const bool PACKS_JPEG_AS_TOLD = true;

static void SetForm(jpeg_compress_struct &jpeg, const JpegForm &form)
{
    jpeg_set_quality(&jpeg, form.quality, TRUE);
    const size_t count = form.tables ? form.tables->size() : 0;
    for (size_t i = 0; i < count && i < NUM_QUANT_TBLS; ++i) {
        unsigned table[DCTSIZE2];
        for (size_t k = 0; k < DCTSIZE2; ++k) table[k] = (*form.tables)[i][k];
        jpeg_add_quant_table(&jpeg, int(i), table, 100, FALSE);
    }
    for (int c = 0; count && c < form.channels; ++c) jpeg.comp_info[c].quant_tbl_no = form.tableOf[c];
    jpeg.comp_info[0].h_samp_factor = form.channels == 3 ? form.across : 1;
    jpeg.comp_info[0].v_samp_factor = form.channels == 3 ? form.down : 1;
    jpeg.restart_interval = form.restartInterval;
    if (form.progressive) jpeg_simple_progression(&jpeg);
}

static void PackRows(JpegPacker &packer)
{
    jpeg_compress_struct &jpeg = packer.jpeg;
    jpeg_create_compress(&jpeg);
    jpeg.client_data = &packer;
    packer.destination.init_destination = StartPart;
    packer.destination.empty_output_buffer = PutPart;
    packer.destination.term_destination = PutLastPart;
    jpeg.dest = &packer.destination;
    jpeg.image_width = packer.form.width;
    jpeg.image_height = packer.form.height;
    jpeg.input_components = packer.form.channels;
    jpeg.in_color_space = packer.form.channels == 1 ? JCS_GRAYSCALE : JCS_EXT_BGR;
    jpeg_set_defaults(&jpeg);
    SetForm(jpeg, packer.form);
    jpeg.write_JFIF_header = jpeg.write_Adobe_marker = FALSE;
    jpeg_start_compress(&jpeg, TRUE);
    for (uint32_t y = 0; y < packer.form.height; ++y) {
        JSAMPROW row = packer.row.data();
        packer.fillsRow(y, row);
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
}

bool PackJpeg(const JpegForm &form, const FillsRow &fillsRow, const PutsBytes &puts, std::string &problem)
{
    JpegPacker packer = {form, fillsRow, puts};
    packer.part.resize(PART_BYTES);
    packer.row.resize(size_t(form.width) * size_t(form.channels));
    PrepareErrors(packer.errors);
    packer.jpeg.err = &packer.errors.manager;
    if (Guarded(packer, PackRows)) return true;
    problem = packer.errors.problem;
    return false;
}
