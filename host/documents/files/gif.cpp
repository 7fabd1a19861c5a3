// GIF: still pictures and animations, through giflib, which packs and unpacks indices and knows the blocks; what they
// mean is known here. Every frame becomes a picture as it is seen, with what the frames before it have left: with the
// frame's own palette where it covers all, with a palette of all colours seen where 256 hold them, else in RGB. A file
// none of whose frames has changed is put together again from the frames as they were stored.

#include "host/documents/files/formats.h"
#include "host/documents/files/words.h"

#include <gif_lib.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>

static const uint64_t MOST_GROWTH = 2800;                 // pixels that a packed byte can become
static const uint64_t MOST_UNLIKELY = 16 * 1024 * 1024;   // pixels, whatever has been read
static const int64_t MOST_PIXELS = 512 * 1000 * 1000;     // of all frames, unless huge ones are allowed
static const size_t MOST_WORDS = 8 * 1024 * 1024;         // bytes of texts
static const char XMP_MARK[] = "XMP DataXMP";
static const char LOOPS_MARK[] = "NETSCAPE2.0";
static const char OTHER_LOOPS_MARK[] = "ANIMEXTS1.0";
static const char PROFILE_MARK[] = "ICCRGBG1012";
static const size_t XMP_TRAILER = 257;   // bytes behind the packet, for readers who know nothing of it

//---- Reading: a file's blocks

struct GifReader {
    Reading &reading;
    GifFileType *gif = nullptr;
    GraphicsControlBlock control = {DISPOSAL_UNSPECIFIED, false, 0, NO_TRANSPARENT_COLOR};
    int loops = -1;   // -1: not said
    Bytes xmp = {}, profile = {};
    std::vector<FileText> texts = {};
    std::vector<std::string> leftOut = {};   // what blocks are called that are not taken
    // The screen as it is seen: red, green, blue, alpha; empty while the first frame is all there is of it.
    Bytes screen = {}, before = {};
    int64_t pixels = 0;   // of all frames so far
    std::vector<Picture> frames = {};
    ~GifReader()
    {
        int ignored;
        if (gif) DGifCloseFile(gif, &ignored);
    }
};

static int TakeGifBytes(GifFileType *gif, GifByteType *bytes, int count)
{
    return int(TakeSome(static_cast<GifReader *>(gif->UserData)->reading.source, bytes, size_t(std::max(count, 0))));
}

static bool FailGif(GifReader &reader, const std::string &words)
{
    return Fail(reader.reading.error, "damaged GIF data (" + words + ")");
}

static bool EndsTooSoon(GifReader &reader) { return Fail(reader.reading.error, ENDS_BEFORE_ITS_PICTURE); }

// All of an extension's bytes; with `lengths`, those that say how long its parts are as well.
static bool TakeExtension(GifReader &reader, GifByteType *part, bool lengths, Bytes &bytes)
{
    while (part) {
        if (bytes.size() < MOST_WORDS) AddBytes(bytes, lengths ? part : part + 1, size_t(part[0]) + lengths);
        if (DGifGetExtensionNext(reader.gif, &part) != GIF_OK) return false;
    }
    return true;
}

static void LeaveOut(GifReader &reader, const std::string &name)
{
    const bool plain =
        std::all_of(name.begin(), name.end(), [](char letter) { return letter >= ' ' && letter <= '~'; });
    const std::string told = plain ? name : "a program's own";
    std::vector<std::string> &names = reader.leftOut;
    if (names.size() < 10 && std::find(names.begin(), names.end(), told) == names.end()) names.push_back(told);
}

