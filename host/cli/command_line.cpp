// See command_line.h: how words are read, with CLI11, and complained of. What --then begins is read as if it stood alone
// behind the command's name. Which words there are is in options.cpp.

#include "host/cli/command_line.h"
#include "host/acting/suggestion.h"
#include "host/cli/given_steps.h"
#include "host/cli/option_list.h"
#include "host/cli/option_values.h"
#include "host/cli/options.h"
#include "host/cli/report.h"
#include "host/library/velmorant.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstring>

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
