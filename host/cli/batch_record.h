// What the pictures in a batch's output folder were made with, so that a batch that goes on tells its own results from
// those of other settings. It stands in the folder, in the file .velmorant-batch: a line of JSON for each picture that was
// written, and one for each way of making them.

#pragma once

#include "host/cli/command_line.h"
#include "host/library/velmorant.h"

#include <cstdio>
#include <map>

struct BatchRecord {
    std::string settings;                       // this batch's, as the file names them
    std::map<std::string, std::string> known;   // settings by the output's name within the folder
    std::string text;                           // this batch's, for people: a recipe and options
    size_t lines = 0;                           // that the file had
    std::string place;                          // the record's file, which is opened for the first picture
    bool begun = false;
    FILE *file = nullptr;   // null before, and where it cannot be written
    BatchRecord() = default;
    BatchRecord(const BatchRecord &) = delete;
    BatchRecord &operator=(const BatchRecord &) = delete;
    ~BatchRecord();
};

// Takes what the folder's record says and what this batch's settings are; writes nothing. `line` is what was asked for: a
// seed that nobody gave makes no difference. No record, or one that cannot be read, knows of no picture.
void ReadBatchRecord(const CommandLine &line, const vlm_steps *steps, BatchRecord &record);
// Whether that output is known to have been made otherwise than this batch would.
bool WasMadeOtherwise(const BatchRecord &record, const std::string &name);
// Of an output that has been written. Where the record cannot be written the batch goes on without. One thread at a time.
void NoteMade(BatchRecord &record, const std::string &name);
