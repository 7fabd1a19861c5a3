// velmorant check --host as a person starts it: on the minimal host, on one with two faults, and on what is no host.

#include "tests/host/cli/process.h"

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
