// Level 4: an effect's worker alone, as a preview calls it, on planes with guarded ends. Runs that a dialog starts are
// run_checks.cpp's.

#include "host/check/effect_facts.h"
#include "host/check/guarded_memory.h"
#include "host/check/open_dialog.h"
#include "host/check/threads_of_process.h"

#include <algorithm>
#include <cstring>
#include <thread>

struct WorkerCase {
    int32_t type, width, height, maskBits;
    bool maskInUse = false;
};

static std::string Told(const WorkerCase &picture)
{
    std::string text = TypeName(picture.type) + " of " + Number(picture.width) + " x " + Number(picture.height);
    if (picture.maskBits)
        text += " with a mask of " + Number(picture.maskBits) + (picture.maskBits == 1 ? " bit" : " bits") +
                (picture.maskInUse ? " in use" : "");
    return text;
}

struct WorkerOptions {
    int abortAt = -1;   // the report that the abort request comes with; NOW: it is there from the start
    int threads = 1;
    bool scribbles = false;   // the block's parameters change at the first report
    uint32_t seed = 1;
};
constexpr int NOW = -2;

constexpr int RESET = -1;
struct WorkerOutcome {
    std::vector<uint8_t> before, pixels, maskBefore, mask;
    std::vector<int> reports;   // tenths, RESET where a pass began
};

//---- One call of a worker

struct Planes {
    uint8_t *pixels = nullptr, *mask = nullptr, *tables = nullptr;
    int32_t entries = 0, abortFlag = 0;
};

static uint8_t *GuardedCopy(const void *bytes, size_t size)
{
    uint8_t *copy = GuardedBytes(size);
    if (size) memcpy(copy, bytes, size);
    return copy;
}

static size_t BytesOf(int32_t bits, const WorkerCase &picture)
{
    return size_t(RowStride(bits, picture.width)) * size_t(picture.height);
}

static int32_t BitsOf(int32_t type) { return type == RGB ? 24 : type == ONE_BIT ? 1 : 8; }

// The host sees that a worker calls it with what it has been given.
struct Watched {
    const ImageView *view;
    std::thread::id thread;
    WorkerOutcome *outcome;
    Planes *planes;
    WorkerOptions options;
    uint8_t *parameters;
    size_t parameterBytes;
};

static void OnReport(Watched &watched, const intptr_t *arguments, bool reset)
{
    if (std::this_thread::get_id() != watched.thread)
        return Found(Rule::PROGRESS_ARGUMENTS, "it was reported on another thread");
    const bool own = reinterpret_cast<HWND>(arguments[0]) == watched.view->progressWindow &&
                     reinterpret_cast<ProgressRecord *>(arguments[1]) == watched.view->progress;
    Expect(own, Rule::PROGRESS_ARGUMENTS,
           std::string(reset ? "ResetProgress" : "IncrementProgress") + " was called with another window or record");
    if (reset) return watched.outcome->reports.push_back(RESET);
    const auto count = int(std::count_if(watched.outcome->reports.begin(), watched.outcome->reports.end(),
                                         [](int tenths) { return tenths != RESET; }));
    watched.outcome->reports.push_back(int(arguments[2]));
    if (count == watched.options.abortAt) SharedWrite(watched.planes->abortFlag, 1);
    if (count == 0 && watched.options.scribbles)
        for (size_t i = 0; i < watched.parameterBytes; ++i) watched.parameters[i] ^= uint8_t(i % 4 == 0);
}

static void Fill(ImageView &view, const WorkerCase &picture, Planes &planes, ProgressRecord *progress, HWND window)
{
    const int32_t blockSize = view.blockSize;
    view = {};
    view.blockSize = blockSize;
    view.width = picture.width;
    view.height = picture.height;
    view.bitsPerPixel = BitsOf(picture.type);
    view.paletteEntries = &planes.entries;
    view.colourType = picture.type;
    view.pixels = planes.pixels;
    view.red = planes.tables;
    view.green = planes.tables + 256;
    view.blue = planes.tables + 512;
    view.abortFlag = &planes.abortFlag;
    view.mask = planes.mask;
    view.maskInUse = picture.maskInUse;
    view.maskBitsPerPixel = picture.maskBits;
    view.progressWindow = window;
    view.progress = progress;
}

