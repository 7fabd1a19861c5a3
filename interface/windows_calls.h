// The seven calls of Windows that the module makes, with the few types, messages and constants they need.
// On Windows they are the system's own; elsewhere VLMAPI offers them under the same names, so a source that
// includes this header compiles to the same program on both. Text is 8-bit and ends in a zero byte.

#pragma once

#include <stddef.h>
#include <stdint.h>

#ifdef _WIN32

#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <commctrl.h>   // takes its types from the header above

#define KPZAPI __stdcall
#define KPZ_IMPORT extern "C"
#define KPZ_EXPORT extern "C" __declspec(dllexport)

#else

#define KPZAPI
#define KPZ_IMPORT extern "C" __attribute__((visibility("default")))
#define KPZ_EXPORT extern "C" __attribute__((visibility("default")))

// A window or a menu is a handle: it may be compared, stored and passed on, never followed.
typedef struct KpzWindowHandle *HWND;
typedef struct KpzMenuHandle *HMENU;
typedef struct KpzDeviceHandle *HDC;

typedef int BOOL;
typedef unsigned int UINT;
typedef uintptr_t WPARAM;
typedef intptr_t LPARAM;
typedef intptr_t LRESULT;
typedef intptr_t INT_PTR;
typedef uintptr_t UINT_PTR;
typedef int32_t LONG;
typedef const char *LPCSTR;
typedef struct tagRECT {
    LONG left, top, right, bottom;
} RECT;
typedef struct tagPOINT {
    LONG x, y;
} POINT;

typedef LRESULT(KPZAPI *WNDPROC)(HWND, UINT, WPARAM, LPARAM);
typedef INT_PTR(KPZAPI *DLGPROC)(HWND, UINT, WPARAM, LPARAM);

#define TRUE 1
#define FALSE 0
#define LOWORD(value) ((uint16_t)((uintptr_t)(value)&0xFFFF))
#define HIWORD(value) ((uint16_t)(((uintptr_t)(value) >> 16) & 0xFFFF))
#define MAKEWPARAM(low, high) ((WPARAM)((uint32_t)(uint16_t)(low) | (uint32_t)(uint16_t)(high) << 16))

enum {
    WM_DESTROY = 0x0002,
    WM_SETTEXT = 0x000C,
    WM_GETTEXT = 0x000D,
    WM_PAINT = 0x000F,
    WM_CLOSE = 0x0010,
    WM_INITDIALOG = 0x0110,
    WM_COMMAND = 0x0111,
    WM_HSCROLL = 0x0114,
    WM_VSCROLL = 0x0115,
    WM_USER = 0x0400,
    BM_GETCHECK = 0x00F0,
    BM_SETCHECK = 0x00F1,
    BM_CLICK = 0x00F5,
    LB_ADDSTRING = 0x0180,
    LB_SETCURSEL = 0x0186,
    LB_GETCURSEL = 0x0188,
    LB_GETTEXT = 0x0189,
    LB_GETCOUNT = 0x018B,
    TBM_GETPOS = 0x0400,
    TBM_SETPOS = 0x0405,
    TBM_SETRANGE = 0x0406,
    UDM_SETRANGE32 = 0x046F,
    UDM_GETRANGE32 = 0x0470,
    UDM_SETPOS32 = 0x0471,
    UDM_GETPOS32 = 0x0472,
    BN_CLICKED = 0,
    EN_CHANGE = 0x0300,
    EN_UPDATE = 0x0400,
    LBN_SELCHANGE = 1,
    LBN_DBLCLK = 2,
    SB_LINEUP = 0,
    SB_LINEDOWN = 1,
    SB_THUMBPOSITION = 4,
    SB_ENDSCROLL = 8,
    BST_UNCHECKED = 0,
    BST_CHECKED = 1,
    LB_ERR = -1,
    MF_STRING = 0x0000,
    MF_GRAYED = 0x0001,
    MF_SEPARATOR = 0x0800,
    MB_ICONERROR = 0x0010,
    IDOK = 1,
    GW_HWNDFIRST = 0,
    GW_HWNDNEXT = 2,
    GW_OWNER = 4,
    GW_CHILD = 5,
    EDGE_SUNKEN = 10,
    BF_RECT = 0x000F,
};

// Appends an item to a menu: flags MF_STRING with a command id and a label ("&" marks the accelerator), or
// MF_SEPARATOR with 0 and null. Non-zero when appended. [ui]
KPZ_IMPORT BOOL KPZAPI AppendMenuA(HMENU menu, UINT flags, UINT_PTR command, LPCSTR label);

// The window that stands to `window` in the given relation: GW_CHILD its first child, GW_HWNDNEXT its next
// sibling in window order, GW_OWNER its owner. Null at the end or for a window that is gone. [ui]
KPZ_IMPORT HWND KPZAPI GetWindow(HWND window, UINT relation);

// Lets a window take input (non-zero) or greys it (0). Non-zero when it was disabled before. [ui]
KPZ_IMPORT BOOL KPZAPI EnableWindow(HWND window, BOOL enable);

// A dialog's control by id; null when there is none. [ui]
KPZ_IMPORT HWND KPZAPI GetDlgItem(HWND dialog, int id);

// The number that a control's text shows. `translated`, when not null, becomes TRUE for a number and FALSE for
// any other text, which reads as 0. A leading minus is read only when isSigned is non-zero. [ui]
KPZ_IMPORT UINT KPZAPI GetDlgItemInt(HWND dialog, int id, BOOL *translated, BOOL isSigned);

// Shows a number as a control's text, as signed when isSigned is non-zero. Sends the dialog EN_CHANGE for an
// edit field before it returns. Non-zero on success. [ui]
KPZ_IMPORT BOOL KPZAPI SetDlgItemInt(HWND dialog, int id, UINT value, BOOL isSigned);

// Draws an edge (EDGE_SUNKEN = 10) along the sides named in flags (BF_RECT = all four, 0x2000 = then shrink the
// rectangle to what is inside the edge). Non-zero on success. [ui]
KPZ_IMPORT BOOL KPZAPI DrawEdge(HDC space, RECT *rectangle, UINT edge, UINT flags);

#endif
