// What each kind of control does with messages. Notifications go to the dialog at the same moment and in the same order
// as the system's own controls send them.

#include "host/api/headless/headless.h"

#include <algorithm>
#include <string.h>

static WNDPROC previewProcedure;

KPZ_EXPORT void KPZAPI HostSetPreviewProcedure(WNDPROC procedure) { previewProcedure = procedure; }
WNDPROC PreviewProcedure() { return previewProcedure; }

// Tells the dialog. A control that an earlier notification did away with says nothing more.
static void Notify(HWND handle, int code, LPARAM extra)
{
    const Window *control = FindWindow(handle);
    if (control) backend::Send(control->parent->handle, WM_COMMAND, MAKEWPARAM(control->row->id, code), extra);
}

static void Notify(HWND handle, int code) { Notify(handle, code, reinterpret_cast<LPARAM>(handle)); }

//---- Buttons

// The radio buttons of a group stand between two rows that start one.
static void UncheckGroup(const Window *radio)
{
    const std::vector<Window *> &all = radio->parent->children;
    auto first = std::find(all.begin(), all.end(), radio);
    auto end = first + 1;
    while (first != all.begin() && !(*first)->row->startsGroup) --first;
    while (end != all.end() && !(*end)->row->startsGroup) ++end;
    for (; first != end; ++first)
        if ((*first)->row->kind == RADIO_BUTTON) (*first)->checked = false;
}

static void SetChecked(Window *button, bool checked)
{
    if (checked && button->row->kind == RADIO_BUTTON) UncheckGroup(button);
    button->checked = checked;
}

static void Click(Window *button)
{
    if (!button->enabled) return;
    if (button->row->kind == CHECK_BOX) button->checked = !button->checked;
    if (button->row->kind == RADIO_BUTTON) SetChecked(button, true);
    Notify(button->handle, BN_CLICKED);
}

static LRESULT ButtonMessage(Window *button, UINT message, WPARAM word)
{
    switch (message) {
    case BM_GETCHECK: return button->checked ? BST_CHECKED : BST_UNCHECKED;
    case BM_SETCHECK: SetChecked(button, word == BST_CHECKED); return 0;
    case BM_CLICK: Click(button); return 0;
    default: return 0;
    }
}

//---- Number fields and their arrows

void SetText(Window *control, const std::string &text, bool typed)
{
    const HWND handle = control->handle;
    control->text = text;
    control->number.typed = typed;
    if (!control->row || control->row->kind != NUMBER_FIELD) return;
    Notify(handle, EN_UPDATE);
    Notify(handle, EN_CHANGE);
}

// Arrows lead to their field; a field stands for itself.
static Window *FieldOf(Window *control) { return control && control->field ? control->field : control; }

//---- The other kinds

static void SetPosition(Window *trackbar, int32_t position)
{
    trackbar->position = std::clamp(position, trackbar->low, std::max(trackbar->low, trackbar->high));
}

static LRESULT TrackbarMessage(Window *trackbar, UINT message, LPARAM extra)
{
    switch (message) {
    case TBM_SETRANGE:
        trackbar->low = int16_t(LOWORD(extra));
        trackbar->high = int16_t(HIWORD(extra));
        SetPosition(trackbar, trackbar->position);
        return 0;
    case TBM_SETPOS: SetPosition(trackbar, int32_t(extra)); return 0;
    case TBM_GETPOS: return trackbar->position;
    default: return 0;
    }
}

static LRESULT ListMessage(Window *list, UINT message, WPARAM word, LPARAM extra)
{
    const int32_t count = int32_t(list->entries.size()), entry = int32_t(word);
    switch (message) {
    case LB_ADDSTRING: list->entries.push_back(reinterpret_cast<const char *>(extra)); return count;
    case LB_GETCOUNT: return count;
    case LB_GETCURSEL: return list->selection;
    case LB_SETCURSEL: return list->selection = entry >= 0 && entry < count ? entry : LB_ERR;
    case LB_GETTEXT:
        if (entry < 0 || entry >= count) return LB_ERR;
        strcpy(reinterpret_cast<char *>(extra), list->entries[size_t(entry)].c_str());
        return LRESULT(list->entries[size_t(entry)].size());
    default: return 0;
    }
}

static LRESULT ColourMessage(Window *control, UINT message, WPARAM word, LPARAM extra)
{
    if (message == COLOUR_SETTING && word == COLOUR_SHOWN) control->colour = uint32_t(extra);
    return 0;
}

LRESULT TextMessage(Window *window, UINT message, WPARAM size, LPARAM text)
{
    if (message == WM_SETTEXT) return SetText(window, reinterpret_cast<const char *>(text), false), TRUE;
    if (message != WM_GETTEXT || size < 1) return 0;
    const size_t length = std::min(size_t(size) - 1, window->text.size());
    memcpy(reinterpret_cast<char *>(text), window->text.c_str(), length);
    reinterpret_cast<char *>(text)[length] = 0;
    return LRESULT(length);
}

LRESULT KPZAPI ControlProcedure(HWND handle, UINT message, WPARAM word, LPARAM extra)
{
    Window *control = FindWindow(handle);
    if (!control) return 0;
    if (message == WM_SETTEXT || message == WM_GETTEXT) return TextMessage(control, message, word, extra);
    switch (control->row->kind) {
    case PUSH_BUTTON:
    case CHECK_BOX:
    case RADIO_BUTTON: return ButtonMessage(control, message, word);
    case NUMBER_FIELD:
    case SPIN_ARROWS: {
        if (!IsAboutNumber(message)) return 0;   // when arrows go, their field has gone
        Window *field = FieldOf(control);
        return NumberMessage(field->handle, field->number, field->text, message, word, extra);
    }
    case TRACKBAR: return TrackbarMessage(control, message, extra);
    case LIST_BOX: return ListMessage(control, message, word, extra);
    case COLOUR_CONTROL: return ColourMessage(control, message, word, extra);
    default: return 0;
    }
}

//---- What VLMAPI offers

namespace backend
{

HWND NumberFieldOf(HWND control)
{
    const Window *field = FieldOf(FindWindow(control));
    return field && field->row && field->row->kind == NUMBER_FIELD ? field->handle : nullptr;
}

void WriteNumber(HWND field, const char *text, bool typed)
{
    if (Window *window = FindWindow(field)) SetText(window, text, typed);
}

uint32_t ShownColour(HWND control)
{
    const Window *window = FindWindow(control);
    return window ? window->colour : 0;
}

}   // namespace backend

//---- The Windows calls about controls

UINT KPZAPI GetDlgItemInt(HWND dialog, int id, BOOL *translated, BOOL isSigned)
{
    const Window *control = FindControlWindow(dialog, id);
    long long number = 0;
    const bool fits = control && ReadNumber(control->text, number) &&
                      number == (isSigned ? int64_t(int32_t(number)) : int64_t(uint32_t(number)));
    if (translated) *translated = fits;
    return fits ? UINT(number) : 0;
}

BOOL KPZAPI SetDlgItemInt(HWND dialog, int id, UINT value, BOOL isSigned)
{
    Window *control = FindControlWindow(dialog, id);
    if (!control) return FALSE;
    SetText(control, isSigned ? std::to_string(int32_t(value)) : std::to_string(value), false);
    return TRUE;
}
