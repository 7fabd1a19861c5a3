// How a picture of one type becomes one of another: colours read row by row, greys, palettes by median cut, bits by
// threshold or error diffusion. Planes only: undo, progress bars and the run around it are type_commands.h's.

#include "host/editor/conversion.h"

#include "host/documents/files/type_rules.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <vector>

static uint8_t *RowToWrite(Picture &picture, int32_t y)
{
    return picture.pixels.get() + size_t(RowStride(picture.bitsPerPixel, picture.width)) * size_t(y);
}

// Colours of a row as red, green, blue; asks whether to go on. Pass 0 reads for the palette, pass 1 for the pixels.
struct RowReader {
    const Picture &from;
    const GoOn &goOn;
    int32_t passes, pass = 0;
    std::vector<uint8_t> colours;
    const uint8_t *operator()(int32_t y)
    {
        if (!goOn(pass * from.height + y, passes * from.height)) return nullptr;
        colours.resize(3 * size_t(from.width));
        ColourRow(from, y, colours.data());
        return colours.data();
    }
};

//---- Grey, RGB, one bit

static void PutGreys(const uint8_t *colours, int32_t count, uint8_t *row)
{
    for (int32_t x = 0; x < count; ++x) row[x] = uint8_t(GreyOf(colours + 3 * x));
}

static void PutThreshold(const uint8_t *colours, int32_t count, uint8_t *row)
{
    for (int32_t x = 0; x < count; ++x)
        if (GreyOf(colours + 3 * x) > 128) SetBit(row, x, true);
}

// What each pixel is off by goes on to its neighbours: 7/16 to the right, 3, 5 and 1 sixteenths to the row below.
struct Diffusion {
    std::vector<int32_t> here, below;   // sixteenths, one place more at each end
    explicit Diffusion(int32_t width) : here(size_t(width) + 2), below(size_t(width) + 2) {}
    void Put(const uint8_t *colours, int32_t count, uint8_t *row)
    {
        for (int32_t x = 0; x < count; ++x) {
            const size_t at = size_t(x) + 1;
            const int32_t value = GreyOf(colours + 3 * x) * 16 + here[at];
            const bool white = value > 128 * 16;
            const int32_t error = (value - (white ? 255 * 16 : 0)) / 16;
            if (white) SetBit(row, x, true);
            here[at + 1] += 7 * error;
            below[at - 1] += 3 * error;
            below[at] += 5 * error;
            below[at + 1] += error;
        }
        here.swap(below);
        std::fill(below.begin(), below.end(), 0);
    }
};

static bool PutRows(Picture &to, RowReader &read, OneBitMethod method)
{
    Diffusion diffusion(to.width);
    for (int32_t y = 0; y < to.height; ++y) {
        const uint8_t *colours = read(y);
        if (!colours) return false;
        uint8_t *row = RowToWrite(to, y);
        if (to.colourType == RGB) SwapRedBlue(colours, row, to.width);
        else if (to.colourType == GREY) PutGreys(colours, to.width, row);
        else if (method == OneBitMethod::THRESHOLD) PutThreshold(colours, to.width, row);
        else diffusion.Put(colours, to.width, row);
    }
    return true;
}

//---- Palettes

struct Colour {
    uint8_t red, green, blue;
};

static uint32_t WordOf(const uint8_t *colour)
{
    return colour[0] | uint32_t(colour[1]) << 8 | uint32_t(colour[2]) << 16;
}

// The colours of a picture, as long as they are at most 256, in the order they are met with.
struct FewColours {
    std::unordered_map<uint32_t, uint8_t> entries;
    std::vector<Colour> colours;
    bool tooMany = false;
    void Note(const uint8_t *row, int32_t count)
    {
        uint32_t last = UINT32_MAX;
        for (int32_t x = 0; x < count && !tooMany; ++x, row += 3) {
            const uint32_t word = WordOf(row);
            if (word == last) continue;
            last = word;
            if (entries.count(word)) continue;
            tooMany = colours.size() == 256;
            if (tooMany) return;
            entries[word] = uint8_t(colours.size());
            colours.push_back({row[0], row[1], row[2]});
        }
    }
};

