// Other pictures through a recipe: the command line's batch, in a process of its own, so that it is the same in every byte
// and no picture that is open has to wait for it.

#pragma once

#include "interface/windows_calls.h"

#include <memory>
#include <string>
#include <vector>

struct BatchOrder {
    std::vector<std::string> steps;   // lines of a recipe
    std::vector<std::string> files;
    std::string folder;   // made where there is none
    bool leave = true;    // what is in it already; else it is written over
};

struct BatchResult {
    std::string file, status, error;   // `status` as the command line reports it: "done", "skipped", "failed"
    std::vector<std::string> notices;
};

struct BatchNews {
    std::vector<BatchResult> results;   // since the last time
    bool ended = false;
    std::string errors;   // when it has: lines that the command line had for people
};

struct BatchWork;

// The command line's program that serves this editor (batch_program.h). Empty when there is none.
std::string BatchProgram();
// Starts it. `message` is posted to the window when there is news; while the work is held there may be more of them.
// Null, with one line, when it cannot be started.
std::shared_ptr<BatchWork> StartBatch(const BatchOrder &order, HWND window, UINT message, std::string &error);
BatchNews TakeBatchNews(BatchWork &work);
// Pictures that are written already stay, and none is left half written. Returns at once; the end is news.
void AbortBatch(const std::shared_ptr<BatchWork> &work);
// Whether any is still at work, or cleans up behind an abort, though nobody holds it any more.
bool BatchUnderWay();
