// A picture that a program under test has written, for looking at it.

#pragma once

#include "host/documents/picture_file.h"

#include <gtest/gtest.h>

// An expectation fails when it cannot be read.
inline Picture ReadBack(const std::string &file)
{
    Picture picture;
    FileFormat format;
    std::vector<std::string> notices;
    std::string error;
    EXPECT_TRUE(ReadPicture(file, picture, format, notices, error)) << file << ": " << error;
    return picture;
}
