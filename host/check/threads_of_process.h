// How many threads this process has.

#pragma once

int ThreadsOfProcess();
// Whether there are no more than so many, or soon: a thread that has ended takes a moment to go.
bool AtMostThreads(int threads);
