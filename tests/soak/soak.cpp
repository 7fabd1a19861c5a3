// The host at work for minutes or hours: random pictures of every type, every effect with random settings, previews,
// aborts, undo and redo, images closed while they run. A model keeps each image's history, and after every step the image
// is held against it. At the end of each round, with nothing open, the process holds as much memory and as many files and
// threads as it did at first.
//
//     soak MINUTES [SEED]    parts of a minute too; the seed is printed

#include "host/acting/acting.h"
#include "tests/soak/level.h"
#include "tests/support/comparison.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>

static constexpr int STEPS_KEPT = 20;        // by the host for each image
static constexpr int STEPS_PER_ROUND = 60;   // after which all is closed
static constexpr int FIRST_ROUNDS = 10;      // in which what is made once is made: tables, pools, threads' stacks
static constexpr int64_t MOST_GROWTH = 1 << 18, MOST_RESIDENT_GROWTH = 128 << 20;   // holes between blocks

// An image, and what it held after each step: `at` is the one it holds now.
struct Modelled {
    ImageRecord *image = nullptr;
    std::vector<Picture> history = {};
    size_t at = 0;
    bool running = false;   // with nobody waiting for it
};

struct Soak {
    Host host;
    std::mt19937 generator;
    std::vector<std::unique_ptr<Modelled>> images;
    int64_t steps = 0, runs = 0, aborts = 0, undone = 0;
    int abortAt = 11;   // tenths of a run; 11: never
    bool sound = true;

    int Draw(int most) { return int(generator() % uint32_t(most)); }   // 0..most - 1
};

static void Complain(Soak &soak, const char *what, const std::string &more)
{
    printf("soak: step %lld: %s: %s\n", static_cast<long long>(soak.steps), what, more.c_str());
    soak.sound = false;
}

static void Compare(Soak &soak, const Modelled &modelled, const char *after)
{
    const testing::AssertionResult same = SamePicture(PictureOf(modelled.image), modelled.history[modelled.at]);
    if (!same) Complain(soak, after, same.message());
}

//---- Steps

static void Open(Soak &soak)
{
    static constexpr int32_t TYPES[] = {ONE_BIT, GREY, PALETTE, RGB}, MASKS[] = {0, 8, 1};
    PictureCase kind = {};
    kind.colourType = TYPES[soak.Draw(4)];
    kind.width = 1 + soak.Draw(soak.Draw(4) ? 64 : 700);
    kind.height = 1 + soak.Draw(soak.Draw(4) ? 48 : 500);
    kind.maskBits = MASKS[soak.Draw(3)];
    kind.seed = uint32_t(soak.generator());
    auto modelled = std::make_unique<Modelled>();
    modelled->image = OpenImage(soak.host, RandomPicture(kind));
    modelled->history.push_back(PictureOf(modelled->image));
    ActivateImage(soak.host, modelled->image);
    soak.images.push_back(std::move(modelled));
}

static void Close(Soak &soak, size_t which)
{
    CloseImage(soak.host, soak.images[which]->image);   // whatever it is at
    soak.images.erase(soak.images.begin() + ptrdiff_t(which));
}

static std::string ValueFor(Soak &soak, HWND dialog, const DialogTemplate &table, const ControlTemplate &row)
{
    int32_t low = 0, high = 0;
    switch (row.kind) {
    case SPIN_ARROWS:
    case TRACKBAR: OptionRange(dialog, row, low, high); return std::to_string(low + soak.Draw(high - low + 1));
    case CHECK_BOX: return soak.Draw(2) ? "on" : "off";
    case COLOUR_CONTROL: return soak.Draw(2) ? "#FF8000" : "#102030";
    case RADIO_BUTTON: {
        std::vector<std::string> words;
        for (int32_t i = 0; i < table.controlCount; ++i) {
            const ControlTemplate &other = table.controls[i];
            if (other.kind == RADIO_BUTTON && other.option && std::string(other.option) == row.option)
                words.push_back(other.word);
        }
        return words[size_t(soak.Draw(int(words.size())))];
    }
    default: return "";
    }
}

