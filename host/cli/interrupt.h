// Ctrl-C, and the system's requests to end: the terminal that closes, a quit. Each ends the program at once with exit
// code 130, and what files it was writing are as they were. While interrupts are held, a first one is only noted, so
// that a run can be aborted in order.

#pragma once

#include <functional>

// To be called first in `main`: threads made before it would be interrupted themselves. False when the system refuses
// the thread that waits for them.
bool WatchInterrupts();
// To be called last in `main`.
void StopWatchingInterrupts();
// From here on an interrupt is noted and `wake` called, on a thread of its own.
void HoldInterrupts(std::function<void()> wake);
// As it was at first. Ends the program when an interrupt was noted meanwhile.
void ReleaseInterrupts();
bool Interrupted();
// Ends the program as an interrupt does that is not held.
[[noreturn]] void EndInterrupted();
// The ordinary way out wants memory too, and waits for what still runs. [any]
[[noreturn]] void EndOutOfMemory();
// A complaint that nobody reads is no reason to end in the middle of a file.
void SurviveBrokenPipes();
