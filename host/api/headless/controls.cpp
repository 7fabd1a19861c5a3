// What each kind of control does with messages, and a person's hand on it. Notifications go to the dialog at the same
// moment and in the same order as the system's own controls send them.

#include "host/api/headless/headless.h"

#include <algorithm>
#include <stdlib.h>
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
    control->typed = typed;
    if (!control->row || control->row->kind != NUMBER_FIELD) return;
    Notify(handle, EN_UPDATE);
    Notify(handle, EN_CHANGE);
}

// Arrows lead to their field; a field stands for itself.
static Window *FieldOf(Window *control) { return control && control->field ? control->field : control; }

static int32_t InRange(const Window *field, long long value)
{
    return int32_t(std::clamp<long long>(value, field->low, std::max(field->low, field->high)));
}

// The whole text has to be one number; else it reads as 0 and the answer is false.
static bool ReadNumber(const std::string &text, long long &number)
{
    char *end = nullptr;
    number = strtoll(text.c_str(), &end, 10);
    const bool whole = end != text.c_str() && *end == 0;
    if (!whole) number = 0;
    return whole;
}

// What the field counts as: a person's text is brought into the range, what code has set stays.
static int32_t ValueOf(const Window *field)
{
    long long number = 0;
    ReadNumber(field->text, number);
    return field->typed ? InRange(field, number) : int32_t(number);
}

// What WM_NOTIFY carries when arrows ask for a step, laid out as the system's NMUPDOWN.
enum { NOTIFY = 0x004E };
constexpr UINT STEP_ASKED = UINT(-722);
struct StepNotice {
    struct { HWND window; UINT_PTR id; UINT code; } from;
    int32_t value, step;
};

// As the system's up-down control: it asks, writes unless the dialog answers non-zero, tells, and lets go. The dialog
// may close at any of these.
static void ClickArrow(Window *arrows, int direction)
{
    const HWND dialog = arrows->parent->handle, handle = arrows->handle;
    const UINT_PTR id = UINT_PTR(arrows->row->id);
    const int32_t before = ValueOf(arrows->field);
    StepNotice notice = {{handle, id, STEP_ASKED}, before, direction};
    const bool refused = backend::Send(dialog, NOTIFY, id, reinterpret_cast<LPARAM>(&notice)) != 0;
    arrows = FindWindow(handle);
    if (!arrows) return;
    const int32_t value = refused ? before : InRange(arrows->field, (long long)before + notice.step);
    if (value != before) SetText(arrows->field, std::to_string(value), true);
    const LPARAM sender = reinterpret_cast<LPARAM>(handle);
    backend::Send(dialog, WM_VSCROLL, MAKEWPARAM(SB_THUMBPOSITION, value), sender);
    backend::Send(dialog, WM_VSCROLL, MAKEWPARAM(SB_ENDSCROLL, value), sender);
}

static LRESULT NumberMessage(Window *control, UINT message, WPARAM word, LPARAM extra)
{
    Window *field = FieldOf(control);
    switch (message) {
    case UDM_SETRANGE32:
        field->low = int32_t(word);
        field->high = int32_t(extra);
        return 0;
    case UDM_GETRANGE32:
        if (word) *reinterpret_cast<int32_t *>(word) = field->low;
        if (extra) *reinterpret_cast<int32_t *>(extra) = field->high;
        return 0;
    case UDM_SETPOS32: {
        const int32_t before = ValueOf(field);
        SetText(field, std::to_string(InRange(field, int32_t(extra))), false);
        return before;
    }
    case UDM_GETPOS32: return ValueOf(field);
    default: return 0;
    }
}

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
    if (message == WM_SETTEXT) return SetText(window, reinterpret_cast<const char *>(text), true), TRUE;
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
    case SPIN_ARROWS: return NumberMessage(control, message, word, extra);
    case TRACKBAR: return TrackbarMessage(control, message, extra);
    case LIST_BOX: return ListMessage(control, message, word, extra);
    case COLOUR_CONTROL: return ColourMessage(control, message, word, extra);
    default: return 0;
    }
}

