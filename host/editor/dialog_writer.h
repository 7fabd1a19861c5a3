// A dialog's template, written in memory as the system reads it. Places are in dialog units.

#pragma once

#include "interface/windows_calls.h"

#include <initializer_list>
#include <string>
#include <vector>

struct DialogWriter {
    std::vector<WORD> words = {};   // CreateDialogIndirectParam's, complete after each control

    DialogWriter(const std::string &title, DWORD style, SIZE size);
    void AddControl(const char *kind, const std::string &text, int id, DWORD style, RECT place, DWORD extended = 0);

    // What these are made of.
    void Add(std::initializer_list<int> values);
    void AddLong(DWORD value);
    void AddText(const std::string &text);
};
