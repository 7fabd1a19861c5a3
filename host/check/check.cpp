// The parent: starts the process that loads the module, or the host, reads its report, and starts another one behind a
// check that it did not live to see the end of.

#include "host/check/check.h"

#include "host/check/child.h"
#include "host/check/library_file.h"
#include "host/check/plan.h"
#include "host/check/process.h"
#include "host/documents/library.h"
#include "host/paths/paths.h"
#include "interface/host_driver.h"
#include "interface/vlmapi.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <set>
#include <thread>

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
    std::string tried;   // a service that may end it by saying that it is not served
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

// A host's program could not load the module that would tell more.
static void AddUnloaded(CheckReport &report, const std::string &why)
{
    const Contract &contract = ContractOf(Rule::HOST_OFFERS_ALL);
    report.findings.push_back({1, "host/start", "", contract.call,
                               "loaded the module made for watching beside the host's "
                               "VLMAPI and VLMMISC",
                               contract.sentence, PlaceOf(contract), why, 0});
}

static ProcessReport ReadReport(const fs::path &file, CheckReport &report)
{
    ProcessReport process;
    std::ifstream stream(file, std::ios::binary);
    for (std::string line, rest; std::getline(stream, line);) {
        if (Take(line, BEGIN_LINE, rest)) process.begun = rest;
        else if (Take(line, END_LINE, rest)) process.begun.clear(), process.tried.clear(), process.made.insert(rest);
        else if (Take(line, TRY_LINE, rest)) process.tried = rest;
        else if (Take(line, FINDING_LINE, rest)) AddFinding(report, rest);
        else if (Take(line, FATAL_LINE, rest)) AddFinding(report, rest), process.toldItsEnd = true;
        else if (Take(line, UNLOADED_LINE, rest)) AddUnloaded(report, rest), process.toldItsEnd = true;
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

// Where it has not come as far as its first check, it is that one which shows it again.
static void AddSilentEnd(CheckReport &report, Rule rule, const std::string &check, const ProcessEnd &end)
{
    const Contract &contract = ContractOf(rule);
    Finding finding;
    finding.level = atoi(check.c_str()) > 0 ? atoi(check.c_str()) : 1;
    finding.check = !check.empty() ? check : rule == Rule::HOST_LIVES ? "host/start" : "1/exports";
    finding.call = contract.call;
    finding.done = check.empty() ? "started the program that makes the checks" : "made the check " + check;
    finding.expected = contract.sentence;
    finding.where = PlaceOf(contract);
    if (end.hung) finding.happened = "nothing has happened for " + std::to_string(Patience()) + " seconds";
    else
        finding.happened = end.killed.empty() ? "the process ended with exit code " + std::to_string(end.exitCode)
                                              : "the process was ended by " + end.killed;
    report.findings.push_back(finding);
}

// What comes behind these cannot be checked without them.
static bool StopsHere(const std::string &check)
{
    return check.starts_with("1/") || check == "2/menu/first" || check == "host/start" || check.empty();
}

// Starts one process, which makes its checks from behind the named one; all of them where it is empty.
typedef std::function<ProcessEnd(const fs::path &report, const std::string &after)> Starter;

// Starts one, and ends it where it has not opened its report when patience is at its end: from there on it watches itself.
static ProcessEnd StartWatched(const Starter &start, const fs::path &report, const std::string &after)
{
    using namespace std::chrono_literals;
    std::error_code ignored;
    std::atomic<bool> ended = false, hung = false;
    std::thread watch([&] {
        const auto latest = std::chrono::steady_clock::now() + std::chrono::seconds(Patience());
        while (!ended && !hung && !fs::exists(report, ignored)) {
            std::this_thread::sleep_for(20ms);
            hung = std::chrono::steady_clock::now() >= latest;
        }
        if (hung) EndProcess();
    });
    ProcessEnd end = start(report, after);
    ended = true;
    watch.join();
    end.hung = hung;
    return end;
}

// Starts processes until one has made its last check, and gives the code that this one ended with. False when one cannot be
// started.
static bool FollowProcesses(const Starter &start, Rule silentEnd, const std::string &only, CheckReport &report,
                            int &exitCode)
{
    const OwnFolder folder;
    if (folder.path.empty()) return false;
    std::set<std::string> made;
    std::string after;
    for (int process = 0;; ++process) {
        const fs::path file = folder.path / ("report-" + std::to_string(process));
        const ProcessEnd end = StartWatched(start, file, after);
        if (!end.started) return false;
        const ProcessReport told = ReadReport(file, report);
        made.insert(told.made.begin(), told.made.end());
        exitCode = end.exitCode;
        if (told.done && end.killed.empty() && (end.exitCode == 0 || end.exitCode == NO_EFFECT)) break;
        if (!told.tried.empty() && !told.toldItsEnd && end.killed.empty())
            report.notes.push_back(told.tried +
                                   " is not looked at: asked for it, the host ended the program with exit code " +
                                   std::to_string(end.exitCode));
        else if (!told.toldItsEnd) AddSilentEnd(report, silentEnd, told.begun, end);
        made.insert(told.begun);
        if (StopsHere(told.begun) || told.begun == after || told.done) break;
        after = told.begun;
    }
    made.erase("2/menu/first");
    if (!only.empty() && only != "host") made.erase("host/start");   // made in each process
    if (only == "host/start") made.insert(only);
    made.erase("");
    report.checks = int(made.size());
    DropTwins(report.effects);
    DropTwins(report.notes);
    std::stable_sort(report.findings.begin(), report.findings.end(),
                     [](const Finding &one, const Finding &other) { return one.level < other.level; });
    return true;
}

bool HandedOn(const std::string &module, int &exitCode, std::string &error)
{
    LibraryKind kind;
    std::string ignored;
    if (!KindOfLibrary(module, kind, ignored) || kind != LibraryKind::OF_32_BITS) return false;
    const std::string folder = NameOf(PathOf(ProgramFolder()).parent_path());
    const std::string other = NameOf(PathOf(folder) / "velmorant.exe");
    if (!KindOfLibrary(other, kind, ignored) || kind != LibraryKind::OF_32_BITS)
        return error = "is of 32 bits, and the velmorant.exe of 32 bits that checks such is not in " + folder, false;
    const ProcessEnd end = RunInstead(other);
    if (!end.started) return error = "is of 32 bits, and " + other + ", which checks such, cannot be started", false;
    if (!end.killed.empty()) return error = other + " was ended by " + end.killed, false;
    exitCode = end.exitCode;
    return true;
}

bool CheckModule(const CheckRequest &request, CheckReport &report, std::string &error)
{
    LibraryKind kind;
    if (!KindOfLibrary(request.module, kind, error)) return false;
    if (kind == LibraryKind::OF_32_BITS) return error = "is of 32 bits: the velmorant.exe of 32 bits checks it", false;
    std::error_code failure;
    const std::string module = NameOf(fs::absolute(PathOf(request.module), failure));
    const std::string program = ProgramFile();
    if (!request.record.empty()) {
        if (FILE *file = OpenByName(request.record, "wb")) fclose(file);
        else return error = "'" + request.record + "' cannot be written", false;
    }
    if (!request.golden.empty() && NumbersRecordedIn(request.golden).empty())
        return error = "'" + request.golden + "' cannot be read, or has no recorded numbers", false;
    const auto begun = std::chrono::steady_clock::now();
    const Starter start = [&](const fs::path &file, const std::string &after) {
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begun;
        const double minutes = std::max(request.minutes - taken.count() / 60, 0.0);
        return RunProcess(program, {INSIDE_SWITCH, NameOf(file), module, std::to_string(request.level), request.effect,
                                    request.only, std::to_string(request.seed), std::to_string(minutes), request.golden,
                                    request.record, after});
    };
    int exitCode;
    if (!FollowProcesses(start, Rule::CRASH, request.only, report, exitCode))
        return error = "no process can be started to load it", false;
    if (exitCode == NO_EFFECT) return error = "has no effect '" + request.effect + "'", false;
    return true;
}

//---- Hosts

#ifdef _WIN32
static constexpr char DRIVER[] = "check_driver.exe", WATCHER[] = "VLMWATCH.dll";
#else
static constexpr char DRIVER[] = "check_driver", WATCHER[] = "VLMWATCH.so";
#endif

// Beside VLMAPI, which this program is linked to.
static fs::path FileOfWatcher()
{
    return PathOf(FileOfCode(reinterpret_cast<void *>(KPZ_AllocMem))).parent_path() / WATCHER;
}

bool CheckHost(const HostRequest &request, CheckReport &report, std::string &error)
{
    std::error_code failure;
    const fs::path driver = fs::absolute(PathOf(request.folder), failure) / DRIVER;
    if (!fs::is_directory(PathOf(request.folder), failure)) return error = "no such folder", false;
    if (!fs::exists(driver, failure))
        return error = std::string("has no program ") + DRIVER + ": docs/checking.md tells how a host gets one", false;
    // A copy, so that what it asks for cannot be found beside it: the driver has the host's own loaded.
    const OwnFolder folder;
    const fs::path watcher = folder.path / WATCHER;
    if (folder.path.empty() || !fs::copy_file(FileOfWatcher(), watcher, failure))
        return error = std::string(WATCHER) + ", which belongs beside VLMAPI, cannot be copied", false;
    const Starter start = [&](const fs::path &file, const std::string &after) {
        return RunProcess(NameOf(driver), {NameOf(watcher), NameOf(file), request.only, after});
    };
    int exitCode;
    if (!FollowProcesses(start, Rule::HOST_LIVES, request.only, report, exitCode))
        return error = std::string(DRIVER) + " cannot be started", false;
    return true;
}

void StopChecking() { StopProcesses(); }
