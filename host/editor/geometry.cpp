// Resizing works along rows and then along columns. A pixel of the result is a weighted mean of the pixels around its
// middle: by LINEAR weights fall off over one pixel (of the larger of both pictures) to either side, by CUBIC over two,
// with the cubic that passes through the pixels and whose slope is -1/2 at the nearest zero. Weights add up to 1.

#include "host/editor/geometry.h"

#include <algorithm>
#include <cmath>
#include <cstring>

// A plane of either picture.
struct PlaneOf {
    uint8_t *bytes;
    int32_t bits, width, height;
    uint8_t *Row(int32_t y) const { return bytes + size_t(RowStride(bits, width)) * size_t(y); }
};

static PlaneOf PixelsOf(const Picture &picture)
{
    return {picture.pixels.get(), picture.bitsPerPixel, picture.width, picture.height};
}

static PlaneOf MaskOf(const Picture &picture)
{
    return {picture.mask.get(), picture.maskBitsPerPixel, picture.width, picture.height};
}

// Of the same type and with a mask where there is one.
static Picture EmptyLike(const Picture &from, int32_t width, int32_t height)
{
    Picture made = NewPicture(from.colourType, width, height);
    CopyPalette(made, from);
    if (from.mask) AddMask(made, from.maskBitsPerPixel);
    return made;
}

//---- Pixels that move

static void CopyPixel(const uint8_t *from, int32_t fromX, uint8_t *to, int32_t toX, int32_t bits)
{
    if (bits == 1) SetBit(to, toX, BitAt(from, fromX));
    else memcpy(to + size_t(bits / 8) * size_t(toX), from + size_t(bits / 8) * size_t(fromX), size_t(bits / 8));
}

// `place` tells which of the old pixels becomes a new one.
template <typename Place> static bool MovePixels(const PlaneOf &from, const PlaneOf &to, Place place, const GoOn &goOn)
{
    for (int32_t y = 0; y < to.height; ++y) {
        if (!goOn(y, to.height)) return false;
        uint8_t *row = to.Row(y);
        for (int32_t x = 0; x < to.width; ++x) {
            int32_t fromX = x, fromY = y;
            place(fromX, fromY);
            CopyPixel(from.Row(fromY), fromX, row, x, to.bits);
        }
    }
    return true;
}

template <typename Place>
static Picture Moved(const Picture &from, int32_t width, int32_t height, Place place, const GoOn &goOn)
{
    Picture made = EmptyLike(from, width, height);
    bool done = MovePixels(PixelsOf(from), PixelsOf(made), place, goOn);
    if (done && from.mask) done = MovePixels(MaskOf(from), MaskOf(made), place, goOn);
    return done ? std::move(made) : Picture();
}

Picture Cropped(const Picture &from, int32_t left, int32_t top, int32_t width, int32_t height, const GoOn &goOn)
{
    const auto place = [=](int32_t &x, int32_t &y) {
        x += left;
        y += top;
    };
    return Moved(from, width, height, place, goOn);
}

Picture Turned(const Picture &from, Turn turn, const GoOn &goOn)
{
    const bool quarter = turn == Turn::RIGHT || turn == Turn::LEFT;
    const int32_t right = from.width - 1, bottom = from.height - 1;
    const auto place = [=](int32_t &x, int32_t &y) {
        const int32_t toX = x, toY = y;
        switch (turn) {
        case Turn::RIGHT: x = toY, y = bottom - toX; break;
        case Turn::LEFT: x = right - toY, y = toX; break;
        case Turn::HALF: x = right - toX, y = bottom - toY; break;
        case Turn::ACROSS: x = right - toX; break;
        case Turn::DOWN: y = bottom - toY; break;
        }
    };
    return Moved(from, quarter ? from.height : from.width, quarter ? from.width : from.height, place, goOn);
}

//---- Pixels that are made anew

struct Weights {
    int32_t first = 0;                // of the old pixels
    std::vector<float> shares = {};   // that add up to 1
};

static double WeightAt(double distance, Filter filter)
{
    const double d = std::abs(distance);
    if (filter == Filter::LINEAR) return std::max(0.0, 1 - d);
    if (d < 1) return (1.5 * d - 2.5) * d * d + 1;
    return d < 2 ? ((-0.5 * d + 2.5) * d - 4) * d + 2 : 0;
}

