// A folder of its own for every test, and pictures in it. The folder's name has blanks and letters of several alphabets:
// whatever is told about the program is told about such names too.

#pragma once

#include "host/documents/picture_file.h"
#include "host/paths/paths.h"
#include "tests/host/cli/process.h"
#include "tests/support/comparison.h"

class Workplace : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    // The path of a name in the folder.
    std::string In(const std::string &name) const { return folder + "/" + name; }
    // Saves a picture under a name, whose path is returned.
    std::string Save(const std::string &name, const Picture &picture);
    std::string SaveText(const std::string &name, const std::string &bytes);

    std::string folder;
};

bool Exists(const std::string &file);
std::string BytesOf(const std::string &file);
// The lines of a text, without their ends.
std::vector<std::string> Lines(const std::string &text);
// Reads a picture; fails the test when it cannot be read.
Picture Load(const std::string &file);
// Gradients with noise: every pixel has something to change, and neighbours differ.
Picture Sample(int32_t colourType, int32_t width = 64, int32_t height = 48);

// That the program refused in one line which begins "velmorant: SUBJECT: " and holds `part`.
testing::AssertionResult Refused(const Outcome &outcome, int exitCode, const std::string &subject,
                                 const std::string &part);
// That it went well and said nothing, or only which seed it drew and that nothing has changed.
testing::AssertionResult WentWell(const Outcome &outcome);
