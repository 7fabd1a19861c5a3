// The controls of the strip beneath an effect's dialog, by id: beyond all that dialogs of effects have.

#pragma once

enum StripControl {
    STRIP_WINDOW = 0x7000,
    STRIP_PICTURE,   // which picture the dialog works on
    STRIP_PRESET_LABEL,
    STRIP_PRESET,
    STRIP_SAVE_PRESET,
    STRIP_DELETE_PRESET,
    STRIP_RESET,
    STRIP_RANDOMISE,
    STRIP_UNDO_SETTINGS,
    STRIP_COPY_COMMAND,
    STRIP_SEED_LABEL,
    STRIP_SEED,
    STRIP_NEW_SEED,
    STRIP_NOTE,
    STRIP_CONVERT,
};
