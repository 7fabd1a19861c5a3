// Which command line works on other pictures for the editor.

#pragma once

#include <string>

// The one of 64 bits in the editor's folder `command`, where the system has 64 bits too, since it takes larger pictures;
// else the one beside the editor. Empty when there is none.
std::string BatchProgramIn(const std::string &editorFolder, bool of64Bits);