static std::vector<uint8_t> Taken(const uint8_t *bytes, size_t size)
{
    return bytes ? std::vector<uint8_t>(bytes, bytes + size) : std::vector<uint8_t>();
}

static WorkerOutcome RunWorkerOn(OpenDialog &open, const FilterHeader &shown, const WorkerCase &picture,
                                 const WorkerOptions &options)
{
    std::mt19937 generator(options.seed);
    const bool empty = picture.width < 1 || picture.height < 1;
    const Picture made = RandomPictureOf(picture.type, std::max(picture.width, 1), std::max(picture.height, 1),
                                         picture.maskBits, generator);
    const size_t size = empty ? 0 : BytesOf(made.bitsPerPixel, picture),
                 maskSize = empty ? 0 : BytesOf(picture.maskBits, picture);
    WorkerOutcome outcome;
    Planes planes;
    planes.pixels = GuardedCopy(made.pixels.get(), size);
    if (picture.maskBits) planes.mask = GuardedCopy(made.mask.get(), maskSize);
    planes.tables = GuardedBytes(768);
    memcpy(planes.tables, made.red, 256);
    memcpy(planes.tables + 256, made.green, 256);
    memcpy(planes.tables + 512, made.blue, 256);
    planes.entries = made.paletteEntries;
    planes.abortFlag = options.abortAt == NOW;
    outcome.before = Taken(planes.pixels, size);
    outcome.maskBefore = Taken(planes.mask, maskSize);
    const std::vector<uint8_t> tables = Taken(planes.tables, 768);

    const auto blockBytes = size_t(shown.block->view.blockSize);
    uint8_t *bytes = GuardedCopy(shown.block, blockBytes);
    auto *block = reinterpret_cast<EffectBlock *>(bytes);
    ProgressRecord *progress = MiscCreateProgress();
    block->header.block = block;
    Fill(block->view, picture, planes, progress, open.stage.host.context.window);
    std::vector<uint8_t> blockBefore = Taken(bytes, blockBytes);
    const ImageView view = block->view;
    Watched watched{
        &view, {}, &outcome, &planes, options, bytes + sizeof(EffectBlock), blockBytes - sizeof(EffectBlock)};
    ListenToCalls([&](const char *call, const intptr_t *arguments) {
        const std::string_view name = call;
        if (name == "IncrementProgress") OnReport(watched, arguments, false);
        if (name == "ResetProgress") OnReport(watched, arguments, true);
    });
    HostFixSeed(TRUE, options.seed);
    const uint64_t mark = BlockMark();
    const bool counts = picture.width % 16 == 0;   // on Windows that takes longer than the worker
    const int threadsBefore = counts ? ThreadsOfProcess() : 0;
    std::string left;
    std::thread([&] {
        watched.thread = std::this_thread::get_id();
        HostBeginWork(options.threads);
        shown.worker(block);
        HostEndWork();
        left = BlocksSince(mark);
    }).join();
    HostFixSeed(FALSE, 0);
    ListenToCalls(nullptr);

    Expect(left.empty(), Rule::RETURNED, "the worker has not handed back " + left);
    Expect(!counts || AtMostThreads(threadsBefore), Rule::THREADS_JOINED, "there are more threads than before");
    if (options.scribbles && !outcome.reports.empty())
        for (size_t i = sizeof(EffectBlock); i < blockBytes; ++i)
            blockBefore[i] ^= uint8_t((i - sizeof(EffectBlock)) % 4 == 0);
    Expect(Taken(bytes, blockBytes) == blockBefore, Rule::BLOCK_KEPT, "the block has other bytes than before");
    Expect(Taken(planes.tables, 768) == tables && planes.entries == made.paletteEntries, Rule::PALETTE_KEPT,
           "it was changed");
    outcome.pixels = Taken(planes.pixels, size);
    outcome.mask = Taken(planes.mask, maskSize);
    LookAtGuards();
    for (uint8_t *memory : {planes.pixels, planes.tables, bytes}) FreeGuardedBytes(memory);
    if (planes.mask) FreeGuardedBytes(planes.mask);
    MiscDestroyProgress(progress);
    return outcome;
}

