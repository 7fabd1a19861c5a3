// The effect chooser: a list of "Original Image" and the effects. An effect's entry less one is the dialog's result;
// "Original Image", like Cancel, chooses no effect.

#include "host/misc/misc.h"

#include <algorithm>
#include <iterator>

enum { EFFECT_LIST = 960, CHOOSE_BUTTON = 1, CANCEL_BUTTON = 2 };

static INT_PTR OnCreate(HWND dialog, const ChooserRecord *record)
{
    KPZ_SendMsgAndWait(dialog, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(record->title));
    const int32_t count = std::clamp(record->entryCount, 0, int32_t(std::size(record->names)));
    for (int32_t i = 0; i < count; ++i) KPZ_ListBoxAddToEnd(dialog, EFFECT_LIST, record->names[i]);
    KPZ_SendMsgNoWait(record->host->window, CHOOSER_OPENED, 0, reinterpret_cast<LPARAM>(dialog));
    return 1;
}

// Stays open when nothing is selected.
static void Choose(HWND dialog)
{
    const int32_t entry = KPZ_ListBoxQuerySelection(dialog, EFFECT_LIST);
    if (entry >= 0) KPZ_DismissDialog(dialog, entry == 0 ? INT_PTR(CHOOSER_CANCELLED) : entry - 1);
}

static INT_PTR OnCommand(HWND dialog, WPARAM word, LPARAM extra)
{
    const int id = LOWORD(word), notification = HIWORD(word);
    if (id == CHOOSE_BUTTON || (id == EFFECT_LIST && notification == LBN_DBLCLK)) Choose(dialog);
    else if (id == CANCEL_BUTTON) KPZ_DismissDialog(dialog, CHOOSER_CANCELLED);
    else return KPZ_DefDlgProc(dialog, WM_COMMAND, word, extra);
    return 1;
}

INT_PTR KPZAPI HelperDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    LogCall("HelperDialog", nullptr, dialog, message, word, extra);
    switch (message) {
    case WM_INITDIALOG: return OnCreate(dialog, reinterpret_cast<const ChooserRecord *>(extra));
    case WM_COMMAND: return OnCommand(dialog, word, extra);
    case WM_CLOSE: KPZ_DismissDialog(dialog, CHOOSER_CANCELLED); return 1;
    default: return KPZ_DefDlgProc(dialog, message, word, extra);
    }
}
