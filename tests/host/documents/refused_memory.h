// Memory that is refused within this program: its allocations pass by here, those of all libraries too.

#pragma once

// From now on this thread's `at`-th allocation, counted from 1, is refused; with `all` those behind it too. With 0 they
// are only counted.
void RefuseMemory(long at, bool all);
// Refuses no more, and returns how many allocations there were.
long GrantMemory();