static bool TakeExtensions(GifReader &reader)
{
    int kind = 0;
    GifByteType *part = nullptr;
    if (DGifGetExtension(reader.gif, &kind, &part) != GIF_OK) return EndsTooSoon(reader);
    Bytes bytes;
    if (kind == APPLICATION_EXT_FUNC_CODE && part && part[0] == 11) {
        const std::string mark(reinterpret_cast<char *>(part + 1), 11);
        if (DGifGetExtensionNext(reader.gif, &part) != GIF_OK) return EndsTooSoon(reader);
        if (!TakeExtension(reader, part, mark == XMP_MARK, bytes)) return EndsTooSoon(reader);
        const bool loops = mark == LOOPS_MARK || mark == OTHER_LOOPS_MARK;
        if (loops && bytes.size() >= 3 && (bytes[0] & 7) == 1) reader.loops = int(Low16(bytes.data() + 1));
        if (mark == XMP_MARK && bytes.size() > XMP_TRAILER) {
            reader.xmp.assign(bytes.begin(), bytes.end() - ptrdiff_t(XMP_TRAILER));
        }
        if (mark == PROFILE_MARK) reader.profile = bytes;
        if (!loops && mark != XMP_MARK && mark != PROFILE_MARK) LeaveOut(reader, mark);
        return true;
    }
    if (!TakeExtension(reader, part, false, bytes)) return EndsTooSoon(reader);
    if (kind == GRAPHICS_EXT_FUNC_CODE && bytes.size() >= 4)
        DGifExtensionToGCB(bytes.size(), bytes.data(), &reader.control);
    if (kind == PLAINTEXT_EXT_FUNC_CODE) {
        LeaveOut(reader, "text that is drawn");
        reader.control = {DISPOSAL_UNSPECIFIED, false, 0, NO_TRANSPARENT_COLOR};   // which was for it
    } else if (kind != GRAPHICS_EXT_FUNC_CODE && kind != COMMENT_EXT_FUNC_CODE) {
        LeaveOut(reader, "extension " + std::to_string(kind));
    }
    if (kind == COMMENT_EXT_FUNC_CODE && !bytes.empty()) reader.texts.push_back({COMMENT, TextInUtf8(bytes)});
    return true;
}

//---- Reading: frames

static void TakePalette(const ColorMapObject *map, Bytes &palette)
{
    for (int i = 0; map && i < map->ColorCount; ++i) {
        const GifColorType &colour = map->Colors[i];
        palette.insert(palette.end(), {colour.Red, colour.Green, colour.Blue});
    }
}

// As many pixels as what has been read makes likely: from a pipe nobody knows what is to come.
static uint64_t LikelyPixels(const GifReader &reader)
{
    return MOST_UNLIKELY + MOST_GROWTH * reader.reading.source.taken;
}

static bool TakeIndices(GifReader &reader, FrameShape &frame, bool interlaced)
{
    static const int first[] = {0, 4, 2, 1}, step[] = {8, 8, 4, 2};
    const size_t width = size_t(frame.width), all = width * size_t(frame.height);
    Bytes &indices = frame.indices;
    for (int pass = interlaced ? 0 : 3; pass < 4; ++pass) {
        for (int y = interlaced ? first[pass] : 0; y < frame.height; y += interlaced ? step[pass] : 1) {
            const size_t end = width * size_t(y + 1);
            if (end > indices.capacity()) indices.reserve(size_t(std::clamp<uint64_t>(LikelyPixels(reader), end, all)));
            indices.resize(std::max(indices.size(), end));
            if (DGifGetLine(reader.gif, indices.data() + width * size_t(y), frame.width) != GIF_OK) {
                return FailShort(reader.reading.error, frame.height, y);
            }
        }
    }
    return true;
}

static void ShowFrame(GifReader &reader, const FrameShape &frame)
{
    const size_t entries = frame.palette.size() / 3, screenWidth = size_t(reader.gif->SWidth);
    for (size_t y = 0; y < size_t(frame.height); ++y) {
        for (size_t x = 0; x < size_t(frame.width); ++x) {
            const size_t index = frame.indices[y * size_t(frame.width) + x];
            const size_t atX = x + size_t(frame.left), atY = y + size_t(frame.top);
            if (int(index) == frame.transparent || atX >= screenWidth || atY >= size_t(reader.gif->SHeight)) continue;
            uint8_t *pixel = reader.screen.data() + 4 * (atY * screenWidth + atX);
            for (size_t c = 0; c < 3; ++c) pixel[c] = index < entries ? frame.palette[3 * index + c] : 0;
            pixel[3] = 255;
        }
    }
}

static void ClearFrame(GifReader &reader, const FrameShape &frame)
{
    const size_t screenWidth = size_t(reader.gif->SWidth), height = size_t(reader.gif->SHeight);
    for (size_t y = size_t(frame.top); y < std::min(height, size_t(frame.top + frame.height)); ++y) {
        const size_t left = std::min(screenWidth, size_t(frame.left));
        const size_t right = std::min(screenWidth, size_t(frame.left + frame.width));
        memset(reader.screen.data() + 4 * (y * screenWidth + left), 0, 4 * (right - left));
    }
}

