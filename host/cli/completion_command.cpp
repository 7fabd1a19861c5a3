// `velmorant completion` prints what a shell needs to complete the command line, and `velmorant complete` answers it: what
// may stand at the last of the words, from the same lists as the program itself. `velmorant manual` prints the same as a
// page for man. Files are the shell's own to complete.

#include "host/cli/commands.h"
#include "host/cli/option_list.h"
#include "host/cli/report.h"
#include "host/cli/setting_text.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

typedef std::vector<std::string> Words;

//---- Candidates

static Words EffectNames()
{
    Words names;
    for (int i = 0; i < vlm_effect_count(); ++i) names.push_back(vlm_effect_at(i)->name);
    return names;
}

enum class Presets { ALL, OWN };

static Words PresetNames(const std::string &effect, Presets which = Presets::ALL)
{
    Words names;
    vlm_presets *presets = nullptr;
    if (vlm_presets_read(&presets) != VLM_OK) return names;
    for (int i = 0; i < vlm_presets_count(presets); ++i) {
        const vlm_preset &preset = *vlm_presets_at(presets, i);
        const bool wanted = which == Presets::ALL || !preset.shipped;
        if (wanted && (effect.empty() || effect == preset.effect)) names.push_back(preset.name);
    }
    vlm_presets_free(presets);
    return names;
}

static Words KernelNames(bool own = false)
{
    Words names;
    for (int i = 0; i < vlm_kernel_count(); ++i)
        if (!own || vlm_kernel_at(i)->id == 0) names.push_back(vlm_kernel_at(i)->name);
    return names;
}

static Words FormatNames()
{
    Words names;
    for (int i = 0; i < vlm_format_count(); ++i) names.push_back(vlm_format_at(i)->name);
    return names;
}

static Words ValuesOf(const vlm_setting &setting)
{
    if (setting.kind == VLM_SWITCH) return {"on", "off"};
    if (setting.kind == VLM_KERNEL) return KernelNames();
    Words words;
    for (int i = 0; i < setting.choice_count; ++i) words.push_back(vlm_setting_choice(&setting, i)->word);
    return words;
}

// What may follow an option; empty where that is free or a file.
static Words ValuesOf(const vlm_effect *effect, const std::string &option)
{
    if (option == "--preset") return PresetNames(effect ? effect->name : "");
    if (option == "--format") return FormatNames();
    if (option == "--subsampling") return {"444", "440", "422", "420", "411"};
    if (option == "--edges") return {"wrap", "mirror", "clamp"};
    if (option == "--fringe") return {"clean", "as-is"};
    const vlm_setting *setting = effect ? vlm_effect_setting_named(effect, option.c_str() + 2) : nullptr;
    return setting ? ValuesOf(*setting) : Words();
}

// Of the step that the last word stands in; null before it is named.
static const vlm_effect *EffectOf(const Words &words, size_t start)
{
    for (size_t i = start; i + 1 < words.size(); ++i)
        for (int effect = 0; effect < vlm_effect_count(); ++effect)
            if (words[i] == vlm_effect_at(effect)->name) return vlm_effect_at(effect);
    return nullptr;
}

static Words OptionsOf(const std::string &command, const vlm_effect *effect)
{
    Words names = OptionNamesOf({command});
    if (!effect) return names;
    if (command == "presets") names = {"--replace", "--summary", "--area", "--seed"};
    else if (command != "sheet") return OptionNamesOf({command, effect->name});
    for (int i = 0; i < effect->setting_count; ++i)
        names.push_back(std::string("--") + vlm_effect_setting(effect, i)->name);
    return names;
}

static Words StepCandidates(const Words &words)
{
    size_t start = 1;
    for (size_t i = 1; i + 1 < words.size(); ++i)
        if (words[i] == "--then") start = i + 1;
    const vlm_effect *effect = EffectOf(words, start);
    const std::string &last = words.back(), &before = words[words.size() - 2];
    if (last.starts_with('-')) return OptionsOf(words[0], effect);
    if (before.starts_with("--") && before != "--then") return ValuesOf(effect, before);
    return effect ? Words() : EffectNames();
}

static Words PresetCandidates(const Words &words)
{
    const bool saves = words[1] == "save" && words.size() > 3;
    if (words.back().starts_with('-') && !saves) return {"--json", "--replace", "--summary"};
    if (words.size() == 2) {
        Words names = EffectNames();
        for (const char *action : {"show", "save", "rename", "delete", "import", "export"}) names.push_back(action);
        return names;
    }
    const bool changes = words[1] == "delete" || words[1] == "rename";
    if (words.size() == 3 && words[1] != "import") return PresetNames("", changes ? Presets::OWN : Presets::ALL);
    if (!saves) return {};
    Words step(words.begin() + 2, words.end());
    step[0] = "presets";   // in the place of the new one's name
    return StepCandidates(step);
}

