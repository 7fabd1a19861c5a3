// velmorant check as a person starts it: on modules with a fault each, which it tells in the right words, and on what is
// no module.

#include "tests/host/check/faults.h"
#include "tests/host/cli/process.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#ifndef _WIN32
#include <sys/stat.h>
#include <unistd.h>
#endif

using nlohmann::json;

static std::string Faulty(int fault) { return FAULTY_FOLDER + std::to_string(fault) + MODULE_ENDING; }

static Outcome Check(const std::string &module, std::vector<std::string> options = {})
{
    options.insert(options.begin(), {"check", module});
    return Velmorant(options);
}

// Whether a finding is about `call` and says `part`; the exit code is that of findings.
static testing::AssertionResult Finds(int fault, const std::string &call, const std::string &part,
                                      std::vector<std::string> options = {})
{
    options.insert(options.end(), {"--json", "-"});
    const Outcome outcome = Check(Faulty(fault), options);
    if (outcome.exitCode != 1)
        return testing::AssertionFailure() << "exit code " << outcome.exitCode << ": " << outcome.errors;
    const json report = json::parse(outcome.output, nullptr, false);
    for (const json &finding : report["findings"]) {
        const std::string happened = finding["happened"];
        if (finding["call"] != call || happened.find(part) == std::string::npos) continue;
        const std::string again = finding["again"], contract = finding["contract"];
        if (again.find("--only ") == std::string::npos)
            return testing::AssertionFailure() << "cannot be done again: " << again;
        if (contract.find(':') == std::string::npos)
            return testing::AssertionFailure() << "the promise has no line: " << contract;
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << outcome.output;
}

TEST(Check, FindsNothingInAWholeModuleWithOneEffect)
{
    const Outcome outcome = Check(Faulty(NONE), {"--only", "4/noise"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
    EXPECT_NE(outcome.output.find("nothing found in 8 checks of 1 effect"), std::string::npos) << outcome.output;
}

TEST(Check, FindsAMissingExport)
{
    EXPECT_TRUE(Finds(NO_EXIT, "the five entry points", "there is no KPZExitProcessor"));
}

TEST(Check, FindsWhatCrashesAsItIsLoaded)
{
#ifdef _WIN32   // whose loader takes the crash for a refusal
    EXPECT_TRUE(Finds(CRASHES_WHEN_LOADED, "LoadLibrary", "cannot be loaded"));
#else
    EXPECT_TRUE(Finds(CRASHES_WHEN_LOADED, "the module", "ended with"));
#endif
}

TEST(Check, FindsAHang)
{
#ifdef _WIN32
    _putenv("VELMORANT_CHECK_PATIENCE=4");
    EXPECT_TRUE(Finds(HANGS_IN_MENU, "the module", "nothing has happened for 4 seconds"));
    _putenv("VELMORANT_CHECK_PATIENCE=");
#else
    setenv("VELMORANT_CHECK_PATIENCE", "4", 1);
    EXPECT_TRUE(Finds(HANGS_IN_MENU, "the module", "nothing has happened for 4 seconds"));
    unsetenv("VELMORANT_CHECK_PATIENCE");
#endif
}

#ifndef _WIN32
// Whether some process has `text` among its words.
static bool SomethingRunsWith(const std::string &text)
{
    for (const auto &entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream words(entry.path() / "cmdline");
        const std::string all{std::istreambuf_iterator<char>(words), {}};
        if (all.find(text) != std::string::npos) return true;
    }
    return false;
}

// A check is ended in the middle of what hangs.
TEST(Check, LeavesNothingBehindWhenItIsEnded)
{
    const std::filesystem::path folder = testing::TempDir() + "ended-check";
    for (const int signal : {SIGINT, SIGTERM, SIGKILL}) {
        SCOPED_TRACE(signal);
        std::filesystem::remove_all(folder);
        std::filesystem::create_directory(folder);
        setenv("TMPDIR", folder.c_str(), 1);
        RunningProcess process = StartOnTerminal({"check", Faulty(HANGS_IN_MENU)});
        unsetenv("TMPDIR");
        const std::string inside = folder / "velmorant-check-";
        while (!SomethingRunsWith(inside)) usleep(20'000);
        Signal(process, signal);
        EXPECT_EQ(WaitForEnd(process), signal == SIGKILL ? -1 : 130);
        for (int i = 0; i < 1000 && SomethingRunsWith(inside); ++i) usleep(20'000);
        EXPECT_FALSE(SomethingRunsWith(inside));
        EXPECT_TRUE(signal == SIGKILL || std::filesystem::is_empty(folder));
    }
    std::filesystem::remove_all(folder);
}
#endif

TEST(Check, FindsAWriteBeyondThePlane)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "a crash's last words take memory within a signal, which this sanitizer ends the process for";
#endif
    EXPECT_TRUE(Finds(WRITES_BEYOND, "the worker", "behind", {"--only", "4/noise/sizes"}));
}

TEST(Check, FindsALateAbort)
{
    EXPECT_TRUE(
        Finds(ABORTS_LATE, "ImageView::abortFlag", "rows were reported all the same", {"--only", "4/noise/abort"}));
}

TEST(Check, FindsALeakedBlock)
{
    EXPECT_TRUE(Finds(LEAKS, "KPZ_FreeMem", "has not handed back 1 block of 100 bytes", {"--only", "4/noise/masks"}));
}

TEST(Check, FindsAFloodOfMemory)
{
    EXPECT_TRUE(Finds(FLOODS, "KPZ_AllocMem", "more memory was wanted", {"--only", "4/noise/masks"}));
}

TEST(Check, FindsAnExceptionAndGoesOnBehindIt)
{
    const std::vector<std::string> options = {"--only", "4/noise"};
    EXPECT_TRUE(Finds(THROWS, "the module", "", options));
    const json report = json::parse(Check(Faulty(THROWS), {"--only", "4/noise", "--json", "-"}).output);
    EXPECT_GE(report["findings"].size(), 3u);
    EXPECT_EQ(report["checks"], 8);
}

TEST(Check, FindsAnEndOfTheProcessThatSaysNothing)
{
    EXPECT_TRUE(Finds(EXITS, "the module", "ended with exit code 0"));
}

#ifdef _WIN32
TEST(Check, TellsAnAbortForWantOfSlots)
{
    EXPECT_TRUE(Finds(TAKES_SLOTS, "the module", "no slot is left", {"--only", "4/noise/masks"}));
}
#endif

TEST(Check, TellsWhatCannotBeChecked)
{
    const Outcome missing = Check("no-such-file");
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_NE(missing.errors.find("no-such-file: no such file"), std::string::npos) << missing.errors;
    EXPECT_EQ(Check(VELMORANT_PROGRAM ".txt").exitCode, 2);
    EXPECT_EQ(Check(Faulty(NONE), {"--effect", "wave"}).exitCode, 2);
    EXPECT_EQ(Check(Faulty(NONE), {"--only", "4/wave"}).exitCode, 2);
    EXPECT_EQ(Check(Faulty(NONE), {"--level", "11"}).exitCode, 2);
    EXPECT_EQ(Velmorant({"check"}).exitCode, 2);
#ifndef _WIN32
    const Outcome folder = Check(FAULTY_FOLDER);
    EXPECT_EQ(folder.exitCode, 2);
    EXPECT_NE(folder.errors.find("is a folder"), std::string::npos) << folder.errors;
    const std::string pipe = testing::TempDir() + "pipe.so";
    mkfifo(pipe.c_str(), 0600);
    EXPECT_EQ(Check(pipe).exitCode, 2);   // and waits for nobody
    unlink(pipe.c_str());
#endif
}

TEST(Check, ComparesWithWhatWasRecordedOrSaysThatItCannot)
{
    const std::string file = testing::TempDir() + "recorded-numbers";
    std::filesystem::remove(file);
    const Outcome ignored = Check(Faulty(NONE), {"--golden", file});
    EXPECT_EQ(ignored.exitCode, 2);
    EXPECT_NE(ignored.errors.find("--golden: is of level 10"), std::string::npos) << ignored.errors;
    const std::vector<std::string> compare = {"--only", "10", "--golden", file};
    const Outcome missing = Check(Faulty(NONE), compare);
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_NE(missing.errors.find("cannot be read"), std::string::npos) << missing.errors;

    EXPECT_EQ(Check(Faulty(NONE), {"--only", "10", "--record", file}).exitCode, 0);
    EXPECT_EQ(Check(Faulty(NONE), compare).exitCode, 0);
    // Read by a stream that is closed at once, so that the file may be removed.
    std::string numbers{std::istreambuf_iterator<char>(std::ifstream(file).rdbuf()), {}};
    numbers[numbers.find('\n') - 1] ^= 1;   // another last digit
    std::ofstream(file) << numbers;
    EXPECT_EQ(Check(Faulty(NONE), compare).exitCode, 1);
    std::filesystem::remove(file);
}

#ifdef _WIN64
TEST(Check, TellsWhereTheProgramFor32BitsIsMissing)
{
    std::string head(0x48, 0);   // as much of a library as tells its processor
    head.replace(0, 2, "MZ");
    head[0x3C] = 0x40;
    head.replace(0x40, 6, std::string("PE\0\0\x4C\x01", 6));
    const std::string file = testing::TempDir() + "of-32-bits.dll";
    std::ofstream(file, std::ios::binary) << head;
    const Outcome outcome = Check(file);
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_NE(outcome.errors.find("is of 32 bits, and the velmorant.exe of 32 bits that checks such is not in "),
              std::string::npos)
        << outcome.errors;
    std::filesystem::remove(file);
}
#endif

TEST(Check, LetsAModuleGiveItsOwnEffectsAnyNumber)
{
    const Outcome outcome = Check(Faulty(OWN_NAME), {"--only", "2/menu"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.output << outcome.errors;
    EXPECT_EQ(Check(Faulty(OWN_NAME), {"--level", "2", "--effect", "negative"}).exitCode, 0);
}

TEST(Check, KnowsAnEffectByItsLabelInAnyCase)
{
    for (const char *name : {"NOISE", "noise"}) {
        const Outcome outcome = Check(Faulty(NONE), {"--level", "2", "--effect", name});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.output << outcome.errors;
    }
}

TEST(Check, FindsNothingInTheEffectsOfThisTree)
{
    const Outcome outcome = Check(MODULE_FILE, {"--effect", "wave"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.output << outcome.errors;
}
