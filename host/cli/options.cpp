// The command line's words, with CLI11. Every effect is a subcommand of `apply` and of `batch`, so that its help and
// its complaints know its own parameters. What --then begins is read as if it stood alone behind the command's name.

#include "host/acting/suggestion.h"
#include "host/cli/command_line.h"
#include "host/cli/given_steps.h"
#include "host/cli/option_list.h"
#include "host/cli/report.h"
#include "host/cli/setting_text.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

// Numbers are read as text, so that a bad one is answered in the same words as a bad parameter.
struct NumberTexts {
    std::string quality, compression, jobs, threads, page, subsampling, strip, progressive;
    std::string level, checkSeed, minutes;
    std::string seed, area;       // of the step that is being read, as its objects
    std::string recipe, preset;   // likewise
    std::vector<std::string> objects;
    bool several = false;             // there are other steps, so that files may stand with them
    std::vector<std::string> files;   // of `apply`, in the order given
};

static bool TakesEffect(const std::string &command) { return command == "apply" || command == "batch"; }

//---- Setting up

static void AddSharedOptions(CLI::App &app, CommandLine &line, NumberTexts &texts)
{
    app.add_option("--area", texts.area, "the selected area: its first pixel and its size, as 10,0,40x30")
        ->option_text("X,Y,WxH");
    app.add_option_function<std::vector<std::string>>(
           "--object",
           [&texts](const std::vector<std::string> &given) {
               texts.objects.insert(texts.objects.end(), given.begin(), given.end());
           },
           "a picture that floats over the input, masked by its alpha, and is pasted into\n"
           "the result; may be given several times, bottom to top. Where objects are\n"
           "given, they are the scope unless --scope says otherwise")
        ->option_text("FILE@X,Y")
        ->take_all()
        ->allow_extra_args(false);
    app.add_flag("--then", texts.several,
                 "another effect, which works on what this one has made; what stands behind its\n"
                 "name is its own: parameters, --area, --object and --seed")
        ->option_text("EFFECT ...");
    app.add_option("--recipe", texts.recipe,
                   "steps from a file, in EFFECT's place; --then goes on behind them. What is given\n"
                   "besides, --seed and --area, counts for all its steps")
        ->option_text("FILE");
    app.add_option("--preset", texts.preset,
                   "settings that were kept under a name (velmorant presets); with an effect what is\n"
                   "given besides overrides them, alone it stands in EFFECT's place")
        ->option_text("NAME");
    app.add_flag("--scale-to-picture", line.scaleToPicture,
                 "defaults in pixels as if the picture's smaller edge had 640, so that they are seen\n"
                 "alike at all sizes; a single one may be given so: --block-width 2%");
    app.add_option("--save-recipe", line.saveRecipe,
                   "keeps all steps, with all settings and seeds, in a file for --recipe")
        ->option_text("FILE");
    app.add_option("--seed", texts.seed, "makes what is random come out the same every time: a number of 32 bits")
        ->option_text("N");
    app.add_option("--threads", texts.threads,
                   "how many threads work on pictures, 1..64 (default: as VELMORANT_THREADS says, else\n"
                   "one per processor); the pixels are the same")
        ->option_text("N");
    app.add_option("--quality", texts.quality,
                   "of a JPEG output, 1..100 (default: keeps a JPEG input's own tables, else 90); a\n"
                   "WebP output then is one of loss")
        ->option_text("N");
    app.add_option("--compression", texts.compression,
                   "of a PNG output, 1 (quick) to 9 (small; default: 2); not on Windows")
        ->option_text("N");
    app.add_option(
           "--subsampling", texts.subsampling,
           "of a JPEG output's colours: 444, 440, 422, 420 or 411 (default: as a JPEG\ninput, else by the quality)")
        ->option_text("N");
    app.add_flag("--progressive{on}", texts.progressive,
                 "a JPEG output in several passes, or with =off in one (default: as a JPEG input)")
        ->option_text("[=off]");
    app.add_flag("--strip{metadata}", texts.strip,
                 "leaves out what the file says (EXIF, XMP, IPTC, texts) but colour profile and\n"
                 "resolution, with =all those too")
        ->option_text("[=all]");
    app.add_option("--page", texts.page,
                   "works on one of a file's pages or frames, from 1, and keeps the others as they are\n"
                   "(default: on all)")
        ->option_text("N");
    app.add_flag("--as-stored", line.asStored, "does not turn pictures upright; their orientation mark stays");
    app.add_flag("--reduce-depth", line.reduceDepth, "lets a file of 16 bits per sample be replaced by one of 8");
    app.add_flag("--allow-huge", line.allowHuge, "opens pictures beyond 32767 pixels an edge or 512 megapixels, too");
    app.add_flag("--quiet", line.quiet, "no progress bar and no notices");
}

static void AddApplyOptions(CLI::App &app, CommandLine &line, NumberTexts &texts)
{
    app.add_option("--mask", line.mask, "a picture of the same size that becomes the input's mask")
        ->option_text("FILE");
    app.add_option("--format", line.format, "of the output, whatever its name's ending: png, jpeg, tiff, ...")
        ->option_text("NAME");
    app.add_option("--mask-output", line.maskOutput, "where the mask goes after the run")->option_text("FILE");
    app.add_flag("--timing", line.timing, "tells how long reading, running and writing took");
    app.add_flag("--compare", line.compare, "OUTPUT shows the picture before and after, beside each other");
    app.add_flag("--json", line.json, "tells of the run on standard output, for programs");
    AddSharedOptions(app, line, texts);
}

