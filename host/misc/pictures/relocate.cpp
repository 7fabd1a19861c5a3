// Fetching one pixel from a position between pixels. Positions are rounded to 256ths of a pixel and the rest is integer
// arithmetic, so that every processor finds the same bytes. A module calls this for every pixel of a picture and of its
// mask, which is why there is no division without a mask and no entry in the log.

#include "host/misc/misc.h"
#include "host/misc/pictures/image_copy.h"
#include "maths/processor.h"

#include <algorithm>
#include <cstring>

// In 256ths of a pixel; as wide as a register, which makes the conversion one instruction.
static intptr_t Fine(double position) { return intptr_t(position * 256 + 0.5); }

//---- Between four pixels

// The left and top one of two neighbours and the share of the other one, 0..256. On the last row or column that is the
// one before with all of the share at the other, so that both lie in the picture; where there is only one, it is both.
struct Between {
    intptr_t first, share;
};

static inline Between Neighbours(intptr_t fine, int32_t count)
{
    const intptr_t first = std::max<intptr_t>(std::min<intptr_t>(fine >> 8, count - 2), 0);
    return {first, fine - 256 * first};
}

// Four neighbours by their first bytes, and the shares of those right and below.
struct Square {
    const uint8_t *topLeft, *topRight, *bottomLeft, *bottomRight;
    uint32_t toRight, toBottom;
};

static inline Square SquareAt(const RelocateRequest &request, Between x, Between y, int bytesPerPixel)
{
    const uint8_t *top = request.source + y.first * request.stride + x.first * bytesPerPixel;
    const uint8_t *bottom = top + (request.height > 1 ? request.stride : 0);
    const int right = request.width > 1 ? bytesPerPixel : 0;
    return {top, top + right, bottom, bottom + right, uint32_t(x.share), uint32_t(y.share)};
}

// The weights, which sum up to 65536, factor into those along the row and those down the column.
static inline uint8_t Interpolate(const Square &square, int channel)
{
    const uint32_t right = square.toRight, left = 256 - right;
    const uint32_t top = square.topLeft[channel] * left + square.topRight[channel] * right;
    const uint32_t bottom = square.bottomLeft[channel] * left + square.bottomRight[channel] * right;
    return uint8_t((top * (256 - square.toBottom) + bottom * square.toBottom + 32768) >> 16);
}

#if HAS_SSE2

// Six bytes, two pixels, as words: blue, blue, green, green, red, red.
static inline __m128i PairedWords(const uint8_t *pixels)
{
    int32_t low;
    uint16_t high;
    memcpy(&low, pixels, 4);
    memcpy(&high, pixels + 4, 2);
    const __m128i bytes = _mm_insert_epi16(_mm_cvtsi32_si128(low), high, 2);
    return _mm_unpacklo_epi8(_mm_unpacklo_epi8(bytes, _mm_srli_epi64(bytes, 24)), _mm_setzero_si128());
}