//---- What is to be seen of it

// Calls use(byte, byte before, bits that are padding) for each byte that holds padding, until it answers false. The last
// byte of a row may hold pixels too.
template <typename Use>
static bool ForPadding(const std::vector<uint8_t> &before, const std::vector<uint8_t> &after, int32_t bits,
                       int32_t width, Use use)
{
    const auto stride = size_t(RowStride(bits, width)), used = size_t(bits) * size_t(width);
    for (size_t row = 0; row + stride <= before.size() && stride; row += stride)
        for (size_t i = used / 8; i < stride; ++i)
            if (!use(after[row + i], before[row + i], i == used / 8 ? uint8_t(0xFF >> used % 8) : uint8_t(0xFF)))
                return false;
    return true;
}

// As it was, or in planes of 8 bits and of 1 filled with one value, as the background is.
static bool PaddingKept(const std::vector<uint8_t> &before, const std::vector<uint8_t> &after, int32_t bits,
                        int32_t width)
{
    if (ForPadding(before, after, bits, width,
                   [](uint8_t now, uint8_t then, uint8_t padding) { return ((now ^ then) & padding) == 0; }))
        return true;
    if (bits == 24) return false;
    int fill = -1;
    return ForPadding(before, after, bits, width, [&](uint8_t now, uint8_t, uint8_t padding) {
        if (bits == 1) now = now & padding ? 0xFF : 0;
        if (fill < 0) fill = now;
        return ((now ^ fill) & padding) == 0;
    });
}

static std::vector<int> TenthsOf(int lines)
{
    std::vector<int> tenths(size_t(lines), 10);
    for (int line = 0; line < lines && lines > 1; ++line) tenths[size_t(line)] = line * 10 / (lines - 1);
    return tenths;
}

typedef std::vector<std::vector<int>> Passes;

static Passes PassesOf(const std::vector<int> &reports)
{
    Passes passes(1);
    for (const int tenths : reports) {
        if (tenths == RESET) passes.emplace_back();
        else passes.back().push_back(tenths);
    }
    return passes;
}

// What a worker that has gone over all of it reports of a plane. `lines` are rows, or columns where they count too.
static void ExpectWholePass(const std::vector<int> &pass, ProgressKind kind, const WorkerCase &picture)
{
    const auto tells = [&](int lines) { return pass == TenthsOf(lines); };
    const std::string reported =
        Number(intptr_t(pass.size())) + " reports, from " + Number(pass.front()) + " to " + Number(pass.back());
    if (kind == ProgressKind::EACH_ROW)
        Expect(tells(picture.height), Rule::PROGRESS_REPORTED,
               "of " + Number(picture.height) + " rows there were " + reported);
    if (kind == ProgressKind::ROWS_OR_COLUMNS || kind == ProgressKind::BEFORE_EACH_PLANE)
        Expect(tells(picture.height) || tells(picture.width), Rule::PROGRESS_REPORTED,
               "of " + Number(picture.height) + " rows and " + Number(picture.width) + " columns there were " +
                   reported);
    if (kind == ProgressKind::HUNDRED_PASSES)
        Expect(pass.size() == 100 && pass[0] == 0 && pass[99] == 9, Rule::PROGRESS_REPORTED,
               "of 100 passes there were " + reported);
}

