// Names for the copies of changed pictures that are saved when the editor has to end.

#pragma once

#include <string>

// A file that does not exist yet, beside the picture's own, or in `folder` when it has none: "lake rescued.png",
// "lake rescued 2.png". The ending is that of its file, but png where that would lose something.
std::string RescueFile(const std::string &file, const std::string &name, const std::string &folder);
