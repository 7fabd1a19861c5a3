// See options.h and option_list.h: which words there are. Every effect is a subcommand of `apply` and of `batch`, so that its
// help and what is complained of know its own parameters. How words are read is in command_line.cpp.

#include "host/cli/options.h"
#include "host/cli/help_notes.h"
#include "host/cli/option_list.h"
#include "host/cli/setting_text.h"
#include "host/library/velmorant.h"

#include <CLI/CLI.hpp>

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

void SetUp(CLI::App &app, CommandLine &line, NumberTexts &texts)
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