static void AddBatchOptions(CLI::App &app, CommandLine &line, NumberTexts &texts)
{
    app.add_option("--output-folder", line.outputFolder,
                   "where the outputs go, each by its input's name; made where it is missing\n(required)")
        ->option_text("DIR");
    app.add_flag("--recursive", line.recursive, "folders' pictures with those of all folders in them, which are kept");
    app.add_option("--files-from", line.filesFrom, "inputs from a file, a name a line; - for standard input")
        ->option_text("FILE");
    app.add_option("--suffix", line.suffix, "put before the ending of every output's name")->option_text("TEXT");
    app.add_option("--format", line.format, "of all outputs: png, bmp, tiff, jpeg, gif, webp, pnm")
        ->option_text("NAME");
    app.add_flag("--skip-existing", line.skipExisting,
                 "leaves out whose output is there already, unless it is known to be of other\n"
                 "settings: to go on after an interrupt");
    app.add_flag("--no-clobber", line.noClobber, "an output that is there already is a fault");
    app.add_flag("--dry-run", line.dryRun, "only tells what would be done");
    app.add_option("--report", line.report, "a line of JSON for every picture; - for standard output")
        ->option_text("FILE");
    app.add_flag("--json", line.json, "the same as --report -");
    app.add_flag("--same-seed", line.sameSeed,
                 "the seed is every picture's; without this picture i, counted from 0, has N + i");
    app.add_option("--jobs", texts.jobs,
                   "how many pictures to work on at once (default: one per processor, as memory allows)")
        ->option_text("N");
    AddSharedOptions(app, line, texts);
}

// What the library cannot tell, for want of memory or of a thread, ends the command.
static const vlm_setting &SettingAt(const vlm_effect &effect, int index)
{
    const vlm_setting *setting = vlm_effect_setting(&effect, index);
    if (!setting) throw std::runtime_error(vlm_error_line());
    return *setting;
}

static void AddParameters(CLI::App &app, const vlm_effect &effect, CommandLine &line)
{
    for (int i = 0; i < effect.setting_count; ++i) {
        const vlm_setting &setting = SettingAt(effect, i);
        const std::string name = setting.name;
        app.add_option_function<std::string>("--" + name,
                                             [&line, name](const std::string &value) {
                                                 line.steps.back().parameters.push_back({name, value});
                                             })
            ->option_text(ValueText(setting))
            ->description(MeaningText(setting))
            ->group("Parameters");
    }
}

// What the library adds to an effect's own settings.
static void AddWord(CLI::App &app, CommandLine &line, const char *name, const char *meaning)
{
    app.add_option_function<std::string>(std::string("--") + name,
                                         [&line, name](const std::string &value) {
                                             line.steps.back().parameters.push_back({name, value});
                                         })
        ->option_text("WORD")
        ->description(meaning)
        ->group("Parameters");
}

static void AddEdges(CLI::App &app, CommandLine &line)
{
    AddWord(app, line, "edges",
            "how the picture goes on beyond its border, for textures: wrap, mirror or clamp\n"
            "(default: the effect's own way)");
}

static void AddFringe(CLI::App &app, CommandLine &line)
{
    AddWord(app, line, "fringe",
            "of a picture with alpha: clean, so that nothing hidden darkens the border of what\n"
            "is seen, or as-is (default: clean for the picture's own alpha, as-is for --mask\n"
            "and for objects)");
}

static bool TakesKernels(const vlm_effect &effect)
{
    for (int i = 0; i < effect.setting_count; ++i)
        if (SettingAt(effect, i).kind == VLM_KERNEL) return true;
    return false;
}

static const char kernelHint[] =
    "\"velmorant kernels\" lists the ready-made kernels.\n"
    "The kernel or its file is taken first, so that the other parameters override what it brings.\n\n";

// An effect's own part, once it has been named; null where steps come from a recipe or a preset. An option that is given
// twice counts the last time.
static void AddEffect(CLI::App &effect, const vlm_effect *record, CommandLine &line, NumberTexts &texts)
{
    const bool batch = effect.get_parent()->get_name() == "batch";
    effect.option_defaults()->take_last();
    effect.get_help_ptr()->group("");   // leaves the first place to the parameters
    if (record) AddParameters(effect, *record, line);
    if (record && record->takes_edges) AddEdges(effect, line);
    if (record && record->takes_fringe) AddFringe(effect, line);
    if (batch) AddBatchOptions(effect, line, texts);
    else AddApplyOptions(effect, line, texts);
    if (!batch && record && record->changes_size) effect.get_option("--mask")->group("");   // refused
    effect.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::Throw);
    if (batch) {
        effect
            .add_option_function<std::vector<std::string>>(
                "INPUT",
                [&line](const std::vector<std::string> &given) {
                    line.inputs.insert(line.inputs.end(), given.begin(), given.end());
                },
                "the pictures, or folders of them")
            ->option_text("FILE...")
            ->required(false);
    } else {
        const auto keep = [&texts](const std::string &file) { texts.files.push_back(file); };
        effect.add_option_function<std::string>("INPUT", keep, "the picture: a file, or - for standard input")
            ->option_text("FILE")
            ->required(!texts.several);
        effect
            .add_option_function<std::string>("OUTPUT", keep, "where the result goes: a file, or - for standard output")
            ->option_text("FILE")
            ->required(!texts.several);
    }
    const std::string name = record ? std::string(record->name) + " " : "";
    effect.footer((record && TakesKernels(*record) ? kernelHint : "") + std::string("Example:\n  velmorant ") +
                  effect.get_parent()->get_name() + " " + name +
                  (batch ? "--output-folder out *.png " : "in.png out.png ") +
                  (record ? record->example : "--recipe look.recipe"));
}

// Stands in an effect's place where steps come from a recipe or a preset.
static const char KEPT_STEPS[] = "recipe";

// What follows `velmorant apply` or `velmorant batch`, once that has been named: only then is the module asked.
static void AddEffects(CLI::App &command, CommandLine &line, NumberTexts &texts)
{
    const int count = vlm_effect_count();
    if (count == 0) throw std::runtime_error(vlm_error_line());
    for (int i = 0; i < count; ++i) {
        const vlm_effect &record = *vlm_effect_at(i);
        CLI::App &effect = *command.add_subcommand(record.name, record.summary)->group("Effects")->allow_extras();
        effect.preparse_callback(
            [&effect, &record, &line, &texts](size_t) { AddEffect(effect, &record, line, texts); });
    }
    CLI::App &kept = *command.add_subcommand(KEPT_STEPS, "applies steps that were kept")->group("")->allow_extras();
    kept.preparse_callback([&kept, &line, &texts](size_t) { AddEffect(kept, nullptr, line, texts); });
}

