// What the library's door costs, as lines of a table: a call beyond its run, several threads of one caller beside one,
// and the memory of the hundredth run beside the first's. Effects' own times are vlm_bench's. Linux only.

#include "host/library/velmorant.h"

#include <algorithm>
#include <chrono>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <thread>
#include <unistd.h>
#include <vector>

static void Require(vlm_code code)
{
    if (code == VLM_OK) return;
    fprintf(stderr, "%s\n", vlm_error_line());
    exit(1);
}

static vlm_picture *RandomPicture(int side)
{
    std::vector<uint8_t> pixels(size_t(side) * size_t(side) * 3);
    uint32_t state = 1;
    for (uint8_t &byte : pixels) {
        state = state * 1664525 + 1013904223;
        byte = uint8_t(state >> 24);
    }
    vlm_planes planes = {};
    planes.size = sizeof planes;
    planes.layout = VLM_LAYOUT_RGB;
    planes.width = planes.height = side;
    planes.pixels = pixels.data();
    vlm_picture *picture = nullptr;
    Require(vlm_picture_from_planes(&planes, &picture));
    return picture;
}

// Applies one line of steps to a picture of the caller's own, on one thread.
static void Apply(const char *line, int side, int times)
{
    vlm_picture *picture = RandomPicture(side);
    vlm_run *run = vlm_run_new();
    vlm_steps *steps = vlm_steps_new();
    vlm_run_set_threads(run, 1);
    Require(vlm_steps_add_line(steps, line));
    for (int i = 0; i < times; ++i) Require(vlm_apply(steps, picture, run));
    vlm_steps_free(steps);
    vlm_run_free(run);
    vlm_picture_free(picture);
}

static double SecondsOf(int callers, const char *line, int side, int times)
{
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::thread> threads;
    for (int i = 0; i < callers; ++i) threads.emplace_back([=] { Apply(line, side, times); });
    for (std::thread &thread : threads) thread.join();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

static double MedianOf(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Pages that the process holds, in megabytes.
static double ResidentMegabytes()
{
    long all = 0, resident = 0;
    FILE *file = fopen("/proc/self/statm", "r");
    if (!file || fscanf(file, "%ld %ld", &all, &resident) != 2) exit(1);
    fclose(file);
    return double(resident) * double(sysconf(_SC_PAGESIZE)) / 1e6;
}

static void ShowMemory()
{
    vlm_picture *picture = RandomPicture(2000);
    vlm_steps *steps = vlm_steps_new();
    Require(vlm_steps_add_line(steps, "wave"));
    double first = 0;
    for (int i = 0; i < 100; ++i) {
        Require(vlm_apply(steps, picture, nullptr));
        if (i == 0) first = ResidentMegabytes();
    }
    printf("| memory after the first and after the hundredth run of Wave, 4 megapixels | %.0f and %.0f MB |\n", first,
           ResidentMegabytes());
    vlm_steps_free(steps);
    vlm_picture_free(picture);
}

int main()
{
    ShowMemory();
    std::vector<double> calls, gains;
    for (int i = 0; i < 5; ++i) {
        constexpr int CALLS = 200;
        calls.push_back(SecondsOf(1, "blocks --block-width 1 --block-height 1", 8, CALLS) / CALLS);
        const double one = SecondsOf(1, "oil-painting", 1000, 5);
        gains.push_back(4 * one / SecondsOf(4, "oil-painting", 1000, 5));
    }
    printf("| a call for a picture of 8 by 8 | %.2f ms |\n", MedianOf(calls) * 1000);
    printf("| four callers with Oil Painting beside one, each on one thread | %.1f times the work |\n",
           MedianOf(gains));
}