static void ExpectReports(const CheckedEffect &effect, const WorkerOutcome &outcome, const WorkerCase &picture,
                          bool whole)
{
    const bool changed = outcome.pixels != outcome.before;
    const Passes passes = PassesOf(outcome.reports);
    const ProgressKind kind = effect.known ? ProgressKindOf(effect.offset) : ProgressKind::ANY;
    const bool large = picture.width >= 40 && picture.height >= 30;
    const bool eachLine =
        kind != ProgressKind::ANY && kind != ProgressKind::BIG_ROWS && kind != ProgressKind::ITERATIONS;
    Expect(!changed || !outcome.reports.empty() || !(large || eachLine), Rule::PROGRESS_REPORTED,
           "the picture has changed and nothing was reported");
    for (const std::vector<int> &pass : passes) {
        if (pass.empty()) continue;
        Expect(std::is_sorted(pass.begin(), pass.end()), Rule::PROGRESS_ORDER, "it went back without a ResetProgress");
        Expect(pass.front() >= 0 && pass.back() <= 10, Rule::PROGRESS_ORDER, "it was beyond 0..10");
        if (whole) ExpectWholePass(pass, kind, picture);
    }
    if (kind == ProgressKind::ITERATIONS) return;
    const size_t most =
        picture.maskBits && (kind == ProgressKind::ANY || kind == ProgressKind::BEFORE_EACH_PLANE) ? 2 : 1;
    Expect(passes.size() <= most, Rule::PROGRESS_RESET,
           "ResetProgress was called " + Number(intptr_t(passes.size()) - 1) + " times");
    if (whole && kind == ProgressKind::BEFORE_EACH_PLANE && picture.maskBits && !outcome.reports.empty())
        Expect(passes.size() == 2, Rule::PROGRESS_RESET, "there was none");
}

static void ExpectPlanes(const CheckedEffect &effect, const WorkerOutcome &outcome, const WorkerCase &picture)
{
    Expect(PaddingKept(outcome.before, outcome.pixels, BitsOf(picture.type), picture.width), Rule::ROW_PADDING,
           "the pixels' padding has changed");
    // Wave takes the mask of a one-bit or palette picture for bits, whatever it is.
    const bool asBits = effect.known && effect.offset == WAVE_COMMAND && picture.maskBits > MaskBitsOf(picture.type);
    if (picture.maskBits && !asBits)
        Expect(PaddingKept(outcome.maskBefore, outcome.mask, picture.maskBits, picture.width), Rule::ROW_PADDING,
               "the mask's padding has changed");
    // Filters works on the indices as on levels.
    if (picture.type != PALETTE || (effect.known && effect.offset == FILTERS_COMMAND)) return;
    const auto stride = size_t(RowStride(8, picture.width));
    for (int32_t y = 0; y < picture.height; ++y)
        for (int32_t x = 0; x < picture.width; ++x)
            if (!Expect(outcome.pixels[size_t(y) * stride + size_t(x)] < 200, Rule::INDICES_KEPT,
                        "an index is beyond the 200 entries"))
                return;
}

//---- Checks

// Opens the dialog on a small picture and hands over the header of its block, when there is a worker to call.
static void WithWorker(const CheckedModule &module, const CheckedEffect &effect,
                       const std::function<void(OpenDialog &, const FilterHeader &)> &use)
{
    ModuleStage stage(module.request.module);
    std::mt19937 generator(module.request.seed);
    ImageRecord *image = Open(stage, RandomPictureOf(RGB, 8, 6, 0, generator));
    Doing("opened the dialog of " + effect.word);
    InDialogOf(effect, stage, [&](OpenDialog &open) {
        const FilterHeader *header = open.HeaderOf(image);
        if (!header || !header->worker || !header->block) return;                   // a run of its own: run_checks.cpp
        if (header->block->view.blockSize < int32_t(sizeof(EffectBlock))) return;   // told by level 3
        use(open, *header);
    });
}

static void RunWhole(OpenDialog &open, const FilterHeader &header, const WorkerCase &picture, uint32_t seed)
{
    Doing("called the worker of " + open.effect.word + " on " + Told(picture));
    WorkerOptions options;
    options.seed = seed;
    const WorkerOutcome outcome = RunWorkerOn(open, header, picture, options);
    ExpectPlanes(open.effect, outcome, picture);
    ExpectReports(open.effect, outcome, picture, true);
}

static void CheckSizes(const CheckedModule &module, const CheckedEffect &effect)
{
    WithWorker(module, effect, [&](OpenDialog &open, const FilterHeader &header) {
        std::mt19937 generator(module.request.seed);
        for (const int32_t type : ALL_TYPES) {
            for (int32_t width = 0; width <= 64; ++width) {
                RunWhole(open, header, {type, width, width * 7 % 23 + 1, width % 3 == 1 ? MaskBitsOf(type) : 0},
                         uint32_t(width) + 1);
                RunWhole(open, header, {type, width * 5 % 19 + 1, width, 0}, uint32_t(width) + 1);
                if (width % 8 == 7) SetAtRandom(open, generator);
            }
        }
    });
}