static const char rootFooter[] =
    "Examples:\n"
    "  velmorant effects                                   which effects there are\n"
    "  velmorant effects wave                              what the wave can be told\n"
    "  velmorant apply wave in.png out.png --amplitude 20\n"
    "  velmorant apply wave in.png out.png --then noise    one effect after the other\n"
    "  velmorant apply noise - - < in.ppm > out.ppm\n"
    "  velmorant batch noise --output-folder out *.jpg\n"
    "  velmorant kernels                                   ready-made kernels for filters\n"
    "\n"
    "Pictures are PNG, BMP, TIFF, JPEG, GIF, WebP and PNM files, and keep their type.\n"
    "\"velmorant apply wave --help\" tells of one effect; docs/command-line.md tells all.";

static const char checkFooter[] =
    "Levels, each with those below it:\n"
    "  1  the file: exports, loading, unloading, twice\n"
    "  2  menus, commands, the chooser\n"
    "  3  dialogs: controls, ranges, messages, images that come and go\n"
    "  4  runs: planes, progress, abort, threads, memory\n"
    "  5  undo and scopes: what a host may rely on\n"
    "  6  what a host may refuse: locks, threads, memory\n"
    "  7  messages at random\n"
    "  8  several pictures and threads at once\n"
    "  9  all of it again and again, for an hour\n"
    "  10 pixels against recorded ones, for any number of threads\n"
    "\n"
    "A host's folder holds its VLMAPI and VLMMISC and the program check_driver, which its writer makes.\n"
    "\n"
    "Exit code 0: nothing was found, 1: something was, 2: it cannot be checked. docs/checking.md tells more.\n"
    "\n"
    "Examples:\n"
    "  velmorant check VLMEFF.so\n"
    "  velmorant check VLMEFF.so --level 8 --effect noise --json found.json\n"
    "  velmorant check --host build/release/bin/minimal_host";

static const char applyFooter[] = "\"velmorant apply EFFECT --help\" tells an effect's parameters.\n"
                                  "\n"
                                  "--then goes on with another effect, in memory: a chain is read and written once.\n"
                                  "\n"
                                  "Examples:\n"
                                  "  velmorant apply wave in.png out.png --amplitude 20\n"
                                  "  velmorant apply wave in.png out.png --amplitude 20 --then noise --amount 5";

static const char batchFooter[] =
    "One bar shows all; a bad file is reported and the rest go on. Exit code 0: all done, 1: some failed.\n"
    "\"velmorant batch EFFECT --help\" tells an effect's parameters.\n"
    "\n"
    "Examples:\n"
    "  velmorant batch wave --output-folder out --amplitude 20 *.png\n"
    "  velmorant batch wave --output-folder out --amplitude 20 --then noise --amount 5 *.png";

static const char effectsFooter[] = "Examples:\n"
                                    "  velmorant effects\n"
                                    "  velmorant effects noise\n"
                                    "  velmorant effects --match blur\n"
                                    "  velmorant effects --json";

static const char kernelsFooter[] =
    "import FILE [NAME]   keeps a kernel under a name, from ImageMagick, GIMP or a grid; - is standard input\n"
    "export NAME FILE     writes one\n"
    "delete NAME          one of your own\n"
    "\n"
    "Examples:\n"
    "  velmorant kernels\n"
    "  velmorant kernels \"Gaussian 5 by 5\"\n"
    "  velmorant kernels import sharp.txt\n"
    "  velmorant apply filters in.png out.png --kernel \"Gaussian 5 by 5\"";

static const char completionFooter[] = "Examples:\n"
                                       "  source <(velmorant completion bash)\n"
                                       "  velmorant completion fish | source";

static const char manualFooter[] = "Examples:\n"
                                   "  velmorant manual | man -l -\n"
                                   "  velmorant manual apply > velmorant-apply.1";

static const char sheetFooter[] =
    "velmorant sheet INPUT OUTPUT                   all effects, on a copy of at most 640 pixels\n"
    "velmorant sheet --presets INPUT OUTPUT         all presets\n"
    "velmorant sheet EFFECT INPUT OUTPUT --PARAMETER VALUES\n"
    "  VALUES are 5..50, or 5,10,20, or all of a choice's words; other parameters as with apply\n"
    "velmorant sheet EFFECT INPUT --frames NAME-%03d.png --PARAMETER VALUES\n"
    "\n"
    "--columns N    pictures beside each other\n"
    "--width N      of the sheet, pixels, 200..10000 (default 1600)\n"
    "--count N      pictures of 5..50 (default 12, with --frames 24)\n"
    "--seed N       of all pictures (default 1)\n"
    "--frames FILE  a file for each picture, in full size: its name has %d or %03d for the number;\n"
    "               or all in one: out.gif, out.webp. Frames of an animated input take turns\n"
    "--delay N      of an animation's frames, milliseconds (default: the input's, else 80)\n"
    "--page N       of the input, from 1 (default 1; with --frames all)\n"
    "--quality N, --allow-huge, --quiet  as with apply\n"
    "\n"
    "Examples:\n"
    "  velmorant sheet in.png sheet.png\n"
    "  velmorant sheet wave in.png sheet.png --amplitude 5..50 --columns 4";

static const char recipeFooter[] =
    "A recipe is a text file of steps, one a line, in the words of the command line:\n"
    "  velmorant recipe 1\n"
    "  # an old print\n"
    "  noise --amount 40 --variation 25\n"
    "  wave --amplitude 5 --background '#202830'\n"
    "\n"
    "The first line names the format. A # where a word would begin starts a comment, so a\n"
    "colour stands in quotes; words are split as a shell splits them. What is left out has\n"
    "its default. No files are named: pictures, masks and objects are given when it is run.\n"
    "\n"
    "Examples:\n"
    "  velmorant apply --recipe look.recipe in.png out.png\n"
    "  velmorant recipe show look.recipe\n"
    "  velmorant recipe check look.recipe";

static const char presetsFooter[] = "EFFECT                             lists those of one effect\n"
                                    "show NAME                          prints one as a recipe\n"
                                    "save NAME EFFECT [--PARAMETER VALUE]...\n"
                                    "rename NAME NEW-NAME\n"
                                    "delete NAME\n"
                                    "import FILE [NAME]                 keeps a recipe of one step\n"
                                    "export NAME FILE                   writes one as a recipe\n"
                                    "\n"
                                    "Examples:\n"
                                    "  velmorant presets\n"
                                    "  velmorant presets save storm wave --amplitude 30\n"
                                    "  velmorant apply in.png out.png --preset storm";

