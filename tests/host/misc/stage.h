// An image, a window that stands in for a dialog, and workers of the tests' own: what the host's services are tested
// on, without a module.

#pragma once

#include "host/misc/misc.h"

#include <functional>
#include <string>
#include <vector>

// `amount` is for the worker to read.
struct TestBlock {
    EffectBlock common;
    int32_t amount;
};

struct Stage {
    ImageRecord image = {};
    HWND dialog = nullptr;
    TestBlock block = {};
    int32_t previewOn = 1;
    bool finished = false;   // RUN_FINISHED was handled
    WPARAM finishedWord = 0;
    ThreadHandle threadAtFinish = nullptr;
    std::vector<int> progress;   // tenths that the image's window was told
    std::function<void(int)> onProgress;
    std::function<void()> onFinished;   // while the run thread waits for the dialog's answer
    bool drained = false;               // all messages posted before have been handled

    // A picture whose bytes count up from 1; `maskBits` 0 is no mask.
    Stage(int32_t colourType, int32_t width, int32_t height, int32_t maskBits = 0);
    ~Stage();
    Stage(const Stage &) = delete;
    Stage &operator=(const Stage &) = delete;
};

uint32_t StrideFor(int32_t bitsPerPixel, int32_t width);
uint8_t *NewBytes(size_t size, int first);   // from KPZ_AllocMem, counting up

// An object filled with `pixel` under a mask of `mask`, added to the image's list; the picture itself is not changed.
FloatingObject *AddObject(Stage &stage, int32_t x, int32_t y, int32_t width, int32_t height, uint8_t pixel,
                          uint8_t mask, bool selected);
// A rectangle, ends inclusive.
void Select(Stage &stage, int32_t left, int32_t top, int32_t right, int32_t bottom);
// Keeps a copy of the picture as its base, as an image with floating objects has it.
void KeepBase(Stage &stage);

// Starts a run as a dialog does, and waits until the dialog has been told of its end.
void StartThread(Stage &stage, ThreadRoutine routine, FilterHeader &header);
void StartRun(Stage &stage, WorkerRoutine worker, int32_t mode = SCOPE_IMAGE, int32_t amount = 0);
void WaitForEnd(Stage &stage);
void RunWorker(Stage &stage, WorkerRoutine worker, int32_t mode = SCOPE_IMAGE, int32_t amount = 0);

// All of a picture as bytes, planes with their padding, to compare.
std::string BytesOf(const ImageRecord &image);
std::string PixelsOf(const ImageRecord &image);

// Handles messages until `done` holds.
void WaitUntil(const std::function<bool()> &done);

// Adds the amount to every byte of pixels and mask, row by row, with progress and abort.
void KPZAPI AddAmount(EffectBlock *block);

// The calls in the log, without those for memory; with the run thread's alone.
std::vector<std::string> LoggedCalls(bool runThreadOnly);
