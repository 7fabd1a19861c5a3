// How far steps look around: part of a picture with so much around it comes out as on the whole.

#include "tests/host/library/pictures.h"

#include <algorithm>
#include <cstring>
#include <random>

namespace
{

constexpr const char *NAMES[] = {"filters", "median", "oil-painting"};
constexpr int32_t WIDTH = 160, HEIGHT = 128;

struct Part {
    int32_t x, y, width, height;
};

// With a reach around it, as large as velmorant.h asks for, within the picture.
Part Widened(const Part &part, int32_t reach)
{
    const auto widen = [reach](int32_t begin, int32_t count, int32_t whole, int32_t &size) {
        int32_t from = std::max(begin - reach, 0), to = std::min(begin + count + reach, whole);
        to = std::min(std::max(to, from + 2 * reach), whole);
        from = std::max(std::min(from, to - 2 * reach), 0);
        size = to - from;
        return from;
    };
    Part wide;
    wide.x = widen(part.x, part.width, WIDTH, wide.width);
    wide.y = widen(part.y, part.height, HEIGHT, wide.height);
    return wide;
}

// One byte a sample; the mask, if any, one byte a pixel.
struct Planes {
    vlm_layout layout;
    int32_t width, height;
    std::vector<uint8_t> pixels, mask;
    unsigned flags;
};

int SamplesOf(vlm_layout layout) { return layout == VLM_LAYOUT_RGBA ? 4 : layout == VLM_LAYOUT_RGB ? 3 : 1; }

std::vector<uint8_t> Cut(const std::vector<uint8_t> &from, int samples, int32_t width, const Part &part)
{
    std::vector<uint8_t> to;
    for (int32_t y = part.y; y < part.y + part.height; ++y) {
        const uint8_t *row = &from[size_t(samples) * (size_t(y) * size_t(width) + size_t(part.x))];
        to.insert(to.end(), row, row + samples * part.width);
    }
    return to;
}

Planes Cut(const Planes &from, const Part &part)
{
    Planes to = {from.layout, part.width, part.height, {}, {}, from.flags};
    to.pixels = Cut(from.pixels, SamplesOf(from.layout), from.width, part);
    if (!from.mask.empty()) to.mask = Cut(from.mask, 1, from.width, part);
    return to;
}

PicturePointer PictureOf(Planes own)
{
    static std::vector<uint8_t> palette(768);
    for (size_t i = 0; i < palette.size(); ++i) palette[i] = ByteAt(i, 9);
    vlm_planes planes = PlanesOf(own.layout, own.width, own.height, own.pixels.data());
    planes.palette = palette.data();
    planes.palette_entries = 256;
    planes.mask = own.mask.empty() ? nullptr : own.mask.data();
    planes.mask_bits = own.mask.empty() ? 0 : 8;
    planes.flags = own.flags;
    vlm_picture *made = nullptr;
    EXPECT_EQ(vlm_picture_from_planes(&planes, &made), VLM_OK) << vlm_error_line();
    return PicturePointer(made);
}

// Smooth here, noise there, so that both orders and sums are tried.
Planes Drawn(std::mt19937 &random, vlm_layout layout, bool masked)
{
    Planes planes = {layout, WIDTH, HEIGHT, {}, {}, masked && random() % 2 ? unsigned(VLM_PLANES_MASK_IS_ALPHA) : 0};
    const int samples = SamplesOf(layout);
    planes.pixels.resize(size_t(samples) * WIDTH * HEIGHT);
    for (size_t i = 0; i < planes.pixels.size(); ++i)
        planes.pixels[i] = uint8_t(i / size_t(samples) / 40 % 2 ? random() : i / 7);
    if (masked) planes.mask.resize(size_t(WIDTH) * HEIGHT);
    for (uint8_t &level : planes.mask) level = uint8_t(random() % 3 ? random() : 0);
    return planes;
}

std::string DrawnLine(std::mt19937 &random, const vlm_effect &effect)
{
    const auto between = [&random](int32_t low, int32_t high) {
        return low + int32_t(random() % uint32_t(high - low + 1));
    };
    std::string line = effect.name;
    for (int i = 0; i < effect.setting_count; ++i) {
        const vlm_setting &setting = *vlm_effect_setting(&effect, i);
        std::string value;
        if (setting.shared || random() % 4 == 0) continue;
        if (setting.kind == VLM_NUMBER) value = std::to_string(between(setting.low, std::min(setting.high, 20)));
        if (setting.kind == VLM_CHOICE)
            value = vlm_setting_choice(&setting, between(0, setting.choice_count - 1))->word;
        if (setting.kind == VLM_SWITCH) value = random() % 2 ? "on" : "off";
        if (setting.kind == VLM_KERNEL) value = vlm_kernel_at(between(0, vlm_kernel_count() - 1))->name;
        if (!value.empty()) line += std::string(" --") + setting.name + " '" + value + "'";
    }
    return line;
}

int32_t ReachOf(const std::string &line) { return vlm_steps_reach(StepsOf({line}).get(), 0, WIDTH, HEIGHT); }

}   // namespace

