// The dialogs' thread at work: a development host whose dialogs are worked, as a person would, for the calls of other
// threads. Runs of many pictures are under way side by side; one dialog serves all pictures of its effect. It knows
// nothing of how calls come here. All of it is [ui].

#pragma once

#include "host/library/calls.h"

struct Service {
    Host host = {};
    ImageRecord *resting = nullptr;   // a small picture that is always open, so that dialogs stay when others close
    std::vector<Call *> calls = {};   // under way, in the order they came
    struct OpenDialog {
        const DialogTemplate *effect;
        HWND window;
    };
    std::vector<OpenDialog> dialogs = {};   // the innermost last
    Call *speaking = nullptr;               // for whom the module is worked just now
};

// False with one line when the module cannot be loaded.
bool StartService(Service &service, std::string &error);
// When no call is under way.
void EndService(Service &service);
// Works until no call is left.
void Serve(Service &service);

// The picture types that an effect's command is enabled for, as bits 1 << colour type; 0: the module has no such effect.
uint32_t TypesOf(Host &host, const DialogTemplate &effect);
const char *NameOfColourType(int32_t colourType);