// A flag that may have a value shows it as it is written: "--strip[=all]", without what it counts as where it has none.
struct HelpFormatter : CLI::Formatter {
    std::string make_option_name(const CLI::Option *option, bool positional) const override
    {
        const std::string name = CLI::Formatter::make_option_name(option, positional);
        return name.substr(0, name.find('{'));
    }
    std::string make_option_opts(const CLI::Option *option) const override
    {
        const std::string value = option->get_option_text();
        return value.starts_with("[=") ? value : CLI::Formatter::make_option_opts(option);
    }
};

// The usage line shows what follows the command.
static void SetUpEffectCommand(CLI::App &command, const char *usage, const char *footer)
{
    command.footer(footer)->group("Commands")->require_subcommand(1);
    const auto formatter = std::make_shared<HelpFormatter>(dynamic_cast<HelpFormatter &>(*command.get_formatter()));
    formatter->label("SUBCOMMAND", usage);
    command.formatter(formatter);
}

static std::string VersionText()
{
    return std::string("velmorant ") + vlm_version_text() + "\n" + vlm_build_text() + ", CLI11 " + CLI11_VERSION;
}

static void SetUp(CLI::App &app, CommandLine &line, NumberTexts &texts)
{
    app.name("velmorant")->description("Applies picture effects to files.");
    app.set_help_flag("-h,--help", "show this help");
    app.set_version_flag("-V,--version", VersionText())->description("show version, commit and libraries");
    app.allow_windows_style_options(false)->allow_extras()->require_subcommand(1);
    app.formatter(std::make_shared<HelpFormatter>());
    app.get_formatter()->column_width(28);
    app.get_formatter()->label("Positionals", "Arguments");
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.footer(rootFooter);

    CLI::App &apply = *app.add_subcommand("apply", "applies an effect to one picture");
    SetUpEffectCommand(apply, "EFFECT INPUT OUTPUT", applyFooter);
    AddApplyOptions(apply, line, texts);
    apply.preparse_callback([&](size_t) { AddEffects(apply, line, texts); });

    CLI::App &batch = *app.add_subcommand("batch", "applies an effect to many pictures");
    SetUpEffectCommand(batch, "EFFECT INPUT...", batchFooter);
    AddBatchOptions(batch, line, texts);
    batch.preparse_callback([&](size_t) { AddEffects(batch, line, texts); });

    CLI::App &sheet = *app.add_subcommand("sheet", "shows effects, or values of a setting, beside each other");
    sheet.prefix_command()->footer(sheetFooter)->group("Commands");

    CLI::App &effects = *app.add_subcommand("effects", "lists the effects, or tells one effect's parameters");
    effects.add_option("EFFECT", line.effect, "the effect to tell of; without one all are listed")->option_text(" ");
    CLI::Option *json = effects.add_flag("--json", line.json, "for programs");
    effects.add_flag("--markdown", line.markdown, "as a page with a picture of each effect")->excludes(json);
    effects.add_option("--match", line.match, "those that a word leads to, as blur, pixelate or grain")
        ->option_text("WORD");
    effects.footer(effectsFooter)->group("Commands");

    CLI::App &kernels = *app.add_subcommand("kernels", "lists the kernels of filters, shows one, keeps your own");
    kernels.add_option("NAME", line.words, "the kernel to show, or what to do; without one all are listed")
        ->option_text("[NAME]");
    kernels.add_flag("--json", line.json, "for programs");
    kernels.add_flag("--replace", line.replace, "import: over one of that name, too");
    kernels.add_option("--as", line.format, "export: as velmorant, grid, imagemagick or gimp (default: velmorant)")
        ->option_text("WORD");
    kernels.footer(kernelsFooter)->group("Commands");

    CLI::App &recipe = *app.add_subcommand("recipe", "shows or checks a recipe: steps in a file");
    recipe.add_option("ACTION", line.action, "show prints it with all settings, check tells what is wrong with it")
        ->option_text("show|check");
    recipe.add_option("FILE", line.words, "the recipe, or - for standard input")->option_text("FILE");
    recipe.add_flag("--json", line.json, "for programs");
    recipe.footer(recipeFooter)->group("Commands");

    CLI::App &presets = *app.add_subcommand("presets", "lists and keeps presets: an effect's settings under a name");
    presets.add_flag("--json", line.json, "for programs");
    presets.add_flag("--replace", line.replace, "save and import: over a preset of that name, too");
    presets.add_option("--summary", line.summary, "save: what it is for, one line")->option_text("TEXT");
    presets.prefix_command()->footer(presetsFooter)->group("Commands");

    CLI::App &check = *app.add_subcommand("check", "finds out what is wrong with a module of effects, or with a host");
    check.add_option("MODULE", line.module, "the module's file")->option_text("MODULE");
    CLI::Option *host =
        check.add_option("--host", line.hostFolder, "checks a host instead: the folder of its libraries");
    host->option_text("FOLDER");
    check.add_option("--level", texts.level, "how much is checked, 1..10 (default 5)")->option_text("N");
    check.add_option("--effect", line.checkedEffect, "only this one of its effects, by its label or its word")
        ->option_text("NAME");
    check.add_option("--only", line.onlyCheck, "only one check, by the name that a finding tells")
        ->option_text("CHECK");
    check.add_option("--seed", texts.checkSeed, "of pictures, settings and messages (default 1)")->option_text("N");
    check.add_option("--minutes", texts.minutes, "how long level 9 takes, 1..600 (default 60)")->option_text("N");
    check.add_option("--json", line.jsonFile, "also writes what is found for programs; - is standard output")
        ->option_text("FILE");
    CLI::Option *golden = check.add_option("--golden", line.golden, "level 10: numbers of pictures to compare with");
    golden->option_text("FILE");
    check.add_option("--record", line.record, "level 10: records them instead")->option_text("FILE")->excludes(golden);
    check.footer(checkFooter)->group("Commands");

    CLI::App &completion = *app.add_subcommand("completion", "prints what a shell completes the command line with");
    completion.add_option("SHELL", line.words, "bash, zsh or fish")->option_text("bash|zsh|fish");
    completion.footer(completionFooter)->group("Commands");
    CLI::App &manual = *app.add_subcommand("manual", "prints a page for man, of all or of one command");
    manual.add_option("COMMAND", line.words, "the command to tell of; without one all are told")
        ->option_text("[COMMAND]");
    manual.footer(manualFooter)->group("Commands");
    app.add_subcommand("help", "tells of a command, as --help does")->group("Commands");
}

