// Thumbnails made, sent between processes and prepared for the screen; planes only. Who asks for them and when, and the
// process itself, are chooser.h's and thumbnail_process.h's.

#include "host/editor/thumbnails.h"

#include "host/acting/acting.h"
#include "host/acting/example.h"
#include "host/acting/kernels.h"
#include "host/editor/conversion.h"

#include <algorithm>
#include <cassert>
#include <cstring>

//---- Reducing

static constexpr int32_t MOST_SAMPLES = 4;

// The picture's columns, or rows, that one of the copy's is made from.
struct Samples {
    int32_t at[MOST_SAMPLES], count;
};

static std::vector<Samples> SamplesOf(int32_t length, int32_t reduced)
{
    std::vector<Samples> lines;
    for (int64_t i = 0; i < reduced; ++i) {
        const auto first = int32_t(i * length / reduced), end = int32_t((i + 1) * length / reduced);
        Samples line = {{}, std::min(end - first, MOST_SAMPLES)};
        for (int32_t s = 0; s < line.count; ++s) line.at[s] = first + (2 * s + 1) * (end - first) / (2 * line.count);
        lines.push_back(line);
    }
    return lines;
}

// Where the planes of a picture lie, and its copy's.
struct Reduction {
    const ImageRecord &from;
    Picture &to;
    std::vector<Samples> columns, rows;
};

static const uint8_t *SourceRow(const ImageRecord &from, int32_t y)
{
    return from.pixels + size_t(RowStride(from.bitsPerPixel, from.width)) * size_t(y);
}

static uint8_t *TargetRow(Picture &to, int32_t y)
{
    return to.pixels.get() + size_t(RowStride(to.bitsPerPixel, to.width)) * size_t(y);
}

template <int CHANNELS> static void AverageRow(const Reduction &reduction, const Samples &rows, uint8_t *target)
{
    const uint8_t *sources[MOST_SAMPLES];
    for (int32_t i = 0; i < rows.count; ++i) sources[i] = SourceRow(reduction.from, rows.at[i]);
    for (const Samples &columns : reduction.columns) {
        int32_t sums[CHANNELS] = {};
        for (int32_t i = 0; i < rows.count; ++i)
            for (int32_t s = 0; s < columns.count; ++s)
                for (int c = 0; c < CHANNELS; ++c) sums[c] += sources[i][CHANNELS * columns.at[s] + c];
        const int32_t count = rows.count * columns.count;
        for (int c = 0; c < CHANNELS; ++c) *target++ = uint8_t((sums[c] + count / 2) / count);
    }
}

static void TakeNearest(const Reduction &reduction, const uint8_t *source, uint8_t *target)
{
    const bool bits = reduction.to.bitsPerPixel == 1;
    for (size_t x = 0; x < reduction.columns.size(); ++x) {
        const int32_t at = reduction.columns[x].at[reduction.columns[x].count / 2];
        if (!bits) target[x] = source[at];
        else SetBit(target, ptrdiff_t(x), BitAt(source, at));
    }
}

static void ReduceRow(const Reduction &reduction, int32_t y)
{
    const Samples &rows = reduction.rows[size_t(y)];
    uint8_t *target = TargetRow(reduction.to, y);
    if (reduction.to.colourType == RGB) AverageRow<3>(reduction, rows, target);
    else if (reduction.to.colourType == GREY) AverageRow<1>(reduction, rows, target);
    else TakeNearest(reduction, SourceRow(reduction.from, rows.at[rows.count / 2]), target);
}

static Extent FittedExtent(int32_t width, int32_t height, Extent room)
{
    const double scale = std::min({1.0, double(room.width) / width, double(room.height) / height});
    return {std::max(1, int32_t(width * scale + 0.5)), std::max(1, int32_t(height * scale + 0.5))};
}

Picture Reduced(const ImageRecord &image, Extent room)
{
    const Extent extent = FittedExtent(image.width, image.height, room);
    Picture reduced = NewPicture(image.colourType, extent.width, extent.height);
    CopyPalette(reduced, image);
    const Reduction reduction = {image, reduced, SamplesOf(image.width, extent.width),
                                 SamplesOf(image.height, extent.height)};
    for (int32_t y = 0; y < extent.height; ++y) ReduceRow(reduction, y);
    return reduced;
}

