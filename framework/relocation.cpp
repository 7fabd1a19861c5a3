// Sets runs of pixels by the host's Relocate, one call per pixel, with the pixels to come fetched ahead. Which position
// a pixel comes from is the effect's to say.

#include "framework/relocation.h"

static RelocatedPlane PlaneToSet(const ImageView &view, const uint8_t *source, uint8_t *pixels, int bitsPerPixel,
                                 int colourType)
{
    RelocatedPlane plane = {};
    plane.pixels = pixels;
    plane.bytesPerPixel = colourType == ONE_BIT ? 0 : bitsPerPixel == 8 ? 1 : 3;
    plane.columnStep = colourType == ONE_BIT;
    RelocateRequest &request = plane.request;
    request.source = source;
    request.destination = pixels;
    request.width = request.secondWidth = view.width;
    request.height = view.height;
    request.bitsPerPixel = bitsPerPixel;
    request.stride = RowStride(bitsPerPixel, view.width);
    request.colourType = colourType;
    return plane;
}

Relocation::Relocation(const ImageView &view) : sources(view)
{
    picture = PlaneToSet(view, sources.pixels, view.pixels, view.bitsPerPixel, view.colourType);
    picture.request.maskSource = view.maskInUse ? sources.mask : nullptr;
    picture.request.maskStride = MaskRowBytes(view);
    const int maskType = view.maskBitsPerPixel == 8 ? GREY : ONE_BIT;
    mask = PlaneToSet(view, sources.mask, view.mask, view.maskBitsPerPixel, maskType);
}

RowRelocation OnRows(const Relocation &relocation, uint8_t *memory)
{
    auto *positions = reinterpret_cast<double *>(memory);
    return {relocation.picture, relocation.mask, positions, positions + relocation.picture.request.width};
}

RowSharing RelocationSharing(const ImageView &view, double cost, size_t memory)
{
    constexpr double RELOCATE = 4;
    return {.cost = cost + RELOCATE, .memory = RelocationBytes(view.width) + memory, .alone = !RelocatesTogether()};
}

// Points a request at the first pixel of a run.
static void Begin(RelocatedPlane &plane, int y, int x)
{
    plane.request.destination = plane.pixels;
    if (plane.columnStep) {
        plane.request.x = x;
        plane.request.y = y;
    } else {
        plane.request.destination += size_t(y) * plane.request.stride + size_t(x) * plane.bytesPerPixel;
    }
}

// Sets the pixel and goes on to the next one.
static inline void Set(RelocatedPlane &plane, double sourceX, double sourceY)
{
    plane.request.sourceX = sourceX;
    plane.request.sourceY = sourceY;
    Relocate(&plane.request);
    plane.request.destination += plane.bytesPerPixel;
    plane.request.x += plane.columnStep;
}

// Positions of neighbouring pixels may be rows apart, so the processor is told of them this many pixels ahead.
constexpr int AHEAD = 8;

static inline void Announce(const RelocateRequest &request, double sourceX, double sourceY)
{
    const uint8_t *row = request.source + intptr_t(sourceY) * request.stride;
    const uint8_t *pixel = row + (intptr_t(sourceX) * request.bitsPerPixel >> 3);
    __builtin_prefetch(pixel);
    __builtin_prefetch(pixel + request.stride);
}

void RelocateRun(RowRelocation &relocation, int y, int x, int count)
{
    RelocatedPlane &picture = relocation.picture, &mask = relocation.mask;
    const double *sourceX = relocation.sourceX, *sourceY = relocation.sourceY;
    Begin(picture, y, x);
    if (mask.pixels) Begin(mask, y, x);
    for (int i = x; i < x + count; ++i) {
        if (i + AHEAD < x + count) Announce(picture.request, sourceX[i + AHEAD], sourceY[i + AHEAD]);
        Set(picture, sourceX[i], sourceY[i]);
        if (mask.pixels) Set(mask, sourceX[i], sourceY[i]);
    }
}
