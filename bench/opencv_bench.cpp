// Our workers beside OpenCV's nearest function, in one process, on the same 24-bit picture of 12 megapixels and on one
// thread each. Every round copies the plane, runs ours and runs theirs in turn, so that a machine that is slow for a
// while is slow for all three. Names are EFFECT/SETTING; the time is ours, and the counters are medians of the rounds:
//     ratio                our time by theirs: below 1 ours is faster
//     copies, copies_cv    each time in plane copies
//     ms/MP, ms/MP_cv      each time per megapixel
// All times are the process's processor time: what other programs take is not in it, and a second thread would be.

#include "effects/effects.h"
#include "matrix/matrix.h"
#include "tests/support/run_worker.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/xphoto/oilpainting.hpp>

#include <algorithm>
#include <functional>
#include <math.h>
#include <time.h>

constexpr int WIDTH = 4000, HEIGHT = 3000;
constexpr double MEGAPIXELS = WIDTH * double(HEIGHT) / 1e6;
constexpr int ROUNDS = 7;
constexpr int NOT_COMPARED = -1;

struct Peers {
    std::function<void(Picture &picture)> ours;   // in place
    std::function<void(const cv::Mat &source, cv::Mat &target)> theirs;
    int tolerance;   // by how much a byte of theirs may differ from ours; NOT_COMPARED where they do different things
};

struct Round {
    double copy, ours, theirs;
};   // seconds

static double SecondsOf(const std::function<void()> &work)
{
    const clock_t start = clock();
    work();
    return double(clock() - start) / CLOCKS_PER_SEC;
}

static double MedianOf(const std::vector<Round> &rounds, double (*value)(const Round &))
{
    std::vector<double> values;
    for (const Round &round : rounds) values.push_back(value(round));
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

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
    Round round;
    round.copy = SecondsOf([&] { memcpy(planes.ours.pixels.get(), planes.source.pixels.get(), size); });
    round.ours = SecondsOf([&] { peers.ours(planes.ours); });
    round.theirs = SecondsOf([&] { peers.theirs(planes.sourceView, planes.theirs); });
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
    state.counters["copies"] = MedianOf(rounds, [](const Round &round) { return round.ours / round.copy; });
    state.counters["copies_cv"] = MedianOf(rounds, [](const Round &round) { return round.theirs / round.copy; });
    state.counters["ms/MP"] = MedianOf(rounds, [](const Round &round) { return round.ours * 1000 / MEGAPIXELS; });
    state.counters["ms/MP_cv"] = MedianOf(rounds, [](const Round &round) { return round.theirs * 1000 / MEGAPIXELS; });
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
    cv::setNumThreads(1);
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
    RegisterOilPainting(3);
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
