// velmorant check --host as a person starts it: on the minimal host, on one with two faults, and on what is no host.

#include "tests/host/cli/process.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using nlohmann::json;

TEST(CheckHost, FindsNothingInTheMinimalHost)
{
    const Outcome outcome = Velmorant({"check", "--host", MINIMAL_HOST_FOLDER});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.output << outcome.errors;
    EXPECT_NE(outcome.output.find("nothing found in 25 checks"), std::string::npos) << outcome.output;
    EXPECT_NE(outcome.output.find("note: FlipPic is not looked at"), std::string::npos) << outcome.output;
}

// Whether a finding is about `call` and says `part`.
static testing::AssertionResult Finds(const std::vector<std::string> &options, const std::string &call,
                                      const std::string &part)
{
    std::vector<std::string> words = {"check", "--host", FAULTY_HOST_FOLDER, "--json", "-"};
    words.insert(words.end(), options.begin(), options.end());
    const Outcome outcome = Velmorant(words);
    if (outcome.exitCode != 1)
        return testing::AssertionFailure() << "exit code " << outcome.exitCode << ": " << outcome.errors;
    const json report = json::parse(outcome.output, nullptr, false);
    for (const json &finding : report["findings"]) {
        const std::string happened = finding["happened"], again = finding["again"], contract = finding["contract"];
        if (finding["call"] != call || happened.find(part) == std::string::npos) continue;
        if (again.find("--host ") == std::string::npos || again.find("--only ") == std::string::npos)
            return testing::AssertionFailure() << "cannot be done again: " << again;
        if (contract.find(':') == std::string::npos)
            return testing::AssertionFailure() << "the promise has no line: " << contract;
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << outcome.output;
}

TEST(CheckHost, FindsAnImageThatBecomesActiveInSilence)
{
    EXPECT_TRUE(Finds({"--only", "host/images"}, "ACTIVE_IMAGE_CHANGED", "it came 0 times"));
}

TEST(CheckHost, FindsAHostThatEndsInSilence)
{
    EXPECT_TRUE(Finds({"--only", "host/end"}, "KPZExitProcessor", "it was called 0 times"));
}

#ifndef _WIN32
// A driver that does not come as far as to load what looks at the host.
static json FirstFindingOf(const std::string &driver)
{
    namespace fs = std::filesystem;
    const fs::path folder = fs::path(testing::TempDir()) / "host-without-a-start";
    fs::remove_all(folder);
    fs::create_directory(folder);
    std::ofstream(folder / "check_driver") << "#!/bin/sh\n" + driver + "\n";
    fs::permissions(folder / "check_driver", fs::perms::owner_all);
    setenv("VELMORANT_CHECK_PATIENCE", "2", 1);
    const Outcome outcome = Velmorant({"check", "--host", folder, "--json", "-"});
    unsetenv("VELMORANT_CHECK_PATIENCE");
    fs::remove_all(folder);
    EXPECT_EQ(outcome.exitCode, 1) << outcome.errors;
    const json report = json::parse(outcome.output, nullptr, false);
    return report["findings"].size() == 1 ? report["findings"][0] : json{{"happened", outcome.output}, {"again", ""}};
}

TEST(CheckHost, FindsADriverThatHangsOrEndsAsItStarts)
{
    const json hangs = FirstFindingOf("exec sleep 1000");
    EXPECT_EQ(hangs["happened"], "nothing has happened for 2 seconds");
    const json ends = FirstFindingOf("exit 7");
    EXPECT_EQ(ends["happened"], "the process ended with exit code 7");
    for (const std::string again : {hangs["again"], ends["again"]})
        EXPECT_TRUE(again.ends_with("--only host/start")) << again;
}
#endif

TEST(CheckHost, MakesOneCheckAlone)
{
    const Outcome outcome = Velmorant({"check", "--host", MINIMAL_HOST_FOLDER, "--only", "host/abort"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.output << outcome.errors;
    EXPECT_NE(outcome.output.find("nothing found in 1 check\n"), std::string::npos) << outcome.output;
}

TEST(CheckHost, TellsWhatCannotBeChecked)
{
    const Outcome missing = Velmorant({"check", "--host", "no-such-folder"});
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_NE(missing.errors.find("no-such-folder: no such folder"), std::string::npos) << missing.errors;
    const Outcome empty = Velmorant({"check", "--host", FAULTY_HOST_FOLDER "/.."});
    EXPECT_EQ(empty.exitCode, 2);
    EXPECT_NE(empty.errors.find("has no program check_driver"), std::string::npos) << empty.errors;
    EXPECT_EQ(Velmorant({"check", "--host", MINIMAL_HOST_FOLDER, "--only", "host/none"}).exitCode, 2);
    EXPECT_EQ(Velmorant({"check", "--host", MINIMAL_HOST_FOLDER, "--level", "3"}).exitCode, 2);
    EXPECT_EQ(Velmorant({"check", "module", "--host", MINIMAL_HOST_FOLDER}).exitCode, 2);
}