static bool CoversAll(const GifReader &reader, const FrameShape &frame)
{
    return frame.left == 0 && frame.top == 0 && frame.width == reader.gif->SWidth &&
           frame.height == reader.gif->SHeight;
}

static void SetPalette(Picture &picture, const Bytes &palette)
{
    picture.paletteEntries = int32_t(palette.size() / 3);
    for (size_t i = 0; i < palette.size() / 3; ++i) {
        picture.red[i] = palette[3 * i];
        picture.green[i] = palette[3 * i + 1];
        picture.blue[i] = palette[3 * i + 2];
    }
}

// With the frame's own palette and indices.
static bool PictureOfFrame(GifReader &reader, const FrameShape &frame, Picture &picture)
{
    const Reading &reading = reader.reading;
    if (!StartPicture(picture, PALETTE, frame.width, frame.height, reading.allowHuge, reader.reading.error))
        return false;
    SetPalette(picture, frame.palette);
    if (frame.transparent >= 0) AddMask(picture, 1);
    for (int32_t y = 0; y < frame.height; ++y) {
        const uint8_t *indices = frame.indices.data() + size_t(y) * size_t(frame.width);
        memcpy(RowToFill(picture, y), indices, size_t(frame.width));
        if (!picture.mask) continue;
        uint8_t *mask = MaskRowToFill(picture, y);
        for (int32_t x = 0; x < frame.width; ++x) SetBit(mask, x, indices[x] != frame.transparent);
    }
    return true;
}

// The screen's colours, numbered as they come, alpha apart. False when there are more than 256.
static bool NumberColours(const Bytes &screen, std::map<uint32_t, int> &numbers, bool &seeThrough)
{
    for (size_t i = 0; i < screen.size(); i += 4) {
        seeThrough = seeThrough || screen[i + 3] == 0;
        if (screen[i + 3] == 0) continue;
        const uint32_t colour = uint32_t(screen[i] << 16 | screen[i + 1] << 8 | screen[i + 2]);
        if (numbers.emplace(colour, int(numbers.size())).second && numbers.size() > 256) return false;
    }
    return true;
}

static bool PictureOfScreen(GifReader &reader, Picture &picture)
{
    const Reading &reading = reader.reading;
    std::map<uint32_t, int> numbers;
    bool seeThrough = false;
    const bool few = NumberColours(reader.screen, numbers, seeThrough);
    for (size_t i = 3; !few && !seeThrough && i < reader.screen.size(); i += 4) seeThrough = reader.screen[i] == 0;
    const int32_t width = reader.gif->SWidth, height = reader.gif->SHeight;
    if (!StartPicture(picture, few ? PALETTE : RGB, width, height, reading.allowHuge, reader.reading.error))
        return false;
    if (few) {
        Bytes palette(std::max<size_t>(numbers.size(), 1) * 3);
        for (const auto &[colour, number] : numbers)
            for (size_t c = 0; c < 3; ++c) palette[3 * size_t(number) + c] = uint8_t(colour >> (16 - 8 * c));
        SetPalette(picture, palette);
    }
    if (seeThrough) AddMask(picture, few ? 1 : 8);
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t *pixel = reader.screen.data() + 4 * size_t(y) * size_t(width);
        uint8_t *row = RowToFill(picture, y), *mask = picture.mask ? MaskRowToFill(picture, y) : nullptr;
        for (int32_t x = 0; x < width; ++x, pixel += 4) {
            const uint32_t colour = uint32_t(pixel[0] << 16 | pixel[1] << 8 | pixel[2]);
            if (few) row[x] = uint8_t(pixel[3] ? numbers[colour] : 0);
            else
                for (int c = 0; c < 3; ++c) row[3 * x + c] = pixel[2 - c];
            if (mask && few) SetBit(mask, x, pixel[3] != 0);
            else if (mask) mask[x] = pixel[3];
        }
    }
    return true;
}

