#include "host/editor/own_dialogs.h"

#include "host/editor/colours.h"

#include <algorithm>

static std::vector<HWND> &Open()
{
    static auto &open = *new std::vector<HWND>;
    return open;
}

void AddOwnDialog(HWND dialog)
{
    Open().push_back(dialog);
    DressControls(dialog);
}

void RemoveOwnDialog(HWND dialog) { std::erase(Open(), dialog); }
const std::vector<HWND> &OwnDialogs() { return Open(); }

static HWND DialogOf(HWND window)
{
    const auto found = std::find_if(Open().begin(), Open().end(),
                                    [window](HWND dialog) { return window == dialog || IsChild(dialog, window); });
    return found == Open().end() ? nullptr : *found;
}

bool IsOwnDialog(HWND window) { return DialogOf(window) != nullptr; }

BOOL TakeOwnDialogMessage(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    const HWND dialog = DialogOf(window);
    if (!dialog) return FALSE;
    MSG told = {window, message, word, extra, 0, {}};
    return IsDialogMessageW(dialog, &told);
}
