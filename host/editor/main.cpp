// velmorant-editor: pictures in windows, and the effects of VLMEFF in dialogs.
//
//     velmorant-editor [PICTURE...]

#include "host/editor/file_commands.h"
#include "host/editor/frame.h"
#include "host/editor/thumbnail_process.h"

#include <cstring>

// No shell of the system's expands *.jpg; the C runtime does, before main begins.
int _dowildcard = -1;

static BOOL KPZAPI AskEnded(void *editor) { return static_cast<Editor *>(editor)->ended; }

static bool Start(Editor &editor)
{
    std::string error;
    if (StartHost(editor.host, "", error) && MakeFrame(editor)) return true;
    if (error.empty()) error = "the main window cannot be made";
    MessageBoxA(nullptr, error.c_str(), EDITOR_NAME, MB_ICONERROR);
    return false;
}

int main(int argumentCount, char **arguments)
{
    if (argumentCount == 2 && strcmp(arguments[1], THUMBNAILS_SWITCH) == 0) return MakeThumbnails();
    Editor editor;
    if (!Start(editor)) return 1;
    for (int i = 1; i < argumentCount; ++i) OpenFile(editor, arguments[i]);
    HostRunMessages(AskEnded, &editor);
    EndFrame(editor);
    EndHost(editor.host);
    return 0;
}