//---- Complaints

// The commands that were named, outermost first.
static std::vector<const CLI::App *> NamedCommands(const CLI::App &app)
{
    std::vector<const CLI::App *> named = {&app};
    while (!named.back()->get_subcommands().empty()) named.push_back(named.back()->get_subcommands()[0]);
    return named;
}

static std::string CommandText(const CLI::App &app)
{
    std::string text;
    for (const CLI::App *command : NamedCommands(app)) text += (text.empty() ? "" : " ") + command->get_name();
    return text;
}

static int UsageError(const CLI::App &app, const std::string &subject, const std::string &text)
{
    Report(subject, text + " (" + CommandText(app) + " --help tells more)");
    return EXIT_USAGE;
}

static std::vector<std::string> OptionNames(const CLI::App &app)
{
    std::vector<std::string> names;
    for (const CLI::Option *option : app.get_options()) {
        for (const std::string &name : option->get_lnames()) names.push_back("--" + name);
    }
    return names;
}

// Behind the name itself, as the library tells it.
static std::string FaultOfEffect(const std::string &name)
{
    if (vlm_effect_named(name.c_str())) return "no such effect";
    const std::string line = vlm_error_line();
    return line.substr(std::min(line.find(": "), line.size() - 2) + 2);
}

static int UnknownOption(const CLI::App &app, const CLI::App &command, const std::string &given)
{
    const std::string option = given.substr(0, given.find('='));
    const bool early = TakesEffect(command.get_name());
    return UsageError(app, option,
                      early ? "not an option here; an effect's parameters follow its name"
                            : "no such option" + Suggestion(option, OptionNames(command)));
}

static bool TakesWordsOfItsOwn(const std::string &command) { return command == "presets" || command == "sheet"; }

// What CLI11 left over, of the innermost command that has any. EXIT_DONE when there is nothing to complain of.
static int ComplainOfExtras(const CLI::App &app)
{
    for (const CLI::App *command : NamedCommands(app)) {
        if (TakesWordsOfItsOwn(command->get_name())) continue;   // words of its own
        std::vector<std::string> extras = command->remaining();
        const auto mark = std::find(extras.begin(), extras.end(), "--");   // which CLI11 leaves over too
        for (auto extra = extras.begin(); extra != mark; ++extra) {
            if (extra->size() > 1 && (*extra)[0] == '-') return UnknownOption(app, *command, *extra);
        }
        if (mark != extras.end()) extras.erase(mark);
        if (extras.empty()) continue;
        if (command == &app) {
            return UsageError(app, extras[0],
                              "no such command" +
                                  Suggestion(extras[0], {"effects", "kernels", "apply", "batch", "recipe", "presets",
                                                         "sheet", "check", "completion", "manual", "help"}));
        }
        if (TakesEffect(command->get_name())) { return UsageError(app, extras[0], FaultOfEffect(extras[0])); }
        return UsageError(app, extras[0], "one argument too many");
    }
    return EXIT_DONE;
}

// The option that the effect calls so, where it was given.
static const GivenParameter *GivenOfKind(const GivenStep &step, const vlm_effect *effect, vlm_kind kind)
{
    for (const GivenParameter &given : step.parameters) {
        const vlm_setting *setting = vlm_effect_setting_named(effect, given.name.c_str());
        if (setting && setting->kind == kind && setting->brings_others) return &given;
    }
    return nullptr;
}

static int ComplainOfTwoKernels(const CLI::App &app, const GivenStep &step)
{
    const vlm_effect *effect =
        step.parameters.empty() ? nullptr : vlm_effect_named(NamedCommands(app).back()->get_name().c_str());
    const GivenParameter *kernel = effect ? GivenOfKind(step, effect, VLM_KERNEL) : nullptr;
    const GivenParameter *file = effect ? GivenOfKind(step, effect, VLM_FILE) : nullptr;
    if (!kernel || !file) return EXIT_DONE;
    return UsageError(app, "--" + file->name, "brings a kernel, and so does --" + kernel->name + "; give one of them");
}

static int ComplainOfMissing(const CLI::App &app, const CommandLine &line)
{
    const std::vector<const CLI::App *> named = NamedCommands(app);
    if (named.size() == 1)
        return UsageError(app, "a command is missing",
                          "effects, kernels, apply, batch, recipe, presets, sheet or check");
    const std::string command = named[1]->get_name();
    if (TakesEffect(command) && named.size() == 2) {
        if (line.steps.size() > 1) return UsageError(app, "--then", "an effect is missing, as in --then wave");
        return UsageError(app, command, "an effect is missing, as in velmorant " + command + " wave");
    }
    return TakesEffect(command) ? ComplainOfTwoKernels(app, line.steps.back()) : EXIT_DONE;
}

// What is asked of level 10 and would not be made by the others is no success.
static int ComplainOfModuleCheck(const CLI::App &app, const CommandLine &line, const NumberTexts &texts)
{
    if (line.module.empty()) return UsageError(app, "MODULE", "is missing");
    const bool wanted = !line.golden.empty() || !line.record.empty();
    const bool made = line.onlyCheck.empty() ? texts.level == "10" : line.onlyCheck.starts_with("10");
    if (wanted && !made)
        return UsageError(app, line.golden.empty() ? "--record" : "--golden",
                          "is of level 10, and goes with --level 10, or with --only 10 for that alone");
    return EXIT_DONE;
}

// A host has no levels and no effects.
static int ComplainOfCheck(const CLI::App &app, const CommandLine &line, const NumberTexts &texts)
{
    if (line.hostFolder.empty()) return ComplainOfModuleCheck(app, line, texts);
    if (!line.module.empty()) return UsageError(app, line.module, "with --host there is no module");
    const std::pair<const char *, const std::string &> others[] = {
        {"--level", texts.level},     {"--effect", line.checkedEffect}, {"--seed", texts.checkSeed},
        {"--minutes", texts.minutes}, {"--golden", line.golden},        {"--record", line.record}};
    for (const auto &[option, text] : others)
        if (!text.empty()) return UsageError(app, option, "is of modules, and goes without --host");
    return EXIT_DONE;
}

