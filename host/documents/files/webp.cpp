// WebP: still pictures and animations, through libwebp, which unpacks and packs frames and puts the parts of a file
// together. A frame becomes an RGB picture as it is seen; its alpha is the mask. What was stored without loss is stored
// without loss again.

#include "host/documents/files/bytes.h"
#include "host/documents/files/formats.h"

#include "host/api/host_api.h"

#include <webp/decode.h>
#include <webp/demux.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

static const size_t MOST_FILE_BYTES = 512 * 1024 * 1024;
static const int64_t MOST_PIXELS = 512 * 1000 * 1000;   // of all frames, unless huge ones are allowed
static const size_t MOST_METADATA = 32 * 1024 * 1024;
// A lossy frame says of each block of 16 x 16 pixels how it is predicted, which takes 3 bits or more. A lossless one may
// say nothing of any pixel.
static const uint64_t MOST_GROWTH = 1024;   // pixels that a byte of a lossy frame can become
static const int LONGEST_EDGE = WEBP_MAX_DIMENSION;
static const int USUAL_QUALITY = 90;
static const uint64_t UNPACKING_BYTES = 1024 * 1024;   // beside pixels, of what the library wants at once

//---- Reading

static bool FailWebP(Reading &reading, const std::string &words)
{
    return Fail(reading.error, "damaged WebP data (" + words + ")");
}

// The library wants all of a file. It says its own length at its beginning.
static bool TakeFile(Reading &reading, Bytes &file)
{
    uint8_t head[12];
    if (!Take(reading.source, head, sizeof head)) return Fail(reading.error, ENDS_BEFORE_ITS_PICTURE);
    const uint64_t length = uint64_t(Low32(head + 4)) + 8;
    if (length > MOST_FILE_BYTES) return FailWebP(reading, "it is longer than 512 MiB");
    AddBytes(file, head, sizeof head);
    const uint8_t *part = nullptr;
    while (file.size() < length) {
        const size_t count = TakeBuffer(reading.source, part);
        if (count == 0) return Fail(reading.error, ENDS_BEFORE_ITS_PICTURE);
        AddBytes(file, part, count);
    }
    if (file.size() > length) reading.notices.push_back("what stands behind the picture is left out");
    file.resize(size_t(length));
    return true;
}

struct DemuxFree {
    void operator()(WebPDemuxer *demuxer) const { WebPDemuxDelete(demuxer); }
    void operator()(WebPAnimDecoder *decoder) const { WebPAnimDecoderDelete(decoder); }
    void operator()(WebPAnimEncoder *encoder) const { WebPAnimEncoderDelete(encoder); }
    void operator()(WebPMux *mux) const { WebPMuxDelete(mux); }
};
typedef std::unique_ptr<WebPDemuxer, DemuxFree> DemuxPointer;

static void TakeChunk(const WebPDemuxer *demuxer, const char *type, std::vector<uint8_t> &bytes)
{
    WebPChunkIterator chunk = {};
    if (!WebPDemuxGetChunk(demuxer, type, 1, &chunk)) return;
    if (chunk.chunk.size <= MOST_METADATA) bytes.assign(chunk.chunk.bytes, chunk.chunk.bytes + chunk.chunk.size);
    WebPDemuxReleaseChunkIterator(&chunk);
}

static void TakeExtras(const WebPDemuxer *demuxer, PictureExtras &extras)
{
    static const char mark[] = {'E', 'x', 'i', 'f', 0, 0};   // which some put before the data
    TakeChunk(demuxer, "ICCP", extras.colourProfile);
    TakeChunk(demuxer, "XMP ", extras.xmp);
    TakeChunk(demuxer, "EXIF", extras.exif);
    std::vector<uint8_t> &exif = extras.exif;
    if (exif.size() > sizeof mark && memcmp(exif.data(), mark, sizeof mark) == 0)
        exif.erase(exif.begin(), exif.begin() + sizeof mark);
}

// The container's own parts and those that are taken; parts follow each other, each of even length.
static void TellLeftOut(const Bytes &file, Notices &notices)
{
    static const char *const taken[] = {"VP8 ", "VP8L", "VP8X", "ALPH", "ANIM", "ANMF", "ICCP", "EXIF", "XMP "};
    std::string names;
    for (size_t at = 12; at + 8 <= file.size();) {
        std::string name(file.begin() + ptrdiff_t(at), file.begin() + ptrdiff_t(at + 4));
        const uint64_t count = Low32(file.data() + at + 4);
        at = size_t(std::min<uint64_t>(file.size(), at + 8 + count + count % 2));
        if (std::find(std::begin(taken), std::end(taken), name) != std::end(taken)) continue;
        if (std::any_of(name.begin(), name.end(), [](char letter) { return letter < ' ' || letter > '~'; })) name = "?";
        if (names.find(name) == std::string::npos && names.size() < 100) names += (names.empty() ? "" : ", ") + name;
    }
    if (!names.empty()) notices.push_back(UNKNOWN_PARTS_ARE_DROPPED + names);
}