// How often colours are met with, by their five high bits of each channel, and their sums.
static constexpr int BIN_BITS = 5, BINS = 1 << 3 * BIN_BITS;
struct Bin {
    int64_t count = 0, sum[3] = {};
};

static int BinOf(const uint8_t *colour) { return colour[0] >> 3 << 10 | colour[1] >> 3 << 5 | colour[2] >> 3; }

static void Count(std::vector<Bin> &bins, const uint8_t *row, int32_t count)
{
    for (int32_t x = 0; x < count; ++x, row += 3) {
        Bin &bin = bins[size_t(BinOf(row))];
        ++bin.count;
        for (int c = 0; c < 3; ++c) bin.sum[c] += row[c];
    }
}

// A share of the bins that are in use: first..last - 1 of their list.
struct Box {
    size_t first, last;
    int64_t count;
    int axis, spread;   // the channel in which its colours lie furthest apart, and how far
};

static int Channel(int bin, int axis) { return bin >> (10 - 5 * axis) & 31; }

static Box BoxOf(const std::vector<Bin> &bins, const std::vector<int> &used, size_t first, size_t last)
{
    Box box = {first, last, 0, 0, 0};
    int least[3] = {31, 31, 31}, most[3] = {0, 0, 0};
    for (size_t i = first; i < last; ++i) {
        box.count += bins[size_t(used[i])].count;
        for (int axis = 0; axis < 3; ++axis) {
            least[axis] = std::min(least[axis], Channel(used[i], axis));
            most[axis] = std::max(most[axis], Channel(used[i], axis));
        }
    }
    for (int axis = 0; axis < 3; ++axis) {
        if (most[axis] - least[axis] <= box.spread) continue;
        box.axis = axis;
        box.spread = most[axis] - least[axis];
    }
    return box;
}

// Where a box, sorted along its axis, has half of its pixels on either side; at least one bin stays on each.
static size_t MiddleOf(const std::vector<Bin> &bins, const std::vector<int> &used, const Box &box)
{
    int64_t before = 0;
    for (size_t i = box.first; i + 1 < box.last; ++i) {
        before += bins[size_t(used[i])].count;
        if (2 * before >= box.count) return i + 1;
    }
    return box.last - 1;
}

static bool WeighsLess(const Box &one, const Box &other) { return one.count * one.spread < other.count * other.spread; }

static std::vector<Box> CutInto(const std::vector<Bin> &bins, std::vector<int> &used, size_t most)
{
    std::vector<Box> boxes = {BoxOf(bins, used, 0, used.size())};
    while (boxes.size() < most) {
        Box &heaviest = *std::max_element(boxes.begin(), boxes.end(), WeighsLess);
        if (heaviest.spread == 0) break;
        const Box box = heaviest;
        std::stable_sort(used.begin() + ptrdiff_t(box.first), used.begin() + ptrdiff_t(box.last),
                         [&](int one, int other) { return Channel(one, box.axis) < Channel(other, box.axis); });
        const size_t middle = MiddleOf(bins, used, box);
        heaviest = BoxOf(bins, used, box.first, middle);
        boxes.push_back(BoxOf(bins, used, middle, box.last));
    }
    return boxes;
}

static Colour MeanOf(const std::vector<Bin> &bins, const std::vector<int> &used, const Box &box)
{
    int64_t sum[3] = {};
    for (size_t i = box.first; i < box.last; ++i)
        for (int c = 0; c < 3; ++c) sum[c] += bins[size_t(used[i])].sum[c];
    const auto mean = [&](int c) { return uint8_t((sum[c] + box.count / 2) / box.count); };
    return {mean(0), mean(1), mean(2)};
}

static std::vector<Colour> MedianCut(const std::vector<Bin> &bins)
{
    std::vector<int> used;
    for (int i = 0; i < BINS; ++i)
        if (bins[size_t(i)].count) used.push_back(i);
    std::vector<Colour> colours;
    for (const Box &box : CutInto(bins, used, 256)) colours.push_back(MeanOf(bins, used, box));
    return colours;
}

