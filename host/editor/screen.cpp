#include "host/editor/screen.h"

UINT DotsPerInch(HWND window)
{
    typedef UINT(WINAPI * GetDpi)(HWND);
    static const auto getDpi = reinterpret_cast<GetDpi>(
        reinterpret_cast<void *>(GetProcAddress(GetModuleHandleA("user32.dll"), "GetDpiForWindow")));
    if (const UINT dots = getDpi ? getDpi(window) : 0) return dots;
    return UINT(ScreenDotsPerInch());
}

int ScreenDotsPerInch()
{
    const HDC screen = GetDC(nullptr);
    const int dots = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
    return dots;
}

HFONT FontFor(HWND window, LOGFONTA font)
{
    font.lfHeight = MulDiv(font.lfHeight, int(DotsPerInch(window)), ScreenDotsPerInch());
    return CreateFontIndirectA(&font);
}

Extent SizeOf(HWND window)
{
    RECT area;
    GetClientRect(window, &area);
    return {area.right, area.bottom};
}
