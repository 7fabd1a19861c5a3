// Progress of an image's run. A window hears of every new tenth and of the first report of a pass, which is when a
// run has begun to heed its abort request.

#include "host/misc/runs/progress.h"

#include "host/misc/joining.h"
#include "host/misc/misc.h"

#include <algorithm>
#include <atomic>

static constexpr int32_t NOTHING_YET = -1;

struct ProgressRecord {
    std::atomic<int32_t> tenths{NOTHING_YET};     // shown to whoever asks; NOTHING_YET when nothing runs
    std::atomic<int32_t> reported{NOTHING_YET};   // what the window was told last in this pass
};

static std::atomic<ProgressRoutine> observer{nullptr};
static void *observerContext;

static thread_local ReportListener ownListener;
static thread_local void *ownContext;

void ListenToReports(ReportListener listener, void *context)
{
    ownListener = listener;
    ownContext = context;
}

static void Report(HWND window, ProgressRecord &progress, int32_t tenths)
{
    progress.tenths = tenths;
    if (progress.reported.exchange(tenths) != tenths) KPZ_SendMsgNoWait(window, PROGRESS_CHANGED, WPARAM(tenths), 0);
}

ProgressRecord *KPZAPI MiscCreateProgress(void)
{
    JoinHost();
    return new ProgressRecord;
}

void KPZAPI MiscDestroyProgress(ProgressRecord *progress) { delete progress; }

int32_t KPZAPI MiscProgress(const ProgressRecord *progress) { return progress ? progress->tenths.load() : NOTHING_YET; }

void KPZAPI MiscObserveProgress(ProgressRoutine routine, void *context)
{
    observerContext = context;
    observer = routine;
}

void KPZAPI InitiateProgress(ProgressRecord *progress)
{
    LogCall("InitiateProgress", nullptr, progress);
    if (!progress) return;
    progress->reported = NOTHING_YET;
    progress->tenths = 0;
}

void KPZAPI FinishProgress(ProgressRecord *progress)
{
    LogCall("FinishProgress", nullptr, progress);
    if (progress) progress->tenths = NOTHING_YET;
}

void KPZAPI IncrementProgress(HWND window, ProgressRecord *progress, int32_t tenths)
{
    LogCall("IncrementProgress", nullptr, window, progress, tenths);
    if (progress) Report(window, *progress, std::clamp(tenths, 0, 10));
    const int32_t firstBlock = HostBlocksOfWork();
    if (const ProgressRoutine routine = observer) routine(observerContext, window);
    if (ownListener) ownListener(ownContext);
    HostKeepBlocks(firstBlock);   // what those who watch have allocated is theirs
}

void KPZAPI ResetProgress(HWND window, ProgressRecord *progress)
{
    LogCall("ResetProgress", nullptr, window, progress);
    if (progress) Report(window, *progress, 0);
}