static Words Candidates(const Words &words)
{
    if (words.size() <= 1) return CommandNames();
    const std::string &command = words[0];
    if (command == "apply" || command == "batch" || command == "sheet") return StepCandidates(words);
    if (command == "presets") return PresetCandidates(words);
    if (words.back().starts_with('-')) return OptionNamesOf({command});
    const bool ofOne = command == "help" && (words[1] == "apply" || words[1] == "batch");
    if (words.size() == 3 && ofOne) return EffectNames();
    if (words.size() == 3 && command == "kernels" && (words[1] == "export" || words[1] == "delete"))
        return KernelNames(words[1] == "delete");
    if (command == "kernels" && words[words.size() - 2] == "--as") return {"velmorant", "grid", "imagemagick", "gimp"};
    if (words.size() != 2) return {};
    if (command == "effects") return EffectNames();
    if (command == "kernels") {
        Words names = KernelNames();
        for (const char *action : {"import", "export", "delete"}) names.push_back(action);
        return names;
    }
    if (command == "recipe") return {"show", "check"};
    if (command == "completion") return {"bash", "zsh", "fish"};
    return command == "help" || command == "manual" ? CommandNames() : Words();
}

int Complete(const CommandLine &line)
{
    const std::string last = line.words.empty() ? "" : line.words.back();
    for (const std::string &candidate : Candidates(line.words))
        if (candidate.starts_with(last)) printf("%s\n", candidate.c_str());
    return EXIT_DONE;
}

//---- For shells

static const char bash[] = R"script(# velmorant for bash: source <(velmorant completion bash)
_velmorant()
{
    local IFS=$'\n' word
    COMPREPLY=()
    for word in $(velmorant complete -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null); do
        COMPREPLY+=("$(printf %q "$word")")
    done
}
complete -o default -F _velmorant velmorant
)script";

static const char zsh[] = R"script(#compdef velmorant
# velmorant for zsh: source <(velmorant completion zsh)
_velmorant()
{
    local -a found
    found=("${(@f)$(velmorant complete -- "${(@)words[2,CURRENT]}" 2>/dev/null)}")
    if [[ -n "$found[1]" ]]; then compadd -- "$found[@]"; else _files; fi
}
if [ "$funcstack[1]" = _velmorant ]; then _velmorant "$@"; else compdef _velmorant velmorant; fi
)script";

static const char fish[] = R"script(# velmorant for fish: velmorant completion fish | source
complete -c velmorant -a '(velmorant complete -- (commandline -opc)[2..-1] (commandline -ct) 2>/dev/null)'
)script";

int PrintCompletion(const CommandLine &line)
{
    const std::string shell = line.words.size() == 1 ? line.words[0] : "";
    const char *text = shell == "bash" ? bash : shell == "zsh" ? zsh : shell == "fish" ? fish : nullptr;
    if (text) return fputs(text, stdout), EXIT_DONE;
    Report("completion", "is given as velmorant completion bash, zsh or fish");
    return EXIT_USAGE;
}

//---- For man

// What begins a line with a dot or holds a backslash is the page's own language.
static std::string Roff(const std::string &text)
{
    std::string escaped;
    for (const char c : text) {
        if ((c == '.' || c == '\'') && (escaped.empty() || escaped.back() == '\n')) escaped += "\\&";
        if (c == '\\') escaped += "\\e";
        else if (c == '-') escaped += "\\-";
        else escaped += c;
    }
    return escaped;
}

static void PrintTerm(const std::string &term, const std::string &meaning)
{
    printf(".TP\n.B %s\n", Roff(term).c_str());
    for (size_t start = 0; start <= meaning.size();) {   // a choice's words stand below each other, other lines go on
        const size_t end = std::min(meaning.find('\n', start), meaning.size());
        printf("%s%s\n", meaning[start] == ' ' ? ".br\n" : "", Roff(meaning.substr(start, end - start)).c_str());
        start = end + 1;
    }
}

static void PrintEffect(const vlm_effect &effect)
{
    printf(".SS %s\n%s\n", Roff(effect.name).c_str(), Roff(effect.about).c_str());
    for (int i = 0; i < effect.setting_count; ++i) {
        const vlm_setting &setting = *vlm_effect_setting(&effect, i);
        if (!setting.shared)
            PrintTerm(std::string("--") + setting.name + " " + ValueText(setting), MeaningText(setting));
    }
    printf(".PP\n%s\n",
           Roff(std::string("Example: velmorant apply ") + effect.name + " in.png out.png " + effect.example).c_str());
}

