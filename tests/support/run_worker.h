// Runs an effect's worker on a picture, as a run thread calls it, without a dialog or an open image.

#pragma once

#include "framework/worker.h"
#include "tests/support/pictures.h"

struct WorkerOptions {
    bool maskInUse = false;
    uint32_t seed = 1;         // what KPZ_srand seeds with
    int32_t abortAfter = -1;   // how many progress reports pass before the abort flag is set: rows that are still
                               // worked on. 0: it is set from the start; -1: never
    bool recordsRelocations = false;
};

// A call of Relocate: its request, and the pixel that it sets.
struct RelocateCall {
    RelocateRequest request;
    bool ofMask;    // the pixel is the mask plane's
    int32_t x, y;   // -1 when it is in neither plane
};

struct WorkerRun {
    std::vector<int32_t> progress;           // tenths as reported; PROGRESS_RESET where a new pass began
    int32_t leakedBlocks = 0;                // KPZ_AllocMem blocks that the worker did not give back
    int32_t strayReports = 0;                // reports with other arguments than the view's
    std::vector<RelocateCall> relocations;   // in the order of the calls, when they are recorded
};
constexpr int32_t PROGRESS_RESET = -1;

// What a worker that goes over so many rows reports: row * 10 / (rows - 1), and 10 for a single row.
std::vector<int32_t> ProgressOfRows(int32_t rows);

// `parameters` are the effect's own: what follows the common part in its block, `size` bytes.
WorkerRun RunWorker(const EffectDescriptor &effect, Picture &picture, const void *parameters, size_t size,
                    const WorkerOptions &options);

// With the parameters as a record of 32-bit fields.
template <typename Parameters>
WorkerRun RunWorker(const EffectDescriptor &effect, Picture &picture, const Parameters &parameters,
                    const WorkerOptions &options = {})
{
    return RunWorker(effect, picture, &parameters, sizeof parameters, options);
}

// While it lives workers run the loops of a processor that has SSE2 and no more.
struct OlderProcessor {
    const ProcessorFeatures own = processor;

    OlderProcessor() { processor = {}; }
    ~OlderProcessor() { processor = own; }
};
