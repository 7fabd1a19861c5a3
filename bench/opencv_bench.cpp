// Our workers beside OpenCV's nearest function, in one process, on the same 24-bit picture of 12 megapixels, on one
// thread each and on all. Every round copies the plane, runs ours on one thread, theirs on one, ours on all and theirs on
// all in turn, so that a machine that is slow for a while is slow for all of them. Names are EFFECT/SETTING; the time is
// ours on one thread, and the counters are medians of the rounds:
//     ratio        our processor's time by theirs, on one thread: below 1 ours is faster
//     ratio_all    our time by theirs on all threads
//     gain, gain_cv        how many times as fast all threads are as one
//     ms/MP, ms/MP_cv      the processor's time on one thread, per megapixel
//     ms/MP_all, ms/MP_cv_all    the clock's time on all threads, per megapixel
// The processor's time leaves out what other programs take, so that `ratio` means something on a busy machine too. The
// clock's does not: with others at work gains come out too small. VELMORANT_THREADS says how many all threads are; without
// it, as many as there are.

#include "bench/open_image.h"
#include "effects/effects.h"
#include "host/misc/misc.h"
#include "matrix/matrix.h"
#include "tests/support/run_worker.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/xphoto/oilpainting.hpp>

#include <algorithm>
#include <chrono>
#include <functional>
#include <math.h>
#include <time.h>

constexpr int WIDTH = 4000, HEIGHT = 3000;
constexpr double MEGAPIXELS = WIDTH * double(HEIGHT) / 1e6;
constexpr int ROUNDS = 5;
constexpr int NOT_COMPARED = -1;

struct Peers {
    std::function<void(Picture &picture)> ours;   // in place
    std::function<void(const cv::Mat &source, cv::Mat &target)> theirs;
    int tolerance;   // by how much a byte of theirs may differ from ours; NOT_COMPARED where they do different things
    int rounds = ROUNDS;
    std::function<void(Picture &picture)> prepare = nullptr;   // what ours needs and is not counted, before each run
};

// In seconds.
struct Time {
    double clock, processor;   // the latter of all threads together
};

struct Round {
    Time ours, theirs, oursByAll, theirsByAll;
};

static Time TimeOf(const std::function<void()> &work)
{
    const auto start = std::chrono::steady_clock::now();
    const clock_t processorStart = clock();
    work();
    const clock_t processorEnd = clock();
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    return {passed.count(), double(processorEnd - processorStart) / CLOCKS_PER_SEC};
}

