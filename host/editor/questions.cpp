#include "host/editor/questions.h"

#include "host/editor/effect_dialogs.h"
#include "host/editor/own_dialogs.h"

// While a question is open nothing else of the editor may be worked: the effects' dialogs and the chooser neither.
struct Standstill {
    std::vector<HWND> disabled;
    explicit Standstill(const Editor &editor)
    {
        const FloaterList *floaters = editor.host.context.floaters;
        for (int32_t i = 0; i < MiscFloaterCount(floaters); ++i) Disable(MiscFloaterAt(floaters, i));
        if (const HWND chooser = OpenChooser()) Disable(chooser);
        for (const HWND dialog : OwnDialogs()) Disable(dialog);
        Disable(editor.frame);
    }
    void Disable(HWND dialog)
    {
        if (!EnableWindow(dialog, FALSE)) disabled.push_back(dialog);
    }
    Standstill(const Standstill &) = delete;
    Standstill &operator=(const Standstill &) = delete;
    ~Standstill()
    {
        for (HWND dialog : disabled) EnableWindow(dialog, TRUE);
    }
};

int32_t ShowMessage(const Editor &editor, const std::string &text, UINT style)
{
    const Standstill standstill(editor);
    return KPZ_MessageBox(editor.frame, text.c_str(), EDITOR_NAME, int32_t(style));
}

INT_PTR AskByDialog(const Editor &editor, const std::function<INT_PTR()> &show)
{
    const Standstill standstill(editor);
    return show();
}

bool AskForFile(const Editor &editor, BOOL save, OPENFILENAMEA &question)
{
    const Standstill standstill(editor);
    return save ? GetSaveFileNameA(&question) : GetOpenFileNameA(&question);
}
