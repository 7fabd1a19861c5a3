#include "host/editor/beside.h"

#include <algorithm>

bool Overlap(const RECT &one, const RECT &other)
{
    return one.left < other.right && other.left < one.right && one.top < other.bottom && other.top < one.bottom;
}

// The side with more room; where neither has enough the other window goes to the screen's left edge.
Beside PlaceBeside(const RECT &other, const RECT &screen, Extent wanted, int32_t least)
{
    const LONG width = other.right - other.left, height = std::min<LONG>(wanted.height, screen.bottom - screen.top);
    const LONG top = screen.top + (screen.bottom - screen.top - height) / 2;
    LONG left = other.left;
    const bool onRight = screen.right - other.right >= other.left - screen.left;
    if ((onRight ? screen.right - other.right : other.left - screen.left) < least) left = screen.left;
    const bool right = onRight || left != other.left;
    const LONG room = right ? screen.right - (left + width) : left - screen.left;
    const LONG taken = std::max<LONG>(0, std::min<LONG>(wanted.width, room));
    const LONG start = right ? screen.right - taken : screen.left;
    return {{start, top, start + taken, top + height}, {left, other.top}};
}