//---- The effects

static constexpr uint32_t SEED = 1;

// What a small picture is too small for stays as the dialog has it.
static void SetExample(HWND dialog, const DialogTemplate &effect)
{
    std::string ignored;
    for (const GivenOption &option : ExampleOptions(effect))
        SetOptionOrKernel(dialog, effect, option.name, option.value, ignored);
}

// False when it did not want to.
static bool RunEffect(Host &host, const DialogTemplate &effect, ImageRecord *image)
{
    ActInDialog(host, effect.commandOffset, [&](HWND dialog) {
        Tick(dialog, PREVIEW_CHECK, false);
        SetExample(dialog, effect);
        Press(dialog, APPLY_BUTTON);
        WaitForRun(image);
        Press(dialog, CLOSE_BUTTON);
    });
    return SharedRead(image->runStarted) != 0;
}

static bool RunOnCopy(Host &host, int32_t effect, const Picture &picture, const TakeResult &take)
{
    const DialogTemplate &dialog = *DialogTemplateAt(effect);
    ImageRecord *image = OpenImage(host, CopyOf(picture));
    const bool ran = CommandEnabled(host, dialog.commandOffset) && RunEffect(host, dialog, image);
    const Picture result = TakePicture(image);
    CloseImage(host, image);
    return !ran || take(effect, result);
}

void RunAllEffects(Host &host, const Picture &picture, const TakeResult &take)
{
    assert(!host.context.firstImage && "the copy is to be the active picture");
    HostFixSeed(TRUE, SEED);
    for (int32_t i = 0; i < DialogTemplateCount(); ++i)
        if (DialogTemplateAt(i)->effect && !RunOnCopy(host, i, picture, take)) break;
    HostFixSeed(FALSE, 0);
}

//---- Between processes

struct PictureHead {
    int32_t number, colourType, width, height, paletteEntries;
    uint8_t red[256], green[256], blue[256];
};

static size_t PixelBytes(const Picture &picture)
{
    return size_t(RowStride(picture.bitsPerPixel, picture.width)) * size_t(picture.height);
}

bool SendPicture(const WriteBytes &write, int32_t number, const Picture &picture)
{
    PictureHead head = {number, picture.colourType, picture.width, picture.height, 0, {}, {}, {}};
    CopyPalette(head, picture);
    return write(&head, sizeof head) && write(picture.pixels.get(), PixelBytes(picture));
}

bool ReceivePicture(const ReadBytes &read, int32_t &number, Picture &picture)
{
    PictureHead head;
    if (!read(&head, sizeof head)) return false;
    number = head.number;
    picture = NewPicture(head.colourType, head.width, head.height);
    CopyPalette(picture, head);
    return read(picture.pixels.get(), PixelBytes(picture));
}

//---- On the screen

static bool Always(int32_t, int32_t) { return true; }

// The planes stay the picture's.
static ImageRecord LentTo(const Picture &picture)
{
    ImageRecord image = {};
    CopyDescription(image, picture);
    image.pixels = picture.pixels.get();
    return image;
}

Thumbnail ThumbnailOf(const Picture &picture, Extent room)
{
    const Picture colours = Converted(picture, RGB, OneBitMethod::THRESHOLD, Always);
    Picture reduced = Reduced(LentTo(colours), room);
    Thumbnail thumbnail = {{reduced.width, reduced.height}, {}};
    for (int32_t y = 0; y < reduced.height; ++y) {
        const uint8_t *pixel = TargetRow(reduced, y);
        for (int32_t x = 0; x < reduced.width; ++x, pixel += 3)
            thumbnail.words.push_back(pixel[0] | uint32_t(pixel[1]) << 8 | uint32_t(pixel[2]) << 16);
    }
    return thumbnail;
}

Thumbnail Dimmed(Thumbnail thumbnail, uint32_t background)
{
    // A quarter of the picture, three of the background.
    for (uint32_t &word : thumbnail.words) {
        uint32_t mixed = 0;
        for (int shift = 0; shift < 24; shift += 8)
            mixed |= ((word >> shift & 255) + 3 * (background >> shift & 255) + 2) / 4 << shift;
        word = mixed;
    }
    return thumbnail;
}
