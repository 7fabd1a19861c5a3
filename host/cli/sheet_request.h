// What `velmorant sheet` was asked for: which pictures, with which steps and names.

#pragma once

#include "host/cli/command_line.h"

struct SheetEntry {
    std::string label;
    std::string effect;   // empty: the picture as it is
    std::vector<GivenParameter> parameters = {};
};

struct SheetRequest {
    std::string input, output;
    std::string frames;       // a file's name with %d in it, or that of an animation; empty for a sheet
    bool animation = false;   // one file holds all frames
    int columns = 0, width = 0;
    int quality = 0, page = 0;   // of JPEG and WebP, 0: as the input; of the input, from 1, 0: as is usual
    int delay = 0;               // milliseconds of each frame; 0: as the input's, else 80
    uint32_t seed = 1;
    bool small = false;   // a reduced copy will do: what is shown is what effects are
    bool quiet = false, allowHuge = false;
    std::vector<SheetEntry> entries = {};
};

// EXIT_DONE, or the exit code after a line about what is wrong. Values of settings are not looked at.
// `frames` are those of the input, where it has been read already; else 0.
int ReadSheetRequest(const std::vector<std::string> &words, int frames, SheetRequest &request);
// The name of frame `number`; empty when the pattern has no single place for it.
std::string FrameName(const std::string &pattern, int number);
