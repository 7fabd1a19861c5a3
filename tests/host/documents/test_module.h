// An effects module of the tests' own, loaded as a host loads any: one command, one dialog, a worker that goes on
// until it is aborted, and one that inverts the pixels and ends. OWN_RUN starts a run thread that is the module's. It
// notes what it is told.

#pragma once

#include "interface/host_interface.h"

#include <vector>

enum { TEST_COMMAND = 3, TEST_TEMPLATE = 4240, TEST_STRING = 16 };
enum { OWN_RUN = 500, RUN_TO_THE_END = 501 };   // its commands besides Apply

struct Note {
    UINT message;
    intptr_t extra;
    bool operator==(const Note &) const = default;
};

struct ModuleNotes {
    std::vector<Note> dialog;       // IMAGE_OPENED, IMAGE_CLOSED, ACTIVE_IMAGE_CHANGED, REFRESH_PREVIEW, RUN_FINISHED
    std::vector<intptr_t> images;   // what KPZNewImageProcessor was told
    int menusSetUp = 0, exits = 0;
    ImageRecord *menusFor = nullptr;
    int32_t mode = SCOPE_IMAGE;   // what runs work on; for the test to set
};

typedef ModuleNotes *(*NotesRoutine)();   // exported as "TestNotes"