// What may stand with any step.
static int ComplainOfMissingFiles(const CLI::App &app, const CommandLine &line, const NumberTexts &texts)
{
    if (line.command == Command::BATCH) {
        if (line.outputFolder.empty()) return UsageError(app, "--output-folder", "is missing");
        return line.inputs.empty() && line.filesFrom.empty() ? UsageError(app, "INPUT", "is missing") : EXIT_DONE;
    }
    if (line.command == Command::CHECK) return ComplainOfCheck(app, line, texts);
    if (line.command != Command::APPLY) return EXIT_DONE;
    if (texts.files.size() > 2) return UsageError(app, texts.files[2], "one argument too many");
    if (texts.files.size() == 2) return EXIT_DONE;
    return UsageError(app, texts.files.empty() ? "INPUT" : "OUTPUT", "is missing");
}

static int ComplainOfMaskFile(const CLI::App &app, const CommandLine &line)
{
    if (line.mask.empty()) return EXIT_DONE;
    for (const GivenStep &step : line.steps) {
        const vlm_effect *effect = vlm_effect_named(step.effect.c_str());
        if (!effect || !effect->changes_size) continue;
        return UsageError(app, "--mask",
                          effect->name + std::string(" takes no mask from a file: the input's own alpha "
                                                     "goes along with the picture"));
    }
    return EXIT_DONE;
}

// Without the module there are no effects to name.
static int ComplainOfModule(const CLI::App &app)
{
    const std::vector<const CLI::App *> named = NamedCommands(app);
    if (named.size() < 2 || !TakesEffect(named[1]->get_name()) || vlm_effect_count() > 0) return EXIT_DONE;
    ReportLine(vlm_error_line());
    return EXIT_FAILED;
}

static int Complain(const CLI::App &app, const CommandLine &line, const CLI::ParseError &error)
{
    int exitCode = ComplainOfModule(app);
    if (exitCode == EXIT_DONE) exitCode = ComplainOfExtras(app);
    if (exitCode == EXIT_DONE) exitCode = ComplainOfMissing(app, line);
    if (exitCode != EXIT_DONE) return exitCode;
    const std::string text = error.what(), subject = text.substr(0, text.find_first_of(": "));
    if (error.get_name() == "RequiredError") return UsageError(app, subject, "is missing");
    if (error.get_name() == "ArgumentMismatch") return UsageError(app, subject, "needs a value");
    return UsageError(app, CommandText(app), text);
}

static bool ReadNumber(const char *option, const std::string &text, int64_t low, int64_t high, int64_t &number)
{
    if (text.empty()) return true;
    const bool digits = text.size() <= 10 && text.find_first_not_of("0123456789") == std::string::npos;
    const int64_t value = digits ? std::stoll(text) : -1;
    if (value < low || value > high) {
        Report(option, "'" + text + "' is not a whole number of " + std::to_string(low) + ".." + std::to_string(high));
        return false;
    }
    number = value;
    return true;
}

// Words that have a number of their own. False, after a line, where the text is none of them.
static bool ReadWord(const char *option, const std::string &text, const std::vector<std::pair<std::string, int>> &words,
                     int &number)
{
    if (text.empty()) return true;
    std::string list;
    for (const auto &[word, value] : words) {
        if (word == text) {
            number = value;
            return true;
        }
        list += (list.empty() ? "" : ", ") + word;
    }
    Report(option, "'" + text + "' is none of " + list);
    return false;
}

static bool ReadFileWords(const NumberTexts &texts, CommandLine &line)
{
    const bool pictures = line.command == Command::APPLY || line.command == Command::BATCH;
    if (pictures && !line.format.empty() && !vlm_format_named(line.format.c_str())) {
        Report("--format", vlm_error_line());
        return false;
    }
    return ReadWord("--strip", texts.strip, {{"metadata", 1}, {"all", 2}}, line.strip) &&
           ReadWord("--progressive", texts.progressive, {{"on", 1}, {"off", -1}}, line.progressive) &&
           ReadWord("--subsampling", texts.subsampling,
                    {{"444", 444}, {"440", 440}, {"422", 422}, {"420", 420}, {"411", 411}}, line.subsampling);
}

static bool ReadNumbers(const NumberTexts &texts, CommandLine &line)
{
    int64_t quality = line.quality, compression = line.compression, page = line.page;
    int64_t level = line.level, checkSeed = line.checkSeed, minutes = line.minutes;
    int64_t jobs = std::clamp<int64_t>(std::thread::hardware_concurrency(), 1, MAX_JOBS), threads = 0;
    const char *environment = getenv("VELMORANT_THREADS");
    const std::string wished = environment ? environment : "";
    if (!ReadNumber("--quality", texts.quality, 1, 100, quality)) return false;
    if (!ReadNumber("--compression", texts.compression, 1, 9, compression)) return false;
    if (!ReadNumber("--jobs", texts.jobs, 1, MAX_JOBS, jobs)) return false;
    if (!ReadNumber("VELMORANT_THREADS", wished, 1, MAX_THREADS, threads)) return false;
    if (!ReadNumber("--threads", texts.threads, 1, MAX_THREADS, threads)) return false;
    if (!ReadNumber("--page", texts.page, 1, 1'000'000, page)) return false;
    if (!ReadNumber("--level", texts.level, 1, 10, level)) return false;
    if (!ReadNumber("--seed", texts.checkSeed, 0, UINT32_MAX, checkSeed)) return false;
    if (!ReadNumber("--minutes", texts.minutes, 1, 600, minutes)) return false;
    line.level = int(level);
    line.checkSeed = uint32_t(checkSeed);
    line.minutes = int(minutes);
    line.threads = int(threads);
    line.quality = int(quality);
    line.compression = int(compression);
    line.page = int(page);
    line.jobs = int(jobs);
    line.jobsGiven = !texts.jobs.empty();
    return true;
}

