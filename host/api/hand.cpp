// A person's hand on the controls, by the messages and notifications of the system's own controls. A dialog may close
// at any of these.

#include "host/api/numbers.h"

#include <stdlib.h>

static LRESULT Ask(HWND control, UINT message) { return backend::Send(control, message, 0, 0); }

static bool CanWork(HWND control) { return control && backend::IsEnabled(control); }

// A control that an earlier notification did away with says nothing more.
static void Notify(HWND dialog, int32_t id, int code, LPARAM extra)
{
    if (backend::Control(dialog, id)) backend::Send(dialog, WM_COMMAND, MAKEWPARAM(id, code), extra);
}

//---- Spin boxes

KPZ_EXPORT void KPZAPI HostTypeNumber(HWND dialog, int32_t fieldId, const char *text)
{
    const HWND field = backend::NumberFieldOf(backend::Control(dialog, fieldId));
    if (CanWork(field)) backend::WriteNumber(field, text, true);
}

// As the system's up-down control: it asks, the dialog writes the number unless the procedure answered non-zero, it
// tells, and lets go.
static void ClickArrow(HWND dialog, HWND arrows, int32_t id, int direction)
{
    const auto before = int32_t(Ask(arrows, UDM_GETPOS32));
    StepNotice notice = {{arrows, UINT_PTR(id), STEP_ASKED}, before, direction};
    backend::Send(dialog, NOTIFY, WPARAM(id), reinterpret_cast<LPARAM>(&notice));
    for (int code : {SB_THUMBPOSITION, SB_ENDSCROLL}) {
        if (backend::Control(dialog, id) != arrows) return;
        const WPARAM word = MAKEWPARAM(code, Ask(arrows, UDM_GETPOS32));
        backend::Send(dialog, WM_VSCROLL, word, reinterpret_cast<LPARAM>(arrows));
    }
}

KPZ_EXPORT void KPZAPI HostClickArrows(HWND dialog, int32_t spinId, int32_t steps)
{
    for (int i = 0; i < abs(steps); ++i) {
        const HWND arrows = backend::Control(dialog, spinId), field = backend::NumberFieldOf(arrows);
        if (!CanWork(arrows) || !field || field == arrows) return;
        ClickArrow(dialog, arrows, spinId, steps < 0 ? -1 : 1);
    }
}

KPZ_EXPORT void KPZAPI HostSpinRange(HWND dialog, int32_t spinId, int32_t *low, int32_t *high)
{
    *low = *high = 0;
    backend::Send(backend::Control(dialog, spinId), UDM_GETRANGE32, reinterpret_cast<WPARAM>(low),
                  reinterpret_cast<LPARAM>(high));
}

//---- The other kinds

KPZ_EXPORT void KPZAPI HostPickColour(HWND dialog, int32_t id, uint32_t colour)
{
    for (int code : {COLOUR_CHANGING, COLOUR_CHANGED}) {
        const HWND control = backend::Control(dialog, id);
        if (!CanWork(control)) return;
        backend::Send(control, COLOUR_SETTING, COLOUR_SHOWN, LPARAM(colour));
        Notify(dialog, id, code, reinterpret_cast<LPARAM>(&colour));
    }
}

KPZ_EXPORT uint32_t KPZAPI HostShownColour(HWND dialog, int32_t id)
{
    return backend::ShownColour(backend::Control(dialog, id));
}

KPZ_EXPORT void KPZAPI HostSlideTrackbar(HWND dialog, int32_t id, int32_t position)
{
    for (HWND trackbar; CanWork(trackbar = backend::Control(dialog, id));) {
        const auto before = int32_t(Ask(trackbar, TBM_GETPOS));
        const int32_t next = before + (position > before ? 1 : -1);
        if (before == position) return;
        backend::Send(trackbar, TBM_SETPOS, TRUE, next);
        if (Ask(trackbar, TBM_GETPOS) != next) return;   // it stands at an end
        for (int code : {position > before ? SB_LINEDOWN : SB_LINEUP, SB_ENDSCROLL})
            backend::Send(dialog, WM_HSCROLL, MAKEWPARAM(code, 0), reinterpret_cast<LPARAM>(trackbar));
    }
}

KPZ_EXPORT void KPZAPI HostDoubleClick(HWND dialog, int32_t id, int32_t entry)
{
    const HWND list = backend::Control(dialog, id);
    if (!CanWork(list) || entry < 0 || entry >= Ask(list, LB_GETCOUNT)) return;
    backend::Send(list, LB_SETCURSEL, WPARAM(entry), 0);
    for (int code : {LBN_SELCHANGE, LBN_DBLCLK}) Notify(dialog, id, code, reinterpret_cast<LPARAM>(list));
}