// Tells a picture from one with another pixel, colour or mask.
static uint64_t SumOf(const Picture &picture)
{
    uint64_t sum = 0xCBF29CE484222325u;
    const auto add = [&sum](const uint8_t *bytes, size_t count) {
        for (size_t i = 0; i < count; ++i) sum = (sum ^ bytes[i]) * 0x100000001B3u;
    };
    const auto addPlane = [&](const PlaneBytes &plane, int32_t bits) {
        if (plane) add(plane.get(), size_t(RowStride(bits, picture.width)) * size_t(picture.height));
    };
    const int32_t facts[] = {picture.width, picture.height, picture.colourType, picture.maskBitsPerPixel};
    add(reinterpret_cast<const uint8_t *>(facts), sizeof facts);
    addPlane(picture.pixels, picture.bitsPerPixel);
    addPlane(picture.mask, picture.maskBitsPerPixel);
    for (const uint8_t *colours : {picture.red, picture.green, picture.blue}) add(colours, 256);
    return sum;
}

static void Dispose(GifReader &reader, const FrameShape &frame)
{
    if (frame.disposal == DISPOSE_BACKGROUND) ClearFrame(reader, frame);
    if (frame.disposal == DISPOSE_PREVIOUS) reader.screen = reader.before;
}

// Memory for a large screen is taken only after as many bytes as make its size likely.
static bool MakeScreen(GifReader &reader)
{
    if (!reader.screen.empty()) return true;
    const uint64_t pixels = uint64_t(reader.gif->SWidth) * uint64_t(reader.gif->SHeight);
    if (pixels > LikelyPixels(reader)) { return Fail(reader.reading.error, TOO_SHORT_FOR_ITS_PICTURE); }
    reader.screen.resize(4 * pixels);
    if (reader.frames.empty()) return true;
    const FrameShape &first = *reader.frames[0].extras.shape.frame;
    if (first.disposal == DISPOSE_PREVIOUS) reader.before = reader.screen;
    ShowFrame(reader, first);
    Dispose(reader, first);
    return true;
}

static bool TakeFrame(GifReader &reader)
{
    GifFileType *gif = reader.gif;
    Reading &reading = reader.reading;
    if (DGifGetImageHeader(gif) != GIF_OK) return EndsTooSoon(reader);
    const auto frame = std::make_shared<FrameShape>();
    frame->left = gif->Image.Left;
    frame->top = gif->Image.Top;
    frame->width = gif->Image.Width;
    frame->height = gif->Image.Height;
    frame->disposal = reader.control.DisposalMode;
    frame->delay = reader.control.DelayTime;
    frame->transparent = reader.control.TransparentColor;
    frame->ownPalette = gif->Image.ColorMap != nullptr;
    frame->interlaced = gif->Image.Interlace;
    if (frame->width < 1 || frame->height < 1) return FailGif(reader, "a frame has no pixels");
    reader.pixels += int64_t(gif->SWidth) * gif->SHeight + int64_t(frame->width) * frame->height;
    if (reader.pixels > MOST_PIXELS && !reading.allowHuge) { return Fail(reading.error, FRAMES_ARE_TOO_LARGE); }
    if (!MayHold(reading.source, uint64_t(frame->width) * uint64_t(frame->height) / MOST_GROWTH)) {
        return Fail(reading.error, TOO_SHORT_FOR_ITS_PICTURE);
    }
    TakePalette(frame->ownPalette ? gif->Image.ColorMap : gif->SColorMap, frame->palette);
    if (frame->palette.empty()) return FailGif(reader, "there is no palette");
    if (!TakeIndices(reader, *frame, gif->Image.Interlace)) return false;
    Picture picture;
    const uint8_t highest = *std::max_element(frame->indices.begin(), frame->indices.end());
    const bool own = CoversAll(reader, *frame) && 3 * size_t(highest) < frame->palette.size() &&
                     (frame->transparent < 0 || reader.frames.empty());
    const bool screen = !own || !reader.frames.empty();
    if (screen) {
        if (!MakeScreen(reader)) return false;
        if (frame->disposal == DISPOSE_PREVIOUS) reader.before = reader.screen;
        ShowFrame(reader, *frame);
    }
    if (!(own ? PictureOfFrame(reader, *frame, picture) : PictureOfScreen(reader, picture))) return false;
    if (screen) Dispose(reader, *frame);
    frame->seen = SumOf(picture);
    picture.extras.shape.frame = frame;
    picture.extras.shape.delay = 10 * frame->delay;
    reader.frames.push_back(std::move(picture));
    reader.control = {DISPOSAL_UNSPECIFIED, false, 0, NO_TRANSPARENT_COLOR};
    return true;
}