static void TakeColours(Picture &to, const std::vector<Colour> &colours)
{
    to.paletteEntries = int32_t(colours.size());
    for (size_t i = 0; i < colours.size(); ++i) {
        to.red[i] = colours[i].red;
        to.green[i] = colours[i].green;
        to.blue[i] = colours[i].blue;
    }
}

// The entry nearest to a colour's six high bits; found once for each of them.
struct NearestEntry {
    static constexpr int16_t UNKNOWN = -1;
    const std::vector<Colour> &colours;
    std::vector<int16_t> known = std::vector<int16_t>(size_t(1) << 18, UNKNOWN);
    uint8_t operator()(const uint8_t *colour)
    {
        int16_t &entry = known[size_t(colour[0] >> 2 << 12 | colour[1] >> 2 << 6 | colour[2] >> 2)];
        if (entry == UNKNOWN) entry = Find(colour[0] | 2, colour[1] | 2, colour[2] | 2);
        return uint8_t(entry);
    }
    int16_t Find(int red, int green, int blue) const
    {
        int16_t nearest = 0;
        int least = INT32_MAX;
        for (size_t i = 0; i < colours.size(); ++i) {
            const int dr = colours[i].red - red, dg = colours[i].green - green, db = colours[i].blue - blue;
            const int distance = dr * dr + dg * dg + db * db;
            if (distance >= least) continue;
            least = distance;
            nearest = int16_t(i);
        }
        return nearest;
    }
};

template <typename EntryOf> static bool PutEntries(Picture &to, RowReader &read, EntryOf entryOf)
{
    for (int32_t y = 0; y < to.height; ++y) {
        const uint8_t *colours = read(y);
        if (!colours) return false;
        uint8_t *row = RowToWrite(to, y);
        for (int32_t x = 0; x < to.width; ++x) row[x] = entryOf(colours + 3 * x);
    }
    return true;
}

static bool MakePalette(Picture &to, RowReader &read)
{
    FewColours few;
    std::vector<Bin> bins(BINS);
    for (int32_t y = 0; y < to.height; ++y) {
        const uint8_t *colours = read(y);
        if (!colours) return false;
        few.Note(colours, to.width);
        Count(bins, colours, to.width);
    }
    read.pass = 1;
    const std::vector<Colour> colours = few.tooMany ? MedianCut(bins) : few.colours;
    TakeColours(to, colours);
    if (!few.tooMany) return PutEntries(to, read, [&](const uint8_t *colour) { return few.entries[WordOf(colour)]; });
    NearestEntry nearest = {colours};
    return PutEntries(to, read, [&](const uint8_t *colour) { return nearest(colour); });
}

//---- All of it

static void ConvertMask(const Picture &from, Picture &to)
{
    if (!from.mask) return;
    AddMask(to, MaskBitsOf(to.colourType));
    std::vector<uint8_t> alpha(size_t(from.width));
    for (int32_t y = 0; y < from.height; ++y) {
        AlphaRow(from, y, alpha.data());
        uint8_t *row = to.mask.get() + size_t(RowStride(to.maskBitsPerPixel, to.width)) * size_t(y);
        for (int32_t x = 0; x < from.width; ++x) {
            if (to.maskBitsPerPixel == 8) row[x] = alpha[size_t(x)];
            else if (alpha[size_t(x)] >= 128) SetBit(row, x, true);
        }
    }
}

Picture Converted(const Picture &from, int32_t colourType, OneBitMethod method, const GoOn &goOn)
{
    Picture to = NewPicture(colourType, from.width, from.height);
    RowReader read = {from, goOn, colourType == PALETTE ? 2 : 1, 0, {}};
    const bool done = colourType == PALETTE ? MakePalette(to, read) : PutRows(to, read, method);
    if (!done) to.pixels.reset();
    else ConvertMask(from, to);
    return to;
}
