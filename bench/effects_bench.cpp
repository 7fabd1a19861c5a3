// How many megapixels a second each worker goes through, on pictures of 12 megapixels, and beside it what a plain copy
// of the plane costs on the same machine. Names are EFFECT/SETTING/TYPE; "copies" is the time in plane copies.

#include "bench/open_image.h"
#include "effects/effects.h"
#include "maths/sharing.h"
#include "tests/support/run_worker.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <stdlib.h>

constexpr int WIDTH = 4000, HEIGHT = 3000;
constexpr double MEGAPIXELS = WIDTH * double(HEIGHT) / 1e6;

static const char *TypeName(int colourType)
{
    return colourType == RGB ? "rgb" : colourType == GREY ? "grey" : colourType == PALETTE ? "palette" : "one-bit";
}

static Picture &SharedPicture(int colourType)
{
    static Picture pictures[RGB + 1];
    Picture &picture = pictures[colourType];
    if (!picture.pixels) {
        std::mt19937 generator(1);
        picture = NaturalPicture(colourType, WIDTH, HEIGHT, generator);
    }
    return picture;
}

static double SecondsOf(const std::function<void()> &work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The time of one plane copy: the median of five, after one to touch the pages.
static double CopySeconds(const Picture &picture)
{
    const size_t size = size_t(RowStride(picture.bitsPerPixel, picture.width)) * picture.height;
    const std::vector<uint8_t> source(size, 1);
    std::vector<uint8_t> target(size);
    std::vector<double> times;
    for (int i = 0; i < 6; ++i) {
        const double seconds = SecondsOf([&] { memcpy(target.data(), source.data(), size); });
        benchmark::DoNotOptimize(target.data());
        if (i > 0) times.push_back(seconds);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

static void Report(benchmark::State &state, double copySeconds, double seconds)
{
    state.counters["MP/s"] = benchmark::Counter(MEGAPIXELS, benchmark::Counter::kIsIterationInvariantRate);
    state.counters["copies"] = seconds / double(state.iterations()) / copySeconds;
}

// A worker needs no more of its block than the view and its own parameters. Returns the seconds it took.
static double RunOnce(const EffectDescriptor &effect, int colourType,
                      const std::function<void(void *own)> &set = nullptr)
{
    Picture &picture = SharedPicture(colourType);
    int32_t abortFlag = 0;
    std::vector<uint8_t> memory(size_t(effect.blockSize));
    auto *block = reinterpret_cast<EffectBlock *>(memory.data());
    ImageView &view = block->view;
    view.blockSize = effect.blockSize;
    view.width = picture.width;
    view.height = picture.height;
    view.bitsPerPixel = picture.bitsPerPixel;
    view.colourType = picture.colourType;
    view.paletteEntries = &picture.paletteEntries;
    view.pixels = picture.pixels.get();
    view.red = picture.red;
    view.green = picture.green;
    view.blue = picture.blue;
    view.abortFlag = &abortFlag;
    memcpy(block + 1, effect.defaults.bytes, effect.defaults.size);
    if (set) set(block + 1);
    const double seconds = SecondsOf([&] { effect.worker(block); });
    return seconds;
}

static void Repeat(benchmark::State &state, const EffectDescriptor &effect, int colourType,
                   const std::function<void(void *own)> &set)
{
    const double copySeconds = CopySeconds(SharedPicture(colourType));
    RunOnce(effect, colourType, set);   // the first run pays for fresh memory, later ones find it kept
    double seconds = 0;
    for (auto _ : state) seconds += RunOnce(effect, colourType, set);
    Report(state, copySeconds, seconds);
}

// A whole run from its locks to its last word, with the copy that undo keeps; taking it back is not counted.
static void RunOwn(benchmark::State &state, const EffectDescriptor &effect, int colourType,
                   const std::vector<int32_t> &own)
{
    OpenImage image(SharedPicture(colourType));
    const double copySeconds = CopySeconds(SharedPicture(colourType));
    double seconds = 0;
    for (auto _ : state) {
        seconds += SecondsOf([&] { RunOnImage(effect, image, own); });
        state.PauseTiming();
        MiscUndo(&image.record);
        state.ResumeTiming();
    }
    Report(state, copySeconds, seconds);
}

static void Copy(benchmark::State &state, int colourType)
{
    const Picture &picture = SharedPicture(colourType);
    const size_t size = size_t(RowStride(picture.bitsPerPixel, picture.width)) * picture.height;
    std::vector<uint8_t> target(size);
    const double copySeconds = CopySeconds(picture);
    double seconds = 0;
    for (auto _ : state) {
        seconds += SecondsOf([&] { memcpy(target.data(), picture.pixels.get(), size); });
        benchmark::DoNotOptimize(target.data());
    }
    Report(state, copySeconds, seconds);
}

// As many bare draws as Noise makes at its defaults: one per pixel and one more for 16 of 101.
static void BareDraws(benchmark::State &state)
{
    const double copySeconds = CopySeconds(SharedPicture(RGB));
    const int draws = int(WIDTH * double(HEIGHT) * (1 + 16.0 / 101));
    double seconds = 0;
    for (auto _ : state) {
        seconds += SecondsOf([&] {
            for (int i = 0; i < draws; ++i) benchmark::DoNotOptimize(rand());
        });
    }
    Report(state, copySeconds, seconds);
}

// Melt beside a loop that makes the same draws and moves the same pixels without looking at their brightness: how far
// each walk goes is taken down beforehand. Both start from the same picture in every round; "ratio" is the median.
static void MeltBesideMoves(benchmark::State &state)
{
    const Picture &picture = SharedPicture(RGB);
    const size_t stride = size_t(RowStride(24, WIDTH)), size = stride * HEIGHT;
    const std::vector<uint8_t> before(picture.pixels.get(), picture.pixels.get() + size);
    std::vector<uint8_t> plane = before;
    const auto draw = [&] {
        const int x = rand() % (WIDTH - 2) + 1;
        return std::pair(plane.data() + size_t(rand() % HEIGHT) * stride + 3 * size_t(x), WIDTH - 1 - x);
    };
    const auto level = [](const uint8_t *pixel) { return (11 * pixel[2] + 16 * pixel[1] + 5 * pixel[0]) >> 5; };
    std::vector<uint16_t> steps(WIDTH / 100 * size_t(HEIGHT) * 100);
    srand(1);
    for (uint16_t &count : steps) {
        auto [pixel, limit] = draw();
        for (count = 0; count < limit && level(pixel) <= level(pixel + 3); ++count, pixel += 3)
            std::swap_ranges(pixel, pixel + 3, pixel + 3);
    }

    HostFixSeed(TRUE, 1);
    std::vector<double> ratios;
    for (auto _ : state) {
        memcpy(picture.pixels.get(), before.data(), size);
        const double ours = RunOnce(melt, RGB);
        const bool same = memcmp(picture.pixels.get(), plane.data(), size) == 0;
        plane = before;
        srand(1);
        const double moves = SecondsOf([&] {
            for (const uint16_t count : steps) {
                uint8_t *const pixel = draw().first, sinking[3] = {pixel[0], pixel[1], pixel[2]};
                memmove(pixel, pixel + 3, 3 * size_t(count));
                memcpy(pixel + 3 * size_t(count), sinking, 3);
            }
        });
        if (!same || memcmp(picture.pixels.get(), plane.data(), size) != 0) {
            state.SkipWithError("the two results differ: they did not do the same work");
            break;
        }
        ratios.push_back(ours / moves);
        state.SetIterationTime(ours);
    }
    HostFixSeed(FALSE, 0);
    if (ratios.empty()) return;
    std::sort(ratios.begin(), ratios.end());
    state.counters["ratio"] = ratios[ratios.size() / 2];
}

// From which work on sharing pays: a square picture on all threads beside one thread, however little there is to do.
// "us" is the time on one thread in microseconds and "ratio" that on all by it, both medians; the run pays where it is
// below 1. What is really shared is left to sharingRules.
static void CrossingOf(benchmark::State &state, const EffectDescriptor &effect, int side)
{
    std::mt19937 generator(1);
    Picture picture = NaturalPicture(RGB, side, side, generator);
    const auto secondsOn = [&](int threads) {
        const SharingRules before = sharingRules;
        HostAllowThreads(threads);
        sharingRules.worthAThread = 1;
        const double seconds =
            SecondsOf([&] { RunWorker(effect, picture, effect.defaults.bytes, effect.defaults.size, {}); });
        sharingRules = before;
        HostAllowThreads(0);
        return seconds;
    };
    const int all = HostWorkerThreads();
    std::vector<double> ones, ratios;
    for (auto _ : state) {
        ones.push_back(secondsOn(1));
        ratios.push_back(secondsOn(all) / ones.back());
    }
    std::sort(ones.begin(), ones.end());
    std::sort(ratios.begin(), ratios.end());
    state.counters["us"] = ones[ones.size() / 2] * 1e6;
    state.counters["ratio"] = ratios[ratios.size() / 2];
}

static void RegisterCrossing(const std::string &name, const EffectDescriptor &effect)
{
    for (int side : {32, 64, 128, 256, 512, 1024}) {
        benchmark::RegisterBenchmark(("Crossing/" + name + "/" + std::to_string(side)).c_str(),
                                     [&effect, side](benchmark::State &state) { CrossingOf(state, effect, side); })
            ->Iterations(51)
            ->Unit(benchmark::kMicrosecond);
    }
}

static void Register(const std::string &name, const EffectDescriptor &effect, std::initializer_list<int> types,
                     const std::function<void(void *own)> &set = nullptr)
{
    for (int type : types) {
        benchmark::RegisterBenchmark((name + "/" + TypeName(type)).c_str(), [&effect, type,
                                                                             set](benchmark::State &state) {
            Repeat(state, effect, type, set);
        })->Unit(benchmark::kMillisecond);
    }
}

static void RegisterOwn(const std::string &name, const EffectDescriptor &effect, const std::vector<int32_t> &own)
{
    for (int type : {ONE_BIT, GREY, PALETTE, RGB}) {
        benchmark::RegisterBenchmark((name + "/" + TypeName(type)).c_str(), [&effect, type,
                                                                             own](benchmark::State &state) {
            RunOwn(state, effect, type, own);
        })->Unit(benchmark::kMillisecond);
    }
}

// Sets one of the effect's own 32-bit parameters, counted from 0.
static std::function<void(void *)> Parameter(int index, int32_t value)
{
    return [=](void *own) { static_cast<int32_t *>(own)[index] = value; };
}

// Sets the first of the effect's own parameters.
static std::function<void(void *)> Parameters(const std::vector<int32_t> &values)
{
    return [=](void *own) { std::copy(values.begin(), values.end(), static_cast<int32_t *>(own)); };
}

int main(int count, char **arguments)
{
    for (int type : {ONE_BIT, GREY, PALETTE, RGB}) {
        benchmark::RegisterBenchmark((std::string("Copy/") + TypeName(type)).c_str(), [type](benchmark::State &state) {
            Copy(state, type);
        })->Unit(benchmark::kMillisecond);
    }
    benchmark::RegisterBenchmark("BareDraws", BareDraws)->Unit(benchmark::kMillisecond);
    Register("Noise/default", noise, {GREY, RGB});
    Register("Wave/rows", wave, {ONE_BIT, GREY, PALETTE, RGB});
    Register("Wave/columns", wave, {ONE_BIT, GREY, PALETTE, RGB}, Parameter(4, 5530));
    Register("Solarize/constant", solarize, {GREY, RGB});
    Register("Solarize/ramp-right", solarize, {GREY, RGB}, Parameter(1, 1250));
    Register("Acid/default", acid, {GREY, RGB});
    Register("DoubleVision/rows", doubleVision, {ONE_BIT, GREY, RGB});
    Register("DoubleVision/columns", doubleVision, {ONE_BIT, GREY, RGB}, Parameter(1, 1200));
    Register("Blocks/default", blocks, {ONE_BIT, GREY, RGB});
    Register("Tiles/default", tiles, {ONE_BIT, GREY, RGB});
    Register("Slices/default", slices, {ONE_BIT, GREY, RGB});
    Register("RandomShear/default", randomShear, {ONE_BIT, GREY, RGB});
    for (int radius : {1, 3, 10, 30}) {
        const std::string size = "-" + std::to_string(radius);
        Register("Median/median" + size, median, {RGB}, Parameters({radius, 1520}));
        Register("Median/maximum" + size, median, {RGB}, Parameters({radius, 1510}));
        Register("Median/minimum" + size, median, {RGB}, Parameters({radius, 1470}));
    }
    for (int size : {1, 3, 10, 50})
        Register("OilPainting/" + std::to_string(size), oilPainting, {GREY, RGB}, Parameters({size}));
    Register("Melt/default", melt, {GREY, RGB});
    benchmark::RegisterBenchmark("Melt/beside moves/rgb", MeltBesideMoves)
        ->Unit(benchmark::kMillisecond)
        ->Iterations(5)
        ->UseManualTime();
    Register("Ripple/default", ripple, {ONE_BIT, GREY, RGB});
    Register("Ripple/without-fading", ripple, {RGB}, Parameter(3, 0));
    for (int power : {20, 35}) {
        Register("Fisheye/" + std::to_string(power), fisheye, {ONE_BIT, GREY, RGB}, Parameters({power}));
        Register("ConeHead/" + std::to_string(power), coneHead, {ONE_BIT, GREY, RGB}, Parameters({power}));
    }
    Register("PolarCoordinates/default", polarCoordinates, {ONE_BIT, GREY, PALETTE, RGB});
    Register("Swirl/default", swirl, {ONE_BIT, GREY, PALETTE, RGB});
    RegisterOwn("Mirror/left", mirror, {1260});
    RegisterOwn("Mirror/below", mirror, {1240});
    RegisterOwn("Shear/horizontal-30", shear, {0, 30, 900});
    RegisterOwn("Shear/vertical-30", shear, {0, 30, 890});

    RegisterCrossing("Solarize", solarize);
    RegisterCrossing("Swirl", swirl);
    RegisterCrossing("OilPainting", oilPainting);

    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
