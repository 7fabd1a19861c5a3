// What a person is asked before something of theirs is lost.

#pragma once

#include <string>

enum class Question {
    NONE,
    ABORT,   // a run is under way: abort it? OK, Cancel
    SAVE,    // there are changes: save them? Yes, No, Cancel
    LOSE,    // what was saved is not all of it: close all the same? Yes, No
};

// What is to be asked next about a picture that shall close. A run comes first: whether there are changes is known when
// it has ended.
Question QuestionOnClosing(bool running, bool modified);
// The words of a question about a picture; `title` names the run, and may be empty.
std::string TextOf(Question question, const std::string &picture, const std::string &title);
// Before the program ends, about all pictures at once: how many of them run.
std::string TextOnQuitting(int running);