// From red, green, blue, alpha.
static bool TakePicture(Reading &reading, const uint8_t *pixels, int width, int height, bool alpha, Picture &picture)
{
    if (!StartPicture(picture, RGB, width, height, reading.allowHuge, reading.error)) return false;
    if (alpha && !StartMask(picture, reading.error)) return false;
    Bytes room(static_cast<size_t>(width));
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t *row = pixels + 4 * size_t(y) * size_t(width);
        SplitAlpha(row, width, RowToFill(picture, y), alpha ? MaskRowToFill(picture, y) : room.data());
    }
    return true;
}

static bool ReadStill(Reading &reading, const Bytes &file, const WebPBitstreamFeatures &features)
{
    Picture &picture = reading.picture;
    if (!StartPicture(picture, RGB, features.width, features.height, reading.allowHuge, reading.error)) return false;
    picture.extras.shape.lossy = features.format == 1;
    if (!features.has_alpha) {
        const int stride = RowStride(24, features.width);
        const size_t bytes = size_t(stride) * size_t(features.height);
        memset(picture.pixels.get(), 0, bytes);
        return WebPDecodeBGRInto(file.data(), file.size(), picture.pixels.get(), bytes, stride) ||
               FailWebP(reading, "its pixels");
    }
    int width = 0, height = 0;
    const std::unique_ptr<uint8_t, void (*)(void *)> pixels(WebPDecodeRGBA(file.data(), file.size(), &width, &height),
                                                            WebPFree);
    if (!pixels || width != features.width || height != features.height) return FailWebP(reading, "its pixels");
    Picture made;
    if (!TakePicture(reading, pixels.get(), width, height, true, made)) return false;
    made.extras = std::move(picture.extras);
    picture = std::move(made);
    return true;
}

static bool AnyLossy(const WebPDemuxer *demuxer)
{
    WebPIterator frame = {};
    bool lossy = false;
    if (WebPDemuxGetFrame(demuxer, 1, &frame)) {
        do {
            WebPBitstreamFeatures features;
            const bool known = WebPGetFeatures(frame.fragment.bytes, frame.fragment.size, &features) == VP8_STATUS_OK;
            lossy = lossy || (known && features.format == 1);
        } while (WebPDemuxNextFrame(&frame));
    }
    WebPDemuxReleaseIterator(&frame);
    return lossy;
}

static bool ReadFrames(Reading &reading, const Bytes &file, bool alpha, bool lossy)
{
    WebPAnimDecoderOptions options;
    WebPAnimDecoderOptionsInit(&options);
    const WebPData data = {file.data(), file.size()};
    const std::unique_ptr<WebPAnimDecoder, DemuxFree> decoder(WebPAnimDecoderNew(&data, &options));
    WebPAnimInfo info;
    if (!decoder || !WebPAnimDecoderGetInfo(decoder.get(), &info)) return FailWebP(reading, "its frames");
    const uint32_t wanted = uint32_t(std::max(reading.page, 1)), count = info.frame_count;
    if (wanted > count)
        return Fail(reading.error, "has " + std::to_string(count) + (count == 1 ? " frame" : " frames") + ", not " +
                                       std::to_string(wanted));
    const bool all = reading.page == 0 && reading.further;
    const int64_t pixels = int64_t(info.canvas_width) * info.canvas_height;
    if (all && pixels * count > MOST_PIXELS && !reading.allowHuge) { return Fail(reading.error, FRAMES_ARE_TOO_LARGE); }
    int before = 0;
    for (uint32_t i = 1; i <= (all ? count : wanted); ++i) {
        uint8_t *screen = nullptr;
        int until = 0;
        if (!WebPAnimDecoderGetNext(decoder.get(), &screen, &until))
            return FailWebP(reading, "frame " + std::to_string(i));
        const int delay = until - before;
        before = until;
        if (i < wanted) continue;
        Picture picture;
        if (!TakePicture(reading, screen, int(info.canvas_width), int(info.canvas_height), alpha, picture))
            return false;
        picture.extras = i == wanted ? std::move(reading.picture.extras) : PictureExtras();
        picture.extras.shape.delay = delay;
        picture.extras.shape.lossy = lossy;
        picture.extras.shape.loops = int(info.loop_count);
        picture.extras.shape.background = info.bgcolor;
        picture.extras.shape.pages = int(count);
        if (i == wanted) reading.picture = std::move(picture);
        else reading.further->push_back(std::move(picture));
    }
    if (reading.page == 0 && count > 1 && !reading.further) reading.notices.push_back(ONLY_THE_FIRST_FRAME);
    return true;
}