static bool TakeBlocks(GifReader &reader)
{
    for (;;) {
        GifRecordType record;
        if (DGifGetRecordType(reader.gif, &record) != GIF_OK) {
            if (reader.frames.empty()) return EndsTooSoon(reader);
            reader.reading.notices.push_back("the file ends without its end mark");
            return true;
        }
        if (record == TERMINATE_RECORD_TYPE) return true;
        if (record == IMAGE_DESC_RECORD_TYPE ? !TakeFrame(reader)
                                             : record == EXTENSION_RECORD_TYPE && !TakeExtensions(reader)) {
            return false;
        }
    }
}

bool ReadGif(Reading &reading)
{
    GifReader reader = {reading};
    int problem = 0;
    reader.gif = DGifOpen(&reader, TakeGifBytes, &problem);
    if (!reader.gif) return FailGif(reader, "its header");
    Picture trial;
    const int64_t width = reader.gif->SWidth, height = reader.gif->SHeight;
    if (width < 1 || height < 1) return FailGif(reader, "it has no size");
    if (!reading.allowHuge && (width > 32767 || height > 32767)) {
        return StartPicture(trial, PALETTE, width, height, false, reading.error);
    }
    if (!TakeBlocks(reader)) return false;
    if (reader.frames.empty()) return FailGif(reader, HAS_NO_PICTURE);
    const size_t wanted = size_t(std::max(reading.page, 1)), count = reader.frames.size();
    if (wanted > count) {
        return Fail(reading.error, "has " + std::to_string(count) + (count == 1 ? " frame" : " frames") + ", not " +
                                       std::to_string(wanted));
    }
    reading.picture = std::move(reader.frames[wanted - 1]);
    PictureExtras &extras = reading.picture.extras;
    extras.xmp = std::move(reader.xmp);
    extras.colourProfile = std::move(reader.profile);
    extras.shape.backgroundIndex = reader.gif->SColorMap ? reader.gif->SBackGroundColor : 0;
    if (const uint32_t aspect = reader.gif->AspectByte) extras.aspectX = 64, extras.aspectY = aspect + 15;
    std::string names;
    for (const std::string &name : reader.leftOut) names += (names.empty() ? "" : ", ") + name;
    if (!names.empty()) reading.notices.push_back(UNKNOWN_PARTS_ARE_DROPPED + names);
    reading.picture.extras.texts = std::move(reader.texts);
    reading.picture.extras.shape.loops = reader.loops;
    reading.picture.extras.shape.pages = int(count);
    const bool all = count > 1 && reading.page == 0;
    if (all && reading.further) {
        for (size_t i = 1; i < count; ++i) reading.further->push_back(std::move(reader.frames[i]));
    } else if (all) {
        reading.notices.push_back(ONLY_THE_FIRST_FRAME);
    }
    return true;
}

//---- Writing: frames

// The frame as it stood in the file, where the picture is still the one that was read.
static const FrameShape *StoredFrame(const Picture &picture)
{
    const std::shared_ptr<const FrameShape> &frame = picture.extras.shape.frame;
    return frame && !frame->indices.empty() && frame->seen == SumOf(picture) ? frame.get() : nullptr;
}

// The colours of an RGB picture as at most `most` entries; exact where there are so few, else by giflib.
static bool Quantise(const Picture &picture, const std::vector<uint8_t> &alpha, int most, FrameShape &frame)
{
    const size_t width = size_t(picture.width), count = width * size_t(picture.height);
    Bytes planes[3], row(3 * width);
    for (Bytes &plane : planes) plane.resize(count);
    std::map<uint32_t, int> numbers;
    bool few = true;
    for (int32_t y = 0; y < picture.height; ++y) {
        ColourRow(picture, y, row.data());
        for (size_t x = 0; x < width; ++x) {
            const size_t at = size_t(y) * width + x;
            const bool shown = alpha.empty() || alpha[at] >= 128;
            for (size_t c = 0; c < 3; ++c) planes[c][at] = shown ? row[3 * x + c] : 0;
            if (!few || !shown) continue;
            const uint32_t colour = uint32_t(row[3 * x] << 16 | row[3 * x + 1] << 8 | row[3 * x + 2]);
            few = !numbers.emplace(colour, int(numbers.size())).second || int(numbers.size()) <= most;
        }
    }
    frame.indices.resize(count);
    if (few) {
        frame.palette.resize(std::max<size_t>(numbers.size(), 1) * 3);
        for (const auto &[colour, number] : numbers)
            for (size_t c = 0; c < 3; ++c) frame.palette[3 * size_t(number) + c] = uint8_t(colour >> (16 - 8 * c));
        for (size_t i = 0; i < count; ++i) {
            const auto found = numbers.find(uint32_t(planes[0][i] << 16 | planes[1][i] << 8 | planes[2][i]));
            frame.indices[i] = uint8_t(found == numbers.end() ? 0 : found->second);
        }
        return true;
    }
    int entries = most;
    GifColorType colours[256] = {};
    if (GifQuantizeBuffer(unsigned(width), unsigned(picture.height), &entries, planes[0].data(), planes[1].data(),
                          planes[2].data(), frame.indices.data(), colours) != GIF_OK) {
        throw std::bad_alloc();
    }
    for (int i = 0; i < entries; ++i)
        frame.palette.insert(frame.palette.end(), {colours[i].Red, colours[i].Green, colours[i].Blue});
    return false;
}