//---- What VLMAPI offers

namespace backend
{

void CheckButton(HWND dialog, int32_t id, bool checked)
{
    Send(Control(dialog, id), BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED, 0);
}

bool IsButtonChecked(HWND dialog, int32_t id) { return Send(Control(dialog, id), BM_GETCHECK, 0, 0) == BST_CHECKED; }

void SetSpinBoxRange(HWND dialog, int32_t id, int32_t low, int32_t high)
{
    Send(Control(dialog, id), UDM_SETRANGE32, WPARAM(low), high);
}

void SetSpinBoxValue(HWND dialog, int32_t id, int32_t value)
{
    Window *field = FieldOf(FindControlWindow(dialog, id));
    if (field) SetText(field, std::to_string(value), false);
}

int32_t SpinBoxValue(HWND dialog, int32_t id) { return int32_t(Send(Control(dialog, id), UDM_GETPOS32, 0, 0)); }

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

//---- A person's hand

KPZ_EXPORT void KPZAPI HostTypeNumber(HWND dialog, int32_t fieldId, const char *text)
{
    Window *field = FieldOf(FindControlWindow(dialog, fieldId));
    if (field && field->row->kind == NUMBER_FIELD && field->enabled) SetText(field, text, true);
}

KPZ_EXPORT void KPZAPI HostClickArrows(HWND dialog, int32_t spinId, int32_t steps)
{
    for (int32_t i = 0; i < abs(steps); ++i) {
        Window *arrows = FindControlWindow(dialog, spinId);   // a click may close the dialog
        if (!arrows || !arrows->field || !arrows->enabled) return;
        ClickArrow(arrows, steps < 0 ? -1 : 1);
    }
}

KPZ_EXPORT void KPZAPI HostPickColour(HWND dialog, int32_t id, uint32_t colour)
{
    for (int code : {COLOUR_CHANGING, COLOUR_CHANGED}) {
        Window *control = FindControlWindow(dialog, id);
        if (!control || !control->enabled) return;
        control->colour = colour;
        Notify(control->handle, code, reinterpret_cast<LPARAM>(&colour));
    }
}

KPZ_EXPORT uint32_t KPZAPI HostShownColour(HWND dialog, int32_t id)
{
    const Window *control = FindControlWindow(dialog, id);
    return control ? control->colour : 0;
}

KPZ_EXPORT void KPZAPI HostSpinRange(HWND dialog, int32_t spinId, int32_t *low, int32_t *high)
{
    *low = *high = 0;
    backend::Send(backend::Control(dialog, spinId), UDM_GETRANGE32, reinterpret_cast<WPARAM>(low),
                  reinterpret_cast<LPARAM>(high));
}

KPZ_EXPORT void KPZAPI HostSlideTrackbar(HWND dialog, int32_t id, int32_t position)
{
    while (Window *trackbar = FindControlWindow(dialog, id)) {
        const int32_t before = trackbar->position;
        if (!trackbar->enabled || before == position) return;
        SetPosition(trackbar, before + (position > before ? 1 : -1));
        if (trackbar->position == before) return;
        const LPARAM sender = reinterpret_cast<LPARAM>(trackbar->handle);
        backend::Send(dialog, WM_HSCROLL, MAKEWPARAM(position > before ? SB_LINEDOWN : SB_LINEUP, 0), sender);
        backend::Send(dialog, WM_HSCROLL, MAKEWPARAM(SB_ENDSCROLL, 0), sender);
    }
}

KPZ_EXPORT void KPZAPI HostDoubleClick(HWND dialog, int32_t id, int32_t entry)
{
    Window *list = FindControlWindow(dialog, id);
    if (!list || !list->enabled || entry < 0 || size_t(entry) >= list->entries.size()) return;
    const HWND handle = list->handle;
    list->selection = entry;
    Notify(handle, LBN_SELCHANGE);
    Notify(handle, LBN_DBLCLK);
}
