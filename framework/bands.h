// A worker's rows (columns, strips, tiles) shared among threads. What a worker promises stays: progress is reported and
// abort is asked about once per row, in order, on the run's own thread, and the rows that were reported are those that
// are worked on. On one thread a row is reported right before it is worked on, as ever.
//
// What helpers do touches planes and memory only: they call no function of the host, but for Relocate where the host
// says that it may be called from several threads. All of this is called on the run's thread. [run]

#pragma once

#include "framework/worker.h"
#include "maths/sharing.h"

// How many threads this run may use, as the host says; under a host that says nothing, as many as the process may.
int ThreadsOfRun();
// Whether Relocate may be called from several threads at once; it may where the host tells how many threads a run has.
bool RelocatesTogether();

//---- Lines

// Lines, and what each thread needs for them.
struct LineSharing {
    SharedLines lines;
    size_t memory = 0;    // bytes of a thread's own
    bool alone = false;   // on the run's thread only
};

// ShareLines on as many threads as the run may use. `work` is given the band and its thread's memory.
int ShareAmongBands(const LineSharing &sharing, LineGate gate, Reference<void(const Band &, uint8_t *memory)> work);
int ShareAmongBands(const LineSharing &sharing, LineGate gate, Reference<void(const Band &, uint8_t *memory)> work,
                    Reference<void(const Band *bands, int count)> prepare);

// The gate of a worker that goes over all rows.
inline bool ReportAndAsk(const ImageView &view, int y)
{
    if (AbortRequested(view)) return false;
    ReportRow(view, y);
    return true;
}

//---- Rows of a view

struct RowSharing {
    double cost;                // nanoseconds that one thread works on a pixel, about
    size_t memory = 0;          // bytes of a thread's own
    int above = 0, below = 0;   // rows beyond its own that a band reads as they were before the run
    bool alone = false;         // on the run's thread only
    int unit = 1;               // bands begin at multiples of it
};

// Rows that one thread works on, in place and from the top. A worker goes over them so:
//     for (int y = rows.first; rows.GoesOn(y); ++y) ...
struct Rows {
    const ImageView *view;
    int first, end;
    uint8_t *memory;   // the thread's own
    Band band;
    const uint8_t *keptAbove, *keptBelow;   // unprocessed rows: those before `first`, those from `end` on
    int keptFrom;                           // the row that keptAbove begins with

    bool GoesOn(int y) const { return band.GoesOn(y); }
    // A row as it was before the run: one of the band's own that has not been worked on yet, or one of those around it.
    const uint8_t *Unprocessed(int y) const
    {
        if (y >= first && y < end) return RowOf(*view, y);
        const size_t stride = size_t(RowBytes(*view));
        return y < first ? keptAbove + size_t(y - keptFrom) * stride : keptBelow + size_t(y - end) * stride;
    }
};

// Returns how many rows were worked on: all, or those before an abort.
int ShareRows(const ImageView &view, const RowSharing &sharing, Reference<void(const Rows &)> work);

//---- What is neither reported nor asked about

// Calls work(first, end) for runs of 0 .. count - 1 that cover it, on as many threads as are worth it.
void ShareSilently(int count, double costOfEach, Reference<void(int first, int end)> work);