// An index that no shown pixel has, of one more entry where that is needed; -1 when all 256 are taken.
static int FreeIndex(const FrameShape &frame)
{
    bool used[256] = {};
    for (const uint8_t index : frame.indices) used[index] = true;
    for (int i = 0; i < 256; ++i)
        if (!used[i]) return i;
    return -1;
}

// All of a picture as one frame.
static bool FrameOf(const Picture &picture, FrameShape &frame, Notices &notices)
{
    frame.width = picture.width;
    frame.height = picture.height;
    frame.delay = picture.extras.shape.delay / 10;
    const size_t width = size_t(picture.width);
    std::vector<uint8_t> alpha;
    if (picture.mask) alpha.resize(width * size_t(picture.height));
    for (int32_t y = 0; picture.mask && y < picture.height; ++y) AlphaRow(picture, y, alpha.data() + width * size_t(y));
    const bool partial =
        std::any_of(alpha.begin(), alpha.end(), [](uint8_t level) { return level > 0 && level < 255; });
    const bool through = std::any_of(alpha.begin(), alpha.end(), [](uint8_t level) { return level < 128; });
    if (partial) notices.push_back("a mask of levels becomes one of shown and not shown: GIF has no other");
    bool exact = true;
    if (picture.bitsPerPixel == 8 && picture.colourType == PALETTE) {
        for (int32_t i = 0; i < EntriesForSaving(picture); ++i) {
            frame.palette.insert(frame.palette.end(), {picture.red[i], picture.green[i], picture.blue[i]});
        }
        for (int32_t y = 0; y < picture.height; ++y) AddBytes(frame.indices, RowAt(picture, y), width);
        if (through) {
            FrameShape shown = {};
            for (size_t i = 0; i < alpha.size(); ++i)
                if (alpha[i] >= 128) shown.indices.push_back(frame.indices[i]);
            // The entry that was transparent in the file stays that one.
            const auto &stored = picture.extras.shape.frame;
            const int old = stored ? stored->transparent : -1;
            const bool kept =
                old >= 0 && std::find(shown.indices.begin(), shown.indices.end(), old) == shown.indices.end();
            frame.transparent = kept ? old : FreeIndex(shown);
            if (frame.transparent < 0) {   // all are shown: one colour less
                frame.palette.clear();
                frame.indices.clear();
                exact = Quantise(picture, alpha, 255, frame);
                frame.transparent = int(frame.palette.size() / 3);
            }
        }
    } else {
        exact = Quantise(picture, alpha, through ? 255 : 256, frame);
        if (through) frame.transparent = int(frame.palette.size() / 3);
    }
    for (size_t i = 0; through && i < alpha.size(); ++i)
        if (alpha[i] < 128) frame.indices[i] = uint8_t(frame.transparent);
    if (frame.transparent >= 0) frame.palette.resize(std::max(frame.palette.size(), 3 * size_t(frame.transparent + 1)));
    frame.ownPalette = true;
    frame.interlaced = picture.extras.shape.frame && picture.extras.shape.frame->interlaced;
    return exact;
}

//---- Writing: blocks

struct MapFree {
    void operator()(ColorMapObject *map) const { GifFreeMapObject(map); }
};
typedef std::unique_ptr<ColorMapObject, MapFree> MapPointer;