// As a person would who turns a few of the knobs.
static void SetSome(Soak &soak, HWND dialog, const DialogTemplate &table)
{
    for (int32_t i = 0; i < table.controlCount; ++i) {
        const ControlTemplate &row = table.controls[i];
        if (!row.option || FindOption(table, row.option) != &row || soak.Draw(3) || !CanSetOption(dialog, row))
            continue;
        const std::string value = ValueFor(soak, dialog, table, row);
        std::string error;
        if (!value.empty() && !SetOption(dialog, table, row.option, value, error)) Complain(soak, row.option, error);
    }
}

// Finds out what a run that nobody waited for has made.
static void TakeEnd(Soak &soak, Modelled &modelled)
{
    const bool aborted = MiscLastRunAborted(modelled.image);
    if (!aborted) {
        // Of twenty steps the oldest goes for that of the run.
        if (modelled.at >= STEPS_KEPT) {
            modelled.history.erase(modelled.history.begin());
            --modelled.at;
        }
        modelled.history.resize(++modelled.at);
        modelled.history.push_back(PictureOf(modelled.image));
    }
    soak.aborts += aborted;
    if (aborted) Compare(soak, modelled, "an abort");
    if (MiscUndoCount(modelled.image) != int32_t(modelled.at))
        Complain(soak, "steps kept", std::to_string(MiscUndoCount(modelled.image)));
}

static void Run(Soak &soak, Modelled &modelled)
{
    const DialogTemplate &table = *DialogTemplateAt(soak.Draw(DialogTemplateCount() - 1));   // the last: the chooser
    ActivateImage(soak.host, modelled.image);
    if (!CommandEnabled(soak.host, table.commandOffset)) return;
    ActInDialog(soak.host, table.commandOffset, [&](HWND dialog) {
        Tick(dialog, PREVIEW_CHECK, soak.Draw(4) == 0);
        SetSome(soak, dialog, table);
        if (CanSetOption(dialog, *FindControl(&table, APPLY_BUTTON))) Press(dialog, APPLY_BUTTON);
        if (RunUnderWay(modelled.image)) {
            ++soak.runs;
            soak.abortAt = soak.Draw(3) == 0 ? soak.Draw(8) : 11;
            WaitForRun(modelled.image);
            WaitUntil([&] { return !HostRunUnderWay(modelled.image); });
            TakeEnd(soak, modelled);
        }
        Press(dialog, CLOSE_BUTTON);
    });
}

// An image that goes while it runs: its run is aborted and waited for.
static void RunAndClose(Soak &soak, size_t which)
{
    ImageRecord *image = soak.images[which]->image;
    const DialogTemplate &table = *DialogTemplateAt(soak.Draw(DialogTemplateCount() - 1));
    ActivateImage(soak.host, image);
    if (!CommandEnabled(soak.host, table.commandOffset)) return;
    ActInDialog(soak.host, table.commandOffset, [&](HWND dialog) {
        if (CanSetOption(dialog, *FindControl(&table, APPLY_BUTTON))) Press(dialog, APPLY_BUTTON);
        Close(soak, which);
        Press(dialog, CLOSE_BUTTON);
    });
}

static void Back(Soak &soak, Modelled &modelled)
{
    const bool could = modelled.at > 0;
    if ((MiscUndo(modelled.image) != 0) != could) return Complain(soak, "undo", could ? "refused" : "went too far");
    modelled.at -= could;
    soak.undone += could;
    Compare(soak, modelled, "undo");
}

static void Forth(Soak &soak, Modelled &modelled)
{
    const bool could = modelled.at + 1 < modelled.history.size();
    if ((MiscRedo(modelled.image) != 0) != could) return Complain(soak, "redo", could ? "refused" : "went too far");
    modelled.at += could;
    Compare(soak, modelled, "redo");
}

static void Step(Soak &soak)
{
    ++soak.steps;
    if (soak.images.empty() || (soak.images.size() < 5 && soak.Draw(8) == 0)) return Open(soak);
    const size_t which = size_t(soak.Draw(int(soak.images.size())));
    switch (soak.Draw(12)) {
    case 0: return Close(soak, which);
    case 1: return soak.Draw(2) ? RunAndClose(soak, which) : Open(soak);
    case 2:
    case 3:
    case 4: return Back(soak, *soak.images[which]);
    case 5:
    case 6: return Forth(soak, *soak.images[which]);
    default: return Run(soak, *soak.images[which]);
    }
}

//---- Rounds

