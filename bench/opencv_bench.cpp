// Our workers beside OpenCV's nearest function, in one process, on the same 24-bit picture of 12 megapixels, on one
// thread each and on all. Every round copies the plane, runs ours on one thread, theirs on one, ours on all and theirs on
// all in turn, so that a machine that is slow for a while is slow for all of them. Names are EFFECT/SETTING; the time is
// ours on one thread, and the counters are medians of the rounds:
//     ratio, ratio_all     our time by theirs, on one thread and on all: below 1 ours is faster
//     gain, gain_cv        how many times as fast all threads are as one
//     ms/MP, ms/MP_cv, ms/MP_all, ms/MP_cv_all    each time per megapixel
// Times are the clock's: what other programs take is in them, so that on a busy machine gains come out too small, and
// only ratios mean something. VELMORANT_THREADS says how many all threads are; without it, as many as there are.

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

constexpr int WIDTH = 4000, HEIGHT = 3000;
constexpr double MEGAPIXELS = WIDTH * double(HEIGHT) / 1e6;
constexpr int ROUNDS = 5;
constexpr int NOT_COMPARED = -1;

struct Peers {
    std::function<void(Picture &picture)> ours;   // in place
    std::function<void(const cv::Mat &source, cv::Mat &target)> theirs;
    int tolerance;   // by how much a byte of theirs may differ from ours; NOT_COMPARED where they do different things
};

struct Round {
    double ours, theirs, oursByAll, theirsByAll;
};   // seconds

static double SecondsOf(const std::function<void()> &work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
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
        return SecondsOf([&] { peers.ours(planes.ours); });
    };
    const auto theirsOn = [&](int threads) {
        cv::setNumThreads(threads);
        return SecondsOf([&] { peers.theirs(planes.sourceView, planes.theirs); });
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
    RunRound(planes, peers);   // pays for fresh memory
    if (peers.tolerance != NOT_COMPARED && cv::norm(planes.oursView, planes.theirs, cv::NORM_INF) > peers.tolerance) {
        state.SkipWithError("the two results differ: they did not do the same work");
        return;
    }

    std::vector<Round> rounds;
    for (auto _ : state) {
        rounds.push_back(RunRound(planes, peers));
        state.SetIterationTime(rounds.back().ours);
    }
    state.counters["ratio"] = MedianOf(rounds, [](const Round &round) { return round.ours / round.theirs; });
    state.counters["ratio_all"] =
        MedianOf(rounds, [](const Round &round) { return round.oursByAll / round.theirsByAll; });
    state.counters["gain"] = MedianOf(rounds, [](const Round &round) { return round.ours / round.oursByAll; });
    state.counters["gain_cv"] = MedianOf(rounds, [](const Round &round) { return round.theirs / round.theirsByAll; });
    const auto perMegapixel = [&](double (*value)(const Round &)) {
        return MedianOf(rounds, value) * 1000 / MEGAPIXELS;
    };
    state.counters["ms/MP"] = perMegapixel([](const Round &round) { return round.ours; });
    state.counters["ms/MP_cv"] = perMegapixel([](const Round &round) { return round.theirs; });
    state.counters["ms/MP_all"] = perMegapixel([](const Round &round) { return round.oursByAll; });
    state.counters["ms/MP_cv_all"] = perMegapixel([](const Round &round) { return round.theirsByAll; });
}

static void Register(const std::string &name, const Peers &peers)
{
    benchmark::RegisterBenchmark(name.c_str(), [peers](benchmark::State &state) { Compare(state, peers); })
        ->Unit(benchmark::kMillisecond)
        ->Iterations(ROUNDS)
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

// Theirs counts brightness once per pixel and takes the mean colour of the commonest; ours counts every channel on its
// own, in steps of four. Only the smallest sizes are worth waiting for: its time grows with the square of the size.
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

// Every row is slid and squeezed by remap's maps.
static void RegisterWave()
{
    RegisterDefaults("Wave", wave, [](const cv::Mat &source, cv::Mat &target) {
        static cv::Mat mapX(HEIGHT, WIDTH, CV_32F), mapY(HEIGHT, WIDTH, CV_32F);
        const float squeeze = float(WIDTH) / float(WIDTH - 400);
        for (int y = 0; y < HEIGHT; ++y) {
            const float shift = float(200 * (sin(y * 6.2831854 / 800) + 1));
            for (int x = 0; x < WIDTH; ++x) {
                mapX.at<float>(y, x) = (float(x) - shift) * squeeze;
                mapY.at<float>(y, x) = float(y);
            }
        }
        cv::remap(source, target, mapX, mapY, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
    });
}

static void RegisterShear(const std::string &name, bool horizontal)
{
    Register("Shear/" + name,
             {
                 [horizontal](Picture &picture) {
                     uint8_t *pixels;
                     int32_t width = WIDTH, height = HEIGHT, abort = 0;
                     const size_t size = size_t(RowStride(24, WIDTH)) * HEIGHT;
                     KPZ_AllocMem(&pixels, uint32_t(size), 0x301);
                     memcpy(pixels, picture.pixels.get(), size);
                     ShearFunction(&pixels, &width, &height, 24, RGB, 20, 0, 1, nullptr, nullptr, horizontal, &abort);
                     KPZ_FreeMem(pixels);
                 },
                 [horizontal](const cv::Mat &source, cv::Mat &target) {
                     const double slope = tan(20 * M_PI / 180);
                     const cv::Matx23d matrix =
                         horizontal ? cv::Matx23d(1, slope, 0, 0, 1, 0) : cv::Matx23d(1, 0, 0, slope, 1, 0);
                     const cv::Size size = horizontal ? cv::Size(WIDTH + int(HEIGHT * slope) + 1, HEIGHT)
                                                      : cv::Size(WIDTH, HEIGHT + int(WIDTH * slope) + 1);
                     cv::Mat sheared;
                     cv::warpAffine(source, sheared, matrix, size);
                     target = sheared;
                 },
                 NOT_COMPARED,
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
    for (int32_t radius : {1, 3, 10, 30}) RegisterExtreme(radius, radius == 3 ? 1470 : 1510);
    RegisterOilPainting(3);
    RegisterMosaic();
    RegisterSolarize();
    RegisterWave();
    RegisterShear("rows", true);
    RegisterShear("columns", false);
    RegisterFlip("sideways", 0);
    RegisterFlip("upright", 1);
    RegisterRelocation<SwirlFormula>("Swirl", swirl);
    RegisterRelocation<PolarFormula>("PolarCoordinates", polarCoordinates, cv::BORDER_CONSTANT);
    RegisterRelocation<RippleFormula>("Ripple", ripple);
    RegisterRelocation<EllipseFormula<Bulged>>("Fisheye", fisheye);
    RegisterRelocation<EllipseFormula<Squeezed>>("ConeHead", coneHead);

    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