static MapPointer MapOf(const Bytes &palette)
{
    const int entries = std::clamp(int(palette.size() / 3), 1, 256);
    int size = 2;
    while (size < entries) size *= 2;
    MapPointer map(GifMakeMapObject(size, nullptr));
    if (!map) throw std::bad_alloc();
    for (int i = 0; i < size; ++i) {
        const uint8_t *from = palette.data() + 3 * size_t(i);
        map->Colors[i] = i < entries ? GifColorType{from[0], from[1], from[2]} : GifColorType{0, 0, 0};
    }
    return map;
}

static int PutGifBytes(GifFileType *gif, const GifByteType *bytes, int count)
{
    auto *writing = static_cast<Writing *>(gif->UserData);
    return Put(writing->sink, bytes, size_t(std::max(count, 0))) ? count : 0;
}

// giflib does not look whether what stands between frames was written: the sink knows.

// A zero byte ends either: a text does without, a packet has none.
static void PutWords(GifFileType *gif, const PictureExtras &extras)
{
    for (const FileText &text : extras.texts) {
        std::string words = text.text;
        std::erase(words, '\0');
        if (IsComment(text) && !words.empty()) EGifPutComment(gif, words.c_str());
    }
    if (!extras.colourProfile.empty()) {
        EGifPutExtensionLeader(gif, APPLICATION_EXT_FUNC_CODE);
        EGifPutExtensionBlock(gif, 11, PROFILE_MARK);
        for (size_t at = 0; at < extras.colourProfile.size(); at += 255) {
            const size_t count = std::min<size_t>(255, extras.colourProfile.size() - at);
            EGifPutExtensionBlock(gif, int(count), extras.colourProfile.data() + at);
        }
        EGifPutExtensionTrailer(gif);
    }
    if (extras.xmp.empty()) return;
    // The packet as it is, and behind it bytes that lead a reader of parts to the end wherever it stands.
    Bytes all(extras.xmp);
    all.push_back(1);
    for (int i = 255; i >= 0; --i) all.push_back(uint8_t(i));
    EGifPutExtensionLeader(gif, APPLICATION_EXT_FUNC_CODE);
    EGifPutExtensionBlock(gif, 11, XMP_MARK);
    Put(static_cast<Writing *>(gif->UserData)->sink, all.data(), all.size());
    EGifPutExtensionTrailer(gif);
}

static void PutLoops(GifFileType *gif, int loops)
{
    const uint8_t bytes[3] = {1, uint8_t(loops), uint8_t(loops >> 8)};
    EGifPutExtensionLeader(gif, APPLICATION_EXT_FUNC_CODE);
    EGifPutExtensionBlock(gif, 11, LOOPS_MARK);
    EGifPutExtensionBlock(gif, 3, bytes);
    EGifPutExtensionTrailer(gif);
}

static bool PutFrame(GifFileType *gif, const FrameShape &frame, bool sharedPalette, bool controls)
{
    const GraphicsControlBlock control = {frame.disposal, false, frame.delay, frame.transparent};
    GifByteType bytes[4];
    if (controls) EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, int(EGifGCBToExtension(&control, bytes)), bytes);
    const MapPointer map = sharedPalette ? nullptr : MapOf(frame.palette);
    if (EGifPutImageDesc(gif, frame.left, frame.top, frame.width, frame.height, frame.interlaced, map.get()) != GIF_OK)
        return false;
    static const int first[] = {0, 4, 2, 1}, step[] = {8, 8, 4, 2};
    Bytes row(static_cast<size_t>(frame.width));
    for (int pass = frame.interlaced ? 0 : 3; pass < 4; ++pass) {
        for (int y = frame.interlaced ? first[pass] : 0; y < frame.height; y += frame.interlaced ? step[pass] : 1) {
            memcpy(row.data(), frame.indices.data() + size_t(y) * row.size(), row.size());
            if (EGifPutLine(gif, row.data(), frame.width) != GIF_OK) return false;
        }
    }
    return true;
}

