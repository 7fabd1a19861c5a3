// Work shared among threads: parts that may be done in any order, and a plane's lines, whose reports come in order and
// on the caller's thread. Helpers are made when there is enough to do and have ended when a call returns; they take on
// the caller's priority before each part and follow its changes. Where the system refuses a thread the others do its
// share. What is shared allocates nothing and throws nothing. Nothing here knows of planes, views or progress.

#pragma once

#include <stdint.h>

#include <type_traits>
#include <utility>

//---- Routines that outlive the call they are handed to

template <typename Signature> struct Reference;

// Refers to a callable of the caller's.
template <typename Result, typename... Arguments> struct Reference<Result(Arguments...)> {
    const void *callable;
    Result (*call)(const void *, Arguments...);

    template <typename Callable, typename = std::enable_if_t<!std::is_same_v<Callable, Reference>>>
    Reference(const Callable &routine)
        : callable(&routine), call([](const void *address, Arguments... arguments) -> Result {
              return (*static_cast<const Callable *>(address))(std::forward<Arguments>(arguments)...);
          })
    {
    }
    Result operator()(Arguments... arguments) const { return call(callable, std::forward<Arguments>(arguments)...); }
};

//---- How much is worth sharing

constexpr int MOST_THREADS = 64;

// In nanoseconds of one thread. Tests make both small, so that tiny pictures are shared too.
struct SharingRules {
    int64_t worthAThread;   // what a thread must save to be worth its making
    int64_t mostAtOnce;     // for each thread, between two reports
};
extern SharingRules sharingRules;

// How many threads the process may run at once: by its affinity and, on Linux, by its control groups; at least 1, at
// most MOST_THREADS. [any]
int ProcessorsOfProcess();

// How many of at most `threads` are worth making for so much work. [any]
int ThreadsWorthwhile(int threads, double nanoseconds);

//---- Parts

// Calls work(part, thread) once for each part, from the first on; thread 0 is the caller's, others are below `threads`.
// Returns when all calls have returned. [any]
void ShareParts(int threads, int parts, Reference<void(int part, int thread)> work);

//---- Lines

// Reports a line and asks for an abort. False: neither it nor those after it are worked on.
typedef Reference<bool(int line)> LineGate;

struct SharedLines {
    int count;
    double cost;     // nanoseconds that one thread works on a line, about
    int unit = 1;    // bands begin at multiples of it
    int least = 1;   // lines of a band that are worth beginning one, where there are as many
};

// Lines that one thread works on from the first to before the end.
struct Band {
    int first, end;
    int thread;             // whose memory it may use: 0 .. threads - 1
    int index;              // among the bands that are worked on at the same time
    const LineGate *gate;   // null: its lines have been reported

    // Asked before each line, in order: whether it is to be worked on.
    bool GoesOn(int line) const { return line < end && (!gate || (*gate)(line)); }
};

// Works on all lines in bands, and returns how many lines the gate let through: the others have not been touched. On one
// thread there is one band and every line is reported right before it is worked on. On more the lines of some bands are
// reported one after the other, and then worked on by all threads, so that the lines that have been reported are those
// that are worked on. `prepare` is called before such bands are worked on. [any]
int ShareLines(int threads, const SharedLines &lines, LineGate gate, Reference<void(const Band &)> work,
               Reference<void(const Band *bands, int count)> prepare);

// The most bands at a time, for what `prepare` keeps for each.
constexpr int BANDS_PER_THREAD = 4;
