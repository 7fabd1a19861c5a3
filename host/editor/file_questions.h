// Which file: the system's file dialogs, asked by the editor's own commands and by the effects' dialogs. Answers are
// empty when the person has cancelled.

#pragma once

#include "host/editor/editor.h"

// A picture file to read.
std::string AskForPicture(const Editor &editor, const char *title);
std::vector<std::string> AskForPictures(const Editor &editor, const char *title);
// Empty when cancelled; `first` is shown at first, where there is such a folder.
std::string AskForFolder(const Editor &editor, const std::string &first);
// Where a recipe is to be saved; asks before it takes another file's place.
std::string AskForRecipe(const Editor &editor, const std::string &suggested);
// A file to save a picture in, and its format, by the name's ending; a name without one gets that of the chosen format. A
// file that is there has been agreed to.
std::string AskWhereToSave(const Editor &editor, const char *title, const std::string &suggested, FileFormat &format);
// JPEG's quality for this picture, with the size that its file would have. False: not to be saved.
bool AskForQuality(const Editor &editor, const PictureWindow &picture, int &quality);
// The module's own file dialogs (MiscAnswerFileNames).
BOOL KPZAPI AnswerFileName(void *editor, BOOL save, const char *title, const char *types, char *name);
