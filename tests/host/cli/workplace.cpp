// A folder of its own for each test of the command line, with what puts pictures there and reads them back.

#include "tests/host/cli/workplace.h"

#include "tests/support/read_back.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

void Workplace::SetUp()
{
    do {
        const std::string name = "velmorant ünï ŁØ日 " + std::to_string(std::random_device()());
        folder = NameOf(std::filesystem::temp_directory_path() / PathOf(name));
        std::replace(folder.begin(), folder.end(), '\\', '/');
    } while (!std::filesystem::create_directory(PathOf(folder)));
}

void Workplace::TearDown() { std::filesystem::remove_all(PathOf(folder)); }

std::string Workplace::Save(const std::string &name, const Picture &picture)
{
    std::vector<std::string> notices;
    std::string error;
    EXPECT_TRUE(WritePicture(In(name), picture, FormatOfName(name), {}, notices, error)) << error;
    return In(name);
}

std::string Workplace::SaveText(const std::string &name, const std::string &bytes)
{
    std::ofstream(PathOf(In(name)), std::ios::binary) << bytes;
    return In(name);
}

bool Exists(const std::string &file) { return std::filesystem::exists(PathOf(file)); }

std::string BytesOf(const std::string &file)
{
    std::ostringstream bytes;
    bytes << std::ifstream(PathOf(file), std::ios::binary).rdbuf();
    return bytes.str();
}

std::vector<std::string> Lines(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

Picture Load(const std::string &file) { return ReadBack(file); }

Picture Sample(int32_t colourType, int32_t width, int32_t height)
{
    std::mt19937 generator(20);
    return NaturalPicture(colourType, width, height, generator);
}

testing::AssertionResult Refused(const Outcome &outcome, int exitCode, const std::string &subject,
                                 const std::string &part)
{
    const std::string start = "velmorant: " + subject + ": ";
    const bool oneLine = Lines(outcome.errors).size() == 1 && outcome.errors.back() == '\n';
    if (outcome.exitCode == exitCode && oneLine && outcome.errors.starts_with(start) &&
        outcome.errors.find(part, start.size()) != std::string::npos && outcome.output.empty()) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "exit code " << outcome.exitCode << ", output of " << outcome.output.size()
                                       << " bytes, and on standard error:\n"
                                       << outcome.errors;
}

static bool TellsOfTheRunAlone(const std::string &errors)
{
    for (const std::string &line : Lines(errors))
        if (line.find(": seed ") == std::string::npos && line.find(": nothing has changed") == std::string::npos)
            return false;
    return true;
}

testing::AssertionResult WentWell(const Outcome &outcome)
{
    if (outcome.exitCode == 0 && TellsOfTheRunAlone(outcome.errors)) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "exit code " << outcome.exitCode << ", and on standard error:\n"
                                       << outcome.errors;
}
