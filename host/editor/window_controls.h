// The controls of the editor's own windows that stay open, by id.

#pragma once

enum HistoryControl {
    HISTORY_PICTURE = 101,   // whose steps are listed
    HISTORY_LIST,            // a row for what was opened, then one for each step
    HISTORY_DETAILS,         // of the step that one is at
    HISTORY_NOTE,
    HISTORY_SAVE,
    HISTORY_RUN,
};

enum BatchControl {
    BATCH_STEPS = 101,
    BATCH_LIST,   // of pictures, and what has become of each
    BATCH_ADD,
    BATCH_REMOVE,
    BATCH_FOLDER,
    BATCH_BROWSE,
    BATCH_LEAVE,   // what is in the folder already
    BATCH_PROGRESS,
    BATCH_REPORT,
    BATCH_START,
    BATCH_ABORT,
};