// For each of the new pixels of a line.
static std::vector<Weights> WeightsFor(int32_t length, int32_t made, Filter filter)
{
    std::vector<Weights> all;
    const double step = double(length) / made, reach = std::max(step, 1.0) * (filter == Filter::CUBIC ? 2 : 1);
    for (int32_t i = 0; i < made; ++i) {
        const double middle = (i + 0.5) * step - 0.5;
        const auto low = int32_t(std::ceil(middle - reach)), high = int32_t(std::floor(middle + reach));
        Weights weights;
        weights.first = std::clamp(low, 0, length - 1);
        weights.shares.resize(size_t(std::clamp(high, 0, length - 1) - weights.first) + 1);
        double sum = 0;
        std::vector<double> shares(weights.shares.size());
        for (int32_t at = low; at <= high; ++at) {   // what lies outside is as the border
            const double weight = WeightAt((at - middle) / std::max(step, 1.0), filter);
            shares[size_t(std::clamp(at, 0, length - 1) - weights.first)] += weight;
            sum += weight;
        }
        for (size_t k = 0; k < shares.size(); ++k) weights.shares[k] = float(shares[k] / sum);
        all.push_back(std::move(weights));
    }
    return all;
}

// A row of the old picture, as wide as the new one.
static void StretchRow(const uint8_t *row, const std::vector<Weights> &columns, int channels, float *to)
{
    for (const Weights &weights : columns) {
        for (int c = 0; c < channels; ++c) {
            float sum = 0;
            const uint8_t *at = row + size_t(channels) * size_t(weights.first) + c;
            for (const float share : weights.shares) {
                sum += share * float(*at);
                at += channels;
            }
            *to++ = sum;
        }
    }
}

static bool StretchPlane(const PlaneOf &from, const PlaneOf &to, Filter filter, const GoOn &goOn)
{
    const int channels = from.bits / 8;
    const std::vector<Weights> columns = WeightsFor(from.width, to.width, filter);
    const std::vector<Weights> rows = WeightsFor(from.height, to.height, filter);
    const size_t width = size_t(to.width) * size_t(channels);
    // The rows that are in use, each in the place of its number modulo as many as are used at once.
    size_t most = 1;
    for (const Weights &weights : rows) most = std::max(most, weights.shares.size());
    std::vector<float> stretched(most * width), sums(width);
    int32_t next = 0;
    for (int32_t y = 0; y < to.height; ++y) {
        if (!goOn(y, to.height)) return false;
        const Weights &weights = rows[size_t(y)];
        const auto end = weights.first + int32_t(weights.shares.size());
        next = std::max(next, weights.first);
        for (; next < end; ++next)
            StretchRow(from.Row(next), columns, channels, &stretched[size_t(next) % most * width]);
        std::fill(sums.begin(), sums.end(), 0.5f);
        for (size_t k = 0; k < weights.shares.size(); ++k) {
            const float *row = &stretched[(size_t(weights.first) + k) % most * width], share = weights.shares[k];
            for (size_t i = 0; i < width; ++i) sums[i] += share * row[i];
        }
        uint8_t *row = to.Row(y);
        for (size_t i = 0; i < width; ++i) row[i] = uint8_t(std::clamp(sums[i], 0.0f, 255.0f));
    }
    return true;
}

static bool ResizePlane(const PlaneOf &from, const PlaneOf &to, Filter filter, const GoOn &goOn)
{
    if (filter != Filter::NEAREST) return StretchPlane(from, to, filter, goOn);
    const auto place = [&](int32_t &x, int32_t &y) {
        x = int32_t((2 * int64_t(x) + 1) * from.width / (2 * int64_t(to.width)));
        y = int32_t((2 * int64_t(y) + 1) * from.height / (2 * int64_t(to.height)));
    };
    return MovePixels(from, to, place, goOn);
}

Picture Resized(const Picture &from, int32_t width, int32_t height, Filter filter, const GoOn &goOn)
{
    Picture made = EmptyLike(from, width, height);
    const bool colours = from.colourType == RGB || from.colourType == GREY;
    bool done = ResizePlane(PixelsOf(from), PixelsOf(made), colours ? filter : Filter::NEAREST, goOn);
    if (done && from.mask) {
        done = ResizePlane(MaskOf(from), MaskOf(made), from.maskBitsPerPixel == 8 ? filter : Filter::NEAREST, goOn);
    }
    return done ? std::move(made) : Picture();
}
