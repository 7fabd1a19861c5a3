#include "host/api/win32/win32.h"

KPZ_EXPORT HMENU KPZAPI HostCreateMenu() { return CreatePopupMenu(); }

KPZ_EXPORT void KPZAPI HostDestroyMenu(HMENU menu) { DestroyMenu(menu); }

KPZ_EXPORT int32_t KPZAPI HostMenuCount(HMENU menu)
{
    const int count = GetMenuItemCount(menu);
    return count < 0 ? 0 : count;
}

KPZ_EXPORT BOOL KPZAPI HostMenuItem(HMENU menu, int32_t index, MenuItem *item)
{
    if (index < 0 || index >= HostMenuCount(menu)) return FALSE;
    *item = {};
    MENUITEMINFOA info = {};
    info.cbSize = sizeof info;
    info.fMask = MIIM_FTYPE | MIIM_ID | MIIM_STATE | MIIM_STRING;
    info.dwTypeData = item->label;
    info.cch = sizeof item->label;
    if (!GetMenuItemInfoA(menu, UINT(index), TRUE, &info)) return FALSE;
    if (info.fType & MFT_SEPARATOR) return TRUE;
    item->command = int32_t(info.wID);
    item->enabled = !(info.fState & MFS_GRAYED);
    return TRUE;
}

void backend::EnableMenuItem(HMENU menu, int32_t command, bool enable)
{
    ::EnableMenuItem(menu, UINT(command), MF_BYCOMMAND | (enable ? MF_ENABLED : MF_GRAYED));
}