static bool ReadPlace(const std::string &text, int32_t &x, int32_t &y)
{
    const char *const end = text.data() + text.size();
    const std::from_chars_result first = std::from_chars(text.data(), end, x);
    if (first.ec != std::errc() || first.ptr == end || *first.ptr != ',') return false;
    const std::from_chars_result second = std::from_chars(first.ptr + 1, end, y);
    return second.ec == std::errc() && second.ptr == end;
}

// A file's name may hold an @ itself: the last one counts.
static bool ReadObject(const std::string &text, NamedObject &object)
{
    const size_t at = text.rfind('@');
    if (at == std::string::npos || at == 0) return false;
    object.file = text.substr(0, at);
    return ReadPlace(text.substr(at + 1), object.x, object.y);
}

// What belongs to one step.
static bool ReadStep(const NumberTexts &texts, GivenStep &step)
{
    int64_t seed = 0;
    if (!ReadNumber("--seed", texts.seed, 0, UINT32_MAX, seed)) return false;
    if (!texts.seed.empty()) step.seed = uint32_t(seed);
    step.area = texts.area;
    for (const std::string &text : texts.objects) {
        NamedObject object;
        if (!ReadObject(text, object)) {
            Report("--object", "'" + text + "' is not a picture with its place as FILE@X,Y");
            return false;
        }
        step.objects.push_back(std::move(object));
    }
    return true;
}

//---- Help

static int PrintHelp(const CLI::App &app)
{
    const int exitCode = ComplainOfModule(app);
    if (exitCode == EXIT_DONE) fputs(app.help().c_str(), stdout);
    return exitCode;
}

//---- Reading

static void NoteCommand(const CLI::App &app, CommandLine &line)
{
    const std::vector<const CLI::App *> named = NamedCommands(app);
    if (named.size() < 2) return;
    const std::string command = named[1]->get_name();
    if (command == "kernels") line.command = Command::KERNELS;
    else if (command == "apply") line.command = Command::APPLY;
    else if (command == "batch") line.command = Command::BATCH;
    else if (command == "recipe") line.command = Command::RECIPE;
    else if (command == "check") line.command = Command::CHECK;
    else if (command == "completion") line.command = Command::COMPLETION;
    else if (command == "manual") line.command = Command::MANUAL;
    else if (TakesWordsOfItsOwn(command)) {
        line.command = command == "sheet" ? Command::SHEET : Command::PRESETS;
        line.words = named[1]->remaining();
    }
    if (named.size() > 2) line.steps.back().effect = named[2]->get_name();
}

static int Parse(CLI::App &app, const CommandLine &line, const std::vector<const char *> &words)
{
    try {
        app.parse(int(words.size()), words.data());
    } catch (const CLI::CallForHelp &) {
        return PrintHelp(app);
    } catch (const CLI::CallForVersion &version) {
        printf("%s\n", version.what());
        return EXIT_DONE;
    } catch (const CLI::ParseError &error) {
        return Complain(app, line, error);
    }
    return -1;
}

static bool IsEffect(const std::string &word)
{
    for (int i = 0; i < vlm_effect_count(); ++i)
        if (word == vlm_effect_at(i)->name) return true;
    return false;
}

static const std::initializer_list<const char *> FLAGS = {
    "--quiet",     "--allow-huge",    "--same-seed",  "--json",   "--compare", "--timing", "--scale-to-picture",
    "--recursive", "--skip-existing", "--no-clobber", "--dry-run"};

static bool TakesWord(const std::string &word)
{
    return word.starts_with("--") && word.find('=') == std::string::npos &&
           std::none_of(FLAGS.begin(), FLAGS.end(), [&word](const char *flag) { return word == flag; });
}

// Where steps come from a recipe or a preset and no effect is named, the word that stands in its place is put in.
static void StandInForEffect(std::vector<const char *> &words)
{
    bool kept = false;
    std::string first;   // that is no option and no option's value
    for (size_t i = 2; i < words.size() && strcmp(words[i], "--") != 0; ++i) {
        const std::string word = words[i], name = word.substr(0, word.find('='));
        kept = kept || name == "--recipe" || name == "--preset";
        if (first.empty() && !word.starts_with("--")) first = word;
        if (TakesWord(word)) ++i;
    }
    if (kept && !IsEffect(first)) words.insert(words.begin() + 2, KEPT_STEPS);
}

// A step's words behind the program's name and the command. After -- all are files.
static std::vector<std::vector<const char *>> SplitAtThen(int argc, char **argv)
{
    std::vector<std::vector<const char *>> steps(1, {argv, argv + std::min(argc, 2)});
    const bool takesSteps = argc > 1 && TakesEffect(argv[1]);
    bool files = !takesSteps;
    for (int i = 2; i < argc; ++i) {
        const std::string word = argv[i];
        files = files || word == "--";
        if (!files && word == "--then") steps.push_back({argv[0], argv[1]});
        else steps.back().push_back(argv[i]);
    }
    if (takesSteps)
        for (std::vector<const char *> &words : steps) StandInForEffect(words);
    return steps;
}

// Puts the steps of a recipe or a preset in the place of the line's last. EXIT_DONE, or the exit code after a line.
static int TakeKeptSteps(const CLI::App &app, const NumberTexts &texts, CommandLine &line)
{
    const std::string effect = line.steps.back().effect;
    if (!TakesEffect(NamedCommands(app)[1]->get_name())) return EXIT_DONE;
    if (!texts.recipe.empty() && !texts.preset.empty()) return UsageError(app, "--preset", "so is --recipe; give one");
    if (!texts.recipe.empty() && effect != KEPT_STEPS) {
        return UsageError(app, "--recipe", "stands in an effect's place; --then " + effect + " goes on behind it");
    }
    const bool known = !texts.recipe.empty() || !texts.preset.empty();
    if (!known && effect == KEPT_STEPS) return UsageError(app, effect, "--recipe FILE or --preset NAME is missing");
    if (!texts.recipe.empty()) return TakeRecipe(texts.recipe, line);
    return known ? TakePreset(texts.preset, effect == KEPT_STEPS ? "" : effect, line) : EXIT_DONE;
}

