// Ctrl-C, and the system's request to end. At first either ends the program at once with exit code 130. While
// interrupts are held, one is only noted, so that a run can be aborted in order and no file is left half written.

#pragma once

#include <functional>

// To be called first in `main`: threads made before it would be interrupted themselves. False when the system refuses
// the thread that waits for them.
bool WatchInterrupts();
// To be called last in `main`.
void StopWatchingInterrupts();
// From here on an interrupt is noted and `wake` called, on a thread of its own.
void HoldInterrupts(std::function<void()> wake);
// As it was at first. An interrupt that was noted meanwhile stays noted.
void ReleaseInterrupts();
bool Interrupted();