static void CheckMasks(const CheckedModule &module, const CheckedEffect &effect)
{
    WithWorker(module, effect, [&](OpenDialog &open, const FilterHeader &header) {
        std::mt19937 generator(module.request.seed);
        for (int round = 0; round < 3; ++round) {
            for (const int32_t type : ALL_TYPES)
                for (const bool inUse : {false, true})
                    for (const auto &[width, height] : {std::pair(31, 24), std::pair(33, 40), std::pair(9, 1)}) {
                        RunWhole(open, header, {type, width, height, MaskBitsOf(type), inUse}, module.request.seed);
                        RunWhole(open, header, {type, width, height, OtherMaskBits(type), inUse}, module.request.seed);
                    }
            SetAtRandom(open, generator);
        }
    });
}

static int CountReports(const WorkerOutcome &outcome)
{
    return int(
        std::count_if(outcome.reports.begin(), outcome.reports.end(), [](int tenths) { return tenths != RESET; }));
}

static void CheckAbort(const CheckedModule &module, const CheckedEffect &effect)
{
    WithWorker(module, effect, [&](OpenDialog &open, const FilterHeader &header) {
        for (const int32_t type : ALL_TYPES) {
            const WorkerCase picture = {type, 40, 30, MaskBitsOf(type)};
            Doing("called the worker of " + effect.word + " on " + Told(picture));
            const int all = CountReports(RunWorkerOn(open, header, picture, {}));
            WorkerOptions options;
            options.abortAt = NOW;
            Doing("called the worker of " + effect.word + " on " + Told(picture) + " with its abort flag set");
            const WorkerOutcome none = RunWorkerOn(open, header, picture, options);
            Expect(CountReports(none) == 0, Rule::ABORT_HEEDED,
                   Number(CountReports(none)) + " rows were reported all the same");
            for (int report = 0; report < all; ++report) {
                options.abortAt = report;
                Doing("called the worker of " + effect.word + " on " + Told(picture) +
                      " and set its abort flag at report " + Number(report));
                const WorkerOutcome outcome = RunWorkerOn(open, header, picture, options);
                const int more = CountReports(outcome) - report - 1;
                Expect(more <= 0, Rule::ABORT_HEEDED, Number(more) + " more rows were reported");
                ExpectPlanes(open.effect, outcome, picture);
                ExpectReports(open.effect, outcome, picture, false);
            }
        }
    });
}

static void CheckSameAgain(const CheckedModule &module, const CheckedEffect &effect)
{
    WithWorker(module, effect, [&](OpenDialog &open, const FilterHeader &header) {
        for (const int32_t type : ALL_TYPES) {
            const WorkerCase picture = {type, 45, 33, MaskBitsOf(type)};
            WorkerOptions options;
            options.seed = module.request.seed;
            Doing("called the worker of " + effect.word + " twice on " + Told(picture) + " with one seed");
            const WorkerOutcome first = RunWorkerOn(open, header, picture, options);
            const WorkerOutcome second = RunWorkerOn(open, header, picture, options);
            Expect(first.pixels == second.pixels && first.mask == second.mask, Rule::SAME_AGAIN,
                   "the two pictures differ");
            options.scribbles = true;
            Doing("called the worker of " + effect.word + " on " + Told(picture) +
                  " and changed its block's parameters at the first report");
            const WorkerOutcome third = RunWorkerOn(open, header, picture, options);
            Expect(first.pixels == third.pixels && first.mask == third.mask, Rule::COPIED_BLOCK,
                   "the picture is another one");
        }
    });
}

void PlanWorkerChecks(const CheckedModule &module, Plan &plan)
{
    for (const CheckedEffect &effect : module.effects) {
        const std::string start = "4/" + effect.word + "/";
        plan.push_back({4, start + "sizes", effect.word, [&] { CheckSizes(module, effect); }});
        plan.push_back({4, start + "masks", effect.word, [&] { CheckMasks(module, effect); }});
        plan.push_back({4, start + "abort", effect.word, [&] { CheckAbort(module, effect); }});
        plan.push_back({4, start + "same-again", effect.word, [&] { CheckSameAgain(module, effect); }});
    }
}