// One step into the last of the line's. False when there is nothing left to do; then `exitCode` is set.
static bool ReadWords(CLI::App &app, const std::vector<const char *> &words, CommandLine &line, NumberTexts &texts,
                      int &exitCode)
{
    line.steps.emplace_back();
    texts.seed.clear();
    texts.area.clear();
    texts.recipe.clear();
    texts.preset.clear();
    texts.objects.clear();
    SetUp(app, line, texts);
    exitCode = Parse(app, line, words);
    if (exitCode >= 0) return false;
    exitCode = ComplainOfModule(app);
    if (exitCode == EXIT_DONE) exitCode = ComplainOfExtras(app);
    if (exitCode == EXIT_DONE) exitCode = ComplainOfMissing(app, line);
    if (exitCode == EXIT_DONE && !ReadStep(texts, line.steps.back())) exitCode = EXIT_FAILED;
    NoteCommand(app, line);
    if (exitCode == EXIT_DONE) exitCode = TakeKeptSteps(app, texts, line);
    return exitCode == EXIT_DONE;
}

// "help apply wave" is "apply wave --help".
static std::vector<char *> WithoutHelp(int argc, char **argv)
{
    std::vector<char *> words(argv, argv + argc);
    if (argc < 2 || strcmp(argv[1], "help") != 0) return words;
    static char option[] = "--help";
    words.erase(words.begin() + 1);
    const std::vector<std::string> commands =
        CommandNames();   // what is none is complained of as it would be elsewhere
    const bool known =
        argc < 3 || argv[2][0] == '-' || std::find(commands.begin(), commands.end(), argv[2]) != commands.end();
    if (known) words.push_back(option);
    return words;
}

bool ReadCommandLine(int given, char **givenWords, CommandLine &line, int &exitCode)
{
    if (given > 1 && strcmp(givenWords[1], "complete") == 0) {   // others' words, whatever they are
        line.command = Command::COMPLETE;
        line.words.assign(givenWords + 2, givenWords + given);
        if (!line.words.empty() && line.words[0] == "--") line.words.erase(line.words.begin());
        return true;
    }
    std::vector<char *> asked = WithoutHelp(given, givenWords);
    const int argc = int(asked.size());
    char **argv = asked.data();
    const std::vector<std::vector<const char *>> steps = SplitAtThen(argc, argv);
    CLI::App first;
    NumberTexts texts;
    texts.several = steps.size() > 1;
    if (!ReadWords(first, steps[0], line, texts, exitCode)) return false;
    for (size_t i = 1; i < steps.size(); ++i) {
        CLI::App app;
        if (!ReadWords(app, steps[i], line, texts, exitCode)) return false;
    }
    if (line.command == Command::BATCH && line.json && line.report.empty()) line.report = "-";
    exitCode = ComplainOfMissingFiles(first, line, texts);
    if (exitCode == EXIT_DONE) exitCode = ComplainOfMaskFile(first, line);
    const bool checks = line.command == Command::CHECK;   // whose 1 is something else
    if (exitCode == EXIT_DONE && !(ReadNumbers(texts, line) && ReadFileWords(texts, line)))
        exitCode = checks ? EXIT_USAGE : EXIT_FAILED;
    if (exitCode == EXIT_DONE && line.command == Command::APPLY) {
        line.input = texts.files[0];
        line.output = texts.files[1];
    }
    return exitCode == EXIT_DONE;
}

//---- Lists

// A tree of commands of its own, whose values nobody asks for.
struct Listing {
    CLI::App app;
    CommandLine line;
    NumberTexts texts;
    Listing()
    {
        line.steps.emplace_back();
        SetUp(app, line, texts);
    }
};

static bool IsListed(const CLI::App &command) { return command.get_group() == "Commands"; }

std::vector<std::string> CommandNames()
{
    Listing listing;
    std::vector<std::string> names;
    for (const CLI::App *command : listing.app.get_subcommands([](CLI::App *) { return true; }))
        if (IsListed(*command)) names.push_back(command->get_name());
    return names;
}

std::string MeaningOf(const std::string &command)
{
    Listing listing;
    return listing.app.get_subcommand(command)->get_description();
}

std::string NotesOf(const std::string &command)
{
    Listing listing;
    return listing.app.get_subcommand(command)->get_footer();
}

std::string UsageOf(const std::string &command)
{
    if (command == "apply") return "EFFECT INPUT OUTPUT [--PARAMETER VALUE]... [--then EFFECT ...]...";
    if (command == "batch") return "EFFECT --output-folder DIR INPUT... [--PARAMETER VALUE]...";
    if (command == "sheet") return "[EFFECT] INPUT OUTPUT [--PARAMETER VALUES]";
    if (command == "recipe") return "show|check FILE";
    if (command == "presets") return "[EFFECT | show|save|rename|delete|import|export ...]";
    if (command == "check") return "MODULE [--level N] [--effect NAME] [--json FILE] | --host FOLDER";
    if (command == "completion") return "bash|zsh|fish";
    if (command == "effects") return "[EFFECT]";
    if (command == "kernels") return "[NAME | import FILE [NAME] | export NAME FILE | delete NAME]";
    return command == "help" || command == "manual" ? "[COMMAND]" : "";
}

std::vector<ListedOption> OptionsOf(const std::vector<std::string> &commands)
{
    Listing listing;
    CLI::App *app = &listing.app;
    for (const std::string &name : commands) {
        if (TakesEffect(app->get_name()) && vlm_effect_named(name.c_str())) {
            CLI::App &effect = *app->add_subcommand(name, "");
            AddEffect(effect, vlm_effect_named(name.c_str()), listing.line, listing.texts);
            app = &effect;
            continue;
        }
        const auto all = app->get_subcommands([&name](CLI::App *command) { return command->get_name() == name; });
        if (all.empty()) return {};
        app = all[0];
    }
    std::vector<ListedOption> options;
    for (const CLI::Option *option : app->get_options()) {
        if (option->get_lnames().empty()) continue;
        const std::string value = option->get_option_text();
        const bool apart = !value.empty() && !value.starts_with("[=");
        options.push_back({"--" + option->get_lnames()[0] + (apart ? " " : "") + value, option->get_description()});
    }
    return options;
}

std::vector<std::string> OptionNamesOf(const std::vector<std::string> &commands)
{
    std::vector<std::string> names;
    for (const ListedOption &option : OptionsOf(commands))
        names.push_back(option.usage.substr(0, option.usage.find_first_of(" [")));
    return names;
}
