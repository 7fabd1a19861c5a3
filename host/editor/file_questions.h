// Which file: the system's file dialogs, asked by the editor's own commands and by the effects' dialogs. Answers are
// empty when the person has cancelled.

#pragma once

#include "host/editor/editor.h"

// A picture file to read.
std::string AskForPicture(const Editor &editor, const char *title);
std::vector<std::string> AskForPictures(const Editor &editor);
// A file to save a picture in; a file that is there has been agreed to.
std::string AskWhereToSave(const Editor &editor, const std::string &suggested);
// The module's own file dialogs (MiscAnswerFileNames).
BOOL KPZAPI AnswerFileName(void *editor, BOOL save, const char *title, const char *types, char *name);
