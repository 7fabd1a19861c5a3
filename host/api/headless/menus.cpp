// Menus as lists of entries in memory. Who chooses an entry sends its command; there is no bar to click on.

#include "host/api/headless/headless.h"

#include <map>
#include <stdio.h>

static uintptr_t lastMenu = 0x100;

// By handle. A handle that is not there is no menu, and calls on it do nothing.
static std::map<HMENU, std::vector<MenuItem>> &Menus()
{
    static auto &menus = *new std::map<HMENU, std::vector<MenuItem>>;   // as the table of windows
    return menus;
}

static std::vector<MenuItem> *ItemsOf(HMENU menu)
{
    const auto found = Menus().find(menu);
    return found == Menus().end() ? nullptr : &found->second;
}

KPZ_EXPORT HMENU KPZAPI HostCreateMenu()
{
    const HMENU menu = reinterpret_cast<HMENU>(++lastMenu);
    Menus()[menu] = {};
    return menu;
}

KPZ_EXPORT void KPZAPI HostDestroyMenu(HMENU menu) { Menus().erase(menu); }

KPZ_EXPORT int32_t KPZAPI HostMenuCount(HMENU menu)
{
    const std::vector<MenuItem> *items = ItemsOf(menu);
    return items ? int32_t(items->size()) : 0;
}

KPZ_EXPORT BOOL KPZAPI HostMenuItem(HMENU menu, int32_t index, MenuItem *item)
{
    if (index < 0 || index >= HostMenuCount(menu)) return FALSE;
    *item = (*ItemsOf(menu))[size_t(index)];
    return TRUE;
}

BOOL KPZAPI AppendMenuA(HMENU menu, UINT flags, UINT_PTR command, LPCSTR label)
{
    LogCall("AppendMenuA", label, menu, flags, command);
    std::vector<MenuItem> *items = ItemsOf(menu);
    if (!items) return FALSE;
    MenuItem item = {};
    if (!(flags & MF_SEPARATOR)) {
        item.command = int32_t(command);
        snprintf(item.label, sizeof item.label, "%s", label ? label : "");
        item.enabled = !(flags & MF_GRAYED);
    }
    items->push_back(item);
    return TRUE;
}

void backend::EnableMenuItem(HMENU menu, int32_t command, bool enable)
{
    std::vector<MenuItem> *items = ItemsOf(menu);
    if (!items) return;
    for (MenuItem &item : *items)
        if (item.command == command && item.label[0]) item.enabled = enable;
}