// All three channels of a pixel at once, for pictures of two columns and more. Down the column first, which leaves 16
// bits without a sign; taken as signed ones they are 32768 too low, and so is the sum, whose shares are 256 together.
static inline void InterpolateRgb(const uint8_t *top, const uint8_t *bottom, uint32_t toRight, uint32_t toBottom,
                                  uint8_t *destination)
{
    const __m128i upper = PairedWords(top), lower = PairedWords(bottom);
    const __m128i change = _mm_mullo_epi16(_mm_sub_epi16(lower, upper), _mm_set1_epi16(short(toBottom)));
    const __m128i down = _mm_add_epi16(_mm_slli_epi16(upper, 8), change);
    const __m128i shares = _mm_set1_epi32(int(256 + 65535 * toRight));   // words: 256 - toRight, toRight
    const __m128i sum = _mm_madd_epi16(_mm_xor_si128(down, _mm_set1_epi16(short(0x8000))), shares);
    const __m128i rounded = _mm_srli_epi32(_mm_add_epi32(sum, _mm_set1_epi32(32768 * 256 + 32768)), 16);
    const __m128i words = _mm_packs_epi32(rounded, rounded);
    const uint32_t pixel = uint32_t(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
    const uint16_t blueGreen = uint16_t(pixel);
    memcpy(destination, &blueGreen, 2);
    destination[2] = uint8_t(pixel >> 16);
}

#else

static inline void InterpolateRgb(const uint8_t *top, const uint8_t *bottom, uint32_t toRight, uint32_t toBottom,
                                  uint8_t *destination)
{
    const Square square = {top, top + 3, bottom, bottom + 3, toRight, toBottom};
    for (int c = 0; c < 3; ++c) destination[c] = Interpolate(square, c);
}

#endif

static inline void InterpolatePixel(const RelocateRequest &request, const Square &square, int bytesPerPixel)
{
    if (bytesPerPixel == 3 && request.width > 1) {
        InterpolateRgb(square.topLeft, square.bottomLeft, square.toRight, square.toBottom, request.destination);
    } else {
        for (int c = 0; c < bytesPerPixel; ++c) request.destination[c] = Interpolate(square, c);
    }
}

//---- Weighed by a mask

static inline uint32_t MaskAt(const RelocateRequest &request, bool bytes, intptr_t x, intptr_t y)
{
    const uint8_t *row = request.maskSource + y * request.maskStride;
    return bytes ? row[x] : BitAt(row, x);
}

// The weights of the four neighbours, times their masks; at most 65536 * 255 in all.
struct Weights {
    uint32_t topLeft, topRight, bottomLeft, bottomRight;
};

static Weights MaskedWeights(const Square &square, const Weights &masks)
{
    const uint32_t right = square.toRight, left = 256 - right, bottom = square.toBottom, top = 256 - bottom;
    return {left * top * masks.topLeft, right * top * masks.topRight, left * bottom * masks.bottomLeft,
            right * bottom * masks.bottomRight};
}

// Below 2 to the 32nd, also with half the sum of the weights added.
static uint32_t Weigh(const Square &square, const Weights &weights, int channel)
{
    return square.topLeft[channel] * weights.topLeft + square.topRight[channel] * weights.topRight +
           square.bottomLeft[channel] * weights.bottomLeft + square.bottomRight[channel] * weights.bottomRight;
}

// Four masks that are alike, 0 too, weigh nothing: then the pixel is as without a mask.
[[gnu::noinline]] static void InterpolateMasked(const RelocateRequest &request, const Square &square, Between x,
                                                Between y, int bytesPerPixel)
{
    const bool bytes = request.maskStride == RowStride(8, request.width);
    const intptr_t right = x.first + (request.width > 1), below = y.first + (request.height > 1);
    const Weights masks = {MaskAt(request, bytes, x.first, y.first), MaskAt(request, bytes, right, y.first),
                           MaskAt(request, bytes, x.first, below), MaskAt(request, bytes, right, below)};
    const bool alike =
        masks.topLeft == masks.topRight && masks.topLeft == masks.bottomLeft && masks.topLeft == masks.bottomRight;
    const Weights weights = MaskedWeights(square, masks);
    const uint32_t sum = weights.topLeft + weights.topRight + weights.bottomLeft + weights.bottomRight;
    if (alike || sum == 0) {
        InterpolatePixel(request, square, bytesPerPixel);
    } else {
        for (int c = 0; c < bytesPerPixel; ++c)
            request.destination[c] = uint8_t((Weigh(square, weights, c) + sum / 2) / sum);
    }
}

static inline void RelocateBetween(const RelocateRequest &request, int bytesPerPixel)
{
    const Between x = Neighbours(Fine(request.sourceX), request.width);
    const Between y = Neighbours(Fine(request.sourceY), request.height);
    const Square square = SquareAt(request, x, y, bytesPerPixel);
    if (request.maskSource) InterpolateMasked(request, square, x, y, bytesPerPixel);
    else InterpolatePixel(request, square, bytesPerPixel);
}

//---- The nearest pixel

static inline intptr_t Nearest(double position, int32_t count)
{
    return std::min<intptr_t>((Fine(position) + 128) >> 8, count - 1);
}

static void RelocateNearest(const RelocateRequest &request)
{
    const uint8_t *row = request.source + Nearest(request.sourceY, request.height) * request.stride;
    const intptr_t x = Nearest(request.sourceX, request.width);
    if (request.colourType == PALETTE) {
        *request.destination = row[x];
    } else {
        SetBit(request.destination + intptr_t(request.y) * request.stride, request.x, BitAt(row, x));
    }
}

//---- By type

// Kept out of the way of the pixels that pictures are mostly made of.
[[gnu::noinline]] static void RelocateOther(const RelocateRequest &request)
{
    if (request.colourType == RGB) RelocateBetween(request, 3);
    else if (request.colourType == GREY) RelocateBetween(request, 1);
    else RelocateNearest(request);
}

// The quick way is for 24-bit pixels without a mask that have neighbours right and below.
void KPZAPI Relocate(const RelocateRequest *request)
{
    const intptr_t fineX = Fine(request->sourceX), fineY = Fine(request->sourceY);
    const intptr_t x = fineX >> 8, y = fineY >> 8;
    const bool hasNeighbours = x <= request->width - 2 && y <= request->height - 2;
    if (request->colourType != RGB || request->maskSource || !hasNeighbours) return RelocateOther(*request);
    const uint8_t *top = request->source + y * request->stride + 3 * x;
    InterpolateRgb(top, top + request->stride, fineX & 255, fineY & 255, request->destination);
}
