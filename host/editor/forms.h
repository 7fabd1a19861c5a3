// Small dialogs of the editor's own: rows of labels with fields, choices, checks or a list beneath each other, OK and
// Cancel. What is asked stands in rows, and so do the answers.

#pragma once

#include "host/editor/editor.h"

#include <functional>

enum class FormKind { TEXT, NUMBER, CHOICE, CHECK, FIELD, LIST };

struct FormRow {
    FormKind kind;
    int id;   // of the control; 1..199
    std::string label;
    int value = 0, low = 0, high = 0;        // of numbers; the choice, the check, the list's entry (-1: none)
    std::vector<std::string> choices = {};   // of choices and lists
    std::string text = {};                   // of fields
};

struct Form {
    std::string title;
    std::vector<FormRow> rows;
    std::string ok = "OK";
    // Called when it opens, and after a change of any row once that has rested a moment; the rows are up to date. It may
    // change texts and lists of the window.
    std::function<void(HWND window, Form &form)> changed = {};
};

// False when the person cancels; the rows hold what was set. A number beyond its range is brought into it.
bool ShowForm(const Editor &editor, Form &form);
// Replaces a list's entries, and chooses one.
void FillList(HWND window, Form &form, int id, const std::vector<std::string> &entries, int chosen);
void SetRowText(HWND window, int id, const std::string &text);
constexpr int FORM_CONTROL = 100;   // a row's control has this number and its id