// What many effects take, once: the words of the first that does.
static void PrintSharedSettings()
{
    Words told = OptionNamesOf({"apply"});
    printf(".SS what many effects take\n");
    for (int i = 0; i < vlm_effect_count(); ++i) {
        const vlm_effect *effect = vlm_effect_at(i);
        for (const ListedOption &option : OptionsOf({"apply", effect->name})) {
            const std::string name = option.usage.substr(0, option.usage.find_first_of(" ["));
            const vlm_setting *setting = vlm_effect_setting_named(effect, name.c_str() + 2);
            if ((setting && !setting->shared) || std::find(told.begin(), told.end(), name) != told.end()) continue;
            told.push_back(name);
            PrintTerm(option.usage, option.meaning);
        }
    }
}

static void PrintHead(const std::string &name, const std::string &what)
{
    std::string capitals = name;
    for (char &letter : capitals) letter = char(toupper(letter));
    printf(".TH %s 1 \"\" \"velmorant %s\" \"User Commands\"\n.SH NAME\n%s \\- %s\n.SH SYNOPSIS\n",
           Roff(capitals).c_str(), vlm_version_text(), Roff(name).c_str(), Roff(what).c_str());
}

static void PrintSynopsis(const std::string &command)
{
    printf(".B velmorant %s\n%s\n.br\n", command.c_str(), Roff(UsageOf(command)).c_str());
}

static int PrintPresets()
{
    printf(".SH PRESETS\n");
    vlm_presets *presets = nullptr;
    if (vlm_presets_read(&presets) != VLM_OK) return ReportLine(vlm_error_line()), EXIT_FAILED;
    for (int i = 0; i < vlm_presets_count(presets); ++i) {
        const vlm_preset &preset = *vlm_presets_at(presets, i);
        if (preset.shipped) PrintTerm(preset.name, preset.summary);
    }
    vlm_presets_free(presets);
    return EXIT_DONE;
}

static void PrintExitStatus()
{
    printf(".SH EXIT STATUS\n");
    PrintTerm("0", "all is done");
    PrintTerm("1", "a file, a value or a place was bad; in a batch: at least one");
    PrintTerm("2", "the command line was not understood");
    PrintTerm("130", "interrupted");
}

// What one command's help tells, with the effects where it takes one.
static int PrintPageOf(const std::string &command)
{
    const Words names = CommandNames();
    if (std::find(names.begin(), names.end(), command) == names.end()) {
        Report(command, "no such command (velmorant --help lists them)");
        return EXIT_USAGE;
    }
    PrintHead("velmorant-" + command, MeaningOf(command));
    PrintSynopsis(command);
    printf(".SH OPTIONS\n");
    for (const ListedOption &option : OptionsOf({command})) PrintTerm(option.usage, option.meaning);
    if (command == "apply" || command == "batch" || command == "effects") {
        printf(".SH EFFECTS\n");
        for (int i = 0; i < vlm_effect_count(); ++i) PrintTerm(vlm_effect_at(i)->name, vlm_effect_at(i)->summary);
        if (command != "effects") PrintSharedSettings();
    }
    const std::string notes = NotesOf(command);
    if (!notes.empty()) printf(".SH NOTES\n.nf\n%s\n.fi\n", Roff(notes).c_str());
    printf(".SH SEE ALSO\n.BR velmorant (1)\n");
    return EXIT_DONE;
}

int PrintManual(const CommandLine &line)
{
    if (!vlm_effects_json(nullptr)) return ReportLine(vlm_error_line()), EXIT_FAILED;
    if (!line.words.empty()) return PrintPageOf(line.words[0]);
    PrintHead("velmorant", "picture effects on the command line");
    for (const std::string &command : CommandNames()) PrintSynopsis(command);
    printf(".SH COMMANDS\n");
    for (const std::string &command : CommandNames()) {
        printf(".SS %s\n%s.\n", command.c_str(), Roff(MeaningOf(command)).c_str());
        for (const ListedOption &option : OptionsOf({command})) PrintTerm(option.usage, option.meaning);
    }
    printf(".SH EFFECTS\n");
    for (int i = 0; i < vlm_effect_count(); ++i) PrintEffect(*vlm_effect_at(i));
    PrintSharedSettings();
    if (const int exitCode = PrintPresets()) return exitCode;
    PrintExitStatus();
    printf(".SH SEE ALSO\n");
    printf("The commands' own pages, such as\n.BR velmorant\\-apply (1).\n");
    return EXIT_DONE;
}
