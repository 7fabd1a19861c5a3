// Which file: the system's file dialogs, asked by the editor's own commands and by the effects' dialogs. Nothing is
// read or written here.

#include "host/editor/file_questions.h"

#include "host/editor/questions.h"
#include "host/paths/paths.h"

#include <cstdio>
#include <cstring>

static constexpr size_t NAME_BYTES = 1024;

// "*.png;*.bmp"
static std::string Patterns()
{
    std::string patterns, endings = KnownEndings() + ", ";
    for (size_t start = 0, end; (end = endings.find(", ", start)) != std::string::npos; start = end + 2) {
        patterns += (patterns.empty() ? "*." : ";*.") + endings.substr(start, end - start);
    }
    return patterns;
}

// Pairs of a label and patterns, each ended by a zero byte, and one more at the end.
static std::string Filter()
{
    const std::string patterns = Patterns();
    return "Pictures (" + patterns + ")" + '\0' + patterns + '\0' + "All files" + '\0' + "*.*" + '\0';
}

static OPENFILENAMEA Question(const Editor &editor, const char *title, const char *filter, char *name, size_t size)
{
    OPENFILENAMEA question = {};
    question.lStructSize = sizeof question;
    question.hwndOwner = editor.frame;
    question.lpstrFilter = filter;
    question.lpstrFile = name;
    question.nMaxFile = DWORD(size);
    question.lpstrTitle = title;
    question.Flags = OFN_EXPLORER | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
    return question;
}

std::string AskForPicture(const Editor &editor, const char *title)
{
    char name[NAME_BYTES] = "";
    const std::string filter = Filter();
    OPENFILENAMEA question = Question(editor, title, filter.c_str(), name, sizeof name);
    question.Flags |= OFN_FILEMUSTEXIST;
    return AskForFile(editor, FALSE, question) ? name : "";
}

// Several files come as their folder and then their names, each ended by a zero byte.
std::vector<std::string> AskForPictures(const Editor &editor)
{
    std::vector<char> names(32768);
    const std::string filter = Filter();
    OPENFILENAMEA question = Question(editor, "Open", filter.c_str(), names.data(), names.size());
    question.Flags |= OFN_FILEMUSTEXIST | OFN_ALLOWMULTISELECT;
    if (!AskForFile(editor, FALSE, question)) return {};
    const std::string first = names.data();
    const char *name = names.data() + first.size() + 1;
    if (!*name) return {first};
    std::vector<std::string> files;
    for (; *name; name += strlen(name) + 1) files.push_back(NameOf(PathOf(first) / PathOf(name)));
    return files;
}

std::string AskWhereToSave(const Editor &editor, const std::string &suggested)
{
    char name[NAME_BYTES] = "";
    snprintf(name, sizeof name, "%s", suggested.c_str());
    const std::string filter = Filter();
    OPENFILENAMEA question = Question(editor, "Save As", filter.c_str(), name, sizeof name);
    question.Flags |= OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST;
    question.lpstrDefExt = "png";
    return AskForFile(editor, TRUE, question) ? name : "";
}

// The dialog that asks has been pressed, so it is the active one.
static HWND AskingWindow(const Editor &editor)
{
    const HWND active = GetActiveWindow();
    return HostDialogTemplate(active) ? active : editor.frame;
}

BOOL KPZAPI AnswerFileName(void *context, BOOL save, const char *title, const char *types, char *name)
{
    const Editor &editor = *static_cast<Editor *>(context);
    OPENFILENAMEA question = Question(editor, title, types, name, 256);
    question.Flags |= save ? OFN_OVERWRITEPROMPT : OFN_FILEMUSTEXIST;
    question.hwndOwner = AskingWindow(editor);
    return AskForFile(editor, save, question);
}
