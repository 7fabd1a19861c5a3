// What `apply` and `batch` share: steps from the command line's words, and picture files with what there is to say of
// them. Everything about effects is asked through the library.

#pragma once

#include "host/cli/command_line.h"
#include "host/library/velmorant.h"

#include <memory>

struct VelmorantFree {
    void operator()(vlm_picture *picture) const { vlm_picture_free(picture); }
    void operator()(vlm_steps *steps) const { vlm_steps_free(steps); }
    void operator()(vlm_run *run) const { vlm_run_free(run); }
};
typedef std::unique_ptr<vlm_picture, VelmorantFree> PicturePointer;
typedef std::unique_ptr<vlm_steps, VelmorantFree> StepsPointer;
typedef std::unique_ptr<vlm_run, VelmorantFree> RunPointer;

// A new run, with `number` added to the seed where one is given; throws when there is no memory.
RunPointer MakeRun(const CommandLine &line, uint32_t number);
// The steps with `number` added to the seeds that they have themselves. Null when they have none; throws when there is
// no memory.
StepsPointer WithSeedsFrom(const CommandLine &line, const vlm_steps *steps, uint32_t number);
// The effects with their settings, areas and objects, looked at by the effects themselves. EXIT_DONE, or the exit code after a
// line about what is wrong.
int MakeSteps(const CommandLine &line, StepsPointer &steps);

extern const char NOTHING_CHANGED[];   // what is told of a run that leaves all pages as they are

// This thread's notices, as lines.
std::vector<std::string> Notices();
// What is worked on: all of a file's pages or frames, or the one of --page.
struct InputPicture {
    PicturePointer picture;   // null when it cannot be read; then `fault` tells
    PicturePointer whole;     // the page's whole file, where the output has a place for it; else null
    std::string fault;
};
InputPicture Read(const std::string &file, const std::string &output, const CommandLine &line);
// All pages or the one of --page alone. Null when it cannot be read; then the library's line tells.
PicturePointer ReadAlone(const std::string &file, const CommandLine &line);
// A mask or an object: its first page. Null likewise.
PicturePointer ReadFirst(const std::string &file, const CommandLine &line);
// In the format that was asked for or that the name's ending tells; into a stream in that of `input`. False when it
// cannot be written; then the library's line tells.
bool Write(const vlm_picture *picture, const vlm_picture *input, const std::string &output, const CommandLine &line);
// The result, which came to be in the input's picture: among its file's other pages where those are written too.
bool WriteResult(InputPicture &input, const std::string &output, const CommandLine &line);
// Whether WriteResult would refuse that; asked before a run.
bool MayWrite(const InputPicture &input, const std::string &output, const CommandLine &line);
// Empty, or that an option has nothing to say of the output's format.
std::string NoticeOfFormat(const vlm_picture *input, const std::string &output, const CommandLine &line);
// What is to be told of a result that was written: the library's notices, and what is done without being asked for.
std::vector<std::string> NoticesOfWriting(const InputPicture &input, const std::string &output,
                                          const CommandLine &line);

// False, after a line, when no file may be written there: an ending that is not known, a folder that is missing.
bool CheckOutput(const std::string &output, const CommandLine &line);
// False, after a line, when a kernel's --save would write over one of these files or over an object's.
bool SaveSpares(const CommandLine &line, std::vector<std::string> files);
// False, after a line, when objects would read standard input more than once, besides its other readers.
bool ObjectsSpareInput(const CommandLine &line, int readers);
// False, after a line, when --save-recipe would write over one of these files or an object's, or into no folder.
bool RecipeSpares(const CommandLine &line, std::vector<std::string> files);
// Writes the steps where --save-recipe says. False after a line.
bool KeepRecipe(const CommandLine &line, const vlm_steps *steps);