bool ReadWebP(Reading &reading)
{
    Bytes file;
    if (!TakeFile(reading, file)) return false;
    const WebPData data = {file.data(), file.size()};
    const DemuxPointer demuxer(WebPDemux(&data));
    WebPBitstreamFeatures features;
    if (!demuxer || WebPGetFeatures(file.data(), file.size(), &features) != VP8_STATUS_OK)
        return FailWebP(reading, "its parts");
    Picture trial;   // its size is looked at before the library takes memory for it
    if (!reading.allowHuge && int64_t(features.width) * features.height > MOST_PIXELS) {
        return StartPicture(trial, RGB, features.width, features.height, false, reading.error);
    }
    if (features.format == 1 && uint64_t(features.width) * uint64_t(features.height) / MOST_GROWTH > file.size()) {
        return Fail(reading.error, TOO_SHORT_FOR_ITS_PICTURE);
    }
    TakeExtras(demuxer.get(), reading.picture.extras);
    TellLeftOut(file, reading.notices);
    if (features.has_animation) return ReadFrames(reading, file, features.has_alpha, AnyLossy(demuxer.get()));
    if (reading.page > 1) return Fail(reading.error, "has 1 frame, not " + std::to_string(reading.page));
    PictureExtras extras = std::move(reading.picture.extras);
    const bool done = ReadStill(reading, file, features);
    extras.shape.lossy = features.format == 1;
    reading.picture.extras = std::move(extras);
    return done;
}

//---- Writing

// Of what can fail for want of memory alone.
static void Must(bool done)
{
    if (!done) throw std::bad_alloc();
}

// What the library allocates.
struct Packed {
    WebPData data = {};
    Packed() = default;
    Packed(const Packed &) = delete;
    Packed &operator=(const Packed &) = delete;
    ~Packed() { WebPDataClear(&data); }
};

static WebPConfig ConfigFor(const Writing &writing)
{
    WebPConfig config;
    Must(WebPConfigInit(&config));
    const int quality = writing.options.quality;
    const bool lossless = quality == 0 && !writing.picture.extras.shape.lossy;
    if (lossless) Must(WebPConfigLosslessPreset(&config, 4));
    config.exact = 1;   // colours that are not seen stay
    if (!lossless) config.quality = float(quality ? quality : USUAL_QUALITY);
    return config;
}

// The library's picture of one of ours.
struct WebPPixels {
    WebPPicture picture;
    WebPPixels() { Must(WebPPictureInit(&picture)); }
    ~WebPPixels() { WebPPictureFree(&picture); }
    WebPPixels(const WebPPixels &) = delete;
    WebPPixels &operator=(const WebPPixels &) = delete;
};

static void GivePixels(const Picture &from, bool lossless, WebPPixels &pixels)
{
    const size_t width = size_t(from.width);
    Bytes all(4 * width * size_t(from.height)), row(3 * width), alpha(width, 255);
    for (int32_t y = 0; y < from.height; ++y) {
        ColourRow(from, y, row.data());
        if (from.mask) AlphaRow(from, y, alpha.data());
        uint8_t *to = all.data() + 4 * width * size_t(y);
        for (size_t x = 0; x < width; ++x, to += 4) {
            memcpy(to, row.data() + 3 * x, 3);
            to[3] = alpha[x];
        }
    }
    pixels.picture.use_argb = lossless;
    pixels.picture.width = from.width;
    pixels.picture.height = from.height;
    Must(from.mask ? WebPPictureImportRGBA(&pixels.picture, all.data(), int(4 * width))
                   : WebPPictureImportRGBX(&pixels.picture, all.data(), int(4 * width)));
}

static bool PackStill(const Writing &writing, const WebPConfig &config, WebPData &packed)
{
    WebPPixels pixels;
    WebPMemoryWriter writer;
    WebPMemoryWriterInit(&writer);
    pixels.picture.writer = WebPMemoryWrite;
    pixels.picture.custom_ptr = &writer;
    GivePixels(writing.picture, config.lossless, pixels);
    const bool done = WebPEncode(&config, &pixels.picture);
    packed = {writer.mem, writer.size};   // given back by WebPDataClear
    return done;
}

