// The progress reports of the calling thread's own work, for who has set it to work.

#pragma once

typedef void (*ReportListener)(void *context);

// Called by this thread's IncrementProgress from now on, whatever record it names; null ends that.
void ListenToReports(ReportListener listener, void *context);
