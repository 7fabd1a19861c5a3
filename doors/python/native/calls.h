// What the sources of the Python module share: how a failed call becomes an exception, how the interpreter's lock is let
// go for the length of a call, and the two handles that Python holds. Pictures and runs are told in sources of their own.

#pragma once

#include "host/library/velmorant.h"

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <memory>
#include <optional>
#include <string>
#include <unistd.h>

namespace py = pybind11;

struct FreePicture {
    void operator()(vlm_picture *picture) const { vlm_picture_free(picture); }
};
struct FreeSteps {
    void operator()(vlm_steps *steps) const { vlm_steps_free(steps); }
};
struct FreeRun {
    void operator()(vlm_run *run) const { vlm_run_free(run); }
};
using PicturePointer = std::unique_ptr<vlm_picture, FreePicture>;
using StepsPointer = std::unique_ptr<vlm_steps, FreeSteps>;
using RunPointer = std::unique_ptr<vlm_run, FreeRun>;

// The library lets one thread work on a handle at a time. `busy` is read and written under the interpreter's lock alone.
struct NativePicture {
    PicturePointer handle = {};
    bool busy = false;
    pid_t process = 0;   // that is busy with it: in a forked child nobody ever ends the parent's call
};

struct NativeSteps {
    StepsPointer handle = {};
};

// A call that failed, on its way to become an exception.
struct Failure {
    vlm_code code;
    std::string line;
};

// Throws a Failure with the line of this thread's last call.
[[noreturn]] void ThrowFailure(vlm_code code);
inline void Hold(vlm_code code)
{
    if (code != VLM_OK) ThrowFailure(code);
}
// Fails with ValueError where a zero byte would cut a text short.
const char *Text(const std::string &text);
NativeSteps Own(vlm_steps *steps);
// A text that a call made, or its failure; the text is given back.
std::string Taken(char *text);
// What the last call on this thread had to say.
py::list Notices();

// Lets the interpreter's lock go. The interpreter ends only after all of these are over (see EndCalls), since a thread
// that comes back later would find none. [with the lock]
class Unlocked
{
public:
    Unlocked();
    ~Unlocked();
    Unlocked(const Unlocked &) = delete;

private:
    std::optional<py::gil_scoped_release> released = {};
};

// Has the picture to itself; waits for a thread that is at work on it. [with the lock]
class InUse
{
public:
    explicit InUse(NativePicture &picture);
    ~InUse() { picture.busy = false; }
    InUse(const InUse &) = delete;

private:
    NativePicture &picture;
};

// A run that is to be stopped when the interpreter ends. [with the lock]
class KnownRun
{
public:
    explicit KnownRun(vlm_run *run);
    ~KnownRun();
    KnownRun(const KnownRun &) = delete;

private:
    vlm_run *run;
};

void DefineErrors(py::module_ &module);
void DefineCatalogue(py::module_ &module);
void DefinePictures(py::module_ &module);
void DefineRecipes(py::module_ &module);
void DefineRuns(py::module_ &module);
