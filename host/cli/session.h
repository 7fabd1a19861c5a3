// What `apply` and `batch` share: the host with the module in it, one effect with checked parameters, reading and
// writing pictures, and starting a run in the open dialog as a person does.

#pragma once

#include "host/cli/command_line.h"
#include "host/cli/effect_description.h"
#include "host/cli/report.h"
#include "host/documents/image_parts.h"
#include "host/documents/picture_file.h"

// A picture to be laid on those that are opened.
struct LoadedObject {
    Picture picture;
    int32_t x, y;
};

struct Session {
    Host host;
    const DialogTemplate *effect = nullptr;
    const CommandLine *line = nullptr;
    std::vector<LoadedObject> objects;
    std::string worksOn;   // the picture types that the effect's command is enabled for
    std::string subject;   // whose message boxes the module shows
    int boxesShown = 0;    // by the module since the session began
};

// Starts the host, makes sure that the module has the effect and that its dialog takes the parameters, and reads the
// objects. EXIT_DONE, or the exit code after a line about what is wrong; then the session is closed already.
int OpenSession(Session &session, const CommandLine &line);
void CloseSession(Session &session);

// A picture file with its notices, read or to be written. Threads other than the session's may use it.
struct PictureFile {
    std::string name;
    Picture picture;
    FileFormat format = FileFormat::UNKNOWN;   // as read; written where the name tells none
    std::vector<std::string> notices;
    std::string error;
};
bool Read(PictureFile &file);
// Under another name, in the format that this name's ending tells.
bool Write(PictureFile &file, const std::string &output, int quality);
// Empty when a file may be written there, else what is wrong with the place: an ending that is not known, a folder
// that is missing.
std::string FaultOfOutput(const std::string &output);

// False, after a line, when the kernel's --save would write over one of these files or over an object's.
bool SaveSpares(const CommandLine &line, std::vector<std::string> files);
// False, after a line, when objects would read standard input more than once, besides its other readers.
bool ObjectsSpareInput(const CommandLine &line, int readers);

// Gives a picture the mask of another: 8 bits for grey and RGB, 1 bit for the rest. False when sizes differ.
bool TakeMask(Picture &picture, const Picture &mask, std::string &error);
// The picture's mask plane as a picture of its own, whose pixels it becomes.
Picture MaskAsPicture(Picture &picture);

// An effect that changes the size is run without the mask plane, which is run after it as a picture of its own and then
// joined again. Taken apart is an empty picture where there is no such mask.
Picture TakeMaskApart(const Session &session, Picture &picture);
// Whether the mask has to be run too, for what has become of the picture.
bool MaskFollows(const Picture &mask, const Picture &result);
void JoinMask(Picture &picture, Picture mask);

// Empty, or what is wrong with the area that was named for a picture.
std::string FaultOfArea(const CommandLine &line, const Picture &picture);
// Opens a picture with the objects and the selected area that were named. Its mask apart has neither.
ImageRecord *OpenInput(Session &session, Picture picture);

// Unticks Preview, sets the parameters and presses Apply, for the active image. False when no run started: with a
// line in `error`, or none where the module has shown a message box of its own. A mask is filled with 0, whatever the
// colour that was named.
enum class RunOf { PICTURE, MASK };
bool StartRun(Session &session, HWND dialog, RunOf what, std::string &error);
// Empty when the effect's command is enabled for the active image, else what is wrong.
std::string FaultOfType(const Session &session);