static bool PackFrames(const Writing &writing, const WebPConfig &config, WebPData &packed)
{
    WebPAnimEncoderOptions options;
    Must(WebPAnimEncoderOptionsInit(&options));
    const Picture &first = writing.picture;
    options.anim_params.loop_count = std::max(first.extras.shape.loops, 0);
    if (first.extras.shape.background >= 0) options.anim_params.bgcolor = uint32_t(first.extras.shape.background);
    const std::unique_ptr<WebPAnimEncoder, DemuxFree> encoder(WebPAnimEncoderNew(first.width, first.height, &options));
    Must(encoder != nullptr);
    int at = 0;
    bool fits = true;
    const auto add = [&](const Picture &picture) {
        WebPPixels pixels;
        GivePixels(picture, true, pixels);
        fits &= WebPAnimEncoderAdd(encoder.get(), &pixels.picture, at, &config) != 0;
        at += std::max(picture.extras.shape.delay, 0);
    };
    add(first);
    for (const Picture &picture : writing.further) add(picture);
    fits &= WebPAnimEncoderAdd(encoder.get(), nullptr, at, nullptr) != 0;
    fits &= WebPAnimEncoderAssemble(encoder.get(), &packed) != 0;
    return fits;
}

// Whether what was packed is whole: where it runs out of memory on the way, the library may end pixels that are packed
// without loss before their end and take them for done. Nor does it survive everywhere that it gets none while it
// unpacks, so what it needs is looked at before.
static bool IsWhole(const Picture &picture, const WebPData &packed)
{
    Must(HostMemoryHolds(3, 4 * uint64_t(picture.width) * uint64_t(picture.height) + UNPACKING_BYTES));
    const std::unique_ptr<WebPAnimDecoder, DemuxFree> decoder(WebPAnimDecoderNew(&packed, nullptr));
    bool whole = decoder != nullptr;
    uint8_t *screen = nullptr;
    int until = 0;
    while (whole && WebPAnimDecoderHasMoreFrames(decoder.get()))
        whole = WebPAnimDecoderGetNext(decoder.get(), &screen, &until);
    return whole;
}

static void AddChunks(const PictureExtras &extras, WebPData &packed)
{
    const struct {
        const char *type;
        const std::vector<uint8_t> &bytes;
    } chunks[] = {{"ICCP", extras.colourProfile}, {"EXIF", extras.exif}, {"XMP ", extras.xmp}};
    if (std::all_of(std::begin(chunks), std::end(chunks), [](const auto &chunk) { return chunk.bytes.empty(); }))
        return;
    const std::unique_ptr<WebPMux, DemuxFree> mux(WebPMuxCreate(&packed, 1));
    Must(mux != nullptr);
    for (const auto &chunk : chunks) {
        const WebPData data = {chunk.bytes.data(), chunk.bytes.size()};
        if (data.size) Must(WebPMuxSetChunk(mux.get(), chunk.type, &data, 1) == WEBP_MUX_OK);
    }
    WebPData joined = {};
    Must(WebPMuxAssemble(mux.get(), &joined) == WEBP_MUX_OK);
    WebPDataClear(&packed);
    packed = joined;
}

static bool OfOneSize(const Writing &writing)
{
    const Picture &first = writing.picture;
    return std::all_of(writing.further.begin(), writing.further.end(), [&first](const Picture &page) {
        return page.width == first.width && page.height == first.height;
    });
}

bool WriteWebP(Writing &writing)
{
    const Picture &picture = writing.picture;
    if (!OfOneSize(writing)) return Fail(writing.error, "its pages have several sizes, and a WebP animation has one");
    if (picture.width > LONGEST_EDGE || picture.height > LONGEST_EDGE) {
        return Fail(writing.error, "a WebP picture has at most 16383 rows and columns");
    }
    if (picture.colourType != RGB) {
        writing.notices.push_back(std::string("WebP has no ") + NameOfType(picture.colourType) +
                                  " pictures: stored as RGB");
    }
    TellLeftOut(picture, "WebP", KEEPS_PROFILE | KEEPS_EXIF | KEEPS_XMP | KEEPS_MASK, writing.notices);
    const WebPConfig config = ConfigFor(writing);
    Packed packed;
    const bool fits = (writing.further.empty() ? PackStill(writing, config, packed.data)
                                               : PackFrames(writing, config, packed.data)) &&
                      (!(config.lossless || picture.mask) || IsWhole(picture, packed.data));
    if (fits) AddChunks(picture.extras, packed.data);
    return (fits && Put(writing.sink, packed.data.bytes, packed.data.size)) ||
           Fail(writing.error, "cannot be written as WebP");
}