static bool Higher(const char *what, int64_t now, int64_t first, int64_t allowed)
{
    if (now - first <= allowed) return false;
    printf("soak: %s: %lld at first, %lld now\n", what, static_cast<long long>(first), static_cast<long long>(now));
    return true;
}

// A sanitizer keeps what was freed, so there the level tells nothing.
#if defined __SANITIZE_ADDRESS__ || defined __SANITIZE_THREAD__
static constexpr bool MEMORY_IS_GIVEN_BACK = false;
#else
static constexpr bool MEMORY_IS_GIVEN_BACK = true;
#endif

static bool StaysAt(const Level &first, const Level &now)
{
    return !Higher("bytes in use", now.used, first.used, MOST_GROWTH) &&
           !(MEMORY_IS_GIVEN_BACK && Higher("bytes resident", now.resident, first.resident, MOST_RESIDENT_GROWTH)) &&
           !Higher("handles", now.handles, first.handles, 0) && !Higher("threads", now.threads, first.threads, 0);
}

// Blocks that the host keeps for the next request of their size are no growth: what cannot be had makes it drop them. A
// sanitizer would end the program.
static void DropKeptBlocks()
{
#if !defined __SANITIZE_ADDRESS__ && !defined __SANITIZE_THREAD__
    HostMemoryHolds(1, uint64_t(PTRDIFF_MAX) - 4096);
#endif
}

static void Round(Soak &soak)
{
    for (int i = 0; i < STEPS_PER_ROUND && soak.sound; ++i) Step(soak);
    while (!soak.images.empty()) Close(soak, soak.images.size() - 1);
    HostWaitForThreads();
    DropKeptBlocks();
}

// Effects have their say in boxes where a run makes no sense.
static int32_t KPZAPI CloseBox(void *, HWND, const char *, const char *, int32_t) { return IDOK; }

// The system counts a thread for a moment more after it has been joined.
static Level LevelAtRest(const Level &first)
{
    Level level = LevelNow();
    for (int tries = 0; tries < 200 && level.threads > first.threads; ++tries) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        level = LevelNow();
    }
    return level;
}

static void Print(const char *when, const Level &level)
{
    printf("soak: %s: %lld KiB in use, %lld KiB resident, %lld handles, %lld threads\n", when,
           static_cast<long long>(level.used / 1024), static_cast<long long>(level.resident / 1024),
           static_cast<long long>(level.handles), static_cast<long long>(level.threads));
}

int main(int argc, char **argv)
{
    const double minutes = argc > 1 ? atof(argv[1]) : 0;
    if (minutes <= 0) {
        fprintf(stderr, "soak MINUTES [SEED]\n");
        return 2;
    }
    const uint32_t seed = argc > 2 ? uint32_t(strtoul(argv[2], nullptr, 10)) : std::random_device()();
    printf("soak: seed %u\n", seed);
    Soak soak;
    soak.generator.seed(seed);
    std::string error;
    if (!StartHost(soak.host, "", error)) {
        fprintf(stderr, "soak: %s\n", error.c_str());
        return 1;
    }
    HostAnswerMessageBoxes(CloseBox, nullptr);
    soak.host.onProgress = [&soak](ImageRecord *image, int tenths) {
        if (tenths >= soak.abortAt) SharedWrite(image->abortRequest, 1);
    };
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(60 * minutes);
    Level first;
    int rounds = 0;
    while (soak.sound && (rounds <= FIRST_ROUNDS || std::chrono::steady_clock::now() < end)) {
        Round(soak);
        const Level level = rounds >= FIRST_ROUNDS ? LevelAtRest(first) : LevelNow();
        if (++rounds == FIRST_ROUNDS) Print("at first", first = level);
        if (rounds > FIRST_ROUNDS && !StaysAt(first, level)) soak.sound = false;
    }
    Print("at the end", LevelNow());
    EndHost(soak.host);
    printf("soak: reached %d rounds, %lld steps, %lld runs, %lld of them aborted, %lld undone: %s\n", rounds,
           static_cast<long long>(soak.steps), static_cast<long long>(soak.runs), static_cast<long long>(soak.aborts),
           static_cast<long long>(soak.undone), soak.sound ? "as the model has it" : "FAULTS");
    return soak.sound ? 0 : 1;
}