static std::vector<FrameShape> FramesOf(const Writing &writing, bool &stored, int &width, int &height)
{
    std::vector<const Picture *> pictures = {&writing.picture};
    for (const Picture &picture : writing.further) pictures.push_back(&picture);
    stored =
        std::all_of(pictures.begin(), pictures.end(), [](const Picture *picture) { return StoredFrame(*picture); });
    // One frame of several is not what it was among them.
    const FrameShape *only = pictures.size() == 1 ? StoredFrame(*pictures[0]) : nullptr;
    if (only && (only->width != pictures[0]->width || only->height != pictures[0]->height)) stored = false;
    std::vector<FrameShape> frames;
    Notices notices;
    size_t reduced = 0;
    for (const Picture *picture : pictures) {
        width = std::max(width, int(picture->width));
        height = std::max(height, int(picture->height));
        if (stored) {
            frames.push_back(*StoredFrame(*picture));
            continue;
        }
        frames.emplace_back();
        reduced += !FrameOf(*picture, frames.back(), notices);
    }
    // Where something is to be seen through, what stood there before must go.
    const bool through =
        std::any_of(frames.begin(), frames.end(), [](const FrameShape &frame) { return frame.transparent >= 0; });
    for (FrameShape &frame : frames)
        if (!stored) frame.disposal = frames.size() > 1 && through ? DISPOSE_BACKGROUND : DISPOSE_DO_NOT;
    if (reduced) {
        writing.notices.push_back(frames.size() > 1
                                      ? "more colours than GIF holds: " + std::to_string(reduced) + " of " +
                                            std::to_string(frames.size()) + " frames are brought to 256"
                                      : "more colours than GIF holds: brought to 256");
    }
    if (!notices.empty()) writing.notices.push_back(notices[0]);
    return frames;
}

// A pixel's width by its height, in steps of a 64th; 0 for square ones.
static uint8_t AspectOf(const PictureExtras &extras, Notices &notices)
{
    if (extras.aspectX == extras.aspectY || extras.aspectX == 0) return 0;
    const long number = std::lround(64.0 * extras.aspectY / extras.aspectX) - 15;
    if (number == 49) return 0;
    if (number >= 1 && number <= 255) return uint8_t(number);
    notices.push_back("the shape of its pixels is not stored: GIF has none that is so long");
    return 0;
}

bool WriteGif(Writing &writing)
{
    int width = 0, height = 0;
    TellLeftOut(writing.picture, "GIF", KEEPS_MASK | KEEPS_XMP | KEEPS_COMMENT | KEEPS_PROFILE | KEEPS_ASPECT,
                writing.notices);
    if (writing.picture.width > 65535 || writing.picture.height > 65535) {
        return Fail(writing.error, "a GIF picture has at most 65535 rows and columns");
    }
    if (writing.picture.colourType != PALETTE && !writing.picture.extras.shape.frame) {
        writing.notices.push_back(std::string("GIF has no ") + NameOfType(writing.picture.colourType) +
                                  " pictures: stored with a palette");
    }
    bool stored = false;
    const std::vector<FrameShape> frames = FramesOf(writing, stored, width, height);
    int problem = 0;
    GifFileType *gif = EGifOpen(&writing, PutGifBytes, &problem);
    if (!gif) throw std::bad_alloc();
    const int loops = writing.picture.extras.shape.loops;
    const auto shared =
        std::find_if(frames.begin(), frames.end(), [](const FrameShape &frame) { return !frame.ownPalette; });
    const bool controls = frames.size() > 1 || frames[0].transparent >= 0 || frames[0].delay > 0;
    EGifSetGifVersion(gif, controls || !writing.picture.extras.xmp.empty() || !writing.picture.extras.texts.empty() ||
                               !writing.picture.extras.colourProfile.empty());
    // A palette for all is that of the frames without one of their own; of a still picture, its only frame's.
    const bool global = frames.size() == 1 || shared != frames.end();
    const FrameShape &first = shared != frames.end() ? *shared : frames[0];
    const MapPointer map = global ? MapOf(first.palette) : nullptr;
    const PictureExtras &extras = writing.picture.extras;
    const int background = map && extras.shape.backgroundIndex < map->ColorCount ? extras.shape.backgroundIndex : 0;
    gif->AspectByte = AspectOf(extras, writing.notices);
    bool done = EGifPutScreenDesc(gif, width, height, 8, background, map.get()) == GIF_OK;
    if (frames.size() > 1 && loops >= 0) PutLoops(gif, loops);
    PutWords(gif, writing.picture.extras);
    for (size_t i = 0; done && i < frames.size(); ++i) {
        done = PutFrame(gif, frames[i], frames.size() == 1 || !frames[i].ownPalette, controls);
    }
    EGifCloseFile(gif, &problem);
    return (done && !writing.sink.failure) || Fail(writing.error, "cannot be written as GIF");
}