TEST(Reach, PartOfAPictureComesOutAsOnTheWhole)
{
    std::mt19937 random(20);   // the same numbers everywhere
    int tried = 0, smaller = 0;
    for (int round = 0; round < 120; ++round) {
        const vlm_layout layouts[] = {VLM_LAYOUT_BOOLS, VLM_LAYOUT_INDEX, VLM_LAYOUT_GREY, VLM_LAYOUT_RGB};
        const vlm_layout layout = layouts[random() % 4];
        const Planes planes = Drawn(random, layout, random() % 2);
        const vlm_effect &effect = *vlm_effect_named(NAMES[round % 3]);
        if (!(effect.types >> vlm_picture_type(PictureOf(planes).get()) & 1)) continue;
        const std::string line = DrawnLine(random, effect);
        SCOPED_TRACE("round " + std::to_string(round) + ": " + line);
        const int32_t reach = ReachOf(line);
        ASSERT_GE(reach, 1);
        const std::vector<uint8_t> whole = PixelsOf(Applied(PictureOf(planes), {line}));
        for (int cut = 0; cut < 3; ++cut, ++tried) {
            Part part = {int32_t(random() % WIDTH), int32_t(random() % HEIGHT), 0, 0};
            part.width = 1 + int32_t(random() % uint32_t(std::min(WIDTH - part.x, 60)));
            part.height = 1 + int32_t(random() % uint32_t(std::min(HEIGHT - part.y, 50)));
            const Part wide = Widened(part, reach);
            smaller += wide.width < WIDTH || wide.height < HEIGHT;
            const std::vector<uint8_t> made = PixelsOf(Applied(PictureOf(Cut(planes, wide)), {line}));
            const Part within = {part.x - wide.x, part.y - wide.y, part.width, part.height};
            ASSERT_EQ(Cut(made, 4, wide.width, within), Cut(whole, 4, WIDTH, part));
        }
    }
    EXPECT_GT(tried, 200);
    EXPECT_GT(smaller, tried / 2);
}

TEST(Reach, IsKnownWhereNothingButWhatLiesAroundCounts)
{
    EXPECT_EQ(ReachOf("median --radius 7"), 7);
    EXPECT_EQ(ReachOf("filters --iterations 4 --pass-mode iterative"), 12);
    EXPECT_EQ(ReachOf("oil-painting --brush-size 5%"), 6);
    for (const char *placed : {"median --area 1,1,20x20", "median --edges wrap", "median --scope objects", "noise",
                               "blocks", "solarize", "wave"})
        EXPECT_EQ(ReachOf(placed), -1) << placed;
    const StepsPointer steps = StepsOf({"median"});
    EXPECT_EQ(vlm_steps_reach(nullptr, 0, 9, 9), -1);
    EXPECT_EQ(vlm_steps_reach(steps.get(), 1, 9, 9), -1);
    EXPECT_EQ(vlm_steps_reach(steps.get(), 0, 0, 9), -1);
}