static double MedianOf(const std::vector<Round> &rounds, double (*value)(const Round &))
{
    std::vector<double> values;
    for (const Round &round : rounds) values.push_back(value(round));
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

static int allThreads;

// The same planes serve every pair: what is read, what ours changes and what theirs writes.
struct Planes {
    Picture source, ours;
    cv::Mat sourceView, oursView, theirs;
};

static cv::Mat ViewOf(Picture &picture)
{
    return cv::Mat(picture.height, picture.width, CV_8UC3, picture.pixels.get(),
                   size_t(RowStride(picture.bitsPerPixel, picture.width)));
}

static Planes MakePlanes()
{
    std::mt19937 generator(1);
    Planes planes;
    planes.source = NaturalPicture(RGB, WIDTH, HEIGHT, generator);
    planes.ours = CopyOf(planes.source);
    planes.sourceView = ViewOf(planes.source);
    planes.oursView = ViewOf(planes.ours);
    planes.theirs = planes.sourceView.clone();
    return planes;
}

static Round RunRound(Planes &planes, const Peers &peers)
{
    const size_t size = size_t(RowStride(24, WIDTH)) * HEIGHT;
    const auto oursOn = [&](int threads) {
        HostAllowThreads(threads);
        memcpy(planes.ours.pixels.get(), planes.source.pixels.get(), size);
        if (peers.prepare) peers.prepare(planes.ours);
        return TimeOf([&] { peers.ours(planes.ours); });
    };
    const auto theirsOn = [&](int threads) {
        cv::setNumThreads(threads);
        return TimeOf([&] { peers.theirs(planes.sourceView, planes.theirs); });
    };
    Round round;
    round.ours = oursOn(1);
    round.theirs = theirsOn(1);
    round.oursByAll = oursOn(allThreads);
    round.theirsByAll = theirsOn(allThreads);
    return round;
}

static void Compare(benchmark::State &state, const Peers &peers)
{
    static Planes planes = MakePlanes();
    if (peers.rounds > 1) RunRound(planes, peers);   // pays for fresh memory
    if (peers.tolerance != NOT_COMPARED && cv::norm(planes.oursView, planes.theirs, cv::NORM_INF) > peers.tolerance) {
        state.SkipWithError("the two results differ: they did not do the same work");
        return;
    }

    std::vector<Round> rounds;
    for (auto _ : state) {
        rounds.push_back(RunRound(planes, peers));
        state.SetIterationTime(rounds.back().ours.clock);
    }
    const auto counter = [&](const char *name, double (*value)(const Round &), double unit = 1) {
        state.counters[name] = MedianOf(rounds, value) * unit;
    };
    constexpr double PER_MEGAPIXEL = 1000 / MEGAPIXELS;
    counter("ratio", [](const Round &round) { return round.ours.processor / round.theirs.processor; });
    counter("ratio_all", [](const Round &round) { return round.oursByAll.clock / round.theirsByAll.clock; });
    counter("gain", [](const Round &round) { return round.ours.clock / round.oursByAll.clock; });
    counter("gain_cv", [](const Round &round) { return round.theirs.clock / round.theirsByAll.clock; });
    counter(
        "ms/MP", [](const Round &round) { return round.ours.processor; }, PER_MEGAPIXEL);
    counter(
        "ms/MP_cv", [](const Round &round) { return round.theirs.processor; }, PER_MEGAPIXEL);
    counter(
        "ms/MP_all", [](const Round &round) { return round.oursByAll.clock; }, PER_MEGAPIXEL);
    counter(
        "ms/MP_cv_all", [](const Round &round) { return round.theirsByAll.clock; }, PER_MEGAPIXEL);
}

static void Register(const std::string &name, const Peers &peers)
{
    benchmark::RegisterBenchmark(name.c_str(), [peers](benchmark::State &state) { Compare(state, peers); })
        ->Unit(benchmark::kMillisecond)
        ->Iterations(peers.rounds)
        ->UseManualTime();
}

//---- The pairs

// A copy against a copy: how far its ratio is from 1 tells how far to trust the others.
static void RegisterCopy()
{
    Register("Copy", {
                         [](Picture &picture) {
                             static const std::vector<uint8_t> source(size_t(RowStride(24, WIDTH)) * HEIGHT, 1);
                             memcpy(picture.pixels.get(), source.data(), source.size());
                         },
                         [](const cv::Mat &source, cv::Mat &target) { source.copyTo(target); },
                         NOT_COMPARED,
                     });
}

struct StringEntry {
    int32_t id;
    const char *text;
};
extern "C" const StringEntry KPZStrings[];

static const StringEntry &Find(const std::function<bool(const StringEntry &)> &wanted)
{
    const StringEntry *entry = KPZStrings;
    while (entry->text && !wanted(*entry)) ++entry;
    if (!entry->text) {
        fprintf(stderr, "a kernel is missing from the string table\n");
        exit(1);
    }
    return *entry;
}

// A ready-made kernel as the list of kernels gives it.
static MatrixParameters KernelNamed(const std::string &name)
{
    constexpr int32_t FIRST_KERNEL = 16, FIRST_NAME = 100;
    const int32_t nameId = Find([&](const StringEntry &entry) { return entry.text == name; }).id;
    const int32_t kernelId = nameId - FIRST_NAME + FIRST_KERNEL;
    MatrixParameters own = {{}, 0, 1, PASS_PLAIN, COMBINE_REPLACE, 1, 1, 1, 1};
    ParseKernelText(own, Find([&](const StringEntry &entry) { return entry.id == kernelId; }).text);
    return own;
}

// Without its zero borders and divided, as cv::filter2D takes it.
static cv::Mat DividedKernel(MatrixParameters own)
{
    const int side = CompactKernel(own.kernel);
    cv::Mat kernel;
    cv::Mat(side, side, CV_32S, own.kernel).convertTo(kernel, CV_32F, 1.0 / own.divisor);
    return kernel;
}

// Theirs rounds the weighted mean to the nearest value, ours down: a byte may differ by 1.
static void RegisterKernel(const std::string &kernelName)
{
    const MatrixParameters own = KernelNamed(kernelName);
    const cv::Mat kernel = DividedKernel(own);
    Register("Filters/" + kernelName, {
                                          [own](Picture &picture) { RunWorker(filters, picture, own); },
                                          [kernel](const cv::Mat &source, cv::Mat &target) {
                                              cv::filter2D(source, target, CV_8U, kernel, cv::Point(-1, -1), 0,
                                                           cv::BORDER_REPLICATE);
                                          },
                                          1,
                                      });
}

// Theirs takes each channel's own median over a centred square of an odd side; ours takes whole pixels over 2r x 2r.
static void RegisterMedian(int32_t radius, int side)
{
    struct Parameters {
        int32_t radius, selectMode;
    } own = {radius, 1520};
    const std::string name = "Median/" + std::to_string(radius) + " beside " + std::to_string(side);
    Register(name + " by " + std::to_string(side),
             {
                 [own](Picture &picture) { RunWorker(median, picture, own); },
                 [side](const cv::Mat &source, cv::Mat &target) { cv::medianBlur(source, target, side); },
                 NOT_COMPARED,
             });
}

static void RegisterExtreme(int32_t radius, int32_t selectMode)
{
    struct Parameters {
        int32_t radius, selectMode;
    } own = {radius, selectMode};
    const bool highest = selectMode == 1510;
    Register((highest ? "Maximum/" : "Minimum/") + std::to_string(radius),
             {
                 [own](Picture &picture) { RunWorker(median, picture, own); },
                 [=](const cv::Mat &source, cv::Mat &target) {
                     const cv::Mat square = cv::getStructuringElement(cv::MORPH_RECT, {2 * radius, 2 * radius});
                     if (highest) cv::dilate(source, target, square);
                     else cv::erode(source, target, square);
                 },
                 NOT_COMPARED,
             });
}

// What an effect does with its defaults, beside OpenCV's calls for the same.
static void RegisterDefaults(const std::string &name, const EffectDescriptor &effect,
                             const std::function<void(const cv::Mat &source, cv::Mat &target)> &theirs)
{
    Register(name + "/default", {
                                    [&effect](Picture &picture) {
                                        RunWorker(effect, picture, effect.defaults.bytes, effect.defaults.size, {});
                                    },
                                    theirs,
                                    NOT_COMPARED,
                                });
}

static void RegisterMosaic()
{
    RegisterDefaults("Blocks", blocks, [](const cv::Mat &source, cv::Mat &target) {
        cv::Mat small;
        cv::resize(source, small, {WIDTH / 10, HEIGHT / 10}, 0, 0, cv::INTER_NEAREST);
        cv::resize(small, target, source.size(), 0, 0, cv::INTER_NEAREST);
    });
}

static void RegisterSolarize()
{
    RegisterDefaults("Solarize", solarize, [](const cv::Mat &source, cv::Mat &target) {
        static cv::Mat grey, mask, inverted;
        cv::cvtColor(source, grey, cv::COLOR_BGR2GRAY);
        cv::threshold(grey, mask, 127, 255, cv::THRESH_BINARY_INV);
        cv::bitwise_not(source, inverted);
        source.copyTo(target);
        inverted.copyTo(target, mask);
    });
}

// Every row, or every column, is slid and squeezed by remap's maps.
static void RegisterWave(const std::string &name, int32_t orientation)
{
    struct Parameters {
        int32_t amplitude;
        uint32_t background;
        int32_t wavelength, phase, orientation;
    } own = {10, 0, 20, 0, orientation};
    const bool rows = orientation == 1200;
    Register("Wave/" + name,
             {
                 [own](Picture &picture) { RunWorker(wave, picture, own); },
                 [rows](const cv::Mat &source, cv::Mat &target) {
                     static cv::Mat mapX(HEIGHT, WIDTH, CV_32F), mapY(HEIGHT, WIDTH, CV_32F);
                     const int extent = rows ? WIDTH : HEIGHT, lines = rows ? HEIGHT : WIDTH;
                     const float amplitude = float(extent) / 20,
                                 squeeze = float(extent) / (float(extent) - 2 * amplitude);
                     std::vector<float> shifts;
                     for (int i = 0; i < lines; ++i)
                         shifts.push_back(amplitude * float(sin(i * 6.2831854 / (0.2 * extent)) + 1));
                     for (int y = 0; y < HEIGHT; ++y) {
                         for (int x = 0; x < WIDTH; ++x) {
                             mapX.at<float>(y, x) = rows ? (float(x) - shifts[size_t(y)]) * squeeze : float(x);
                             mapY.at<float>(y, x) = rows ? float(y) : (float(y) - shifts[size_t(x)]) * squeeze;
                         }
                     }
                     cv::remap(source, target, mapX, mapY, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
                 },
                 NOT_COMPARED,
             });
}

// What both sides give back is a new plane of another size.
static void RegisterShear(const std::string &name, bool horizontal)
{
    static uint8_t *pixels;
    Register("Shear/" + name,
             {
                 [horizontal](Picture &) {
                     int32_t width = WIDTH, height = HEIGHT, abort = 0;
                     ShearFunction(&pixels, &width, &height, 24, RGB, 20, 0, 1, nullptr, nullptr, horizontal, &abort);
                     KPZ_FreeMem(pixels);
                 },
                 [horizontal](const cv::Mat &source, cv::Mat &) {
                     const double slope = tan(20 * M_PI / 180);
                     const cv::Matx23d matrix =
                         horizontal ? cv::Matx23d(1, slope, 0, 0, 1, 0) : cv::Matx23d(1, 0, 0, slope, 1, 0);
                     const cv::Size size = horizontal ? cv::Size(WIDTH + int(HEIGHT * slope) + 1, HEIGHT)
                                                      : cv::Size(WIDTH, HEIGHT + int(WIDTH * slope) + 1);
                     cv::Mat sheared;
                     cv::warpAffine(source, sheared, matrix, size);
                 },
                 NOT_COMPARED,
                 ROUNDS,
                 [](Picture &picture) {
                     const size_t size = size_t(RowStride(24, WIDTH)) * HEIGHT;
                     KPZ_AllocMem(&pixels, uint32_t(size), 0x301);
                     memcpy(pixels, picture.pixels.get(), size);
                 },
             });
}

// The effect's whole run, from its locks to its last word, on an image whose host keeps no steps to undo.
static void RegisterMirror(const std::string &name, int32_t direction, bool sideways, bool first)
{
    static std::unique_ptr<OpenImage> image;
    Register("Mirror/" + name, {
                                   [direction](Picture &) { RunOnImage(mirror, *image, {direction}); },
                                   [=](const cv::Mat &source, cv::Mat &) {
                                       cv::Mat both(sideways ? HEIGHT : 2 * HEIGHT, sideways ? 2 * WIDTH : WIDTH,
                                                    CV_8UC3);
                                       const cv::Rect one(0, 0, WIDTH, HEIGHT),
                                           other(sideways ? WIDTH : 0, sideways ? 0 : HEIGHT, WIDTH, HEIGHT);
                                       cv::Mat mirrored = both(first ? one : other);
                                       source.copyTo(both(first ? other : one));
                                       cv::flip(source, mirrored, sideways ? 1 : 0);
                                   },
                                   NOT_COMPARED,
                                   ROUNDS,
                                   [](Picture &picture) {
                                       MiscKeepUndoSteps(0);
                                       image = std::make_unique<OpenImage>(picture);
                                   },
                               });
}

static void RegisterFlip(const std::string &name, int32_t direction)
{
    Register("FlipPic/" + name,
             {
                 [direction](Picture &picture) { FlipPic(picture.pixels.get(), WIDTH, HEIGHT, direction, 24); },
                 [direction](const cv::Mat &source, cv::Mat &target) { cv::flip(source, target, 1 - direction); },
                 NOT_COMPARED,
             });
}

// Theirs counts brightness once per pixel and takes the mean colour of the commonest; ours counts every channel on its
// own, in steps of four. Their time grows with the size: the largest is run once.
static void RegisterOilPainting(int32_t size)
{
    struct Parameters {
        int32_t size;
    } own = {size};
    Register("Oil Painting/" + std::to_string(size),
             {
                 [own](Picture &picture) { RunWorker(oilPainting, picture, own); },
                 [size](const cv::Mat &source, cv::Mat &target) { cv::xphoto::oilPainting(source, target, size, 1); },
                 NOT_COMPARED,
                 size < 10 ? 3 : 1,
             });
}

//---- Effects that move or change pixels by random numbers or by their place

// The rings are made beforehand, so that theirs is one pass; ours makes its own, and mixes them with the byte.
static void RegisterAcid()
{
    static cv::Mat rings(HEIGHT, WIDTH, CV_8UC3);
    for (int y = 0; y < HEIGHT; ++y) {
        for (int x = 0; x < WIDTH; ++x) {
            const auto value = uint8_t((128 - (x - 128) * (x - 128) - (y - 128) * (y - 128)) >> 9);
            rings.at<cv::Vec3b>(y, x) = {value, value, value};
        }
    }
    RegisterDefaults("Acid", acid,
                     [](const cv::Mat &source, cv::Mat &target) { cv::bitwise_xor(source, rings, target); });
}

// Two pictures, one laid over the other; ours takes strips of either by turns.
static void RegisterDoubleVision()
{
    RegisterDefaults("Double Vision", doubleVision, [](const cv::Mat &source, cv::Mat &target) {
        const cv::Rect left(0, 0, WIDTH - 20, HEIGHT), right(20, 0, WIDTH - 20, HEIGHT),
            middle(10, 0, WIDTH - 20, HEIGHT);
        cv::Mat seen = target(middle);
        cv::addWeighted(source(left), 0.5, source(right), 0.5, 0, seen);
    });
}

// Later tiles lie over earlier ones, so that theirs goes one by one.
static void RegisterTiles()
{
    RegisterDefaults("Tiles", tiles, [](const cv::Mat &source, cv::Mat &target) {
        constexpr int SIDE = 32;
        cv::RNG random(1);
        target.setTo(0);
        const cv::Rect all(0, 0, WIDTH, HEIGHT);
        for (int y = 0; y + SIDE < HEIGHT; y += SIDE) {
            for (int x = 0; x + SIDE < WIDTH; x += SIDE) {
                const cv::Point move(random.uniform(-16, 17), random.uniform(-16, 17));
                const cv::Rect place = (cv::Rect(x, y, SIDE, SIDE) + move) & all;
                source(place - move).copyTo(target(place));
            }
        }
    });
}

// How far each line of a random band is moved.
static std::vector<int> RandomBands(int count, cv::RNG &random)
{
    std::vector<int> moves;
    while (int(moves.size()) < count) {
        const int move = random.uniform(0, 32), width = random.uniform(9, 42);
        moves.insert(moves.end(), size_t(std::min(width, count - int(moves.size()))), move);
    }
    return moves;
}

// +1 or -1 from one line to the next.
static std::vector<int> RandomWalk(int count, cv::RNG &random)
{
    std::vector<int> moves;
    for (int i = 0, at = 0; i < count; ++i) moves.push_back(at += random.uniform(0, 2) * 2 - 1);
    return moves;
}

// Pixel (x, y) of theirs takes (x + moves of y, y + moves of x).
static void MoveLines(const cv::Mat &source, cv::Mat &target, const std::vector<int> &ofRows,
                      const std::vector<int> &ofColumns)
{
    static cv::Mat map(HEIGHT, WIDTH, CV_16SC2);
    for (int y = 0; y < HEIGHT; ++y) {
        auto *places = map.ptr<cv::Vec2s>(y);
        for (int x = 0; x < WIDTH; ++x) places[x] = {short(x + ofRows[size_t(y)]), short(y + ofColumns[size_t(x)])};
    }
    cv::remap(source, target, map, cv::noArray(), cv::INTER_NEAREST, cv::BORDER_CONSTANT);
}

static void RegisterMovedLines()
{
    RegisterDefaults("Slices", slices, [](const cv::Mat &source, cv::Mat &target) {
        cv::RNG random(1);
        const std::vector<int> ofColumns = RandomBands(WIDTH, random);
        MoveLines(source, target, RandomBands(HEIGHT, random), ofColumns);
    });
    RegisterDefaults("Random Shear", randomShear, [](const cv::Mat &source, cv::Mat &target) {
        cv::RNG random(1);
        const std::vector<int> ofColumns = RandomWalk(WIDTH, random);
        MoveLines(source, target, RandomWalk(HEIGHT, random), ofColumns);
    });
}

// A grain of one channel, added to all three where a second random number says so.
static void RegisterNoise(const std::string &name, const std::function<void(cv::Mat &grain)> &fill)
{
    Register("Noise/beside " + name + " numbers",
             {
                 [](Picture &picture) { RunWorker(noise, picture, noise.defaults.bytes, noise.defaults.size, {}); },
                 [fill](const cv::Mat &source, cv::Mat &target) {
                     static cv::Mat grain(HEIGHT, WIDTH, CV_16S), chance(HEIGHT, WIDTH, CV_8U), three, chosen;
                     fill(grain);
                     cv::randu(chance, 0, 101);
                     cv::compare(chance, 15, chosen, cv::CMP_LE);
                     cv::merge(std::vector<cv::Mat>(3, grain), three);
                     source.copyTo(target);
                     cv::add(source, three, target, chosen, CV_8U);
                 },
                 NOT_COMPARED,
             });
}

//---- Effects that fetch each pixel from elsewhere, beside a loop over the written formula and cv::remap

// Where pixel (x, y) comes from, by the formula as it is written; false where it stays.
typedef bool (*Formula)(int x, int y, double &sourceX, double &sourceY);

template <Formula formula> static void FillMaps(cv::Mat &mapX, cv::Mat &mapY)
{
    for (int y = 0; y < HEIGHT; ++y) {
        for (int x = 0; x < WIDTH; ++x) {
            double sourceX = x, sourceY = y;
            formula(x, y, sourceX, sourceY);
            mapX.at<float>(y, x) = float(sourceX);
            mapY.at<float>(y, x) = float(sourceY);
        }
    }
}

// Theirs rounds positions to 1/32 of a pixel, so that a byte may differ a little. `border` is what it makes of those
// outside the picture.
template <Formula formula>
static void RegisterRelocation(const std::string &name, const EffectDescriptor &effect,
                               int border = cv::BORDER_REPLICATE)
{
    Register(name + "/default", {
                                    [&effect](Picture &picture) {
                                        RunWorker(effect, picture, effect.defaults.bytes, effect.defaults.size, {});
                                    },
                                    [border](const cv::Mat &source, cv::Mat &target) {
                                        static cv::Mat mapX(HEIGHT, WIDTH, CV_32F), mapY(HEIGHT, WIDTH, CV_32F);
                                        FillMaps<formula>(mapX, mapY);
                                        cv::remap(source, target, mapX, mapY, cv::INTER_LINEAR, border);
                                    },
                                    2,
                                });
}

constexpr double CENTRE_X = WIDTH * 0.5, CENTRE_Y = HEIGHT * 0.5, RADIUS = std::min(CENTRE_X, CENTRE_Y);

static bool SwirlFormula(int x, int y, double &sourceX, double &sourceY)
{
    const double dx = x - CENTRE_X, dy = y - CENTRE_Y, distance = sqrt(dx * dx + dy * dy);
    if (distance >= RADIUS) return false;
    const double inwards = 1 - distance / RADIUS, turn = 45 * M_PI / 180 * inwards * inwards;
    sourceX = CENTRE_X + dx * cos(turn) - dy * sin(turn);
    sourceY = CENTRE_Y + dx * sin(turn) + dy * cos(turn);
    return true;
}

// Black outside the circle.
static bool PolarFormula(int x, int y, double &sourceX, double &sourceY)
{
    const double dx = x - CENTRE_X, dy = y - CENTRE_Y, distance = sqrt(dy * dy + dx * dx);
    if (distance >= RADIUS) {
        sourceX = sourceY = -2;
        return true;
    }
    double angle = dx == 0 && dy == 0 ? 0 : atan2(dy, dx);
    if (angle < 0) angle += 6.2831854;
    sourceX = (WIDTH - 1) * angle / 6.2831854;
    sourceY = (HEIGHT - 1) * distance / RADIUS;
    return true;
}

static bool RippleFormula(int x, int y, double &sourceX, double &sourceY)
{
    const double wavelength = 0.01 * 10 * RADIUS, amplitude = 0.01 * 10 * RADIUS;
    const double dx = x - CENTRE_X, dy = y - CENTRE_Y, distance = sqrt(dx * dx + dy * dy);
    if (distance == 0) return false;
    double angle = atan2(dy, dx);
    if (distance <= RADIUS)
        angle += 6.2831854 + sin(6.2831854 * distance / wavelength) * amplitude * (1 - distance / RADIUS) / distance;
    sourceX = cos(angle) * distance + CENTRE_X;
    sourceY = sin(angle) * distance + CENTRE_Y;
    return true;
}

// Fisheye and Cone Head at power 20: from the pixel's radius and the ellipse's to the new one.
template <double (*bend)(double radius, double edge)>
static bool EllipseFormula(int x, int y, double &sourceX, double &sourceY)
{
    constexpr double a = (WIDTH - 1) * (WIDTH - 1) / 4, b = (HEIGHT - 1) * (HEIGHT - 1) / 4;
    const double dx = x - CENTRE_X, dy = y - CENTRE_Y;
    if (dx == 0 && dy == 0) return false;
    const double radius = sqrt(dy * dy + dx * dx), angle = atan2(dy, dx), cosine = cos(angle), sine = sin(angle);
    const double edge = sqrt(a * b / (cosine * (cosine * b) + sine * (sine * a)));
    if (radius >= edge) return false;
    sourceX = cosine * bend(radius, edge) + CENTRE_X;
    sourceY = sine * bend(radius, edge) + CENTRE_Y;
    return true;
}

static double Bulged(double radius, double edge) { return radius / edge * radius; }
static double Squeezed(double radius, double edge) { return sqrt(radius * edge); }

int main(int count, char **arguments)
{
    allThreads = HostWorkerThreads();
    RegisterCopy();
    for (const char *kernel :
         {"Smooth 3 by 3", "Smooth 5 by 5", "Smooth 7 by 7", "Gaussian 3 by 3", "Gaussian 5 by 5", "Gaussian 7 by 7"})
        RegisterKernel(kernel);
    // OpenCV has special code for 3 and 5. Both sides nearest 2r are run where one of them is special.
    RegisterMedian(1, 3);
    RegisterMedian(3, 5);
    RegisterMedian(3, 7);
    RegisterMedian(10, 21);
    RegisterMedian(30, 61);
    for (int32_t radius : {1, 3, 10, 30}) {
        RegisterExtreme(radius, 1510);
        RegisterExtreme(radius, 1470);
    }
    for (int32_t size : {1, 3, 10, 50}) RegisterOilPainting(size);
    RegisterMosaic();
    RegisterSolarize();
    RegisterAcid();
    RegisterDoubleVision();
    RegisterTiles();
    RegisterMovedLines();
    RegisterNoise("uniform", [](cv::Mat &grain) { cv::randu(grain, -10, 11); });
    RegisterNoise("gaussian", [](cv::Mat &grain) { cv::randn(grain, 0, 5); });
    RegisterWave("rows", 1200);
    RegisterWave("columns", 5530);
    RegisterShear("rows", true);
    RegisterShear("columns", false);
    RegisterFlip("sideways", 0);
    RegisterFlip("upright", 1);
    RegisterMirror("left", 1260, true, true);
    RegisterMirror("below", 1240, false, false);
    RegisterRelocation<SwirlFormula>("Swirl", swirl);
    RegisterRelocation<PolarFormula>("Polar Coordinates", polarCoordinates, cv::BORDER_CONSTANT);
    RegisterRelocation<RippleFormula>("Ripple", ripple);
    RegisterRelocation<EllipseFormula<Bulged>>("Fisheye", fisheye);
    RegisterRelocation<EllipseFormula<Squeezed>>("Cone Head", coneHead);

    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
