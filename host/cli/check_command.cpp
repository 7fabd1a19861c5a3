// `velmorant check`: what is wrong with a module, or with a host, in words. What is looked at is host/check's.

#include "host/cli/commands.h"
#include "host/cli/report.h"

#ifdef VELMORANT_STATIC

int CheckModuleFile(const CommandLine &)
{
    Report("check", "this program has its module inside and loads no other");
    return EXIT_USAGE;
}

#else

#include "host/check/check.h"
#include "host/cli/interrupt.h"
#include "host/paths/paths.h"

#include <cstdio>
#include <nlohmann/json.hpp>

using nlohmann::json;

static std::string Plural(size_t count, const char *word)
{
    return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

// For a shell.
static std::string Quoted(const std::string &text)
{
    if (text.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+./:=@") ==
        std::string::npos)
        return text;
#ifdef _WIN32
    return "\"" + text + "\"";
#else
    std::string quoted = "'";
    for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
#endif
}

static std::string AgainOf(const CommandLine &line, const Finding &finding)
{
    if (!line.hostFolder.empty())
        return "velmorant check --host " + Quoted(line.hostFolder) + " --only " + Quoted(finding.check);
    std::string check = finding.check, seed = std::to_string(line.checkSeed);
    if (check.starts_with("9/")) {   // whose names hold the seed and the name of the same check alone
        const size_t end = check.find('/', 2);
        seed = check.substr(2, end - 2);
        check = check.substr(end + 1);
    }
    std::string again = "velmorant check " + Quoted(line.module) + " --only " + Quoted(check) + " --seed " + seed;
    if (!line.golden.empty() && finding.level == 10) again += " --golden " + Quoted(line.golden);
    return again;
}

static void Print(const CommandLine &line, const Finding &finding, size_t number)
{
    printf("%zu. %s%s: %s\n", number, finding.effect.empty() ? "" : (finding.effect + ": ").c_str(),
           finding.call.c_str(), finding.happened.c_str());
    printf("   done:      %s\n", finding.done.c_str());
    printf("   expected:  %s\n", finding.expected.c_str());
    printf("              %s\n", finding.where.c_str());
    if (finding.again) printf("   found:     %s more in this check\n", Plural(size_t(finding.again), "time").c_str());
    printf("   again:     %s\n\n", AgainOf(line, finding).c_str());
}

static json AsJson(const CommandLine &line, const CheckReport &report)
{
    json found = json::array();
    for (const Finding &finding : report.findings) {
        json entry = json::parse(JsonOf(finding));
        entry["again"] = AgainOf(line, finding);
        found.push_back(entry);
    }
    if (!line.hostFolder.empty())
        return {{"host", line.hostFolder}, {"checks", report.checks}, {"notes", report.notes}, {"findings", found}};
    return {{"module", line.module},     {"level", line.level},   {"seed", line.checkSeed}, {"checks", report.checks},
            {"effects", report.effects}, {"notes", report.notes}, {"findings", found}};
}

static bool WriteJson(const CommandLine &line, const CheckReport &report)
{
    const std::string text = AsJson(line, report).dump(2, ' ', false, json::error_handler_t::replace) + "\n";
    if (line.jsonFile == "-") return fputs(text.c_str(), stdout) >= 0;
    FILE *file = OpenByName(line.jsonFile, "wb");
    const bool written = file && fwrite(text.data(), 1, text.size(), file) == text.size();
    return (!file || fclose(file) == 0) && written;
}

static bool CheckModuleOf(const CommandLine &line, CheckReport &report, std::string &error)
{
    CheckRequest request;
    request.module = line.module;
    request.level = line.onlyCheck.empty() ? line.level : HIGHEST_LEVEL;   // its name tells its level
    request.effect = line.checkedEffect;
    request.only = line.onlyCheck;
    request.seed = line.checkSeed;
    request.golden = line.golden;
    request.record = line.record;
    request.minutes = line.minutes;
    return CheckModule(request, report, error);
}

static void PrintAll(const CommandLine &line, const std::string &checked, const CheckReport &report)
{
    for (size_t i = 0; i < report.findings.size(); ++i) Print(line, report.findings[i], i + 1);
    for (const std::string &note : report.notes) printf("note: %s\n", note.c_str());
    printf("%s: %s in %s", checked.c_str(),
           report.findings.empty() ? "nothing found" : Plural(report.findings.size(), "finding").c_str(),
           Plural(size_t(report.checks), "check").c_str());
    if (line.hostFolder.empty())
        printf(" of %s, level %d, seed %u", Plural(report.effects.size(), "effect").c_str(), line.level,
               line.checkSeed);
    printf("\n");
}

int CheckModuleFile(const CommandLine &line)
{
    const bool ofHost = !line.hostFolder.empty();
    const std::string &checked = ofHost ? line.hostFolder : line.module;
    CheckReport report;
    std::string error;
    int exitCode;
    if (!ofHost && HandedOn(line.module, exitCode, error)) return exitCode;
    if (!error.empty()) {
        Report(checked, error);
        return EXIT_USAGE;
    }
    HoldInterrupts(StopChecking);   // the processes go and their folder too, before this one does
    const bool looked =
        ofHost ? CheckHost({line.hostFolder, line.onlyCheck}, report, error) : CheckModuleOf(line, report, error);
    ReleaseInterrupts();
    if (!looked) {
        Report(checked, error);
        return EXIT_USAGE;
    }
    if (report.checks == 0 && report.findings.empty()) {
        Report("--only", "there is no check '" + line.onlyCheck + "' of this " + (ofHost ? "host" : "module"));
        return EXIT_USAGE;
    }
    if (line.jsonFile != "-") PrintAll(line, checked, report);
    if (!line.jsonFile.empty() && !WriteJson(line, report)) {
        Report(line.jsonFile, "cannot be written");
        return EXIT_USAGE;
    }
    return report.findings.empty() ? EXIT_DONE : EXIT_FAILED;
}

#endif
