// The parent: starts the process that loads the module, reads its report, and starts another one behind a check that it did
// not live to see the end of.

#include "host/check/check.h"

#include "host/check/child.h"
#include "host/check/library_file.h"
#include "host/check/process.h"
#include "host/documents/library.h"
#include "host/paths/paths.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <set>

namespace fs = std::filesystem;

// A folder of one's own for as long as this lives.
struct OwnFolder {
    fs::path path;
    OwnFolder()
    {
        const auto now = std::chrono::system_clock::now().time_since_epoch().count();
        for (int i = 0; i < 1000; ++i) {
            path = fs::temp_directory_path() / ("velmorant-check-" + std::to_string(now + i));
            std::error_code failure;
            if (fs::create_directory(path, failure)) return;
        }
        path.clear();
    }
    ~OwnFolder()
    {
        std::error_code failure;
        if (!path.empty()) fs::remove_all(path, failure);
    }
    OwnFolder(const OwnFolder &) = delete;
    OwnFolder &operator=(const OwnFolder &) = delete;
};

// What one process has reported.
struct ProcessReport {
    std::string begun;   // the check that it is in; empty between two
    std::set<std::string> made;
    bool done = false, toldItsEnd = false;
};

static bool Take(const std::string &line, const char *start, std::string &rest)
{
    if (!line.starts_with(start)) return false;
    rest = line.substr(std::string(start).size());
    return true;
}

static void AddFinding(CheckReport &report, const std::string &line)
{
    Finding finding;
    if (!FindingOf(line, finding)) return;
    const auto same = [&](const Finding &known) {
        return known.check == finding.check && known.where == finding.where && known.happened == finding.happened;
    };
    if (std::none_of(report.findings.begin(), report.findings.end(), same)) report.findings.push_back(finding);
}

static ProcessReport ReadReport(const fs::path &file, CheckReport &report)
{
    ProcessReport process;
    std::ifstream stream(file, std::ios::binary);
    for (std::string line, rest; std::getline(stream, line);) {
        if (Take(line, BEGIN_LINE, rest)) process.begun = rest;
        else if (Take(line, END_LINE, rest)) process.begun.clear(), process.made.insert(rest);
        else if (Take(line, FINDING_LINE, rest)) AddFinding(report, rest);
        else if (Take(line, FATAL_LINE, rest)) AddFinding(report, rest), process.toldItsEnd = true;
        else if (Take(line, NOTE_LINE, rest)) report.notes.push_back(rest);
        else if (Take(line, EFFECT_LINE, rest)) report.effects.push_back(rest);
        else if (line == DONE_LINE) process.done = true;
    }
    return process;
}

template <typename Value> static void DropTwins(std::vector<Value> &values)
{
    std::vector<Value> kept;
    for (const Value &value : values)
        if (std::find(kept.begin(), kept.end(), value) == kept.end()) kept.push_back(value);
    values = kept;
}

static void AddSilentEnd(CheckReport &report, const std::string &check, const ProcessEnd &end)
{
    const Contract &contract = ContractOf(Rule::CRASH);
    Finding finding;
    finding.level = check.empty() ? 1 : atoi(check.c_str());
    finding.check = check;
    finding.call = contract.call;
    finding.done = "made the check " + check;
    finding.expected = contract.sentence;
    finding.where = PlaceOf(contract);
    finding.happened = end.killed.empty() ? "the process ended with exit code " + std::to_string(end.exitCode)
                                          : "the process was ended by " + end.killed;
    report.findings.push_back(finding);
}

// Every module has these effects or none.
static bool StopsHere(const std::string &check)
{
    return check.starts_with("1/") || check == "2/menu/first" || check.empty();
}

bool CheckModule(const CheckRequest &request, CheckReport &report, std::string &error)
{
    LibraryKind kind;
    if (!KindOfLibrary(request.module, kind, error)) return false;
    if (kind == LibraryKind::OF_32_BITS) return error = "is of 32 bits: the velmorant.exe of 32 bits checks it", false;
    std::error_code failure;
    const std::string module = NameOf(fs::absolute(PathOf(request.module), failure));
    std::string program = ProgramFile();
    const OwnFolder folder;
    if (folder.path.empty()) return error = "no folder can be made for what is found", false;

    if (!request.record.empty()) {
        if (FILE *file = OpenByName(request.record, "wb")) fclose(file);
        else return error = "'" + request.record + "' cannot be written", false;
    }
    const auto begun = std::chrono::steady_clock::now();
    std::set<std::string> made;
    std::string after;
    for (int process = 0;; ++process) {
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begun;
        const double minutes = std::max(request.minutes - taken.count() / 60, 0.0);
        const fs::path file = folder.path / ("report-" + std::to_string(process));
        const ProcessEnd end = RunProcess(program, {INSIDE_SWITCH, NameOf(file), module, std::to_string(request.level),
                                                    request.effect, request.only, std::to_string(request.seed),
                                                    std::to_string(minutes), request.golden, request.record, after});
        if (!end.started) return error = "no process can be started to load it", false;
        const ProcessReport told = ReadReport(file, report);
        made.insert(told.made.begin(), told.made.end());
        if (told.done && end.exitCode == 4) return error = "has no effect '" + request.effect + "'", false;
        if (told.done && end.killed.empty() && end.exitCode == 0) break;
        if (!told.toldItsEnd) AddSilentEnd(report, told.begun, end);
        made.insert(told.begun);
        if (StopsHere(told.begun) || told.begun == after || told.done) break;
        after = told.begun;
    }
    made.erase("2/menu/first");
    made.erase("");
    report.checks = int(made.size());
    DropTwins(report.effects);
    DropTwins(report.notes);
    std::stable_sort(report.findings.begin(), report.findings.end(),
                     [](const Finding &one, const Finding &other) { return one.level < other.level; });
    return true;
}
