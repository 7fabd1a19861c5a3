#include "host/editor/closing.h"

Question QuestionOnClosing(bool running, bool modified)
{
    return running ? Question::ABORT : modified ? Question::SAVE : Question::NONE;
}

std::string TextOf(Question question, const std::string &picture, const std::string &title)
{
    switch (question) {
    case Question::ABORT:
        return (title.empty() ? "An effect" : title) + " is still at work on " + picture +
               ".\n\nAbort it and close the picture?";
    case Question::LOSE: return "Not all of " + picture + " is in a file.\n\nClose it and lose the rest?";
    case Question::SAVE: return "Save the changes to " + picture + "?";
    case Question::NONE: break;
    }
    return "";
}

std::string TextOnQuitting(int running)
{
    return (running == 1 ? "An effect is still at work on a picture."
                         : "Effects are still at work on " + std::to_string(running) + " pictures.") +
           std::string("\n\nAbort and quit?");
}
