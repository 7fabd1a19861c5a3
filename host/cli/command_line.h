// What was asked for on the command line, read and checked as far as that goes without opening anything.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

enum class Command { EFFECTS, KERNELS, APPLY, BATCH, RECIPE, PRESETS, SHEET, CHECK, COMPLETE, COMPLETION, MANUAL };

// One of an effect's own options as it was given: the name without dashes.
struct GivenParameter {
    std::string name, value;
};

// A picture to be laid on the input, as --object names it.
struct NamedObject {
    std::string file;
    int32_t x, y;
};

// An effect with all that belongs to it alone.
struct GivenStep {
    std::string effect;
    std::vector<GivenParameter> parameters = {};
    std::optional<uint32_t> seed = {};       // the first step's is also that of all steps without one
    std::string area = {};                   // of the input, in the words of --area; empty for none
    std::vector<NamedObject> objects = {};   // bottom to top
};

struct CommandLine {
    Command command = Command::EFFECTS;
    std::string effect;               // effects: its name; empty lists all
    std::vector<GivenStep> steps;     // apply, batch: one after the other, at least one
    std::string action;               // recipe, presets: what is to be done; empty lists presets
    std::vector<std::string> words;   // recipe, presets: what it is done to; kernels, sheet: all of them
    std::string summary;              // presets save
    bool replace = false;             // presets save, import; kernels import: also over one that is there
    bool scaleToPicture = false;      // apply, batch: defaults in pixels as if for 640 pixels
    bool timing = false;              // apply: tells how long reading, running and writing took
    bool compare = false;             // apply: the output shows the picture before and after
    std::string saveRecipe;           // apply, batch: where the steps go as a recipe; empty for nowhere
    std::string match;                // effects: a word to look for; empty for none
    bool json = false, markdown = false, quiet = false;
    bool allowHuge = false;            // pictures of any size that can be opened
    bool asStored = false;             // pictures are not turned upright
    bool reduceDepth = false;          // a file of more than 8 bits a sample may be replaced
    int page = 0;                      // of several, from 1; 0: all
    std::string format;                // of the output; empty: by its name. kernels export: of the text
    int quality = 0;                   // JPEG, 1..100; 0: as the input
    int compression = 0;               // PNG, 1..9; 0: the usual
    int subsampling = 0;               // JPEG, as 420; 0: as the input
    int progressive = 0;               // JPEG, 1 or -1 for not; 0: as the input
    int strip = 0;                     // 1: metadata, 2: colour profile and resolution too
    std::string input, output;         // apply; "-" is a standard stream
    std::string mask, maskOutput;      // apply; empty for none
    std::vector<std::string> inputs;   // batch
    std::string outputFolder;          // batch
    std::string filesFrom;             // batch: a file of inputs' names, "-" standard input; empty for none
    std::string suffix;                // batch: of the outputs' names
    std::string report;                // batch: a file for a line of JSON per picture; "-" standard output
    bool recursive = false;            // batch: folders within folders
    bool skipExisting = false;         // batch: what is there already is not made again
    bool noClobber = false;            // batch: what is there already is a fault
    bool dryRun = false;               // batch: only tells what would be done
    bool sameSeed = false;             // batch: no picture adds its number to the seeds
    // check
    std::string module;       // the module's file; empty with
    std::string hostFolder;   // the host's folder, which is empty otherwise
    int level = 5;            // 1..10
    uint32_t checkSeed = 1;
    int minutes = 60;             // of level 9
    std::string checkedEffect;    // empty for all
    std::string onlyCheck;        // empty for all
    std::string jsonFile;         // "-" standard output; empty for none
    std::string golden, record;   // level 10; empty for none
    int threads = 0;              // of one picture, 1..MAX_THREADS; 0: as many as there are
    int jobs = 1;                 // batch, 1..MAX_JOBS
    bool jobsGiven = false;       // otherwise there may be fewer, by the memory that is left
};
constexpr int MAX_THREADS = 64;
constexpr int MAX_JOBS = 250;   // twice as many threads, and pictures in memory

// True when there is something left to do. False when help or a complaint has been printed; then `exitCode` is set.
bool ReadCommandLine(int argc, char **argv, CommandLine &line, int &exitCode);
